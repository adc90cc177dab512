// Orv::CodefBase: the base of an object that works a backlog off in time
// slices on the event thread, driven by a clock.
//
// The derived class keeps the backlog; the base owns a clock reactor (a
// member, holding a back pointer to this base, which outlives it) and calls
// processBacklog() whenever the reactor fires, again and again while
// backlogSize() is not zero. Each re-arming after a slice that yielded puts
// this object last among the due reactors, so other work interleaves.
//
//   class Sm : public Orv::CodefBase { ... processBacklog(), backlogSize() ... };
//   backlogIs(key); updatesSeenInc(); scheduleCodef();   // enqueue
//   Kiv::activityManager()->runUntilIdle();               // slices run
//
// Statistics, all since construction:
//   updatesSeen                updates enqueued (updatesSeenInc)
//   updatesProcessed           entries processed, summed over slices
//   updatesCoalesced           updatesSeen - updatesProcessed - backlogSize():
//                              updates merged into a pending entry or dropped
//                              unprocessed; 0 when more was processed than seen
//   dispatchCount              slices run
//   yieldBeforeFinishingCount  slices that left work pending
//   warm                       a slice has emptied the backlog
//   timeUsed                   time spent inside slices
#pragma once

#include <cstdint>

#include "kiv/Clock.h"

namespace Orv {

class CodefBase : public Kiv::PtrInterface {
 public:
   // One slice takes at most about 5 ms (plus the entries up to the next
   // tenth, where the deadline is checked): short enough that notifications
   // and other reactors on the one event thread never wait noticeably, long
   // enough that a slice works off hundreds of cheap entries and the cost of
   // dispatching it stays small.
   static constexpr Kiv::Seconds defaultBacklogQuantum = 0.005;

   // `clock` may be null: the reactor is then armed but fires only once a
   // clock is set.
   explicit CodefBase(const Kiv::PtrConst< Kiv::Clock > & clock);
   ~CodefBase() override;

   Kiv::PtrConst< Kiv::Clock > clock() const { return reactor_.notifier(); }
   void clockIs(const Kiv::PtrConst< Kiv::Clock > & clock) { reactor_.notifierIs(clock); }
   void clockDel() { reactor_.notifierIs(nullptr); }

   // Works off part of the backlog, from `startTime` on, and returns the
   // number of entries processed.
   virtual std::uint64_t processBacklog(const Kiv::Seconds & startTime) = 0;
   virtual std::uint64_t backlogSize() const = 0;

   // Asks for a slice at the next opportunity.
   void scheduleCodef() { reactor_.timeMinIs(0.0); }
   // REQUIRES: `delay` is not negative.
   void scheduleCodefDelay(Kiv::Seconds delay);
   void unscheduleCodef() { reactor_.timeMinIs(Kiv::Clock::never); }
   bool codefScheduled() const noexcept { return reactor_.armed(); }

   void updatesSeenInc(std::uint64_t count = 1) { updatesSeen_ += count; }
   // Accounts one slice that processed `processed` entries and left
   // `remaining` pending.
   void updateWorkStats(std::uint64_t processed, std::uint64_t remaining);

   Kiv::Seconds backlogQuantum() const noexcept { return backlogQuantum_; }
   // REQUIRES: `quantum` is not negative.
   void backlogQuantumIs(Kiv::Seconds quantum);

   std::uint64_t updatesSeen() const noexcept { return updatesSeen_; }
   std::uint64_t updatesProcessed() const noexcept { return updatesProcessed_; }
   bool warm() const noexcept { return warm_; }
   std::uint64_t updatesCoalesced() const;
   Kiv::Seconds timeUsed() const noexcept { return timeUsed_; }
   std::uint64_t dispatchCount() const noexcept { return dispatchCount_; }
   std::uint64_t yieldBeforeFinishingCount() const noexcept { return yieldBeforeFinishingCount_; }

   // Both switch the clock reactor along with this object; a derived class
   // that overrides them calls these.
   void hasNotificationActiveIs(bool active) override;
   void kivDoZombieReactors(bool zombie) override;

 protected:
   // One slice: processBacklog() from the present time, statistics, and a
   // new place at the end of the due order while entries remain (disarmed
   // once the backlog is empty). Safe when
   // processBacklog() destroys this object: nothing is touched afterwards.
   // An exception from processBacklog() passes through and leaves the
   // reactor disarmed until the next scheduleCodef().
   void doProcessBacklog();

 private:
   class Reactor : public Kiv::Clock::NotifieeConst {
    public:
      explicit Reactor(CodefBase * owner) : owner_(owner) {}
      void handleTimeMin() override { owner_->doProcessBacklog(); }

    private:
      CodefBase * owner_; // back pointer; the owner outlives its member reactor
   };
   // A slice under way, on the stack of doProcessBacklog(); the destructor
   // of CodefBase marks it so that the slice stops touching this object.
   struct Slice {
      explicit Slice(Slice *& list) : slices(list), outer(list) { slices = this; }
      Slice(const Slice &) = delete;
      Slice & operator=(const Slice &) = delete;
      ~Slice() {
         if (!destroyed) slices = outer;
      }
      Slice *& slices;
      Slice * outer;
      bool destroyed = false;
   };

   Reactor reactor_;
   Kiv::Seconds backlogQuantum_ = defaultBacklogQuantum;
   std::uint64_t updatesSeen_ = 0;
   std::uint64_t updatesProcessed_ = 0;
   std::uint64_t dispatchCount_ = 0;
   std::uint64_t yieldBeforeFinishingCount_ = 0;
   Kiv::Seconds timeUsed_ = 0.0;
   bool warm_ = false;
   Slice * slices_ = nullptr; // innermost first
};

} // namespace Orv
