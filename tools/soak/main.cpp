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
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <limits>
#include <string>
#include <vector>

#include "RandomScenario.h"
#include "Soak.h"

namespace {

constexpr char toolName[] = "mlag-sim-soak";

// A usage error: one line, named after the tool.
int usageError(const std::string & message) {
   std::cerr << toolName << ": " << message << '\n';
   return 2;
}

// CLI11 words its own messages; they become the tool's one line.
std::string oneLine(std::string text) {
   while (!text.empty() && text.back() == '\n') text.pop_back();
   for (char & c : text) {
      if (c == '\n') c = ' ';
   }
   return text;
}

// Counts and seeds in decimal digits, within 64 bits: the option parser
// would take "-1" as 2^64 - 1, "010" as octal and a number too large as the
// largest.
const CLI::Validator decimal(
   [](const std::string & text) -> std::string {
      std::uint64_t value = 0;
      const char * end = text.data() + text.size();
      const auto [stop, error] = std::from_chars(text.data(), end, value);
      if (error == std::errc() && stop == end) return "";
      return "not a whole number from 0 to 2^64 - 1: " + text;
   },
   "NUMBER");

// Written in full before any seed runs; false (errno set) when it cannot be.
bool writeFile(const std::string & path, const std::string & text) {
   std::FILE * f = std::fopen(path.c_str(), "w");
   if (f == nullptr) return false;
   errno = 0;
   bool written = std::fputs(text.c_str(), f) >= 0 && std::fflush(f) == 0;
   const int error = errno;
   written = std::fclose(f) == 0 && written;
   if (error != 0) errno = error;
   return written;
}

} // namespace

int main(int argc, char ** argv) {
   CLI::App app{
      "Runs seeded random MLAG pair simulations under fault modes and checks the soak "
      "invariants after every step.\nExit status: 0 no failure, 1 a failure, 2 usage "
      "error.",
      toolName};
   std::uint64_t seeds = 100, firstSeed = 1, seed = 0;
   std::size_t steps = 20;
   std::string mode = "all";
   // Seeds are 0 to 2^64 - 1; a range of them must end within that.
   app.add_option("--seeds", seeds, "How many seeds per mode, at least 1 (default 100)")
      ->check(decimal);
   app.add_option("--first-seed", firstSeed, "The first seed, 0 to 2^64 - 1 (default 1)")
      ->check(decimal);
   CLI::Option * one =
      app.add_option("--seed", seed, "Run this one seed only, 0 to 2^64 - 1")->check(decimal);
   app.add_option("--steps", steps, "Steps per scenario (default 20)")->check(decimal);
   bool wide = false;
   app.add_flag("--wide", wide, "Wide nested collections under every mode");
   std::string scenarioFile;
   CLI::Option * write =
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
      // --help arrives here too, with exit code 0.
      if (e.get_exit_code() == 0) return app.exit(e);
      return usageError(oneLine(e.what()));
   }
   if (seeds == 0) return usageError("--seeds must be at least 1");
   if (firstSeed > std::numeric_limits< std::uint64_t >::max() - (seeds - 1)) {
      return usageError("--first-seed " + std::to_string(firstSeed) + " with --seeds " +
                        std::to_string(seeds) + " runs past the last seed, 2^64 - 1");
   }
   if (write->count() > 0 && scenarioFile.empty()) {
      return usageError("--write-scenario path is empty");
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
      if (!writeFile(scenarioFile, MlagSim::randomScenarioJson(entropy, limits).dump(2) + '\n')) {
         return usageError("cannot write the scenario to " + scenarioFile + ": " +
                           std::strerror(errno));
      }
   }

   const auto start = std::chrono::steady_clock::now();
   std::uint64_t failures = 0, stepsRun = 0;
   for (MlagSim::FaultMode m : modes) {
      for (std::uint64_t n = 0; n < seeds; ++n) {
         const std::uint64_t s = firstSeed + n;
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
   std::cout << seeds << " seeds x " << modes.size() << " modes, " << steps << " steps each ("
             << stepsRun << " steps run): " << failures << " failures in "
             << static_cast< int >(seconds) << " s" << std::endl;
   return failures == 0 ? 0 : 1;
}
