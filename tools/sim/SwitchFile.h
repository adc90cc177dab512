// A switch file: the plugins' descriptors and ONE switch (its name, MLAG
// interfaces and plugin configurations), in the scenario format's terms,
// for the checker running as an agent on that switch.
//
//   {"description": "...", "plugins": {...},
//    "switch": {"name": "leaf1", "mlag": {...}, "config": {...}}}
//
//   MlagSim::SwitchFile f = MlagSim::loadSwitchFile("/etc/mlag/leaf1.switch.json");
//
// Validated with the scenario loader's rules and reported in its form,
// "<file>: <JSON pointer>: <message>", the pointer naming the place in the
// switch file (/switch/config/lacp/vlan). Plain values.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "Scenario.h"

namespace MlagSim {

struct SwitchFile {
   std::string fileName, description;
   nlohmann::json plugins; // plugin name -> descriptor (object; iterates in byte order)
   SwitchSpec sw;
};

// Raises ScenarioError naming `fileName` for any bad input.
SwitchFile parseSwitchFile(std::string_view text, const std::string & fileName);
// An unreadable file raises ScenarioError too.
SwitchFile loadSwitchFile(const std::string & path);

} // namespace MlagSim
