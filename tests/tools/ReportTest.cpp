#include "Report.h"

#include <gtest/gtest.h>

namespace {

nlohmann::json plugin(nlohmann::json global, nlohmann::json interface) {
   return {{"global", std::move(global)},
           {"interface", std::move(interface)},
           {"record", nlohmann::json::object()}};
}

// Switch "left" has mtu 9000 on Port-Channel10 where "right" has the default
// 1500 (recorded as absent), and a domain id only "right" configures.
nlohmann::json pairResult() {
   nlohmann::json left = plugin(
      {{"domain id", {{"groupId", ""}, {"local", ""}, {"peer", "pod1"}}},
       {"peer link", {{"groupId", ""}, {"local", "Port-Channel1"}, {"peer", "Port-Channel1"}}}},
      {{"mtu mlag10",
        {{"Port-Channel10", {{"default", "1500"}, {"local", "9000"}, {"peer", ""}}}}}});
   nlohmann::json right = plugin(
      {{"domain id", {{"groupId", ""}, {"local", "pod1"}, {"peer", ""}}},
       {"peer link", {{"groupId", ""}, {"local", "Port-Channel1"}, {"peer", "Port-Channel1"}}}},
      {{"mtu mlag10",
        {{"Port-Channel10", {{"default", "1500"}, {"local", ""}, {"peer", "9000"}}}}}});
   return {{"switches",
            {{{"name", "left"}, {"plugins", {{"mlag", left}}}},
             {{"name", "right"}, {"plugins", {{"mlag", right}}}}}}};
}

TEST(ReportTest, FirstSwitchTableWithNamedColumnsAndSummary) {
   EXPECT_EQ(MlagTool::report(pairResult(), {}),
             "plugin mlag\n"
             "parameter   interface       left           right                 status\n"
             "----------  --------------  -------------  --------------------  -------------\n"
             "domain id   -               -              pod1                  only on right\n"
             "peer link   -               Port-Channel1  Port-Channel1         agree\n"
             "mtu mlag10  Port-Channel10  9000           unset (default 1500)  differ\n"
             "\n"
             "3 parameters: 1 agree, 1 differ, 1 only on one switch\n");
}

// The exit rule itself (hasMismatch) is checked beside the JSON report's
// consistency in ComparisonTest.
TEST(ReportTest, SecondSwitchOwnResultsGetTheirSummaryLine) {
   nlohmann::json result = pairResult();
   // The first switch sees full agreement; only the second's own results
   // still hold a difference.
   nlohmann::json & left = result["switches"][0]["plugins"]["mlag"];
   left["global"].erase("domain id");
   left["interface"]["mtu mlag10"]["Port-Channel10"]["peer"] = "9000";
   result["switches"][1]["plugins"]["mlag"]["global"].erase("domain id");
   EXPECT_NE(
      MlagTool::report(result, {})
         .find("in right's own results: 2 parameters: 1 agree, 1 differ, 0 only on one switch"),
      std::string::npos);
}

} // namespace
