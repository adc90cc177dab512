// Notifiers and notifiees (reactors).
//
// An object that notifies keeps a NotifierList; each watcher derives from
// Notifiee<T> (through T::NotifieeConst) and attaches with notifierIs().
//
//   struct Watch : Foo::NotifieeConst {
//      void onMtu() override { ... }
//   };
//   Watch w; w.notifierIs(foo);       // foo->mtuIs(9000) now calls w.onMtu()
//
// Delivery is synchronous, in the order the notifiees were attached. A
// notifiee that detaches or is destroyed during a notification is skipped
// from then on; one attached during a notification first hears the next
// one; the notifier itself may be destroyed by a callback (delivery stops).
// A notifiee that is inactive or a zombie receives nothing.
#pragma once

#include <cassert>
#include <cstddef>
#include <vector>

#include "kiv/Ptr.h"

namespace Kiv {

class NotifieeBase;

class NotifierList {
 public:
   NotifierList() = default;
   NotifierList(const NotifierList &) = delete;
   NotifierList & operator=(const NotifierList &) = delete;
   ~NotifierList();

   bool empty() const noexcept { return attached_ == 0; }

   // Calls `deliver(static_cast< N & >(notifiee))` for each active notifiee.
   template < class N, class F >
   void notify(F && deliver);

 private:
   friend class NotifieeBase;
   struct Frame {
      bool destroyed = false;
      Frame * outer = nullptr;
   };
   void attach(NotifieeBase * n);
   void detach(NotifieeBase * n);
   void compact();

   std::vector< NotifieeBase * > notifiees_; // attach order; null = detached mid-delivery
   std::size_t attached_ = 0;
   Frame * frames_ = nullptr; // deliveries under way, innermost first
};

class NotifieeBase {
 public:
   NotifieeBase() = default;
   NotifieeBase(const NotifieeBase &) = delete;
   NotifieeBase & operator=(const NotifieeBase &) = delete;
   virtual ~NotifieeBase() { detach(); }

   bool hasNotificationActive() const noexcept { return active_; }
   virtual void hasNotificationActiveIs(bool active) { active_ = active; }
   bool isZombie() const noexcept { return zombie_; }
   virtual void kivDoZombieReactors(bool zombie) { zombie_ = zombie; }
   bool receives() const noexcept { return active_ && !zombie_; }

 protected:
   void attach(NotifierList * list) {
      if (list == list_) return;
      detach();
      list_ = list;
      if (list_) list_->attach(this);
   }
   void detach() {
      if (list_) list_->detach(this);
      list_ = nullptr;
   }

 private:
   friend class NotifierList;
   NotifierList * list_ = nullptr; // the list this notifiee is attached to
   std::size_t listIndex_ = 0;     // its position in that list
   bool active_ = true;
   bool zombie_ = false;
};

// The typed notifiee of notifier type T. Holds a counted reference to the
// notifier, so the notifier outlives its attached notifiees.
template < class T >
class Notifiee : public NotifieeBase {
 public:
   Notifiee() = default;
   explicit Notifiee(const PtrConst< T > & notifier) { notifierIs(notifier); }
   ~Notifiee() override { detach(); }

   const PtrConst< T > & notifier() const noexcept { return notifier_; }
   void notifierIs(const PtrConst< T > & notifier) {
      if (notifier == notifier_) return;
      attach(notifier ? &const_cast< T * >(notifier.get())->kivNotifierList() : nullptr);
      notifier_ = notifier;
   }

 private:
   PtrConst< T > notifier_;
};

inline NotifierList::~NotifierList() {
   for (Frame * f = frames_; f; f = f->outer) f->destroyed = true;
   for (NotifieeBase * n : notifiees_) {
      if (n) n->list_ = nullptr;
   }
}

inline void NotifierList::attach(NotifieeBase * n) {
   n->listIndex_ = notifiees_.size();
   notifiees_.push_back(n);
   ++attached_;
}

// Constant time: a detached notifiee leaves a hole, and the holes are closed
// once they are half the list (never during a delivery, whose loop indexes it).
inline void NotifierList::detach(NotifieeBase * n) {
   notifiees_[n->listIndex_] = nullptr;
   --attached_;
   if (!frames_ && attached_ * 2 < notifiees_.size()) compact();
}

inline void NotifierList::compact() {
   std::size_t out = 0;
   for (NotifieeBase * n : notifiees_) {
      if (!n) continue;
      n->listIndex_ = out;
      notifiees_[out++] = n;
   }
   notifiees_.resize(out);
}

template < class N, class F >
void NotifierList::notify(F && deliver) {
   if (attached_ == 0) return;
   Frame frame;
   frame.outer = frames_;
   frames_ = &frame;
   // Unlinks the frame however delivery ends, a callback's exception
   // included, so the list never keeps a pointer into a dead stack frame.
   struct Unlink {
      NotifierList * list;
      Frame & frame;
      ~Unlink() {
         if (frame.destroyed) return; // the notifier went away; touch nothing
         list->frames_ = frame.outer;
         if (!list->frames_ && list->attached_ < list->notifiees_.size()) list->compact();
      }
   } unlink{this, frame};
   // Notifiees attached during this delivery sit past `count` and wait for the next.
   std::size_t count = notifiees_.size();
   for (std::size_t i = 0; i < count; ++i) {
      NotifieeBase * n = notifiees_[i];
      if (!n || !n->receives()) continue;
      deliver(static_cast< N & >(*n));
      if (frame.destroyed) return;
   }
}

} // namespace Kiv
