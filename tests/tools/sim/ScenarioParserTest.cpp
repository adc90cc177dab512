#include <gtest/gtest.h>

#include <functional>

#include "ExampleScenario.h"
#include "Scenario.h"

namespace {

using nlohmann::json;

std::string errorOf(std::string_view text) {
   try {
      MlagSim::parseScenario(text, "s.json");
   } catch (const MlagSim::ScenarioError & e) {
      return e.what();
   }
   return "(accepted)";
}

// The example scenario, changed by `edit`.
std::string errorOfEdited(const std::function< void(json &) > & edit) {
   json doc = json::parse(MlagSimTest::exampleScenario);
   edit(doc);
   return errorOf(doc.dump());
}

json & lacpA(json & doc) { return doc["switches"][0]["config"]["lacp"]; }

TEST(ScenarioParserTest, ReadsTheExampleScenario) {
   const MlagSim::Scenario s = MlagSim::parseScenario(MlagSimTest::exampleScenario, "ex.json");
   EXPECT_EQ(s.fileName, "ex.json");
   EXPECT_EQ(s.description, "free text, optional");
   EXPECT_EQ(s.switches[0].name, "A");
   EXPECT_EQ(s.switches[1].mlag.at("Port-Channel10"), "10");
   EXPECT_EQ(s.plugins["lacp"]["attrName"]["systemPriority"], "LACP system priority");
   ASSERT_EQ(s.steps.size(), 4u);
   EXPECT_EQ(s.steps[0].describe(), "A: set lacp intfConfig/Port-Channel10/mode = 'passive'");
   EXPECT_EQ(s.steps[1].describe(), "B: delete lacp vlan/20");
   EXPECT_EQ(s.steps[2].describe(), "B: set mlag Port-Channel10 = '11'");
   EXPECT_EQ(s.steps[3].describe(), "A: delete mlag Port-Channel10");
   EXPECT_TRUE(s.steps[1].isDelete);
   EXPECT_TRUE(s.steps[1].value.is_null());
}

struct BadText {
   const char * text;
   const char * error;
};

TEST(ScenarioParserTest, RejectsBadJsonWithItsPosition) {
   const BadText cases[] = {
      {"{\n  \"plugins\": {},\n  \"switches\": [,]\n}",
       "s.json: line 3, column 16: syntax error while parsing value - unexpected ','; "
       "expected '[', '{', or a literal"},
      {"",
       "s.json: line 1, column 1: syntax error while parsing value - unexpected end of input; "
       "expected '[', '{', or a literal"},
      {R"({"plugins": {"a": {}, "a": {}}})", "s.json: /plugins/a: duplicate member 'a'"},
      {R"([{"x": 1}])", "s.json: top level: expected an object, found an array"},
   };
   for (const BadText & c : cases) EXPECT_EQ(errorOf(c.text), c.error) << c.text;
}

struct BadEdit {
   const char * what;
   std::function< void(json &) > edit;
   const char * error;
};

TEST(ScenarioParserTest, RejectsBadInputNamingFileLocationAndExpectation) {
   const BadEdit cases[] = {
      {"unknown top-level member", [](json & d) { d["colour"] = 1; },
       "s.json: /colour: unknown member 'colour'"},
      {"missing plugins", [](json & d) { d.erase("plugins"); },
       "s.json: top level: missing member 'plugins'"},
      {"unknown member of a nested descriptor",
       [](json & d) { d["plugins"]["lacp"]["nestedConfigCheckDesc"]["intfConfig"]["foo"] = 1; },
       "s.json: /plugins/lacp/nestedConfigCheckDesc/intfConfig/foo: unknown member 'foo'"},
      {"flag of the wrong kind",
       [](json & d) { d["plugins"]["lacp"]["mlagInterfacesOnly"] = "no"; },
       "s.json: /plugins/lacp/mlagInterfacesOnly: expected true or false, found \"no\""},
      {"descriptor map to a non-string",
       [](json & d) { d["plugins"]["lacp"]["defaultVal"]["x"] = 5; },
       "s.json: /plugins/lacp/defaultVal/x: expected a string, found 5"},
      {"scalar that is also a collection",
       [](json & d) { d["plugins"]["lacp"]["collectionName"]["systemPriority"] = "p"; },
       "s.json: /plugins/lacp/collectionName/systemPriority: attribute 'systemPriority' is a "
       "scalar (attrName names it), not a collection"},
      {"three switches", [](json & d) { d["switches"].push_back(d["switches"][0]); },
       "s.json: /switches: expected exactly two switches, found 3"},
      {"same name twice", [](json & d) { d["switches"][1]["name"] = "A"; },
       "s.json: /switches/1/name: switch 'A' is declared twice"},
      {"empty switch name", [](json & d) { d["switches"][0]["name"] = ""; },
       "s.json: /switches/0/name: expected a non-empty switch name"},
      {"unknown switch member", [](json & d) { d["switches"][0]["role"] = "primary"; },
       "s.json: /switches/0/role: unknown member 'role'"},
      {"bad interface name", [](json & d) { d["switches"][0]["mlag"]["Port-Channel01"] = "1"; },
       "s.json: /switches/0/mlag/Port-Channel01: invalid interface name 'Port-Channel01': "
       "number with a leading zero"},
      {"empty interface name", [](json & d) { d["switches"][0]["mlag"][""] = "1"; },
       "s.json: /switches/0/mlag/: expected an interface name, found the empty name"},
      {"MLAG id not a string", [](json & d) { d["switches"][1]["mlag"]["Port-Channel10"] = 10; },
       "s.json: /switches/1/mlag/Port-Channel10: expected a string, found 10"},
      {"plugin not declared", [](json & d) { d["switches"][1]["config"]["stp"] = json::object(); },
       "s.json: /switches/1/config/stp: plugin 'stp' is not declared"},
      {"non-integer number",
       [](json & d) { d["switches"][1]["config"]["lacp"]["vlan"]["20"] = 1.5; },
       "s.json: /switches/1/config/lacp/vlan/20: expected an integer, found 1.5"},
      {"integer out of range", [](json & d) { lacpA(d)["big"] = 18446744073709551615u; },
       "s.json: /switches/0/config/lacp/big: expected an integer of at most "
       "9223372036854775807, found 18446744073709551615"},
      {"array value", [](json & d) { lacpA(d)["list"] = json::array({1}); },
       "s.json: /switches/0/config/lacp/list: expected a value (a string, integer, boolean, "
       "null or object with '@type'), found an array"},
      {"collection where attrName names a scalar",
       [](json & d) { lacpA(d)["systemPriority"] = json::object(); },
       "s.json: /switches/0/config/lacp/systemPriority: expected a value (attrName names "
       "'systemPriority' as a scalar), found an object without '@type'"},
      {"value where a collection is described", [](json & d) { lacpA(d)["vlan"] = "10"; },
       "s.json: /switches/0/config/lacp/vlan: expected an object (the descriptor names 'vlan' as "
       "a collection), found \"10\""},
      {"nested collection of values",
       [](json & d) { lacpA(d)["intfConfig"]["Port-Channel10"] = "active"; },
       "s.json: /switches/0/config/lacp/intfConfig/Port-Channel10: expected an object (an "
       "entity: nestedConfigCheckDesc names 'intfConfig'), found \"active\""},
      {"type name not a string",
       [](json & d) {
          lacpA(d)["delay"] = {{"@type", 3}};
       },
       "s.json: /switches/0/config/lacp/delay/@type: expected a string, found 3"},
      {"reload delay without its delay",
       [](json & d) {
          lacpA(d)["delay"] = {{"@type", "Mlag::ReloadDelay"}};
       },
       "s.json: /switches/0/config/lacp/delay: missing member 'delay' (an Mlag::ReloadDelay is "
       "compared by its delay)"},
      {"collection field in a structured value",
       [](json & d) {
          lacpA(d)["delay"] = {{"@type", "T"}, {"f", json::object()}};
       },
       "s.json: /switches/0/config/lacp/delay/f: expected a value (a string, integer, boolean, "
       "null or object with '@type'), found an object without '@type'"},
      {"step on an undeclared switch", [](json & d) { d["steps"][0]["switch"] = "C"; },
       "s.json: /steps/0/switch: switch 'C' is not declared"},
      {"step on an undeclared plugin", [](json & d) { d["steps"][0]["plugin"] = "stp"; },
       "s.json: /steps/0/plugin: plugin 'stp' is not declared"},
      {"unknown step member", [](json & d) { d["steps"][1]["when"] = 3; },
       "s.json: /steps/1/when: unknown member 'when'"},
      {"step with both targets", [](json & d) { d["steps"][0]["mlag"] = "Port-Channel10"; },
       "s.json: /steps/0/mlag: expected either 'mlag' or 'plugin' and 'path', found both"},
      {"step with a plugin but no path", [](json & d) { d["steps"][0].erase("path"); },
       "s.json: /steps/0: missing member 'path'"},
      {"step with neither set nor delete", [](json & d) { d["steps"][0].erase("set"); },
       "s.json: /steps/0: expected 'set' or 'delete'"},
      {"step with set and delete", [](json & d) { d["steps"][0]["delete"] = true; },
       "s.json: /steps/0/delete: expected either 'set' or 'delete', found both"},
      {"delete that is not true", [](json & d) { d["steps"][1]["delete"] = false; },
       "s.json: /steps/1/delete: expected true, found false"},
      {"empty path", [](json & d) { d["steps"][0]["path"] = json::array(); },
       "s.json: /steps/0/path: expected a non-empty array of names, found an array"},
      {"path that does not exist", [](json & d) { d["steps"][0]["path"][1] = "Port-Channel99"; },
       "s.json: /steps/0/path/1: path does not exist: no member 'Port-Channel99' in "
       "'intfConfig'"},
      {"path through a value",
       [](json & d) {
          d["steps"][1]["path"] = {"vlan", "20", "x"};
       },
       "s.json: /steps/1/path/2: path does not exist: member '20' of 'vlan' is a value, not an "
       "entity"},
      {"set of a whole collection", [](json & d) { d["steps"][0]["path"] = {"vlan"}; },
       "s.json: /steps/0/path/0: expected a path to a scalar attribute or a collection member, "
       "found the collection 'vlan'"},
      {"set of an entity where one exists",
       [](json & d) {
          d["steps"][0]["path"] = {"intfConfig", "Port-Channel10"};
          d["steps"][0]["set"] = {{"mode", "active"}};
       },
       "s.json: /steps/0/set: a nested entity already exists at this path (delete it first)"},
      {"set of a float", [](json & d) { d["steps"][0]["set"] = 0.5; },
       "s.json: /steps/0/set: expected an integer, found 0.5"},
      {"MLAG id set to a number", [](json & d) { d["steps"][2]["set"] = 11; },
       "s.json: /steps/2/set: expected a string, found 11"},
      {"delete of an absent member", [](json & d) { d["steps"][3] = d["steps"][1]; },
       "s.json: /steps/3/path/1: path does not exist: no member '20' in 'vlan'"},
      {"delete of an MLAG interface twice", [](json & d) { d["steps"][2] = d["steps"][3]; },
       "s.json: /steps/3/mlag: path does not exist: 'Port-Channel10' is not in the MLAG "
       "configuration of switch 'A'"},
      {"delete of an attribute with no value",
       [](json & d) {
          d["steps"][1] = {{"switch", "B"}, {"plugin", "lacp"}, {"path", {"x"}}, {"delete", true}};
          d["switches"][1]["config"]["lacp"]["x"] = nullptr;
       },
       "s.json: /steps/1/path/0: path holds no value: nothing to delete"},
   };
   for (const BadEdit & c : cases) EXPECT_EQ(errorOfEdited(c.edit), c.error) << c.what;
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
      { "switch": "A", "mlag": "Ethernet1", "set": "" },
      { "switch": "A", "mlag": "Ethernet1", "delete": true }
   ])"_json;
   EXPECT_EQ(errorOf(doc.dump()), "(accepted)");
   doc["steps"].push_back(doc["steps"][3]);
   doc["steps"].push_back(doc["steps"][2]);
   EXPECT_EQ(errorOf(doc.dump()),
             "s.json: /steps/8/path/1: path does not exist: no member 'Ethernet1' in 'intfConfig'");
}

TEST(ScenarioParserTest, LoadNamesAFileThatCannotBeRead) {
   try {
      MlagSim::loadScenario("/nonexistent/scenario.json");
      FAIL() << "expected an error";
   } catch (const MlagSim::ScenarioError & e) {
      EXPECT_STREQ(e.what(), "/nonexistent/scenario.json: cannot open: No such file or directory");
   }
}

} // namespace
