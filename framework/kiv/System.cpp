#include "kiv/System.h"

#include <chrono>
#include <cmath>

#include "kiv/Assert.h"

namespace Kiv {

namespace {

struct TimeSource {
   bool virtualTime = false;
   Seconds virtualNow = 0.0;
   Seconds readStep = 0.0; // only ever non-zero under virtual time
   std::uint64_t reads = 0;
};

TimeSource timeSource;

Seconds realNow() {
   using Fractional = std::chrono::duration< Seconds >;
   return std::chrono::duration_cast< Fractional >(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

} // namespace

Seconds System::currentTime() {
   ++timeSource.reads;
   if (!timeSource.virtualTime) return realNow();
   Seconds now = timeSource.virtualNow;
   timeSource.virtualNow += timeSource.readStep;
   return now;
}

Seconds System::bookkeepingTime() {
   return timeSource.virtualTime ? timeSource.virtualNow : realNow();
}

void System::virtualTimeIs(Seconds now) {
   KIV_ASSERT(std::isfinite(now) && "virtual time must be finite");
   timeSource.virtualTime = true;
   timeSource.virtualNow = now;
}

void System::realTimeIs() {
   timeSource.virtualTime = false;
   timeSource.readStep = 0.0;
}

bool System::virtualTime() { return timeSource.virtualTime; }

void System::virtualTimeAdvance(Seconds delta) {
   KIV_ASSERT(timeSource.virtualTime && "time advances by hand only under virtual time");
   KIV_ASSERT(std::isfinite(delta) && delta >= 0.0 && "virtual time never goes back");
   timeSource.virtualNow += delta;
}

void System::timeReadStepIs(Seconds step) {
   KIV_ASSERT(timeSource.virtualTime && "a read step needs virtual time");
   KIV_ASSERT(std::isfinite(step) && step >= 0.0 && "a read step is finite and not negative");
   timeSource.readStep = step;
}

Seconds System::timeReadStep() { return timeSource.readStep; }

std::uint64_t System::timeReads() { return timeSource.reads; }

} // namespace Kiv
