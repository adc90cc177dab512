// Kiv::DynamicEntity: an entity whose attributes are declared at run time.
// Scalars hold a Value; collections map string keys to Values or to nested
// dynamic entities. Tools and tests build plugin configurations from data
// with it, and the checker reads them only through GenericIf.
//
//   auto cfg = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("lacp"));
//   cfg->valueIs("systemPriority", Kiv::Value::integer(32768));
//   cfg->entityMemberIs("intfConfig", "Port-Channel10")->valueIs("mode",
//   Kiv::Value::string("active"));
//
// Notifications (raw, see GenericIf): a scalar change notifies its attribute
// id; adding, changing or removing a member notifies the id and the member's
// key. Changes inside a nested entity notify only that entity's watchers.
#pragma once

#include <memory>
#include <vector>

#include "kiv/GenericIf.h"
#include "kiv/HashMap.h"

namespace Kiv {

class DynamicEntity : public GenericIf {
 public:
   // The type name of an entity that is given none, nested members included.
   static constexpr const char * defaultTypeName = "Kiv::DynamicEntity";

   explicit DynamicEntity(const Name & name, const String & typeName = defaultTypeName);
   // An entity that starts with `emptyType`, an attribute-less type it
   // shares with its siblings (see KivType::extendedBy).
   DynamicEntity(const Name & name, const Ptr< KivType > & emptyType);
   ~DynamicEntity() override;

   const KivType & kivType() const override { return *type_; }
   GenericValue genericIfGet(const KivAttr & attr, const GenericValue & key) const override;
   bool genericIfExist(const KivAttr & attr, const GenericValue & key) const override;
   GenericIterator genericIfIterator(const KivAttr & attr) const override;

   // Declare an attribute without a value; the setters below declare too.
   // Raises TypeException when the name is declared with the other shape.
   const KivAttr & scalarAttrIs(const String & attr);
   const KivAttr & collectionAttrIs(const String & attr);

   Value value(const String & attr) const;
   void valueIs(const String & attr, const Value & value);
   // The attribute stays declared with no value.
   void valueDel(const String & attr);

   GenericValue member(const String & collection, const String & key) const;
   Ptr< DynamicEntity > entityMember(const String & collection, const String & key) const;
   void memberIs(const String & collection, const String & key, const Value & value);
   // The nested entity under `key`, created when absent (a value member there
   // is replaced by a new entity).
   Ptr< DynamicEntity > entityMemberIs(const String & collection, const String & key);
   bool memberDel(const String & collection, const String & key);
   std::size_t memberCount(const String & collection) const;

 private:
   using Members = HashMap< String, GenericValue >;
   // A collection's members, and the empty type its nested entities start
   // from, so that alike members share their types.
   struct Collection {
      Members members;
      Ptr< KivType > memberType;
   };
   // Scalars hold `scalar`; only collections allocate `collection`, so that
   // an entity with many scalar attributes stays small.
   struct Slot {
      Value scalar;
      std::unique_ptr< Collection > collection;
   };
   const KivAttr & declare(const String & attr, bool collection);
   const Slot * slot(const String & attr) const;
   // The members of a declared collection; null for a scalar or an unknown name.
   const Members * members(const String & collection) const;

   // Shared with every entity that declared the same attributes in the same
   // order; replaced, never changed, when this entity declares another.
   Ptr< KivType > type_;
   std::vector< Slot > slots_; // slots_[attr id - 1]; no reference is kept across a declaration
};

} // namespace Kiv
