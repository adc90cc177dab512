#include "orv/CodefBase.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "kiv/ActivityManager.h"

namespace {

using Kiv::Clock;
using Kiv::System;
using Log = std::vector< std::string >;

// Works off identical items one at a time and yields once its quantum has
// passed, reading the clock after every item.
class Worker : public Orv::CodefBase {
 public:
   Worker(const Kiv::PtrConst< Clock > & clock, std::string name, Log & log)
         : CodefBase(clock), name_(std::move(name)), log_(log) {}

   void enqueue(std::uint64_t items) {
      pending_ += items;
      updatesSeenInc(items);
      scheduleCodef();
   }
   // An update for an item that is already pending.
   void enqueueCoalesced() {
      updatesSeenInc();
      scheduleCodef();
   }

   std::uint64_t processBacklog(const Kiv::Seconds & startTime) override {
      startTimes.push_back(startTime);
      std::uint64_t done = 0;
      while (pending_ != 0) {
         --pending_;
         ++done;
         if (onItem) onItem();
         if (System::currentTime() >= startTime + backlogQuantum()) break;
      }
      log_.push_back(name_ + std::to_string(done));
      return done;
   }
   std::uint64_t backlogSize() const override { return pending_; }

   std::vector< Kiv::Seconds > startTimes;
   std::function< void() > onItem;

 private:
   std::string name_;
   Log & log_;
   std::uint64_t pending_ = 0;
};

class CodefBaseTest : public ::testing::Test {
 protected:
   // Each read moves time by a quarter of a quantum: a slice does four items.
   void SetUp() override {
      System::virtualTimeIs(100.0);
      System::timeReadStepIs(0.25);
   }
   void TearDown() override { System::realTimeIs(); }

   Kiv::Ptr< Clock > clock = Kiv::kivNew< Clock >(Kiv::Name("codefClock"));
   Kiv::ActivityManager manager{clock};
   Log log;
};

TEST_F(CodefBaseTest, BacklogIsWorkedOffInSlicesUntilEmpty) {
   Worker w(clock, "w", log);
   w.backlogQuantumIs(1.0);
   w.enqueue(10);
   w.enqueueCoalesced();

   EXPECT_TRUE(manager.runOnce());
   EXPECT_FALSE(w.warm());
   EXPECT_EQ(manager.runUntilIdle(), 2u);
   EXPECT_EQ(log, (Log{"w4", "w4", "w2"}));
   EXPECT_EQ(w.updatesSeen(), 11u);
   EXPECT_EQ(w.updatesProcessed(), 10u);
   EXPECT_EQ(w.updatesCoalesced(), 1u);
   EXPECT_EQ(w.dispatchCount(), 3u);
   EXPECT_EQ(w.yieldBeforeFinishingCount(), 2u);
   EXPECT_TRUE(w.warm());
   EXPECT_FALSE(w.codefScheduled());
   // Slices start where the previous one's reads left the clock.
   EXPECT_EQ(w.startTimes, (std::vector< Kiv::Seconds >{100.0, 101.25, 102.5}));
   EXPECT_EQ(w.timeUsed(), 1.25 + 1.25 + 0.75);
}

TEST_F(CodefBaseTest, AYieldingSliceLetsOtherDueWorkGoFirst) {
   Worker a(clock, "a", log);
   Worker b(clock, "b", log);
   a.backlogQuantumIs(1.0);
   b.backlogQuantumIs(1.0);
   a.enqueue(6);
   b.enqueue(5);
   a.enqueue(1); // already due: keeps its place
   EXPECT_EQ(manager.runUntilIdle(), 4u);
   EXPECT_EQ(log, (Log{"a4", "b4", "a3", "b1"}));
}

TEST_F(CodefBaseTest, WorkEnqueuedDuringASliceIsTakenWithoutAnEmptyFollowUpSlice) {
   Worker w(clock, "w", log);
   w.backlogQuantumIs(10.0);
   bool fed = false;
   w.onItem = [&] {
      if (!std::exchange(fed, true)) w.enqueue(2);
   };
   w.enqueue(1);
   EXPECT_EQ(manager.runUntilIdle(), 1u);
   EXPECT_EQ(log, (Log{"w3"}));
   EXPECT_EQ(w.yieldBeforeFinishingCount(), 0u);
}

TEST_F(CodefBaseTest, PendingWorkWaitsForAClockAndAnActiveLiveBase) {
   Worker w(nullptr, "w", log);
   w.enqueue(1);
   EXPECT_TRUE(w.codefScheduled());
   EXPECT_EQ(manager.runUntilIdle(), 0u);
   w.clockIs(clock);
   w.hasNotificationActiveIs(false);
   EXPECT_EQ(manager.runUntilIdle(), 0u);
   w.hasNotificationActiveIs(true);
   w.kivDoZombieReactors(true);
   EXPECT_EQ(manager.armedCount(), 0u);
   EXPECT_EQ(manager.runUntilIdle(), 0u);
   w.kivDoZombieReactors(false);
   EXPECT_EQ(manager.runUntilIdle(), 1u);
   w.enqueue(1);
   w.clockDel();
   EXPECT_EQ(manager.runUntilIdle(), 0u);
   EXPECT_EQ(log, (Log{"w1"}));
}

TEST_F(CodefBaseTest, DelayedAndCancelledSlices) {
   System::timeReadStepIs(0.0);
   Worker w(clock, "w", log);
   w.enqueue(1);
   w.scheduleCodefDelay(2.0);
   EXPECT_FALSE(manager.runOnce());
   EXPECT_EQ(manager.runUntilIdle(), 1u);
   EXPECT_EQ(w.startTimes, (std::vector< Kiv::Seconds >{102.0}));
   w.enqueue(1);
   w.unscheduleCodef();
   EXPECT_EQ(manager.runUntilIdle(), 0u);
   EXPECT_EQ(w.backlogSize(), 1u);
}

// Always has work left, and its slice drops the last reference to itself:
// a base that touched itself after the slice would re-arm a freed reactor.
class SelfReleasing : public Orv::CodefBase {
 public:
   SelfReleasing(const Kiv::PtrConst< Clock > & clock, Kiv::Ptr< SelfReleasing > & owner)
         : CodefBase(clock), owner_(owner) {}
   std::uint64_t processBacklog(const Kiv::Seconds &) override {
      owner_ = nullptr;
      return 1;
   }
   std::uint64_t backlogSize() const override { return 1; }

 private:
   Kiv::Ptr< SelfReleasing > & owner_;
};

TEST_F(CodefBaseTest, ABaseDestroyedByItsOwnSliceIsNotTouchedAgain) {
   const char * type = "(anonymous namespace)::SelfReleasing";
   std::int64_t live = Kiv::LiveCount::count(type);
   Kiv::Ptr< SelfReleasing > owner;
   owner = Kiv::kivNew< SelfReleasing >(clock, owner);
   owner->scheduleCodef();
   EXPECT_EQ(Kiv::LiveCount::count(type), live + 1);
   EXPECT_EQ(manager.runUntilIdle(), 1u);
   EXPECT_FALSE(owner);
   EXPECT_EQ(Kiv::LiveCount::count(type), live);
   EXPECT_EQ(manager.armedCount(), 0u);
}

TEST_F(CodefBaseTest, AnExceptionFromASliceLeavesTheReactorDisarmed) {
   Worker w(clock, "w", log);
   w.onItem = [] { throw std::runtime_error("processing failed"); };
   w.enqueue(2);
   EXPECT_THROW(manager.runOnce(), std::runtime_error);
   EXPECT_FALSE(w.codefScheduled());
   EXPECT_EQ(w.dispatchCount(), 0u);
   w.onItem = nullptr;
   w.scheduleCodef();
   EXPECT_EQ(manager.runUntilIdle(), 1u);
}

} // namespace
