// Kiv::GenericIf: the reflective view of an entity. Its attributes are found
// through its type (kivType().attr(name)) and read, tested and iterated
// without knowing the entity's C++ type; watchers hear every change as a raw
// attribute notification.
//
//   const Kiv::KivAttr * mtu = config->kivType().attr("mtu");
//   Kiv::GenericValue v = config->genericIfGet(*mtu);      // scalar
//   for (auto it = config->genericIfIterator(*vlans); it.valid(); it.advance()) ...
#pragma once

#include <memory>

#include "kiv/Assert.h"
#include "kiv/Entity.h"
#include "kiv/Type.h"
#include "kiv/Value.h"

namespace Kiv {

class GenericIf;

// A generic handle on one value: null (nothing there), a plain value, an
// entity reached generically, or any other counted object.
class GenericValue {
 public:
   GenericValue() = default;
   GenericValue(const Value & value) : kind_(Kind::value), value_(value) {}
   GenericValue(const Ptr< GenericIf > & entity);
   // Any counted object; one with a generic interface becomes an entity value.
   static GenericValue object(const Ptr< PtrInterface > & object);

   bool isNull() const noexcept { return kind_ == Kind::null; }
   explicit operator bool() const noexcept { return !isNull(); }
   bool isEntity() const noexcept { return kind_ == Kind::entity; }
   const Value & value() const noexcept { return value_; }
   const Ptr< GenericIf > & entity() const noexcept { return entity_; }
   bool isObject() const noexcept { return kind_ == Kind::object; }
   const Ptr< PtrInterface > & object() const noexcept { return object_; }

   // The value's text form; an entity's string form; empty for null.
   // Another object shows as its entity string form, or "object".
   String strep() const;

 private:
   enum class Kind { null, value, entity, object };
   Kind kind_ = Kind::null;
   Value value_;
   Ptr< GenericIf > entity_;
   Ptr< PtrInterface > object_;
};

// Iterates the members of one collection attribute. Move-only; using a
// moved-from iterator is a programming fault.
class GenericIterator {
 public:
   struct Impl {
      virtual ~Impl() = default;
      virtual bool valid() = 0;
      virtual GenericValue key() = 0;
      virtual GenericValue value() = 0;
      virtual void advance() = 0;
   };

   explicit GenericIterator(std::unique_ptr< Impl > impl) : iter_(std::move(impl)) {}
   GenericIterator(GenericIterator &&) noexcept = default;
   GenericIterator & operator=(GenericIterator &&) noexcept = default;

   bool valid() const {
      KIV_ASSERT(iter_ && "using moved-from iterator");
      return iter_->valid();
   }
   GenericValue key() const {
      KIV_ASSERT(iter_ && "using moved-from iterator");
      return iter_->key();
   }
   GenericValue value() const {
      KIV_ASSERT(iter_ && "using moved-from iterator");
      return iter_->value();
   }
   void advance() {
      KIV_ASSERT(iter_ && "using moved-from iterator");
      iter_->advance();
   }

 private:
   std::unique_ptr< Impl > iter_;
};

class GenericIf : public Entity {
 public:
   // Hears every change of any attribute of the entity: onRawAttribute(id)
   // for a scalar, onRawAttribute(id, key) for a collection member.
   class NotifieeConst : public Notifiee< GenericIf > {
    public:
      NotifieeConst() = default;
      explicit NotifieeConst(const PtrConst< GenericIf > & entity) : Notifiee(entity) {}
      virtual void onRawAttribute(std::uint32_t /*attrId*/) {}
      virtual void onRawAttribute(std::uint32_t /*attrId*/, const GenericValue & /*key*/) {}
   };

   using Entity::Entity;

   virtual const KivType & kivType() const = 0;
   // A scalar's value (key null) or the member at `key` of a collection;
   // null when there is no such member.
   virtual GenericValue genericIfGet(const KivAttr & attr,
                                     const GenericValue & key = GenericValue()) const = 0;
   virtual bool genericIfExist(const KivAttr & attr, const GenericValue & key) const = 0;
   virtual GenericIterator genericIfIterator(const KivAttr & attr) const = 0;

 protected:
   void kivNotifyRaw(std::uint32_t attrId) {
      kivNotifyEach< NotifieeConst >([&](NotifieeConst & n) { n.onRawAttribute(attrId); });
   }
   void kivNotifyRaw(std::uint32_t attrId, const GenericValue & key) {
      kivNotifyEach< NotifieeConst >([&](NotifieeConst & n) { n.onRawAttribute(attrId, key); });
   }
};

// The generic interface of an entity, or null when it has none.
Ptr< GenericIf > genericIf(const Ptr< Entity > & entity);

} // namespace Kiv
