// Scenarios whose names the checker could not tell apart are refused, in the
// file and in the steps; the expected lines follow the checker's naming: a
// scalar files under its display name, a member as "<key> <display name>", a
// group's values with " <group>" added, an MLAG-only interface's with
// " mlag<id>", and nothing at all for an MLAG-only interface without an id.
#include <gtest/gtest.h>

#include "sim/Scenario.h"

namespace {

using nlohmann::json;

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

void expectCases(const std::vector< Case > & cases) {
   for (const Case & c : cases) {
      json doc = json::parse(base);
      const nlohmann::ordered_json edits = nlohmann::ordered_json::parse(expanded(c.edits));
      for (const auto & [at, value] : edits.items()) doc[json::json_pointer(at)] = value;
      std::string error;
      try {
         MlagSim::parseScenario(doc.dump(), "s.json");
      } catch (const MlagSim::ScenarioError & e) {
         error = e.what();
      }
      EXPECT_EQ(error, *c.error ? expanded("s.json: " + std::string(c.error)) : "") << c.what;
   }
}

TEST(ScenarioClashTest, NamesAndKeysInTheFile) {
   expectCases({
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
   });
}

TEST(ScenarioClashTest, WhatStepsCreateRemoveAndRename) {
   expectCases({
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
   });
}

} // namespace
