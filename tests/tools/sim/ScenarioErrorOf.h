// What the loader says of a scenario text: its one error line, or
// "(accepted)". Shared by the loader's tests.
#pragma once

#include <string>
#include <string_view>

#include "sim/Scenario.h"

namespace MlagSimTest {

inline std::string errorOf(std::string_view text) {
   try {
      MlagSim::parseScenario(text, "s.json");
   } catch (const MlagSim::ScenarioError & e) {
      return e.what();
   }
   return "(accepted)";
}

} // namespace MlagSimTest
