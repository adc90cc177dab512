#include "kiv/Notifiee.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

class Watcher;

// A bare notifier: fire() delivers onFire() to every attached watcher.
class Source : public Kiv::PtrInterface {
 public:
   Kiv::NotifierList & kivNotifierList() noexcept { return notifiers_; }
   void fire();

 private:
   Kiv::NotifierList notifiers_;
};

// Logs its name on every delivery, then runs its hook (if any).
class Watcher : public Kiv::Notifiee< Source > {
 public:
   Watcher(std::string name, std::vector< std::string > * log)
         : name_(std::move(name)), log_(log) {}
   void onFire() {
      log_->push_back(name_);
      if (hook) hook();
   }
   std::function< void() > hook;

 private:
   std::string name_;
   std::vector< std::string > * log_;
};

void Source::fire() {
   notifiers_.notify< Watcher >([](Watcher & w) { w.onFire(); });
}

class NotifieeTest : public ::testing::Test {
 protected:
   // A watcher attached to the source; attach order is creation order.
   Watcher & watcher(const std::string & name) {
      watchers_.push_back(std::make_unique< Watcher >(name, &log_));
      watchers_.back()->notifierIs(source_);
      return *watchers_.back();
   }
   // Fires once and returns who heard it.
   std::vector< std::string > fire() {
      log_.clear();
      source_->fire();
      return log_;
   }
   using Names = std::vector< std::string >;

   Kiv::Ptr< Source > source_ = Kiv::kivNew< Source >();
   std::vector< std::string > log_;
   std::vector< std::unique_ptr< Watcher > > watchers_;
};

TEST_F(NotifieeTest, DeliversInAttachOrderToActiveLiveNotifiees) {
   Watcher & a = watcher("a");
   Watcher & b = watcher("b");
   Watcher & c = watcher("c");
   b.notifierIs(source_); // already attached: no second delivery
   EXPECT_EQ(fire(), (Names{"a", "b", "c"}));
   b.notifierIs(nullptr);
   EXPECT_EQ(fire(), (Names{"a", "c"}));
   b.notifierIs(source_); // re-attached: last in order
   EXPECT_EQ(fire(), (Names{"a", "c", "b"}));
   EXPECT_EQ(source_->refCount(), 4u); // each watcher holds the notifier
   a.hasNotificationActiveIs(false);
   c.kivDoZombieReactors(true);
   EXPECT_EQ(fire(), (Names{"b"}));
   a.hasNotificationActiveIs(true);
   EXPECT_EQ(fire(), (Names{"a", "b"}));
}

TEST_F(NotifieeTest, DetachedOrDestroyedDuringNotificationIsSkippedFromThenOn) {
   Watcher & a = watcher("a");
   Watcher & b = watcher("b");
   Watcher & c = watcher("c");
   watcher("d");
   a.hook = [&] {
      b.notifierIs(nullptr);
      a.notifierIs(nullptr);
   };
   c.hook = [this] { watchers_[2].reset(); };
   EXPECT_EQ(fire(), (Names{"a", "c", "d"}));
   EXPECT_EQ(fire(), (Names{"d"}));
}

TEST_F(NotifieeTest, NotifieeAttachedDuringNotificationHearsOnlyTheNext) {
   Watcher & a = watcher("a");
   watcher("b");
   bool first = true;
   a.hook = [&] {
      if (first) watcher("late");
      first = false;
   };
   EXPECT_EQ(fire(), (Names{"a", "b"}));
   EXPECT_EQ(fire(), (Names{"a", "b", "late"}));
}

TEST_F(NotifieeTest, NotifierDestroyedByACallbackStopsDelivery) {
   watcher("a");
   watcher("b");
   watcher("c");
   // Dropping every reference inside a nested delivery destroys the source
   // under both deliveries.
   bool nested = false;
   watchers_[0]->hook = [&] {
      if (nested) {
         source_ = nullptr;
         watchers_.clear();
         return;
      }
      nested = true;
      source_->fire();
   };
   EXPECT_EQ(fire(), (Names{"a", "a"}));
   EXPECT_EQ(Kiv::LiveCount::count("(anonymous namespace)::Source"), 0);
}

TEST_F(NotifieeTest, ListStaysUsableAfterACallbackThrows) {
   Watcher & a = watcher("a");
   watcher("b");
   a.hook = [] { throw std::runtime_error("from a callback"); };
   EXPECT_THROW(fire(), std::runtime_error);
   a.hook = nullptr;
   watchers_[1].reset();
   EXPECT_EQ(fire(), (Names{"a"}));
   // A later destruction from inside a delivery must find no stale delivery.
   a.hook = [this] {
      source_ = nullptr;
      watchers_.clear();
   };
   EXPECT_EQ(fire(), (Names{"a"}));
}

} // namespace
