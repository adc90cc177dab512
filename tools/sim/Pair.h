// MlagSim::Pair: one MLAG pair in one process. Two switches, each with its
// MLAG configuration and, per plugin, a descriptor, a results directory, a
// configuration entity, a local and a peer peer-to-peer record; a transport
// that mirrors each local record into the other switch's peer record; and,
// once started, the checker's container per plugin and switch.
//
//   MlagSim::Pair pair(MlagSim::loadScenario("lacp.json"));
//   pair.start();                                      // runs until quiet
//   for (std::size_t i = 0; i < pair.stepCount(); ++i) pair.applyStep(i);
//   std::cout << pair.resultJson().dump(2);
//
// Everything runs on the calling thread in virtual time: start() switches the
// process to virtual time at 0, and the same scenario always gives the same
// result. Owns every object it builds; the destructor tears the checkers
// down first, then the transport, and leaves no framework object alive.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ConfigCheck/ConfigCheckDesc.h"
#include "ConfigCheck/ConfigPluginDir.h"
#include "ConfigCheck/GenericConfig.h"
#include "ConfigCheck/MlagConfigCheckSm.h"
#include "Scenario.h"
#include "kiv/DynamicEntity.h"
#include "mlag/MlagConfig.h"

namespace MlagSim {

class RecordMirror;
class RecordSpy;
using MlagP2p::ConfigCheck::GenericConfig;

class Pair {
 public:
   // Builds both switches, in file order; nothing is started.
   // REQUIRES: `scenario` comes from parseScenario (or loadScenario).
   explicit Pair(const Scenario & scenario);
   ~Pair();
   Pair(const Pair &) = delete;
   Pair & operator=(const Pair &) = delete;

   // Starts the checkers (first switch first, plugins in byte order of name),
   // then runs until quiet. REQUIRES: not yet started.
   void start();
   std::size_t stepCount() const noexcept { return steps_.size(); }
   // Applies step `index` (its notifications are delivered at once), then
   // runs until quiet. REQUIRES: started; steps applied in order.
   void applyStep(std::size_t index);

   // Both switches' results directories and local records.
   nlohmann::json resultJson() const;

   // Faults, for soak runs; each leaves the pair quiet.
   //
   // From now on the transport holds changes back: the run loop fires up to
   // `firings` reactors, then every record changed since the last delivery
   // is brought up to date on the peer, in one batch; 0 is the synchronous
   // transport. REQUIRES: not yet started.
   void transportDelayIs(std::uint64_t firings);
   // Switch `sw`'s peer records are wiped (their peer sides see everything
   // go) and, once that has run, published again from the other switch.
   void peerRestart(std::size_t sw);
   // Switch `sw`'s top-level machines are destroyed, its local records
   // emptied, and, once the other switch has run on, the machines are
   // created again: an agent restart. REQUIRES: started.
   void machineRestart(std::size_t sw);
   // Runs until no reactor is armed and nothing is in flight; returns the
   // number of firings. Raises std::runtime_error when that takes more than
   // the firing limit: a pair that never goes quiet is a defect.
   std::uint64_t settle();
   // The most firings one settle may take (start, step or fault); by
   // default 10'000'000.
   void firingLimitIs(std::uint64_t firings) { firingLimit_ = firings; }

   const std::string & switchName(std::size_t sw) const { return switches_.at(sw).name; }
   // The declared plugins, in byte order of name.
   std::vector< std::string > pluginNames() const;

   // The objects behind the result; `sw` is 0 or 1, `plugin` a declared
   // plugin (otherwise std::out_of_range).
   Mlag::ConfigCheck::ConfigPluginDir & resultsDir(std::size_t sw,
                                                   const std::string & plugin) const;
   const Kiv::Ptr< Kiv::DynamicEntity > & config(std::size_t sw, const std::string & plugin) const;
   const Kiv::Ptr< Mlag::Config > & mlagConfig(std::size_t sw) const;
   const Kiv::Ptr< MlagP2p::ConfigCheck::GenericConfig > & localRecord(
      std::size_t sw, const std::string & plugin) const;
   const Kiv::Ptr< MlagP2p::ConfigCheck::GenericConfig > & peerRecord(
      std::size_t sw, const std::string & plugin) const;
   // Null before start() and while a machine restart has it down.
   const Kiv::Ptr< Mlag::ConfigCheck::MlagConfigCheckSm > & machine(
      std::size_t sw, const std::string & plugin) const;

 private:
   struct Plugin {
      std::string name;
      nlohmann::json descriptorJson; // declares the attributes of entities a step creates
      Kiv::Ptr< Mlag::ConfigCheck::ConfigCheckDesc > desc;
      Kiv::Ptr< Mlag::ConfigCheck::ConfigPluginDir > dir;
      Kiv::Ptr< Kiv::DynamicEntity > config;
      Kiv::Ptr< MlagP2p::ConfigCheck::GenericConfig > localRecord;
      Kiv::Ptr< MlagP2p::ConfigCheck::GenericConfig > peerRecord;
      Kiv::Ptr< Mlag::ConfigCheck::SmContainer > container; // null until start()
   };
   struct Switch {
      std::string name;
      Kiv::Ptr< Mlag::Config > mlag;
      std::vector< Plugin > plugins; // byte order of name
   };

   // One direction of the transport for one plugin: a mirror, or under a
   // delayed transport a spy that marks the link for the next delivery.
   struct Link {
      std::size_t from, plugin;
      std::unique_ptr< RecordMirror > mirror;
      std::unique_ptr< RecordSpy > spy;
      bool pending = false;
   };

   const Plugin & plugin(std::size_t sw, const std::string & name) const;
   void createMachine(Switch & sw, Plugin & p);
   GenericConfig & linkSource(const Link & link);
   GenericConfig & linkTarget(const Link & link);
   void attach(Link & link);

   std::array< Switch, 2 > switches_;
   std::vector< Link > transport_;
   std::uint64_t transportDelay_ = 0;
   std::uint64_t firingLimit_ = 10'000'000;
   std::vector< Step > steps_;
   bool started_ = false;
};

// Runs the process's run loop until no reactor is armed (in virtual time,
// everything armed fires); returns the number of firings. Raises
// std::runtime_error("the pair did not go quiet after N firings") when
// reactors are still armed after `maxFirings`.
std::uint64_t runUntilQuiet(std::uint64_t maxFirings = 10'000'000);

} // namespace MlagSim
