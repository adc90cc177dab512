#include "ConfigCheck/P2pToStatehubSm.h"

#include "CheckerFixture.h"
#include "ConfigCheck/MlagConfigCheckUtil.h"
#include "kiv/Exception.h"

namespace {

using namespace CheckerTest;

// The record the MLAG peer publishes for lacp, imported by the peer side "Peer";
// a watcher that overrides nothing hears every change of it quietly.
class PeerSideTest : public CheckerTestBase {
 protected:
   void SetUp() override {
      deaf.notifierIs(record);
      record->paramNameIs("lacp");
      record->attrIs("priority", "100");
      record->attrCollectionIs(CollectionConfig("vlan", "'10'"), "allowed");
      auto po10 = record->nestedIntfConfigIs(Kiv::Name("Port-Channel10"));
      po10->paramNameIs("intfConfig");
      po10->attrIs("mtu", "9000");
      auto g1 = record->nestedGlobalConfigIs(Kiv::Name("g1"));
      g1->paramNameIs("group");
      g1->attrIs("mtu", "1400");
   }
   // As the top level does: built without a descriptor, handed it, initialized again.
   void start(const Kiv::Ptr< GenericConfig > & peerRecord) {
      peer =
         P2pToStatehubSm::P2pToStatehubSmIs(checkerClock(), dir, peerRecord, "Peer", mlag, nullptr);
      peer->configCheckDescIs(desc);
      peer->handleInitialized();
   }
   // Started on the fixture's record, with the backlog worked off.
   void start() {
      start(record);
      runUntilQuiet();
   }
   Kiv::Ptr< GenericConfig > po10() {
      return record->nestedIntfConfig(Kiv::Name("Port-Channel10"));
   }

   Kiv::Ptr< ConfigPluginDir > dir = resultsDir();
   Kiv::Ptr< ConfigCheckDesc > desc = lacpDesc();
   Kiv::Ptr< GenericConfig > record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< Mlag::Config > mlag = mlagConfig({{"Port-Channel10", "10"}});
   Kiv::Ptr< P2pToStatehubSm > peer;
   GenericConfig::NotifieeConst deaf;
};

TEST_F(PeerSideTest, TheRecordIsImportedThenChangesMlagIdsAndNestedConfigurationsFollow) {
   start();
   // The peer value waits under the provisional key (UtilTest).
   EXPECT_EQ(entries(dir),
             "10 vlan: /allowed; mtu g1: /1400 g=g1; mtu mlag10 "
             "@PeerPort-Channel10: /9000; priority: /100");
   Traces traces;
   peer->handleInitialized();
   EXPECT_TRUE(traces.contains("PeerSm already initialized for'Peer'"));

   record->attrIs("priority", "200");
   EXPECT_EQ(peerEntry(dir, "priority"), "200");
   record->attrDel("priority");
   record->attrCollectionIs(CollectionConfig("vlan", "'20'"), "allowed");
   record->attrCollectionDel(CollectionConfig("vlan", "'10'"));
   po10()->attrIs("mtu", "1500");
   record->nestedGlobalConfig(Kiv::Name("g1"))->attrIs("mtu", "1300");
   // Names the descriptor does not give are not parameters, members alike.
   record->attrIs("unchecked", "1");
   record->attrCollectionIs(CollectionConfig("unchecked", "'20'"), "x");
   // Member keys are distinct by both strings.
   record->attrCollectionDel(CollectionConfig("unchecked", "'20'"));
   EXPECT_EQ(record->attrCollection(CollectionConfig("vlan", "'20'")), "allowed");
   EXPECT_FALSE(CollectionConfig("vlan", "1") == CollectionConfig("vlan1", ""));
   EXPECT_EQ(entries(dir),
             "10 vlan: /; 20 vlan: /allowed; mtu g1: /1300 g=g1; mtu mlag10 "
             "@PeerPort-Channel10: /1500; priority: /");

   // A nested interface configuration is imported again under the MLAG id of the
   // moment, one outside MLAG once it joins; leaving MLAG keeps what was recorded.
   auto po20 = record->nestedIntfConfigIs(Kiv::Name("Port-Channel20"));
   po20->paramNameIs("intfConfig");
   po20->attrIs("mtu", "9000");
   runUntilQuiet();
   auto po20Peer = peer->p2pToStatehubSm("Port-Channel20");
   ASSERT_TRUE(po20Peer);
   EXPECT_EQ(po20Peer->mlagId(), "");
   EXPECT_EQ(dir->configIntfDirSize(), 1u); // only Port-Channel10's mtu
   mlag->intfConfigIs(Porta::IntfId("Port-Channel20"), Mlag::IntfConfig("20"));
   EXPECT_EQ(peerEntry(dir, "mtu mlag20", "PeerPort-Channel20"), "9000");
   EXPECT_EQ(po20Peer->mlagId(), "20");
   auto nestedPeer = peer->p2pToStatehubSm("Port-Channel10");
   traces.clear();
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("11"));
   EXPECT_TRUE(traces.contains("'Peer' SM for 'Port-Channel10' ignoring mlag changes."));
   EXPECT_TRUE(
      traces.contains("'Port-Channel10' SM for 'Port-Channel10' updating for mlag changes."));
   EXPECT_EQ(peerEntry(dir, "mtu mlag11", "PeerPort-Channel10"), "1500");
   // Later changes are named with the id the re-import used, the old entry gone.
   po10()->attrIs("mtu", "9100");
   EXPECT_EQ(peerEntry(dir, "mtu mlag11", "PeerPort-Channel10"), "9100");
   EXPECT_EQ(peerEntry(dir, "mtu mlag10", "PeerPort-Channel10"), none);
   mlag->intfConfigDel(Porta::IntfId("Port-Channel10"));
   EXPECT_TRUE(
      traces.contains("'Port-Channel10' SM for 'Port-Channel10' removed from mlag config."));
   EXPECT_EQ(peerEntry(dir, "mtu mlag11", "PeerPort-Channel10"), "9100");
   EXPECT_EQ(nestedPeer->mlagId(), "11");

   // Nested configurations come and go through the backlog.
   traces.clear();
   record->nestedGlobalConfigIs(Kiv::Name("g2"))->paramNameIs("group");
   record->nestedGlobalConfigDel(Kiv::Name("g2"));
   EXPECT_EQ(peer->backlogSize(), 1u);
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("p2pToStatehubSm for 'g2' already deleted"));

   peer->handleNestedIntfConfig("Port-Channel10");
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("p2pToStatehubSm for 'Port-Channel10' already exists"));

   // A withdrawn configuration clears its peer entries, never local ones (UtilTest).
   doInsertLocalIntfParam(dir, "mtu mlag11", "Port-Channel10", "9000", "", false);
   record->nestedIntfConfigDel(Kiv::Name("Port-Channel10"));
   record->nestedGlobalConfigDel(Kiv::Name("g1"));
   runUntilQuiet();
   // One text for both kinds of configuration.
   EXPECT_TRUE(traces.contains("Handle peer nested global config remove 'Port-Channel10'"));
   EXPECT_EQ(entries(dir),
             "10 vlan: /; 20 vlan: /allowed; mtu mlag11 @Port-Channel10: 9000/; "
             "mtu mlag20 @PeerPort-Channel20: /9000; priority: /");
   EXPECT_EQ(peer->p2pToStatehubSmSize(), 1u);
}

// Until initialized, changes are dropped. The top-level peer side needs a descriptor
// and a named record; a nested one, its parent's descriptor to describe its record.
TEST_F(PeerSideTest, InitializationReCreationAndTheWatchedRecord) {
   peer = P2pToStatehubSm::P2pToStatehubSmIs(checkerClock(), dir, record, "Peer", mlag, nullptr);
   Traces traces;
   record->attrIs("priority", "300");
   EXPECT_TRUE(traces.contains("Attribute change before initialization of 'priority'"));
   traces.clear();
   record->attrCollectionIs(CollectionConfig("vlan", "10"), "x");
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("11"));
   EXPECT_EQ(traces.all(), "");
   // Work queued meanwhile is discarded by the first slice.
   record->nestedGlobalConfigIs(Kiv::Name("g2"))->paramNameIs("group");
   runUntilQuiet();
   EXPECT_EQ(peer->p2pToStatehubSmSize(), 0u);

   record->paramNameIs("");
   for (const auto & peerRecord : {Kiv::Ptr< GenericConfig >(), record}) {
      traces.clear();
      start(peerRecord);
      EXPECT_TRUE(traces.contains("Cannot initialize peerSM 'Peer' paramName is NULL"))
         << traces.all();
      EXPECT_FALSE(peer->initialized());
      EXPECT_EQ(dir->configGlobalDiffSize(), 0u);
   }

   record->paramNameIs("lacp");
   peer->handleInitialized();
   ASSERT_TRUE(peer->initialized());
   auto unknown = record->nestedGlobalConfigIs(Kiv::Name("g9"));
   unknown->paramNameIs("nosuchcollection");
   unknown->attrIs("mtu", "1");
   runUntilQuiet();
   auto withoutRecord = peer->p2pToStatehubSmIs(checkerClock(), dir, nullptr, "g5", mlag);
   for (const char * name : {"g9", "g5"}) {
      ASSERT_TRUE(peer->p2pToStatehubSm(name)) << name;
      EXPECT_FALSE(peer->p2pToStatehubSm(name)->initialized()) << name;
      EXPECT_TRUE(traces.contains(std::string("Cannot initialize peerSM for '") + name + "'"))
         << traces.all();
   }
   EXPECT_EQ(withoutRecord->parentSm(), peer.get());
   EXPECT_EQ(peerEntry(dir, "mtu g9"), none);

   // A nested machine asked for again with a changed parameter is refused, in order.
   auto clock = checkerClock();
   EXPECT_EQ(peer->p2pToStatehubSmIs(clock, dir, po10(), "Port-Channel10", mlag),
             peer->p2pToStatehubSm("Port-Channel10"));
   auto otherClock = Kiv::kivNew< Kiv::Clock >(Kiv::Name("otherClock"));
   auto again = [&](auto... changed) {
      return refusedParameter([&] { peer->p2pToStatehubSmIs(changed...); });
   };
   EXPECT_EQ(again(otherClock, dir, record, "Port-Channel10", nullptr), "_clock");
   EXPECT_EQ(again(clock, dir, po10(), "Port-Channel10", nullptr), "_mlagConfig");
   // Made without a record, it keeps having none.
   EXPECT_EQ(again(clock, dir, record, "g5", mlag), "_peerConfig");

   // Removal through an iterator takes the entry it stands on and lets the walk
   // go on; the machine goes with its entry (the fixture counts what is left).
   std::vector< std::string > walked;
   for (auto & it : peer->p2pToStatehubSmMap()) {
      walked.push_back(it.key().stdString());
      if (it.key() == "Port-Channel10") peer->p2pToStatehubSmDel(it);
   }
   EXPECT_EQ(walked.size(), 5u); // with g1, g2, g5 and g9
   EXPECT_FALSE(peer->p2pToStatehubSm("Port-Channel10"));
   EXPECT_EQ(peer->p2pToStatehubSmSize(), 4u);

   // A record taken away after the import reads as empty: changes handled then
   // record empty peer values, no nested configuration is found any more, and
   // a key for a nested machine removes it with its peer entries.
   auto other = Kiv::kivNew< GenericConfig >(Kiv::Name("other"));
   // Only the record watched now is heard.
   for (const auto & now : {other, Kiv::Ptr< GenericConfig >(), record}) peer->peerConfigIs(now);
   other->attrIs("priority", "556");
   EXPECT_EQ(peerEntry(dir, "priority"), "300");
   peer->peerConfigIs(other);
   other->attrIs("priority", "557");
   EXPECT_EQ(peerEntry(dir, "priority"), "557");
   EXPECT_EQ(peer->peerConfigDel(), Kiv::PtrConst< GenericConfig >(other));

   peer->handleAttrChange("priority");
   EXPECT_EQ(peerEntry(dir, "priority"), "");
   peer->handleCollectionChange(CollectionConfig("vlan", "'10'"));
   EXPECT_EQ(peerEntry(dir, "10 vlan"), "");
   peer->handleNestedIntfConfig();
   peer->handleNestedGlobalConfig();
   EXPECT_EQ(peer->backlogSize(), 0u);
   traces.clear();
   peer->processSmCodefKey(SmCodefKey(Kiv::Name("g1"), "Peer"));
   EXPECT_TRUE(traces.contains("Handle peer nested global config remove 'g1'")) << traces.all();
   EXPECT_FALSE(peer->p2pToStatehubSm("g1"));
   // With no local value either, nothing of the entry is left.
   EXPECT_EQ(peerEntry(dir, "mtu g1"), none);

   auto otherMlag = mlagConfig({{"Port-Channel10", "12"}});
   for (const auto & now : {otherMlag, Kiv::Ptr< Mlag::Config >(), mlag}) peer->mlagConfigIs(now);
   EXPECT_EQ(peer->mlagConfigDel(), Kiv::PtrConst< Mlag::Config >(mlag));
}

using PeerSideDeathTest = PeerSideTest;
TEST_F(PeerSideDeathTest, ANameInBothNestedCollectionsIsAFault) {
   start();
   record->nestedGlobalConfigIs(Kiv::Name("Port-Channel10"));
   EXPECT_DEATH(runUntilQuiet(), "Assertion `!\\( peerGlobalConfig && peerIntfConfig\\)' failed");
   record->nestedGlobalConfigDel(Kiv::Name("Port-Channel10")); // this process goes on without it
}

} // namespace
