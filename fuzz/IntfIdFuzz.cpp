// Round-trip fuzzer for interface names: any byte string either is refused
// with the range error or yields an identifier whose name is the input and
// which rebuilds to an equal identifier.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "kiv/Exception.h"
#include "porta/IntfId.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * data, std::size_t size) {
   Kiv::String name(reinterpret_cast< const char * >(data), size);
   Porta::IntfId id;
   try {
      id = Porta::IntfId(name);
   } catch (const Kiv::RangeException &) {
      return 0;
   }
   if (!(id.stringValue() == name)) std::abort();
   if (static_cast< bool >(id) == name.empty()) std::abort();
   Porta::IntfId again(id.stringValue());
   if (!(again == id) || again.hash() != id.hash()) std::abort();
   return 0;
}
