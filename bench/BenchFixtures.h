// Builders shared by the benchmarks: a scenario of N MLAG port-channels with
// P per-interface parameters (plus 32 global ones), as the pair simulator
// reads it, and the process's resident set size.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>

#include "sim/Scenario.h"

namespace Bench {

inline constexpr int globalParams = 32;

// The scenario file's JSON, with no steps, and the scenario read from it.
nlohmann::json pairScenarioJson(int interfaces, int params);
MlagSim::Scenario pairScenario(int interfaces, int params);
std::string intfName(int i);
std::string paramAttr(int p);
// Resident set size of this process, in bytes.
std::size_t residentBytes();
// The highest resident set size since the last reset (the kernel's
// high-water mark; without a reset, since the process started).
void peakResidentReset();
std::size_t peakResidentBytes();

} // namespace Bench
