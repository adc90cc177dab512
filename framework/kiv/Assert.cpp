#include "kiv/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Kiv {

void assertFailed(const char * expression, const char * file, int line,
                  const char * function) noexcept {
   std::fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", file, line, function, expression);
   std::fflush(stderr);
   std::abort();
}

} // namespace Kiv
