#include "orv/CodefBase.h"

#include <cmath>

#include "kiv/Assert.h"

namespace Orv {

CodefBase::CodefBase(const Kiv::PtrConst< Kiv::Clock > & clock) : reactor_(this) {
   reactor_.notifierIs(clock);
}

CodefBase::~CodefBase() {
   for (Slice * s = slices_; s; s = s->outer) s->destroyed = true;
}

void CodefBase::scheduleCodefDelay(Kiv::Seconds delay) {
   KIV_ASSERT(delay >= 0.0 && "a codef delay is not negative");
   reactor_.timeMinIs(Kiv::System::currentTime() + delay);
}

void CodefBase::updateWorkStats(std::uint64_t processed, std::uint64_t remaining) {
   updatesProcessed_ += processed;
   ++dispatchCount_;
   if (remaining != 0) {
      ++yieldBeforeFinishingCount_;
   } else {
      warm_ = true;
   }
}

void CodefBase::backlogQuantumIs(Kiv::Seconds quantum) {
   KIV_ASSERT(std::isfinite(quantum) && quantum >= 0.0 && "a backlog quantum is not negative");
   backlogQuantum_ = quantum;
}

std::uint64_t CodefBase::updatesCoalesced() const {
   std::uint64_t accounted = updatesProcessed_ + backlogSize();
   return updatesSeen_ > accounted ? updatesSeen_ - accounted : 0;
}

void CodefBase::hasNotificationActiveIs(bool active) {
   Kiv::PtrInterface::hasNotificationActiveIs(active);
   reactor_.hasNotificationActiveIs(active);
}

void CodefBase::kivDoZombieReactors(bool zombie) {
   Kiv::PtrInterface::kivDoZombieReactors(zombie);
   reactor_.kivDoZombieReactors(zombie);
}

void CodefBase::doProcessBacklog() {
   Kiv::Seconds startTime = Kiv::System::currentTime();
   std::uint64_t processed;
   {
      Slice slice(slices_);
      processed = processBacklog(startTime);
      if (slice.destroyed) return;
   }
   timeUsed_ += Kiv::System::bookkeepingTime() - startTime;
   std::uint64_t remaining = backlogSize();
   updateWorkStats(processed, remaining);
   // Work enqueued during the slice armed the reactor already; when the
   // slice took that work too, a further slice would find nothing.
   if (remaining != 0) {
      scheduleCodef();
   } else {
      unscheduleCodef();
   }
}

} // namespace Orv
