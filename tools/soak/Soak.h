// Soak runs: a seeded random scenario (RandomScenario.h) through a pair,
// under one fault mode, with the invariants checked after the start and
// after every step, once quiet:
//   1. quiet comes within a bounded number of firings;
//   2. nothing raises, and after teardown no object of any type is alive;
//   3. the same seed gives byte-identical result JSON;
//   4. restarting both switches' agents (machines and local records) gives
//      the results directories of a fresh pair built from the current
//      configurations;
//   5. incremental equals from scratch: every local record and local column
//      equals what a fresh pair publishes from the current configurations.
//
//   MlagSim::SoakOutcome o = MlagSim::runSeed({.seed = 7, .mode = FaultMode::peerRestart});
//   if (!o.failure.empty()) std::cerr << o.failure << "\n";   // ends in a replay command
#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "RandomScenario.h"
#include "kiv/System.h"

namespace MlagSim {

enum class FaultMode {
   none,
   delayedTransport, // changes held back and delivered later, in batches
   peerRestart,      // a switch's peer records wiped and published again
   machineRestart,   // one switch's top-level machines destroyed and recreated
   mlagFlap,         // MLAG ids set, changed and removed over and over
   tinyQuantum,      // a clock that jumps on every read: slices yield all the time
};

const std::vector< FaultMode > & allFaultModes();
const char * faultModeName(FaultMode mode);
std::optional< FaultMode > faultModeNamed(const std::string & name);

struct SoakOptions {
   std::uint64_t seed = 0;
   FaultMode mode = FaultMode::none;
   std::size_t steps = 20;
   // Wide nested collections (RandomLimits::wide) under every mode, not
   // only under tinyQuantum.
   bool wide = false;
};

struct SoakOutcome {
   std::string failure; // empty when every invariant held
   std::size_t stepsRun = 0;
};

SoakOutcome runSeed(const SoakOptions & options);

// The invariants on one scenario (with steps) under `mode`, the faults drawn
// from `faultSeed`: the first failure, or empty. `stepsRun` (may be null)
// receives the number of steps the first run got through.
std::string checkScenario(const nlohmann::json & scenario, FaultMode mode, std::uint64_t faultSeed,
                          std::size_t * stepsRun = nullptr);

// The generator's limits for a run: MLAG ids flap under mlagFlap; nested
// collections are wide when asked for and under tinyQuantum, so that there
// is work to slice.
RandomLimits soakLimits(const SoakOptions & options);

// How far the virtual clock moves on every read under `mode`: under
// tinyQuantum more than any machine's backlog quantum, so every slice of
// every machine, nested ones included, ends at its first clock check, as
// with a zero quantum; 0 otherwise.
Kiv::Seconds clockReadStep(FaultMode mode);

// "mlag-sim-soak --seed 7 --mode peerRestart --steps 20"
std::string replayCommand(const SoakOptions & options);

// Invariant 5 on two result JSONs (Pair::resultJson) of `scenario`'s
// switches as they stand: the first difference in a local record or a local
// column, or nothing.
std::optional< std::string > localDifference(const nlohmann::json & incremental,
                                             const nlohmann::json & fresh,
                                             const nlohmann::json & scenario);
// Invariant 4: the first difference between the results directories.
std::optional< std::string > resultsDifference(const nlohmann::json & restarted,
                                               const nlohmann::json & fresh);

// Invariant 5 along a sequence of configurations that may reach the pair
// several changes at a time: every configuration the switches pass through
// is noted, so that a nested configuration that has been an orphan since it
// was last created stays out of the comparison.
//
//   LocalComparison c; c.configurationIs(model);   // after every change
//   if (auto d = c.difference(incremental, fresh)) fail(*d);
class LocalComparison {
 public:
   void configurationIs(const nlohmann::json & scenario);
   // As localDifference, for the configuration noted last.
   std::optional< std::string > difference(const nlohmann::json & incremental,
                                           const nlohmann::json & fresh) const;

 private:
   nlohmann::json scenario_;
   std::map< std::string, std::map< std::string, nlohmann::json::json_pointer > > history_;
};

} // namespace MlagSim
