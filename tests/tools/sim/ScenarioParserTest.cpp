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

// Each case edits the example scenario; the error follows "s.json: ".
struct BadEdit {
   std::function< void(json &) > edit;
   const char * error;
};

TEST(ScenarioParserTest, RejectsBadInputNamingFileLocationAndExpectation) {
   const BadEdit cases[] = {
      {[](json & d) { d["colour"] = 1; }, "/colour: unknown member 'colour'"},
      {[](json & d) { d.erase("plugins"); }, "top level: missing member 'plugins'"},
      {[](json & d) { d["plugins"]["lacp"]["nestedConfigCheckDesc"]["intfConfig"]["foo"] = 1; },
       "/plugins/lacp/nestedConfigCheckDesc/intfConfig/foo: unknown member 'foo'"},
      {[](json & d) { d["plugins"]["lacp"]["mlagInterfacesOnly"] = "no"; },
       "/plugins/lacp/mlagInterfacesOnly: expected true or false, found \"no\""},
      {[](json & d) { d["plugins"]["lacp"]["defaultVal"]["x"] = 5; },
       "/plugins/lacp/defaultVal/x: expected a string, found 5"},
      {[](json & d) { d["plugins"]["lacp"]["collectionName"]["systemPriority"] = "p"; },
       "/plugins/lacp/collectionName/systemPriority: attribute 'systemPriority' is a "
       "scalar (attrName names it), not a collection"},
      {[](json & d) { d["switches"].push_back(d["switches"][0]); },
       "/switches: expected exactly two switches, found 3"},
      {[](json & d) { d["switches"][1]["name"] = "A"; },
       "/switches/1/name: switch 'A' is declared twice"},
      {[](json & d) { d["switches"][0]["name"] = ""; },
       "/switches/0/name: expected a non-empty switch name"},
      {[](json & d) { d["switches"][0]["role"] = "primary"; },
       "/switches/0/role: unknown member 'role'"},
      {[](json & d) { d["switches"][0]["mlag"]["Port-Channel01"] = "1"; },
       "/switches/0/mlag/Port-Channel01: invalid interface name 'Port-Channel01': "
       "number with a leading zero"},
      {[](json & d) { d["switches"][0]["mlag"][""] = "1"; },
       "/switches/0/mlag/: expected an interface name, found the empty name"},
      {[](json & d) { d["switches"][1]["mlag"]["Port-Channel10"] = 10; },
       "/switches/1/mlag/Port-Channel10: expected a string, found 10"},
      {[](json & d) { d["switches"][1]["config"]["stp"] = json::object(); },
       "/switches/1/config/stp: plugin 'stp' is not declared"},
      {[](json & d) { d["switches"][1]["config"]["lacp"]["vlan"]["20"] = 1.5; },
       "/switches/1/config/lacp/vlan/20: expected an integer, found 1.5"},
      {[](json & d) { lacpA(d)["big"] = 18446744073709551615u; },
       "/switches/0/config/lacp/big: expected an integer of at most "
       "9223372036854775807, found 18446744073709551615"},
      {[](json & d) { lacpA(d)["list"] = json::array({1}); },
       "/switches/0/config/lacp/list: expected a value (a string, integer, boolean, "
       "null or object with '@type'), found an array"},
      {[](json & d) { lacpA(d)["systemPriority"] = json::object(); },
       "/switches/0/config/lacp/systemPriority: expected a value (attrName names "
       "'systemPriority' as a scalar), found an object without '@type'"},
      {[](json & d) { lacpA(d)["vlan"] = "10"; },
       "/switches/0/config/lacp/vlan: expected an object (the descriptor names 'vlan' as "
       "a collection), found \"10\""},
      {[](json & d) { lacpA(d)["intfConfig"]["Port-Channel10"] = "active"; },
       "/switches/0/config/lacp/intfConfig/Port-Channel10: expected an object (an "
       "entity: nestedConfigCheckDesc names 'intfConfig'), found \"active\""},
      {[](json & d) {
          lacpA(d)["delay"] = {{"@type", 3}};
       },
       "/switches/0/config/lacp/delay/@type: expected a string, found 3"},
      {[](json & d) {
          lacpA(d)["delay"] = {{"@type", "Mlag::ReloadDelay"}};
       },
       "/switches/0/config/lacp/delay: missing member 'delay' (an Mlag::ReloadDelay is "
       "compared by its delay)"},
      {[](json & d) {
          lacpA(d)["delay"] = {{"@type", "T"}, {"f", json::object()}};
       },
       "/switches/0/config/lacp/delay/f: expected a value (a string, integer, boolean, "
       "null or object with '@type'), found an object without '@type'"},
      {[](json & d) { d["steps"][0]["switch"] = "C"; },
       "/steps/0/switch: switch 'C' is not declared"},
      {[](json & d) { d["steps"][0]["plugin"] = "stp"; },
       "/steps/0/plugin: plugin 'stp' is not declared"},
      {[](json & d) { d["steps"][1]["when"] = 3; }, "/steps/1/when: unknown member 'when'"},
      {[](json & d) { d["steps"][0]["mlag"] = "Port-Channel10"; },
       "/steps/0/mlag: expected either 'mlag' or 'plugin' and 'path', found both"},
      {[](json & d) { d["steps"][0].erase("path"); }, "/steps/0: missing member 'path'"},
      {[](json & d) { d["steps"][0].erase("set"); }, "/steps/0: expected 'set' or 'delete'"},
      {[](json & d) { d["steps"][0]["delete"] = true; },
       "/steps/0/delete: expected either 'set' or 'delete', found both"},
      {[](json & d) { d["steps"][1]["delete"] = false; },
       "/steps/1/delete: expected true, found false"},
      {[](json & d) { d["steps"][0]["path"] = json::array(); },
       "/steps/0/path: expected a non-empty array of names, found an array"},
      {[](json & d) { d["steps"][0]["path"][1] = "Port-Channel99"; },
       "/steps/0/path/1: path does not exist: no member 'Port-Channel99' in "
       "'intfConfig'"},
      {[](json & d) {
          d["steps"][1]["path"] = {"vlan", "20", "x"};
       },
       "/steps/1/path/2: path does not exist: member '20' of 'vlan' is a value, not an "
       "entity"},
      {[](json & d) { d["steps"][0]["path"] = {"vlan"}; },
       "/steps/0/path/0: expected a path to a scalar attribute or a collection member, "
       "found the collection 'vlan'"},
      {[](json & d) {
          d["steps"][0]["path"] = {"intfConfig", "Port-Channel10"};
          d["steps"][0]["set"] = {{"mode", "active"}};
       },
       "/steps/0/set: a nested entity already exists at this path (delete it first)"},
      {[](json & d) { d["steps"][0]["set"] = 0.5; },
       "/steps/0/set: expected an integer, found 0.5"},
      {[](json & d) { d["steps"][2]["set"] = 11; }, "/steps/2/set: expected a string, found 11"},
      {[](json & d) { d["steps"][3] = d["steps"][1]; },
       "/steps/3/path/1: path does not exist: no member '20' in 'vlan'"},
      {[](json & d) { d["steps"][2] = d["steps"][3]; },
       "/steps/3/mlag: path does not exist: 'Port-Channel10' is not in the MLAG "
       "configuration of switch 'A'"},
      {[](json & d) {
          d["steps"][1] = {{"switch", "B"}, {"plugin", "lacp"}, {"path", {"x"}}, {"delete", true}};
          d["switches"][1]["config"]["lacp"]["x"] = nullptr;
       },
       "/steps/1/path/0: path holds no value: nothing to delete"},
   };
   for (const BadEdit & c : cases)
      EXPECT_EQ(errorOfEdited(c.edit), std::string("s.json: ") + c.error);
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
