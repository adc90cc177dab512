// Intrusively counted objects and their pointers.
//
// Every framework object derives from PtrInterface and is created with
// kivNew<T>(...), which tracks a live count per type. An object starts with a
// count of one, the construction reference, which kivNew hands to the
// returned Ptr; so a constructor may safely make and drop Ptr<this>.
//
//   Kiv::Ptr<Foo> foo = Kiv::kivNew<Foo>(args);   // count 1
//   Kiv::PtrConst<Foo> view = foo;                 // count 2
//
// Counts are plain integers unless enableThreadSafePointersIs(true) switched
// the process to atomic updates. The library itself uses one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "kiv/RefCount.h"

namespace Kiv {

// Per-type count of live objects created through kivNew.
class LiveCount {
 public:
   // The id under which objects of `type` are counted (ids start at 1).
   static std::uint16_t idFor(const std::type_info & type);
   static std::int64_t count(const std::string & typeName);
   static std::int64_t total();
   // Type name to live count, for every type that has ever been allocated.
   static std::map< std::string, std::int64_t > snapshot();
};

class PtrInterface {
 public:
   PtrInterface() noexcept = default;
   PtrInterface(const PtrInterface &) = delete;
   PtrInterface & operator=(const PtrInterface &) = delete;
   virtual ~PtrInterface();

   void newRef() const noexcept { refCountInc(refCount_); }
   // Drops one reference; deletes the object when the count reaches zero.
   void delRef() const noexcept {
      if (refCountDec(refCount_)) delete this;
   }
   std::uint32_t refCount() const noexcept { return refCount_; }

   bool hasNotificationActive() const noexcept { return notificationActive_; }
   virtual void hasNotificationActiveIs(bool active) { notificationActive_ = active; }

   // The deletion (zombie) flag: set while an object is being torn down so that
   // reactors attached to it no longer run.
   bool isZombie() const noexcept { return zombie_; }
   virtual void kivDoZombieReactors(bool zombie) { zombie_ = zombie; }

   // Used by kivNew only.
   void kivTrackLive(std::uint16_t typeId) noexcept;

 private:
   mutable std::uint32_t refCount_ = 1; // the construction reference
   bool notificationActive_ = true;
   bool zombie_ = false;
   std::uint16_t liveTypeId_ = 0; // 0: not counted; packed beside the flags
};

struct AdoptRef {};

template < class T >
class Ptr {
 public:
   Ptr() noexcept = default;
   Ptr(std::nullptr_t) noexcept {}
   explicit Ptr(T * p) noexcept : p_(p) {
      if (p_) p_->newRef();
   }
   Ptr(T * p, AdoptRef) noexcept : p_(p) {}
   Ptr(const Ptr & o) noexcept : Ptr(o.p_) {}
   Ptr(Ptr && o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
   template < class U, class = std::enable_if_t< std::is_convertible_v< U *, T * > > >
   Ptr(const Ptr< U > & o) noexcept : Ptr(o.get()) {}
   template < class U, class = std::enable_if_t< std::is_convertible_v< U *, T * > > >
   Ptr(Ptr< U > && o) noexcept : p_(o.release()) {}
   ~Ptr() {
      if (p_) p_->delRef();
   }

   Ptr & operator=(Ptr o) noexcept {
      std::swap(p_, o.p_);
      return *this;
   }

   T * get() const noexcept { return p_; }
   T * operator->() const noexcept { return p_; }
   T & operator*() const noexcept { return *p_; }
   explicit operator bool() const noexcept { return p_ != nullptr; }
   // Gives up ownership of the reference without dropping it.
   T * release() noexcept { return std::exchange(p_, nullptr); }

   template < class U >
   bool operator==(const Ptr< U > & o) const noexcept {
      return p_ == o.get();
   }
   bool operator==(std::nullptr_t) const noexcept { return p_ == nullptr; }

 private:
   T * p_ = nullptr;
};

template < class T >
using PtrConst = Ptr< const T >;

template < class T, class... Args >
Ptr< T > kivNew(Args &&... args) {
   T * p = new T(std::forward< Args >(args)...);
   static const std::uint16_t typeId = LiveCount::idFor(typeid(T));
   p->kivTrackLive(typeId);
   return Ptr< T >(p, AdoptRef{});
}

[[noreturn]] void throwNullValidPtr();

// A pointer that must not be null: raises the range error "null ValidPtr".
template < class T >
Ptr< T > validPtr(Ptr< T > p) {
   if (!p) throwNullValidPtr();
   return p;
}

template < class T, class U >
Ptr< T > ptrCast(const Ptr< U > & p) noexcept {
   return Ptr< T >(dynamic_cast< T * >(p.get()));
}

} // namespace Kiv

template < class T >
struct std::hash< Kiv::Ptr< T > > {
   std::size_t operator()(const Kiv::Ptr< T > & p) const noexcept {
      return std::hash< const void * >()(p.get());
   }
};
