// mlag-sim-soak: seeded random pair simulations under fault modes, with the
// soak invariants checked after every step (see tools/sim/Soak.h). Every failure
// prints one line that ends in the command that replays it.
//
//   mlag-sim-soak --seeds 500 --mode all --steps 30
//   mlag-sim-soak --seed 1234 --mode peerRestart --steps 30
//   mlag-sim-soak --seeds 200 --wide          # wide nested collections everywhere
//
// Exit status: 0 no failure, 1 at least one, 2 usage error.
#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "RandomScenario.h"
#include "Soak.h"

int main(int argc, char ** argv) {
   CLI::App app{"Runs seeded random MLAG pair simulations under fault modes and checks the soak "
                "invariants after every step.\nExit status: 0 no failure, 1 a failure, 2 usage "
                "error.",
                "mlag-sim-soak"};
   std::uint64_t seeds = 100, firstSeed = 1, seed = 0;
   std::size_t steps = 20;
   std::string mode = "all";
   app.add_option("--seeds", seeds, "How many seeds per mode (default 100)");
   app.add_option("--first-seed", firstSeed, "The first seed (default 1)");
   CLI::Option * one = app.add_option("--seed", seed, "Run this one seed only");
   app.add_option("--steps", steps, "Steps per scenario (default 20)");
   bool wide = false;
   app.add_flag("--wide", wide, "Wide nested collections under every mode");
   std::string scenarioFile;
   app.add_option("--write-scenario", scenarioFile,
                  "With --seed: write the seed's scenario (under the first mode) to FILE, for "
                  "mlag-config-check")
      ->option_text("FILE")
      ->needs(one);
   std::vector< std::string > modeNames = {"all"};
   for (MlagSim::FaultMode m : MlagSim::allFaultModes()) modeNames.push_back(faultModeName(m));
   app.add_option("--mode", mode, "A fault mode, or all (default)")
      ->check(CLI::IsMember(modeNames));
   try {
      app.parse(argc, argv);
   } catch (const CLI::ParseError & e) {
      return app.exit(e) == 0 ? 0 : 2;
   }

   std::vector< MlagSim::FaultMode > modes;
   if (mode == "all") {
      modes = MlagSim::allFaultModes();
   } else {
      modes.push_back(*MlagSim::faultModeNamed(mode));
   }
   if (one->count() > 0) {
      firstSeed = seed;
      seeds = 1;
   }
   if (!scenarioFile.empty()) {
      MlagSim::SeededEntropy entropy(seed);
      const MlagSim::FaultMode m = modes.front();
      const MlagSim::RandomLimits limits = MlagSim::soakLimits({seed, m, steps, wide});
      std::ofstream(scenarioFile) << MlagSim::randomScenarioJson(entropy, limits).dump(2) << '\n';
   }

   const auto start = std::chrono::steady_clock::now();
   std::uint64_t failures = 0, stepsRun = 0;
   for (MlagSim::FaultMode m : modes) {
      for (std::uint64_t s = firstSeed; s < firstSeed + seeds; ++s) {
         const MlagSim::SoakOutcome outcome = MlagSim::runSeed({s, m, steps, wide});
         stepsRun += outcome.stepsRun;
         if (!outcome.failure.empty()) {
            ++failures;
            std::cout << "FAIL " << outcome.failure << std::endl;
         }
      }
   }
   const double seconds =
      std::chrono::duration< double >(std::chrono::steady_clock::now() - start).count();
   std::cout << seeds << " seeds x " << modes.size() << " modes, " << steps
             << " steps each (" << stepsRun << " steps run): " << failures << " failures in "
             << static_cast< int >(seconds) << " s" << std::endl;
   return failures == 0 ? 0 : 1;
}
