#include "kiv/Clock.h"

#include <algorithm>
#include <cmath>

#include "kiv/Assert.h"

namespace Kiv {

namespace {

// Process-wide, so that a place taken on one clock still orders correctly
// after the reactor moves to another.
std::uint64_t armingSeq = 0;

} // namespace

void Clock::NotifieeConst::timeMinIs(Seconds t) {
   KIV_ASSERT(!std::isnan(t) && "a clock reactor's time is a number");
   if (t == never) {
      leaveSchedule();
      timeMin_ = never;
      return;
   }
   Seconds now = System::bookkeepingTime();
   bool keepsPlace = armed() && dueAt_ <= now && t <= now;
   timeMin_ = t;
   if (!keepsPlace) {
      leaveSchedule();
      dueAt_ = std::max(t, now);
      seq_ = ++armingSeq;
   }
   scheduleUpdate();
}

void Clock::NotifieeConst::notifierIs(const PtrConst< Clock > & clock) {
   if (clock == notifier()) return;
   leaveSchedule();
   Notifiee< Clock >::notifierIs(clock);
   scheduleUpdate();
}

void Clock::NotifieeConst::hasNotificationActiveIs(bool active) {
   Notifiee< Clock >::hasNotificationActiveIs(active);
   scheduleUpdate();
}

void Clock::NotifieeConst::kivDoZombieReactors(bool zombie) {
   Notifiee< Clock >::kivDoZombieReactors(zombie);
   scheduleUpdate();
}

void Clock::NotifieeConst::scheduleUpdate() {
   bool canFire = armed() && notifier() && receives();
   if (canFire == scheduled_) return;
   if (!canFire) {
      leaveSchedule();
      return;
   }
   clock()->schedule_.emplace(Place(dueAt_, seq_), this);
   scheduled_ = true;
}

void Clock::NotifieeConst::leaveSchedule() {
   if (!scheduled_) return;
   clock()->schedule_.erase(Place(dueAt_, seq_));
   scheduled_ = false;
}

Clock::~Clock() { KIV_ASSERT(schedule_.empty() && "a clock dies with reactors scheduled"); }

Seconds Clock::nextDueTime() const noexcept {
   return schedule_.empty() ? never : schedule_.begin()->first.first;
}

bool Clock::fireNextDue(Seconds now) {
   if (schedule_.empty() || schedule_.begin()->first.first > now) return false;
   NotifieeConst * reactor = schedule_.begin()->second;
   reactor->timeMinIs(never);
   // Restored by the scope, which holds nothing of the reactor.
   Trace::ContextScope scope(reactor->traceContext_);
   reactor->handleTimeMin();
   return true;
}

} // namespace Kiv
