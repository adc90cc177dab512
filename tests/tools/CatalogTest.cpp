#include "Catalog.h"

#include <gtest/gtest.h>

#include <tuple>

#include "ParamName.h"

namespace {

using MlagTool::CatalogEntry;

// Nested collections keyed by interfaces, by groups, by both and by nothing
// yet, one of them filled by a step only, and one nested two deep; mtu is
// described at three levels.
MlagSim::Scenario scenario() {
   return MlagSim::parseScenario(R"({
     "plugins": {
       "vlan": {
         "attrName": {"mode": "vlan mode", "hidden": "", "mtu": "mtu"},
         "collectionName": {"allowed": "allowed vlan", "plain": "vlan"},
         "defaultVal": {"mode": "access", "mtu": "1"},
         "nestedConfigCheckDesc": {
           "intfConfig": {"mlagInterfacesOnly": true, "absenceImpliesDefaultVal": true,
                          "attrName": {"mtu": "mtu"}, "defaultVal": {"mtu": "9214"},
                          "valueStrOverride": {"true": "on", "false": "off", "yes": ""}},
           "vlanConfig": {"attrName": {"name": "name"},
                          "nestedConfigCheckDesc": {"member": {"attrName": {"state": "state"}}}},
           "mixed": {"attrName": {"x": "x", "mtu": "mtu"}, "defaultVal": {"mtu": "1500"}},
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
         "vlan mode | mode | v |  | global | access", "mtu | mtu | v |  | global | 1",
         "allowed vlan | allowed | c |  | global | ", "vlan | plain | c |  | global | ",
         "mtu | mtu | v | intfConfig | MLAG id | 9214",
         "mtu | mtu | v | mixed | interface or group | 1500",
         "x | x | v | mixed | interface or group | ", "y | y | v | unused | interface or group | ",
         "name | name | v | vlanConfig | group | ",
         "state | state | v | vlanConfig/member | interface | "}));
   EXPECT_TRUE(entries[4].absenceImpliesDefault);
   EXPECT_TRUE(entries[4].mlagInterfacesOnly);
   // An empty replacement replaces nothing, so it is no override.
   EXPECT_EQ(entries[4].overrides,
             (std::map< std::string, std::string >{{"false", "off"}, {"true", "on"}}));

   const nlohmann::json json = MlagTool::catalogJson(entries);
   ASSERT_EQ(json["plugins"]["vlan"].size(), entries.size());
   EXPECT_EQ(json["plugins"]["vlan"][4]["valueOverrides"]["true"], "on");
   EXPECT_EQ(json["plugins"]["vlan"][4]["scope"], "MLAG id");

   const std::string table = MlagTool::catalogTable(entries);
   EXPECT_NE(table.find("9214 (equal counts as unset)"), std::string::npos);
   EXPECT_NE(table.find("false -> off, true -> on"), std::string::npos);
   EXPECT_EQ(MlagTool::catalogTable({}), "no parameters are checked\n");
}

// A name read back into its parts, and the entry that describes it: when
// descriptors at several levels use one display name, the one whose entries
// land where the name was found.
TEST(CatalogTest, ParameterNamesReadBackIntoTheirPartsAndDescriptor) {
   // A name, its group id and table, and what it reads back as: scope,
   // display name, member, group, MLAG id, and the describing entry's default.
   const std::tuple< const char *, const char *, bool, const char * > cases[] = {
      {"vlan mode", "", false, "global|vlan mode||||access"},
      // The longest collection name wins: "allowed vlan", not "vlan".
      {"30 allowed vlan", "", false, "global|allowed vlan|30|||"},
      {"30 vlan", "", false, "global|vlan|30|||"},
      {"mtu", "", false, "global|mtu||||1"},
      {"mtu g1", "g1", false, "group|mtu||g1||1500"},
      {"mtu", "", true, "interface|mtu||||1500"},
      {"mtu mlag10", "", true, "mlagId|mtu|||10|9214"},
      // Only MLAG-only descriptors append an MLAG id.
      {"x mlag10", "", true, "interface|x mlag10||||none"},
      {"x", "", true, "interface|x||||"},
      {"name vlan10", "vlan10", false, "group|name||vlan10||"},
      {"unknown vlan10", "vlan10", false, "group|unknown||vlan10||none"},
      // A group id the name does not end in is no group suffix.
      {"vlan mode", "vlan10", false, "global|vlan mode||||access"},
      {"not known", "", false, "global|not known||||none"},
      {"mtu mlag", "", true, "interface|mtu mlag||||none"}};
   const std::vector< CatalogEntry > entries = MlagTool::catalog(scenario());
   const MlagTool::ParamNameReader reader(entries, "vlan");
   for (const auto & [parameter, groupId, interfaceTable, parts] : cases) {
      const MlagTool::ParamName n = reader.read(parameter, groupId, interfaceTable);
      const CatalogEntry * e = reader.describedBy(n);
      EXPECT_EQ(std::string(MlagTool::scopeText(n.scope)) + "|" + n.name + "|" + n.member + "|" +
                   n.group + "|" + n.mlagId + "|" + (e ? e->defaultVal : "none"),
                parts);
   }
}

} // namespace
