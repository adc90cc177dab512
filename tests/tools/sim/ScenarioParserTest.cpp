#include <gtest/gtest.h>

#include "ExampleScenario.h"
#include "ScenarioErrorOf.h"
#include "sim/Pair.h"
#include "sim/Scenario.h"
#include "soak/Soak.h"

namespace {

using nlohmann::json;

using MlagSimTest::errorOf;

TEST(ScenarioParserTest, ReadsTheExampleScenario) {
   const MlagSim::Scenario s = MlagSim::parseScenario(MlagSimTest::exampleScenario, "ex.json");
   EXPECT_EQ(s.description, "free text, optional");
   EXPECT_EQ(s.switches[0].name, "A");
   EXPECT_EQ(s.switches[1].mlag.at("Port-Channel10"), "10");
   EXPECT_EQ(s.plugins["lacp"]["attrName"]["systemPriority"], "LACP system priority");
   std::vector< std::string > steps;
   for (const MlagSim::Step & step : s.steps) steps.push_back(step.describe());
   EXPECT_EQ(steps,
             (std::vector< std::string >{
                "A: set lacp intfConfig/Port-Channel10/mode = 'passive'", "B: delete lacp vlan/20",
                "B: set mlag Port-Channel10 = '11'", "A: delete mlag Port-Channel10"}));
   EXPECT_TRUE(s.steps[1].isDelete);
   EXPECT_TRUE(s.steps[1].value.is_null());
}

// One edit of the example scenario: `json` put at the pointer `at`, where a
// null `json` erases and "@<pointer>" copies; a second edit is optional.
struct BadEdit {
   const char * at;
   const char * json;
   const char * error; // follows "s.json: ", or "s.json: <at>" when it starts with ": "
   const char * at2 = nullptr;
   const char * json2 = nullptr;
};

void apply(json & doc, const char * at, const char * text) {
   const json::json_pointer where(at);
   if (!text) {
      doc[where.parent_pointer()].erase(where.back());
   } else {
      doc[where] = text[0] == '@' ? doc[json::json_pointer(text + 1)] : json::parse(text);
   }
}

TEST(ScenarioParserTest, RejectsBadInputNamingFileLocationAndExpectation) {
   const char * bad = "expected a value (a string, integer, boolean, null or object with '@type')";
   const std::string anyValue = std::string(": ") + bad + ", found an array";
   const std::string untyped =
      std::string("/switches/0/config/lacp/delay/f: ") + bad + ", found an object without '@type'";
   const BadEdit cases[] = {
      {"/colour", "1", ": unknown member 'colour'"},
      {"/plugins", nullptr, "top level: missing member 'plugins'"},
      {"/plugins/lacp/nestedConfigCheckDesc/intfConfig/foo", "1", ": unknown member 'foo'"},
      {"/plugins/lacp/mlagInterfacesOnly", R"("no")", R"(: expected true or false, found "no")"},
      {"/plugins/lacp/defaultVal/x", "5", ": expected a string, found 5"},
      {"/plugins/lacp/collectionName/systemPriority", R"("p")",
       ": attribute 'systemPriority' is a scalar (attrName names it), not a collection"},
      {"/switches/-", "@/switches/0", "/switches: expected exactly two switches, found 3"},
      {"/switches/1/name", R"("A")", ": switch 'A' is declared twice"},
      {"/switches/0/name", R"("")", ": expected a non-empty switch name"},
      {"/switches/0/role", R"("primary")", ": unknown member 'role'"},
      {"/switches/0/mlag/Port-Channel01", R"("1")",
       ": invalid interface name 'Port-Channel01': number with a leading zero"},
      {"/switches/0/mlag/", R"("1")", ": expected an interface name, found the empty name"},
      {"/switches/1/mlag/Port-Channel10", "10", ": expected a string, found 10"},
      {"/switches/1/config/stp", "{}", ": plugin 'stp' is not declared"},
      {"/switches/1/config/lacp/vlan/20", "1.5", ": expected an integer, found 1.5"},
      {"/switches/0/config/lacp/big", "18446744073709551615",
       ": expected an integer from -9223372036854775808 to 9223372036854775807, found "
       "18446744073709551615"},
      {"/switches/0/config/lacp/list", "[1]", anyValue.c_str()},
      {"/switches/0/config/lacp/systemPriority", "{}",
       ": expected a value (attrName names 'systemPriority' as a scalar), found an object "
       "without '@type'"},
      {"/switches/0/config/lacp/vlan", R"("10")",
       R"(: expected an object (the descriptor names 'vlan' as a collection), found "10")"},
      {"/switches/0/config/lacp/intfConfig/Port-Channel10", R"("active")",
       R"(: expected an object (an entity: nestedConfigCheckDesc names 'intfConfig'), found "active")"},
      {"/switches/0/config/lacp/delay", R"({"@type": 3})",
       "/switches/0/config/lacp/delay/@type: expected a string, found 3"},
      {"/switches/0/config/lacp/delay", R"({"@type": "Mlag::ReloadDelay"})",
       ": missing member 'delay' (an Mlag::ReloadDelay is compared by its delay)"},
      {"/switches/0/config/lacp/delay", R"({"@type": "T", "f": {}})", untyped.c_str()},
      {"/steps/0/switch", R"("C")", ": switch 'C' is not declared"},
      {"/steps/0/plugin", R"("stp")", ": plugin 'stp' is not declared"},
      {"/steps/1/when", "3", ": unknown member 'when'"},
      {"/steps/0/mlag", R"("Port-Channel10")",
       ": expected either 'mlag' or 'plugin' and 'path', found both"},
      {"/steps/0/path", nullptr, "/steps/0: missing member 'path'"},
      {"/steps/0/set", nullptr, "/steps/0: expected 'set' or 'delete'"},
      {"/steps/0/delete", "true", ": expected either 'set' or 'delete', found both"},
      {"/steps/1/delete", "false", ": expected true, found false"},
      {"/steps/0/path", "[]", ": expected a non-empty array of names, found an array"},
      {"/steps/0/path/1", R"("Port-Channel99")",
       ": path does not exist: no member 'Port-Channel99' in 'intfConfig'"},
      {"/steps/1/path", R"(["vlan", "20", "x"])",
       "/steps/1/path/2: path does not exist: member '20' of 'vlan' is a value, not an entity"},
      {"/steps/0/path", R"(["vlan"])",
       "/steps/0/path/0: expected a path to a scalar attribute or a collection member, found "
       "the collection 'vlan'"},
      {"/steps/0/path", R"(["intfConfig", "Port-Channel10"])",
       "/steps/0/set: a nested entity already exists at this path (delete it first)",
       "/steps/0/set", R"({"mode": "active"})"},
      {"/steps/0/set", "0.5", ": expected an integer, found 0.5"},
      {"/steps/2/set", "11", ": expected a string, found 11"},
      {"/steps/3", "@/steps/1", "/steps/3/path/1: path does not exist: no member '20' in 'vlan'"},
      {"/steps/2", "@/steps/3",
       "/steps/3/mlag: path does not exist: 'Port-Channel10' is not in the MLAG configuration "
       "of switch 'A'"},
      {"/steps/1/path", R"(["x"])", "/steps/1/path/0: path holds no value: nothing to delete",
       "/switches/1/config/lacp/x", "null"},
      {"/steps/1/path", R"(["systemPriority"])",
       "/steps/1/path/0: path holds no value: nothing to delete", "/switches/1/config/lacp", "{}"},
      {"/steps/1/path", R"(["intfConfig", "Port-Channel10", "mode"])",
       "/steps/1/path/2: path holds no value: nothing to delete",
       "/switches/1/config/lacp/intfConfig/Port-Channel10", "{}"},
      {"/steps/1/path/1", R"("")", ": path does not exist: no member '' in 'vlan'"},
   };
   for (const BadEdit & c : cases) {
      json doc = json::parse(MlagSimTest::exampleScenario);
      apply(doc, c.at, c.json);
      if (c.at2) apply(doc, c.at2, c.json2);
      const std::string error = c.error;
      EXPECT_EQ(errorOf(doc.dump()), "s.json: " + (error.starts_with(": ") ? c.at + error : error))
         << c.at;
   }
}

TEST(ScenarioParserTest, StepsAreCheckedAgainstTheConfigurationEarlierStepsLeave) {
   json doc = json::parse(MlagSimTest::exampleScenario);
   doc["switches"][1].erase("config"); // B's entity still has every described attribute
   doc["steps"] = R"([
      { "switch": "B", "plugin": "lacp", "path": ["systemPriority"], "set": 1 },
      { "switch": "B", "plugin": "lacp", "path": ["intfConfig", "Ethernet1"], "set": {} },
      { "switch": "B", "plugin": "lacp", "path": ["intfConfig", "Ethernet1", "mode"], "set": "on" },
      { "switch": "B", "plugin": "lacp", "path": ["intfConfig", "Ethernet1"], "delete": true },
      { "switch": "B", "plugin": "lacp", "path": ["intfConfig", "Ethernet1"], "set": {} },
      { "switch": "A", "mlag": "Ethernet1", "set": "7" },
      { "switch": "A", "mlag": "Ethernet1", "delete": true }
   ])"_json;
   EXPECT_EQ(errorOf(doc.dump()), "(accepted)");
   doc["steps"].push_back(doc["steps"][3]);
   doc["steps"].push_back(doc["steps"][2]);
   EXPECT_EQ(errorOf(doc.dump()),
             "s.json: /steps/8/path/1: path does not exist: no member 'Ethernet1' in 'intfConfig'");
}

TEST(ScenarioParserTest, EmptyCollectionKeysRunThroughThePair) {
   // The checker names the empty key by its text form '': member "" of vlan
   // files as "'' vlan", group "" as the group ''.
   const json doc = R"({
      "plugins": { "p": { "collectionName": { "vlan": "vlan" },
                          "nestedConfigCheckDesc": { "groups": { "attrName": { "x": "x" } } } } },
      "switches": [
         { "name": "A", "config": { "p": { "vlan": { "": "on" }, "groups": { "": { "x": 1 } } } } },
         { "name": "B", "config": { "p": { "vlan": { "": "off" } } } } ],
      "steps": [
         { "switch": "B", "plugin": "p", "path": ["groups", ""], "set": { "x": 2 } },
         { "switch": "A", "plugin": "p", "path": ["vlan", ""], "delete": true },
         { "switch": "A", "plugin": "p", "path": ["vlan", ""], "set": "up" } ]
   })"_json;
   MlagSim::Pair pair(MlagSim::parseScenario(doc.dump(), "s.json"));
   pair.start();
   for (std::size_t i = 0; i < pair.stepCount(); ++i) pair.applyStep(i);
   const json global = pair.resultJson()["switches"][0]["plugins"]["p"]["global"];
   EXPECT_EQ(global["'' vlan"], json({{"groupId", ""}, {"local", "up"}, {"peer", "off"}}));
   EXPECT_EQ(global["x ''"], json({{"groupId", "''"}, {"local", "1"}, {"peer", "2"}}));
   for (MlagSim::FaultMode mode : {MlagSim::FaultMode::none, MlagSim::FaultMode::peerRestart,
                                   MlagSim::FaultMode::machineRestart}) {
      EXPECT_EQ(MlagSim::checkScenario(doc, mode, 1), "") << MlagSim::faultModeName(mode);
   }
}

} // namespace
