#include "GenericConfig.h"

#include "kiv/Strep.h"

namespace MlagP2p::ConfigCheck {

Kiv::String valueToStrep(const CollectionConfig & c) {
   return Kiv::String("Value('MlagP2p::ConfigCheck::CollectionConfig', ** {'collection': ") +
          Kiv::valueToStrep(c.collection()) + ", 'key': " + Kiv::valueToStrep(c.key()) + "})";
}

Kiv::String kivTraceText(const CollectionConfig & c) { return valueToStrep(c); }

} // namespace MlagP2p::ConfigCheck
