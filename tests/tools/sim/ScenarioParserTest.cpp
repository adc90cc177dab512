// The scenario loader: bad input, names the checker could not tell apart and
// input past the limits refused in one line naming the file, the place and
// what was expected. (The example scenario read back: PairTest.)
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "ExampleScenario.h"
#include "sim/Pair.h"
#include "sim/Scenario.h"
#include "soak/Soak.h"

namespace {

using nlohmann::json;

// What the loader says: its one error line, or "(accepted)".
template < class Load >
std::string errorLine(Load load) {
   try {
      load();
   } catch (const MlagSim::ScenarioError & e) {
      return e.what();
   }
   return "(accepted)";
}

std::string errorOf(std::string_view text) {
   return errorLine([&] { MlagSim::parseScenario(text, "s.json"); });
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

// The loader's limits and failure classes: each ends in one ScenarioError
// line naming the file and the place, never in a crash, a cut or a multi-line
// message, and the limits hold while reading, before any tree is built.
std::string loadError(const std::string & path) {
   return errorLine([&] { MlagSim::loadScenario(path); });
}

// A valid scenario with `member` added to switch A's configuration of p.
std::string withValue(const std::string & member) {
   return R"({"plugins": {"p": {}}, "switches": [{"name": "A", "config": {"p": {)" + member +
          R"(}}}, {"name": "B"}]})";
}

// A chain of `n` structured values under attribute s: the scenario's own
// nesting is 5 deep at p's entity, so the chain ends at depth 5 + n.
std::string structChain(std::size_t n) {
   std::string text;
   for (std::size_t i = 0; i < n; ++i) text += R"({"@type": "T", "f": )";
   text += "1";
   for (std::size_t i = 0; i < n; ++i) text += "}";
   return withValue(R"("s": )" + text);
}

TEST(ScenarioLimitsTest, NestingIsAtMost64LevelsDeep) {
   EXPECT_EQ(errorOf(structChain(59)), "(accepted)");
   std::string deepest = "/switches/0/config/p/s";
   for (int i = 0; i < 59; ++i) deepest += "/f";
   EXPECT_EQ(errorOf(structChain(60)), "s.json: " + deepest + ": nesting deeper than 64 levels");

   // 20,000 levels stop at the 65th, before any tree is built.
   const std::string deep = std::string(20000, '[') + std::string(20000, ']');
   std::string at;
   for (int i = 0; i < 64; ++i) at += "/0";
   EXPECT_EQ(errorOf(deep), "s.json: " + at + ": nesting deeper than 64 levels");
}

// Names, texts and numbers within and past their limits.
TEST(ScenarioLimitsTest, NamesTextsAndNumbersWithinTheirLimits) {
   const std::string limit(65536, 'n');
   const std::string range =
      ": expected an integer from -9223372036854775808 to 9223372036854775807, found ";
   const std::string at = "s.json: /switches/0/config/p";
   const std::pair< std::string, std::string > cases[] = {
      {"\"" + limit + "\": \"" + limit + "\"", "(accepted)"},
      {"\"" + limit + "n\": 1",
       at + ": a member name of 65537 bytes, longer than the limit of 65536"},
      {"\"t\": \"" + limit + "n\"",
       at + "/t: a text of 65537 bytes, longer than the limit of 65536"},
      {R"("n": 9223372036854775807)", "(accepted)"},
      {R"("n": -9223372036854775808)", "(accepted)"},
      {R"("n": 9223372036854775808)", at + "/n" + range + "9223372036854775808"},
      {R"("n": -9223372036854775809)", at + "/n" + range + "-9223372036854775809"},
      {R"("n": 123456789012345678901234567890)",
       at + "/n" + range + "123456789012345678901234567890"},
      {R"("n": )" + std::string(400, '9'), at + "/n" + range + std::string(36, '9') + "..."},
      {R"("n": 1e999)", at + "/n: expected an integer, found 1e999"},
      {R"("n": -1e999)", at + "/n: expected an integer, found -1e999"},
      {R"("n": 1e5)", at + "/n: expected an integer, found 1e5"},
      {R"("n": 2.0)", at + "/n: expected an integer, found 2.0"},
      // An escaped NUL is text like any other.
      {R"("t": "a\u0000b")", "(accepted)"},
   };
   for (const auto & [member, error] : cases) {
      EXPECT_EQ(errorOf(withValue(member)), error) << member.substr(0, 40);
   }
}

// Bad JSON names its line and column; the library's own prefix goes, what is
// not printable is escaped.
TEST(ScenarioLimitsTest, BadTextGivesOneCleanLine) {
   const std::string syntax = "s.json: line 1, column ";
   const std::string nul = ": a NUL byte, which JSON allows nowhere (in a string, write \\u0000)";
   const std::pair< std::string, std::string > cases[] = {
      {"{\n  \"plugins\": {},\n  \"switches\": [,]\n}",
       "s.json: line 3, column 16: syntax error while parsing value - unexpected ','; "
       "expected '[', '{', or a literal"},
      {"", syntax + "1: syntax error while parsing value - unexpected end of input; "
                    "expected '[', '{', or a literal"},
      {R"({"plugins": {"a": {}, "a": {}}})", "s.json: /plugins/a: duplicate member 'a'"},
      {R"([{"x": 1}])", "s.json: top level: expected an object, found an array"},
      {"{\"description\": \"a\xff\"}",
       syntax + "19: syntax error while parsing value - invalid string: ill-formed UTF-8 byte; "
                "last read: '\"a\\xff'"},
      {std::string("{\"description\": \"a\0b\"}", 22), syntax + "19" + nul},
      {std::string("{}\n \0]", 6), "s.json: line 2, column 2" + nul},
      // An escaped NUL or newline shows escaped.
      {R"({"plugins": {"a\u0000b": {}, "a\u0000b": {}}})",
       "s.json: /plugins/a\\u0000b: duplicate member 'a\\u0000b'"},
      {R"({"plugins": {"a\nb": {}, "a\nb": {}}})",
       "s.json: /plugins/a\\u000ab: duplicate member 'a\\u000ab'"},
      // A long bad string is not repeated whole.
      {"[\"" + std::string(100, 'x') + "\xff\"]",
       syntax +
          "103: syntax error while parsing value - invalid string: ill-formed UTF-8 byte; "
          "last read: '\"" +
          std::string(35, 'x') + "...'"},
   };
   for (const auto & [text, error] : cases) EXPECT_EQ(errorOf(text), error) << text;
}

// Linux: a sparse file of all zero bytes, an endless device, a directory.
TEST(ScenarioLimitsTest, FilesTooLargeUnreadableOrOddlyNamedGiveOneLine) {
   const std::string big = ::testing::TempDir() + "scenario-limits-test.json",
                     odd = ::testing::TempDir() + "two\nlines.json";
   { std::ofstream(odd) << "[]"; }
   { std::ofstream file(big); }
   std::filesystem::resize_file(big, 64 * 1024 * 1024 + 1);
   const std::string tooLarge = ": larger than the limit of 67108864 bytes (64 MiB)";
   EXPECT_EQ(loadError(big), big + tooLarge);
   EXPECT_EQ(loadError("/dev/zero"), "/dev/zero" + tooLarge);
   EXPECT_EQ(loadError("/"), "/: cannot read: Is a directory");
   EXPECT_EQ(loadError("/nonexistent/scenario.json"),
             "/nonexistent/scenario.json: cannot open: No such file or directory");
   // The path in a message stays on one line.
   EXPECT_EQ(
      loadError(odd),
      ::testing::TempDir() + "two\\u000alines.json: top level: expected an object, found an array");
   std::remove(big.c_str());
   std::remove(odd.c_str());
}

// Scenarios whose names the checker could not tell apart are refused, in the
// file and in the steps; the expected lines follow the checker's naming: a
// scalar files under its display name, a member as "<key> <display name>", a
// group's values with " <group>" added, an MLAG-only interface's with
// " mlag<id>", and nothing at all for an MLAG-only interface without an id.

// Plugin p: scalars a and b, value collection vlan, groups that may nest
// members, and MLAG-only interface configurations.
const char * const base = R"({
  "plugins": { "p": {
    "attrName": { "a": "A", "b": "B" },
    "collectionName": { "vlan": "vlan" },
    "nestedConfigCheckDesc": {
      "groups": { "attrName": { "x": "x" },
                  "nestedConfigCheckDesc": { "members": { "attrName": { "mode": "mode" } } } },
      "intf": { "mlagInterfacesOnly": true, "attrName": { "mode": "M", "speed": "S" },
                "collectionName": { "vlan": "vlan" } } } } },
  "switches": [ { "name": "L", "config": { "p": {} } }, { "name": "R" } ],
  "steps": []
})";

void replaceAll(std::string & text, const std::string & mark, const std::string & by) {
   for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += by.size())
      text.replace(at, mark.size(), by);
}

// Marks shared by the edits and the expected lines: "$" stands for L's
// configuration of p, "%intf" and "%" for descriptors of p, "{L " opens a
// step changing L's p, "{L1 " and "{R1 " one changing a switch's MLAG id of
// Ethernet1, "<key>" and "<name>" the advice on keys and names.
std::string expanded(std::string text) {
   const std::pair< std::string, std::string > marks[] = {
      {"$", "/switches/0/config/p"},
      {"%intf", "/plugins/p/nestedConfigCheckDesc/intf"},
      {"%", "/plugins/p"},
      {"{L ", R"({"switch": "L", "plugin": "p", )"},
      {"{L1 ", R"({"switch": "L", "mlag": "Ethernet1", )"},
      {"{R1 ", R"({"switch": "R", "mlag": "Ethernet1", )"},
      {"<key>",
       ": the checker knows a nested configuration by its key alone; give it another key, or "
       "list members in a value collection of the group (collectionName) rather than as nested "
       "configurations"},
      {"<name>",
       ": the checker would keep only one of the two values; change a display name (attrName, "
       "collectionName) so that they differ"}};
   for (const auto & [mark, by] : marks) replaceAll(text, mark, by);
   return text;
}

struct Case {
   const char * what;
   const char * edits; // a JSON object of pointers and the values put there, in order
   const char * error; // empty: accepted; else the line after "s.json: "
};

TEST(ScenarioClashTest, NamesAndKeysInTheFileAndInTheSteps) {
   const Case cases[] = {
      {"two scalars, one display name", R"({"%/attrName/b": "A"})",
       "$/b: results entry 'A' is already used by $/a<name>"},
      {"a display name equal to a member's name",
       R"({"%/attrName/a": "10 vlan", "$/vlan": {"10": "on"}})",
       "$/vlan/10: results entry '10 vlan' is already used by $/a<name>"},
      {"a top-level name equal to a group's", R"({"%/attrName/a": "x g1", "$/groups": {"g1": {}}})",
       "$/groups/g1/x: results entry 'x g1' is already used by $/a<name>"},
      {"a group named Local files without a suffix",
       R"({"%/attrName/a": "x", "$/groups": {"Local": {}}})",
       "$/groups/Local/x: results entry 'x' is already used by $/a<name>"},
      {"empty display names name nothing", R"({"%/attrName/a": "", "%/attrName/b": ""})", ""},
      {"one interface in two groups",
       R"({"$/groups": {"g1": {"members": {"Ethernet1": {}}}, "g2": {"members": {"Ethernet1": {}}}}})",
       "$/groups/g2/members/Ethernet1: nested configuration key 'Ethernet1' is already used at "
       "$/groups/g1/members/Ethernet1<key>"},
      {"a key reused one level down", R"({"$/groups": {"g1": {"members": {"g1": {}}}}})",
       "$/groups/g1/members/g1: nested configuration key 'g1' is already used at $/groups/g1<key>"},
      {"a key in two nested collections, though the second files nothing",
       R"({"$/groups": {"Ethernet2": {}}, "$/intf": {"Ethernet2": {}}})",
       "$/intf/Ethernet2: nested configuration key 'Ethernet2' is already used at "
       "$/groups/Ethernet2<key>"},
      {"an MLAG-only interface without an id files nothing",
       R"({"%intf/attrName/speed": "M", "$/intf": {"Ethernet1": {}}})", ""},
      {"with an id it files both under one name",
       R"({"%intf/attrName/speed": "M", "$/intf": {"Ethernet1": {}},
           "/switches/0/mlag": {"Ethernet1": "7"}})",
       "$/intf/Ethernet1/speed: results entry 'M mlag7' of interface 'Ethernet1' is already used "
       "by $/intf/Ethernet1/mode<name>"},
      {"two interfaces file the same names apart",
       R"({"$/intf": {"Ethernet1": {}, "Ethernet2": {}},
           "/switches/0/mlag": {"Ethernet1": "7", "Ethernet2": "7"}})",
       ""},
      {"the other switch is checked alike, an empty entity included",
       R"({"%/attrName/b": "A", "/switches/0/config": {}})",
       "$/b: results entry 'A' is already used by $/a<name>"},
      {"an empty MLAG id", R"({"/switches/1/mlag": {"Ethernet1": ""}})",
       "/switches/1/mlag/Ethernet1: expected a non-empty MLAG id (leave the interface out of "
       "'mlag' instead)"},
      // What steps create, remove and rename.
      {"a step adds an interface to a second group",
       R"({"$/groups": {"g1": {"members": {"Ethernet1": {}}}},
           "/steps": [{L "path": ["groups", "g2"], "set": {"members": {"Ethernet1": {}}}}]})",
       "/steps/0/set/members/Ethernet1: nested configuration key 'Ethernet1' is already used at "
       "$/groups/g1/members/Ethernet1<key>"},
      {"a step adds a member whose name a scalar has",
       R"({"%/attrName/a": "10 vlan", "/steps": [{L "path": ["vlan", "10"], "set": 1}]})",
       "/steps/0/set: results entry '10 vlan' is already used by $/a<name>"},
      {"a removed group frees its keys and names",
       R"({"$/groups": {"g1": {"members": {"Ethernet1": {}}}}, "%/attrName/a": "x g2", "/steps": [
           {L "path": ["groups", "g1"], "delete": true},
           {L "path": ["groups", "g1"], "set": {"members": {"g2": {}}}},
           {L "path": ["groups", "g1"], "delete": true},
           {L "path": ["groups", "Ethernet1"], "set": {}}]})",
       ""},
      {"a step reuses a key the other switch holds",
       R"({"/switches/1/config": {"p": {"groups": {"g1": {}}}},
           "/steps": [{L "path": ["groups", "g1"], "set": {}}]})",
       ""},
      // From here on, Ethernet1's mode and its member 10 of vlan both file as "10 vlan".
      {"an MLAG id makes two names one",
       R"({"%intf/attrName/mode": "10 vlan", "$/intf": {"Ethernet1": {"vlan": {"10": "on"}}},
           "/steps": [{R1 "set": "5"}, {L1 "set": "5"}]})",
       "/steps/1: with MLAG id '5', $/intf/Ethernet1/vlan/10 and $/intf/Ethernet1/mode would share "
       "results entry '10 vlan mlag5' of interface 'Ethernet1'<name>"},
      {"without the id the same member files nothing",
       R"({"%intf/attrName/mode": "10 vlan", "$/intf": {"Ethernet1": {}},
           "/switches/0/mlag": {"Ethernet1": "4"}, "/steps": [{L1 "delete": true},
           {L "path": ["intf", "Ethernet1", "vlan", "10"], "set": "on"}]})",
       ""},
      {"what a step added is named by the step when an id files it",
       R"({"%intf/attrName/mode": "10 vlan", "$/intf": {"Ethernet1": {}}, "/steps": [
           {L "path": ["intf", "Ethernet1", "vlan", "10"], "set": "on"}, {L1 "set": "5"}]})",
       "/steps/1: with MLAG id '5', /steps/0/set and $/intf/Ethernet1/mode would share results "
       "entry '10 vlan mlag5' of interface 'Ethernet1'<name>"},
      {"a changed id renames what is filed",
       R"({"%intf/attrName/mode": "10 vlan", "$/intf": {"Ethernet1": {}},
           "/switches/0/mlag": {"Ethernet1": "4"}, "/steps": [{L1 "set": "6"},
           {L "path": ["intf", "Ethernet1", "vlan", "10"], "set": "on"}]})",
       "/steps/1/set: results entry '10 vlan mlag6' of interface 'Ethernet1' is already used by "
       "$/intf/Ethernet1/mode<name>"},
      {"an empty MLAG id in a step", R"({"/steps": [{L1 "set": ""}]})",
       "/steps/0/set: expected a non-empty MLAG id (delete the interface instead)"},
   };
   for (const Case & c : cases) {
      json doc = json::parse(base);
      const nlohmann::ordered_json edits = nlohmann::ordered_json::parse(expanded(c.edits));
      for (const auto & [at, value] : edits.items()) doc[json::json_pointer(at)] = value;
      EXPECT_EQ(errorOf(doc.dump()),
                *c.error ? expanded("s.json: " + std::string(c.error)) : "(accepted)")
         << c.what;
   }
}

} // namespace
