#include "DescriptorJson.h"

#include <string_view>
#include <unordered_set>

namespace MlagSim {

namespace {

bool names(const nlohmann::json * descriptor, const char * map, const std::string & attr) {
   if (!descriptor) return false;
   auto it = descriptor->find(map);
   return it != descriptor->end() && it->is_object() && it->contains(attr);
}

} // namespace

bool isEntityJson(const nlohmann::json & value) {
   return value.is_object() && !value.contains("@type");
}

AttrShape declaredShape(const nlohmann::json * descriptor, const std::string & attr) {
   if (names(descriptor, "attrName", attr)) return AttrShape::scalar;
   if (names(descriptor, "collectionName", attr) ||
       names(descriptor, "nestedConfigCheckDesc", attr)) {
      return AttrShape::collection;
   }
   return AttrShape::undeclared;
}

const nlohmann::json * nestedDescriptor(const nlohmann::json * descriptor,
                                        const std::string & collection) {
   if (!names(descriptor, "nestedConfigCheckDesc", collection)) return nullptr;
   return &(*descriptor)["nestedConfigCheckDesc"][collection];
}

std::vector< std::pair< std::string, AttrShape > > declaredAttributes(
   const nlohmann::json * descriptor) {
   std::vector< std::pair< std::string, AttrShape > > out;
   if (!descriptor) return out;
   const std::pair< const char *, AttrShape > maps[] = {
      {"attrName", AttrShape::scalar},
      {"collectionName", AttrShape::collection},
      {"nestedConfigCheckDesc", AttrShape::collection},
   };
   std::unordered_set< std::string_view > seen; // views of the descriptor's own keys
   for (const auto & [map, shape] : maps) {
      auto it = descriptor->find(map);
      if (it == descriptor->end() || !it->is_object()) continue;
      for (const auto & member : it->items()) {
         const std::string & attr = member.key();
         if (seen.insert(attr).second) out.emplace_back(attr, shape);
      }
   }
   return out;
}

} // namespace MlagSim
