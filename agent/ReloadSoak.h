// The reload path against a fresh start: a seeded random scenario's first
// switch, edited by the scenario's steps (one to three at a time), is
// reloaded into one agent after every edit, and its results must equal those
// of a fresh agent started on the same file, in the terms of the pair soak's
// incremental-equals-from-scratch check: the local record and every local
// value (an entry without a value is no entry), leaving out a nested
// configuration of an MLAG-only collection whose interface left the MLAG
// table, which the checker keeps on its change path where a fresh start
// never creates it.
//
//   std::string failure = reloadSoak(7, {.steps = 30});
//   if (!failure.empty()) std::cerr << failure << "\n";
//
// Runs in this process on virtual time (switches the process to it).
#pragma once

#include <cstdint>
#include <string>

#include "soak/RandomScenario.h"

namespace MlagAgent {

// Empty when every reload matched; otherwise what differed, and where.
std::string reloadSoak(std::uint64_t seed, const MlagSim::RandomLimits & limits);

} // namespace MlagAgent
