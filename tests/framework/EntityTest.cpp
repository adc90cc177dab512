#include "kiv/Entity.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace KivEntityTest {

class Leaf : public Kiv::Entity {
 public:
   class NotifieeConst : public Kiv::Notifiee< Leaf > {
    public:
      virtual void onMode() {}
   };
   explicit Leaf(const Kiv::Name & name) : Entity(name) {}
   KIV_SCALAR(Kiv::String, mode, Mode)
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

// Logs "attr:key" per notification, with whether the key is present then.
class NodeLog : public Node::NotifieeConst {
 public:
   void onMtu() override { log.push_back("mtu"); }
   void onVlan(const Kiv::String & key) override {
      log.push_back("vlan:" + key.stdString() + (notifier()->vlanHas(key) ? "+" : "-"));
   }
   void onIntf(const Kiv::Name & key) override {
      log.push_back("intf:" + key.stdString() + (notifier()->intf(key) ? "+" : "-"));
   }
   std::vector< std::string > log;
};

using Names = std::vector< std::string >;

class EntityTest : public ::testing::Test {
 protected:
   void SetUp() override { log.notifierIs(node); }
   void TearDown() override {
      log.notifierIs(nullptr);
      node = nullptr;
      EXPECT_EQ(Kiv::LiveCount::count("KivEntityTest::Node"), 0);
      EXPECT_EQ(Kiv::LiveCount::count("KivEntityTest::Leaf"), 0);
   }
   Kiv::Ptr< Node > node = Kiv::kivNew< Node >("sys");
   NodeLog log;
};

TEST_F(EntityTest, MembersLinkToTheirOwnerUntilRemovedOrOrphaned) {
   Kiv::Ptr< Leaf > eth = node->intfIs("Ethernet1");
   EXPECT_EQ(eth->parent(), node.get());
   EXPECT_EQ(eth->parentAttrName(), "intf");
   EXPECT_EQ(eth->kivStrep(), "'/sys/Ethernet1'");
   EXPECT_EQ(node->intfDel("Ethernet1"), eth);
   EXPECT_EQ(eth->parent(), nullptr);
   EXPECT_EQ(eth->parentAttrName(), "");
   EXPECT_EQ(eth->fullName(), "/Ethernet1");

   Kiv::Ptr< Leaf > eth2 = node->intfIs("Ethernet2");
   log.notifierIs(nullptr);
   node = nullptr; // the destroyed owner leaves no parent behind
   EXPECT_EQ(eth2->parent(), nullptr);
   EXPECT_EQ(eth2->fullName(), "/Ethernet2");
}

TEST_F(EntityTest, NotifiesOnlyRealChanges) {
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
   EXPECT_EQ(log.log, (Names{"mtu", "vlan:10+", "vlan:10+", "vlan:10-", "intf:Ethernet1+"}));
   EXPECT_EQ(node->vlan("10"), ""); // absent reads as the empty value
}

TEST_F(EntityTest, DelAllNotifiesEachKeyAfterItsRemoval) {
   for (const char * v : {"30", "10", "20"}) node->vlanIs(v, "active");
   for (const char * i : {"Ethernet2", "Ethernet1"}) node->intfIs(i);
   Kiv::Ptr< Leaf > kept = node->intf("Ethernet1");
   log.log.clear();
   node->vlanDelAll();
   node->intfDelAll();
   EXPECT_EQ(log.log,
             (Names{"vlan:30-", "vlan:10-", "vlan:20-", "intf:Ethernet2-", "intf:Ethernet1-"}));
   EXPECT_EQ(kept->parent(), nullptr);
}

// Detaches on the first notification and drops the last reference to the
// entity it watched.
class DroppingLog : public Node::NotifieeConst {
 public:
   void onVlan(const Kiv::String &) override { drop(); }
   void onIntf(const Kiv::Name &) override { drop(); }
   void drop() {
      ++heard;
      notifierIs(nullptr);
      owner = nullptr;
   }
   Kiv::Ptr< Node > owner;
   int heard = 0;
};

TEST_F(EntityTest, DelAllSurvivesACallbackThatDestroysTheEntity) {
   for (bool values : {true, false}) {
      DroppingLog dropping;
      dropping.owner = Kiv::kivNew< Node >("doomed");
      for (const char * k : {"1", "2"}) {
         dropping.owner->vlanIs(k, "active");
         dropping.owner->intfIs(k);
      }
      dropping.notifierIs(dropping.owner);
      values ? dropping.owner->vlanDelAll() : dropping.owner->intfDelAll();
      EXPECT_EQ(dropping.heard, 1) << values;
      EXPECT_EQ(dropping.owner, nullptr);
   }
}

// Empties its collections while being destroyed, as owners tearing down do.
class SelfClearing : public Node {
 public:
   using Node::Node;
   ~SelfClearing() override {
      vlanDelAll();
      intfDelAll();
   }
};

TEST_F(EntityTest, DelAllFromADestructorDestroysOnce) {
   Kiv::Ptr< Node > doomed = Kiv::kivNew< SelfClearing >("doomed");
   doomed->vlanIs("10", "active");
   Kiv::Ptr< Leaf > eth = doomed->intfIs("Ethernet1");
   doomed = nullptr;
   EXPECT_EQ(Kiv::LiveCount::count("KivEntityTest::SelfClearing"), 0);
   EXPECT_EQ(eth->parent(), nullptr);
}

TEST_F(EntityTest, SwitchedOffZombieOrOuterEntityNotifiesNobody) {
   node->hasNotificationActiveIs(false);
   node->mtuIs(1);
   node->hasNotificationActiveIs(true);
   node->kivDoZombieReactors(true);
   node->vlanIs("10", "active");
   node->kivDoZombieReactors(false);
   EXPECT_TRUE(log.log.empty());
   EXPECT_EQ(node->mtu(), 1); // the values still change
   node->vlanNotify("10");
   EXPECT_EQ(log.log, (Names{"vlan:10+"}));

   // A nested change notifies only the nested watchers.
   Kiv::Ptr< Leaf > eth = node->intfIs("Ethernet1");
   struct : Leaf::NotifieeConst {
      void onMode() override { ++count; }
      int count = 0;
   } leafLog;
   leafLog.notifierIs(eth);
   log.log.clear();
   eth->modeIs("active");
   eth->modeIs("active");
   EXPECT_EQ(leafLog.count, 1);
   EXPECT_TRUE(log.log.empty());
}

} // namespace KivEntityTest
