#include "kiv/Clock.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "kiv/ActivityManager.h"
#include "orv/CodefBase.h"
#include "trace/Context.h"

namespace {

using Kiv::Clock;
using Kiv::System;
using Log = std::vector< std::string >;

// A reactor that writes its name (and trace context, if any) into a shared
// log when it fires, then runs an optional hostile action.
struct Probe : Clock::NotifieeConst {
   Probe(const Kiv::Ptr< Clock > & clock, std::string n, Log & l)
         : NotifieeConst(clock), name(std::move(n)), log(l) {}
   void handleTimeMin() override {
      const Kiv::Trace::Context c = Kiv::Trace::context();
      log.push_back(c ? name + "@" + *c : name);
      if (onFire) onFire();
   }
   std::string name;
   Log & log;
   std::function< void() > onFire;
};

class ClockTest : public ::testing::Test {
 protected:
   void SetUp() override { System::virtualTimeIs(100.0); }
   void TearDown() override { System::realTimeIs(); }

   Probe & probe(const std::string & name) {
      probes_.push_back(std::make_unique< Probe >(clock, name, log));
      return *probes_.back();
   }

   Kiv::Ptr< Clock > clock = Kiv::kivNew< Clock >(Kiv::Name("testClock"));
   Kiv::ActivityManager manager{clock};
   Log log;
   std::vector< std::unique_ptr< Probe > > probes_;
};

TEST(SystemDeathTest, VirtualTimeMovesOnlyForwardAndOnlyWhenRead) {
   System::virtualTimeIs(5.0);
   const std::uint64_t reads = System::timeReads();
   System::timeReadStepIs(0.25);
   EXPECT_EQ(System::currentTime(), 5.0);
   EXPECT_EQ(System::bookkeepingTime(), 5.25); // neither counted nor moving time
   EXPECT_EQ(System::timeReads(), reads + 1);
   EXPECT_DEATH(System::virtualTimeAdvance(-1.0), "virtual time never goes back");
   System::realTimeIs(); // drops the read step too
   EXPECT_EQ(System::timeReadStep(), 0.0);
   EXPECT_DEATH(System::timeReadStepIs(1.0), "a read step needs virtual time");
}

TEST_F(ClockTest, ReactorsFireOneAtATimeInTheOrderInWhichTheyBecameDue) {
   Probe & late = probe("late");
   late.timeMinIs(103.0);
   late.onFire = [&] { EXPECT_EQ(System::bookkeepingTime(), 103.0); };
   probe("soon").timeMinIs(101.0);
   Probe & past = probe("past");
   past.timeMinIs(50.0); // due since its arming at 100
   Probe & now = probe("now");
   now.timeMinIs(0.0);
   past.timeMinIs(100.0); // re-arming a due reactor keeps its place
   System::virtualTimeAdvance(2.0);
   probe("afterSoon").timeMinIs(0.0);
   EXPECT_EQ(manager.runUntilIdle(), 5u); // virtual time jumps to the next armed reactor
   EXPECT_EQ(log, (Log{"past", "now", "soon", "afterSoon", "late"}));
   EXPECT_EQ(late.timeMin(), Clock::never); // firing disarms

   // Re-armed while firing, a reactor goes behind the others due.
   late.onFire = [&] { late.timeMinIs(0.0); };
   late.timeMinIs(0.0);
   now.timeMinIs(0.0);
   EXPECT_EQ(manager.runUntilIdle(3), 3u);
   EXPECT_EQ(log, (Log{"past", "now", "soon", "afterSoon", "late", "late", "now", "late"}));
   late.timeMinIs(Clock::never);
   EXPECT_EQ(manager.armedCount(), 0u);

   // On real time the run returns when only future reactors remain.
   System::realTimeIs();
   late.timeMinIs(System::currentTime() + 3600.0);
   now.timeMinIs(0.0);
   EXPECT_EQ(manager.runUntilIdle(), 1u);
   EXPECT_EQ(manager.armedCount(), 1u);
}

TEST_F(ClockTest, InactiveZombieAndDetachedReactorsAreSkipped) {
   Probe & inactive = probe("inactive");
   Probe & zombie = probe("zombie");
   inactive.timeMinIs(0.0);
   zombie.timeMinIs(0.0);
   inactive.hasNotificationActiveIs(false);
   zombie.kivDoZombieReactors(true);
   probe("live").timeMinIs(0.0);
   probe("later").timeMinIs(0.0);
   EXPECT_EQ(manager.armedCount(), 2u);
   EXPECT_TRUE(manager.runOnce());

   inactive.hasNotificationActiveIs(true);
   EXPECT_EQ(manager.runUntilIdle(), 2u);
   EXPECT_EQ(log, (Log{"live", "inactive", "later"}));
   EXPECT_EQ(zombie.timeMin(), 0.0);

   // A detached reactor leaves the schedule and moves with its clock.
   Probe & a = probe("a");
   a.timeMinIs(0.0);
   a.notifierIs(nullptr);
   EXPECT_EQ(manager.armedCount(), 0u);
   auto other = Kiv::kivNew< Clock >(Kiv::Name("otherClock"));
   Kiv::ActivityManager otherManager(other);
   a.notifierIs(other);
   EXPECT_EQ(otherManager.runUntilIdle(), 1u);
   EXPECT_EQ(log.back(), "a");
}

// Deferred work traces as the code that set it up, and the context of the
// code that runs the loop comes back after each firing, the reactor gone or not.
TEST_F(ClockTest, AReactorFiresInItsOwnTraceContextAndMayDestroyItselfOrAnother) {
   auto victim = std::make_unique< Probe >(clock, "victim", log);
   Probe & killer = probe("killer");
   killer.onFire = [&] { victim.reset(); };
   killer.timeMinIs(0.0);
   victim->timeMinIs(0.0);
   {
      Kiv::Trace::ContextScope scope(Kiv::Trace::contextNamed("A"));
      // Deletes itself when it fires, as an object whose work ends its own life.
      Probe * self = new Probe(clock, "self", log);
      self->onFire = [self] { delete self; };
      self->timeMinIs(0.0);
   }
   probe("bystander").timeMinIs(0.0);
   Kiv::Trace::ContextScope runner(Kiv::Trace::contextNamed("runner"));
   EXPECT_EQ(manager.runUntilIdle(), 3u);
   EXPECT_EQ(log, (Log{"killer", "self@A", "bystander"}));
   EXPECT_EQ(Kiv::Trace::context(), Kiv::Trace::contextNamed("runner"));
}

// Works off identical items one at a time and yields once its quantum has
// passed, reading the clock after every item.
struct Worker : Orv::CodefBase {
   Worker(const Kiv::PtrConst< Clock > & clock, std::string n, Log & l)
         : CodefBase(clock), name(std::move(n)), log(l) {}

   void enqueue(std::uint64_t items) {
      pending += items;
      updatesSeenInc(items);
      scheduleCodef();
   }

   std::uint64_t processBacklog(const Kiv::Seconds & startTime) override {
      startTimes.push_back(startTime);
      std::uint64_t done = 0;
      while (pending != 0) {
         --pending;
         ++done;
         if (onItem) onItem();
         if (System::currentTime() >= startTime + backlogQuantum()) break;
      }
      log.push_back(name + std::to_string(done));
      return done;
   }
   std::uint64_t backlogSize() const override { return pending; }

   std::string name;
   Log & log;
   std::vector< Kiv::Seconds > startTimes;
   std::function< void() > onItem;
   std::uint64_t pending = 0;
};

using CodefBaseTest = ClockTest;

TEST_F(CodefBaseTest, BacklogIsWorkedOffInSlicesThatLetOtherDueWorkGoFirst) {
   System::timeReadStepIs(0.25); // a quarter of the quantum: a slice does four items
   Worker w(clock, "w", log), other(clock, "o", log);
   w.backlogQuantumIs(1.0);
   other.backlogQuantumIs(1.0);
   w.enqueue(10);
   other.enqueue(5);
   w.updatesSeenInc(); // an update for an item already pending;
   w.scheduleCodef();  // already due, w keeps its place
   EXPECT_TRUE(manager.runOnce());
   EXPECT_FALSE(w.warm());
   EXPECT_EQ(manager.runUntilIdle(), 4u);
   EXPECT_EQ(log, (Log{"w4", "o4", "w4", "o1", "w2"}));
   // Seen, processed, coalesced; slices, of which yielded.
   EXPECT_EQ(std::tuple(w.updatesSeen(), w.updatesProcessed(), w.updatesCoalesced(),
                        w.dispatchCount(), w.yieldBeforeFinishingCount()),
             std::tuple(11u, 10u, 1u, 3u, 2u));
   EXPECT_TRUE(w.warm());
   EXPECT_FALSE(w.codefScheduled());
   // Slices start where the previous one's reads left the clock.
   EXPECT_EQ(w.startTimes, (std::vector< Kiv::Seconds >{100.0, 102.5, 104.25}));
   EXPECT_EQ(w.timeUsed(), 1.25 + 1.25 + 0.75);
}

TEST_F(CodefBaseTest, WorkEnqueuedDuringASliceIsTakenAndAFailedSliceLeavesTheReactorDisarmed) {
   Worker w(clock, "w", log);
   w.backlogQuantumIs(10.0);
   bool fed = false;
   w.onItem = [&] {
      if (!std::exchange(fed, true)) w.enqueue(2);
   };
   w.enqueue(1);
   EXPECT_EQ(manager.runUntilIdle(), 1u);
   EXPECT_EQ(log, (Log{"w3"}));

   w.onItem = [] { throw std::runtime_error("processing failed"); };
   w.enqueue(2);
   EXPECT_THROW(manager.runOnce(), std::runtime_error);
   EXPECT_FALSE(w.codefScheduled());
   EXPECT_EQ(w.dispatchCount(), 1u);
   w.onItem = nullptr;
   w.scheduleCodef();
   EXPECT_EQ(manager.runUntilIdle(), 1u);
}

TEST_F(CodefBaseTest, PendingWorkWaitsForAClockAnActiveLiveBaseAndItsDelay) {
   Worker w(nullptr, "w", log);
   w.enqueue(1);
   EXPECT_TRUE(w.codefScheduled());
   w.clockIs(clock);
   w.hasNotificationActiveIs(false);
   EXPECT_EQ(manager.runUntilIdle(), 0u);
   w.hasNotificationActiveIs(true);
   w.kivDoZombieReactors(true);
   EXPECT_EQ(manager.armedCount(), 0u);
   w.kivDoZombieReactors(false);
   EXPECT_EQ(manager.runUntilIdle(), 1u);
   w.enqueue(1);
   w.clockDel();
   EXPECT_EQ(manager.runUntilIdle(), 0u);

   w.clockIs(clock);
   const Kiv::Seconds delayedAt = System::bookkeepingTime();
   w.scheduleCodefDelay(2.0);
   EXPECT_FALSE(manager.runOnce());
   EXPECT_EQ(manager.runUntilIdle(), 1u);
   EXPECT_EQ(w.startTimes.back(), delayedAt + 2.0);
   EXPECT_EQ(log, (Log{"w1", "w1"}));
}

// Always has work left, and its slice drops the last reference to itself:
// a base that touched itself after the slice would re-arm a freed reactor.
struct SelfReleasing : Orv::CodefBase {
   SelfReleasing(const Kiv::PtrConst< Clock > & clock, Kiv::Ptr< SelfReleasing > & o)
         : CodefBase(clock), owner(o) {}
   std::uint64_t processBacklog(const Kiv::Seconds &) override {
      owner = nullptr;
      return 1;
   }
   std::uint64_t backlogSize() const override { return 1; }
   Kiv::Ptr< SelfReleasing > & owner;
};

TEST_F(CodefBaseTest, ABaseDestroyedByItsOwnSliceIsNotTouchedAgain) {
   Kiv::Ptr< SelfReleasing > owner;
   owner = Kiv::kivNew< SelfReleasing >(clock, owner);
   owner->scheduleCodef();
   EXPECT_EQ(manager.runUntilIdle(), 1u);
   EXPECT_FALSE(owner);
   EXPECT_EQ(Kiv::LiveCount::count("(anonymous namespace)::SelfReleasing"), 0);
   EXPECT_EQ(manager.armedCount(), 0u);
}

} // namespace
