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

struct Case {
   const char * what;
   // Pointer and JSON; a JSON text that starts "{L " is a step changing L's p.
   std::vector< std::pair< std::string, std::string > > edits;
   // Empty: accepted. Else the line after "s.json: ", where "$" stands for
   // A's configuration of p, "<key>" and "<name>" for the advice on keys and names.
   std::string error;
};

// What the loader says of the base with the case's edits.
std::string errorOf(const Case & c) {
   json doc = json::parse(base);
   for (auto [at, text] : c.edits) {
      if (at.starts_with("$")) at.replace(0, 1, "/switches/0/config/p");
      if (text.starts_with("{L ")) text.replace(0, 3, R"({"switch": "L", "plugin": "p", )");
      doc[json::json_pointer(at)] = json::parse(text);
   }
   try {
      MlagSim::parseScenario(doc.dump(), "s.json");
   } catch (const MlagSim::ScenarioError & e) {
      return e.what();
   }
   return "";
}

std::string expected(const Case & c) {
   if (c.error.empty()) return "";
   std::string text = "s.json: " + c.error;
   const std::pair< std::string, std::string > marks[] = {
      {"$", "/switches/0/config/p"},
      {"<key>",
       ": the checker knows a nested configuration by its key alone; give it another key, or "
       "list members in a value collection of the group (collectionName) rather than as nested "
       "configurations"},
      {"<name>",
       ": the checker would keep only one of the two values; change a display name (attrName, "
       "collectionName) so that they differ"}};
   for (const auto & [mark, replacement] : marks) {
      for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos;
           at += replacement.size())
         text.replace(at, mark.size(), replacement);
   }
   return text;
}

TEST(ScenarioClashTest, NamesAndKeysInTheFile) {
   const Case cases[] = {
      {"two scalars, one display name",
       {{"/plugins/p/attrName/b", R"("A")"}},
       "$/b: results entry 'A' is already used by $/a<name>"},
      {"a display name equal to a member's name",
       {{"/plugins/p/attrName/a", R"("10 vlan")"}, {"$/vlan", R"({"10": "on"})"}},
       "$/vlan/10: results entry '10 vlan' is already used by $/a<name>"},
      {"a top-level name equal to a group's",
       {{"/plugins/p/attrName/a", R"("x g1")"}, {"$/groups", R"({"g1": {}})"}},
       "$/groups/g1/x: results entry 'x g1' is already used by $/a<name>"},
      {"a group named Local files without a suffix",
       {{"/plugins/p/attrName/a", R"("x")"}, {"$/groups", R"({"Local": {}})"}},
       "$/groups/Local/x: results entry 'x' is already used by $/a<name>"},
      {"empty display names name nothing",
       {{"/plugins/p/attrName/a", R"("")"}, {"/plugins/p/attrName/b", R"("")"}},
       ""},
      {"one interface in two groups",
       {{"$/groups",
         R"({"g1": {"members": {"Ethernet1": {}}}, "g2": {"members": {"Ethernet1": {}}}})"}},
       "$/groups/g2/members/Ethernet1: nested configuration key 'Ethernet1' is already used at "
       "$/groups/g1/members/Ethernet1<key>"},
      {"a key reused one level down",
       {{"$/groups", R"({"g1": {"members": {"g1": {}}}})"}},
       "$/groups/g1/members/g1: nested configuration key 'g1' is already used at $/groups/g1<key>"},
      {"a key in two nested collections, though the second files nothing",
       {{"$/groups", R"({"Ethernet2": {}})"}, {"$/intf", R"({"Ethernet2": {}})"}},
       "$/intf/Ethernet2: nested configuration key 'Ethernet2' is already used at "
       "$/groups/Ethernet2<key>"},
      {"an MLAG-only interface without an id files nothing",
       {{"/plugins/p/nestedConfigCheckDesc/intf/attrName/speed", R"("M")"},
        {"$/intf", R"({"Ethernet1": {}})"}},
       ""},
      {"with an id it files both under one name",
       {{"/plugins/p/nestedConfigCheckDesc/intf/attrName/speed", R"("M")"},
        {"$/intf", R"({"Ethernet1": {}})"},
        {"/switches/0/mlag", R"({"Ethernet1": "7"})"}},
       "$/intf/Ethernet1/speed: results entry 'M mlag7' of interface 'Ethernet1' is already used "
       "by $/intf/Ethernet1/mode<name>"},
      {"two interfaces file the same names apart",
       {{"$/intf", R"({"Ethernet1": {}, "Ethernet2": {}})"},
        {"/switches/0/mlag", R"({"Ethernet1": "7", "Ethernet2": "7"})"}},
       ""},
      {"the other switch is checked alike, an empty entity included",
       {{"/plugins/p/attrName/b", R"("A")"}, {"/switches/0/config", "{}"}},
       "$/b: results entry 'A' is already used by $/a<name>"},
      {"an empty MLAG id",
       {{"/switches/1/mlag", R"({"Ethernet1": ""})"}},
       "/switches/1/mlag/Ethernet1: expected a non-empty MLAG id (leave the interface out of "
       "'mlag' instead)"},
   };
   for (const Case & c : cases) EXPECT_EQ(errorOf(c), expected(c)) << c.what;
}

TEST(ScenarioClashTest, WhatStepsCreateRemoveAndRename) {
   const char * inGroup = R"({"g1": {"members": {"Ethernet1": {}}}})";
   const char * tenVlan = R"("10 vlan")";
   const char * modeAttr = "/plugins/p/nestedConfigCheckDesc/intf/attrName/mode";
   const char * setMember = R"({L "path": ["intf", "Ethernet1", "vlan", "10"], "set": "on"})";
   const Case cases[] = {
      {"a step adds an interface to a second group",
       {{"$/groups", inGroup},
        {"/steps/0", R"({L "path": ["groups", "g2"], "set": {"members": {"Ethernet1": {}}}})"}},
       "/steps/0/set/members/Ethernet1: nested configuration key 'Ethernet1' is already used at "
       "$/groups/g1/members/Ethernet1<key>"},
      {"a step adds a member whose name a scalar has",
       {{"/plugins/p/attrName/a", tenVlan},
        {"/steps/0", R"({L "path": ["vlan", "10"], "set": 1})"}},
       "/steps/0/set: results entry '10 vlan' is already used by $/a<name>"},
      {"a removed group frees its keys and names",
       {{"$/groups", inGroup},
        {"/plugins/p/attrName/a", R"("x g2")"},
        {"/steps/0", R"({L "path": ["groups", "g1"], "delete": true})"},
        {"/steps/1", R"({L "path": ["groups", "g1"], "set": {"members": {"g2": {}}}})"},
        {"/steps/2", R"({L "path": ["groups", "g1"], "delete": true})"},
        {"/steps/3", R"({L "path": ["groups", "Ethernet1"], "set": {}})"}},
       ""},
      {"a step reuses a key the other switch holds",
       {{"/switches/1/config", R"({"p": {"groups": {"g1": {}}}})"},
        {"/steps/0", R"({L "path": ["groups", "g1"], "set": {}})"}},
       ""},
      {"an MLAG id makes two names one",
       {{modeAttr, tenVlan},
        {"$/intf", R"({"Ethernet1": {"vlan": {"10": "on"}}})"},
        {"/steps/0", R"({"switch": "R", "mlag": "Ethernet1", "set": "5"})"},
        {"/steps/1", R"({"switch": "L", "mlag": "Ethernet1", "set": "5"})"}},
       "/steps/1: with MLAG id '5', $/intf/Ethernet1/vlan/10 and $/intf/Ethernet1/mode would share "
       "results entry '10 vlan mlag5' of interface 'Ethernet1'<name>"},
      {"without the id the same member files nothing",
       {{modeAttr, tenVlan},
        {"$/intf", R"({"Ethernet1": {}})"},
        {"/switches/0/mlag", R"({"Ethernet1": "4"})"},
        {"/steps/0", R"({"switch": "L", "mlag": "Ethernet1", "delete": true})"},
        {"/steps/1", setMember}},
       ""},
      {"what a step added is named by the step when an id files it",
       {{modeAttr, tenVlan},
        {"$/intf", R"({"Ethernet1": {}})"},
        {"/steps/0", setMember},
        {"/steps/1", R"({"switch": "L", "mlag": "Ethernet1", "set": "5"})"}},
       "/steps/1: with MLAG id '5', /steps/0/set and $/intf/Ethernet1/mode would share results "
       "entry '10 vlan mlag5' of interface 'Ethernet1'<name>"},
      {"a changed id renames what is filed",
       {{modeAttr, tenVlan},
        {"$/intf", R"({"Ethernet1": {}})"},
        {"/switches/0/mlag", R"({"Ethernet1": "4"})"},
        {"/steps/0", R"({"switch": "L", "mlag": "Ethernet1", "set": "6"})"},
        {"/steps/1", setMember}},
       "/steps/1/set: results entry '10 vlan mlag6' of interface 'Ethernet1' is already used by "
       "$/intf/Ethernet1/mode<name>"},
      {"an empty MLAG id in a step",
       {{"/steps/0", R"({"switch": "L", "mlag": "Ethernet1", "set": ""})"}},
       "/steps/0/set: expected a non-empty MLAG id (delete the interface instead)"},
   };
   for (const Case & c : cases) EXPECT_EQ(errorOf(c), expected(c)) << c.what;
}

} // namespace
