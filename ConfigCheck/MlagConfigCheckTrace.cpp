#include "MlagConfigCheckTrace.h"

namespace Mlag::ConfigCheck {

Kiv::Trace::Handle & traceHandle() {
   static Kiv::Trace::Handle & handle = Kiv::Trace::handle("MlagConfigCheck");
   return handle;
}

} // namespace Mlag::ConfigCheck
