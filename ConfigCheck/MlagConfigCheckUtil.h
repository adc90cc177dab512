// The only writers of a plugin's results directory: the default-value test,
// the local and the peer inserts, and the deletions. Names come formed (see
// MlagConfigCheckNaming.h). Preconditions are assertions: a null directory
// ("pluginPtr") or an empty interface name ("intfName") is a programming
// fault that ends the process.
//
//   doInsertPeerIntfParam(dir, "mtu", "Ethernet1", "9000");  // waits under "PeerEthernet1"
//   doInsertLocalIntfParam(dir, "mtu", "Ethernet1", "9000", "1500", false); // adopts it
#pragma once

#include <vector>

#include "ConfigPluginDir.h"

namespace Mlag::ConfigCheck {

using PluginDirPtr = Kiv::Ptr< ConfigPluginDir >;

// Whether `value` equals the default recorded for the parameter on the interface.
// REQUIRES: pluginPtr, intfName not empty
bool isValueDefault(PluginDirPtr pluginPtr, Kiv::String paramName, Kiv::String intfName,
                    Kiv::String value);

// REQUIRES: pluginPtr
void doInsertLocalParam(PluginDirPtr pluginPtr, Kiv::String paramName, Kiv::String groupId,
                        Kiv::String localVal);
// REQUIRES: pluginPtr, intfName not empty
void doInsertLocalIntfParam(PluginDirPtr pluginPtr, Kiv::String paramName, Kiv::String intfName,
                            Kiv::String localVal, Kiv::String defaultVal,
                            bool absenceImpliesDefaultVal);

// REQUIRES: pluginPtr
void doInsertPeerParam(PluginDirPtr pluginPtr, Kiv::String paramName, Kiv::String groupId,
                       Kiv::String peerVal);
// REQUIRES: pluginPtr, intfName not empty
void doInsertPeerIntfParam(PluginDirPtr pluginPtr, Kiv::String paramName, Kiv::String intfName,
                           Kiv::String peerVal);

// Starts loading what filing entries under `paramNames` into the interface
// tables reads first, for a caller about to file them one after another.
// A start-up files thousands of parameters into a table far larger than the
// cache: asked for together, their misses overlap instead of following one
// another. Changes nothing; empty names are skipped. REQUIRES: pluginPtr
void prefetchIntfTables(const PluginDirPtr & pluginPtr,
                        const std::vector< Kiv::String > & paramNames);

// Deletions clear one side's values; an entry whose other side still has a
// value ("0" and "-" count as none) is kept, else it goes, and so does an
// interface table left empty. REQUIRES: pluginPtr
void handleLocalIntfDelete(PluginDirPtr pluginPtr, Kiv::String intfName);
void handlePeerIntfDelete(PluginDirPtr pluginPtr, Kiv::String intfName);
void handleLocalGroupDelete(PluginDirPtr pluginPtr, Kiv::String groupId);
void handlePeerGroupDelete(PluginDirPtr pluginPtr, Kiv::String groupId);
// Empties the whole directory, peer values included.
void localDeleteAll(PluginDirPtr pluginPtr);

} // namespace Mlag::ConfigCheck
