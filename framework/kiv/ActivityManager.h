// Kiv::ActivityManager: the run loop that fires the reactors of one clock.
//
// The process has one, created on first use with its own clock and kept for
// the life of the process; tests may build their own around a clock of
// their own. Nothing runs by itself: the agent (or a test, or the scenario
// runner) calls runOnce() or runUntilIdle() on the event thread.
//
//   Kiv::Ptr< Kiv::Clock > clock = Kiv::activityManager()->config()->clock();
//   reactor.notifierIs(clock); reactor.timeMinIs(0.0);
//   Kiv::activityManager()->runUntilIdle();     // reactor.handleTimeMin() ran
//
// Under real time, runUntilIdle() returns as soon as the only armed reactors
// are due in the future: the loop never waits. Under virtual time it moves
// time forward to the next armed reactor instead, so everything armed fires.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kiv/Clock.h"

namespace Kiv {

class ActivityManager {
 public:
   struct Config {
      explicit Config(const Ptr< Clock > & clock) : clock_(clock) {}
      const Ptr< Clock > & clock() const noexcept { return clock_; }

    private:
      Ptr< Clock > clock_;
   };

   // REQUIRES: `clock` is not null.
   explicit ActivityManager(const Ptr< Clock > & clock);
   ActivityManager(const ActivityManager &) = delete;
   ActivityManager & operator=(const ActivityManager &) = delete;

   const Config * config() const noexcept { return &config_; }

   // Fires the first due reactor; false when none is due.
   bool runOnce();
   // Fires reactors until none is armed (virtual time) or none is due (real
   // time), or `maxFirings` have fired; returns the number fired.
   std::uint64_t runUntilIdle(std::uint64_t maxFirings = UINT64_MAX);
   std::size_t armedCount() const noexcept { return config_.clock()->armedCount(); }

 private:
   Config config_;
};

// The process's activity manager, created on first use.
ActivityManager * activityManager();

} // namespace Kiv
