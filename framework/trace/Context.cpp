#include "trace/Context.h"

#include <set>

namespace Kiv::Trace {

Context contextNamed(std::string_view name) {
   if (name.empty()) return nullptr;
   // Never destroyed, and a set never moves its elements: the pointers it
   // gives out stay valid while statements run during static teardown.
   static auto * names = new std::set< std::string, std::less<> >();
   return &*names->emplace(name).first;
}

} // namespace Kiv::Trace
