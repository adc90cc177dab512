// The peer-to-peer record: what one switch publishes of a configuration model
// for its MLAG peer, mirrored to the peer by the transport. The local side
// writes it; on the peer it is read by the peer side.
//
//   record->attrIs("mtu", "9000");
//   record->attrCollectionIs(CollectionConfig("vlan", "10"), "active");
//   record->nestedIntfConfigIs("Port-Channel10")->paramNameIs("intfConfig");
#pragma once

#include <cstdint>
#include <functional>

#include "kiv/Entity.h"

namespace MlagP2p::ConfigCheck {

// The key of one collection member in a record: the collection attribute's
// name and the member's key as text.
class CollectionConfig {
 public:
   CollectionConfig() = default;
   CollectionConfig(const Kiv::String & collection, const Kiv::String & key)
         : collection_(collection), key_(key) {}

   const Kiv::String & collection() const noexcept { return collection_; }
   const Kiv::String & key() const noexcept { return key_; }
   bool operator==(const CollectionConfig & o) const noexcept {
      return collection_ == o.collection_ && key_ == o.key_;
   }
   bool operator<(const CollectionConfig & o) const noexcept {
      if (!(collection_ == o.collection_)) return collection_ < o.collection_;
      return key_ < o.key_;
   }
   std::uint32_t hash() const noexcept { return collection_.hash() * 31u ^ key_.hash(); }

 private:
   Kiv::String collection_;
   Kiv::String key_;
};

Kiv::String valueToStrep(const CollectionConfig & c);
Kiv::String kivTraceText(const CollectionConfig & c);

} // namespace MlagP2p::ConfigCheck

template <>
struct std::hash< MlagP2p::ConfigCheck::CollectionConfig > {
   std::size_t operator()(const MlagP2p::ConfigCheck::CollectionConfig & c) const noexcept {
      return c.hash();
   }
};

namespace MlagP2p::ConfigCheck {

class GenericConfig : public Kiv::Entity {
 public:
   class NotifieeConst : public Kiv::Notifiee< GenericConfig > {
    public:
      virtual void onParamName() {}
      virtual void onAttr(const Kiv::String &) {}
      virtual void onAttrCollection(const CollectionConfig &) {}
      virtual void onNestedIntfConfig(const Kiv::Name &) {}
      virtual void onNestedGlobalConfig(const Kiv::Name &) {}
   };
   explicit GenericConfig(const Kiv::Name & name) : Entity(name) {}

   KIV_SCALAR(Kiv::String, paramName, ParamName)
   KIV_VALUE_MAP(Kiv::String, Kiv::String, attr, Attr)
   KIV_VALUE_MAP(CollectionConfig, Kiv::String, attrCollection, AttrCollection)
   KIV_ENTITY_MAP(Kiv::Name, GenericConfig, nestedIntfConfig, NestedIntfConfig)
   KIV_ENTITY_MAP(Kiv::Name, GenericConfig, nestedGlobalConfig, NestedGlobalConfig)
};

} // namespace MlagP2p::ConfigCheck
