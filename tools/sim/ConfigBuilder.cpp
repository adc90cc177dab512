#include "ConfigBuilder.h"

#include <stdexcept>
#include <utility>

#include "DescriptorJson.h"

namespace MlagSim {

namespace {

using Mlag::ConfigCheck::ConfigCheckDesc;

void fillDescriptor(ConfigCheckDesc & desc, const nlohmann::json & descriptor) {
   desc.mlagInterfacesOnlyIs(descriptor.value("mlagInterfacesOnly", false));
   desc.absenceImpliesDefaultValIs(descriptor.value("absenceImpliesDefaultVal", false));
   using MapSetter = void (ConfigCheckDesc::*)(const Kiv::String &, const Kiv::String &);
   const std::pair< const char *, MapSetter > maps[] = {
      {"attrName", &ConfigCheckDesc::attrNameIs},
      {"collectionName", &ConfigCheckDesc::collectionNameIs},
      {"valueStrOverride", &ConfigCheckDesc::valueStrOverrideIs},
      {"defaultVal", &ConfigCheckDesc::defaultValIs},
   };
   for (const auto & [map, set] : maps) {
      auto it = descriptor.find(map);
      if (it == descriptor.end()) continue;
      for (const auto & [key, text] : it->items()) {
         (desc.*set)(Kiv::String(key), Kiv::String(text.get< std::string >()));
      }
   }
   auto nested = descriptor.find("nestedConfigCheckDesc");
   if (nested == descriptor.end()) return;
   for (const auto & [collection, nestedDescriptor] : nested->items()) {
      fillDescriptor(*desc.nestedConfigCheckDescIs(Kiv::Name(collection)), nestedDescriptor);
   }
}

} // namespace

Kiv::Ptr< ConfigCheckDesc > buildDescriptor(const std::string & name,
                                            const nlohmann::json & descriptor) {
   Kiv::Ptr< ConfigCheckDesc > desc = Mlag::ConfigCheck::configCheckDescFactory(Kiv::Name(name));
   fillDescriptor(*desc, descriptor);
   return desc;
}

Kiv::Value toValue(const nlohmann::json & value) {
   switch (value.type()) {
      case nlohmann::json::value_t::null:
         return Kiv::Value();
      case nlohmann::json::value_t::string:
         return Kiv::Value::string(value.get< std::string >());
      case nlohmann::json::value_t::boolean:
         return Kiv::Value::boolean(value.get< bool >());
      case nlohmann::json::value_t::number_integer:
      case nlohmann::json::value_t::number_unsigned:
         return Kiv::Value::integer(value.get< std::int64_t >());
      case nlohmann::json::value_t::object:
         if (value.contains("@type")) {
            auto fields = Kiv::kivNew< Kiv::StructValue >(value["@type"].get< std::string >());
            for (const auto & [field, fieldValue] : value.items()) {
               if (field != "@type") fields->fieldIs(field, toValue(fieldValue));
            }
            return Kiv::Value::structured(fields);
         }
         break;
      default:
         break;
   }
   throw std::invalid_argument("not a configuration value: " + value.dump());
}

void fillEntity(Kiv::DynamicEntity & entity, const nlohmann::json & content,
                const nlohmann::json * descriptor) {
   for (const auto & [attr, shape] : declaredAttributes(descriptor)) {
      if (shape == AttrShape::scalar) {
         entity.scalarAttrIs(attr);
      } else {
         entity.collectionAttrIs(attr);
      }
   }
   if (content.is_null()) return;
   for (const auto & [attr, value] : content.items()) {
      if (!isEntityJson(value)) {
         if (value.is_null()) {
            entity.scalarAttrIs(attr);
         } else {
            entity.valueIs(attr, toValue(value));
         }
         continue;
      }
      entity.collectionAttrIs(attr);
      const nlohmann::json * nested = nestedDescriptor(descriptor, attr);
      for (const auto & [key, member] : value.items()) {
         if (isEntityJson(member)) {
            fillEntity(*entity.entityMemberIs(attr, key), member, nested);
         } else {
            entity.memberIs(attr, key, toValue(member));
         }
      }
   }
}

} // namespace MlagSim
