// Embedding the checker in an agent: one plugin, one global parameter. The
// peer's record is filled by hand here; in a real pair the transport mirrors
// the other switch's local record into it. Built and run as a test.
#include <iostream>

#include "ConfigCheck/MlagConfigCheckSm.h"
#include "kiv/ActivityManager.h"
#include "kiv/DynamicEntity.h"

using namespace Mlag::ConfigCheck;
using MlagP2p::ConfigCheck::GenericConfig;

int main() {
   registerConfigCheckTypes();

   // What the plugin compares, and under which name.
   Kiv::Ptr< ConfigCheckDesc > desc = configCheckDescFactory("lacp");
   desc->attrNameIs("systemPriority", "LACP system priority");

   // The plugin's configuration entity on this switch.
   auto config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("lacp"));
   config->valueIs("systemPriority", Kiv::Value::integer(32768));

   // The records this switch publishes and receives, its MLAG configuration
   // and the results directory the checker fills.
   auto localRecord = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   localRecord->paramNameIs("lacp");
   auto peerRecord = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   peerRecord->paramNameIs("lacp");
   peerRecord->attrIs("systemPriority", "4096");
   auto mlag = Kiv::kivNew< Mlag::Config >(Kiv::Name("mlag"));
   auto results = Kiv::kivNew< ConfigPluginDir >(Kiv::Name("lacp"));

   Kiv::Ptr< SmContainer > container = smContainerFactory("lacp");
   container->configCheckSmIs(results, "lacp", config, localRecord, peerRecord, desc, mlag);
   Kiv::activityManager()->runUntilIdle();

   Kiv::Ptr< ConfigGlobalDiff > entry = results->configGlobalDiff("LACP system priority");
   std::cout << entry->localVal() << " / " << entry->peerVal() << '\n'; // 32768 / 4096
   return entry->localVal() == "32768" && entry->peerVal() == "4096" ? 0 : 1;
}
