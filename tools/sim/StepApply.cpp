#include "StepApply.h"

#include <stdexcept>

#include "ConfigBuilder.h"
#include "DescriptorJson.h"

namespace MlagSim {

void applyConfigStep(const Step & step, Kiv::DynamicEntity & config,
                     const nlohmann::json & pluginDescriptor) {
   Kiv::Ptr< Kiv::DynamicEntity > entity(&config);
   const nlohmann::json * descriptor = &pluginDescriptor;
   const std::vector< std::string > & path = step.path;
   for (std::size_t i = 0; i < path.size(); ++i) {
      const Kiv::String attr(path[i]);
      if (i + 1 == path.size()) {
         if (step.isDelete) {
            entity->valueDel(attr);
         } else {
            entity->valueIs(attr, toValue(step.value));
         }
         return;
      }
      const nlohmann::json * nested = nestedDescriptor(descriptor, path[i]);
      const Kiv::String key(path[++i]);
      if (i + 1 == path.size()) {
         if (step.isDelete) {
            entity->memberDel(attr, key);
         } else if (isEntityJson(step.value)) {
            // Filled right after it is added: the checker creates a nested
            // machine only from its backlog, when the entity is complete.
            fillEntity(*entity->entityMemberIs(attr, key), step.value, nested);
         } else {
            entity->memberIs(attr, key, toValue(step.value));
         }
         return;
      }
      entity = entity->entityMember(attr, key);
      if (!entity) throw std::runtime_error("step '" + step.describe() + "': path does not exist");
      descriptor = nested;
   }
}

void applyMlagStep(const Step & step, Mlag::Config & mlag) {
   if (step.isDelete) {
      mlag.intfConfigDel(Porta::IntfId(Kiv::String(step.mlagInterface)));
   } else {
      mlag.intfConfigIs(Porta::IntfId(Kiv::String(step.mlagInterface)),
                        Mlag::IntfConfig(step.value.get< std::string >()));
   }
}

} // namespace MlagSim
