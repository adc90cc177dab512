#include "Pair.h"

#include <algorithm>
#include <stdexcept>

#include "ConfigBuilder.h"
#include "DescriptorJson.h"
#include "RecordMirror.h"
#include "RecordSync.h"
#include "ResultJson.h"
#include "StepApply.h"
#include "kiv/ActivityManager.h"
#include "kiv/System.h"
#include "trace/Context.h"

namespace MlagSim {

using Mlag::ConfigCheck::ConfigPluginDir;
using MlagP2p::ConfigCheck::GenericConfig;

namespace {

// Whatever runs for one switch traces under its name: its machines' reactors
// take the context when they are made, and the transport delivers into a
// switch in that switch's context.
Kiv::Trace::ContextScope tracedAs(const std::string & switchName) {
   return Kiv::Trace::ContextScope(Kiv::Trace::contextNamed(switchName));
}

} // namespace

Pair::Pair(const Scenario & scenario) : steps_(scenario.steps) {
   for (std::size_t i = 0; i < 2; ++i) {
      const SwitchSpec & switchSpec = scenario.switches[i];
      Switch & sw = switches_[i];
      sw.name = switchSpec.name;
      sw.mlag = Kiv::kivNew< Mlag::Config >(Kiv::Name("mlagConfig"));
      for (const auto & [intf, mlagId] : switchSpec.mlag) {
         sw.mlag->intfConfigIs(Porta::IntfId(Kiv::String(intf)), Mlag::IntfConfig(mlagId));
      }
      for (const auto & [name, descriptor] : scenario.plugins.items()) {
         Plugin p;
         p.name = name;
         p.descriptorJson = descriptor;
         p.desc = buildDescriptor(name, descriptor);
         p.dir = Kiv::kivNew< ConfigPluginDir >(Kiv::Name(name));
         p.config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name(name));
         const bool configured = switchSpec.config.is_object() && switchSpec.config.contains(name);
         fillEntity(*p.config, configured ? switchSpec.config[name] : nlohmann::json(),
                    &descriptor);
         p.localRecord = Kiv::kivNew< GenericConfig >(Kiv::Name(name));
         p.localRecord->paramNameIs(name);
         p.peerRecord = Kiv::kivNew< GenericConfig >(Kiv::Name(name));
         sw.plugins.push_back(std::move(p));
      }
   }
   // Links never move once made: a spy's callback holds its link's address.
   transport_.reserve(2 * switches_[0].plugins.size());
   for (std::size_t k = 0; k < switches_[0].plugins.size(); ++k) {
      for (std::size_t from = 0; from < 2; ++from) {
         Link & link = transport_.emplace_back();
         link.from = from;
         link.plugin = k;
         copyRecord(linkSource(link), linkTarget(link));
         attach(link);
      }
   }
}

Pair::~Pair() {
   // The checkers go first, while everything they watch still stands.
   for (Switch & sw : switches_) {
      const auto scope = tracedAs(sw.name);
      for (Plugin & p : sw.plugins) p.container = nullptr;
   }
   transport_.clear();
}

GenericConfig & Pair::linkSource(const Link & link) {
   return *switches_[link.from].plugins[link.plugin].localRecord;
}

GenericConfig & Pair::linkTarget(const Link & link) {
   return *switches_[1 - link.from].plugins[link.plugin].peerRecord;
}

// REQUIRES: the link's target holds a copy of its source.
void Pair::attach(Link & link) {
   const Kiv::Ptr< GenericConfig > & source = switches_[link.from].plugins[link.plugin].localRecord;
   if (transportDelay_ == 0) {
      const Switch & to = switches_[1 - link.from];
      link.mirror = std::make_unique< RecordMirror >(source, to.plugins[link.plugin].peerRecord,
                                                     Kiv::Trace::contextNamed(to.name));
   } else {
      link.spy = std::make_unique< RecordSpy >(source, [&link] { link.pending = true; });
   }
}

void Pair::transportDelayIs(std::uint64_t firings) {
   if (started_) throw std::logic_error("the transport changes only before the start");
   transportDelay_ = firings;
   for (Link & link : transport_) {
      link.mirror.reset();
      link.spy.reset();
      attach(link);
   }
}

void Pair::createMachine(Switch & sw, Plugin & p) {
   p.container->configCheckSmIs(p.dir, p.name, p.config, p.localRecord, p.peerRecord, p.desc,
                                sw.mlag);
}

void Pair::start() {
   if (started_) throw std::logic_error("the pair has already started");
   started_ = true;
   Kiv::System::virtualTimeIs(0.0);
   for (Switch & sw : switches_) {
      const auto scope = tracedAs(sw.name);
      for (Plugin & p : sw.plugins) {
         p.container = Mlag::ConfigCheck::smContainerFactory(Kiv::Name(p.name));
         createMachine(sw, p);
      }
   }
   settle();
}

std::uint64_t Pair::settle() {
   Kiv::ActivityManager * manager = Kiv::activityManager();
   std::uint64_t fired = 0;
   for (;;) {
      const std::uint64_t left = firingLimit_ - fired;
      fired += manager->runUntilIdle(transportDelay_ == 0 ? left : std::min(left, transportDelay_));
      bool delivered = false;
      for (Link & link : transport_) {
         if (!link.pending) continue;
         link.pending = false;
         const auto scope = tracedAs(switches_[1 - link.from].name);
         syncRecord(linkSource(link), linkTarget(link));
         delivered = true;
      }
      if (!delivered && manager->armedCount() == 0) return fired;
      if (fired >= firingLimit_) {
         throw std::runtime_error("the pair did not go quiet after " +
                                  std::to_string(firingLimit_) + " firings");
      }
   }
}

void Pair::peerRestart(std::size_t sw) {
   for (Link & link : transport_) {
      if (1 - link.from != sw) continue;
      // A mirror's nested watchers point at the copies that are about to go.
      link.mirror.reset();
      const auto scope = tracedAs(switches_[sw].name);
      wipeRecord(linkTarget(link));
   }
   settle();
   for (Link & link : transport_) {
      if (1 - link.from != sw) continue;
      const auto scope = tracedAs(switches_[sw].name);
      syncRecord(linkSource(link), linkTarget(link));
      if (!link.mirror && !link.spy) attach(link);
   }
   settle();
}

void Pair::machineRestart(std::size_t sw) {
   if (!started_) throw std::logic_error("machines restart only after the start");
   Switch & restarting = switches_.at(sw);
   // The agent's published records go with it, as its results do: the new
   // machines publish from scratch, and the peer sees the records emptied and
   // filled again.
   {
      const auto scope = tracedAs(restarting.name);
      for (Plugin & p : restarting.plugins) {
         p.container->configCheckSmDel();
         wipeRecord(*p.localRecord);
      }
   }
   settle();
   {
      const auto scope = tracedAs(restarting.name);
      for (Plugin & p : restarting.plugins) createMachine(restarting, p);
   }
   settle();
}

void Pair::applyStep(std::size_t index) {
   if (!started_) throw std::logic_error("steps run only after the pair has started");
   const Step & step = steps_.at(index);
   Switch & sw = switches_[step.switchName == switches_[0].name ? 0 : 1];
   {
      const auto scope = tracedAs(sw.name);
      if (step.plugin.empty()) {
         applyMlagStep(step, *sw.mlag);
      } else {
         for (Plugin & p : sw.plugins) {
            if (p.name == step.plugin) applyConfigStep(step, *p.config, p.descriptorJson);
         }
      }
   }
   settle();
}

nlohmann::json Pair::resultJson() const {
   nlohmann::json switches = nlohmann::json::array();
   for (const Switch & sw : switches_) {
      nlohmann::json plugins = nlohmann::json::object();
      for (const Plugin & p : sw.plugins) {
         nlohmann::json result = resultsDirJson(*p.dir);
         result["record"] = recordJson(*p.localRecord);
         plugins[p.name] = std::move(result);
      }
      switches.push_back({{"name", sw.name}, {"plugins", std::move(plugins)}});
   }
   return {{"switches", std::move(switches)}};
}

std::vector< std::string > Pair::pluginNames() const {
   std::vector< std::string > names;
   for (const Plugin & p : switches_[0].plugins) names.push_back(p.name);
   return names;
}

const Pair::Plugin & Pair::plugin(std::size_t sw, const std::string & name) const {
   for (const Plugin & p : switches_.at(sw).plugins) {
      if (p.name == name) return p;
   }
   throw std::out_of_range("plugin '" + name + "' is not declared");
}

ConfigPluginDir & Pair::resultsDir(std::size_t sw, const std::string & name) const {
   return *plugin(sw, name).dir;
}

const Kiv::Ptr< Kiv::DynamicEntity > & Pair::config(std::size_t sw,
                                                    const std::string & name) const {
   return plugin(sw, name).config;
}

const Kiv::Ptr< Mlag::Config > & Pair::mlagConfig(std::size_t sw) const {
   return switches_.at(sw).mlag;
}

const Kiv::Ptr< GenericConfig > & Pair::localRecord(std::size_t sw,
                                                    const std::string & name) const {
   return plugin(sw, name).localRecord;
}

const Kiv::Ptr< GenericConfig > & Pair::peerRecord(std::size_t sw, const std::string & name) const {
   return plugin(sw, name).peerRecord;
}

const Kiv::Ptr< Mlag::ConfigCheck::MlagConfigCheckSm > & Pair::machine(
   std::size_t sw, const std::string & name) const {
   static const Kiv::Ptr< Mlag::ConfigCheck::MlagConfigCheckSm > none;
   const Plugin & p = plugin(sw, name);
   return p.container ? p.container->configCheckSm() : none;
}

std::uint64_t runUntilQuiet(std::uint64_t maxFirings) {
   Kiv::ActivityManager * manager = Kiv::activityManager();
   const std::uint64_t fired = manager->runUntilIdle(maxFirings);
   if (manager->armedCount() != 0) {
      throw std::runtime_error("the pair did not go quiet after " + std::to_string(maxFirings) +
                               " firings");
   }
   return fired;
}

} // namespace MlagSim
