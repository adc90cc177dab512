// Drives the process's activity manager from a Boost.Asio event loop on real
// time. After every event that may have armed a reactor, kick() posts a run:
// due reactors fire, a bounded batch per turn of the loop so that sockets,
// signals and file events keep their turn while a long backlog is worked off
// (each backlog slice keeps to its real-time quantum); then one steady timer
// is armed for the clock's next due time.
//
//   boost::asio::io_context io;
//   MlagAgent::RealTimeDriver driver(io, agent.counters());
//   agent.start(); driver.kick(); io.run();
//
// Switches the process to real time. Single event thread; the io_context
// outlives the driver.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include "Agent.h"

namespace MlagAgent {

class RealTimeDriver {
 public:
   RealTimeDriver(boost::asio::io_context & io, Counters & counters);
   RealTimeDriver(const RealTimeDriver &) = delete;
   RealTimeDriver & operator=(const RealTimeDriver &) = delete;

   void kick();

 private:
   void run();

   boost::asio::io_context & io_;
   boost::asio::steady_timer timer_;
   Counters & counters_;
   bool posted_ = false;
};

} // namespace MlagAgent
