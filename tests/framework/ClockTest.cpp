#include "kiv/Clock.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kiv/ActivityManager.h"
#include "trace/Context.h"

namespace {

using Kiv::Clock;
using Kiv::System;
using Log = std::vector< std::string >;

// A reactor that writes its name into a shared log when it fires, then runs
// an optional hostile action.
struct Probe : Clock::NotifieeConst {
   Probe(const Kiv::Ptr< Clock > & clock, std::string n, Log & l)
         : NotifieeConst(clock), name(std::move(n)), log(l) {}
   void handleTimeMin() override {
      log.push_back(name);
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

 private:
   std::vector< std::unique_ptr< Probe > > probes_;
};

TEST(SystemTest, VirtualTimeMovesOnlyWhenToldAndReadsAreCounted) {
   System::virtualTimeIs(5.0);
   std::uint64_t reads = System::timeReads();
   EXPECT_EQ(System::currentTime(), 5.0);
   System::virtualTimeAdvance(1.5);
   System::timeReadStepIs(0.25);
   EXPECT_EQ(System::currentTime(), 6.5);
   EXPECT_EQ(System::currentTime(), 6.75);
   EXPECT_EQ(System::bookkeepingTime(), 7.0); // neither counted nor moving time
   EXPECT_EQ(System::bookkeepingTime(), 7.0);
   EXPECT_EQ(System::timeReads(), reads + 3);
   System::realTimeIs(); // drops the read step too
   EXPECT_EQ(System::timeReadStep(), 0.0);
}

TEST(SystemDeathTest, VirtualTimeNeverGoesBack) {
   System::virtualTimeIs(5.0);
   EXPECT_DEATH(System::virtualTimeAdvance(-1.0), "virtual time never goes back");
   System::realTimeIs();
   EXPECT_DEATH(System::timeReadStepIs(1.0), "a read step needs virtual time");
}

TEST_F(ClockTest, ReactorsFireOneAtATimeInTheOrderInWhichTheyBecameDue) {
   Probe & late = probe("late");
   EXPECT_EQ(late.timeMin(), Clock::never);
   late.timeMinIs(103.0);
   probe("soon").timeMinIs(101.0);
   probe("past").timeMinIs(50.0); // due since its arming at 100
   probe("now").timeMinIs(0.0);
   System::virtualTimeAdvance(2.0);
   probe("afterSoon").timeMinIs(0.0);
   System::virtualTimeAdvance(3.0);
   EXPECT_EQ(manager.armedCount(), 5u);
   EXPECT_TRUE(manager.runOnce());
   EXPECT_EQ(log, (Log{"past"}));
   EXPECT_EQ(manager.runUntilIdle(), 4u);
   EXPECT_EQ(log, (Log{"past", "now", "soon", "afterSoon", "late"}));
   EXPECT_EQ(late.timeMin(), Clock::never); // firing disarms
   EXPECT_FALSE(manager.runOnce());
}

// Deferred work traces as the code that set it up, and the context of the
// code that runs the loop comes back after each firing.
TEST_F(ClockTest, AReactorFiresInTheTraceContextItWasMadeIn) {
   const Kiv::Trace::Context a = Kiv::Trace::contextNamed("A");
   Probe * ofA = nullptr;
   {
      Kiv::Trace::ContextScope scope(a);
      ofA = &probe("ofA");
   }
   Probe & ofNone = probe("ofNone");
   std::vector< Kiv::Trace::Context > seen;
   for (Probe * p : {ofA, &ofNone}) {
      p->onFire = [&seen] { seen.push_back(Kiv::Trace::context()); };
      p->timeMinIs(0.0);
   }
   Kiv::Trace::ContextScope runner(Kiv::Trace::contextNamed("runner"));
   EXPECT_EQ(manager.runUntilIdle(), 2u);
   EXPECT_EQ(seen, (std::vector< Kiv::Trace::Context >{a, nullptr}));
   EXPECT_EQ(Kiv::Trace::context(), Kiv::Trace::contextNamed("runner"));
}

TEST_F(ClockTest, ReArmingKeepsADueReactorsPlaceUnlessItIsFiring) {
   Probe & a = probe("a");
   Probe & b = probe("b");
   for (Probe * p : {&a, &b, &probe("c")}) p->timeMinIs(0.0);
   a.timeMinIs(99.0);
   b.timeMinIs(100.0);
   a.onFire = [&] { a.timeMinIs(0.0); };
   EXPECT_EQ(manager.runUntilIdle(5), 5u);
   EXPECT_EQ(log, (Log{"a", "b", "c", "a", "a"}));
   a.timeMinIs(Clock::never);
   EXPECT_EQ(manager.armedCount(), 0u);
}

TEST_F(ClockTest, VirtualTimeJumpsToTheNextArmedReactor) {
   Probe & a = probe("a");
   a.onFire = [&] { log.push_back(std::to_string(System::bookkeepingTime())); };
   a.timeMinIs(150.0);
   probe("b").timeMinIs(120.0);
   EXPECT_FALSE(manager.runOnce());
   EXPECT_EQ(clock->nextDueTime(), 120.0);
   EXPECT_EQ(manager.runUntilIdle(), 2u);
   EXPECT_EQ(log, (Log{"b", "a", std::to_string(150.0)}));

   // On real time the run returns when only future reactors remain.
   System::realTimeIs();
   a.onFire = nullptr;
   a.timeMinIs(System::currentTime() + 3600.0);
   probe("now").timeMinIs(0.0);
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
   EXPECT_EQ(manager.runUntilIdle(), 0u);
   EXPECT_EQ(otherManager.runUntilIdle(), 1u);
   EXPECT_EQ(log.back(), "a");
}

// Deletes itself when it fires, as an object whose work ends its own life.
struct SelfDestructing : Probe {
   using Probe::Probe;
   void handleTimeMin() override {
      Probe::handleTimeMin();
      delete this;
   }
};

TEST_F(ClockTest, AReactorMayDestroyItselfOrAnotherDueReactorInItsCallback) {
   auto victim = std::make_unique< Probe >(clock, "victim", log);
   Probe & killer = probe("killer");
   killer.onFire = [&] { victim.reset(); };
   killer.timeMinIs(0.0);
   victim->timeMinIs(0.0);
   (new SelfDestructing(clock, "self", log))->timeMinIs(0.0);
   probe("bystander").timeMinIs(0.0);
   EXPECT_EQ(manager.runUntilIdle(), 3u);
   EXPECT_EQ(log, (Log{"killer", "self", "bystander"}));
}

} // namespace
