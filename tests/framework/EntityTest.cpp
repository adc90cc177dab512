#include "kiv/Entity.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace KivEntityTest {

class Leaf : public Kiv::Entity {
 public:
   explicit Leaf(const Kiv::Name & name) : Entity(name) {}
};

class Node : public Kiv::Entity {
 public:
   class NotifieeConst : public Kiv::Notifiee< Node > {
    public:
      virtual void onMtu() {}
      virtual void onVlan(const Kiv::String &) {}
      virtual void onIntf(const Kiv::Name &) {}
   };
   explicit Node(const Kiv::Name & name) : Entity(name) {}
   KIV_SCALAR(int, mtu, Mtu)
   KIV_VALUE_MAP(Kiv::String, Kiv::String, vlan, Vlan)
   KIV_ENTITY_MAP(Kiv::Name, Leaf, intf, Intf)
};

using Names = std::vector< std::string >;

// Logs each notification, then runs its hook (if any): its name for an mtu
// change, "attr:key" for a member, with whether the key is present then.
struct Watcher : Node::NotifieeConst {
   Watcher(std::string n, Names * l) : name(std::move(n)), log(l) {}
   void onMtu() override { heard(name); }
   void onVlan(const Kiv::String & key) override {
      heard("vlan:" + key.stdString() + (notifier()->vlanHas(key) ? "+" : "-"));
   }
   void onIntf(const Kiv::Name & key) override {
      heard("intf:" + key.stdString() + (notifier()->intf(key) ? "+" : "-"));
   }
   void heard(const std::string & what) {
      log->push_back(what);
      if (hook) hook();
   }
   std::string name;
   Names * log;
   std::function< void() > hook;
};

class EntityTest : public ::testing::Test {
 protected:
   void TearDown() override {
      watchers_.clear();
      node = nullptr;
      EXPECT_EQ(Kiv::LiveCount::count("KivEntityTest::Node"), 0);
      EXPECT_EQ(Kiv::LiveCount::count("KivEntityTest::Leaf"), 0);
   }
   // A watcher attached to the node; attach order is creation order.
   Watcher & watcher(const std::string & name) {
      watchers_.push_back(std::make_unique< Watcher >(name, &log));
      watchers_.back()->notifierIs(node);
      return *watchers_.back();
   }
   // Changes the mtu once and returns who heard it.
   Names fire() {
      log.clear();
      node->mtuIs(node->mtu() + 1);
      return log;
   }

   Kiv::Ptr< Node > node = Kiv::kivNew< Node >("sys");
   Names log;
   std::vector< std::unique_ptr< Watcher > > watchers_;
};

// Empties its collections while being destroyed, as owners tearing down do.
class SelfClearing : public Node {
 public:
   using Node::Node;
   ~SelfClearing() override {
      vlanDelAll();
      intfDelAll();
   }
};

TEST_F(EntityTest, MembersLinkToTheirOwnerUntilRemovedOrOrphaned) {
   Kiv::Ptr< Leaf > eth = node->intfIs("Ethernet1");
   EXPECT_EQ(eth->parent(), node.get());
   EXPECT_EQ(eth->parentAttrName(), "intf");
   EXPECT_EQ(eth->kivStrep(), "'/sys/Ethernet1'");
   EXPECT_EQ(node->intfDel("Ethernet1"), eth);
   EXPECT_EQ(eth->parentAttrName(), "");
   EXPECT_EQ(eth->fullName(), "/Ethernet1");
   // A destroyed owner leaves no parent behind, also one that empties its
   // collections from its destructor (destroyed once).
   for (bool clearing : {false, true}) {
      Kiv::Ptr< Node > owner =
         clearing ? Kiv::Ptr< Node >(Kiv::kivNew< SelfClearing >("b")) : Kiv::kivNew< Node >("a");
      owner->vlanIs("10", "active");
      Kiv::Ptr< Leaf > member = owner->intfIs("Ethernet2");
      owner = nullptr;
      EXPECT_EQ(member->parent(), nullptr);
      EXPECT_EQ(member->fullName(), "/Ethernet2");
   }
   EXPECT_EQ(Kiv::LiveCount::count("KivEntityTest::SelfClearing"), 0);
}

TEST_F(EntityTest, NotifiesOnlyRealChangesAndNothingWhenSwitchedOffOrAZombie) {
   watcher("mtu");
   for (int i = 0; i < 2; ++i) {
      node->mtuIs(9000);
      node->vlanIs("10", "active");
   }
   node->vlanIs("10", "suspended");
   node->vlanDel("20");
   for (int i = 0; i < 2; ++i) node->vlanDel("10");
   Kiv::Ptr< Leaf > first = node->intfIs("Ethernet1");
   EXPECT_EQ(node->intfIs("Ethernet1"), first); // existing member kept
   node->intfDel("Ethernet2");
   EXPECT_EQ(node->vlan("10"), ""); // absent reads as the empty value
   for (const char * v : {"30", "20"}) node->vlanIs(v, "active");
   node->intfIs("Ethernet0");
   node->vlanDelAll(); // each key heard after its removal
   node->intfDelAll();
   EXPECT_EQ(log, (Names{"mtu", "vlan:10+", "vlan:10+", "vlan:10-", "intf:Ethernet1+", "vlan:30+",
                         "vlan:20+", "intf:Ethernet0+", "vlan:30-", "vlan:20-", "intf:Ethernet1-",
                         "intf:Ethernet0-"}));
   EXPECT_EQ(first->parent(), nullptr);

   // A switched-off or zombie entity notifies nobody; its values still change.
   log.clear();
   node->hasNotificationActiveIs(false);
   node->mtuIs(1);
   node->hasNotificationActiveIs(true);
   node->kivDoZombieReactors(true);
   node->vlanIs("10", "active");
   node->kivDoZombieReactors(false);
   EXPECT_EQ(node->mtu(), 1);
   node->vlanNotify("10");
   EXPECT_EQ(log, (Names{"vlan:10+"}));
}

// The watcher detaches on its first notification and drops the last reference
// to the entity it watched.
TEST_F(EntityTest, AChangeOrDelAllSurvivesACallbackThatDestroysTheEntity) {
   for (int change = 0; change < 3; ++change) {
      Names heard;
      Watcher dropping("", &heard);
      Kiv::Ptr< Node > owner = Kiv::kivNew< Node >("doomed");
      dropping.hook = [&] {
         dropping.notifierIs(nullptr);
         owner = nullptr;
      };
      for (const char * k : {"1", "2"}) {
         owner->vlanIs(k, "active");
         owner->intfIs(k);
      }
      dropping.notifierIs(owner);
      if (change == 0) owner->vlanIs("3", "active");
      if (change == 1) owner->vlanDelAll();
      if (change == 2) owner->intfDelAll();
      EXPECT_EQ(heard.size(), 1u) << change;
      EXPECT_EQ(owner, nullptr);
   }
}

// The notifier list under every entity (kiv/Notifiee.h).
using NotifieeTest = EntityTest;

TEST_F(NotifieeTest, DeliversInAttachOrderToActiveLiveNotifiees) {
   Watcher & a = watcher("a");
   Watcher & b = watcher("b");
   Watcher & c = watcher("c");
   b.notifierIs(node); // already attached: no second delivery
   EXPECT_EQ(fire(), (Names{"a", "b", "c"}));
   b.notifierIs(nullptr);
   EXPECT_EQ(fire(), (Names{"a", "c"}));
   b.notifierIs(node); // re-attached: last in order
   EXPECT_EQ(fire(), (Names{"a", "c", "b"}));
   EXPECT_EQ(node->refCount(), 4u); // each watcher holds the notifier
   a.hasNotificationActiveIs(false);
   c.kivDoZombieReactors(true);
   EXPECT_EQ(fire(), (Names{"b"}));
   a.hasNotificationActiveIs(true);
   EXPECT_EQ(fire(), (Names{"a", "b"}));
}

TEST_F(NotifieeTest, DetachedOrDestroyedDuringNotificationAreSkippedAndAttachedWaitForTheNext) {
   Watcher & a = watcher("a");
   Watcher & b = watcher("b");
   Watcher & c = watcher("c");
   watcher("d");
   a.hook = [&] {
      b.notifierIs(nullptr);
      a.notifierIs(nullptr);
      watcher("late");
   };
   c.hook = [this] { watchers_[2].reset(); };
   EXPECT_EQ(fire(), (Names{"a", "c", "d"}));
   EXPECT_EQ(fire(), (Names{"d", "late"}));
}

TEST_F(NotifieeTest, NotifierDestroyedByACallbackStopsDelivery) {
   for (const char * name : {"a", "b", "c"}) watcher(name);
   // Dropping every reference inside a nested delivery destroys the source
   // under both deliveries.
   bool nested = false;
   watchers_[0]->hook = [&] {
      if (nested) {
         node = nullptr;
         watchers_.clear();
         return;
      }
      nested = true;
      node->mtuIs(node->mtu() + 1);
   };
   EXPECT_EQ(fire(), (Names{"a", "a"}));
   EXPECT_EQ(Kiv::LiveCount::count("KivEntityTest::Node"), 0);
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
      node = nullptr;
      watchers_.clear();
   };
   EXPECT_EQ(fire(), (Names{"a"}));
}

} // namespace KivEntityTest
