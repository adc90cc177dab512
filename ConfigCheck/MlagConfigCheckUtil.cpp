#include "MlagConfigCheckUtil.h"

#include "MlagConfigCheckTrace.h"
#include "kiv/Assert.h"

namespace Mlag::ConfigCheck {

namespace {

constexpr char kivTraceSource[] = "MlagConfigCheckUtil";

// The other side's value keeps an entry alive unless it is one of these.
bool isAbsentValue(const Kiv::String & value) {
   return value.empty() || value == "0" || value == "-";
}

Kiv::Name provisionalPeerKey(const Kiv::String & intfName) { return Kiv::Name("Peer" + intfName); }

// Removes the table of `paramName` once it has no entries left.
void deleteTableIfEmpty(const PluginDirPtr & pluginPtr, const Kiv::Ptr< ConfigIntfDir > & table) {
   if (table->configIntfDiffSize() == 0) pluginPtr->configIntfDirDel(table->name());
}

} // namespace

bool isValueDefault(PluginDirPtr pluginPtr, Kiv::String paramName, Kiv::String intfName,
                    Kiv::String value) {
   KIV_ASSERT(pluginPtr);
   KIV_ASSERT(intfName);
   Kiv::Ptr< ConfigIntfDir > table = pluginPtr->configIntfDir(Kiv::Name(paramName));
   if (!table) {
      MLAG_TRACE(9, "no intfTable for ", paramName);
      return false;
   }
   Kiv::Ptr< ConfigIntfDiff > entry = table->configIntfDiff(Kiv::Name(intfName));
   if (!entry) {
      MLAG_TRACE(9, "no intfEntry for ", intfName);
      return false;
   }
   if (value == entry->defaultVal()) return true;
   MLAG_TRACE(9, "Inspected value ", value, " does not match default ", entry->defaultVal());
   return false;
}

void doInsertLocalParam(PluginDirPtr pluginPtr, Kiv::String paramName, Kiv::String groupId,
                        Kiv::String localVal) {
   MLAG_TRACE(9, "Insert request for paramName=", paramName, ", groupId=", groupId,
              ", localval=", localVal);
   KIV_ASSERT(pluginPtr);
   Kiv::Ptr< ConfigGlobalDiff > entry = pluginPtr->configGlobalDiffIs(Kiv::Name(paramName));
   if (!groupId.empty() && !(groupId == "Local")) entry->groupIdIs(groupId);
   entry->localValIs(localVal);
}

void doInsertLocalIntfParam(PluginDirPtr pluginPtr, Kiv::String paramName, Kiv::String intfName,
                            Kiv::String localVal, Kiv::String defaultVal,
                            bool absenceImpliesDefaultVal) {
   MLAG_TRACE(9, "Insert request for intfname=", intfName, ", paramName=", paramName,
              ", localval=", localVal, ", defaultVal=", defaultVal,
              ", absenceImpliesDefaultVal=", absenceImpliesDefaultVal);
   KIV_ASSERT(pluginPtr);
   KIV_ASSERT(intfName);
   Kiv::Ptr< ConfigIntfDir > table = pluginPtr->configIntfDirIs(Kiv::Name(paramName));
   Kiv::Ptr< ConfigIntfDiff > entry = table->configIntfDiff(Kiv::Name(intfName));
   if (!entry) {
      // A peer value that arrived first waits under the provisional key; the
      // new entry adopts it. A table created just now holds none.
      Kiv::Ptr< ConfigIntfDiff > provisional;
      if (table->configIntfDiffSize() != 0) {
         provisional = table->configIntfDiff(provisionalPeerKey(intfName));
      }
      entry = table->configIntfDiffIs(Kiv::Name(intfName));
      if (provisional) {
         entry->peerValIs(provisional->peerVal());
         table->configIntfDiffDel(provisional->name());
      }
   }
   if (!defaultVal.empty()) entry->defaultValIs(defaultVal);
   if (absenceImpliesDefaultVal && localVal == entry->defaultVal()) {
      entry->localValIs(Kiv::String());
   } else {
      entry->localValIs(localVal);
   }
}

void doInsertPeerParam(PluginDirPtr pluginPtr, Kiv::String paramName, Kiv::String groupId,
                       Kiv::String peerVal) {
   MLAG_TRACE(9, "Insert request for paramName=", paramName, ", groupId=", groupId,
              ", peerval=", peerVal);
   KIV_ASSERT(pluginPtr);
   Kiv::Ptr< ConfigGlobalDiff > entry = pluginPtr->configGlobalDiffIs(Kiv::Name(paramName));
   if (!groupId.empty() && !(groupId == "Peer")) entry->groupIdIs(groupId);
   entry->peerValIs(peerVal);
}

void doInsertPeerIntfParam(PluginDirPtr pluginPtr, Kiv::String paramName, Kiv::String intfName,
                           Kiv::String peerVal) {
   MLAG_TRACE(9, "Insert request for intfname=", intfName, ", paramName=", paramName,
              ", peerval=", peerVal);
   KIV_ASSERT(pluginPtr);
   KIV_ASSERT(intfName);
   Kiv::Ptr< ConfigIntfDir > table = pluginPtr->configIntfDirIs(Kiv::Name(paramName));
   if (Kiv::Ptr< ConfigIntfDiff > entry = table->configIntfDiff(Kiv::Name(intfName))) {
      entry->peerValIs(peerVal);
      return;
   }
   // Only the local side creates entries under the plain interface name.
   table->configIntfDiffIs(provisionalPeerKey(intfName))->peerValIs(peerVal);
}

void prefetchIntfTables(const PluginDirPtr & pluginPtr,
                        const std::vector< Kiv::String > & paramNames) {
   KIV_ASSERT(pluginPtr);
   const auto & tables = pluginPtr->configIntfDirMap();
   for (const Kiv::String & paramName : paramNames) {
      if (!paramName.empty()) tables.prefetchBucket(Kiv::Name(paramName));
   }
   for (const Kiv::String & paramName : paramNames) {
      if (!paramName.empty()) tables.prefetchSlot(Kiv::Name(paramName));
   }
}

void handleLocalIntfDelete(PluginDirPtr pluginPtr, Kiv::String intfName) {
   KIV_ASSERT(pluginPtr);
   MLAG_TRACE(7, "Clearing local entry for plugin ", pluginPtr->name(), " interface name ",
              intfName);
   const Kiv::Name intfKey(intfName);
   for (auto & it : pluginPtr->configIntfDirMap()) {
      Kiv::Ptr< ConfigIntfDir > table = it.value();
      Kiv::Ptr< ConfigIntfDiff > entry = table->configIntfDiff(intfKey);
      if (!entry) continue;
      MLAG_TRACE(8, "Clearing local entry ", table->name(), " for plugin ", pluginPtr->name());
      entry->localValIs(Kiv::String());
      if (isAbsentValue(entry->peerVal())) {
         table->configIntfDiffDel(intfKey);
         deleteTableIfEmpty(pluginPtr, table);
      } else {
         // The peer value waits under the provisional key until a local
         // insert adopts it again.
         Kiv::Ptr< ConfigIntfDiff > provisional =
            table->configIntfDiffIs(provisionalPeerKey(intfName));
         provisional->peerValIs(entry->peerVal());
         provisional->localValIs(Kiv::String());
         table->configIntfDiffDel(intfKey);
      }
   }
}

void handlePeerIntfDelete(PluginDirPtr pluginPtr, Kiv::String intfName) {
   KIV_ASSERT(pluginPtr);
   MLAG_TRACE(7, "Clearing peer entry for plugin ", pluginPtr->name(), " peer interface name ",
              intfName);
   const Kiv::Name intfKey(intfName);
   const Kiv::Name provisionalKey = provisionalPeerKey(intfName);
   for (auto & it : pluginPtr->configIntfDirMap()) {
      Kiv::Ptr< ConfigIntfDir > table = it.value();
      if (Kiv::Ptr< ConfigIntfDiff > entry = table->configIntfDiff(intfKey)) {
         entry->peerValIs(Kiv::String());
      }
      if (Kiv::Ptr< ConfigIntfDiff > provisional = table->configIntfDiff(provisionalKey)) {
         provisional->peerValIs(Kiv::String());
         table->configIntfDiffDel(provisionalKey);
         deleteTableIfEmpty(pluginPtr, table);
      }
   }
}

void handleLocalGroupDelete(PluginDirPtr pluginPtr, Kiv::String groupId) {
   KIV_ASSERT(pluginPtr);
   for (auto & it : pluginPtr->configGlobalDiffMap()) {
      Kiv::Ptr< ConfigGlobalDiff > entry = it.value();
      if (!(entry->groupId() == groupId)) continue;
      // No blank before "for": this trace text is kept exactly as it has always read.
      MLAG_TRACE(8, "Clearing local entry ", entry->name(), "for plugin ", pluginPtr->name());
      entry->localValIs(Kiv::String());
      if (isAbsentValue(entry->peerVal())) pluginPtr->configGlobalDiffDel(entry->name());
   }
}

void handlePeerGroupDelete(PluginDirPtr pluginPtr, Kiv::String groupId) {
   KIV_ASSERT(pluginPtr);
   for (auto & it : pluginPtr->configGlobalDiffMap()) {
      Kiv::Ptr< ConfigGlobalDiff > entry = it.value();
      if (!(entry->groupId() == groupId)) continue;
      MLAG_TRACE(8, "Clearing peer entry ", entry->name(), " for plugin ", pluginPtr->name());
      entry->peerValIs(Kiv::String());
      if (isAbsentValue(entry->localVal())) pluginPtr->configGlobalDiffDel(entry->name());
   }
}

void localDeleteAll(PluginDirPtr pluginPtr) {
   KIV_ASSERT(pluginPtr);
   for (auto & it : pluginPtr->configGlobalDiffMap()) {
      Kiv::Name paramName = it.key();
      MLAG_TRACE(8, "Clearing entry ", paramName, " for plugin ", pluginPtr->name());
      pluginPtr->configGlobalDiffDel(paramName);
   }
   for (auto & it : pluginPtr->configIntfDirMap()) {
      Kiv::Ptr< ConfigIntfDir > table = it.value();
      table->configIntfDiffDelAll();
      pluginPtr->configIntfDirDel(table->name());
   }
}

} // namespace Mlag::ConfigCheck
