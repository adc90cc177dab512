// Turning one configuration entity's values into parameter entries.
//
// updateConfigCheckDbUtil is the local writer: it walks the descriptor's
// scalar and collection maps over the entity (read generically), publishes
// each value into the local record for the peer and records it in the local
// column. updateConfigCheckDbPeer walks a peer record into the peer column
// through insertPeerParam. Both name parameters with the interface's present
// MLAG id; the `mlagId` argument (the id the caller last saw) only decides
// whether entries recorded under an old id must go first.
//
//   updateConfigCheckDbUtil(desc, dir, mlagConfig, "", config, record, "Local", false);
#pragma once

#include "ConfigCheckDesc.h"
#include "ConfigPluginDir.h"
#include "GenericConfig.h"
#include "kiv/GenericIf.h"
#include "mlag/MlagConfig.h"
#include "porta/IntfId.h"

namespace Mlag::ConfigCheck {

using MlagP2p::ConfigCheck::CollectionConfig;
using MlagP2p::ConfigCheck::GenericConfig;

// `flag` is accepted for the callers' sake and changes nothing.
void updateConfigCheckDbUtil(const Kiv::Ptr< ConfigCheckDesc > & desc,
                             const Kiv::Ptr< ConfigPluginDir > & pluginDir,
                             const Kiv::PtrConst< Mlag::Config > & mlagConfig, Kiv::String mlagId,
                             const Kiv::Ptr< Kiv::GenericIf > & config,
                             const Kiv::Ptr< GenericConfig > & p2pConfig, Kiv::String name,
                             bool flag);

void updateConfigCheckDbPeer(const Kiv::Ptr< ConfigCheckDesc > & desc,
                             const Kiv::Ptr< ConfigPluginDir > & pluginDir,
                             const Kiv::PtrConst< Mlag::Config > & mlagConfig, Kiv::String mlagId,
                             const Kiv::PtrConst< GenericConfig > & peerConfig, Kiv::String name);

// Files one local value: in the interface table (with the attribute's
// default and the descriptor's absence flag) when `intfId` is valid, else in
// the global table under the group id `name`. An empty parameter name files
// nothing. Every local writer of a value goes through here.
void fileLocalValue(const ConfigCheckDesc & desc, const Kiv::Ptr< ConfigPluginDir > & pluginDir,
                    const Porta::IntfId & intfId, const Kiv::String & paramName,
                    const Kiv::String & name, const Kiv::String & value,
                    const Kiv::String & defaultValue);

// Files one peer value likewise, `owner` being the group id or the interface
// name; traces nothing of its own.
void filePeerValue(const Kiv::Ptr< ConfigPluginDir > & pluginDir, const Porta::IntfId & intfId,
                   const Kiv::String & paramName, const Kiv::String & owner,
                   const Kiv::String & peerVal);

// Records one peer value of the initial import, with its trace; `owner` is
// the group id (global table) or the interface name (interface table). An
// empty parameter name writes nothing.
void insertPeerParam(const Kiv::Ptr< ConfigPluginDir > & pluginDir, Kiv::String paramName,
                     Kiv::String owner, Porta::IntfId intfId, Kiv::String peerVal);

// The MLAG id text of `intfId` in `mlagConfig`; empty when either is missing.
Kiv::String mlagIdOf(const Kiv::PtrConst< Mlag::Config > & mlagConfig,
                     const Porta::IntfId & intfId);

} // namespace Mlag::ConfigCheck
