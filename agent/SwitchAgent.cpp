#include "SwitchAgent.h"

#include <stdexcept>

#include "ConfigCheck/P2pToStatehubSm.h"
#include "ConfigCheck/StatehubToP2pSm.h"
#include "ConfigDiff.h"
#include "sim/ConfigBuilder.h"
#include "sim/ResultJson.h"
#include "sim/StepApply.h"

namespace MlagAgent {

using Mlag::ConfigCheck::ConfigPluginDir;
using MlagP2p::ConfigCheck::GenericConfig;

SwitchAgent::SwitchAgent(MlagSim::SwitchFile file) : file_(std::move(file)) {
   mlag_ = Kiv::kivNew< Mlag::Config >(Kiv::Name("mlagConfig"));
   for (const auto & [intf, mlagId] : file_.sw.mlag) {
      mlag_->intfConfigIs(Porta::IntfId(Kiv::String(intf)), Mlag::IntfConfig(mlagId));
   }
   for (const auto & [name, descriptor] : file_.plugins.items()) {
      Plugin p;
      p.name = name;
      p.desc = MlagSim::buildDescriptor(name, descriptor);
      p.dir = Kiv::kivNew< ConfigPluginDir >(Kiv::Name(name));
      p.config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name(name));
      const nlohmann::json & config = file_.sw.config;
      const bool configured = config.is_object() && config.contains(name);
      MlagSim::fillEntity(*p.config, configured ? config[name] : nlohmann::json(), &descriptor);
      p.localRecord = Kiv::kivNew< GenericConfig >(Kiv::Name(name));
      p.localRecord->paramNameIs(name);
      p.peerRecord = Kiv::kivNew< GenericConfig >(Kiv::Name(name));
      // The peer publishes the plugin's record under the plugin's name. Named
      // before the start, the peer side initializes at once and files the
      // peer's values whenever the link brings them.
      p.peerRecord->paramNameIs(name);
      records_.push_back({name, p.localRecord, p.peerRecord});
      plugins_.push_back(std::move(p));
   }
}

SwitchAgent::~SwitchAgent() {
   // The machines go first, while everything they watch still stands.
   for (Plugin & p : plugins_) p.container = nullptr;
}

void SwitchAgent::start() {
   if (started_) throw std::logic_error("the agent has already started");
   started_ = true;
   for (Plugin & p : plugins_) {
      p.container = Mlag::ConfigCheck::smContainerFactory(Kiv::Name(p.name));
      p.container->configCheckSmIs(p.dir, p.name, p.config, p.localRecord, p.peerRecord, p.desc,
                                   mlag_);
   }
}

std::size_t SwitchAgent::reload(MlagSim::SwitchFile next) {
   if (next.plugins != file_.plugins) {
      throw ReloadError(next.fileName +
                        ": /plugins: the descriptors changed; restart the agent to change "
                        "descriptors");
   }
   if (next.sw.name != file_.sw.name) {
      throw ReloadError(next.fileName +
                        ": /switch/name: the switch name changed; restart the agent to change it");
   }
   // Every step is worked out before the first is applied: a refused reload
   // changes nothing.
   const std::vector< MlagSim::Step > steps =
      configChanges(file_.sw, next.sw, file_.plugins, next.fileName);
   for (const MlagSim::Step & step : steps) {
      if (step.plugin.empty()) {
         MlagSim::applyMlagStep(step, *mlag_);
         continue;
      }
      for (Plugin & p : plugins_) {
         if (p.name == step.plugin) {
            MlagSim::applyConfigStep(step, *p.config, file_.plugins[p.name]);
         }
      }
   }
   file_ = std::move(next);
   return steps.size();
}

nlohmann::json SwitchAgent::resultJson() const {
   nlohmann::json plugins = nlohmann::json::object();
   for (const Plugin & p : plugins_) {
      nlohmann::json result = MlagSim::resultsDirJson(*p.dir);
      result["record"] = MlagSim::recordJson(*p.localRecord);
      plugins[p.name] = std::move(result);
   }
   return {{"name", file_.sw.name}, {"plugins", std::move(plugins)}};
}

std::uint64_t SwitchAgent::backlogDepth() const {
   std::uint64_t depth = 0;
   for (const Plugin & p : plugins_) {
      if (!p.container || !p.container->configCheckSm()) continue;
      const Mlag::ConfigCheck::MlagConfigCheckSm & sm = *p.container->configCheckSm();
      if (sm.statehubToP2pSm()) depth += sm.statehubToP2pSm()->backlogSize();
      if (sm.p2pToStatehubSm()) depth += sm.p2pToStatehubSm()->backlogSize();
   }
   return depth;
}

const Kiv::Ptr< Kiv::DynamicEntity > & SwitchAgent::config(const std::string & plugin) const {
   for (const Plugin & p : plugins_) {
      if (p.name == plugin) return p.config;
   }
   throw std::out_of_range("plugin '" + plugin + "' is not declared");
}

} // namespace MlagAgent
