#include "MlagConfigCheckDbUpdate.h"

#include <vector>

#include "MlagConfigCheckNaming.h"
#include "MlagConfigCheckTrace.h"
#include "MlagConfigCheckUtil.h"

namespace Mlag::ConfigCheck {

namespace {

constexpr char kivTraceSource[] = "MlagConfigCheckSm";
constexpr char updateUtilSignature[] =
   "void Mlag::ConfigCheck::updateConfigCheckDbUtil(const Ptr&, const Ptr&, const PtrConst&, "
   "Kiv::String, const Ptr&, const Ptr&, Kiv::String, bool)";

} // namespace

void fileLocalValue(const ConfigCheckDesc & desc, const Kiv::Ptr< ConfigPluginDir > & pluginDir,
                    const Porta::IntfId & intfId, const Kiv::String & paramName,
                    const Kiv::String & name, const Kiv::String & value,
                    const Kiv::String & defaultValue) {
   if (paramName.empty()) return;
   if (intfId) {
      doInsertLocalIntfParam(pluginDir, paramName, name, value, defaultValue,
                             desc.absenceImpliesDefaultVal());
   } else {
      doInsertLocalParam(pluginDir, paramName, name, value);
   }
}

void filePeerValue(const Kiv::Ptr< ConfigPluginDir > & pluginDir, const Porta::IntfId & intfId,
                   const Kiv::String & paramName, const Kiv::String & owner,
                   const Kiv::String & peerVal) {
   if (paramName.empty()) return;
   if (intfId) {
      doInsertPeerIntfParam(pluginDir, paramName, owner, peerVal);
   } else {
      doInsertPeerParam(pluginDir, paramName, owner, peerVal);
   }
}

Kiv::String mlagIdOf(const Kiv::PtrConst< Mlag::Config > & mlagConfig,
                     const Porta::IntfId & intfId) {
   if (!intfId || !mlagConfig) return Kiv::String();
   return mlagConfig->intfConfig(intfId).mlagId();
}

void updateConfigCheckDbUtil(const Kiv::Ptr< ConfigCheckDesc > & desc,
                             const Kiv::Ptr< ConfigPluginDir > & pluginDir,
                             const Kiv::PtrConst< Mlag::Config > & mlagConfig, Kiv::String mlagId,
                             const Kiv::Ptr< Kiv::GenericIf > & config,
                             const Kiv::Ptr< GenericConfig > & p2pConfig, Kiv::String name,
                             bool /*flag*/) {
   const Porta::IntfId intfId = getIntfId(name);
   const Kiv::String presentMlagId = mlagIdOf(mlagConfig, intfId);
   if (!mlagId.empty() && !(mlagId == presentMlagId)) {
      MLAG_TRACE_FN(7, updateUtilSignature, "Removing parameters with mlag ", mlagId);
      handleLocalIntfDelete(pluginDir, name);
   }
   if (!config) return;
   const Kiv::KivType & type = config->kivType();

   // Every parameter is named before the first is filed, so that an
   // interface's table entries are asked for together; the descriptor does
   // not change meanwhile, so both walks meet its attributes in one order.
   // getParamName traces only where it names nothing, for every attribute of
   // the call alike, and such attributes trace nothing more: the trace reads
   // as before.
   std::vector< Kiv::String > paramNames;
   paramNames.reserve(desc->attrNameMap().size());
   for (auto & it : desc->attrNameMap()) {
      paramNames.push_back(getParamName(desc, it.value(), intfId, presentMlagId, name));
   }
   if (intfId) prefetchIntfTables(pluginDir, paramNames);

   std::size_t position = 0;
   for (auto & it : desc->attrNameMap()) {
      const Kiv::String attr = it.key();
      const Kiv::String & paramName = paramNames[position++];
      if (paramName.empty()) continue;
      const Kiv::KivAttr * attrRecord = type.attr(attr.view());
      if (!attrRecord || attrRecord->collection) continue;
      Kiv::String value = localValueText(*desc, config->genericIfGet(*attrRecord));
      Kiv::String defaultValue = desc->defaultVal(attr);
      if (!defaultValue.empty()) {
         MLAG_TRACE_FN(9, updateUtilSignature, "Default value is ", defaultValue, " for attribute ",
                       attr);
      }
      MLAG_TRACE_FN(9, updateUtilSignature, "Updating ", paramName, " with local val ", value);
      fileLocalValue(*desc, pluginDir, intfId, paramName, name, value, defaultValue);
      if (!p2pConfig) continue;
      // A value equal to its default is left out of the record: to the peer,
      // its absence already means the default.
      if (!desc->absenceImpliesDefaultVal() || !isValueDefault(pluginDir, paramName, name, value)) {
         p2pConfig->attrIs(attr, value);
      }
   }

   for (auto & it : desc->collectionNameMap()) {
      const Kiv::String coll = it.key();
      const Kiv::String displayName = it.value();
      const Kiv::KivAttr * attrRecord = type.attr(coll.view());
      if (!attrRecord || !attrRecord->collection) continue;
      const Kiv::String defaultValue = desc->defaultVal(coll);
      for (Kiv::GenericIterator member = config->genericIfIterator(*attrRecord); member.valid();
           member.advance()) {
         const Kiv::String key = stringUnquote(strRep(member.key()));
         Kiv::String paramName = getParamName(desc, collectionMemberParam(key, displayName), intfId,
                                              presentMlagId, name);
         if (paramName.empty()) continue;
         Kiv::String value = localValueText(*desc, member.value());
         MLAG_TRACE_FN(9, updateUtilSignature, "Updating ", paramName, " with local val ", value);
         // Members are published first and whatever their value.
         if (p2pConfig) p2pConfig->attrCollectionIs(CollectionConfig(coll, key), value);
         fileLocalValue(*desc, pluginDir, intfId, paramName, name, value, defaultValue);
      }
   }
}

void updateConfigCheckDbPeer(const Kiv::Ptr< ConfigCheckDesc > & desc,
                             const Kiv::Ptr< ConfigPluginDir > & pluginDir,
                             const Kiv::PtrConst< Mlag::Config > & mlagConfig, Kiv::String mlagId,
                             const Kiv::PtrConst< GenericConfig > & peerConfig, Kiv::String name) {
   const Porta::IntfId intfId = getIntfId(name);
   const Kiv::String presentMlagId = mlagIdOf(mlagConfig, intfId);
   if (!mlagId.empty() && !(mlagId == presentMlagId)) handlePeerIntfDelete(pluginDir, name);
   if (!peerConfig) return;
   // Named first, filed after, as on the local side. Only the transport
   // writes the record, never a filing, so the values read first still hold.
   std::vector< Kiv::String > paramNames;
   std::vector< Kiv::String > peerVals;
   paramNames.reserve(peerConfig->attrMap().size());
   peerVals.reserve(peerConfig->attrMap().size());
   for (auto & it : peerConfig->attrMap()) {
      paramNames.push_back(
         getParamName(desc, desc->attrName(it.key()), intfId, presentMlagId, name));
      peerVals.push_back(it.value());
   }
   if (intfId) prefetchIntfTables(pluginDir, paramNames);
   for (std::size_t i = 0; i < paramNames.size(); ++i) {
      insertPeerParam(pluginDir, paramNames[i], name, intfId, peerVals[i]);
   }
   for (auto & it : peerConfig->attrCollectionMap()) {
      const CollectionConfig & member = it.key();
      Kiv::String base =
         collectionMemberParam(member.key(), desc->collectionName(member.collection()));
      Kiv::String paramName = getParamName(desc, base, intfId, presentMlagId, name);
      insertPeerParam(pluginDir, paramName, name, intfId, it.value());
   }
}

void insertPeerParam(const Kiv::Ptr< ConfigPluginDir > & pluginDir, Kiv::String paramName,
                     Kiv::String owner, Porta::IntfId intfId, Kiv::String peerVal) {
   if (paramName.empty()) return;
   MLAG_TRACE(9, "Updating ", paramName, " with peer val ", peerVal);
   filePeerValue(pluginDir, intfId, paramName, owner, peerVal);
}

} // namespace Mlag::ConfigCheck
