#include "StatehubToP2pSm.h"

#include "MlagConfigCheckDbUpdate.h"
#include "MlagConfigCheckNaming.h"
#include "MlagConfigCheckReinstantiate.h"
#include "MlagConfigCheckTrace.h"
#include "MlagConfigCheckUtil.h"

namespace Mlag::ConfigCheck {

namespace {

constexpr char kivTraceSource[] = "MlagConfigCheckSm";
constexpr char updateDbSignature[] =
   "void Mlag::ConfigCheck::StatehubToP2pSm::updateConfigCheckDb(const Kiv::GenericValue&, "
   "const Ptr&, const Kiv::KivAttr&)";

// Clears what the local side recorded for the configuration named `name`.
void clearLocalEntries(const Kiv::Ptr< ConfigPluginDir > & configCheck, const Kiv::String & name) {
   if (getIntfId(name)) {
      handleLocalIntfDelete(configCheck, name);
   } else {
      handleLocalGroupDelete(configCheck, name);
   }
}

} // namespace

StatehubToP2pSm::StatehubToP2pSm(const Kiv::PtrConst< Kiv::Clock > & clock,
                                 const Kiv::Ptr< ConfigPluginDir > & configCheck,
                                 const Kiv::String & name,
                                 const Kiv::Ptr< Kiv::GenericIf > & readConfig,
                                 const Kiv::Ptr< GenericConfig > & writeConfig,
                                 const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
                                 const Kiv::PtrConst< Mlag::Config > & mlagConfig)
      : ConfigCheckSmBase(clock),
        configCheck_(configCheck),
        name_(name),
        readConfig_(readConfig),
        writeConfig_(writeConfig),
        configCheckDesc_(configCheckDesc) {
   watchMlagConfig(mlagConfig_, mlagConfig, this);
   handleInitialized();
}

StatehubToP2pSm::~StatehubToP2pSm() {
   doCleanup();
   kivDoZombieReactors(true);
   statehubToP2pSmDelAll();
   backlogDelAll();
}

Kiv::Ptr< StatehubToP2pSm > StatehubToP2pSm::StatehubToP2pSmIs(
   const Kiv::PtrConst< Kiv::Clock > & clock, const Kiv::Ptr< ConfigPluginDir > & configCheck,
   const Kiv::String & name, const Kiv::Ptr< Kiv::GenericIf > & readConfig,
   const Kiv::Ptr< GenericConfig > & writeConfig,
   const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
   const Kiv::PtrConst< Mlag::Config > & mlagConfig) {
   Kiv::validPtr(clock);
   Kiv::validPtr(configCheck);
   Kiv::validPtr(writeConfig);
   Kiv::validPtr(configCheckDesc);
   auto sm = Kiv::kivNew< StatehubToP2pSm >(clock, configCheck, name, readConfig, writeConfig,
                                            configCheckDesc, mlagConfig);
   sm->hasNotificationActiveIs(true);
   return sm;
}

Kiv::PtrConst< Mlag::Config > StatehubToP2pSm::mlagConfig() const {
   return watchedMlagConfig(mlagConfig_);
}

void StatehubToP2pSm::mlagConfigIs(const Kiv::PtrConst< Mlag::Config > & mlagConfig) {
   watchMlagConfig(mlagConfig_, mlagConfig, this);
}

Kiv::PtrConst< Mlag::Config > StatehubToP2pSm::mlagConfigDel() {
   Kiv::PtrConst< Mlag::Config > watched = mlagConfig();
   mlagConfig_.reset();
   return watched;
}

void StatehubToP2pSm::mlagIdIs(const Kiv::String & mlagId) {
   if (mlagId_ == mlagId) return;
   mlagId_ = mlagId;
}

void StatehubToP2pSm::genericHandlerIs(std::unique_ptr< GenericHandler > handler) {
   genericHandler_ = std::move(handler);
}

Kiv::Ptr< StatehubToP2pSm > StatehubToP2pSm::statehubToP2pSm(const Kiv::String & name) const {
   const Kiv::Ptr< StatehubToP2pSm > * sm = nested_.get(name);
   return sm ? *sm : Kiv::Ptr< StatehubToP2pSm >();
}

Kiv::Ptr< StatehubToP2pSm > StatehubToP2pSm::statehubToP2pSmIs(
   const Kiv::PtrConst< Kiv::Clock > & clock, const Kiv::Ptr< ConfigPluginDir > & configCheck,
   const Kiv::String & name, const Kiv::Ptr< Kiv::GenericIf > & readConfig,
   const Kiv::Ptr< GenericConfig > & writeConfig,
   const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
   const Kiv::PtrConst< Mlag::Config > & mlagConfig) {
   if (Kiv::Ptr< StatehubToP2pSm > existing = statehubToP2pSm(name)) {
      refuseChangedParameter("_clock", clock, existing->clock());
      refuseChangedParameter("_configCheck", configCheck, existing->configCheck());
      refuseChangedParameter("_readConfig", readConfig, existing->readConfig());
      refuseChangedParameter("_writeConfig", writeConfig, existing->writeConfig());
      refuseChangedParameter("_configCheckDesc", configCheckDesc, existing->configCheckDesc());
      refuseChangedParameter("_mlagConfig", mlagConfig, existing->mlagConfig());
      return existing;
   }
   auto sm = StatehubToP2pSmIs(clock, configCheck, name, readConfig, writeConfig, configCheckDesc,
                               mlagConfig);
   nested_.insert(name, sm);
   nestedChanged(name);
   return sm;
}

void StatehubToP2pSm::statehubToP2pSmDel(const Kiv::String & name) {
   if (nested_.erase(name)) nestedChanged(name);
}

void StatehubToP2pSm::statehubToP2pSmDelAll() {
   for (auto & it : nested_) {
      const Kiv::String name = it.key();
      nested_.erase(it);
      nestedChanged(name);
   }
}

void StatehubToP2pSm::statehubToP2pSmNotify(const Kiv::String & name) { nestedChanged(name); }

Kiv::NotifierList & StatehubToP2pSm::kivNotifierList() {
   if (!notifiers_) notifiers_ = std::make_unique< Kiv::NotifierList >();
   return *notifiers_;
}

void StatehubToP2pSm::nestedChanged(const Kiv::String & name) {
   if (!notifiers_ || !hasNotificationActive() || isZombie()) return;
   notifiers_->notify< NotifieeConst >([&](NotifieeConst & n) { n.onStatehubToP2pSm(name); });
}

void StatehubToP2pSm::handleInitialized() {
   MLAG_TRACE(7, "Initializing Sm for ", name_, ", write config ", writeConfig_);
   copyDefaultAttributes();
   if (!genericHandler_ && readConfig_) {
      genericHandlerIs(std::make_unique< GenericHandler >(readConfig_, this));
   }
   const Porta::IntfId intfId = getIntfId(name_);
   if (intfId && configCheckDesc_->mlagInterfacesOnly()) {
      const Kiv::String id = mlagIdOf(mlagConfig(), intfId);
      if (!id.empty()) {
         MLAG_TRACE(7, "Setting mlagId for ", name_, " to ", id);
         mlagIdIs(id);
      }
   }
   if (readConfig_) {
      const Kiv::KivType & type = readConfig_->kivType();
      for (auto & nested : configCheckDesc_->nestedConfigCheckDescMap()) {
         const Kiv::String attrName = nested.key();
         const Kiv::KivAttr * attr = type.attr(attrName.view());
         if (!attr || !attr->collection) continue;
         for (Kiv::GenericIterator it = readConfig_->genericIfIterator(*attr); it.valid();
              it.advance()) {
            handleLocalSmCreation(stringUnquote(strRep(it.key())), attrName);
         }
      }
   }
   initializedIs(true);
}

void StatehubToP2pSm::copyDefaultAttributes() {
   MLAG_TRACE(7, "Copying default attributes for ", readConfig_);
   updateConfigCheckDbUtil(configCheckDesc_, configCheck_, mlagConfig(), mlagId_, readConfig_,
                           writeConfig_, name_, false);
}

void StatehubToP2pSm::handleMlagIntfConfig(const Porta::IntfId & intfId) {
   MLAG_TRACE(7, name_, " SM for ", " handling mlag changes for ", intfId);
   const Kiv::String intfName = intfId.stringValue();
   const Kiv::String presentMlagId = mlagIdOf(mlagConfig(), intfId);
   if (intfName == name_ && !(mlagId_ == presentMlagId)) {
      MLAG_TRACE(7, "mlag changed from ", mlagId_, " to ", presentMlagId);
      // Recopied while the old id is still stored, so that the entries
      // recorded under it are removed first.
      copyDefaultAttributes();
      mlagIdIs(presentMlagId);
   }
   for (auto & nested : configCheckDesc_->nestedConfigCheckDescMap()) {
      if (!nested.value()->mlagInterfacesOnly()) continue;
      const Kiv::String attrName = nested.key();
      if (presentMlagId.empty()) {
         MLAG_TRACE(7, name_, " SM deleting statehubToP2pSm for ", intfId);
         handleLocalSmDeletion(intfName, attrName);
      } else if (localElement(attrName, intfName)) {
         MLAG_TRACE(7, name_, " SM creating statehubToP2pSm for ", intfId, " mlag ", presentMlagId);
         handleLocalSmCreation(intfName, attrName);
      } else {
         MLAG_TRACE(7, name_, " SM failed to create statehubToP2pSm ", "for ", intfId);
      }
   }
}

void StatehubToP2pSm::doCleanup() {
   if (initialized()) {
      MLAG_TRACE(7, "Cleaning up Sm for ", name_, " config = ", readConfig_);
   }
   genericHandlerIs(nullptr);
   initializedIs(false);
}

Kiv::GenericValue StatehubToP2pSm::readConfigAccessor(const Kiv::GenericValue & key,
                                                      const Kiv::KivAttr & attr) {
   if (!readConfig_) return Kiv::GenericValue();
   try {
      return readConfig_->genericIfGet(attr, key);
   } catch (const Kiv::Exception &) {
      MLAG_TRACE(8, "Error during read config access of key ", key.strep().view());
      return Kiv::GenericValue();
   }
}

Kiv::GenericValue StatehubToP2pSm::localElement(const Kiv::String & attrName,
                                                const Kiv::String & key) const {
   if (!readConfig_) return Kiv::GenericValue();
   const Kiv::KivAttr * attr = readConfig_->kivType().attr(attrName.view());
   if (!attr || !attr->collection) return Kiv::GenericValue();
   // Most keys render as themselves: try the direct lookup first, so that
   // finding one element among thousands does not walk them all.
   const Kiv::GenericValue candidate(Kiv::Value::string(key));
   if (stringUnquote(strRep(candidate)) == key) {
      if (Kiv::GenericValue element = readConfig_->genericIfGet(*attr, candidate)) return element;
   }
   for (Kiv::GenericIterator it = readConfig_->genericIfIterator(*attr); it.valid(); it.advance()) {
      if (stringUnquote(strRep(it.key())) == key) return it.value();
   }
   return Kiv::GenericValue();
}

void StatehubToP2pSm::onAttributeChange(const Kiv::KivAttr & attr, const Kiv::GenericValue & key) {
   KIV_ASSERT(readConfig());
   KIV_ASSERT(writeConfig());
   const Kiv::GenericValue value = readConfigAccessor(key, attr);
   const Kiv::String valueStr = value ? strRep(value) : Kiv::String();
   const Kiv::String keyStr = key ? strRep(key) : Kiv::String();
   // The value shows in its own text form, the value string as a text.
   MLAG_TRACE(8, "On attribute change, parameter name = ", attr.name,
              ", readConfig = ", readConfig_, ", writeConfig = ", writeConfig_,
              ", value = ", value.strep().view(), " value string = ", valueStr,
              " , key = ", keyStr);
   const Kiv::String attrLookup = configCheckDesc_->attrName(attr.name);
   const Kiv::String collectionLookup = configCheckDesc_->collectionName(attr.name);
   MLAG_TRACE(8, "parameter name : ", attr.name, ", attr name lookup : ", attrLookup,
              ", entity collection name lookup : ", collectionLookup);
   const bool nested = bool(configCheckDesc_->nestedConfigCheckDesc(Kiv::Name(attr.name)));
   if (attrLookup.empty() && collectionLookup.empty() && !nested) {
      MLAG_TRACE(8, "Ignoring attribute change for ", attr.name);
      return;
   }
   if (nested) {
      const Kiv::String element = stringUnquote(keyStr);
      if (value) {
         MLAG_TRACE(8, "Creating new nested generic config for ", element);
         handleLocalSmCreation(element, attr.name);
      } else {
         MLAG_TRACE(8, "Processing deletion of interface ", element);
         handleLocalSmDeletion(element, attr.name);
      }
      return;
   }
   const Porta::IntfId intfId = getIntfId(name_);
   const Kiv::String memberKey = stringUnquote(keyStr);
   const Kiv::String base =
      attrLookup.empty() ? collectionMemberParam(memberKey, collectionLookup) : attrLookup;
   const Kiv::String paramName = getParamName(configCheckDesc_, base, intfId, mlagId_, name_);
   if (paramName.empty()) return; // not a parameter here: nothing is published or recorded
   const Kiv::String valueText = localValueText(*configCheckDesc_, valueStr);
   if (!attrLookup.empty()) {
      // A value equal to its default is left out of the record when absence
      // already means the default to the peer.
      if (!configCheckDesc_->absenceImpliesDefaultVal() ||
          !isValueDefault(configCheck_, paramName, name_, valueText)) {
         writeConfig_->attrIs(attr.name, valueText);
      } else {
         writeConfig_->attrDel(attr.name);
      }
   } else if (readConfig_->genericIfExist(attr, key)) {
      MLAG_TRACE(8, "Create an entry in local collection ", attr.name);
      writeConfig_->attrCollectionIs(CollectionConfig(attr.name, memberKey), valueText);
   } else {
      MLAG_TRACE(8, keyStr, " deleted for collection ", attr.name);
      writeConfig_->attrCollectionDel(CollectionConfig(attr.name, memberKey));
   }
   MLAG_TRACE(8, "Parameter ", paramName, " of ", name_, " has value ", valueText);
   updateConfigCheckDb(key, writeConfig_, attr, value, valueText);
}

void StatehubToP2pSm::updateConfigCheckDb(const Kiv::GenericValue & key,
                                          const Kiv::Ptr< GenericConfig > & writeConfig,
                                          const Kiv::KivAttr & attr) {
   const Kiv::GenericValue value = readConfigAccessor(key, attr);
   updateConfigCheckDb(key, writeConfig, attr, value, localValueText(*configCheckDesc_, value));
}

void StatehubToP2pSm::updateConfigCheckDb(const Kiv::GenericValue & key,
                                          const Kiv::Ptr< GenericConfig > & writeConfig,
                                          const Kiv::KivAttr & attr,
                                          const Kiv::GenericValue & value,
                                          const Kiv::String & valueText) {
   const Kiv::String keyStr = stringUnquote(key ? strRep(key) : Kiv::String());
   MLAG_TRACE_FN(8, updateDbSignature, "Interface ", name_, ", attr  ", attr.name,
                 ", key = ", keyStr, ", value = ", value.strep().view());
   const Kiv::String attrLookup = configCheckDesc_->attrName(attr.name);
   const Kiv::String collectionLookup = configCheckDesc_->collectionName(attr.name);
   if (!attrLookup.empty() || !collectionLookup.empty()) {
      const Porta::IntfId intfId = getIntfId(name_);
      const Kiv::String base =
         attrLookup.empty() ? collectionMemberParam(keyStr, collectionLookup) : attrLookup;
      fileLocalValue(*configCheckDesc_, configCheck_, intfId,
                     getParamName(configCheckDesc_, base, intfId, mlagId_, name_), name_, valueText,
                     configCheckDesc_->defaultVal(attr.name));
      return;
   }
   if (Kiv::Ptr< ConfigCheckDesc > nestedDesc =
          configCheckDesc_->nestedConfigCheckDesc(Kiv::Name(attr.name))) {
      const Kiv::Ptr< GenericConfig > record =
         getIntfId(keyStr) ? writeConfig->nestedIntfConfig(Kiv::Name(keyStr))
                           : writeConfig->nestedGlobalConfig(Kiv::Name(keyStr));
      updateConfigCheckDbUtil(nestedDesc, configCheck_, mlagConfig(), mlagId_,
                              value.isEntity() ? value.entity() : Kiv::Ptr< Kiv::GenericIf >(),
                              record, keyStr, false);
      return;
   }
   MLAG_TRACE_FN(8, updateDbSignature, "Ignoring interface create for", name_);
}

void StatehubToP2pSm::handleLocalSmCreation(Kiv::String name, Kiv::String paramName) {
   MLAG_TRACE_FN(
      8, "void Mlag::ConfigCheck::StatehubToP2pSm::handleLocalSmCreation(Kiv::String, Kiv::String)",
      paramName, " for ", name);
   enqueue(SmCodefKey(Kiv::Name(name), paramName));
}

void StatehubToP2pSm::handleLocalSmDeletion(Kiv::String name, Kiv::String paramName) {
   MLAG_TRACE_FN(
      8, "void Mlag::ConfigCheck::StatehubToP2pSm::handleLocalSmDeletion(Kiv::String, Kiv::String)",
      paramName, " for ", name);
   enqueue(SmCodefKey(Kiv::Name(name), paramName));
}

void StatehubToP2pSm::processSmCodefKey(const SmCodefKey & key) {
   const Kiv::String & paramName = key.paramName();
   const Kiv::String name = key.name();
   Kiv::Ptr< ConfigCheckDesc > nestedDesc =
      configCheckDesc_->nestedConfigCheckDesc(Kiv::Name(paramName));
   if (!nestedDesc || paramName.empty()) {
      MLAG_TRACE(8, "Ignoring changes of type ", paramName, " name ", name);
      return;
   }
   const Kiv::GenericValue element = localElement(paramName, name);
   const Porta::IntfId intfId = getIntfId(name);
   if (element) {
      MLAG_TRACE(8, "Processing create for ", name);
      if (nestedDesc->mlagInterfacesOnly() && mlagIdOf(mlagConfig(), intfId).empty()) {
         MLAG_TRACE(8, "Ignoring request for statehubToP2pSm creation for ", name);
         return;
      }
      if (statehubToP2pSm(name)) {
         MLAG_TRACE(8, "statehubToP2pSm for ", name, " already exists");
         return;
      }
      Kiv::Ptr< GenericConfig > record = intfId
                                            ? writeConfig_->nestedIntfConfigIs(Kiv::Name(name))
                                            : writeConfig_->nestedGlobalConfigIs(Kiv::Name(name));
      if (!record) {
         MLAG_TRACE(8, "Error in determining p2p entity to write to for ", name);
         return;
      }
      record->paramNameIs(paramName);
      MLAG_TRACE(7, "Creating statehubToP2pSm for paramName ", paramName, ", name ", name);
      if (!element.isEntity()) {
         MLAG_TRACE(8, name_, " SM failed to create statehubToP2pSm for ", name);
         return;
      }
      statehubToP2pSmIs(clock(), configCheck_, name, element.entity(), record, nestedDesc,
                        mlagConfig());
      return;
   }
   MLAG_TRACE(7, "Processing delete for ", name);
   if (!statehubToP2pSm(name)) {
      MLAG_TRACE(8, "statehubToP2pSm for ", name, " already deleted");
      return;
   }
   // The element goes with everything beneath it: what its own nested
   // machines published leaves the results too, as a fresh start would
   // never have written it.
   std::vector< Kiv::String > beneath;
   statehubToP2pSm(name)->collectNestedNames(beneath);
   statehubToP2pSmDel(name);
   if (intfId) {
      writeConfig_->nestedIntfConfigDel(Kiv::Name(name));
      handleLocalIntfDelete(configCheck_, name);
   } else {
      writeConfig_->nestedGlobalConfigDel(Kiv::Name(name));
      handleLocalGroupDelete(configCheck_, name);
   }
   for (const Kiv::String & nested : beneath) clearLocalEntries(configCheck_, nested);
}

void StatehubToP2pSm::collectNestedNames(std::vector< Kiv::String > & names) const {
   for (auto & it : nested_) {
      names.push_back(it.key());
      it.value()->collectNestedNames(names);
   }
}

std::uint64_t StatehubToP2pSm::processBacklog(const Kiv::Seconds & startTime) {
   MLAG_TRACE(8, " backlog size ", backlogSize());
   return doProcessConfigCheckBacklog(this, startTime);
}

void StatehubToP2pSm::hasNotificationActiveIs(bool active) {
   ConfigCheckSmBase::hasNotificationActiveIs(active);
   if (mlagConfig_) mlagConfig_->hasNotificationActiveIs(active);
   // A machine switched off hears no attribute changes either.
   if (genericHandler_) genericHandler_->hasNotificationActiveIs(active);
   for (auto & it : nested_) it.value()->hasNotificationActiveIs(active);
}

void StatehubToP2pSm::kivDoZombieReactors(bool zombie) {
   ConfigCheckSmBase::kivDoZombieReactors(zombie);
   if (mlagConfig_) mlagConfig_->kivDoZombieReactors(zombie);
   if (genericHandler_) genericHandler_->kivDoZombieReactors(zombie);
}

} // namespace Mlag::ConfigCheck
