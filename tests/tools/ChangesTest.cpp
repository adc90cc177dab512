#include "Changes.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "sim/Pair.h"
#include "sim/ResultWatch.h"
#include "soak/RandomScenario.h"

namespace {

using MlagTool::ChangeKind;
using MlagTool::ComparedValue;

ComparedValue value(const char * parameter, const char * local, const char * peer,
                    std::vector< std::string > seenBy = {"A", "B"}) {
   const auto status = *MlagTool::verdict(local, peer, "");
   return {"lacp", {parameter, "", local, peer, status, "", false, {}}, std::move(seenBy), ""};
}

std::vector< std::string > summary(const std::vector< MlagTool::Change > & changes) {
   std::vector< std::string > out;
   for (const MlagTool::Change & c : changes) {
      out.push_back(std::string(MlagTool::changeText(c.kind)) + " " + c.value.row.parameter + " " +
                    c.value.row.local + "/" + c.value.row.peer);
   }
   return out;
}

TEST(ChangesTest, OnlyRowsWhoseValuesVerdictOrHoldersMovedInRowOrder) {
   const std::vector< ComparedValue > before = {value("a", "1", "1"), value("b", "1", "1"),
                                                value("c", "1", "2"), value("d", "1", "1")};
   const std::vector< ComparedValue > after = {value("a", "1", "1"), value("b", "2", "1"),
                                               value("bb", "", "5"), value("d", "1", "1", {"A"}),
                                               value("d", "1", "", {"B"})};
   EXPECT_EQ(summary(MlagTool::changes(before, after)),
             (std::vector< std::string >{"changed b 2/1", "new bb /5", "cleared c 1/2",
                                         "changed d 1/1", "new d 1/"}));
   // Mismatches only: no cleared row, nothing that agrees.
   EXPECT_EQ(summary(MlagTool::mismatchesOnly(MlagTool::changes(before, after))),
             (std::vector< std::string >{"changed b 2/1", "new bb /5", "new d 1/"}));
   EXPECT_TRUE(MlagTool::changes(after, after).empty());
   EXPECT_EQ(MlagTool::changesTable({}, {"A", "B"}, false), "no changes\n");
}

TEST(ChangesTest, TableMarksEachRowAndWhoHoldsIt) {
   ComparedValue provisional = value("mtu mlag10", "", "9000", {"A"});
   provisional.row.interface = "Port-Channel10";
   provisional.provisionalIn = "A";
   const std::string table = MlagTool::changesTable(
      MlagTool::changes({value("x", "1", "1")}, {provisional}), {"A", "B"}, false);
   EXPECT_EQ(
      table,
      "change   plugin  parameter   interface       A  B     status     seen by\n"
      "-------  ------  ----------  --------------  -  ----  ---------  --------------------\n"
      "cleared  lacp    x           -               1  1     -          A, B\n"
      "new      lacp    mtu mlag10  Port-Channel10  -  9000  only on B  A (provisional on A)\n");
}

// Every step's changes worked out twice: from the whole results before and
// after the step, and from the entries the step touched. Returns how many
// rows changed, and how many of them are provisional.
std::pair< std::size_t, std::size_t > expectTouchedEqualsWhole(const MlagSim::Scenario & scenario,
                                                               const std::string & what) {
   const std::vector< MlagTool::CatalogEntry > catalog = MlagTool::catalog(scenario);
   MlagSim::Pair pair(scenario);
   pair.start();
   MlagSim::ResultWatch watch(pair);
   nlohmann::json before = pair.resultJson();
   std::size_t rows = 0, provisional = 0;
   for (std::size_t i = 0; i < pair.stepCount(); ++i) {
      pair.applyStep(i);
      nlohmann::json after = pair.resultJson();
      const std::vector< MlagTool::Change > whole = MlagTool::changes(
         MlagTool::comparedValues(before, catalog), MlagTool::comparedValues(after, catalog));
      const MlagSim::ResultWatch::Delta d = watch.delta();
      const std::vector< MlagTool::Change > touched = MlagTool::changes(
         MlagTool::comparedValues(d.before, catalog), MlagTool::comparedValues(d.after, catalog));
      const MlagTool::SwitchNames names = MlagTool::switchNames(after);
      EXPECT_EQ(MlagTool::changesTable(touched, names, false),
                MlagTool::changesTable(whole, names, false))
         << what << ", step " << i << ": " << scenario.steps[i].describe();
      rows += whole.size();
      for (const MlagTool::Change & c : whole) provisional += c.value.provisionalIn.empty() ? 0 : 1;
      before = std::move(after);
   }
   return {rows, provisional};
}

TEST(ChangesTest, TouchedEntriesGiveTheChangesOfTheWholeResults) {
   std::size_t rows = 0, provisional = 0;
   for (std::uint64_t seed = 1; seed <= 40; ++seed) {
      MlagSim::SeededEntropy entropy(seed);
      const MlagSim::RandomLimits limits{
         .steps = 25, .mlagFlap = seed % 3 == 0, .wide = seed % 4 == 0};
      const MlagSim::Scenario scenario = MlagSim::parseScenario(
         MlagSim::randomScenarioJson(entropy, limits).dump(), "seed-" + std::to_string(seed));
      const auto [r, p] = expectTouchedEqualsWhole(scenario, "seed " + std::to_string(seed));
      rows += r;
      provisional += p;
   }
   for (const auto & e : std::filesystem::directory_iterator(MLAG_EXAMPLES_DIR)) {
      if (e.path().extension() != ".json") continue;
      rows += expectTouchedEqualsWhole(MlagSim::loadScenario(e.path().string()), e.path()).first;
   }
   // The runs did move rows, provisional ones among them.
   EXPECT_GT(rows, 500u);
   EXPECT_GT(provisional, 10u);
}

} // namespace
