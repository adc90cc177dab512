// Kiv::Clock: the clock that drives deferred work, and its reactors.
//
// A clock reactor (Clock::NotifieeConst) attached to a clock is armed with
// the earliest time at which it may fire; the activity manager's run loop
// fires due reactors one at a time. The clock keeps the schedule of its
// reactors; time itself comes from Kiv::System.
//
//   struct Wake : Kiv::Clock::NotifieeConst {
//      void handleTimeMin() override { ... }
//   };
//   Wake w; w.notifierIs(clock); w.timeMinIs(0.0);  // fires at the next opportunity
//
// Due order: a reactor becomes due at max(armed time, time of arming) and due
// reactors fire in the order in which they became due, ties by arming
// sequence. Arming again with a time at or before now keeps the place of a
// reactor that is already due; any other arming takes a new place. Firing
// disarms the reactor before handleTimeMin() runs, so a reactor that re-arms
// itself from its callback goes after every reactor already due.
//
// A reactor that is inactive, a zombie or detached keeps its armed time and
// place but is not due and does not count as armed until it can fire again.
// Detaching or destroying a reactor (also from inside any callback) takes it
// out of the schedule. Reactors hold a counted reference to their clock, so
// the clock outlives every reactor attached to it.
//
// A reactor keeps the trace context current when it was made and fires in
// it (trace/Context.h): deferred work traces as the code that set it up.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <utility>

#include "kiv/Entity.h"
#include "kiv/System.h"
#include "trace/Context.h"

namespace Kiv {

class ActivityManager;

class Clock : public Entity {
 public:
   // The time of a disarmed reactor.
   static constexpr Seconds never = std::numeric_limits< Seconds >::infinity();

   class NotifieeConst : public Notifiee< Clock > {
    public:
      NotifieeConst() = default;
      explicit NotifieeConst(const PtrConst< Clock > & clock) { notifierIs(clock); }
      ~NotifieeConst() override { leaveSchedule(); }

      // Earliest firing time; +infinity when never armed or disarmed.
      Seconds timeMin() const noexcept { return timeMin_; }
      // Arms the reactor; 0.0 (or any past time) means at the next
      // opportunity, +infinity disarms.
      // REQUIRES: `t` is not NaN.
      void timeMinIs(Seconds t);
      bool armed() const noexcept { return timeMin_ != never; }

      virtual void handleTimeMin() {}

      // Hides Notifiee::notifierIs so that the schedule follows the
      // reactor: an armed reactor moved to another clock keeps its place.
      void notifierIs(const PtrConst< Clock > & clock);
      void hasNotificationActiveIs(bool active) override;
      void kivDoZombieReactors(bool zombie) override;

    private:
      friend class Clock;
      Clock * clock() const noexcept { return const_cast< Clock * >(notifier().get()); }
      // Puts the reactor into its clock's schedule when it can fire, or takes
      // it out when it cannot.
      void scheduleUpdate();
      void leaveSchedule();

      // The trace context handleTimeMin() runs in.
      const Trace::Context traceContext_ = Trace::context();
      Seconds timeMin_ = never;
      // The place in the due order; meaningful only while armed.
      Seconds dueAt_ = 0.0;
      std::uint64_t seq_ = 0;
      bool scheduled_ = false; // in clock()->schedule_
   };

   explicit Clock(const Name & name) : Entity(name) {}
   ~Clock() override;

   // Reactors that are armed and able to fire, due or not.
   std::size_t armedCount() const noexcept { return schedule_.size(); }
   // When the first of them becomes due; +infinity when none is armed.
   Seconds nextDueTime() const noexcept;

 private:
   friend class ActivityManager;
   // Disarms and fires the first reactor due at `now`; false when none is.
   // Touches nothing after the callback: it may destroy the reactor.
   bool fireNextDue(Seconds now);

   using Place = std::pair< Seconds, std::uint64_t >; // (dueAt, arming sequence)
   // Exactly the attached reactors that are armed, active and not zombies.
   std::map< Place, NotifieeConst * > schedule_;
};

} // namespace Kiv
