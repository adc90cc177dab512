#include "kiv/ActivityManager.h"

#include "kiv/Assert.h"

namespace Kiv {

ActivityManager::ActivityManager(const Ptr< Clock > & clock) : config_(clock) {
   KIV_ASSERT(clock && "an activity manager needs a clock");
}

bool ActivityManager::runOnce() {
   // The callback may drop every other reference to the clock.
   Ptr< Clock > clock = config_.clock();
   return clock->fireNextDue(System::bookkeepingTime());
}

std::uint64_t ActivityManager::runUntilIdle(std::uint64_t maxFirings) {
   std::uint64_t fired = 0;
   while (fired < maxFirings) {
      if (runOnce()) {
         ++fired;
         continue;
      }
      Seconds next = config_.clock()->nextDueTime();
      if (!System::virtualTime() || next == Clock::never) break;
      // Set, not advanced by a difference, so that rounding cannot leave the
      // reactor a hair short of due.
      System::virtualTimeIs(next);
   }
   return fired;
}

ActivityManager * activityManager() {
   // Never destroyed, so that objects torn down at exit may still reach it.
   static ActivityManager * manager = new ActivityManager(kivNew< Clock >(Name("activityClock")));
   return manager;
}

} // namespace Kiv
