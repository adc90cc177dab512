#include "ResultJson.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

namespace MlagSim {

namespace {

std::string text(const Kiv::String & s) { return s.stdString(); }

} // namespace

nlohmann::json globalEntryJson(const Kiv::String & groupId, const Kiv::String & local,
                               const Kiv::String & peer) {
   return {{"groupId", text(groupId)}, {"local", text(local)}, {"peer", text(peer)}};
}

nlohmann::json intfEntryJson(const Kiv::String & defaultVal, const Kiv::String & local,
                             const Kiv::String & peer) {
   return {{"default", text(defaultVal)}, {"local", text(local)}, {"peer", text(peer)}};
}

nlohmann::json resultsDirJson(const Mlag::ConfigCheck::ConfigPluginDir & dir) {
   nlohmann::json global = nlohmann::json::object();
   for (auto & it : dir.configGlobalDiffMap()) {
      const auto & entry = *it.value();
      global[text(it.key())] = globalEntryJson(entry.groupId(), entry.localVal(), entry.peerVal());
   }
   nlohmann::json interface = nlohmann::json::object();
   for (auto & table : dir.configIntfDirMap()) {
      nlohmann::json entries = nlohmann::json::object();
      for (auto & it : table.value()->configIntfDiffMap()) {
         const auto & entry = *it.value();
         entries[text(it.key())] =
            intfEntryJson(entry.defaultVal(), entry.localVal(), entry.peerVal());
      }
      interface[text(table.key())] = std::move(entries);
   }
   return {{"global", std::move(global)}, {"interface", std::move(interface)}};
}

nlohmann::json recordJson(const MlagP2p::ConfigCheck::GenericConfig & record) {
   nlohmann::json attr = nlohmann::json::object();
   for (auto & it : record.attrMap()) attr[text(it.key())] = text(it.value());

   std::vector< std::tuple< std::string, std::string, std::string > > members;
   for (auto & it : record.attrCollectionMap()) {
      members.emplace_back(text(it.key().collection()), text(it.key().key()), text(it.value()));
   }
   std::sort(members.begin(), members.end());
   nlohmann::json collection = nlohmann::json::array();
   for (const auto & [name, key, value] : members) {
      collection.push_back({{"collection", name}, {"key", key}, {"value", value}});
   }

   nlohmann::json nestedGlobal = nlohmann::json::object();
   for (auto & it : record.nestedGlobalConfigMap()) {
      nestedGlobal[text(it.key())] = recordJson(*it.value());
   }
   nlohmann::json nestedIntf = nlohmann::json::object();
   for (auto & it : record.nestedIntfConfigMap()) {
      nestedIntf[text(it.key())] = recordJson(*it.value());
   }
   return {{"attr", std::move(attr)},
           {"attrCollection", std::move(collection)},
           {"nestedGlobalConfig", std::move(nestedGlobal)},
           {"nestedIntfConfig", std::move(nestedIntf)},
           {"paramName", text(record.paramName())}};
}

} // namespace MlagSim
