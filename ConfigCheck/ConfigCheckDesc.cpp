#include "ConfigCheckDesc.h"

#include "kiv/Exception.h"
#include "kiv/GenericIf.h"
#include "kiv/Type.h"

namespace Mlag::ConfigCheck {

Kiv::Ptr< ConfigCheckDesc > ConfigCheckDesc::nestedConfigCheckDescIs(const Kiv::Name & name) {
   static const Kiv::String attrName("nestedConfigCheckDesc");
   auto [member, created] = nested_.getOrCreate(name, this, attrName, name);
   if (created) nestedChanged(name);
   return member;
}

Kiv::Ptr< ConfigCheckDesc > ConfigCheckDesc::nestedConfigCheckDescDel(const Kiv::Name & name) {
   Kiv::Ptr< ConfigCheckDesc > removed = nested_.del(name);
   if (removed) nestedChanged(name);
   return removed;
}

void ConfigCheckDesc::nestedConfigCheckDescDelAll() {
   for (auto & it : nested_.map()) {
      Kiv::Name name = it.key();
      nestedConfigCheckDescDel(name);
   }
   KIV_NOTIFY_ON(onNestedConfigCheckDesc());
}

void ConfigCheckDesc::nestedConfigCheckDescNotify(const Kiv::Name & name) { nestedChanged(name); }

void ConfigCheckDesc::nestedChanged(const Kiv::Name & name) {
   KIV_NOTIFY_ON(onNestedConfigCheckDesc(name));
   KIV_NOTIFY_ON(onNestedConfigCheckDesckivImmediate());
}

Kiv::Ptr< ConfigCheckDesc > configCheckDescFactory(const Kiv::Name & name) {
   return Kiv::kivNew< ConfigCheckDesc >(name);
}

void registerConfigCheckDescType() {
   auto type = Kiv::kivNew< Kiv::KivType >("Mlag::ConfigCheck::ConfigCheckDesc");
   for (const char * attr : {"name", "fullName", "parent", "parentAttrName", "entity",
                             "mlagInterfacesOnly", "absenceImpliesDefaultVal"}) {
      type->attrIs(attr, false);
   }
   for (const char * attr :
        {"nestedConfigCheckDesc", "attrName", "collectionName", "valueStrOverride", "defaultVal"}) {
      type->attrIs(attr, true);
   }
   type->factoryIs([](const std::vector< Kiv::GenericValue > & args) {
      if (args.size() != 1) {
         throw Kiv::TypeException("ConfigCheckDesc takes one argument, its name");
      }
      return Kiv::Ptr< Kiv::PtrInterface >(
         configCheckDescFactory(Kiv::Name(args[0].value().stringValue())));
   });
   Kiv::typeNodeIs(type);
}

} // namespace Mlag::ConfigCheck
