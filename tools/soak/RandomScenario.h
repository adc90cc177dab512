// Random scenarios for the soak runs and the simulation fuzzer: plugins with
// scalars, value collections and nested interface and group collections
// (some MLAG-only, some with absence implying the default, defaults and
// value overrides), two switch configurations that mostly agree, MLAG
// tables, and a sequence of steps that is valid at every point (attributes
// and members set and removed, nested configurations added and removed,
// MLAG ids set, changed and removed).
//
//   MlagSim::SeededEntropy entropy(7);
//   nlohmann::json s = MlagSim::randomScenarioJson(entropy, {.steps = 30});
//   MlagSim::Scenario scenario = MlagSim::parseScenario(s.dump(), "seed-7.json");
//
// The result is plain JSON in the scenario format: it can be written to a
// file and replayed with mlag-config-check.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>

#include "Entropy.h"

namespace MlagSim {

struct RandomLimits {
   std::size_t steps = 20;
   // One step in four changes an MLAG table; with flapping, three in four,
   // on few interfaces, so ids come and go and change back and forth.
   bool mlagFlap = false;
   // Nested collections of up to fifteen configurations instead of three:
   // enough pending work at once for a machine's backlog to take several
   // slices.
   bool wide = false;
};

nlohmann::json randomScenarioJson(Entropy & entropy, const RandomLimits & limits);

// Applies `step` (one member of a scenario's "steps") to `scenario`'s
// switches the way the pair applies it to its entities and MLAG tables, so
// that the scenario then describes the configurations after the step.
// REQUIRES: the step is valid for the scenario (parseScenario accepts both).
void applyStepToSwitches(nlohmann::json & scenario, const nlohmann::json & step);

} // namespace MlagSim
