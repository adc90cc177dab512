#include "MlagConfigCheckDbUpdate.h"

#include "CheckerFixture.h"
#include "MlagConfigCheckUtil.h"

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

TEST_F(DbUpdateTest, AGlobalEntityPublishesDefaultsOverridesAndCollections) {
   desc->attrNameIs("priority", "system priority");
   desc->attrNameIs("mode", "lacp mode");
   desc->attrNameIs("speed", "speed"); // not an attribute of the entity: skipped
   desc->collectionNameIs("vlan", "allowed vlan");
   desc->valueStrOverrideIs("active", "on");
   desc->defaultValIs("priority", "32768");
   config->valueIs("priority", Kiv::Value::integer(32768));
   config->valueIs("mode", Kiv::Value::string("active"));
   config->memberIs("vlan", "10", Kiv::Value::string("active"));
   config->memberIs("vlan", "20", Kiv::Value::string("'quoted'"));
   publish("Local");

   EXPECT_EQ(localEntry(dir, "system priority"), "32768");
   EXPECT_EQ(localEntry(dir, "lacp mode"), "on");
   EXPECT_EQ(localEntry(dir, "10 allowed vlan"), "on");
   EXPECT_EQ(localEntry(dir, "speed"), none);
   EXPECT_EQ(dir->configIntfDirSize(), 0u);
   EXPECT_EQ(record->attr("priority"), "32768");
   EXPECT_EQ(record->attr("mode"), "on");
   EXPECT_FALSE(record->attrHas("speed"));
   EXPECT_EQ(record->attrCollection(CollectionConfig("vlan", "10")), "on");
   // Only the outer quotes come off; inner ones stay escaped.
   EXPECT_EQ(record->attrCollection(CollectionConfig("vlan", "20")), "\\'quoted\\'");
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

   EXPECT_EQ(localEntry(dir, "mtu", "Ethernet1"), "");
   EXPECT_EQ(intfEntry(dir, "mtu", "Ethernet1")->defaultVal(), "1500");
   EXPECT_FALSE(record->attrHas("mtu"));
   EXPECT_EQ(record->attr("mode"), "passive");
   // Collection members are published whatever their value.
   EXPECT_EQ(record->attrCollection(CollectionConfig("vlan", "10")), "allowed");
   EXPECT_EQ(intfEntry(dir, "10 vlan", "Ethernet1")->defaultVal(), "allowed");
}

TEST_F(DbUpdateTest, AnMlagIdChangeMovesTheEntriesInOneCall) {
   desc->mlagInterfacesOnlyIs(true);
   desc->attrNameIs("mode", "lacp mode");
   config->valueIs("mode", Kiv::Value::string("active"));
   auto mlag = mlagConfig({{"Port-Channel10", "10"}});
   doInsertPeerIntfParam(dir, "lacp mode mlag10", "Port-Channel10", "passive");
   publish("Port-Channel10", "", mlag);
   // The id recorded before is the present one: nothing is removed.
   Traces traces;
   publish("Port-Channel10", "10", mlag);
   EXPECT_FALSE(traces.contains("Removing parameters with mlag"));
   EXPECT_EQ(localEntry(dir, "lacp mode mlag10", "Port-Channel10"), "active");
   EXPECT_EQ(peerEntry(dir, "lacp mode mlag10", "Port-Channel10"), "passive");

   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("11"));
   publish("Port-Channel10", "10", mlag);
   EXPECT_TRUE(traces.contains("Removing parameters with mlag '10'"));
   // The old entry keeps only the peer's value, under the provisional key.
   EXPECT_FALSE(intfEntry(dir, "lacp mode mlag10", "Port-Channel10"));
   EXPECT_EQ(peerEntry(dir, "lacp mode mlag10", "PeerPort-Channel10"), "passive");
   EXPECT_EQ(localEntry(dir, "lacp mode mlag11", "Port-Channel10"), "active");

   // Out of MLAG: nothing is named, nothing written.
   mlag->intfConfigDel(Porta::IntfId("Port-Channel10"));
   publish("Port-Channel10", "11", mlag);
   EXPECT_FALSE(dir->configIntfDir(Kiv::Name("lacp mode mlag11")));
}

TEST_F(DbUpdateTest, PeerRecordImport) {
   desc->attrNameIs("mtu", "mtu");
   desc->collectionNameIs("vlan", "vlan");
   auto peer = Kiv::kivNew< GenericConfig >(Kiv::Name("peer"));
   peer->attrIs("mtu", "9000");
   peer->attrIs("unnamed", "x");
   peer->attrCollectionIs(CollectionConfig("vlan", "'10'"), "allowed");
   peer->attrCollectionIs(CollectionConfig("other", "1"), "y");
   updateConfigCheckDbPeer(desc, dir, nullptr, "", peer, "g1");
   EXPECT_EQ(peerEntry(dir, "mtu g1"), "9000");
   EXPECT_EQ(globalEntry(dir, "mtu g1")->groupId(), "g1");
   EXPECT_EQ(peerEntry(dir, "10 vlan g1"), "allowed");
   EXPECT_EQ(dir->configGlobalDiffSize(), 2u);
   updateConfigCheckDbPeer(desc, dir, nullptr, "", peer, "Ethernet1");
   EXPECT_EQ(peerEntry(dir, "mtu", "PeerEthernet1"), "9000");

   Traces traces;
   insertPeerParam(dir, "", "Peer", Porta::IntfId(), "z");
   EXPECT_FALSE(traces.contains("Updating"));
   EXPECT_EQ(dir->configGlobalDiffSize(), 2u);
}

// Without an entity, or without a record, each routine still does the part
// it can: the removal after an MLAG change, or the local table alone.
TEST_F(DbUpdateTest, AMissingEntityOrRecordLeavesOnlyWhatCanBeDone) {
   desc->mlagInterfacesOnlyIs(true);
   desc->attrNameIs("mode", "mode");
   desc->collectionNameIs("vlan", "vlan");
   config->valueIs("mode", Kiv::Value::string("active"));
   config->memberIs("vlan", "10", Kiv::Value::string("allowed"));
   auto mlag = mlagConfig({{"Port-Channel10", "10"}});
   publish("Port-Channel10", "", mlag);
   doInsertPeerIntfParam(dir, "mode mlag10", "Port-Channel10", "passive");

   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("11"));
   updateConfigCheckDbUtil(desc, dir, mlag, "10", nullptr, record, "Port-Channel10", false);
   EXPECT_EQ(localEntry(dir, "mode mlag10", "Port-Channel10"), none);
   EXPECT_EQ(peerEntry(dir, "mode mlag10", "PeerPort-Channel10"), "passive");
   EXPECT_FALSE(dir->configIntfDir(Kiv::Name("mode mlag11")));
   updateConfigCheckDbPeer(desc, dir, mlag, "10", nullptr, "Port-Channel10");
   EXPECT_EQ(peerEntry(dir, "mode mlag10", "PeerPort-Channel10"), none);

   // No record to publish into: the local table is written all the same.
   updateConfigCheckDbUtil(desc, dir, mlag, "", config, nullptr, "Port-Channel10", false);
   EXPECT_EQ(localEntry(dir, "mode mlag11", "Port-Channel10"), "active");
   EXPECT_EQ(localEntry(dir, "10 vlan mlag11", "Port-Channel10"), "allowed");
}

// A descriptor that takes a collection for a scalar, or a scalar for a
// collection, names nothing that can be read that way: both are skipped.
TEST_F(DbUpdateTest, AttributesOfTheOtherShapeAreSkipped) {
   desc->attrNameIs("vlan", "vlan as scalar");
   desc->collectionNameIs("mode", "mode as collection");
   config->valueIs("mode", Kiv::Value::string("active"));
   config->memberIs("vlan", "10", Kiv::Value::string("allowed"));
   publish("Local");
   EXPECT_EQ(dir->configGlobalDiffSize(), 0u);
   EXPECT_EQ(record->attrSize(), 0u);
   EXPECT_EQ(record->attrCollectionSize(), 0u);
}

} // namespace
