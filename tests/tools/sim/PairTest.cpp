#include "Pair.h"

#include <gtest/gtest.h>

#include "ExampleScenario.h"
#include "ResultJson.h"
#include "kiv/ActivityManager.h"
#include "kiv/Ptr.h"
#include "kiv/System.h"

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

// One interface entry as the result shows it.
json intfEntry(const char * local, const char * peer, const char * deflt = "") {
   return {{"default", deflt}, {"local", local}, {"peer", peer}};
}

json globalEntry(const char * local, const char * peer, const char * groupId = "") {
   return {{"groupId", groupId}, {"local", local}, {"peer", peer}};
}

// The example's plugin and switches without steps, for scenarios that add their own.
json exampleWithSteps(const json & steps) {
   json doc = json::parse(MlagSimTest::exampleScenario);
   doc["steps"] = steps;
   return doc;
}

TEST(PairTest, ExampleScenarioGivesTheDocumentedResult) {
   const json expectedA = R"({
      "name": "A",
      "plugins": { "lacp": {
         "global": {
            "10 allowed vlan": { "groupId": "", "local": "active", "peer": "active" },
            "20 allowed vlan": { "groupId": "", "local": "active", "peer": "" },
            "LACP system priority": { "groupId": "", "local": "32768", "peer": "32768" }
         },
         "interface": {
            "lacp mode mlag10": {
               "PeerPort-Channel10": { "default": "", "local": "", "peer": "active" }
            }
         },
         "record": {
            "attr": { "systemPriority": "32768" },
            "attrCollection": [
               { "collection": "vlan", "key": "10", "value": "active" },
               { "collection": "vlan", "key": "20", "value": "active" }
            ],
            "nestedGlobalConfig": {},
            "nestedIntfConfig": {
               "Port-Channel10": {
                  "attr": { "mode": "passive" },
                  "attrCollection": [],
                  "nestedGlobalConfig": {},
                  "nestedIntfConfig": {},
                  "paramName": "intfConfig"
               }
            },
            "paramName": "lacp"
         }
      } }
   })"_json;
   // B: its vlan 20 is gone; its MLAG id moved to 11, where the old entry's
   // peer value (A's "passive") was cleared and A's value imported anew.
   const json expectedB = R"({
      "name": "B",
      "plugins": { "lacp": {
         "global": {
            "10 allowed vlan": { "groupId": "", "local": "active", "peer": "active" },
            "20 allowed vlan": { "groupId": "", "local": "", "peer": "active" },
            "LACP system priority": { "groupId": "", "local": "32768", "peer": "32768" }
         },
         "interface": {
            "lacp mode mlag11": {
               "Port-Channel10": { "default": "", "local": "active", "peer": "passive" }
            }
         },
         "record": {
            "attr": { "systemPriority": "32768" },
            "attrCollection": [ { "collection": "vlan", "key": "10", "value": "active" } ],
            "nestedGlobalConfig": {},
            "nestedIntfConfig": {
               "Port-Channel10": {
                  "attr": { "mode": "active" },
                  "attrCollection": [],
                  "nestedGlobalConfig": {},
                  "nestedIntfConfig": {},
                  "paramName": "intfConfig"
               }
            },
            "paramName": "lacp"
         }
      } }
   })"_json;
   const json result = runAll(json::parse(MlagSimTest::exampleScenario));
   ASSERT_EQ(result["switches"].size(), 2u);
   EXPECT_EQ(result["switches"][0].dump(2), expectedA.dump(2));
   EXPECT_EQ(result["switches"][1].dump(2), expectedB.dump(2));
}

TEST(PairTest, StartAloneComparesBothSwitchesSideBySide) {
   MlagSim::Pair pair(MlagSim::parseScenario(MlagSimTest::exampleScenario, "example.json"));
   pair.start();
   for (std::size_t sw = 0; sw < 2; ++sw) {
      const json lacp = pair.resultJson()["switches"][sw]["plugins"]["lacp"];
      EXPECT_EQ(lacp["global"]["20 allowed vlan"], globalEntry("active", "active"));
      EXPECT_EQ(lacp["interface"],
                json({{"lacp mode mlag10", {{"Port-Channel10", intfEntry("active", "active")}}}}));
      // The peer record is the other switch's local record, as the transport mirrors it.
      EXPECT_EQ(MlagSim::recordJson(*pair.peerRecord(sw, "lacp")),
                MlagSim::recordJson(*pair.localRecord(1 - sw, "lacp")));
   }
}

TEST(PairTest, SameScenarioTwiceGivesIdenticalJson) {
   const json doc = json::parse(MlagSimTest::exampleScenario);
   EXPECT_EQ(runAll(doc).dump(), runAll(doc).dump());
}

TEST(PairTest, PeerValueWaitsUnderProvisionalKeyUntilTheLocalEntryAdoptsIt) {
   json doc = exampleWithSteps(json::array({{{"switch", "B"},
                                             {"plugin", "lacp"},
                                             {"path", {"intfConfig", "Port-Channel10"}},
                                             {"set", {{"mode", "active"}}}}}));
   doc["switches"][1]["config"]["lacp"].erase("intfConfig");
   MlagSim::Pair pair(scenarioOf(doc));
   pair.start();
   json b = pair.resultJson()["switches"][1]["plugins"]["lacp"]["interface"];
   EXPECT_EQ(b, json({{"lacp mode mlag10", {{"PeerPort-Channel10", intfEntry("", "active")}}}}));
   json a = pair.resultJson()["switches"][0]["plugins"]["lacp"]["interface"];
   EXPECT_EQ(a, json({{"lacp mode mlag10", {{"Port-Channel10", intfEntry("active", "")}}}}));

   pair.applyStep(0); // B creates the nested entity: its local insert adopts the waiting value
   b = pair.resultJson()["switches"][1]["plugins"]["lacp"]["interface"];
   EXPECT_EQ(b, json({{"lacp mode mlag10", {{"Port-Channel10", intfEntry("active", "active")}}}}));
   a = pair.resultJson()["switches"][0]["plugins"]["lacp"]["interface"];
   EXPECT_EQ(a, json({{"lacp mode mlag10", {{"Port-Channel10", intfEntry("active", "active")}}}}));
}

TEST(PairTest, NestedConfigRemovedOnOneSwitchThenTheOtherClearsItsEntries) {
   const json del = {
      {"plugin", "lacp"}, {"path", {"intfConfig", "Port-Channel10"}}, {"delete", true}};
   json delB = del, delA = del;
   delB["switch"] = "B";
   delA["switch"] = "A";
   MlagSim::Pair pair(scenarioOf(exampleWithSteps({delB, delA})));
   pair.start();

   pair.applyStep(0);
   json result = pair.resultJson();
   EXPECT_EQ(result["switches"][0]["plugins"]["lacp"]["interface"],
             json({{"lacp mode mlag10", {{"Port-Channel10", intfEntry("active", "")}}}}));
   EXPECT_EQ(result["switches"][1]["plugins"]["lacp"]["interface"],
             json({{"lacp mode mlag10", {{"PeerPort-Channel10", intfEntry("", "active")}}}}));
   EXPECT_EQ(pair.localRecord(1, "lacp")->nestedIntfConfigSize(), 0u);
   EXPECT_EQ(pair.peerRecord(0, "lacp")->nestedIntfConfigSize(), 0u);

   pair.applyStep(1);
   result = pair.resultJson();
   for (std::size_t sw = 0; sw < 2; ++sw) {
      EXPECT_EQ(result["switches"][sw]["plugins"]["lacp"]["interface"], json::object());
      EXPECT_EQ(result["switches"][sw]["plugins"]["lacp"]["record"]["nestedIntfConfig"],
                json::object());
   }
}

TEST(PairTest, MlagIdChangeMovesEntriesToTheNewName) {
   MlagSim::Pair pair(scenarioOf(exampleWithSteps({
      {{"switch", "A"}, {"mlag", "Port-Channel10"}, {"set", "11"}},
      {{"switch", "B"}, {"mlag", "Port-Channel10"}, {"set", "11"}},
   })));
   pair.start();
   pair.applyStep(0);
   json result = pair.resultJson();
   EXPECT_EQ(result["switches"][0]["plugins"]["lacp"]["interface"],
             json({{"lacp mode mlag11", {{"Port-Channel10", intfEntry("active", "active")}}}}));
   EXPECT_EQ(result["switches"][1]["plugins"]["lacp"]["interface"],
             json({{"lacp mode mlag10", {{"Port-Channel10", intfEntry("active", "active")}}}}));

   pair.applyStep(1);
   result = pair.resultJson();
   for (std::size_t sw = 0; sw < 2; ++sw) {
      EXPECT_EQ(result["switches"][sw]["plugins"]["lacp"]["interface"],
                json({{"lacp mode mlag11", {{"Port-Channel10", intfEntry("active", "active")}}}}));
   }
}

TEST(PairTest, NestedGroupIsNamedAndGroupedByItsKey) {
   const json doc = R"({
      "plugins": { "stp": {
         "nestedConfigCheckDesc": { "group": { "attrName": { "prio": "group priority" } } }
      } },
      "switches": [
         { "name": "A", "config": { "stp": { "group": { "g1": { "prio": 5 } } } } },
         { "name": "B", "config": { "stp": { "group": { "g1": { "prio": 7 } } } } }
      ],
      "steps": [ { "switch": "B", "plugin": "stp", "path": ["group", "g1"], "delete": true } ]
   })"_json;
   MlagSim::Pair pair(scenarioOf(doc));
   pair.start();
   json result = pair.resultJson();
   EXPECT_EQ(result["switches"][0]["plugins"]["stp"]["global"],
             json({{"group priority g1", globalEntry("5", "7", "g1")}}));
   EXPECT_EQ(result["switches"][0]["plugins"]["stp"]["record"]["nestedGlobalConfig"]["g1"]["attr"],
             json({{"prio", "5"}}));
   EXPECT_EQ(result["switches"][1]["plugins"]["stp"]["global"],
             json({{"group priority g1", globalEntry("7", "5", "g1")}}));

   pair.applyStep(0); // each side clears its own column; the other side's value keeps the entry
   result = pair.resultJson();
   EXPECT_EQ(result["switches"][0]["plugins"]["stp"]["global"],
             json({{"group priority g1", globalEntry("5", "", "g1")}}));
   EXPECT_EQ(result["switches"][1]["plugins"]["stp"]["global"],
             json({{"group priority g1", globalEntry("", "5", "g1")}}));
}

TEST(PairTest, ValuesAreComparedByTheirTextForms) {
   const json doc = R"({
      "plugins": { "mlag": {
         "attrName": { "delay": "reload delay", "enabled": "enabled", "name": "domain",
                       "unset": "unset", "peerOnly": "peer only" },
         "valueStrOverride": { "true": "on" }
      } },
      "switches": [
         { "name": "A", "config": { "mlag": {
            "delay": { "@type": "Mlag::ReloadDelay", "delay": 300 }, "enabled": true,
            "name": "it's", "unset": null } } },
         { "name": "B", "config": { "mlag": {
            "delay": { "@type": "Mlag::ReloadDelay", "delay": 300 }, "enabled": false,
            "name": "it's", "peerOnly": -1 } } }
      ]
   })"_json;
   const json global = runAll(doc)["switches"][0]["plugins"]["mlag"]["global"];
   EXPECT_EQ(global["reload delay"], globalEntry("300", "300"));
   EXPECT_EQ(global["enabled"], globalEntry("on", "false"));
   EXPECT_EQ(global["domain"], globalEntry("it\\'s", "it\\'s"));
   EXPECT_EQ(global["unset"], globalEntry("", ""));
   // A never configured it, yet its entity has the attribute, with no value.
   EXPECT_EQ(global["peer only"], globalEntry("", "-1"));
}

TEST(PairTest, EveryDescribedAttributeIsDeclaredOnBothSwitches) {
   json doc = json::parse(MlagSimTest::exampleScenario);
   doc["switches"][1].erase("config");
   doc.erase("steps");
   MlagSim::Pair pair(scenarioOf(doc));
   for (std::size_t sw = 0; sw < 2; ++sw) {
      const Kiv::KivType & type = pair.config(sw, "lacp")->kivType();
      ASSERT_NE(type.attr("systemPriority"), nullptr);
      EXPECT_FALSE(type.attr("systemPriority")->collection);
      ASSERT_NE(type.attr("vlan"), nullptr);
      EXPECT_TRUE(type.attr("vlan")->collection);
      ASSERT_NE(type.attr("intfConfig"), nullptr);
      EXPECT_TRUE(type.attr("intfConfig")->collection);
   }
   EXPECT_TRUE(pair.config(1, "lacp")->value("systemPriority").isNone());
   // A nested entity carries its descriptor's attributes too.
   const auto nested = pair.config(0, "lacp")->entityMember("intfConfig", "Port-Channel10");
   ASSERT_TRUE(nested);
   EXPECT_NE(nested->kivType().attr("mode"), nullptr);
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
}

} // namespace
