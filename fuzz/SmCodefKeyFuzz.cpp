// Any input either parses to a deferred-work key whose string form parses
// back to an equal key, or raises the parse or attribute error.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "ConfigCheck/MlagConfigCheckTypes.h"
#include "kiv/Exception.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * data, std::size_t size) {
   const std::string text(reinterpret_cast< const char * >(data), size);
   const char * begin = text.data();
   Mlag::ConfigCheck::SmCodefKey key;
   try {
      key = Mlag::ConfigCheck::SmCodefKey(begin, text.data() + text.size());
   } catch (const Kiv::ParseException &) {
      return 0;
   } catch (const Kiv::DeserializeAttrException &) {
      return 0;
   }
   if (begin < text.data() || begin > text.data() + text.size()) std::abort();
   const Kiv::String form = valueToStrep(key);
   const char * again = form.begin();
   if (!(Mlag::ConfigCheck::SmCodefKey(again, form.end()) == key) || again != form.end()) {
      std::abort();
   }
   return 0;
}
