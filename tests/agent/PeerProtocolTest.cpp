// The peer protocol without sockets: change batches on the wire, malformed
// payloads, the smallest resynchronisation, and what the view reports of
// plugins the two switches do not share.
#include <gtest/gtest.h>

#include "SwitchAgent.h"
#include "peer/PeerView.h"
#include "peer/RecordTap.h"
#include "sim/ResultJson.h"

namespace {

using namespace MlagAgent::Peer;
using MlagP2p::ConfigCheck::CollectionConfig;

// A changes frame's batch (the payload past the frame's header).
ChangeBatch batchOf(const std::string & frame) {
   return readChanges(std::string_view(frame).substr(5));
}

// Counts every notification of a record (not of its nested records).
struct Counter : GenericConfig::NotifieeConst {
   explicit Counter(const Kiv::Ptr< GenericConfig > & r) { notifierIs(r); }
   void onParamName() override { ++n; }
   void onAttr(const Kiv::String &) override { ++n; }
   void onAttrCollection(const CollectionConfig &) override { ++n; }
   void onNestedIntfConfig(const Kiv::Name &) override { ++n; }
   void onNestedGlobalConfig(const Kiv::Name &) override { ++n; }
   int n = 0;
};

// Sends `record` as a snapshot into `view`, through the batches on the wire.
void sendSnapshot(PeerView & view, const GenericConfig & record, std::string_view plugin,
                  double now = 0.0) {
   std::vector< std::string > frames;
   ChangeBatcher out([&](std::string f) { frames.push_back(std::move(f)); }, [] {});
   snapshotChanges(record, plugin, out);
   out.flush();
   view.snapshotBegin();
   for (const std::string & f : frames)
      for (const Change & c : batchOf(f).changes) view.change(c);
   view.snapshotEnd(now);
}

TEST(PeerProtocolTest, EveryChangeKindSurvivesTheWire) {
   auto source = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   source->paramNameIs("lacp");
   source->attrIs("rate", "fast");
   source->attrCollectionIs(CollectionConfig("vlan", "10"), "allowed");
   auto nested = source->nestedIntfConfigIs(Kiv::Name("Port-Channel10"));
   nested->paramNameIs("intfConfig");
   nested->attrIs("mtu", "9214");
   nested->nestedGlobalConfigIs(Kiv::Name("deep"))->attrIs("x", "'quoted\\'\n'");
   auto copy = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   std::vector< std::string > frames;
   {
      ChangeBatcher out([&](std::string f) { frames.push_back(std::move(f)); }, [] {});
      RecordTap tap(source, "lacp", out);
      snapshotChanges(*source, "lacp", out);
      out.flush();
      // Live changes after the snapshot, of every kind.
      source->attrIs("rate", "slow");
      source->attrCollectionDel(CollectionConfig("vlan", "10"));
      nested->attrDel(Kiv::String("mtu"));
      source->nestedGlobalConfigIs(Kiv::Name("g"))->attrIs("y", "1");
      source->nestedIntfConfigDel(Kiv::Name("Port-Channel10"));
      out.flush();
   }
   for (const std::string & f : frames)
      for (const Change & c : batchOf(f).changes) applyChange(c, *copy);
   EXPECT_EQ(MlagSim::recordJson(*copy), MlagSim::recordJson(*source));
   EXPECT_EQ(frames.size(), 2u) << "one batch per flush";
}

TEST(PeerProtocolTest, LargeBatchesSplitAndOnlyTheLastPartEndsThem) {
   std::vector< std::string > frames;
   int flushRequests = 0;
   ChangeBatcher out([&](std::string f) { frames.push_back(std::move(f)); },
                     [&] { ++flushRequests; });
   const std::string value(1000, 'v');
   for (int i = 0; i < 600; ++i)
      out.add(ChangeKind::attrSet, "lacp", {}, std::to_string(i), {}, value);
   out.flush();
   out.flush(); // nothing new: nothing sent
   ASSERT_EQ(frames.size(), 3u);
   EXPECT_EQ(flushRequests, 1);
   std::size_t changes = 0;
   for (std::size_t i = 0; i < frames.size(); ++i) {
      const ChangeBatch b = batchOf(frames[i]);
      EXPECT_EQ(b.more, i + 1 < frames.size());
      changes += b.changes.size();
   }
   EXPECT_EQ(changes, 600u);
}

TEST(PeerProtocolTest, MalformedChangesAreRefusedWithoutChangingTheRecord) {
   const std::string valid = changeFrame(ChangeKind::attrSet, "lacp", {}, "rate", {}, "fast");
   const std::string payload = valid.substr(5);
   struct Case {
      std::string payload;
      const char * error;
   };
   const Case cases[] = {
      {"", "the frame ends inside a field"},
      {std::string("\x02", 1), "changes frame with flags 2"},
      {std::string("\0\x09", 2), "unknown change kind 9"},
      {payload.substr(0, payload.size() - 1), "the frame ends inside a field"},
      {std::string("\0\x06\0\0\0\4lacp\0", 11), "a nested change without a path"},
      {std::string("\0\x02\0\0\0\4lacp\x01\x07", 12), "unknown nested table 7"},
      {std::string("\0\x02\0\0\0\4lacp\x40", 11), "deeper than 32"},
      {std::string("\0\x06\0\0\0\4lacp\x01\0\0\0\0\1p\0\0\0\0\xff\xff\xff\xff", 25),
       "exceeds what the frame holds"},
   };
   for (const Case & c : cases) {
      try {
         readChanges(c.payload);
         ADD_FAILURE() << "accepted: " << c.error;
      } catch (const WireError & e) {
         EXPECT_NE(std::string(e.what()).find(c.error), std::string::npos) << e.what();
      }
   }
   // A change under a nested record that was never sent changes nothing.
   auto record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   const std::string orphan = changeFrame(
      ChangeKind::attrSet, "lacp", {{Table::intf, Kiv::Name("Port-Channel9")}}, "mtu", {}, "1");
   EXPECT_THROW(applyChange(batchOf(orphan).changes.at(0), *record), WireError);
   // A group's name sent as an interface's too: the checker could not tell them apart.
   record->nestedGlobalConfigIs(Kiv::Name("vlan10"));
   auto image = Kiv::kivNew< GenericConfig >(Kiv::Name("vlan10"));
   const std::string both = changeFrame(
      ChangeKind::nestedSet, "lacp", {{Table::intf, Kiv::Name("vlan10")}}, {}, {}, {}, image.get());
   EXPECT_THROW(applyChange(batchOf(both).changes.at(0), *record), WireError);
   EXPECT_FALSE(record->nestedIntfConfig(Kiv::Name("vlan10")));
   record->nestedGlobalConfigDel(Kiv::Name("vlan10"));
   EXPECT_EQ(MlagSim::recordJson(*record),
             MlagSim::recordJson(*Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"))));
}

// A view's life: plugins only one side has are reported, not compared against
// nothing; a reconnect changes only what changed.
TEST(PeerProtocolTest, AViewReportsUnsharedPluginsAndResyncsOnlyWhatChanged) {
   MlagAgent::SwitchAgent sw(MlagSim::parseSwitchFile(R"({
      "plugins": {"lacp": {"attrName": {"rate": "lacp rate"}},
                  "stp": {"attrName": {"mode": "mode"}}},
      "switch": {"name": "leaf1", "mlag": {}, "config": {"lacp": {}, "stp": {}}}})",
                                                      "leaf1.switch.json"));
   PeerView view(sw);
   EXPECT_EQ(view.statusJson(0.0)["link"], "never connected");
   std::map< std::string, std::string > peerPlugins = view.localPlugins();
   peerPlugins.erase("stp");
   peerPlugins["lacp"] = "another digest";
   peerPlugins["lldp"] = "digest";
   view.sessionUp({"leaf2", "incarnat", peerPlugins}, 0.0);
   EXPECT_EQ(view.statusJson(0.0)["link"], "synchronising");
   auto lldp = Kiv::kivNew< GenericConfig >(Kiv::Name("lldp"));
   lldp->attrIs("holdTime", "120");
   sendSnapshot(view, *lldp, "lldp", 5.0); // a plugin this switch lacks: skipped
   const nlohmann::json s = view.statusJson(5.0);
   EXPECT_EQ(s["plugins"], nlohmann::json({{"lacp", "descriptor differs"},
                                           {"lldp", "only on the peer"},
                                           {"stp", "missing on the peer"}}));
   EXPECT_EQ(s["link"], "connected");
   EXPECT_EQ(s["peer"], "leaf2");
   for (const auto & r : sw.records()) EXPECT_TRUE(r.peer->attrMap().empty()) << r.plugin;
   view.sessionDown(7.0, "the peer closed the connection");
   const nlohmann::json down = view.statusJson(9.0);
   EXPECT_EQ(down["link"], "down");
   EXPECT_EQ(down["stale"], true);
   EXPECT_EQ(down["secondsSinceLastSync"], 4.0);
   EXPECT_EQ(down["lastError"], "the peer closed the connection");

   // Now with the same plugins on both sides.
   view.sessionUp({"leaf2", "incarnat", view.localPlugins()}, 10.0);
   auto peer = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   peer->paramNameIs("lacp");
   peer->attrIs("rate", "fast");
   peer->attrIs("timeout", "90");
   peer->nestedIntfConfigIs(Kiv::Name("Port-Channel10"))->attrIs("mtu", "9214");
   sendSnapshot(view, *peer, "lacp");
   const Kiv::Ptr< GenericConfig > & held = sw.records()[0].peer;
   EXPECT_EQ(MlagSim::recordJson(*held), MlagSim::recordJson(*peer));
   EXPECT_TRUE(view.synchronised());

   view.sessionDown(11.0, "cut");
   EXPECT_FALSE(view.synchronised());
   EXPECT_EQ(held->attr("rate"), "fast") << "kept, stale, while down";
   Counter top(held);
   Counter intf(held->nestedIntfConfig(Kiv::Name("Port-Channel10")));
   // Same values again: nothing notifies.
   view.sessionUp({"leaf2", "incarnat", view.localPlugins()}, 12.0);
   sendSnapshot(view, *peer, "lacp");
   EXPECT_EQ(top.n + intf.n, 0);
   // One value changed, one gone, one nested record gone: three changes.
   peer->attrIs("rate", "slow");
   peer->attrDel(Kiv::String("timeout"));
   peer->nestedIntfConfigDel(Kiv::Name("Port-Channel10"));
   view.sessionUp({"leaf2", "incarnat", view.localPlugins()}, 13.0);
   sendSnapshot(view, *peer, "lacp");
   EXPECT_EQ(top.n, 3);
   EXPECT_EQ(MlagSim::recordJson(*held), MlagSim::recordJson(*peer));
   EXPECT_EQ(view.reconnects(), 3u);
}

} // namespace
