// Always-on assertions for programming faults. A failed assertion prints the
// asserted expression as written (for example "pluginPtr" or
// "iter_ && \"using moved-from iterator\""), the function and the source
// position on standard error, then aborts the process.
//
//   KIV_ASSERT(pluginPtr);
#pragma once

namespace Kiv {

[[noreturn]] void assertFailed(const char * expression, const char * file, int line,
                               const char * function) noexcept;

} // namespace Kiv

#define KIV_ASSERT(expr)            \
   ((expr) ? static_cast< void >(0) \
           : ::Kiv::assertFailed(#expr, __FILE__, __LINE__, __PRETTY_FUNCTION__))
