// The results directory of one config-check plugin. Both sides of the checker
// write into it, parameter by parameter, the value each switch has; a
// consumer reads it to report disagreements. Its owner hands it in; the
// checker never creates or destroys it.
//
//   dir->configIntfDir("mtu")->configIntfDiff("Ethernet1")->peerVal();
//
// Interface tables are indexed parameter first, interface second; both values
// of one parameter and interface stand in one ConfigIntfDiff. A peer value
// that has no local entry yet waits under the key "Peer" + interface name.
#pragma once

#include "kiv/Entity.h"

namespace Mlag::ConfigCheck {

// One parameter that is not tied to an interface.
class ConfigGlobalDiff : public Kiv::Entity {
 public:
   class NotifieeConst : public Kiv::Notifiee< ConfigGlobalDiff > {
    public:
      virtual void onGroupId() {}
      virtual void onLocalVal() {}
      virtual void onPeerVal() {}
   };
   explicit ConfigGlobalDiff(const Kiv::Name & paramName) : Entity(paramName) {}

   KIV_SCALAR(Kiv::String, groupId, GroupId)
   KIV_SCALAR(Kiv::String, localVal, LocalVal)
   KIV_SCALAR(Kiv::String, peerVal, PeerVal)
};

// Both values of one parameter on one interface.
class ConfigIntfDiff : public Kiv::Entity {
 public:
   class NotifieeConst : public Kiv::Notifiee< ConfigIntfDiff > {
    public:
      virtual void onLocalVal() {}
      virtual void onPeerVal() {}
      virtual void onDefaultVal() {}
   };
   explicit ConfigIntfDiff(const Kiv::Name & intfName) : Entity(intfName) {}

   KIV_SCALAR(Kiv::String, localVal, LocalVal)
   KIV_SCALAR(Kiv::String, peerVal, PeerVal)
   KIV_SCALAR(Kiv::String, defaultVal, DefaultVal)
};

// The per-interface table of one parameter, keyed by interface name.
class ConfigIntfDir : public Kiv::Entity {
 public:
   class NotifieeConst : public Kiv::Notifiee< ConfigIntfDir > {
    public:
      virtual void onConfigIntfDiff(const Kiv::Name &) {}
   };
   explicit ConfigIntfDir(const Kiv::Name & paramName) : Entity(paramName) {}

   KIV_ENTITY_MAP(Kiv::Name, ConfigIntfDiff, configIntfDiff, ConfigIntfDiff)
};

class ConfigPluginDir : public Kiv::Entity {
 public:
   class NotifieeConst : public Kiv::Notifiee< ConfigPluginDir > {
    public:
      virtual void onConfigGlobalDiff(const Kiv::Name &) {}
      virtual void onConfigIntfDir(const Kiv::Name &) {}
   };
   explicit ConfigPluginDir(const Kiv::Name & pluginName) : Entity(pluginName) {}

   KIV_ENTITY_MAP(Kiv::Name, ConfigGlobalDiff, configGlobalDiff, ConfigGlobalDiff)
   KIV_ENTITY_MAP(Kiv::Name, ConfigIntfDir, configIntfDir, ConfigIntfDir)
};

} // namespace Mlag::ConfigCheck
