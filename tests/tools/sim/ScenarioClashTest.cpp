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

const std::string keyAdvice =
   ": the checker knows a nested configuration by its key alone; give it another key, or list "
   "members in a value collection of the group (collectionName) rather than as nested "
   "configurations";
const std::string nameAdvice =
   ": the checker would keep only one of the two values; change a display name (attrName, "
   "collectionName) so that they differ";

struct Case {
   const char * what;
   std::vector< std::pair< std::string, const char * > > edits; // pointer, JSON
   std::string error;                                           // empty: accepted
};

std::string errorOf(const Case & c) {
   json doc = json::parse(base);
   for (const auto & [at, text] : c.edits) doc[json::json_pointer(at)] = json::parse(text);
   try {
      MlagSim::parseScenario(doc.dump(), "s.json");
   } catch (const MlagSim::ScenarioError & e) {
      return e.what();
   }
   return "";
}

const std::string cfg = "/switches/0/config/p";

TEST(ScenarioClashTest, NamesAndKeysInTheFile) {
   const Case cases[] = {
      {"two scalars, one display name",
       {{"/plugins/p/attrName/b", R"("A")"}},
       "s.json: " + cfg + "/b: results entry 'A' is already used by " + cfg + "/a" + nameAdvice},
      {"a display name equal to a member's name",
       {{"/plugins/p/attrName/a", R"("10 vlan")"}, {cfg + "/vlan", R"({"10": "on"})"}},
       "s.json: " + cfg + "/vlan/10: results entry '10 vlan' is already used by " + cfg + "/a" +
          nameAdvice},
      {"a top-level name equal to a group's",
       {{"/plugins/p/attrName/a", R"("x g1")"}, {cfg + "/groups", R"({"g1": {}})"}},
       "s.json: " + cfg + "/groups/g1/x: results entry 'x g1' is already used by " + cfg + "/a" +
          nameAdvice},
      {"a group named Local files without a suffix",
       {{"/plugins/p/attrName/a", R"("x")"}, {cfg + "/groups", R"({"Local": {}})"}},
       "s.json: " + cfg + "/groups/Local/x: results entry 'x' is already used by " + cfg + "/a" +
          nameAdvice},
      {"empty display names name nothing",
       {{"/plugins/p/attrName/a", R"("")"}, {"/plugins/p/attrName/b", R"("")"}},
       ""},
      {"one interface in two groups",
       {{cfg + "/groups", R"({"g1": {"members": {"Ethernet1": {}}},
                              "g2": {"members": {"Ethernet1": {}}}})"}},
       "s.json: " + cfg +
          "/groups/g2/members/Ethernet1: nested configuration key 'Ethernet1' "
          "is already used at " +
          cfg + "/groups/g1/members/Ethernet1" + keyAdvice},
      {"a key reused one level down",
       {{cfg + "/groups", R"({"g1": {"members": {"g1": {}}}})"}},
       "s.json: " + cfg +
          "/groups/g1/members/g1: nested configuration key 'g1' is already used "
          "at " +
          cfg + "/groups/g1" + keyAdvice},
      {"a key in two nested collections, though the second files nothing",
       {{cfg + "/groups", R"({"Ethernet2": {}})"}, {cfg + "/intf", R"({"Ethernet2": {}})"}},
       "s.json: " + cfg +
          "/intf/Ethernet2: nested configuration key 'Ethernet2' is already used "
          "at " +
          cfg + "/groups/Ethernet2" + keyAdvice},
      {"an MLAG-only interface without an id files nothing",
       {{"/plugins/p/nestedConfigCheckDesc/intf/attrName/speed", R"("M")"},
        {cfg + "/intf", R"({"Ethernet1": {}})"}},
       ""},
      {"with an id it files both under one name",
       {{"/plugins/p/nestedConfigCheckDesc/intf/attrName/speed", R"("M")"},
        {cfg + "/intf", R"({"Ethernet1": {}})"},
        {"/switches/0/mlag", R"({"Ethernet1": "7"})"}},
       "s.json: " + cfg +
          "/intf/Ethernet1/speed: results entry 'M mlag7' of interface "
          "'Ethernet1' is already used by " +
          cfg + "/intf/Ethernet1/mode" + nameAdvice},
      {"two interfaces file the same names apart",
       {{cfg + "/intf", R"({"Ethernet1": {}, "Ethernet2": {}})"},
        {"/switches/0/mlag", R"({"Ethernet1": "7", "Ethernet2": "7"})"}},
       ""},
      {"the other switch is checked alike, an empty entity included",
       {{"/plugins/p/attrName/b", R"("A")"}, {"/switches/0/config", "{}"}},
       "s.json: " + cfg + "/b: results entry 'A' is already used by " + cfg + "/a" + nameAdvice},
      {"an empty MLAG id",
       {{"/switches/1/mlag", R"({"Ethernet1": ""})"}},
       "s.json: /switches/1/mlag/Ethernet1: expected a non-empty MLAG id (leave the interface out "
       "of 'mlag' instead)"},
   };
   for (const Case & c : cases) EXPECT_EQ(errorOf(c), c.error) << c.what;
}

TEST(ScenarioClashTest, WhatStepsCreateRemoveAndRename) {
   const char * inGroup = R"({"g1": {"members": {"Ethernet1": {}}}})";
   const std::string advice =
      "/steps/1: with MLAG id '5', " + cfg + "/intf/Ethernet1/vlan/10 and " + cfg +
      "/intf/Ethernet1/mode would share results entry '10 vlan mlag5' of interface 'Ethernet1'" +
      nameAdvice;
   const Case cases[] = {
      {"a step adds an interface to a second group",
       {{cfg + "/groups", inGroup},
        {"/steps/0", R"({"switch": "L", "plugin": "p", "path": ["groups", "g2"],
                         "set": {"members": {"Ethernet1": {}}}})"}},
       "s.json: /steps/0/set/members/Ethernet1: nested configuration key 'Ethernet1' is already "
       "used at " +
          cfg + "/groups/g1/members/Ethernet1" + keyAdvice},
      {"a step adds a member whose name a scalar has",
       {{"/plugins/p/attrName/a", R"("10 vlan")"},
        {"/steps/0", R"({"switch": "L", "plugin": "p", "path": ["vlan", "10"], "set": 1})"}},
       "s.json: /steps/0/set: results entry '10 vlan' is already used by " + cfg + "/a" +
          nameAdvice},
      {"a removed group frees its keys and names",
       {{cfg + "/groups", inGroup},
        {"/plugins/p/attrName/a", R"("x g2")"},
        {"/steps/0", R"({"switch": "L", "plugin": "p", "path": ["groups", "g1"], "delete": true})"},
        {"/steps/1", R"({"switch": "L", "plugin": "p", "path": ["groups", "g1"],
                         "set": {"members": {"g2": {}}}})"},
        {"/steps/2", R"({"switch": "L", "plugin": "p", "path": ["groups", "g1"], "delete": true})"},
        {"/steps/3", R"({"switch": "L", "plugin": "p", "path": ["groups", "Ethernet1"],
                         "set": {}})"}},
       ""},
      {"a step reuses a key the other switch holds",
       {{"/switches/1/config", R"({"p": {"groups": {"g1": {}}}})"},
        {"/steps/0", R"({"switch": "L", "plugin": "p", "path": ["groups", "g1"], "set": {}})"}},
       ""},
      {"an MLAG id makes two names one",
       {{"/plugins/p/nestedConfigCheckDesc/intf/attrName/mode", R"("10 vlan")"},
        {cfg + "/intf", R"({"Ethernet1": {"vlan": {"10": "on"}}})"},
        {"/steps/0", R"({"switch": "R", "mlag": "Ethernet1", "set": "5"})"},
        {"/steps/1", R"({"switch": "L", "mlag": "Ethernet1", "set": "5"})"}},
       "s.json: " + advice},
      {"without the id the same member files nothing",
       {{"/plugins/p/nestedConfigCheckDesc/intf/attrName/mode", R"("10 vlan")"},
        {cfg + "/intf", R"({"Ethernet1": {}})"},
        {"/switches/0/mlag", R"({"Ethernet1": "4"})"},
        {"/steps/0", R"({"switch": "L", "mlag": "Ethernet1", "delete": true})"},
        {"/steps/1", R"({"switch": "L", "plugin": "p", "path": ["intf", "Ethernet1", "vlan",
                         "10"], "set": "on"})"}},
       ""},
      {"what a step added is named by the step when an id files it",
       {{"/plugins/p/nestedConfigCheckDesc/intf/attrName/mode", R"("10 vlan")"},
        {cfg + "/intf", R"({"Ethernet1": {}})"},
        {"/steps/0", R"({"switch": "L", "plugin": "p", "path": ["intf", "Ethernet1", "vlan",
                         "10"], "set": "on"})"},
        {"/steps/1", R"({"switch": "L", "mlag": "Ethernet1", "set": "5"})"}},
       "s.json: /steps/1: with MLAG id '5', /steps/0/set and " + cfg +
          "/intf/Ethernet1/mode would share results entry '10 vlan mlag5' of interface "
          "'Ethernet1'" +
          nameAdvice},
      {"a changed id renames what is filed",
       {{"/plugins/p/nestedConfigCheckDesc/intf/attrName/mode", R"("10 vlan")"},
        {cfg + "/intf", R"({"Ethernet1": {}})"},
        {"/switches/0/mlag", R"({"Ethernet1": "4"})"},
        {"/steps/0", R"({"switch": "L", "mlag": "Ethernet1", "set": "6"})"},
        {"/steps/1", R"({"switch": "L", "plugin": "p", "path": ["intf", "Ethernet1", "vlan",
                         "10"], "set": "on"})"}},
       "s.json: /steps/1/set: results entry '10 vlan mlag6' of interface 'Ethernet1' is already "
       "used by " +
          cfg + "/intf/Ethernet1/mode" + nameAdvice},
      {"an empty MLAG id in a step",
       {{"/steps/0", R"({"switch": "L", "mlag": "Ethernet1", "set": ""})"}},
       "s.json: /steps/0/set: expected a non-empty MLAG id (delete the interface instead)"},
   };
   for (const Case & c : cases) EXPECT_EQ(errorOf(c), c.error) << c.what;
}

} // namespace
