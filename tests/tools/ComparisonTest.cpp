#include "Comparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "Report.h"
#include "ResultRows.h"
#include "SetSummary.h"

namespace {

using MlagTool::ComparedValue;

// Each verdict has reasons of its own: the reason tells the verdict too.
TEST(ComparisonTest, VerdictOnEffectiveValuesAndItsReason) {
   struct Case {
      const char * local;
      const char * peer;
      const char * defaultVal;
      const char * provisionalIn;
      const char * reason;
   };
   const Case cases[] = {
      {"9000", "9000", "", "", "both have 9000"},
      {"", "", "1500", "", "both leave it unset (default 1500)"},
      {"", "1500", "1500", "", "A leaves it unset and its default 1500 is B's value"},
      {"1500", "", "1500", "", "B leaves it unset and its default 1500 is A's value"},
      {"9000", "1500", "", "", "A has 9000, B has 1500"},
      // The default never hides a real difference.
      {"9000", "1500", "1500", "", "A has 9000, B has 1500"},
      {"", "9000", "1500", "", "A leaves it unset (default 1500), B has 9000"},
      {"9000", "", "1500", "", "A has 9000, B leaves it unset (default 1500)"},
      {"9000", "", "", "", "only A has a value (9000); B has none and no default is known"},
      {"", "9000", "", "", "only B has a value (9000); A has none and no default is known"},
      {"", "9000", "", "A",
       "only B has a value (9000); A has none and no default is known; A has no entry of its own "
       "for Po10 (the peer value waits under the provisional key)"},
   };
   for (const Case & c : cases) {
      const auto status = *MlagTool::verdict(c.local, c.peer, c.defaultVal);
      const MlagTool::Row row{"mtu", "Po10", c.local, c.peer, status, c.defaultVal, false, {}};
      EXPECT_EQ(MlagTool::reason({"lacp", row, {}, c.provisionalIn}, {"A", "B"}), c.reason);
   }
}

nlohmann::json plugin(nlohmann::json global, nlohmann::json interface) {
   return {{"global", std::move(global)},
           {"interface", std::move(interface)},
           {"record", nlohmann::json::object()}};
}

nlohmann::json entry(const char * local, const char * peer, const char * defaultVal) {
   return {{"default", defaultVal}, {"local", local}, {"peer", peer}};
}

// A mirrored pair except for Port-Channel30, an MLAG interface on A only: A
// has its own entry, B holds A's value under the provisional key; and a
// domain id entry that B's results hold and A's have lost.
nlohmann::json pairResult() {
   nlohmann::json a = plugin({{"peer link", {{"groupId", ""}, {"local", "Po1"}, {"peer", "Po1"}}}},
                             {{"mtu mlag10", {{"Port-Channel10", entry("9000", "", "1500")}}},
                              {"mtu mlag30", {{"Port-Channel30", entry("9214", "", "1500")}}}});
   nlohmann::json b = plugin({{"domain id", {{"groupId", ""}, {"local", "pod1"}, {"peer", ""}}},
                              {"peer link", {{"groupId", ""}, {"local", "Po1"}, {"peer", "Po1"}}}},
                             {{"mtu mlag10", {{"Port-Channel10", entry("", "9000", "1500")}}},
                              {"mtu mlag30", {{"PeerPort-Channel30", entry("", "9214", "")}}}});
   return {
      {"switches",
       {{{"name", "A"}, {"plugins", {{"mlag", a}}}}, {{"name", "B"}, {"plugins", {{"mlag", b}}}}}}};
}

// Global entries first, by parameter, then interface entries; values turned
// to A's orientation. The provisional entry has no default, A's own has one:
// two entries.
TEST(ComparisonTest, MirroredEntriesMergeOthersStaySeparateAlsoInTheJsonReport) {
   std::vector< std::string > seen;
   for (const ComparedValue & v : MlagTool::comparedValues(pairResult(), {})) {
      std::string by;
      for (const std::string & name : v.seenBy) by += " " + name;
      seen.push_back(v.row.parameter + " " + v.row.interface + ": " + v.row.local + "/" +
                     v.row.peer + " " + MlagTool::verdictText(v.row.status) + " seen by" + by +
                     (v.provisionalIn.empty() ? "" : ", provisional in " + v.provisionalIn));
   }
   EXPECT_EQ(seen,
             (std::vector< std::string >{
                "domain id : /pod1 onlyOnSecond seen by B", "peer link : Po1/Po1 agree seen by A B",
                "mtu mlag10 Port-Channel10: 9000/ differ seen by A B",
                "mtu mlag30 Port-Channel30: 9214/ differ seen by A",
                "mtu mlag30 Port-Channel30: 9214/ onlyOnFirst seen by B, provisional in B"}));

   // The same values as the JSON report's rows.
   const nlohmann::json report = MlagTool::reportJson(pairResult(), {});
   EXPECT_EQ(report["switches"], (nlohmann::json{"A", "B"}));
   EXPECT_EQ(
      report["counts"],
      (nlohmann::json{
         {"agree", 1}, {"differ", 2}, {"onlyOnFirst", 1}, {"onlyOnSecond", 1}, {"total", 5}}));
   EXPECT_FALSE(report["consistent"].get< bool >());

   const nlohmann::json & mtu = report["rows"][2];
   EXPECT_EQ(mtu["scope"], "interface");
   EXPECT_EQ(mtu["first"],
             (nlohmann::json{{"switch", "A"}, {"raw", "9000"}, {"effective", "9000"}}));
   EXPECT_EQ(mtu["second"], (nlohmann::json{{"switch", "B"}, {"raw", ""}, {"effective", "1500"}}));
   EXPECT_EQ(mtu["verdict"], "differ");
   EXPECT_EQ(mtu["reason"], "A has 9000, B leaves it unset (default 1500)");
   EXPECT_EQ(report["rows"][4]["provisional"], true);
   // Consistency and the exit rule also with one switch's own results at
   // odds: SummaryReportAndExitStatusTellOneStory.
}

// Names and values reach the terminal escaped, in headings, tables and
// summary lines alike.
TEST(ComparisonTest, ReportWritesNoControlCharacters) {
   nlohmann::json a =
      plugin({{"9 vlan\r", {{"groupId", ""}, {"local", "a\nb"}, {"peer", "c"}}}}, {});
   nlohmann::json b =
      plugin({{"9 vlan\r", {{"groupId", ""}, {"local", "c"}, {"peer", "a\nb"}}}}, {});
   const nlohmann::json result = {{"switches",
                                   {{{"name", "A\x07"}, {"plugins", {{"x\x1b[2J", a}}}},
                                    {{"name", "B"}, {"plugins", {{"x\x1b[2J", b}}}}}}};
   MlagTool::CatalogEntry vlan;
   vlan.plugin = "x\x1b[2J";
   vlan.name = "vlan\r";
   vlan.collection = true;
   const std::string out = MlagTool::report(result, {}, {vlan});
   EXPECT_EQ(out,
             "plugin x\\x1b[2J\n"
             "parameter  interface  A\\x07  B  status\n"
             "---------  ---------  -----  -  ------\n"
             "9 vlan\\r   -          a\\nb   c  differ\n"
             "collections\n"
             "  vlan\\r: differ: 9 (a\\nb vs c)\n"
             "\n"
             "1 parameter: 0 agree, 1 differ, 0 only on one switch\n");
}

namespace orientation {

MlagTool::CatalogEntry described(const char * name, const char * defaultVal, bool nested,
                                 bool collection = false) {
   MlagTool::CatalogEntry e;
   e.plugin = "po";
   e.name = name;
   e.attribute = name;
   e.collection = collection;
   e.model = nested ? "intfConfig" : "";
   e.scope = nested ? "MLAG id" : "global";
   e.mlagInterfacesOnly = nested;
   e.defaultVal = defaultVal;
   return e;
}

std::vector< MlagTool::CatalogEntry > poCatalog() {
   MlagTool::CatalogEntry fallback = described("fallback", "true", true);
   fallback.overrides = {{"true", "enabled"}};
   return {described("system priority", "32768", false),
           described("domain", "", false),
           described("mtu", "1500", true),
           described("lacp mode", "", true),
           fallback,
           described("allowed vlan", "allowed", true, true)};
}

nlohmann::json global(const char * local, const char * peer) {
   return {{"groupId", ""}, {"local", local}, {"peer", peer}};
}

// Port-Channel30 is an MLAG interface on A only: A files its values under
// the interface, B holds them under the provisional key, without a default.
// Port-Channel10 is on both. A leaves the system priority unset and B sets
// it to its default; neither has a domain.
nlohmann::json result() {
   nlohmann::json a =
      plugin({{"system priority", global("", "32768")}, {"domain", global("", "")}},
             {{"mtu mlag10", {{"Port-Channel10", entry("", "9000", "1500")}}},
              {"mtu mlag30", {{"Port-Channel30", entry("9214", "", "1500")}}},
              {"lacp mode mlag30", {{"Port-Channel30", entry("active", "", "")}}},
              {"fallback mlag10", {{"Port-Channel10", entry("", "enabled", "true")}}},
              {"fallback mlag30", {{"Port-Channel30", entry("enabled", "", "true")}}},
              {"30 allowed vlan mlag30", {{"Port-Channel30", entry("allowed", "", "allowed")}}}});
   nlohmann::json b =
      plugin({{"system priority", global("32768", "")}, {"domain", global("", "")}},
             {{"mtu mlag10", {{"Port-Channel10", entry("9000", "", "1500")}}},
              {"mtu mlag30", {{"PeerPort-Channel30", entry("", "9214", "")}}},
              {"lacp mode mlag30", {{"PeerPort-Channel30", entry("", "active", "")}}},
              {"fallback mlag10", {{"Port-Channel10", entry("enabled", "", "true")}}},
              {"fallback mlag30", {{"PeerPort-Channel30", entry("", "enabled", "")}}},
              {"30 allowed vlan mlag30", {{"PeerPort-Channel30", entry("", "allowed", "")}}}});
   return {
      {"switches",
       {{{"name", "A"}, {"plugins", {{"po", a}}}}, {{"name", "B"}, {"plugins", {{"po", b}}}}}}};
}

nlohmann::json swapped(nlohmann::json r) {
   std::swap(r["switches"][0], r["switches"][1]);
   return r;
}

std::vector< std::string > verdicts(const nlohmann::json & r) {
   std::vector< std::string > out;
   for (const ComparedValue & v : MlagTool::comparedValues(r, poCatalog())) {
      out.push_back(v.row.parameter + " " + v.row.interface + ": " +
                    MlagTool::verdictText(v.row.status) + " seen by " +
                    std::to_string(v.seenBy.size()));
   }
   return out;
}

// One verdict per parameter, whichever switch comes first: a provisional
// entry takes the descriptor's default, a global one too, overrides apply
// to defaults, and an entry with nothing to compare is no parameter.
TEST(ComparisonTest, EitherSwitchFirstGivesTheSameVerdicts) {
   const std::vector< std::string > aFirst = {
      "system priority : agree seen by 2",
      "30 allowed vlan mlag30 Port-Channel30: agree seen by 2",
      "fallback mlag10 Port-Channel10: agree seen by 2",
      "fallback mlag30 Port-Channel30: agree seen by 2",
      "lacp mode mlag30 Port-Channel30: onlyOnFirst seen by 2",
      "mtu mlag10 Port-Channel10: differ seen by 2",
      "mtu mlag30 Port-Channel30: differ seen by 2"};
   EXPECT_EQ(verdicts(result()), aFirst);
   std::vector< std::string > bFirst = aFirst;
   bFirst[4] = "lacp mode mlag30 Port-Channel30: onlyOnSecond seen by 2";
   EXPECT_EQ(verdicts(swapped(result())), bFirst);

   for (const nlohmann::json & r : {result(), swapped(result())}) {
      const std::string first = r["switches"][0]["name"];
      const nlohmann::json counts = MlagTool::reportJson(r, poCatalog())["counts"];
      EXPECT_EQ(counts["agree"], 4) << first;
      EXPECT_EQ(counts["differ"], 2) << first;
      EXPECT_EQ(counts["onlyOnFirst"].get< int >() + counts["onlyOnSecond"].get< int >(), 1);
      EXPECT_EQ(counts["total"], 7) << first;
      EXPECT_TRUE(MlagTool::hasMismatch(r, poCatalog())) << first;
      // Both switches' own results count alike: one summary line.
      const std::string table = MlagTool::report(r, {}, poCatalog());
      EXPECT_TRUE(table.ends_with("\n\n7 parameters: 4 agree, 2 differ, 1 only on one switch\n"))
         << table;
   }
   // Unset values show the default they stand for.
   const std::string table = MlagTool::report(result(), {}, poCatalog());
   EXPECT_NE(table.find("system priority         -               unset (default 32768)    32768"
                        "                    agree\n"),
             std::string::npos)
      << table;
   EXPECT_NE(table.find("fallback mlag10         Port-Channel10  unset (default enabled)  enabled"
                        "                  agree\n"),
             std::string::npos)
      << table;
   EXPECT_EQ(table.find("domain"), std::string::npos);
}

// The summary lines, the JSON report and the exit status agree, also when
// only the second switch's own results hold a mismatch.
TEST(ComparisonTest, SummaryReportAndExitStatusTellOneStory) {
   nlohmann::json r = result();
   for (const char * side : {"a", "b"}) {
      nlohmann::json & plugins = r["switches"][side[0] == 'a' ? 0 : 1]["plugins"]["po"];
      for (const char * p : {"mtu mlag10", "mtu mlag30", "lacp mode mlag30"}) {
         plugins["interface"].erase(p);
      }
   }
   EXPECT_FALSE(MlagTool::hasMismatch(r, poCatalog()));
   EXPECT_TRUE(MlagTool::reportJson(r, poCatalog())["consistent"].get< bool >());
   EXPECT_TRUE(MlagTool::report(r, {}, poCatalog())
                  .ends_with("\n4 parameters: 4 agree, 0 differ, 0 only on one switch\n"));

   r["switches"][1]["plugins"]["po"]["global"]["domain"]["local"] = "pod1";
   EXPECT_TRUE(MlagTool::hasMismatch(r, poCatalog()));
   EXPECT_FALSE(MlagTool::reportJson(r, poCatalog())["consistent"].get< bool >());
   EXPECT_EQ(MlagTool::reportJson(r, poCatalog())["counts"]["onlyOnSecond"], 1);
   EXPECT_TRUE(MlagTool::report(r, {}, poCatalog())
                  .ends_with("\n4 parameters: 4 agree, 0 differ, 0 only on one switch\n"
                             "in B's own results: 5 parameters: 4 agree, 0 differ, 1 only on one "
                             "switch\n"));
}

} // namespace orientation

// One switch's results in the result JSON's shape. (An entry with nothing to
// compare leaves no row: EitherSwitchFirstGivesTheSameVerdicts.)
TEST(ResultRowsTest, GlobalRowsFirstThenInterfaceRowsSorted) {
   const nlohmann::json result = nlohmann::json::parse(R"({"name": "A", "plugins": {"lacp": {
      "global": {
         "system priority": { "groupId": "", "local": "32768", "peer": "32768" },
         "allowed vlan 20": { "groupId": "", "local": "active", "peer": "" } },
      "interface": {
         "mtu mlag10": {
            "Port-Channel10": { "default": "1500", "local": "", "peer": "1500" },
            "PeerPort-Channel20": { "default": "", "local": "", "peer": "9000" } },
         "lacp mode mlag10": {
            "Port-Channel10": { "default": "", "local": "active", "peer": "passive" } } },
      "record": {} }}})");
   const std::vector< MlagTool::PluginRows > plugins = MlagTool::resultRows(result);
   std::vector< std::string > rows;
   for (const MlagTool::Row & r : plugins.at(0).rows) {
      rows.push_back(r.parameter + " | " + r.interface + " | " + r.local + " | " + r.peer + " | " +
                     MlagTool::verdictText(r.status));
   }
   EXPECT_EQ(rows, (std::vector< std::string >{
                      "allowed vlan 20 |  | active |  | onlyOnFirst",
                      "system priority |  | 32768 | 32768 | agree",
                      "lacp mode mlag10 | Port-Channel10 | active | passive | differ",
                      // The local side holds the default.
                      "mtu mlag10 | Port-Channel10 |  | 1500 | agree",
                      // A provisional key becomes its interface, only on the peer, and
                      // sorts as that interface.
                      "mtu mlag10 | Port-Channel20 |  | 9000 | onlyOnSecond"}));
}

TEST(ResultRowsTest, AppliedDefaultIsTheRecordedOneElseTheDescriptorsWithOverrides) {
   MlagTool::CatalogEntry fallback;
   fallback.defaultVal = "true";
   fallback.overrides = {{"true", "enabled"}, {"1500", "jumbo"}, {"", "none"}};
   MlagTool::CatalogEntry none = fallback;
   none.defaultVal = "";
   // The recorded default, the descriptor, and the default applied.
   const std::tuple< const char *, const MlagTool::CatalogEntry *, const char * > cases[] = {
      {"", nullptr, ""},
      {"", &none, ""},                // no default: nothing to replace
      {"1500", nullptr, "1500"},      // no descriptor: no override either
      {"", &fallback, "enabled"},     // provisional or global: the descriptor's
      {"true", &fallback, "enabled"}, // recorded raw, compared overridden
      {"1500", &fallback, "jumbo"},   // the recorded one wins
      {"false", &fallback, "false"}}; // no override for it
   for (const auto & [recorded, descriptor, applied] : cases) {
      EXPECT_EQ(MlagTool::appliedDefault(recorded, descriptor), applied) << recorded;
   }
}

TEST(ResultRowsTest, MissingTablesAreBadInput) {
   nlohmann::json bad = {{"name", "A"},
                         {"plugins", {{"lacp", {{"global", nlohmann::json::object()}}}}}};
   EXPECT_THROW(MlagTool::resultRows(bad), nlohmann::json::exception);
}

using MlagTool::Row;
using MlagTool::Scope;

Row member(const char * collection, const char * key, Scope scope, const char * where,
           const char * local, const char * peer, const char * defaultVal = "") {
   const bool onInterface = scope == Scope::interface || scope == Scope::mlagId;
   const MlagTool::ParamName name{scope, collection, key, scope == Scope::group ? where : "",
                                  scope == Scope::mlagId ? "10" : ""};
   const auto status = *MlagTool::verdict(local, peer, defaultVal);
   const std::string parameter = std::string(key) + " " + collection;
   return {parameter, onInterface ? where : "", local, peer, status, defaultVal, false, name};
}

TEST(SetSummaryTest, OneLinePerCollectionAndScopeWithMembersInNaturalOrder) {
   std::vector< Row > rows = {
      member("allowed vlan", "40", Scope::mlagId, "Port-Channel10", "allowed", ""),
      member("allowed vlan", "100", Scope::mlagId, "Port-Channel10", "allowed", "allowed"),
      member("allowed vlan", "9", Scope::mlagId, "Port-Channel10", "allowed", "allowed"),
      member("allowed vlan", "30", Scope::mlagId, "Port-Channel10", "allowed", ""),
      member("allowed vlan", "50", Scope::mlagId, "Port-Channel10", "", "allowed"),
      member("allowed vlan", "60", Scope::mlagId, "Port-Channel10", "allowed", "denied"),
      // Same collection elsewhere: its own line.
      member("allowed vlan", "10", Scope::mlagId, "Port-Channel20", "allowed", "allowed"),
      member("priority", "10", Scope::global, "", "4096", "4096"),
      member("priority", "20", Scope::global, "", "", "8192", "4096"),
      member("member", "Ethernet10", Scope::group, "vlan10", "on", "on"),
      member("member", "Ethernet2", Scope::group, "vlan10", "on", "on"),
      member("speed", "1", Scope::interface, "Ethernet1", "", "", "auto")};
   Row scalar;
   scalar.parameter = "mtu";
   scalar.name.name = "mtu";
   scalar.status = MlagTool::Status::differ;
   rows.push_back(scalar); // not a member: no line

   const std::vector< MlagTool::SetSummary > sets = MlagTool::setSummaries(rows);
   std::vector< std::string > lines;
   for (const MlagTool::SetSummary & s : sets) lines.push_back(s.line("A", "B"));
   EXPECT_EQ(lines, (std::vector< std::string >{
                       "allowed vlan on Port-Channel10 (mlag10): 2 agree; differ: 60 (allowed vs "
                       "denied); only on A: 30, 40; only on B: 50",
                       "allowed vlan on Port-Channel20 (mlag10): all 1 agree",
                       "priority: 1 agree; differ: 20 (4096 vs 8192)",
                       "member in group vlan10: all 2 agree", "speed on Ethernet1: all 1 agree"}));

   EXPECT_EQ(sets[0].agree, (std::vector< std::string >{"9", "100"}));
   EXPECT_TRUE(sets[0].hasMismatch());
   EXPECT_FALSE(sets[1].hasMismatch());
   EXPECT_EQ(sets[3].agree, (std::vector< std::string >{"Ethernet2", "Ethernet10"}));
}

TEST(SetSummaryTest, NaturalOrderPutsNumbersByValueAndTextByteWise) {
   std::vector< std::string > keys = {"10",  "9",         "Ethernet1/10", "Ethernet1/9", "a",  "",
                                      "010", "Ethernet2", "b1",           "b01",         "1a", "1"};
   std::sort(keys.begin(), keys.end(), MlagTool::naturalLess);
   EXPECT_EQ(keys, (std::vector< std::string >{"", "1", "1a", "9", "010", "10", "Ethernet1/9",
                                               "Ethernet1/10", "Ethernet2", "a", "b01", "b1"}));
}

} // namespace
