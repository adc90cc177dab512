#include "P2pToStatehubSm.h"

#include "MlagConfigCheckDbUpdate.h"
#include "MlagConfigCheckNaming.h"
#include "MlagConfigCheckReinstantiate.h"
#include "MlagConfigCheckTrace.h"
#include "MlagConfigCheckUtil.h"
#include "kiv/ActivityManager.h"

namespace Mlag::ConfigCheck {

namespace {

constexpr char kivTraceSource[] = "MlagConfigCheckSm";

} // namespace

P2pToStatehubSm::KivPeerConfig::KivPeerConfig(const Kiv::PtrConst< GenericConfig > & record,
                                              P2pToStatehubSm * owner)
      : owner_(owner) {
   notifierIs(record);
}

void P2pToStatehubSm::KivPeerConfig::onAttr(const Kiv::String & attribute) {
   owner_->handleAttrChange(attribute);
}

void P2pToStatehubSm::KivPeerConfig::onAttrCollection(const CollectionConfig & collectionConfig) {
   owner_->handleCollectionChange(collectionConfig);
}

void P2pToStatehubSm::KivPeerConfig::onNestedIntfConfig(const Kiv::Name & configName) {
   owner_->handleNestedIntfConfig(configName);
}

void P2pToStatehubSm::KivPeerConfig::onNestedGlobalConfig(const Kiv::Name & configName) {
   owner_->handleNestedGlobalConfig(configName);
}

P2pToStatehubSm::P2pToStatehubSm(const Kiv::PtrConst< Kiv::Clock > & clock,
                                 const Kiv::Ptr< ConfigPluginDir > & configCheck,
                                 const Kiv::PtrConst< GenericConfig > & peerConfig,
                                 const Kiv::String & name,
                                 const Kiv::PtrConst< Mlag::Config > & mlagConfig,
                                 P2pToStatehubSm * parentSm)
      : ConfigCheckSmBase(clock), configCheck_(configCheck), name_(name), parentSm_(parentSm) {
   if (peerConfig) peerConfig_ = std::make_unique< KivPeerConfig >(peerConfig, this);
   watchMlagConfig(mlagConfig_, mlagConfig, this);
   handleInitialized();
}

P2pToStatehubSm::~P2pToStatehubSm() {
   kivDoZombieReactors(true);
   p2pToStatehubSmDelAll();
   backlogDelAll();
}

Kiv::Ptr< P2pToStatehubSm > P2pToStatehubSm::P2pToStatehubSmIs(
   const Kiv::PtrConst< Kiv::Clock > & clock, const Kiv::Ptr< ConfigPluginDir > & configCheck,
   const Kiv::PtrConst< GenericConfig > & peerConfig, const Kiv::String & name,
   const Kiv::PtrConst< Mlag::Config > & mlagConfig, P2pToStatehubSm * parentSm) {
   Kiv::validPtr(clock);
   Kiv::validPtr(configCheck);
   auto sm =
      Kiv::kivNew< P2pToStatehubSm >(clock, configCheck, peerConfig, name, mlagConfig, parentSm);
   sm->hasNotificationActiveIs(true);
   return sm;
}

Kiv::PtrConst< GenericConfig > P2pToStatehubSm::peerConfig() const {
   return peerConfig_ ? peerConfig_->notifier() : Kiv::PtrConst< GenericConfig >();
}

void P2pToStatehubSm::peerConfigIs(const Kiv::PtrConst< GenericConfig > & peerConfig) {
   if (!peerConfig) {
      peerConfigDel();
   } else if (peerConfig_) {
      peerConfig_->notifierIs(peerConfig);
   } else {
      peerConfig_ = std::make_unique< KivPeerConfig >(peerConfig, this);
   }
}

Kiv::PtrConst< GenericConfig > P2pToStatehubSm::peerConfigDel() {
   Kiv::PtrConst< GenericConfig > watched = peerConfig();
   peerConfig_.reset();
   return watched;
}

Kiv::PtrConst< Mlag::Config > P2pToStatehubSm::mlagConfig() const {
   return watchedMlagConfig(mlagConfig_);
}

void P2pToStatehubSm::mlagConfigIs(const Kiv::PtrConst< Mlag::Config > & mlagConfig) {
   watchMlagConfig(mlagConfig_, mlagConfig, this);
}

Kiv::PtrConst< Mlag::Config > P2pToStatehubSm::mlagConfigDel() {
   Kiv::PtrConst< Mlag::Config > watched = mlagConfig();
   mlagConfig_.reset();
   return watched;
}

Kiv::Ptr< P2pToStatehubSm > P2pToStatehubSm::p2pToStatehubSm(const Kiv::String & name) const {
   const Kiv::Ptr< P2pToStatehubSm > * sm = nested_.get(name);
   return sm ? *sm : Kiv::Ptr< P2pToStatehubSm >();
}

Kiv::Ptr< P2pToStatehubSm > P2pToStatehubSm::p2pToStatehubSmIs(
   const Kiv::PtrConst< Kiv::Clock > & clock, const Kiv::Ptr< ConfigPluginDir > & configCheck,
   const Kiv::PtrConst< GenericConfig > & peerConfig, const Kiv::String & name,
   const Kiv::PtrConst< Mlag::Config > & mlagConfig) {
   if (Kiv::Ptr< P2pToStatehubSm > existing = p2pToStatehubSm(name)) {
      refuseChangedParameter("_clock", clock, existing->clock());
      refuseChangedParameter("_configCheck", configCheck, existing->configCheck());
      refuseChangedParameter("_peerConfig", peerConfig, existing->peerConfig());
      refuseChangedParameter("_mlagConfig", mlagConfig, existing->mlagConfig());
      return existing;
   }
   auto sm = P2pToStatehubSmIs(clock, configCheck, peerConfig, name, mlagConfig, this);
   nested_.insert(name, sm);
   return sm;
}

void P2pToStatehubSm::p2pToStatehubSmDel(const Kiv::String & name) { nested_.erase(name); }

void P2pToStatehubSm::p2pToStatehubSmDel(NestedMap::Iterator & it) { nested_.erase(it); }

void P2pToStatehubSm::p2pToStatehubSmDelAll() {
   for (auto & it : nested_) {
      it.value()->kivDoZombieReactors(true);
      p2pToStatehubSmDel(it);
   }
}

void P2pToStatehubSm::handleInitialized() {
   if (initialized()) {
      MLAG_TRACE(7, "PeerSm already initialized for", name_);
      return;
   }
   const Kiv::PtrConst< GenericConfig > record = peerConfig();
   if (name_ == "Peer") {
      if (!configCheckDesc_) {
         MLAG_TRACE(7, "Cannot initialize peerSM for ", name_);
         return;
      }
      if (!record || record->paramName().empty()) {
         MLAG_TRACE(7, "Cannot initialize peerSM ", name_, " paramName is NULL");
         return;
      }
      MLAG_TRACE(7, "Initializing PeerSm for ", name_, " config = ", record);
   } else {
      KIV_ASSERT(parentSm());
      KIV_ASSERT(parentSm()->configCheckDesc());
      configCheckDescIs(parentSm()->configCheckDesc()->nestedConfigCheckDesc(
         Kiv::Name(record ? record->paramName() : Kiv::String())));
      if (!configCheckDesc_) {
         // The peer publishes a nested configuration this side's descriptor
         // does not describe: there is nothing to compare it with.
         MLAG_TRACE(7, "Cannot initialize peerSM for ", name_);
         return;
      }
   }
   const Porta::IntfId intfId = getIntfId(name_);
   if (intfId && configCheckDesc_->mlagInterfacesOnly()) {
      const Kiv::String id = mlagIdOf(mlagConfig(), intfId);
      if (!id.empty()) {
         MLAG_TRACE(7, "Setting mlagId for ", intfId, " from ", mlagId_, " to ", id);
         mlagIdIs(id);
      }
   }
   updateConfigCheckDbPeer(configCheckDesc_, configCheck_, mlagConfig(), mlagId_, record, name_);
   handleNestedIntfConfig();
   handleNestedGlobalConfig();
   initializedIs(true);
}

void P2pToStatehubSm::handleMlagIntfConfig(const Porta::IntfId & intfId) {
   if (!initialized()) return;
   if (!configCheckDesc_->mlagInterfacesOnly() || !(intfId.stringValue() == name_)) {
      MLAG_TRACE(8, name_, " SM for ", intfId, " ignoring mlag changes.");
      return;
   }
   const Kiv::String presentMlagId = mlagIdOf(mlagConfig(), intfId);
   if (presentMlagId.empty()) {
      // The peer entries already recorded stay as they are.
      MLAG_TRACE(7, name_, " SM for ", intfId, " removed from mlag config.");
      return;
   }
   MLAG_TRACE(7, name_, " SM for ", intfId, " updating for mlag changes.");
   updateConfigCheckDbPeer(configCheckDesc_, configCheck_, mlagConfig(), mlagId_, peerConfig(),
                           name_);
   // Later peer changes are named with the id the re-import used.
   mlagIdIs(presentMlagId);
}

void P2pToStatehubSm::handleAttrChange(Kiv::String attribute) {
   if (!initialized()) {
      MLAG_TRACE(8, "Attribute change before initialization of ", attribute);
      return;
   }
   MLAG_TRACE(8, "handle attr change ", attribute);
   const Kiv::String text = configCheckDesc_->attrName(attribute);
   const Kiv::PtrConst< GenericConfig > record = peerConfig();
   // An entry gone from the record leaves an empty peer value, not a deletion.
   const Kiv::String peerVal = record ? record->attr(attribute) : Kiv::String();
   const Porta::IntfId intfId = getIntfId(name_);
   filePeerValue(configCheck_, intfId, getParamName(configCheckDesc_, text, intfId, mlagId_, name_),
                 name_, peerVal);
}

void P2pToStatehubSm::handleCollectionChange(const CollectionConfig & collectionConfig) {
   if (!initialized()) return;
   MLAG_TRACE(8, "handle collection change on peer ", collectionConfig);
   const Porta::IntfId intfId = getIntfId(name_);
   const Kiv::String base = collectionMemberParam(
      collectionConfig.key(), configCheckDesc_->collectionName(collectionConfig.collection()));
   const Kiv::String paramName = getParamName(configCheckDesc_, base, intfId, mlagId_, name_);
   if (paramName.empty()) return;
   const Kiv::PtrConst< GenericConfig > record = peerConfig();
   filePeerValue(configCheck_, intfId, paramName, name_,
                 record ? record->attrCollection(collectionConfig) : Kiv::String());
}

void P2pToStatehubSm::handleNestedGlobalConfig(Kiv::String configName) {
   MLAG_TRACE_FN(8,
                 "void Mlag::ConfigCheck::P2pToStatehubSm::handleNestedGlobalConfig(Kiv::String)",
                 " for ", configName);
   enqueue(SmCodefKey(Kiv::Name(configName), name_));
}

void P2pToStatehubSm::handleNestedGlobalConfig() {
   const Kiv::PtrConst< GenericConfig > record = peerConfig();
   if (!record) return;
   for (auto & it : record->nestedGlobalConfigMap()) handleNestedGlobalConfig(it.key());
}

void P2pToStatehubSm::handleNestedIntfConfig(Kiv::String configName) {
   MLAG_TRACE_FN(8, "void Mlag::ConfigCheck::P2pToStatehubSm::handleNestedIntfConfig(Kiv::String)",
                 " for ", configName);
   enqueue(SmCodefKey(Kiv::Name(configName), name_));
}

void P2pToStatehubSm::handleNestedIntfConfig() {
   const Kiv::PtrConst< GenericConfig > record = peerConfig();
   if (!record) return;
   for (auto & it : record->nestedIntfConfigMap()) handleNestedIntfConfig(it.key());
}

void P2pToStatehubSm::handleDelete() {
   MLAG_TRACE(7, "handling delete for ", name_);
   if (getIntfId(name_)) {
      handlePeerIntfDelete(configCheck_, name_);
   } else {
      handlePeerGroupDelete(configCheck_, name_);
   }
}

// A nested record goes with everything beneath it: what its nested machines
// wrote leaves the results too, as a fresh start would never have written it.
void P2pToStatehubSm::handleDeleteWithNested() {
   handleDelete();
   for (auto & it : nested_) it.value()->handleDeleteWithNested();
}

// Every key is handled alike, whatever its parameter name: an empty one, or
// one naming another machine (the enqueuing machine's name travels there),
// changes nothing, because the key's `name` alone says which nested
// configuration to reconcile, and it is looked up in this machine's record.
void P2pToStatehubSm::processSmCodefKey(const SmCodefKey & key) {
   const Kiv::String name = key.name();
   MLAG_TRACE_FN(8,
                 "void Mlag::ConfigCheck::P2pToStatehubSm::processSmCodefKey(const "
                 "Mlag::ConfigCheck::SmCodefKey&)",
                 key.name(), " for ", key.paramName());
   MLAG_TRACE(8, "p2ppeersm Nested config change ", name);
   const Kiv::PtrConst< GenericConfig > record = peerConfig();
   Kiv::Ptr< GenericConfig > peerGlobalConfig =
      record ? record->nestedGlobalConfig(key.name()) : Kiv::Ptr< GenericConfig >();
   Kiv::Ptr< GenericConfig > peerIntfConfig =
      record ? record->nestedIntfConfig(key.name()) : Kiv::Ptr< GenericConfig >();
   // The assertion's text is part of the fault report: keep its spelling.
   // clang-format off
   KIV_ASSERT(!( peerGlobalConfig && peerIntfConfig));
   // clang-format on
   if (!peerGlobalConfig && !peerIntfConfig) {
      Kiv::Ptr< P2pToStatehubSm > sm = p2pToStatehubSm(name);
      if (!sm) {
         MLAG_TRACE(8, "p2pToStatehubSm for ", name, " already deleted");
         return;
      }
      MLAG_TRACE(7, "Handle peer nested global config remove ", name);
      sm->handleDeleteWithNested();
      p2pToStatehubSmDel(name);
      return;
   }
   if (p2pToStatehubSm(name)) {
      MLAG_TRACE(8, "p2pToStatehubSm for ", name, " already exists");
      return;
   }
   MLAG_TRACE(7, "Handle peer nested config add ", name);
   const Kiv::PtrConst< Kiv::Clock > clock = Kiv::activityManager()->config()->clock();
   p2pToStatehubSmIs(clock, configCheck_, peerGlobalConfig ? peerGlobalConfig : peerIntfConfig,
                     name, mlagConfig());
}

std::uint64_t P2pToStatehubSm::processBacklog(const Kiv::Seconds & startTime) {
   MLAG_TRACE(8, " backlog size ", backlogSize());
   return doProcessConfigCheckBacklog(this, startTime);
}

void P2pToStatehubSm::hasNotificationActiveIs(bool active) {
   ConfigCheckSmBase::hasNotificationActiveIs(active);
   if (peerConfig_) peerConfig_->hasNotificationActiveIs(active);
   if (mlagConfig_) mlagConfig_->hasNotificationActiveIs(active);
}

void P2pToStatehubSm::kivDoZombieReactors(bool zombie) {
   ConfigCheckSmBase::kivDoZombieReactors(zombie);
   if (peerConfig_) peerConfig_->kivDoZombieReactors(zombie);
   if (mlagConfig_) mlagConfig_->kivDoZombieReactors(zombie);
   for (auto & it : nested_) it.value()->kivDoZombieReactors(zombie);
}

} // namespace Mlag::ConfigCheck
