#include "soak/Soak.h"

#include <gtest/gtest.h>

#include <utility>

#include "ExampleScenario.h"
#include "kiv/System.h"
#include "sim/Pair.h"
#include "sim/ResultJson.h"
#include "sim/Scenario.h"
#include "soak/RandomScenario.h"

namespace {

using nlohmann::json;

TEST(SoakTest, GeneratedScenariosParseAndReplayDeterministically) {
   for (std::uint64_t seed = 1; seed <= 400; ++seed) {
      const MlagSim::RandomLimits limits{.steps = 25, .mlagFlap = seed % 2 == 0};
      MlagSim::SeededEntropy entropy((seed + 1) / 2), again((seed + 1) / 2);
      const json scenario = MlagSim::randomScenarioJson(entropy, limits);
      EXPECT_EQ(MlagSim::randomScenarioJson(again, limits), scenario);
      MlagSim::Scenario parsed;
      ASSERT_NO_THROW(parsed = MlagSim::parseScenario(scenario.dump(), "generated.json"))
         << "seed " << (seed + 1) / 2 << ": " << scenario.dump();
      EXPECT_EQ(parsed.steps.size(), 25u);
   }
}

TEST(SoakTest, EveryFaultModeRunsSeedsClean) {
   for (MlagSim::FaultMode mode : MlagSim::allFaultModes()) {
      EXPECT_EQ(MlagSim::faultModeNamed(MlagSim::faultModeName(mode)), mode);
      for (std::uint64_t seed = 1; seed <= 6; ++seed) {
         const MlagSim::SoakOutcome o = MlagSim::runSeed({seed, mode, 15});
         EXPECT_EQ(o.failure, "");
         EXPECT_EQ(o.stepsRun, 15u);
      }
   }
   EXPECT_EQ(MlagSim::replayCommand({7, MlagSim::FaultMode::peerRestart, 30}),
             "mlag-sim-soak --seed 7 --mode peerRestart --steps 30");
   EXPECT_EQ(MlagSim::replayCommand({1, MlagSim::FaultMode::none, 5, true}),
             "mlag-sim-soak --seed 1 --mode none --steps 5 --wide");
}

TEST(SoakTest, TheComparisonsSeeWhatDiffers) {
   MlagSim::SeededEntropy entropy(3);
   json scenario = MlagSim::randomScenarioJson(entropy, {.steps = 0});
   scenario["plugins"]["p0"]["attrName"]["s0"] = "s0";
   scenario["switches"][0]["config"]["p0"]["s0"] = 1;
   scenario["switches"][1]["config"]["p0"]["s0"] = 2;
   MlagSim::Pair pair(MlagSim::parseScenario(scenario.dump(), "t.json"));
   pair.start();
   const json result = pair.resultJson();

   json changedLocal = result;
   changedLocal["switches"][0]["plugins"]["p0"]["global"]["s0"]["local"] = "9";
   EXPECT_EQ(MlagSim::localDifference(changedLocal, result, scenario),
             "/A/p0/global/s0: \"9\" vs \"1\"");
   json changedRecord = result;
   changedRecord["switches"][1]["plugins"]["p0"]["record"]["attr"].erase("s0");
   EXPECT_EQ(MlagSim::localDifference(changedRecord, result, scenario),
             "/B/p0/record/attr/s0: only in the second");
   // A peer value is no local column, but it is part of the results.
   json changedPeer = result;
   changedPeer["switches"][0]["plugins"]["p0"]["global"]["s0"]["peer"] = "9";
   EXPECT_FALSE(MlagSim::localDifference(changedPeer, result, scenario));
   EXPECT_EQ(MlagSim::resultsDifference(changedPeer, result),
             "/A/p0/global/s0/peer: \"9\" vs \"2\"");
}

TEST(SoakTest, UnderATinyQuantumSlicesYield) {
   // Each machine's clock checks fall past its quantum: a slice ends after
   // its first few entries, and the rest waits for later slices.
   std::uint64_t yields = 0;
   for (std::uint64_t seed = 1; seed <= 10; ++seed) {
      MlagSim::SeededEntropy entropy(seed);
      const json scenario = MlagSim::randomScenarioJson(
         entropy, MlagSim::soakLimits({.mode = MlagSim::FaultMode::tinyQuantum, .steps = 0}));
      MlagSim::Pair pair(MlagSim::parseScenario(scenario.dump(), "t.json"));
      Kiv::System::virtualTimeIs(0.0);
      Kiv::System::timeReadStepIs(MlagSim::clockReadStep(MlagSim::FaultMode::tinyQuantum));
      pair.start();
      Kiv::System::timeReadStepIs(0.0);
      for (const auto & item : scenario["plugins"].items()) {
         for (const auto & sm : {pair.machine(0, item.key()), pair.machine(1, item.key())})
            yields += sm->statehubToP2pSm()->yieldBeforeFinishingCount() +
                      sm->p2pToStatehubSm()->yieldBeforeFinishingCount();
      }
   }
   EXPECT_GT(yields, 0u);
}

// Each fault leaves the pair quiet with the results it would have had
// without it: peer records come back from the other switch, machines and
// local records from the configurations, held-back changes arrive.
TEST(SoakTest, FaultsLeaveThePairWithTheResultsItWouldHaveHad) {
   const MlagSim::Scenario scenario =
      MlagSim::parseScenario(MlagSimTest::exampleScenario, "example.json");
   // The example's last step takes A's interface out of the MLAG
   // configuration: the change path then keeps a peer value that a restart
   // drops (the orphan rule of Soak.cpp). The first three steps have no such
   // history.
   const std::size_t steps = 3;
   MlagSim::Pair reference(scenario);
   reference.start();
   json model = json::parse(MlagSimTest::exampleScenario);
   for (std::size_t i = 0; i < steps; ++i) {
      reference.applyStep(i);
      MlagSim::applyStepToSwitches(model, model["steps"][i]);
   }
   const json expected = reference.resultJson();

   for (const bool machine : {false, true}) {
      for (const std::size_t restarted : {0u, 1u}) {
         MlagSim::Pair pair(scenario);
         pair.start();
         for (std::size_t i = 0; i <= steps; ++i) {
            if (i > 0) pair.applyStep(i - 1);
            machine ? pair.machineRestart(restarted) : pair.peerRestart(restarted);
         }
         SCOPED_TRACE(testing::Message() << "machine " << machine << " switch " << restarted);
         EXPECT_EQ(MlagSim::resultsDifference(pair.resultJson(), expected), std::nullopt);
         EXPECT_EQ(MlagSim::localDifference(pair.resultJson(), expected, model), std::nullopt);
         for (std::size_t sw = 0; sw < 2; ++sw) {
            EXPECT_EQ(MlagSim::recordJson(*pair.peerRecord(sw, "lacp")),
                      MlagSim::recordJson(*pair.localRecord(1 - sw, "lacp")));
         }
      }
   }
   for (std::uint64_t delay : {1u, 2u, 7u, 1000u}) {
      MlagSim::Pair pair(scenario);
      pair.transportDelayIs(delay);
      pair.start();
      for (std::size_t i = 0; i < steps; ++i) pair.applyStep(i);
      EXPECT_EQ(MlagSim::resultsDifference(pair.resultJson(), expected), std::nullopt) << delay;
      EXPECT_THROW(pair.transportDelayIs(0), std::logic_error);
   }
   MlagSim::Pair idle(scenario);
   EXPECT_THROW(idle.machineRestart(0), std::logic_error);
   EXPECT_FALSE(idle.machine(0, "lacp"));
   idle.start();
   // A restart makes new machines; the other switch keeps its own.
   const Kiv::Ptr< Mlag::ConfigCheck::MlagConfigCheckSm > a = idle.machine(0, "lacp");
   const Kiv::Ptr< Mlag::ConfigCheck::MlagConfigCheckSm > b = idle.machine(1, "lacp");
   idle.machineRestart(0);
   EXPECT_NE(idle.machine(0, "lacp"), a);
   EXPECT_EQ(idle.machine(1, "lacp"), b);
}

// A nested configuration removed with nested configurations of its own takes
// their entries with it, on both switches, as a fresh start would.
TEST(SoakTest, RemovingANestedConfigurationRemovesItsDescendantsEntries) {
   const json scenario = json::parse(R"({
     "plugins": {"p": {"nestedConfigCheckDesc": {"vlan": {
        "attrName": {"name": "name"},
        "nestedConfigCheckDesc": {"member": {"attrName": {"state": "state"}}}}}}},
     "switches": [
       {"name": "A", "config": {"p": {"vlan": {"vlan10": {"name": "a",
          "member": {"Ethernet1": {"state": "up"}, "group1": {"state": "down"}}}}}}},
       {"name": "B", "config": {"p": {"vlan": {"vlan10": {"name": "a",
          "member": {"Ethernet1": {"state": "up"}, "group1": {"state": "down"}}}}}}}],
     "steps": [{"switch": "B", "plugin": "p", "path": ["vlan", "vlan10"], "delete": true}]
   })");
   MlagSim::Pair pair(MlagSim::parseScenario(scenario.dump(), "t.json"));
   pair.start();
   json before = pair.resultJson();
   ASSERT_EQ(before["switches"][1]["plugins"]["p"]["interface"]["state"]["Ethernet1"]["local"],
             "up");
   ASSERT_EQ(before["switches"][1]["plugins"]["p"]["global"]["state group1"]["local"], "down");
   pair.applyStep(0);
   const json after = pair.resultJson();
   const json & b = after["switches"][1]["plugins"]["p"];
   EXPECT_EQ(b["global"], json::parse(R"({
      "name vlan10": {"groupId": "vlan10", "local": "", "peer": "a"},
      "state group1": {"groupId": "group1", "local": "", "peer": "down"}})"));
   // The peer value waits under the provisional key, as after a fresh start.
   EXPECT_EQ(b["interface"], json::parse(R"({"state": {"PeerEthernet1":
      {"default": "", "local": "", "peer": "up"}}})"));
   const json & a = after["switches"][0]["plugins"]["p"];
   EXPECT_EQ(a["global"]["state group1"]["peer"], "");
   EXPECT_EQ(a["interface"]["state"]["Ethernet1"]["peer"], "");
   EXPECT_EQ(MlagSim::checkScenario(scenario, MlagSim::FaultMode::none, 1), "");
}

} // namespace
