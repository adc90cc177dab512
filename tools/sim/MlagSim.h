// The MLAG pair simulator: scenario loading (Scenario.h) and the pair that
// runs a scenario (Pair.h).
//
//   MlagSim::Pair pair(MlagSim::loadScenario(path));
//   pair.start();
//   for (std::size_t i = 0; i < pair.stepCount(); ++i) pair.applyStep(i);
#pragma once

#include "Pair.h"
#include "Scenario.h"
