// Reloads of random edit sequences give the results of a fresh start on
// the same file (more seeds: mlag-agent-soak).
#include "ReloadSoak.h"

#include <gtest/gtest.h>

namespace {

TEST(ReloadSoakTest, ReloadEqualsFreshStart) {
   const std::pair< std::uint64_t, MlagSim::RandomLimits > seeds[] = {
      {1, {.steps = 30}},
      {2, {.steps = 30}},
      {3, {.steps = 30, .mlagFlap = true}},
      {4, {.steps = 20, .wide = true}},
      {5, {.steps = 30}}};
   for (const auto & [seed, limits] : seeds)
      EXPECT_EQ(MlagAgent::reloadSoak(seed, limits), "") << "seed " << seed;
}

} // namespace
