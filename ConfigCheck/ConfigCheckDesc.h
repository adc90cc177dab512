// ConfigCheckDesc: how one configuration model is compared between the two
// switches of an MLAG pair. A plugin's set-up fills it once; the checker's
// state machines only read it.
//
//   auto desc = configCheckDescFactory("lacp");
//   desc->attrNameIs("systemPriority", "LACP system priority");
//   desc->nestedConfigCheckDescIs("intfConfig")->mlagInterfacesOnlyIs(true);
//
// A lookup of a key that a map does not hold yields empty text, which every
// user treats as absence.
#pragma once

#include "kiv/Entity.h"

namespace Mlag::ConfigCheck {

// The accessors of one String -> String map of the descriptor: per-key
// changes notify on<Name>(key) then on<Name>kivImmediate(); emptying the map
// notifies each key, then on<Name>().
#define MLAG_DESC_STRING_MAP(name, Name)                                                     \
 public:                                                                                     \
   Kiv::String name(const Kiv::String & key) const { return name##_.get(key); }              \
   void name##Is(const Kiv::String & key, const Kiv::String & value) {                       \
      if (name##_.set(key, value)) name##Changed(key);                                       \
   }                                                                                         \
   void name##Del(const Kiv::String & key) {                                                 \
      if (name##_.del(key)) name##Changed(key);                                              \
   }                                                                                         \
   /* Removes the entry `it` stands on; the iterator stays usable. */                        \
   void name##Del(Kiv::HashMap< Kiv::String, Kiv::String >::Iterator & it) {                 \
      if (!it.valid()) return;                                                               \
      Kiv::String key = it.key();                                                            \
      name##_.map().erase(it);                                                               \
      name##Changed(key);                                                                    \
   }                                                                                         \
   void name##DelAll() {                                                                     \
      for (auto & it : name##_.map()) name##Del(it);                                         \
      KIV_NOTIFY_ON(on##Name());                                                             \
   }                                                                                         \
   void name##Notify(const Kiv::String & key) { name##Changed(key); }                        \
   const Kiv::HashMap< Kiv::String, Kiv::String > & name##Map() const noexcept {             \
      return name##_.map();                                                                  \
   }                                                                                         \
   Kiv::HashMap< Kiv::String, Kiv::String > & name##Map() noexcept { return name##_.map(); } \
                                                                                             \
 private:                                                                                    \
   void name##Changed(const Kiv::String & key) {                                             \
      KIV_NOTIFY_ON(on##Name(key));                                                          \
      KIV_NOTIFY_ON(on##Name##kivImmediate());                                               \
   }                                                                                         \
   Kiv::ValueTable< Kiv::String, Kiv::String > name##_;                                      \
                                                                                             \
 public:

class ConfigCheckDesc : public Kiv::Entity {
 public:
   class NotifieeConst : public Kiv::Notifiee< ConfigCheckDesc > {
    public:
      virtual void onMlagInterfacesOnly() {}
      virtual void onAbsenceImpliesDefaultVal() {}
      virtual void onNestedConfigCheckDesc() {}
      virtual void onNestedConfigCheckDesc(const Kiv::Name &) {}
      virtual void onNestedConfigCheckDesckivImmediate() {}
      virtual void onAttrName() {}
      virtual void onAttrName(const Kiv::String &) {}
      virtual void onAttrNamekivImmediate() {}
      virtual void onCollectionName() {}
      virtual void onCollectionName(const Kiv::String &) {}
      virtual void onCollectionNamekivImmediate() {}
      virtual void onValueStrOverride() {}
      virtual void onValueStrOverride(const Kiv::String &) {}
      virtual void onValueStrOverridekivImmediate() {}
      virtual void onDefaultVal() {}
      virtual void onDefaultVal(const Kiv::String &) {}
      virtual void onDefaultValkivImmediate() {}
   };

   explicit ConfigCheckDesc(const Kiv::Name & name) : Entity(name) {}

   KIV_SCALAR(bool, mlagInterfacesOnly, MlagInterfacesOnly)
   KIV_SCALAR(bool, absenceImpliesDefaultVal, AbsenceImpliesDefaultVal)

   // Nested descriptors, keyed by the name of the collection attribute whose
   // members they describe; each has this descriptor as its parent.
   Kiv::Ptr< ConfigCheckDesc > nestedConfigCheckDesc(const Kiv::Name & name) const {
      return nested_.get(name);
   }
   Kiv::Ptr< ConfigCheckDesc > nestedConfigCheckDescIs(const Kiv::Name & name);
   Kiv::Ptr< ConfigCheckDesc > nestedConfigCheckDescDel(const Kiv::Name & name);
   void nestedConfigCheckDescDelAll();
   void nestedConfigCheckDescNotify(const Kiv::Name & name);
   Kiv::HashMap< Kiv::Name, Kiv::Ptr< ConfigCheckDesc > > & nestedConfigCheckDescMap() noexcept {
      return nested_.map();
   }

   MLAG_DESC_STRING_MAP(attrName, AttrName)
   MLAG_DESC_STRING_MAP(collectionName, CollectionName)
   MLAG_DESC_STRING_MAP(valueStrOverride, ValueStrOverride)
   MLAG_DESC_STRING_MAP(defaultVal, DefaultVal)

 private:
   void nestedChanged(const Kiv::Name & name);

   Kiv::EntityTable< Kiv::Name, ConfigCheckDesc > nested_;
};

#undef MLAG_DESC_STRING_MAP

Kiv::Ptr< ConfigCheckDesc > configCheckDescFactory(const Kiv::Name & name);

// Registers the descriptor's type record.
void registerConfigCheckDescType();

} // namespace Mlag::ConfigCheck
