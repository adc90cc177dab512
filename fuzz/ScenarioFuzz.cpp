// Any input either is refused by the scenario loader with its own error, or
// runs through a whole pair: start, every step, the result, and a teardown
// that leaves no object alive. Anything else (another exception, a pair that
// never goes quiet, a sanitizer report, a leak) is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "kiv/Ptr.h"
#include "sim/Pair.h"
#include "sim/Scenario.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * data, std::size_t size) {
   const std::string_view text(reinterpret_cast< const char * >(data), size);
   MlagSim::Scenario scenario;
   try {
      scenario = MlagSim::parseScenario(text, "fuzz.json");
   } catch (const MlagSim::ScenarioError &) {
      return 0;
   }
   const std::int64_t liveBefore = Kiv::LiveCount::total();
   {
      MlagSim::Pair pair(scenario);
      pair.start();
      for (std::size_t i = 0; i < pair.stepCount(); ++i) pair.applyStep(i);
      if (!pair.resultJson().contains("switches")) std::abort();
   }
   // The first run creates the process-wide objects (clock, trace handles);
   // a later run must give back everything it made.
   static bool warm = false;
   if (warm && Kiv::LiveCount::total() != liveBefore) std::abort();
   warm = true;
   return 0;
}
