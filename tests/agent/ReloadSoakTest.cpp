// Reloads of random edit sequences give the results of a fresh start on
// the same file (more seeds: mlag-agent-soak).
#include "ReloadSoak.h"

#include <gtest/gtest.h>

namespace {

struct Case {
   std::uint64_t seed;
   MlagSim::RandomLimits limits;
};

class ReloadSoakTest : public ::testing::TestWithParam< Case > {};

TEST_P(ReloadSoakTest, ReloadEqualsFreshStart) {
   EXPECT_EQ(MlagAgent::reloadSoak(GetParam().seed, GetParam().limits), "");
}

INSTANTIATE_TEST_SUITE_P(Seeds, ReloadSoakTest,
                         ::testing::Values(Case{1, {.steps = 30}}, Case{2, {.steps = 30}},
                                           Case{3, {.steps = 30, .mlagFlap = true}},
                                           Case{4, {.steps = 20, .wide = true}},
                                           Case{5, {.steps = 30}}));

} // namespace
