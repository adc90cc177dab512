#include "ResultRows.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

using MlagTool::Status;

struct RuleCase {
   const char * local;
   const char * peer;
   const char * defaultVal;
   Status expected;
};

void PrintTo(const RuleCase & c, std::ostream * os) {
   *os << "local '" << c.local << "' peer '" << c.peer << "' default '" << c.defaultVal << "'";
}

class MismatchRuleTest : public ::testing::TestWithParam< RuleCase > {};

TEST_P(MismatchRuleTest, EmptyStandsForTheDefault) {
   const RuleCase & c = GetParam();
   EXPECT_EQ(MlagTool::compareValues(c.local, c.peer, c.defaultVal), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Rule, MismatchRuleTest,
                         ::testing::Values(RuleCase{"9000", "9000", "", Status::agree},
                                           RuleCase{"9000", "1500", "", Status::differ},
                                           RuleCase{"", "", "", Status::agree},
                                           RuleCase{"9000", "", "", Status::onlyLocal},
                                           RuleCase{"", "9000", "", Status::onlyPeer},
                                           // An absent value means the default.
                                           RuleCase{"", "1500", "1500", Status::agree},
                                           RuleCase{"1500", "", "1500", Status::agree},
                                           RuleCase{"", "9000", "1500", Status::differ},
                                           RuleCase{"9000", "", "1500", Status::differ},
                                           RuleCase{"", "", "1500", Status::agree},
                                           // The default never hides a real difference.
                                           RuleCase{"9000", "1500", "1500", Status::differ}));

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
               "allowed vlan 20": { "groupId": "", "local": "active", "peer": "" }
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

TEST(ResultRowsTest, GlobalRowsFirstThenInterfaceRowsSorted) {
   std::vector< MlagTool::PluginRows > plugins = MlagTool::resultRows(switchResult());
   ASSERT_EQ(plugins.size(), 2u);
   EXPECT_EQ(plugins[0].plugin, "lacp");
   EXPECT_EQ(plugins[1].plugin, "vlan");
   EXPECT_TRUE(plugins[1].rows.empty());

   const std::vector< MlagTool::Row > & rows = plugins[0].rows;
   ASSERT_EQ(rows.size(), 5u);
   EXPECT_EQ(rows[0].parameter, "allowed vlan 20");
   EXPECT_EQ(rows[0].status, Status::onlyLocal);
   EXPECT_EQ(rows[1].parameter, "system priority");
   EXPECT_EQ(rows[1].interface, "");
   EXPECT_EQ(rows[1].status, Status::agree);
   EXPECT_EQ(rows[2].parameter, "lacp mode mlag10");
   EXPECT_EQ(rows[2].status, Status::differ);
   EXPECT_EQ(rows[3].parameter, "mtu mlag10");
   EXPECT_EQ(rows[3].interface, "Port-Channel10");
   EXPECT_EQ(rows[3].status, Status::agree); // the local side holds the default
}

TEST(ResultRowsTest, ProvisionalKeyBecomesItsInterfaceOnlyOnThePeer) {
   const MlagTool::Row row = MlagTool::resultRows(switchResult())[0].rows[4];
   EXPECT_EQ(row.parameter, "mtu mlag10");
   EXPECT_EQ(row.interface, "Port-Channel20");
   EXPECT_EQ(row.local, "");
   EXPECT_EQ(row.peer, "9000");
   EXPECT_EQ(row.status, Status::onlyPeer);
}

TEST(ResultRowsTest, CountsAndSummaryLine) {
   MlagTool::Counts c = MlagTool::countRows(MlagTool::resultRows(switchResult()));
   EXPECT_EQ(c, (MlagTool::Counts{2, 1, 2}));
   EXPECT_EQ(c.mismatches(), 3u);
   EXPECT_EQ(MlagTool::summaryLine(c), "5 parameters: 2 agree, 1 differ, 2 only on one switch");
   EXPECT_EQ(MlagTool::summaryLine({1, 0, 0}), "1 parameter: 1 agree, 0 differ, 0 only on one switch");
}

TEST(ResultRowsTest, MissingTablesAreBadInput) {
   nlohmann::json bad = {{"name", "A"}, {"plugins", {{"lacp", {{"global", nlohmann::json::object()}}}}}};
   EXPECT_THROW(MlagTool::resultRows(bad), nlohmann::json::exception);
}

} // namespace
