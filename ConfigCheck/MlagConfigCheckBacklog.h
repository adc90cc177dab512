// The backlog that both sides of a plugin's checker keep: deferred-work keys
// worked off in time-limited slices by doProcessConfigCheckBacklog, the one
// slice algorithm both sides use unchanged.
//
//   class MySm : public ConfigCheckSmBase { ... processSmCodefKey(key) ... };
//   std::uint64_t MySm::processBacklog(const Kiv::Seconds & t) {
//      return doProcessConfigCheckBacklog(this, t);
//   }
#pragma once

#include <cstdint>

#include "MlagConfigCheckTrace.h"
#include "MlagConfigCheckTypes.h"
#include "kiv/HashMap.h"
#include "kiv/System.h"
#include "orv/CodefBase.h"

namespace Mlag::ConfigCheck {

class ConfigCheckSmBase : public Orv::CodefBase {
 public:
   // Pending work. Keys are unique, so repeated changes of one thing coalesce
   // into one unit of work; the value is always true and never read.
   using Backlog = Kiv::HashMap2018< SmCodefKey, bool >;

   explicit ConfigCheckSmBase(const Kiv::PtrConst< Kiv::Clock > & clock) : CodefBase(clock) {}

   // Inserts the key, or overwrites its value in place (its position is kept).
   void backlogIs(const SmCodefKey & key, bool value) { backlog_.insert(key, value); }
   void backlogDel(const SmCodefKey & key) { backlog_.erase(key); }
   // The iterator stays usable for advancing.
   void backlogDel(Backlog::Iterator & it) { backlog_.erase(it); }
   void backlogDelAll() { backlog_.clear(); }
   std::uint64_t backlogSize() const override { return backlog_.size(); }
   Backlog & backlog() noexcept { return backlog_; }

   // The key at which the next slice resumes; the empty key means the beginning.
   const SmCodefKey & bookmark() const noexcept { return bookmark_; }
   void bookmarkIs(const SmCodefKey & key) { bookmark_ = key; }

   bool initialized() const noexcept { return initialized_; }
   void initializedIs(bool initialized) { initialized_ = initialized; }
   bool okToProcessEvents() const noexcept { return initialized_; }
   void discardBacklog() {
      backlogDelAll();
      bookmarkIs(SmCodefKey());
   }

 protected:
   // Queues one unit of work and asks for a slice at the next opportunity.
   void enqueue(const SmCodefKey & key) {
      backlogIs(key, true);
      updatesSeenInc(1);
      scheduleCodef();
   }

 private:
   Backlog backlog_;
   SmCodefKey bookmark_;
   bool initialized_ = false;
};

namespace backlogDetail {
inline constexpr char kivTraceSource[] = "MlagConfigCheckSm";
} // namespace backlogDetail

// Works through `sm`'s backlog from its bookmark, wrapping around at the end,
// until the backlog is empty or the slice's quantum is used up. The clock is
// read only at every tenth entry, so a slice always processes at least ten
// entries when that many are pending. Returns the number processed.
template < class T >
std::uint64_t doProcessConfigCheckBacklog(T sm, const Kiv::Seconds & startTime) {
   using backlogDetail::kivTraceSource;
   MLAG_TRACE(8, "");
   if (!sm->okToProcessEvents()) {
      // Work queued before initialization is dropped: initialization itself
      // brings the results up to date.
      MLAG_TRACE(8, "Discarding backlog as not yet ready to process");
      sm->discardBacklog();
      return 0;
   }
   const Kiv::Seconds deadline = startTime + sm->backlogQuantum();
   auto it = sm->backlog().find(sm->bookmark());
   if (!it.valid()) it.rewind();
   std::uint64_t count = 0;
   for (;;) {
      if (!it.valid()) {
         it.rewind();
         if (!it.valid()) return count;
      }
      const SmCodefKey key = it.key();
      sm->processSmCodefKey(key);
      sm->backlogDel(it);
      ++it;
      ++count;
      if (count % 10 == 0 && Kiv::System::currentTime() >= deadline) break;
   }
   MLAG_TRACE(8, "Backlog entries processed: ", count);
   sm->bookmarkIs(it.valid() ? it.key() : SmCodefKey());
   return count;
}

} // namespace Mlag::ConfigCheck
