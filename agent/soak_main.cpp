// mlag-agent-soak: reloads random edit sequences into one agent and checks
// every result against a fresh agent started on the same file.
//
//   mlag-agent-soak --seeds 500              # seeds 0..499
//   mlag-agent-soak --first 1000 --seeds 50 --steps 60 --wide
//
// Exit status: 0 every reload matched, 1 a mismatch (printed), 2 usage error.
#include <CLI/CLI.hpp>
#include <cstdint>
#include <iostream>

#include "ReloadSoak.h"

int main(int argc, char ** argv) {
   CLI::App app{"Checks that reloading edited switch files gives the results of a fresh start.",
                "mlag-agent-soak"};
   std::uint64_t first = 0, seeds = 100;
   MlagSim::RandomLimits limits{.steps = 30};
   app.add_option("--first", first, "First seed (default 0)");
   app.add_option("--seeds", seeds, "Number of seeds (default 100)");
   app.add_option("--steps", limits.steps, "Edits per seed (default 30)");
   app.add_flag("--mlag-flap", limits.mlagFlap, "Mostly MLAG table edits");
   app.add_flag("--wide", limits.wide, "Nested collections large enough for several slices");
   CLI11_PARSE(app, argc, argv);
   for (std::uint64_t seed = first; seed < first + seeds; ++seed) {
      const std::string failure = MlagAgent::reloadSoak(seed, limits);
      if (!failure.empty()) {
         std::cout << failure << '\n';
         return 1;
      }
   }
   std::cout << seeds << " seeds: every reload matched a fresh start\n";
   return 0;
}
