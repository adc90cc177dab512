#include "sim/Pair.h"

#include <gtest/gtest.h>

#include <map>
#include <set>

#include "ExampleScenario.h"
#include "kiv/ActivityManager.h"
#include "kiv/Ptr.h"
#include "kiv/System.h"
#include "sim/RecordMirror.h"
#include "sim/ResultJson.h"
#include "trace/CaptureSink.h"
#include "trace/Handle.h"

namespace {

using nlohmann::json;

MlagSim::Scenario scenarioOf(const json & doc) {
   return MlagSim::parseScenario(doc.dump(), "test.json");
}

// Starts the pair and applies every step.
json runAll(MlagSim::Pair & pair) {
   pair.start();
   for (std::size_t i = 0; i < pair.stepCount(); ++i) pair.applyStep(i);
   return pair.resultJson();
}

json runAll(const json & doc) {
   MlagSim::Pair pair(scenarioOf(doc));
   return runAll(pair);
}

json globalEntry(const char * local, const char * peer) {
   return {{"groupId", ""}, {"local", local}, {"peer", peer}};
}

// The example scenario as read, and the results it gives, every time.
TEST(PairTest, ExampleScenarioGivesTheDocumentedResultEveryTime) {
   const MlagSim::Scenario s = MlagSim::parseScenario(MlagSimTest::exampleScenario, "ex.json");
   EXPECT_EQ(s.description, "free text, optional");
   std::vector< std::string > steps;
   for (const MlagSim::Step & step : s.steps) steps.push_back(step.describe());
   EXPECT_EQ(steps,
             (std::vector< std::string >{
                "A: set lacp intfConfig/Port-Channel10/mode = 'passive'", "B: delete lacp vlan/20",
                "B: set mlag Port-Channel10 = '11'", "A: delete mlag Port-Channel10"}));
   const json expectedA = R"({ "name": "A", "plugins": { "lacp": {
      "global": {
         "10 allowed vlan": { "groupId": "", "local": "active", "peer": "active" },
         "20 allowed vlan": { "groupId": "", "local": "active", "peer": "" },
         "LACP system priority": { "groupId": "", "local": "32768", "peer": "32768" } },
      "interface": { "lacp mode mlag10": {
         "PeerPort-Channel10": { "default": "", "local": "", "peer": "active" } } },
      "record": { "attr": { "systemPriority": "32768" }, "paramName": "lacp",
         "attrCollection": [ { "collection": "vlan", "key": "10", "value": "active" },
                             { "collection": "vlan", "key": "20", "value": "active" } ],
         "nestedGlobalConfig": {}, "nestedIntfConfig": { "Port-Channel10": {
            "attr": { "mode": "passive" }, "attrCollection": [], "nestedGlobalConfig": {},
            "nestedIntfConfig": {}, "paramName": "intfConfig" } } } } } })"_json;
   // B: its vlan 20 is gone; its MLAG id moved to 11, where the old entry's
   // peer value (A's "passive") was cleared and A's value imported anew.
   json expectedB = expectedA;
   expectedB["name"] = "B";
   json & lacpB = expectedB["plugins"]["lacp"];
   lacpB["global"]["20 allowed vlan"] = globalEntry("", "active");
   lacpB["interface"] = R"({ "lacp mode mlag11": {
      "Port-Channel10": { "default": "", "local": "active", "peer": "passive" } } })"_json;
   lacpB["record"]["attrCollection"].erase(1);
   lacpB["record"]["nestedIntfConfig"]["Port-Channel10"]["attr"]["mode"] = "active";
   MlagSim::Pair pair(s);
   const json result = runAll(pair);
   EXPECT_EQ(runAll(json::parse(MlagSimTest::exampleScenario)).dump(), result.dump());
   EXPECT_EQ(result.dump(2), json({{"switches", {expectedA, expectedB}}}).dump(2));
}

// Each switch's trace lines name it, also those of the peer side, which the
// transport drives from the other switch's changes, and of deferred work.
TEST(PairTest, TraceLinesNameTheSwitchTheyComeFrom) {
   const json doc = R"({
      "plugins": { "lacp": { "attrName": { "systemPriority": "priority" },
         "nestedConfigCheckDesc": { "intfConfig": { "attrName": { "mode": "mode" } } } } },
      "switches": [
         { "name": "A", "config": { "lacp": { "systemPriority": 1 } } },
         { "name": "B", "config": { "lacp": { "systemPriority": 2 } } } ],
      "steps": [ { "switch": "A", "plugin": "lacp", "path": [ "systemPriority" ], "set": 3 },
                 { "switch": "B", "plugin": "lacp", "path": [ "intfConfig", "Ethernet1" ],
                   "set": { "mode": "on" } } ] })"_json;
   Kiv::Trace::Handle & trace = Kiv::Trace::handle("MlagConfigCheck");
   trace.levelsUpToIs(9);
   Kiv::Trace::CaptureSink capture;
   runAll(doc);
   trace.levelsUpToIs(-1);
   // The switches whose lines hold each value: B imports A's 1 at its start,
   // A hears B's 2 through the transport, and B's nested machine for
   // Ethernet1 comes from its backlog.
   const std::map< std::string, std::set< std::string > > expected = {
      {"localval='1'", {"A"}}, {"peerval='1'", {"B"}},   {"peerval='2'", {"A"}},
      {"peerval='3'", {"B"}},  {"localval='on'", {"B"}}, {"peerval='on'", {"A"}}};
   std::map< std::string, std::set< std::string > > seen;
   for (const Kiv::Trace::Line & l : capture.lines()) {
      EXPECT_TRUE(l.context == "A" || l.context == "B") << l.text;
      for (const auto & [value, switches] : expected) {
         if (l.text.find(value) != std::string::npos) seen[value].insert(l.context);
      }
   }
   EXPECT_EQ(seen, expected);
}

TEST(PairTest, ValuesAreComparedByTheirTextForms) {
   const json doc = R"({
      "plugins": { "mlag": { "valueStrOverride": { "true": "on" }, "attrName": { "unset": "unset",
         "delay": "reload delay", "enabled": "enabled", "peerOnly": "peer only" } } },
      "switches": [
         { "name": "A", "config": { "mlag": { "enabled": true, "unset": null,
            "delay": { "@type": "Mlag::ReloadDelay", "delay": 300 } } } },
         { "name": "B", "config": { "mlag": { "enabled": false, "peerOnly": -1,
            "delay": { "@type": "Mlag::ReloadDelay", "delay": 300 } } } } ]
   })"_json;
   MlagSim::Pair pair(scenarioOf(doc));
   const json global = runAll(pair)["switches"][0]["plugins"]["mlag"]["global"];
   EXPECT_EQ(global["reload delay"], globalEntry("300", "300"));
   EXPECT_EQ(global["enabled"], globalEntry("on", "false"));
   EXPECT_EQ(global["unset"], globalEntry("", ""));
   // A never configured it, yet its entity has the attribute, with no value.
   EXPECT_EQ(global["peer only"], globalEntry("", "-1"));
   EXPECT_THROW(pair.resultsDir(0, "stp"), std::out_of_range);
}

TEST(PairTest, TeardownLeavesNoLiveObjects) {
   const MlagSim::Scenario scenario =
      MlagSim::parseScenario(MlagSimTest::exampleScenario, "example.json");
   {
      // The process-wide objects (clock, trace handle, type records) exist from here on.
      MlagSim::Pair warmUp(scenario);
      runAll(warmUp);
   }
   const auto before = Kiv::LiveCount::snapshot();
   const std::int64_t totalBefore = Kiv::LiveCount::total();
   {
      MlagSim::Pair pair(scenario);
      runAll(pair);
      EXPECT_GT(Kiv::LiveCount::total(), totalBefore);
   }
   const auto after = Kiv::LiveCount::snapshot();
   for (const auto & [type, count] : after) {
      const auto it = before.find(type);
      EXPECT_EQ(count, it == before.end() ? 0 : it->second) << type;
   }
   EXPECT_EQ(Kiv::activityManager()->armedCount(), 0u);
}

// A reactor that arms itself again every time it fires.
struct Restless : Kiv::Clock::NotifieeConst {
   void handleTimeMin() override { timeMinIs(0.0); }
};

TEST(PairTest, RunUntilQuietGivesUpOnAPairThatNeverGoesQuiet) {
   Kiv::System::virtualTimeIs(0.0);
   Restless restless;
   restless.notifierIs(Kiv::activityManager()->config()->clock());
   restless.timeMinIs(0.0);
   try {
      MlagSim::runUntilQuiet(100);
      FAIL() << "expected an error";
   } catch (const std::runtime_error & e) {
      EXPECT_STREQ(e.what(), "the pair did not go quiet after 100 firings");
   }
   restless.timeMinIs(Kiv::Clock::never);
   EXPECT_EQ(MlagSim::runUntilQuiet(), 0u);
   // A pair's own limit holds for its start; once quiet, nothing fires and
   // no limit is too small for that.
   const MlagSim::Scenario scenario = scenarioOf(json::parse(MlagSimTest::exampleScenario));
   MlagSim::Pair pair(scenario), roomy(scenario);
   pair.firingLimitIs(1);
   EXPECT_THROW(pair.start(), std::runtime_error);
   roomy.start();
   roomy.firingLimitIs(0);
   EXPECT_EQ(roomy.settle(), 0u);
}

// The pair's transport: a record mirrored onto the other switch's peer record.
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
   auto ethernet = local->nestedIntfConfigIs(Kiv::Name("Ethernet1"));
   ethernet->paramNameIs("intfConfig");
   MlagSim::copyRecord(*local, *peer);
   // A mirror started on a record that already has nested records follows them too.
   MlagSim::RecordMirror mirror(local, peer);
   ethernet->attrIs("mode", "passive");

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
   EXPECT_EQ(peer->nestedIntfConfigSize(), 1u);
   nested->attrIs("mode", "passive"); // detached: no longer mirrored anywhere
   EXPECT_EQ(MlagSim::recordJson(*peer), MlagSim::recordJson(*local));

   // Re-added as a filled record, as a peer's full record would arrive: the
   // peer's watchers meet it whole.
   ArrivalWatch watch;
   watch.notifierIs(peer);
   local->nestedIntfConfigDel(Kiv::Name("Ethernet1"));
   local->hasNotificationActiveIs(false);
   local->nestedIntfConfigIs(Kiv::Name("Ethernet1"))->paramNameIs("intfConfig");
   local->nestedIntfConfig(Kiv::Name("Ethernet1"))->attrIs("mode", "active");
   local->hasNotificationActiveIs(true);
   local->nestedIntfConfigNotify(Kiv::Name("Ethernet1"));
   EXPECT_EQ(watch.seen, (std::vector< std::string >{"gone", "intfConfig active"}));
}

} // namespace
