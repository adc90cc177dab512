#include "kiv/DynamicEntity.h"

#include "kiv/Exception.h"

namespace Kiv {

namespace {

class MemberIterator : public GenericIterator::Impl {
 public:
   MemberIterator(PtrConst< DynamicEntity > owner, HashMap< String, GenericValue > & members)
         : owner_(std::move(owner)), it_(members.begin()) {}
   bool valid() override { return it_.valid(); }
   GenericValue key() override { return GenericValue(Value::string(it_.key())); }
   GenericValue value() override { return it_.value(); }
   void advance() override { ++it_; }

 private:
   PtrConst< DynamicEntity > owner_; // keeps the collection alive while iterating
   HashMap< String, GenericValue >::Iterator it_;
};

class EmptyIterator : public GenericIterator::Impl {
 public:
   bool valid() override { return false; }
   GenericValue key() override { return GenericValue(); }
   GenericValue value() override { return GenericValue(); }
   void advance() override {}
};

String keyText(const GenericValue & key) {
   return key.isEntity() ? key.entity()->name() : key.value().stringValue();
}

void detachMember(const GenericValue & member) {
   if (member.isEntity()) member.entity()->kivParentIs(nullptr, String());
}

} // namespace

DynamicEntity::DynamicEntity(const Name & name, const String & typeName)
      : DynamicEntity(name, kivNew< KivType >(typeName)) {}

DynamicEntity::DynamicEntity(const Name & name, const Ptr< KivType > & emptyType)
      : GenericIf(name), type_(validPtr(emptyType)) {}

DynamicEntity::~DynamicEntity() {
   for (Slot & s : slots_) {
      if (s.collection) {
         for (auto & it : s.collection->members) detachMember(it.value());
      }
   }
}

const KivAttr & DynamicEntity::declare(const String & attr, bool collection) {
   if (const KivAttr * existing = type_->attr(attr.view())) {
      if (existing->collection != collection) {
         throw TypeException("attribute " + attr.stdString() + " of " + name().stdString() +
                             (existing->collection ? " is a collection" : " is not a collection"));
      }
      return *existing;
   }
   // Everything that can throw comes before the first change.
   Ptr< KivType > extended = type_->extendedBy(attr, collection);
   Slot fresh;
   if (collection) fresh.collection = std::make_unique< Collection >();
   slots_.push_back(std::move(fresh));
   type_ = std::move(extended);
   return type_->attrs().back();
}

const KivAttr & DynamicEntity::scalarAttrIs(const String & attr) { return declare(attr, false); }

const KivAttr & DynamicEntity::collectionAttrIs(const String & attr) { return declare(attr, true); }

const DynamicEntity::Slot * DynamicEntity::slot(const String & attr) const {
   const KivAttr * a = type_->attr(attr.view());
   return a ? &slots_[a->id - 1] : nullptr;
}

const DynamicEntity::Members * DynamicEntity::members(const String & collection) const {
   const Slot * s = slot(collection);
   return s && s->collection ? &s->collection->members : nullptr;
}

GenericValue DynamicEntity::genericIfGet(const KivAttr & attr, const GenericValue & key) const {
   if (attr.id == 0 || attr.id > slots_.size()) return GenericValue();
   const Slot & s = slots_[attr.id - 1];
   if (!attr.collection) return GenericValue(s.scalar);
   if (key.isNull()) return GenericValue();
   const GenericValue * member = s.collection->members.get(keyText(key));
   return member ? *member : GenericValue();
}

bool DynamicEntity::genericIfExist(const KivAttr & attr, const GenericValue & key) const {
   return !genericIfGet(attr, key).isNull();
}

GenericIterator DynamicEntity::genericIfIterator(const KivAttr & attr) const {
   if (!attr.collection || attr.id == 0 || attr.id > slots_.size()) {
      return GenericIterator(std::make_unique< EmptyIterator >());
   }
   auto & members = slots_[attr.id - 1].collection->members;
   return GenericIterator(
      std::make_unique< MemberIterator >(PtrConst< DynamicEntity >(this), members));
}

Value DynamicEntity::value(const String & attr) const {
   const Slot * s = slot(attr);
   return s ? s->scalar : Value();
}

void DynamicEntity::valueIs(const String & attr, const Value & value) {
   const KivAttr & a = declare(attr, false);
   Slot & s = slots_[a.id - 1];
   if (s.scalar == value) return;
   s.scalar = value;
   kivNotifyRaw(a.id);
}

void DynamicEntity::valueDel(const String & attr) {
   if (type_->attr(attr.view())) valueIs(attr, Value());
}

GenericValue DynamicEntity::member(const String & collection, const String & key) const {
   const Members * m = members(collection);
   const GenericValue * found = m ? m->get(key) : nullptr;
   return found ? *found : GenericValue();
}

Ptr< DynamicEntity > DynamicEntity::entityMember(const String & collection,
                                                 const String & key) const {
   GenericValue m = member(collection, key);
   return m.isEntity() ? ptrCast< DynamicEntity >(m.entity()) : Ptr< DynamicEntity >();
}

void DynamicEntity::memberIs(const String & collection, const String & key, const Value & value) {
   const KivAttr & a = declare(collection, true);
   Members & m = slots_[a.id - 1].collection->members;
   if (const GenericValue * current = m.get(key)) {
      if (!current->isEntity() && current->value() == value) return;
      detachMember(*current);
   }
   m.insert(key, GenericValue(value));
   kivNotifyRaw(a.id, GenericValue(Value::string(key)));
}

Ptr< DynamicEntity > DynamicEntity::entityMemberIs(const String & collection, const String & key) {
   const KivAttr & a = declare(collection, true);
   Collection & c = *slots_[a.id - 1].collection;
   if (const GenericValue * current = c.members.get(key); current && current->isEntity()) {
      return ptrCast< DynamicEntity >(current->entity());
   }
   if (!c.memberType) c.memberType = kivNew< KivType >(String(defaultTypeName));
   Ptr< DynamicEntity > created = kivNew< DynamicEntity >(Name(key), c.memberType);
   created->kivParentIs(this, collection);
   c.members.insert(key, GenericValue(Ptr< GenericIf >(created)));
   kivNotifyRaw(a.id, GenericValue(Value::string(key)));
   return created;
}

bool DynamicEntity::memberDel(const String & collection, const String & key) {
   const KivAttr * a = type_->attr(collection.view());
   if (!a || !a->collection) return false;
   Members & m = slots_[a->id - 1].collection->members;
   const GenericValue * current = m.get(key);
   if (!current) return false;
   GenericValue removed = *current;
   m.erase(key);
   detachMember(removed);
   kivNotifyRaw(a->id, GenericValue(Value::string(key)));
   return true;
}

std::size_t DynamicEntity::memberCount(const String & collection) const {
   const Members * m = members(collection);
   return m ? m->size() : 0;
}

} // namespace Kiv
