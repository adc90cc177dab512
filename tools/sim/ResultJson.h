// The result JSON of one plugin on one switch: its results directory and its
// local peer-to-peer record, every entry as it stands (provisional "Peer"
// keys and empty tables included). Object keys come out in byte order.
//
//   nlohmann::json r = resultsDirJson(*dir);     // {"global": {...}, "interface": {...}}
//   r["record"] = recordJson(*localRecord);
#pragma once

#include <nlohmann/json.hpp>

#include "ConfigCheck/ConfigPluginDir.h"
#include "ConfigCheck/GenericConfig.h"

namespace MlagSim {

// {"global": {param: {"groupId", "local", "peer"}},
//  "interface": {param: {intf: {"default", "local", "peer"}}}}
nlohmann::json resultsDirJson(const Mlag::ConfigCheck::ConfigPluginDir & dir);

// One member of "global", and one entry of an interface table, from its values.
nlohmann::json globalEntryJson(const Kiv::String & groupId, const Kiv::String & local,
                               const Kiv::String & peer);
nlohmann::json intfEntryJson(const Kiv::String & defaultVal, const Kiv::String & local,
                             const Kiv::String & peer);

// {"attr": {...}, "attrCollection": [{"collection", "key", "value"}, ...] sorted by
//  collection then key, "nestedGlobalConfig": {...}, "nestedIntfConfig": {...}, "paramName"}
nlohmann::json recordJson(const MlagP2p::ConfigCheck::GenericConfig & record);

} // namespace MlagSim
