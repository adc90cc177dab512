#include "ResultRows.h"

#include <gtest/gtest.h>

#include "Comparison.h"

namespace {

// One switch's results in the result JSON's shape, keys deliberately out of
// order where the JSON object would sort them anyway.
nlohmann::json switchResult() {
   return nlohmann::json::parse(R"({
      "name": "A",
      "plugins": {
         "vlan": { "global": {}, "interface": {}, "record": {} },
         "lacp": {
            "global": {
               "system priority": { "groupId": "", "local": "32768", "peer": "32768" },
               "allowed vlan 20": { "groupId": "", "local": "active", "peer": "" },
               "nothing to compare": { "groupId": "", "local": "", "peer": "" }
            },
            "interface": {
               "mtu mlag10": {
                  "Port-Channel10": { "default": "1500", "local": "", "peer": "1500" },
                  "PeerPort-Channel20": { "default": "", "local": "", "peer": "9000" }
               },
               "lacp mode mlag10": {
                  "Port-Channel10": { "default": "", "local": "active", "peer": "passive" }
               },
               "empty table": {}
            },
            "record": {}
         }
      }
   })");
}

// The verdict rules themselves are tabled in ComparisonTest.
TEST(ResultRowsTest, GlobalRowsFirstThenInterfaceRowsSorted) {
   std::vector< MlagTool::PluginRows > plugins = MlagTool::resultRows(switchResult());
   ASSERT_EQ(plugins.size(), 2u);
   EXPECT_EQ(plugins[0].plugin, "lacp");
   EXPECT_TRUE(plugins[1].rows.empty());

   std::vector< std::string > rows;
   for (const MlagTool::Row & r : plugins[0].rows) {
      rows.push_back(r.parameter + " | " + r.interface + " | " + r.local + " | " + r.peer + " | " +
                     MlagTool::verdictText(r.status));
   }
   EXPECT_EQ(rows, (std::vector< std::string >{
                      "allowed vlan 20 |  | active |  | onlyOnFirst",
                      "system priority |  | 32768 | 32768 | agree",
                      "lacp mode mlag10 | Port-Channel10 | active | passive | differ",
                      // The local side holds the default.
                      "mtu mlag10 | Port-Channel10 |  | 1500 | agree",
                      // A provisional key becomes its interface, only on the peer.
                      "mtu mlag10 | Port-Channel20 |  | 9000 | onlyOnSecond"}));
}

TEST(ResultRowsTest, AppliedDefaultIsTheRecordedOneElseTheDescriptorsWithOverrides) {
   MlagTool::CatalogEntry fallback;
   fallback.defaultVal = "true";
   fallback.overrides = {{"true", "enabled"}, {"1500", "jumbo"}, {"", "none"}};
   MlagTool::CatalogEntry none = fallback;
   none.defaultVal = "";
   struct Case {
      const char * recorded;
      const MlagTool::CatalogEntry * descriptor;
      const char * applied;
   };
   const Case cases[] = {{"", nullptr, ""},
                         {"", &none, ""},                // no default: nothing to replace
                         {"1500", nullptr, "1500"},      // no descriptor: no override either
                         {"", &fallback, "enabled"},     // provisional or global: the descriptor's
                         {"true", &fallback, "enabled"}, // recorded raw, compared overridden
                         {"1500", &fallback, "jumbo"},   // the recorded one wins
                         {"false", &fallback, "false"}}; // no override for it
   for (const Case & c : cases) {
      EXPECT_EQ(MlagTool::appliedDefault(c.recorded, c.descriptor), c.applied) << c.recorded;
   }
}

TEST(ResultRowsTest, MissingTablesAreBadInput) {
   nlohmann::json bad = {{"name", "A"},
                         {"plugins", {{"lacp", {{"global", nlohmann::json::object()}}}}}};
   EXPECT_THROW(MlagTool::resultRows(bad), nlohmann::json::exception);
}

} // namespace
