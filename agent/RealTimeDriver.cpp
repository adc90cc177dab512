#include "RealTimeDriver.h"

#include <boost/asio/post.hpp>
#include <chrono>
#include <cmath>

#include "kiv/ActivityManager.h"
#include "kiv/System.h"

namespace MlagAgent {

namespace {

// Firings per turn of the loop before other events get theirs.
constexpr int firingsPerTurn = 64;

} // namespace

RealTimeDriver::RealTimeDriver(boost::asio::io_context & io, Counters & counters)
      : io_(io), timer_(io), counters_(counters) {
   Kiv::System::realTimeIs();
}

void RealTimeDriver::kick() {
   if (posted_) return;
   posted_ = true;
   boost::asio::post(io_, [this] {
      posted_ = false;
      run();
   });
}

void RealTimeDriver::run() {
   Kiv::ActivityManager * manager = Kiv::activityManager();
   for (int i = 0; i < firingsPerTurn; ++i) {
      const Kiv::Seconds begin = Kiv::System::bookkeepingTime();
      if (!manager->runOnce()) break;
      const Kiv::Seconds took = Kiv::System::bookkeepingTime() - begin;
      ++counters_.slicesRun;
      if (took > counters_.longestSlice) counters_.longestSlice = took;
   }
   const Kiv::Seconds due = manager->config()->clock()->nextDueTime();
   if (std::isinf(due)) {
      timer_.cancel();
      return;
   }
   const Kiv::Seconds wait = due - Kiv::System::bookkeepingTime();
   if (wait <= 0.0) {
      kick();
      return;
   }
   timer_.expires_after(std::chrono::duration_cast< std::chrono::steady_clock::duration >(
      std::chrono::duration< double >(wait)));
   timer_.async_wait([this](const boost::system::error_code & ec) {
      if (!ec) run();
   });
}

} // namespace MlagAgent
