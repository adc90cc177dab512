#include "sim/RecordMirror.h"

#include <gtest/gtest.h>

#include "sim/ResultJson.h"

namespace {

using MlagSim::CollectionConfig;
using MlagSim::GenericConfig;

Kiv::Ptr< GenericConfig > record(const char * name) {
   return Kiv::kivNew< GenericConfig >(Kiv::Name(name));
}

// Records what the peer record's watchers see when a nested record arrives.
struct ArrivalWatch : GenericConfig::NotifieeConst {
   void onNestedIntfConfig(const Kiv::Name & name) override {
      Kiv::Ptr< GenericConfig > nested = notifier()->nestedIntfConfig(name);
      seen.push_back(nested
                        ? nested->paramName().stdString() + " " + nested->attr("mode").stdString()
                        : "gone");
   }
   std::vector< std::string > seen;
};

TEST(RecordMirrorTest, MirrorsEveryChangeDownToNestedRecords) {
   auto local = record("lacp");
   auto peer = record("lacp");
   local->paramNameIs("lacp");
   local->attrIs("systemPriority", "1");
   MlagSim::copyRecord(*local, *peer);
   MlagSim::RecordMirror mirror(local, peer);

   local->attrIs("systemPriority", "2");
   local->attrCollectionIs(CollectionConfig("vlan", "10"), "active");
   auto nested = local->nestedIntfConfigIs(Kiv::Name("Port-Channel10"));
   nested->paramNameIs("intfConfig");
   nested->attrIs("mode", "active");
   nested->nestedGlobalConfigIs(Kiv::Name("g1"))->attrIs("prio", "5");
   EXPECT_EQ(MlagSim::recordJson(*peer), MlagSim::recordJson(*local));

   local->attrDel("systemPriority");
   local->attrCollectionDel(CollectionConfig("vlan", "10"));
   nested->nestedGlobalConfigDel(Kiv::Name("g1"));
   EXPECT_EQ(MlagSim::recordJson(*peer), MlagSim::recordJson(*local));
   EXPECT_FALSE(peer->attrHas("systemPriority"));

   local->nestedIntfConfigDel(Kiv::Name("Port-Channel10"));
   EXPECT_EQ(peer->nestedIntfConfigSize(), 0u);
   nested->attrIs("mode", "passive"); // detached: no longer mirrored anywhere
   EXPECT_EQ(MlagSim::recordJson(*peer), MlagSim::recordJson(*local));
}

TEST(RecordMirrorTest, ANestedRecordArrivesWithItsContents) {
   auto local = record("lacp");
   auto peer = record("lacp");
   auto nested = local->nestedIntfConfigIs(Kiv::Name("Ethernet1"));
   nested->paramNameIs("intfConfig");
   nested->attrIs("mode", "active");
   MlagSim::copyRecord(*local, *peer);
   // A mirror started on a record that already has nested records follows them too.
   MlagSim::RecordMirror mirror(local, peer);
   ArrivalWatch watch;
   watch.notifierIs(peer);

   nested->attrIs("mode", "passive");
   EXPECT_EQ(peer->nestedIntfConfig(Kiv::Name("Ethernet1"))->attr("mode"), "passive");
   local->nestedIntfConfigDel(Kiv::Name("Ethernet1"));
   // Re-added as a filled record, as a peer's full record would arrive.
   local->hasNotificationActiveIs(false);
   local->nestedIntfConfigIs(Kiv::Name("Ethernet1"))->paramNameIs("intfConfig");
   local->nestedIntfConfig(Kiv::Name("Ethernet1"))->attrIs("mode", "active");
   local->hasNotificationActiveIs(true);
   local->nestedIntfConfigNotify(Kiv::Name("Ethernet1"));
   EXPECT_EQ(watch.seen, (std::vector< std::string >{"gone", "intfConfig active"}));
}

} // namespace
