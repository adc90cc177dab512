#include "ReloadSoak.h"

#include "SwitchAgent.h"
#include "kiv/System.h"
#include "sim/Pair.h"
#include "soak/Entropy.h"
#include "soak/Soak.h"

namespace MlagAgent {

namespace {

using Json = nlohmann::json;

// The result JSON of the pair the scenario describes, as far as the agent
// holds it: its switch first, the second switch without results.
Json pairResult(const Json & switchResult, const Json & scenario) {
   return {
      {"switches",
       {switchResult, {{"name", scenario["switches"][1]["name"]}, {"plugins", Json::object()}}}}};
}

MlagSim::SwitchFile switchFileOf(const Json & scenario, std::uint64_t seed) {
   const Json doc = {{"plugins", scenario["plugins"]}, {"switch", scenario["switches"][0]}};
   return MlagSim::parseSwitchFile(doc.dump(), "seed-" + std::to_string(seed) + ".switch.json");
}

} // namespace

std::string reloadSoak(std::uint64_t seed, const MlagSim::RandomLimits & limits) {
   MlagSim::SeededEntropy entropy(seed);
   Json scenario = MlagSim::randomScenarioJson(entropy, limits);
   const Json steps = scenario["steps"];
   Kiv::System::virtualTimeIs(0.0);
   MlagSim::LocalComparison comparison;
   comparison.configurationIs(scenario);
   SwitchAgent live(switchFileOf(scenario, seed));
   live.start();
   MlagSim::runUntilQuiet();
   for (std::size_t i = 0; i < steps.size();) {
      // Several edits in one reload, as an operator saving a file does.
      const std::size_t edits = 1 + static_cast< std::size_t >(entropy.below(3));
      for (std::size_t k = 0; k < edits && i < steps.size(); ++k, ++i) {
         MlagSim::applyStepToSwitches(scenario, steps[i]);
         comparison.configurationIs(scenario);
      }
      live.reload(switchFileOf(scenario, seed));
      MlagSim::runUntilQuiet();
      SwitchAgent fresh(switchFileOf(scenario, seed));
      fresh.start();
      MlagSim::runUntilQuiet();
      if (auto d = comparison.difference(pairResult(live.resultJson(), scenario),
                                         pairResult(fresh.resultJson(), scenario))) {
         return "seed " + std::to_string(seed) + ", reload after step " + std::to_string(i - 1) +
                ": the reloaded results differ from a fresh start's: " + *d;
      }
   }
   return {};
}

} // namespace MlagAgent
