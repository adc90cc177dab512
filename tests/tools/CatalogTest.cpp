#include "Catalog.h"

#include <gtest/gtest.h>

#include <tuple>

#include "ParamName.h"

namespace {

using MlagTool::CatalogEntry;

// Nested collections keyed by interfaces, by groups, by both and by nothing
// yet, one of them filled by a step only, and one nested two deep.
MlagSim::Scenario scenario() {
   return MlagSim::parseScenario(R"({
     "plugins": {
       "vlan": {
         "attrName": {"mode": "vlan mode", "hidden": ""},
         "collectionName": {"allowed": "allowed vlan", "plain": "vlan"},
         "defaultVal": {"mode": "access"},
         "nestedConfigCheckDesc": {
           "intfConfig": {"mlagInterfacesOnly": true, "absenceImpliesDefaultVal": true,
                          "attrName": {"mtu": "mtu"}, "defaultVal": {"mtu": "1500"},
                          "valueStrOverride": {"true": "on", "false": "off", "yes": ""}},
           "vlanConfig": {"attrName": {"name": "name"},
                          "nestedConfigCheckDesc": {"member": {"attrName": {"state": "state"}}}},
           "mixed": {"attrName": {"x": "x"}},
           "unused": {"attrName": {"y": "y"}}}}},
     "switches": [
       {"name": "A", "config": {"vlan": {
          "vlanConfig": {"vlan10": {"name": "a", "member": {"Ethernet2": {"state": "up"}}}},
          "mixed": {"Ethernet1": {"x": 1}}}}},
       {"name": "B", "config": {"vlan": {"mixed": {"g1": {"x": 1}}}}}],
     "steps": [{"switch": "A", "plugin": "vlan", "path": ["intfConfig", "Port-Channel10"],
                "set": {"mtu": 9000}}]
   })",
                                 "catalog.json");
}

TEST(CatalogTest, EveryCheckedParameterWithScopeDefaultAndOverrides) {
   const std::vector< CatalogEntry > entries = MlagTool::catalog(scenario());
   std::vector< std::string > seen;
   for (const CatalogEntry & e : entries) {
      seen.push_back(e.name + " | " + e.attribute + " | " + (e.collection ? "c" : "v") + " | " +
                     e.model + " | " + e.scope + " | " + e.defaultVal);
   }
   EXPECT_EQ(
      seen,
      (std::vector< std::string >{
         "vlan mode | mode | v |  | global | access", "allowed vlan | allowed | c |  | global | ",
         "vlan | plain | c |  | global | ", "mtu | mtu | v | intfConfig | MLAG id | 1500",
         "x | x | v | mixed | interface or group | ", "y | y | v | unused | interface or group | ",
         "name | name | v | vlanConfig | group | ",
         "state | state | v | vlanConfig/member | interface | "}));
   EXPECT_TRUE(entries[3].absenceImpliesDefault);
   EXPECT_TRUE(entries[3].mlagInterfacesOnly);
   // An empty replacement replaces nothing, so it is no override.
   EXPECT_EQ(entries[3].overrides,
             (std::map< std::string, std::string >{{"false", "off"}, {"true", "on"}}));

   const nlohmann::json json = MlagTool::catalogJson(entries);
   ASSERT_EQ(json["plugins"]["vlan"].size(), entries.size());
   EXPECT_EQ(json["plugins"]["vlan"][3]["valueOverrides"]["true"], "on");
   EXPECT_EQ(json["plugins"]["vlan"][3]["scope"], "MLAG id");

   const std::string table = MlagTool::catalogTable(entries);
   EXPECT_NE(table.find("1500 (equal counts as unset)"), std::string::npos);
   EXPECT_NE(table.find("false -> off, true -> on"), std::string::npos);
   EXPECT_EQ(MlagTool::catalogTable({}), "no parameters are checked\n");
}

TEST(CatalogTest, ParameterNamesReadBackIntoTheirParts) {
   // A name, its group id and table, and what it reads back as: scope,
   // display name, member, group and MLAG id.
   const std::tuple< const char *, const char *, bool, const char * > cases[] = {
      {"vlan mode", "", false, "global|vlan mode|||"},
      // The longest collection name wins: "allowed vlan", not "vlan".
      {"30 allowed vlan", "", false, "global|allowed vlan|30||"},
      {"30 vlan", "", false, "global|vlan|30||"},
      {"mtu mlag10", "", true, "mlagId|mtu|||10"},
      // Only MLAG-only descriptors append an MLAG id.
      {"x mlag10", "", true, "interface|x mlag10|||"},
      {"x", "", true, "interface|x|||"},
      {"name vlan10", "vlan10", false, "group|name||vlan10|"},
      {"unknown vlan10", "vlan10", false, "group|unknown||vlan10|"},
      // A group id the name does not end in is no group suffix.
      {"vlan mode", "vlan10", false, "global|vlan mode|||"},
      {"not known", "", false, "global|not known|||"},
      {"mtu mlag", "", true, "interface|mtu mlag|||"}};
   const std::vector< CatalogEntry > entries = MlagTool::catalog(scenario());
   const MlagTool::ParamNameReader reader(entries, "vlan");
   for (const auto & [parameter, groupId, interfaceTable, parts] : cases) {
      const MlagTool::ParamName n = reader.read(parameter, groupId, interfaceTable);
      EXPECT_EQ(std::string(MlagTool::scopeText(n.scope)) + "|" + n.name + "|" + n.member + "|" +
                   n.group + "|" + n.mlagId,
                parts);
   }
}

// One display name at several levels: the entry whose entries land where
// the name was found describes it.
TEST(CatalogTest, NameUsedAtSeveralLevelsIsDescribedByTheOneThatFilesThere) {
   const std::vector< CatalogEntry > entries =
      MlagTool::catalog(MlagSim::parseScenario(R"({
     "plugins": {"p": {
       "attrName": {"mtu": "mtu"}, "defaultVal": {"mtu": "1"},
       "nestedConfigCheckDesc": {
         "intfConfig": {"attrName": {"mtu": "mtu"}, "defaultVal": {"mtu": "1500"}},
         "mlagConfig": {"mlagInterfacesOnly": true, "attrName": {"mtu": "mtu"},
                        "defaultVal": {"mtu": "9214"}}}}},
     "switches": [{"name": "A"}, {"name": "B"}]
   })",
                                               "levels.json"));
   const MlagTool::ParamNameReader reader(entries, "p");
   auto defaultOf = [&](const char * parameter, const char * groupId, bool interfaceTable) {
      const CatalogEntry * e = reader.describedBy(reader.read(parameter, groupId, interfaceTable));
      return e ? e->defaultVal : "none";
   };
   EXPECT_EQ(defaultOf("mtu", "", false), "1");
   EXPECT_EQ(defaultOf("mtu g1", "g1", false), "1500");
   EXPECT_EQ(defaultOf("mtu", "", true), "1500");
   EXPECT_EQ(defaultOf("mtu mlag10", "", true), "9214");
   EXPECT_EQ(defaultOf("speed", "", false), "none");
}

} // namespace
