#include "kiv/GenericIf.h"

#include "kiv/Strep.h"

namespace Kiv {

GenericValue::GenericValue(const Ptr< GenericIf > & entity)
      : kind_(entity ? Kind::entity : Kind::null), entity_(entity) {}

GenericValue GenericValue::object(const Ptr< PtrInterface > & object) {
   if (Ptr< GenericIf > entity = ptrCast< GenericIf >(object)) return GenericValue(entity);
   GenericValue v;
   if (object) {
      v.kind_ = Kind::object;
      v.object_ = object;
   }
   return v;
}

String GenericValue::strep() const {
   switch (kind_) {
      case Kind::null:
         return String();
      case Kind::value:
         return value_.strep();
      case Kind::entity:
         return entity_->kivStrep();
      case Kind::object:
         if (auto * entity = dynamic_cast< const Entity * >(object_.get()))
            return entity->kivStrep();
         return String("object");
   }
   return String();
}

Ptr< GenericIf > genericIf(const Ptr< Entity > & entity) { return ptrCast< GenericIf >(entity); }

} // namespace Kiv
