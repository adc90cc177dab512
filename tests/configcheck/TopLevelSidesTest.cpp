// The sides of a top level: replaced under another name, removed while
// already absent, and switched off at a teardown that finds the top level
// flagged a zombie already.
#include "MlagConfigCheckSm.h"

#include "CheckerFixture.h"

namespace {

using namespace CheckerTest;

class TopLevelSidesTest : public CheckerTestBase {
 protected:
   void dropAll() override {
      top = nullptr;
      container = nullptr;
      dir = nullptr;
      desc = nullptr;
      config = nullptr;
      local = nullptr;
      peerRecord = nullptr;
   }
   void start() {
      peerRecord->paramNameIs("lacp");
      top = container->configCheckSmIs(dir, "lacp", config, local, peerRecord, desc, nullptr);
   }

   Kiv::Ptr< ConfigPluginDir > dir = resultsDir();
   Kiv::Ptr< ConfigCheckDesc > desc = lacpDesc();
   Kiv::Ptr< Kiv::DynamicEntity > config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("lacp"));
   Kiv::Ptr< GenericConfig > local = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< GenericConfig > peerRecord = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< SmContainer > container = smContainerFactory("lacp");
   Kiv::Ptr< MlagConfigCheckSm > top;
};

// A peer side asked for under another name is another machine; one not
// named "Peer" belongs under a parent whose descriptor it looks up.
TEST_F(TopLevelSidesTest, APeerSideUnderAnotherNameReplacesThePresentOne) {
   start();
   auto clock = checkerClock();
   auto parent =
      P2pToStatehubSm::P2pToStatehubSmIs(clock, dir, peerRecord, "Peer", nullptr, nullptr);
   parent->configCheckDescIs(desc);
   auto present = top->p2pToStatehubSm();
   auto group = top->p2pToStatehubSmIs(clock, dir, peerRecord, "g1", nullptr, parent.get());
   EXPECT_NE(group, present);
   EXPECT_EQ(top->p2pToStatehubSm(), group);
   EXPECT_EQ(group->name(), "g1");
   EXPECT_EQ(group->parentSm(), parent.get());
   EXPECT_EQ(top->p2pToStatehubSmIs(clock, dir, peerRecord, "g1", nullptr, parent.get()), group);
   present = nullptr;
   group = nullptr;
   top->p2pToStatehubSmDel();
}

TEST_F(TopLevelSidesTest, RemovingAnAbsentSideYieldsNull) {
   start();
   auto localSide = top->statehubToP2pSmDel();
   auto peerSide = top->p2pToStatehubSmDel();
   ASSERT_TRUE(localSide);
   ASSERT_TRUE(peerSide);
   EXPECT_FALSE(localSide->hasNotificationActive());
   EXPECT_FALSE(top->statehubToP2pSmDel());
   EXPECT_FALSE(top->p2pToStatehubSmDel());
   // Without its sides the switch concerns the top level alone.
   top->hasNotificationActiveIs(false);
   EXPECT_FALSE(top->hasNotificationActive());
   top->hasNotificationActiveIs(true);
   EXPECT_TRUE(top->hasNotificationActive());
   EXPECT_FALSE(localSide->hasNotificationActive());
   EXPECT_FALSE(peerSide->hasNotificationActive());
   EXPECT_EQ(container->configCheckSmDel(), top);
   EXPECT_FALSE(container->configCheckSmDel());
}

TEST_F(TopLevelSidesTest, AZombieTopLevelStillSwitchesItsSidesOff) {
   start();
   auto localSide = top->statehubToP2pSm();
   auto peerSide = top->p2pToStatehubSm();
   container->configCheckSmDel();
   top->kivDoZombieReactors(true);
   EXPECT_TRUE(top->isZombie());
   top = nullptr;
   EXPECT_FALSE(localSide->hasNotificationActive());
   EXPECT_FALSE(peerSide->hasNotificationActive());
   EXPECT_EQ(localSide->refCount(), 1u);
   EXPECT_EQ(peerSide->refCount(), 1u);
}

} // namespace
