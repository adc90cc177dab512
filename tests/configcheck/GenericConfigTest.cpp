// The peer-to-peer record: collection member keys and the record's
// notifications to watchers that care about only some of its changes.
#include "GenericConfig.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using MlagP2p::ConfigCheck::CollectionConfig;
using MlagP2p::ConfigCheck::GenericConfig;

TEST(CollectionConfigTest, KeysAreEqualOnlyWhenBothStringsAre) {
   const CollectionConfig vlan10("vlan", "10");
   EXPECT_TRUE(vlan10 == CollectionConfig("vlan", "10"));
   EXPECT_FALSE(vlan10 == CollectionConfig("trunk", "10"));
   EXPECT_FALSE(vlan10 == CollectionConfig("vlan", "20"));
   // Ordered by collection first, then by key.
   EXPECT_TRUE(CollectionConfig("a", "9") < CollectionConfig("b", "1"));
   EXPECT_TRUE(CollectionConfig("a", "1") < CollectionConfig("a", "2"));
   EXPECT_FALSE(CollectionConfig("b", "1") < CollectionConfig("a", "9"));

   // The same member key in two collections is two entries of a record.
   auto record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   record->attrCollectionIs(vlan10, "allowed");
   record->attrCollectionIs(CollectionConfig("trunk", "10"), "native");
   EXPECT_EQ(record->attrCollectionSize(), 2u);
   EXPECT_EQ(record->attrCollection(vlan10), "allowed");
   record->attrCollectionDel(CollectionConfig("trunk", "10"));
   EXPECT_EQ(record->attrCollection(vlan10), "allowed");
   EXPECT_EQ(record->attrCollectionSize(), 1u);
}

// Hears only the collection members; every other change reaches the
// watcher's default callbacks and is ignored there.
struct MemberLog : GenericConfig::NotifieeConst {
   std::vector< std::string > members;
   void onAttrCollection(const CollectionConfig & c) override {
      members.push_back(c.collection().stdString() + " " + c.key().stdString());
   }
};

TEST(GenericConfigTest, WatchersHearTheChangesTheyOverride) {
   auto record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   MemberLog log;
   log.notifierIs(record);
   GenericConfig::NotifieeConst deaf;
   deaf.notifierIs(record);
   record->paramNameIs("lacp");
   record->attrIs("mtu", "9000");
   record->attrCollectionIs(CollectionConfig("vlan", "10"), "allowed");
   record->nestedIntfConfigIs(Kiv::Name("Port-Channel10"));
   record->nestedGlobalConfigIs(Kiv::Name("g1"));
   record->nestedGlobalConfigDel(Kiv::Name("g1"));
   record->attrCollectionDel(CollectionConfig("vlan", "10"));
   EXPECT_EQ(log.members, (std::vector< std::string >{"vlan 10", "vlan 10"}));
   EXPECT_EQ(record->paramName(), "lacp");
   EXPECT_EQ(record->nestedIntfConfigSize(), 1u);
}

} // namespace
