// MlagAgent::SwitchAgent: the checker of one switch, built from a switch
// file and kept current by reloads. Per plugin a descriptor, a results
// directory, a configuration entity, a local record and a peer record (which
// the peer link fills), as on one side of the simulator's pair; once started, a container
// and top-level machine per plugin.
//
//   MlagAgent::SwitchAgent agent(MlagSim::loadSwitchFile("leaf1.switch.json"));
//   agent.start();
//   // run the activity manager until idle
//   agent.reload(MlagSim::loadSwitchFile("leaf1.switch.json"));  // only what changed
//   std::cout << agent.resultJson().dump(2);
//
// Nothing here runs reactors or chooses the time: the caller drives the
// process's activity manager (the agent's event loop on real time, tests on
// virtual time). Owns every object it builds; the destructor tears the
// machines down first.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ConfigCheck/ConfigCheckDesc.h"
#include "ConfigCheck/ConfigPluginDir.h"
#include "ConfigCheck/GenericConfig.h"
#include "ConfigCheck/MlagConfigCheckSm.h"
#include "kiv/DynamicEntity.h"
#include "mlag/MlagConfig.h"
#include "sim/SwitchFile.h"

namespace MlagAgent {

class SwitchAgent {
 public:
   // Builds the switch (plugins in byte order of name); nothing is started.
   explicit SwitchAgent(MlagSim::SwitchFile file);
   ~SwitchAgent();
   SwitchAgent(const SwitchAgent &) = delete;
   SwitchAgent & operator=(const SwitchAgent &) = delete;

   // Creates the machines, plugins in byte order of name. REQUIRES: not started.
   void start();

   // Turns the live configuration into `next`'s with the fewest changes
   // (see configChanges for their order) and returns how many there were;
   // their notifications are delivered at once, the work they queue runs
   // when the caller next runs the activity manager. Raises ReloadError,
   // changing nothing, when `next` has other descriptors, another switch
   // name, or an attribute that changes shape.
   std::size_t reload(MlagSim::SwitchFile next);

   // One member of the result JSON's "switches": {"name", "plugins"}.
   nlohmann::json resultJson() const;
   const MlagSim::SwitchFile & file() const noexcept { return file_; }
   // Units of work waiting in the top-level machines' backlogs.
   std::uint64_t backlogDepth() const;
   // Per plugin (byte order of name) the local record, which the peer link
   // sends to the peer, and the peer record, which it fills.
   struct Records {
      std::string plugin;
      Kiv::Ptr< MlagP2p::ConfigCheck::GenericConfig > local, peer;
   };
   const std::vector< Records > & records() const noexcept { return records_; }
   // A plugin's live configuration entity (std::out_of_range when `plugin`
   // is not declared): a change made here bypasses the switch file.
   const Kiv::Ptr< Kiv::DynamicEntity > & config(const std::string & plugin) const;

 private:
   struct Plugin {
      std::string name;
      Kiv::Ptr< Mlag::ConfigCheck::ConfigCheckDesc > desc;
      Kiv::Ptr< Mlag::ConfigCheck::ConfigPluginDir > dir;
      Kiv::Ptr< Kiv::DynamicEntity > config;
      Kiv::Ptr< MlagP2p::ConfigCheck::GenericConfig > localRecord;
      Kiv::Ptr< MlagP2p::ConfigCheck::GenericConfig > peerRecord; // filled by the peer link
      Kiv::Ptr< Mlag::ConfigCheck::SmContainer > container;       // null until start()
   };

   MlagSim::SwitchFile file_; // the configuration the live objects hold
   Kiv::Ptr< Mlag::Config > mlag_;
   std::vector< Plugin > plugins_;  // byte order of name
   std::vector< Records > records_; // the same plugins' records
   bool started_ = false;
};

} // namespace MlagAgent
