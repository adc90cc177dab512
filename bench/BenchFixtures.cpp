#include "BenchFixtures.h"

#include <fstream>
#include <string>
#include <unistd.h>

namespace Bench {

std::string intfName(int i) { return "Port-Channel" + std::to_string(i + 1); }

std::string paramAttr(int p) { return "param" + std::to_string(p); }

nlohmann::json pairScenarioJson(int interfaces, int params) {
   nlohmann::json desc;
   nlohmann::json nested;
   nested["mlagInterfacesOnly"] = true;
   for (int p = 0; p < params; ++p)
      nested["attrName"][paramAttr(p)] = "intf param " + std::to_string(p);
   for (int g = 0; g < globalParams; ++g) {
      desc["attrName"]["global" + std::to_string(g)] = "global param " + std::to_string(g);
   }
   desc["nestedConfigCheckDesc"]["intfConfig"] = nested;
   nlohmann::json scenario;
   scenario["plugins"]["bench"] = desc;
   for (const char * sw : {"A", "B"}) {
      nlohmann::json s;
      s["name"] = sw;
      nlohmann::json config;
      for (int g = 0; g < globalParams; ++g) config["global" + std::to_string(g)] = g;
      for (int i = 0; i < interfaces; ++i) {
         s["mlag"][intfName(i)] = std::to_string(i + 1);
         nlohmann::json intf;
         for (int p = 0; p < params; ++p) intf[paramAttr(p)] = 1000 + p;
         config["intfConfig"][intfName(i)] = intf;
      }
      s["config"]["bench"] = config;
      scenario["switches"].push_back(s);
   }
   return scenario;
}

MlagSim::Scenario pairScenario(int interfaces, int params) {
   return MlagSim::parseScenario(pairScenarioJson(interfaces, params).dump(), "bench.json");
}

std::size_t residentBytes() {
   std::ifstream statm("/proc/self/statm");
   std::size_t pages = 0;
   std::size_t resident = 0;
   statm >> pages >> resident;
   return resident * static_cast< std::size_t >(sysconf(_SC_PAGESIZE));
}

void peakResidentReset() {
   // "5" resets the kernel's high-water mark to the current resident size.
   std::ofstream("/proc/self/clear_refs") << "5";
}

std::size_t peakResidentBytes() {
   std::ifstream status("/proc/self/status");
   std::string field;
   std::size_t kib = 0;
   while (status >> field) {
      if (field == "VmHWM:") {
         status >> kib;
         break;
      }
   }
   return kib * 1024;
}

} // namespace Bench
