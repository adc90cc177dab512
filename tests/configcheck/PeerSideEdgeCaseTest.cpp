// The peer side without a record to read: never given one, or after the
// record it watched was taken away; and peer entries the descriptor does
// not name.
#include "P2pToStatehubSm.h"

#include "CheckerFixture.h"
#include "kiv/Exception.h"

namespace {

using namespace CheckerTest;

class PeerEdgeTest : public CheckerTestBase {
 protected:
   void SetUp() override {
      CheckerTestBase::SetUp();
      record->paramNameIs("lacp");
      record->attrIs("priority", "100");
      record->attrCollectionIs(CollectionConfig("vlan", "'10'"), "allowed");
      auto g1 = record->nestedGlobalConfigIs(Kiv::Name("g1"));
      g1->paramNameIs("group");
      g1->attrIs("mtu", "1400");
   }
   void dropAll() override {
      peer = nullptr;
      record = nullptr;
      mlag = nullptr;
      dir = nullptr;
      desc = nullptr;
   }
   void start(const Kiv::Ptr< GenericConfig > & peerRecord) {
      peer =
         P2pToStatehubSm::P2pToStatehubSmIs(checkerClock(), dir, peerRecord, "Peer", mlag, nullptr);
      peer->configCheckDescIs(desc);
      peer->handleInitialized();
   }

   Kiv::Ptr< ConfigPluginDir > dir = resultsDir();
   Kiv::Ptr< ConfigCheckDesc > desc = lacpDesc();
   Kiv::Ptr< GenericConfig > record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< Mlag::Config > mlag = mlagConfig({});
   Kiv::Ptr< P2pToStatehubSm > peer;
};

// Without a record there is no parameter name to check: the machine stays
// uninitialized and imports nothing.
TEST_F(PeerEdgeTest, WithoutARecordThePeerSideStaysUninitialized) {
   Traces traces;
   start(nullptr);
   EXPECT_FALSE(peer->peerConfig());
   EXPECT_TRUE(traces.contains("Cannot initialize peerSM 'Peer' paramName is NULL"))
      << traces.all();
   EXPECT_FALSE(peer->initialized());
   EXPECT_EQ(dir->configGlobalDiffSize(), 0u);
   EXPECT_EQ(peer->backlogSize(), 0u);
   peer->hasNotificationActiveIs(false);
   EXPECT_FALSE(peer->hasNotificationActive());
   peer->hasNotificationActiveIs(true);
   EXPECT_TRUE(peer->hasNotificationActive());
}

// A record taken away after the import reads as empty: changes handled then
// record empty peer values, no nested configuration is found any more, and
// a key for a nested machine removes it with its peer entries.
TEST_F(PeerEdgeTest, AfterTheRecordIsDroppedEverythingReadsAsAbsent) {
   start(record);
   runUntilQuiet();
   ASSERT_TRUE(peer->p2pToStatehubSm("g1"));
   ASSERT_EQ(peerEntry(dir, "mtu g1"), "1400");
   EXPECT_EQ(peer->peerConfigDel(), Kiv::PtrConst< GenericConfig >(record));

   peer->handleAttrChange("priority");
   EXPECT_EQ(peerEntry(dir, "priority"), "");
   peer->handleCollectionChange(CollectionConfig("vlan", "'10'"));
   EXPECT_EQ(peerEntry(dir, "10 vlan"), "");
   peer->handleNestedIntfConfig();
   peer->handleNestedGlobalConfig();
   EXPECT_EQ(peer->backlogSize(), 0u);

   Traces traces;
   peer->processSmCodefKey(SmCodefKey(Kiv::Name("g1"), "Peer"));
   EXPECT_TRUE(traces.contains("Handle peer nested global config remove 'g1'")) << traces.all();
   EXPECT_FALSE(peer->p2pToStatehubSm("g1"));
   // With no local value either, nothing of the entry is left.
   EXPECT_FALSE(globalEntry(dir, "mtu g1"));
   // The record itself is untouched.
   EXPECT_EQ(record->attr("priority"), "100");
}

// Members of a collection the descriptor does not name are no parameters.
TEST_F(PeerEdgeTest, UnnamedCollectionMembersAreNotRecorded) {
   start(record);
   runUntilQuiet();
   const std::size_t entries = dir->configGlobalDiffSize();
   record->attrCollectionIs(CollectionConfig("unchecked", "'1'"), "x");
   EXPECT_EQ(dir->configGlobalDiffSize(), entries);
   EXPECT_FALSE(globalEntry(dir, "1 unchecked"));
   EXPECT_FALSE(globalEntry(dir, "1 "));
}

// A nested machine given no record has no parameter name to find its
// descriptor by: it stays uninitialized and hears nothing.
TEST_F(PeerEdgeTest, ANestedMachineWithoutARecordStaysUninitialized) {
   start(record);
   runUntilQuiet();
   Traces traces;
   auto nested = peer->p2pToStatehubSmIs(checkerClock(), dir, nullptr, "g5", mlag);
   EXPECT_TRUE(traces.contains("Cannot initialize peerSM for 'g5'")) << traces.all();
   EXPECT_FALSE(nested->initialized());
   EXPECT_FALSE(nested->peerConfig());
   EXPECT_FALSE(nested->configCheckDesc());
   EXPECT_EQ(nested->parentSm(), peer.get());
   EXPECT_EQ(peer->p2pToStatehubSm("g5"), nested);
   // It keeps having none: asked for again with a record, it is refused.
   try {
      peer->p2pToStatehubSmIs(checkerClock(), dir, record, "g5", mlag);
      ADD_FAILURE() << "accepted";
   } catch (const Kiv::NameInUseException & e) {
      EXPECT_NE(
         std::string(e.what()).find("attribute _peerConfig has a different value of " +
                                    record->kivStrep().stdString() + " than the current value of "),
         std::string::npos)
         << e.what();
   }
   EXPECT_EQ(peer->p2pToStatehubSm("g5"), nested);
   nested = nullptr;
}

} // namespace
