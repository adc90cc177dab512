// Kiv::Entity: a named, counted object of the state store, and the kit from
// which schema types declare their attributes in a few lines each.
//
//   class Port : public Kiv::Entity {
//    public:
//      class NotifieeConst : public Kiv::Notifiee< Port > {
//       public:
//         virtual void onMtu() {}
//         virtual void onVlan(const Kiv::String &) {}
//      };
//      explicit Port(const Kiv::Name & n) : Entity(n) {}
//      KIV_SCALAR(Kiv::String, mtu, Mtu)
//      KIV_VALUE_MAP(Kiv::String, Kiv::String, vlan, Vlan)
//   };
//
// Accessors: x() reads, xIs() sets (or creates a nested entity), xDel()
// removes, xDelAll() empties, xNotify(key) notifies without a change. Setting
// a value that is already held, or deleting what is absent, notifies nobody.
// xDelAll() holds a reference to the entity while it walks the collection, so
// a callback that drops the last one cannot free the map under the walk (none
// is taken from a destructor, where the count is already zero).
// A change inside a nested entity notifies only that entity's watchers.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include "kiv/HashMap.h"
#include "kiv/Notifiee.h"
#include "kiv/Ptr.h"
#include "kiv/String.h"

namespace Kiv {

class Entity : public PtrInterface {
 public:
   explicit Entity(const Name & name) : name_(name) {}
   ~Entity() override = default;

   const Name & name() const noexcept { return name_; }
   // "/" joined names from the root entity down to this one.
   String fullName() const;
   // Back pointer to the owning entity; cleared when the owner drops this one.
   Entity * parent() const noexcept { return parent_; }
   const String & parentAttrName() const noexcept { return parentAttrName_; }
   void kivParentIs(Entity * parent, const String & attrName) {
      parent_ = parent;
      parentAttrName_ = attrName;
   }
   // Restoring from the store's backup sets the name after construction.
   void nameIsFromBackup(const Name & name) { name_ = name; }

   // Created on the first attach: most entities are never watched.
   NotifierList & kivNotifierList() {
      if (!notifiers_) notifiers_ = std::make_unique< NotifierList >();
      return *notifiers_;
   }

   // The entity's string form, as traces and generic texts show it: its full
   // name in quotes.
   virtual String kivStrep() const;

 protected:
   // Calls `deliver(notifiee)` for every attached notifiee of type N, unless
   // this entity's notifications are switched off or it is a zombie.
   template < class N, class F >
   void kivNotifyEach(F && deliver) {
      if (!notifiers_ || notifiers_->empty() || !hasNotificationActive() || isZombie()) return;
      notifiers_->notify< N >(deliver);
   }

 private:
   Name name_;
   Entity * parent_ = nullptr;
   String parentAttrName_;
   std::unique_ptr< NotifierList > notifiers_;
};

// A keyed collection of plain values.
template < class K, class V, class H = std::hash< K > >
class ValueTable {
 public:
   V get(const K & key) const {
      const V * v = map_.get(key);
      return v ? *v : V{};
   }
   bool contains(const K & key) const { return map_.contains(key); }
   // Returns whether anything changed.
   bool set(const K & key, const V & value) {
      const V * current = map_.get(key);
      if (current && *current == value) return false;
      map_.insert(key, value);
      return true;
   }
   bool del(const K & key) { return map_.erase(key); }
   std::size_t size() const noexcept { return map_.size(); }
   HashMap< K, V, H > & map() noexcept { return map_; }
   const HashMap< K, V, H > & map() const noexcept { return map_; }

 private:
   HashMap< K, V, H > map_;
};

// A keyed collection of nested entities owned by `owner`; each member's
// parent link names the owner while the member belongs to it.
template < class K, class T, class H = std::hash< K > >
class EntityTable {
 public:
   EntityTable() = default;
   EntityTable(const EntityTable &) = delete;
   EntityTable & operator=(const EntityTable &) = delete;
   ~EntityTable() {
      for (auto & it : map_) it.value()->kivParentIs(nullptr, String());
   }

   Ptr< T > get(const K & key) const {
      const Ptr< T > * v = map_.get(key);
      return v ? *v : Ptr< T >();
   }
   bool contains(const K & key) const { return map_.contains(key); }
   // The member under `key`, created from `args` when absent; second is true
   // when it was created.
   template < class... A >
   std::pair< Ptr< T >, bool > getOrCreate(const K & key, Entity * owner, const String & attrName,
                                           A &&... args) {
      auto [member, created] =
         map_.getOrInsert(key, [&] { return kivNew< T >(std::forward< A >(args)...); });
      // A copy: the stored pointer moves when the map grows.
      Ptr< T > result = *member;
      if (created) result->kivParentIs(owner, attrName);
      return {result, created};
   }
   // Removes and returns the member (null when absent).
   Ptr< T > del(const K & key) {
      const Ptr< T > * v = map_.get(key);
      if (!v) return Ptr< T >();
      Ptr< T > removed = *v;
      map_.erase(key);
      removed->kivParentIs(nullptr, String());
      return removed;
   }
   std::size_t size() const noexcept { return map_.size(); }
   HashMap< K, Ptr< T >, H > & map() noexcept { return map_; }
   const HashMap< K, Ptr< T >, H > & map() const noexcept { return map_; }

 private:
   HashMap< K, Ptr< T >, H > map_;
};

} // namespace Kiv

// Delivers one callback to the NotifieeConst watchers of the enclosing type.
#define KIV_NOTIFY_ON(call) kivNotifyEach< NotifieeConst >([&](NotifieeConst & n) { n.call; })

// A scalar attribute `name` of type `Type`; watchers receive on<Name>().
#define KIV_SCALAR(Type, name, Name)                      \
 public:                                                  \
   const Type & name() const noexcept { return name##_; } \
   void name##Is(const Type & value) {                    \
      if (name##_ == value) return;                       \
      name##_ = value;                                    \
      KIV_NOTIFY_ON(on##Name());                          \
   }                                                      \
                                                          \
 private:                                                 \
   Type name##_{};                                        \
                                                          \
 public:

// A keyed collection of values; watchers receive on<Name>(key).
#define KIV_VALUE_MAP(K, V, name, Name)                                              \
 public:                                                                             \
   V name(const K & key) const { return name##_.get(key); }                          \
   bool name##Has(const K & key) const { return name##_.contains(key); }             \
   void name##Is(const K & key, const V & value) {                                   \
      if (name##_.set(key, value)) KIV_NOTIFY_ON(on##Name(key));                     \
   }                                                                                 \
   void name##Del(const K & key) {                                                   \
      if (name##_.del(key)) KIV_NOTIFY_ON(on##Name(key));                            \
   }                                                                                 \
   void name##DelAll() {                                                             \
      Kiv::Ptr< Kiv::PtrInterface > keep(refCount() ? this : nullptr);               \
      for (auto & it : name##_.map()) {                                              \
         K key = it.key();                                                           \
         name##_.map().erase(it);                                                    \
         KIV_NOTIFY_ON(on##Name(key));                                               \
      }                                                                              \
   }                                                                                 \
   void name##Notify(const K & key) { KIV_NOTIFY_ON(on##Name(key)); }                \
   std::size_t name##Size() const noexcept { return name##_.size(); }                \
   Kiv::HashMap< K, V > & name##Map() noexcept { return name##_.map(); }             \
   const Kiv::HashMap< K, V > & name##Map() const noexcept { return name##_.map(); } \
                                                                                     \
 private:                                                                            \
   Kiv::ValueTable< K, V > name##_;                                                  \
                                                                                     \
 public:

// A keyed collection of nested entities of type T, created from the key (and
// any further constructor arguments); watchers receive on<Name>(key) when a
// member is added or removed.
#define KIV_ENTITY_MAP(K, T, name, Name)                                                         \
 public:                                                                                         \
   Kiv::Ptr< T > name(const K & key) const { return name##_.get(key); }                          \
   template < class... A >                                                                       \
   Kiv::Ptr< T > name##Is(const K & key, A &&... args) {                                         \
      /* one shared text for every member's parent attribute name */                             \
      static const Kiv::String kivAttrName(#name);                                               \
      auto [member, created] =                                                                   \
         name##_.getOrCreate(key, this, kivAttrName, key, std::forward< A >(args)...);           \
      if (created) KIV_NOTIFY_ON(on##Name(key));                                                 \
      return member;                                                                             \
   }                                                                                             \
   Kiv::Ptr< T > name##Del(const K & key) {                                                      \
      Kiv::Ptr< T > removed = name##_.del(key);                                                  \
      if (removed) KIV_NOTIFY_ON(on##Name(key));                                                 \
      return removed;                                                                            \
   }                                                                                             \
   void name##DelAll() {                                                                         \
      Kiv::Ptr< Kiv::PtrInterface > keep(refCount() ? this : nullptr);                           \
      for (auto & it : name##_.map()) {                                                          \
         K key = it.key();                                                                       \
         name##Del(key);                                                                         \
      }                                                                                          \
   }                                                                                             \
   void name##Notify(const K & key) { KIV_NOTIFY_ON(on##Name(key)); }                            \
   std::size_t name##Size() const noexcept { return name##_.size(); }                            \
   Kiv::HashMap< K, Kiv::Ptr< T > > & name##Map() noexcept { return name##_.map(); }             \
   const Kiv::HashMap< K, Kiv::Ptr< T > > & name##Map() const noexcept { return name##_.map(); } \
                                                                                                 \
 private:                                                                                        \
   Kiv::EntityTable< K, T > name##_;                                                             \
                                                                                                 \
 public:
