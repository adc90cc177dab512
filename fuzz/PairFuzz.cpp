// Input bytes choose a random scenario (plugins, configurations, MLAG tables,
// steps) and a fault mode; the pair runs it and every soak invariant must
// hold. Coverage feedback steers the choices toward paths seeds rarely reach.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>

#include "soak/Entropy.h"
#include "soak/RandomScenario.h"
#include "soak/Soak.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * data, std::size_t size) {
   if (size == 0) return 0;
   const std::vector< MlagSim::FaultMode > & modes = MlagSim::allFaultModes();
   const MlagSim::FaultMode mode = modes[data[0] % modes.size()];
   MlagSim::ByteEntropy entropy(data + 1, size - 1);
   const nlohmann::json scenario =
      MlagSim::randomScenarioJson(entropy, MlagSim::soakLimits({.mode = mode, .steps = 12}));
   const std::string failure = MlagSim::checkScenario(scenario, mode, size);
   if (!failure.empty()) {
      std::cerr << "mode " << MlagSim::faultModeName(mode) << ": " << failure << "\n"
                << scenario.dump() << "\n";
      std::abort();
   }
   return 0;
}
