#include "CheckerFixture.h"
#include "ConfigCheck/MlagConfigCheckDbUpdate.h"
#include "ConfigCheck/MlagConfigCheckUtil.h"

namespace {

using namespace CheckerTest;

class DbUpdateTest : public ::testing::Test {
 protected:
   Kiv::Ptr< ConfigPluginDir > dir = resultsDir("lacp");
   Kiv::Ptr< GenericConfig > record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< ConfigCheckDesc > desc = configCheckDescFactory("lacp");
   Kiv::Ptr< Kiv::DynamicEntity > config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("cfg"));

   void publish(const char * name, const char * mlagId = "",
                const Kiv::Ptr< Mlag::Config > & mlag = nullptr) {
      updateConfigCheckDbUtil(desc, dir, mlag, mlagId, config, record, name, false);
   }
};

// Names the entity lacks, or has in the other shape, are skipped. A value equal to
// its default stays in the record; only a member's outer quotes come off.
TEST_F(DbUpdateTest, EntityAndPeerRecordPublishWhatTheDescriptorNamesInItsShape) {
   desc->attrNameIs("priority", "system priority");
   desc->attrNameIs("speed", "speed");
   desc->attrNameIs("vlan", "vlan as scalar");
   desc->collectionNameIs("priority", "priority as collection");
   desc->collectionNameIs("vlan", "allowed vlan");
   desc->valueStrOverrideIs("active", "on");
   desc->defaultValIs("priority", "32768");
   config->valueIs("priority", Kiv::Value::integer(32768));
   config->memberIs("vlan", "10", Kiv::Value::string("active"));
   config->memberIs("vlan", "20", Kiv::Value::string("'quoted'"));
   publish("Local");

   EXPECT_EQ(entries(dir),
             "10 allowed vlan: on/; 20 allowed vlan: \\'quoted\\'/; system priority: 32768/");
   EXPECT_EQ(record->attr("priority"), "32768");
   EXPECT_EQ(record->attrCollection(CollectionConfig("vlan", "10")), "on");
   EXPECT_EQ(record->attrCollection(CollectionConfig("vlan", "20")), "\\'quoted\\'");
   EXPECT_EQ(record->attrSize(), 1u);

   // A peer record is imported under the same names, unnamed ones skipped.
   auto peerDir = resultsDir();
   auto peer = Kiv::kivNew< GenericConfig >(Kiv::Name("peer"));
   peer->attrIs("speed", "9000");
   peer->attrIs("unnamed", "x");
   peer->attrCollectionIs(CollectionConfig("vlan", "'10'"), "allowed");
   peer->attrCollectionIs(CollectionConfig("other", "1"), "y");
   updateConfigCheckDbPeer(desc, peerDir, nullptr, "", peer, "g1");
   updateConfigCheckDbPeer(desc, peerDir, nullptr, "", peer, "Ethernet1");
   Traces traces;
   insertPeerParam(peerDir, "", "Peer", Porta::IntfId(), "z");
   EXPECT_FALSE(traces.contains("Updating"));
   EXPECT_EQ(entries(peerDir),
             "10 allowed vlan @PeerEthernet1: /allowed; 10 allowed vlan g1: /allowed g=g1; "
             "speed @PeerEthernet1: /9000; speed g1: /9000 g=g1");
}

TEST_F(DbUpdateTest, AbsenceImpliesDefaultKeepsDefaultsOutOfTheRecordOnly) {
   desc->absenceImpliesDefaultValIs(true);
   desc->attrNameIs("mtu", "mtu");
   desc->attrNameIs("mode", "mode");
   desc->collectionNameIs("vlan", "vlan");
   desc->defaultValIs("mtu", "1500");
   desc->defaultValIs("mode", "active");
   desc->defaultValIs("vlan", "allowed");
   config->valueIs("mtu", Kiv::Value::integer(1500));
   config->valueIs("mode", Kiv::Value::string("passive"));
   config->memberIs("vlan", "10", Kiv::Value::string("allowed"));
   publish("Ethernet1");

   EXPECT_EQ(entries(dir),
             "10 vlan @Ethernet1: / d=allowed; mode @Ethernet1: passive/ "
             "d=active; mtu @Ethernet1: / d=1500");
   EXPECT_FALSE(record->attrHas("mtu"));
   EXPECT_EQ(record->attr("mode"), "passive");
   // Collection members are published whatever their value.
   EXPECT_EQ(record->attrCollection(CollectionConfig("vlan", "10")), "allowed");

   // The same value on another interface is held once, not once per interface.
   publish("Ethernet2");
   EXPECT_EQ(intfEntry(dir, "mode", "Ethernet2")->localVal().charPtr(),
             intfEntry(dir, "mode", "Ethernet1")->localVal().charPtr());
}

// After an MLAG id change one call moves the entries, the old one keeping only the
// peer's value under the provisional key; without an entity only that is done.
TEST_F(DbUpdateTest, AnMlagIdChangeMovesTheEntriesInOneCall) {
   desc->mlagInterfacesOnlyIs(true);
   desc->attrNameIs("mode", "mode");
   desc->collectionNameIs("vlan", "vlan");
   config->valueIs("mode", Kiv::Value::string("active"));
   config->memberIs("vlan", "10", Kiv::Value::string("allowed"));
   auto mlag = mlagConfig({{"Port-Channel10", "10"}});
   doInsertPeerIntfParam(dir, "mode mlag10", "Port-Channel10", "passive");
   publish("Port-Channel10", "", mlag);
   // The id recorded before is the present one: nothing is removed.
   Traces traces;
   publish("Port-Channel10", "10", mlag);
   EXPECT_FALSE(traces.contains("Removing parameters with mlag"));
   EXPECT_EQ(entries(dir),
             "10 vlan mlag10 @Port-Channel10: allowed/; mode mlag10 "
             "@Port-Channel10: active/passive");

   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("11"));
   updateConfigCheckDbUtil(desc, dir, mlag, "10", nullptr, record, "Port-Channel10", false);
   EXPECT_TRUE(traces.contains("Removing parameters with mlag '10'"));
   EXPECT_EQ(entries(dir), "mode mlag10 @PeerPort-Channel10: /passive");
   updateConfigCheckDbPeer(desc, dir, mlag, "10", nullptr, "Port-Channel10");
   EXPECT_EQ(entries(dir), "");

   // Without a record the local table is written anyway.
   updateConfigCheckDbUtil(desc, dir, mlag, "", config, nullptr, "Port-Channel10", false);
   EXPECT_EQ(entries(dir),
             "10 vlan mlag11 @Port-Channel10: allowed/; mode mlag11 @Port-Channel10: active/");
   // Out of MLAG: the entries under the old id go; nothing is named, nothing written.
   mlag->intfConfigDel(Porta::IntfId("Port-Channel10"));
   publish("Port-Channel10", "11", mlag);
   EXPECT_EQ(entries(dir), "");
}

} // namespace
