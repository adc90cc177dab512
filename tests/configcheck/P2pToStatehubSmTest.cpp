#include "P2pToStatehubSm.h"

#include "CheckerFixture.h"
#include "MlagConfigCheckUtil.h"
#include "kiv/Exception.h"

namespace {

using namespace CheckerTest;

// The record the MLAG peer publishes for lacp: scalars, a collection member,
// one MLAG interface and one group, imported by the peer side "Peer".
class PeerSideTest : public CheckerTestBase {
 protected:
   void SetUp() override {
      CheckerTestBase::SetUp();
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
   void dropAll() override {
      peer = nullptr;
      record = nullptr;
      mlag = nullptr;
      dir = nullptr;
      desc = nullptr;
   }
   // As the top level does: constructed without a descriptor, handed it,
   // initialized again.
   void start() {
      peer = P2pToStatehubSm::P2pToStatehubSmIs(checkerClock(), dir, record, "Peer", mlag,
                                                nullptr);
      peer->configCheckDescIs(desc);
      peer->handleInitialized();
   }
   Kiv::Ptr< GenericConfig > po10() { return record->nestedIntfConfig(Kiv::Name("Port-Channel10")); }

   Kiv::Ptr< ConfigPluginDir > dir = resultsDir();
   Kiv::Ptr< ConfigCheckDesc > desc = lacpDesc();
   Kiv::Ptr< GenericConfig > record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< Mlag::Config > mlag = mlagConfig({{"Port-Channel10", "10"}});
   Kiv::Ptr< P2pToStatehubSm > peer;
};

TEST_F(PeerSideTest, TheRecordIsImportedAtInitialization) {
   Traces traces;
   start();
   const std::size_t refused = traces.indexOf("Cannot initialize peerSM for 'Peer'");
   ASSERT_NE(refused, std::string::npos);
   EXPECT_LT(refused, traces.indexOf("Initializing PeerSm for 'Peer' config = "));
   EXPECT_TRUE(peer->initialized());
   EXPECT_EQ(peerEntry(dir, "priority"), "100");
   EXPECT_EQ(peerEntry(dir, "10 vlan"), "allowed");
   runUntilQuiet();
   EXPECT_EQ(peer->p2pToStatehubSmSize(), 2u);
   EXPECT_EQ(peer->p2pToStatehubSm("Port-Channel10")->mlagId(), "10");
   // The peer value waits under the provisional key until the local insert
   // adopts it.
   EXPECT_EQ(peerEntry(dir, "mtu mlag10", "PeerPort-Channel10"), "9000");
   EXPECT_EQ(peerEntry(dir, "mtu g1"), "1400");
   doInsertLocalIntfParam(dir, "mtu mlag10", "Port-Channel10", "9000", "1500", true);
   EXPECT_EQ(peerEntry(dir, "mtu mlag10", "Port-Channel10"), "9000");
   EXPECT_EQ(intfEntry(dir, "mtu mlag10", "PeerPort-Channel10"), nullptr);

   traces.clear();
   peer->handleInitialized();
   EXPECT_TRUE(traces.contains("PeerSm already initialized for'Peer'"));
   EXPECT_EQ(peer->backlogSize(), 0u);
}

TEST_F(PeerSideTest, ChangesReachThePeerColumn) {
   start();
   runUntilQuiet();
   record->attrIs("priority", "200");
   EXPECT_EQ(peerEntry(dir, "priority"), "200");
   record->attrDel("priority");
   EXPECT_EQ(peerEntry(dir, "priority"), "");
   record->attrCollectionIs(CollectionConfig("vlan", "'20'"), "allowed");
   EXPECT_EQ(peerEntry(dir, "20 vlan"), "allowed");
   record->attrCollectionDel(CollectionConfig("vlan", "'10'"));
   EXPECT_EQ(peerEntry(dir, "10 vlan"), "");
   po10()->attrIs("mtu", "1500");
   EXPECT_EQ(peerEntry(dir, "mtu mlag10", "PeerPort-Channel10"), "1500");
   record->nestedGlobalConfig(Kiv::Name("g1"))->attrIs("mtu", "1300");
   EXPECT_EQ(peerEntry(dir, "mtu g1"), "1300");
   // Names the descriptor does not give are not parameters.
   record->attrIs("unchecked", "1");
   EXPECT_EQ(peerEntry(dir, "unchecked"), none);
}

TEST_F(PeerSideTest, NestedConfigurationsComeAndGoThroughTheBacklog) {
   start();
   runUntilQuiet();
   Traces traces;
   record->nestedGlobalConfigIs(Kiv::Name("g2"))->paramNameIs("group");
   record->nestedGlobalConfigDel(Kiv::Name("g2"));
   EXPECT_EQ(peer->backlogSize(), 1u);
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("p2pToStatehubSm for 'g2' already deleted"));
   EXPECT_FALSE(peer->p2pToStatehubSm("g2"));

   peer->handleNestedIntfConfig("Port-Channel10");
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("p2pToStatehubSm for 'Port-Channel10' already exists"));

   // A withdrawn configuration clears its peer entries, never local ones.
   doInsertLocalIntfParam(dir, "mtu mlag10", "Port-Channel10", "9000", "", false);
   doInsertLocalParam(dir, "mtu g1", "g1", "1400");
   record->nestedIntfConfigDel(Kiv::Name("Port-Channel10"));
   record->nestedGlobalConfigDel(Kiv::Name("g1"));
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("Handle peer nested global config remove 'Port-Channel10'"));
   EXPECT_TRUE(traces.contains("Handle peer nested global config remove 'g1'"));
   EXPECT_EQ(peerEntry(dir, "mtu mlag10", "Port-Channel10"), "");
   EXPECT_EQ(localEntry(dir, "mtu mlag10", "Port-Channel10"), "9000");
   EXPECT_EQ(peerEntry(dir, "mtu g1"), "");
   EXPECT_EQ(localEntry(dir, "mtu g1"), "1400");
   EXPECT_EQ(peer->p2pToStatehubSmSize(), 0u);
}

TEST_F(PeerSideTest, ChangesBeforeInitializationAreDropped) {
   peer = P2pToStatehubSm::P2pToStatehubSmIs(checkerClock(), dir, record, "Peer", mlag, nullptr);
   EXPECT_FALSE(peer->initialized());
   Traces traces;
   record->attrIs("priority", "300");
   EXPECT_TRUE(traces.contains("Attribute change before initialization of 'priority'"));
   const std::size_t lines = traces.size();
   record->attrCollectionIs(CollectionConfig("vlan", "10"), "x");
   EXPECT_EQ(traces.size(), lines);
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("11"));
   EXPECT_EQ(traces.size(), lines);
   EXPECT_EQ(dir->configGlobalDiffSize(), 0u);
   // Work queued meanwhile is discarded by the first slice.
   record->nestedGlobalConfigIs(Kiv::Name("g2"))->paramNameIs("group");
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("Discarding backlog as not yet ready to process"));
   EXPECT_EQ(peer->p2pToStatehubSmSize(), 0u);
}

TEST_F(PeerSideTest, MlagChangesReImportUnderTheNewId) {
   start();
   runUntilQuiet();
   auto nestedPeer = peer->p2pToStatehubSm("Port-Channel10");
   Traces traces;
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("11"));
   EXPECT_TRUE(traces.contains("'Port-Channel10' SM for 'Port-Channel10' updating for mlag changes."));
   EXPECT_TRUE(traces.contains("'Peer' SM for 'Port-Channel10' ignoring mlag changes."));
   EXPECT_EQ(peerEntry(dir, "mtu mlag11", "PeerPort-Channel10"), "9000");
   EXPECT_EQ(peerEntry(dir, "mtu mlag10", "PeerPort-Channel10"), none);
   EXPECT_EQ(nestedPeer->mlagId(), "11");
   // Later changes are named with the id the re-import used.
   po10()->attrIs("mtu", "9100");
   EXPECT_EQ(peerEntry(dir, "mtu mlag11", "PeerPort-Channel10"), "9100");
   EXPECT_EQ(intfEntry(dir, "mtu mlag10", "PeerPort-Channel10"), nullptr);

   mlag->intfConfigDel(Porta::IntfId("Port-Channel10"));
   EXPECT_TRUE(traces.contains("'Port-Channel10' SM for 'Port-Channel10' removed from mlag config."));
   EXPECT_EQ(peerEntry(dir, "mtu mlag11", "PeerPort-Channel10"), "9100");
   EXPECT_EQ(nestedPeer->mlagId(), "11");
}

TEST_F(PeerSideTest, AnInterfaceJoiningMlagIsImportedThen) {
   auto po20 = record->nestedIntfConfigIs(Kiv::Name("Port-Channel20"));
   po20->paramNameIs("intfConfig");
   po20->attrIs("mtu", "9000");
   start();
   runUntilQuiet();
   auto nestedPeer = peer->p2pToStatehubSm("Port-Channel20");
   ASSERT_TRUE(nestedPeer);
   EXPECT_TRUE(nestedPeer->initialized());
   EXPECT_EQ(nestedPeer->mlagId(), "");
   EXPECT_EQ(dir->configIntfDirSize(), 1u); // only Port-Channel10's mtu
   mlag->intfConfigIs(Porta::IntfId("Port-Channel20"), Mlag::IntfConfig("20"));
   EXPECT_EQ(peerEntry(dir, "mtu mlag20", "PeerPort-Channel20"), "9000");
   EXPECT_EQ(nestedPeer->mlagId(), "20");
}

// Asking again for a nested machine with a changed parameter is refused,
// naming the first that differs in the order _clock, _configCheck,
// _peerConfig, _mlagConfig.
TEST_F(PeerSideTest, ChangedReCreationIsRefusedInParameterOrder) {
   start();
   runUntilQuiet();
   auto existing = peer->p2pToStatehubSm("Port-Channel10");
   auto clock = checkerClock();
   EXPECT_EQ(peer->p2pToStatehubSmIs(clock, dir, po10(), "Port-Channel10", mlag), existing);
   auto otherClock = Kiv::kivNew< Kiv::Clock >(Kiv::Name("otherClock"));
   auto otherDir = resultsDir("other");
   auto otherMlag = mlagConfig({});
   const struct {
      Kiv::PtrConst< Kiv::Clock > clock;
      Kiv::Ptr< ConfigPluginDir > dir;
      Kiv::Ptr< GenericConfig > record;
      Kiv::PtrConst< Mlag::Config > mlag;
      const char * named;
   } cases[] = {
      {otherClock, otherDir, record, otherMlag, "_clock"},
      {clock, otherDir, record, otherMlag, "_configCheck"},
      {clock, dir, record, otherMlag, "_peerConfig"},
      {clock, dir, po10(), otherMlag, "_mlagConfig"},
      {clock, dir, po10(), nullptr, "_mlagConfig"},
   };
   for (const auto & c : cases) {
      try {
         peer->p2pToStatehubSmIs(c.clock, c.dir, c.record, "Port-Channel10", c.mlag);
         ADD_FAILURE() << c.named << " accepted";
      } catch (const Kiv::NameInUseException & e) {
         EXPECT_NE(std::string(e.what()).find(std::string("parameter attribute ") + c.named +
                                              " has a different value of "),
                   std::string::npos)
            << e.what();
      }
   }
   try {
      peer->p2pToStatehubSmIs(otherClock, dir, po10(), "Port-Channel10", mlag);
      ADD_FAILURE() << "accepted";
   } catch (const Kiv::NameInUseException & e) {
      EXPECT_EQ(std::string(e.what()),
                "Reinstantiating the pointer interface where constructor parameter attribute "
                "_clock has a different value of " +
                   otherClock->kivStrep().stdString() + " than the current value of " +
                   clock->kivStrep().stdString() + " not allowed");
   }
   EXPECT_EQ(peer->p2pToStatehubSm("Port-Channel10"), existing);
   EXPECT_EQ(existing->peerConfig(), po10());
}

TEST_F(PeerSideTest, InitializationNeedsADescriptorAndANamedRecord) {
   Traces traces;
   record->paramNameIs("");
   start();
   EXPECT_TRUE(traces.contains("Cannot initialize peerSM 'Peer' paramName is NULL")) << traces.all();
   EXPECT_FALSE(peer->initialized());
   EXPECT_EQ(dir->configGlobalDiffSize(), 0u);

   // A nested configuration this side's descriptor does not describe has
   // nothing to compare with: its machine stays uninitialized.
   record->paramNameIs("lacp");
   peer->handleInitialized();
   ASSERT_TRUE(peer->initialized());
   auto unknown = record->nestedGlobalConfigIs(Kiv::Name("g9"));
   unknown->paramNameIs("nosuchcollection");
   unknown->attrIs("mtu", "1");
   runUntilQuiet();
   ASSERT_TRUE(peer->p2pToStatehubSm("g9"));
   EXPECT_FALSE(peer->p2pToStatehubSm("g9")->initialized());
   EXPECT_TRUE(traces.contains("Cannot initialize peerSM for 'g9'")) << traces.all();
   EXPECT_FALSE(globalEntry(dir, "mtu g9"));
}

TEST_F(PeerSideTest, WatchedRecordAndMlagConfigurationCanBeSwappedAndDropped) {
   start();
   runUntilQuiet();
   EXPECT_EQ(peer->peerConfig(), Kiv::PtrConst< GenericConfig >(record));
   auto other = Kiv::kivNew< GenericConfig >(Kiv::Name("other"));
   peer->peerConfigIs(other);
   EXPECT_EQ(peer->peerConfig(), Kiv::PtrConst< GenericConfig >(other));
   // The old record is no longer heard.
   record->attrIs("priority", "555");
   EXPECT_EQ(peerEntry(dir, "priority"), "100");
   other->attrIs("priority", "556");
   EXPECT_EQ(peerEntry(dir, "priority"), "556");
   EXPECT_EQ(peer->peerConfigDel(), Kiv::PtrConst< GenericConfig >(other));
   EXPECT_FALSE(peer->peerConfig());
   peer->peerConfigIs(record);
   peer->peerConfigIs(nullptr);
   EXPECT_FALSE(peer->peerConfig());

   auto otherMlag = mlagConfig({{"Port-Channel10", "12"}});
   peer->mlagConfigIs(otherMlag);
   EXPECT_EQ(peer->mlagConfig(), Kiv::PtrConst< Mlag::Config >(otherMlag));
   peer->mlagConfigIs(mlag);
   EXPECT_EQ(peer->mlagConfig(), Kiv::PtrConst< Mlag::Config >(mlag));
   EXPECT_EQ(peer->mlagConfigDel(), Kiv::PtrConst< Mlag::Config >(mlag));
   EXPECT_FALSE(peer->mlagConfig());
   peer->mlagConfigIs(otherMlag);
   peer->mlagConfigIs(nullptr);
   EXPECT_FALSE(peer->mlagConfig());
}

TEST(PeerSideDeathTest, ANameInBothNestedCollectionsIsAFault) {
   Kiv::System::virtualTimeIs(0);
   auto record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   record->paramNameIs("lacp");
   record->nestedIntfConfigIs(Kiv::Name("x"));
   record->nestedGlobalConfigIs(Kiv::Name("x"));
   auto peer = P2pToStatehubSm::P2pToStatehubSmIs(checkerClock(), resultsDir(), record, "Peer",
                                                  nullptr, nullptr);
   peer->configCheckDescIs(lacpDesc());
   peer->handleInitialized();
   EXPECT_DEATH(runUntilQuiet(), "Assertion `!\\( peerGlobalConfig && peerIntfConfig\\)' failed");
}

} // namespace
