// The peer link between two agents in one process, over loopback, each
// figure against what a bare TCP socket does with the same bytes on the same
// machine in the same run:
//
//  - a change on switch A until switch B's results hold it, against half a
//    round trip of a frame of the same size;
//  - the full resync of a 4096 x 32 switch after a short cut (B's peer
//    records already hold the values, nothing changes), against the same
//    bytes sent bare both ways; with the bytes on the wire per entry and,
//    from the set-up, the first sync into empty peer records.
//
// Both agents, both links and the checker's deferred work (RealTimeDriver)
// share one io_context and one thread, as two agents would share a core;
// the bare sockets get their own io_context, driven the same way. The link
// is run without keepalives (they would only add frames to the figures) and
// with the agents' own socket options, which the bare sockets keep too.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <functional>
#include <memory>
#include <netinet/in.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <time.h>
#include <vector>

#include "BenchFixtures.h"
#include "RealTimeDriver.h"
#include "SwitchAgent.h"
#include "kiv/ActivityManager.h"
#include "kiv/Clock.h"
#include "kiv/System.h"
#include "peer/PeerLink.h"
#include "peer/PeerView.h"

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using Clock = std::chrono::steady_clock;
using MlagAgent::Peer::AuthMode;
using MlagAgent::Peer::LinkOptions;
using MlagAgent::Peer::PeerLink;
using MlagAgent::Peer::PeerView;
using MlagP2p::ConfigCheck::GenericConfig;

constexpr int latencyIntf = 100;
constexpr int latencyParam = 7;

double seconds(Clock::duration d) { return std::chrono::duration< double >(d).count(); }

// This process's CPU time, the kernel's work for its sockets included: on a
// machine shared with other work it does not stretch with what else runs,
// as wall time does.
double cpuSeconds() {
   timespec t{};
   clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
   return static_cast< double >(t.tv_sec) + static_cast< double >(t.tv_nsec) * 1e-9;
}

struct Took {
   double wall = NAN, cpu = NAN; // seconds
};

double median(std::vector< double > v) {
   if (v.empty()) return 0.0;
   std::sort(v.begin(), v.end());
   const std::size_t mid = v.size() / 2;
   return v.size() % 2 ? v[mid] : (v[mid - 1] + v[mid]) / 2;
}

// Runs handlers of `io` one at a time until `done` holds; false when
// `limit` seconds pass first, so that a link that never gets there fails
// the benchmark instead of hanging it.
template < class Done >
bool runUntil(asio::io_context & io, Done done, double limit) {
   const Clock::time_point deadline = Clock::now() + std::chrono::duration_cast< Clock::duration >(
                                                        std::chrono::duration< double >(limit));
   while (!done()) {
      const Clock::time_point now = Clock::now();
      if (now >= deadline) return false;
      if (io.stopped()) io.restart();
      io.run_one_for(deadline - now);
   }
   return true;
}

// No reactor of either switch is armed: every change has been worked off.
bool quiet() { return std::isinf(Kiv::activityManager()->config()->clock()->nextDueTime()); }

// The attributes and collection members of `record` and everything nested
// in it: the entries a snapshot carries.
std::size_t entries(const GenericConfig & record) {
   std::size_t n = record.attrMap().size() + record.attrCollectionMap().size();
   for (auto & it : record.nestedIntfConfigMap()) n += entries(*it.value());
   for (auto & it : record.nestedGlobalConfigMap()) n += entries(*it.value());
   return n;
}

// When a record last had an attribute written.
class AttrStamp : public GenericConfig::NotifieeConst {
 public:
   explicit AttrStamp(const Kiv::Ptr< GenericConfig > & record) { notifierIs(record); }
   ~AttrStamp() override { notifierIs(nullptr); }
   void onAttr(const Kiv::String &) override { at = Clock::now(); }
   Clock::time_point at{};
};

// A port nobody listens on: A dials it and is refused, harmlessly (A waits
// for B to dial in).
std::uint16_t unusedPort() {
   asio::io_context io;
   tcp::acceptor probe(io, tcp::endpoint(asio::ip::address_v4::loopback(), 0));
   return probe.local_endpoint().port();
}

// Ends the connection whose remote end is 127.0.0.1:`port` (B's end of the
// session, which B dialled to A's listening port): both sides see it close,
// as after a short cut, and B dials again at once. Returns false when no
// such connection is open.
bool cutConnectionTo(std::uint16_t port) {
   for (const auto & entry : std::filesystem::directory_iterator("/proc/self/fd")) {
      const int fd = std::stoi(entry.path().filename().string());
      sockaddr_in remote{};
      socklen_t length = sizeof remote;
      if (getpeername(fd, reinterpret_cast< sockaddr * >(&remote), &length) != 0) continue;
      if (remote.sin_family != AF_INET || ntohs(remote.sin_port) != port) continue;
      return shutdown(fd, SHUT_RDWR) == 0;
   }
   return false;
}

// Switches A and B of a scenario, each with its checker, peer view and peer
// link, on one event loop. A listens; B dials A.
class LinkedPair {
 public:
   LinkedPair(const MlagSim::Scenario & scenario, AuthMode auth)
         : log_(logText_),
           driver_(io_, counters_),
           a_(MlagSim::SwitchFile{"A.switch.json", "", scenario.plugins, scenario.switches[0]}),
           b_(MlagSim::SwitchFile{"B.switch.json", "", scenario.plugins, scenario.switches[1]}),
           viewA_(a_),
           viewB_(b_) {
      LinkOptions options;
      options.auth = auth;
      if (auth == AuthMode::key) options.key = "peer-link-bench-shared-key-0123456789";
      // No keepalives and no timeouts within a run.
      options.keepalive = 3600.0;
      options.timeout = 7200.0;
      LinkOptions forA = options;
      forA.listen = tcp::endpoint(asio::ip::address_v4::loopback(), 0);
      forA.peer = tcp::endpoint(asio::ip::address_v4::loopback(), unusedPort());
      forA.retry = 3600.0;
      linkA_ =
         std::make_unique< PeerLink >(io_, forA, viewA_, a_, log_, [this] { driver_.kick(); });
      LinkOptions forB = options;
      forB.peer = tcp::endpoint(asio::ip::address_v4::loopback(), linkA_->port());
      forB.retry = 0.0; // dial again at once after a cut
      linkB_ =
         std::make_unique< PeerLink >(io_, forB, viewB_, b_, log_, [this] { driver_.kick(); });
   }

   ~LinkedPair() {
      // The links go first, while what they write to stands; the handlers
      // still pending go unrun with the io_context.
      linkB_.reset();
      linkA_.reset();
   }

   // Starts both checkers and works off their start.
   bool start() {
      a_.start();
      b_.start();
      driver_.kick();
      return runUntil(io_, quiet, 300.0);
   }

   asio::io_context & io() { return io_; }
   MlagAgent::RealTimeDriver & driver() { return driver_; }
   MlagAgent::SwitchAgent & a() { return a_; }
   MlagAgent::SwitchAgent & b() { return b_; }
   PeerView & viewA() { return viewA_; }
   PeerView & viewB() { return viewB_; }
   PeerLink & linkA() { return *linkA_; }
   PeerLink & linkB() { return *linkB_; }
   // The end of the log, for a failure's message.
   std::string logTail() const {
      const std::string text = logText_.str();
      return text.size() > 600 ? text.substr(text.size() - 600) : text;
   }

 private:
   asio::io_context io_;
   std::ostringstream logText_;
   MlagAgent::Log log_;
   MlagAgent::Counters counters_;
   MlagAgent::RealTimeDriver driver_;
   MlagAgent::SwitchAgent a_, b_;
   PeerView viewA_, viewB_;
   std::unique_ptr< PeerLink > linkA_, linkB_;
};

// When `view` last finished a snapshot (Unix seconds), or none.
std::optional< double > lastSync(const PeerView & view) {
   const std::optional< double > since = view.secondsSinceSync(0.0);
   if (!since) return std::nullopt;
   return -*since;
}

// A connected pair of sockets on 127.0.0.1 with its own event loop, the
// agents' socket options (none set) and their read size.
class BareLoopback {
 public:
   BareLoopback()
         : acceptor_(io_, tcp::endpoint(asio::ip::address_v4::loopback(), 0)), a_(io_), b_(io_) {
      a_.connect(acceptor_.local_endpoint());
      b_ = acceptor_.accept();
   }

   // Half of one round trip of `bytes` from A to B and back, in seconds.
   double halfRoundTrip(std::size_t bytes) {
      out_.assign(bytes, 'x');
      inA_.resize(bytes);
      inB_.resize(bytes);
      bool done = false;
      const Clock::time_point t0 = Clock::now();
      asio::async_write(a_, asio::buffer(out_),
                        [](const boost::system::error_code &, std::size_t) {});
      asio::async_read(b_, asio::buffer(inB_),
                       [&](const boost::system::error_code & ec, std::size_t) {
                          if (ec) return;
                          asio::async_write(b_, asio::buffer(inB_),
                                            [](const boost::system::error_code &, std::size_t) {});
                       });
      asio::async_read(a_, asio::buffer(inA_),
                       [&](const boost::system::error_code & ec, std::size_t) { done = !ec; });
      if (!runUntil(
             io_, [&] { return done; }, 5.0))
         return NAN;
      return seconds(Clock::now() - t0) / 2;
   }

   // `toB` bytes from A to B and `toA` bytes from B to A at once, each sent
   // in writes as large as the socket takes and read 64 KiB at a time; the
   // time until both have arrived.
   Took transfer(std::size_t toB, std::size_t toA) {
      out_.assign(std::max(toB, toA), 'x');
      std::size_t gotB = 0, gotA = 0;
      const double cpu0 = cpuSeconds();
      const Clock::time_point t0 = Clock::now();
      auto ignore = [](const boost::system::error_code &, std::size_t) {};
      asio::async_write(a_, asio::buffer(out_.data(), toB), ignore);
      asio::async_write(b_, asio::buffer(out_.data(), toA), ignore);
      std::function< void(tcp::socket &, std::array< char, 64 * 1024 > &, std::size_t &,
                          std::size_t) >
         readAll = [&](tcp::socket & s, std::array< char, 64 * 1024 > & into, std::size_t & got,
                       std::size_t want) {
            if (got >= want) return;
            s.async_read_some(asio::buffer(into),
                              [&, want](const boost::system::error_code & ec, std::size_t n) {
                                 if (ec) return;
                                 got += n;
                                 readAll(s, into, got, want);
                              });
         };
      readAll(b_, readB_, gotB, toB);
      readAll(a_, readA_, gotA, toA);
      if (!runUntil(
             io_, [&] { return gotB >= toB && gotA >= toA; }, 30.0))
         return {};
      return {seconds(Clock::now() - t0), cpuSeconds() - cpu0};
   }

 private:
   asio::io_context io_;
   tcp::acceptor acceptor_;
   tcp::socket a_, b_;
   std::string out_, inA_, inB_;
   std::array< char, 64 * 1024 > readA_{}, readB_{};
};

// A change of one interface attribute on A, from the configuration entity
// until B's checker has worked off what the peer link brought it (B's
// results hold A's new value), against half a round trip of the same bytes
// on a bare socket. Both are one write, one wake-up of the same kind of
// event loop and one read; the link's figure also holds A's checker turning
// the change into its record and B's checker turning the peer record into
// results, which the counters give apart: aCheckerUs (configuration to A's
// record), linkUs (A's record to B's peer record: encode, tag, write, read,
// decode, apply) and bCheckerUs (B's peer record to B's results). The
// changes come one at a time with a few bare round trips between them; a
// change may still wait for the peer's acknowledgement of the one before
// (the link's sockets keep Nagle's algorithm), which shows in the tail:
// over1ms, p99Us and maxUs.
void BM_PeerLinkChangeLatency(benchmark::State & state) {
   const MlagSim::Scenario scenario = Bench::pairScenario(4096, 32);
   LinkedPair pair(scenario, AuthMode::plaintext);
   if (!pair.start()) {
      state.SkipWithError("the checkers did not settle after their start");
      return;
   }
   pair.linkA().start();
   pair.linkB().start();
   if (!runUntil(
          pair.io(), [&] { return lastSync(pair.viewA()) && lastSync(pair.viewB()) && quiet(); },
          120.0)) {
      state.SkipWithError(("the first sync did not finish: " + pair.logTail()).c_str());
      return;
   }
   const Kiv::Name intf(Bench::intfName(latencyIntf));
   const Kiv::String attr(Bench::paramAttr(latencyParam));
   const Kiv::Ptr< Kiv::DynamicEntity > config =
      pair.a().config("bench")->entityMember(Kiv::String("intfConfig"), Kiv::String(intf.view()));
   const Kiv::Ptr< GenericConfig > localA = pair.a().records()[0].local->nestedIntfConfig(intf);
   const Kiv::Ptr< GenericConfig > peerB = pair.b().records()[0].peer->nestedIntfConfig(intf);
   if (!config || !localA || !peerB) {
      state.SkipWithError("the interface's records are missing");
      return;
   }
   AttrStamp stampA(localA), stampB(peerB);
   BareLoopback bare;

   int next = 1;
   // One change, made at `t0`, until B's checker is done with it; false
   // when B's peer record did not get the new value.
   auto change = [&](Clock::time_point & t0) {
      const std::uint64_t received = pair.linkB().bytesReceived();
      t0 = Clock::now();
      config->valueIs(attr, Kiv::Value::integer(next));
      pair.driver().kick();
      const bool ok = runUntil(
         pair.io(), [&] { return pair.linkB().bytesReceived() != received && quiet(); }, 5.0);
      next = 3 - next;
      return ok && peerB->attr(attr) == Kiv::String(std::to_string(3 - next));
   };
   // The bytes one change puts on the wire, for the bare exchange.
   Clock::time_point t0;
   const std::uint64_t sentBefore = pair.linkA().bytesSent();
   if (!change(t0)) {
      state.SkipWithError(("a change did not reach the peer: " + pair.logTail()).c_str());
      return;
   }
   const std::size_t frameBytes = pair.linkA().bytesSent() - sentBefore;

   std::vector< double > total, checkerA, link, checkerB, bareOneWay;
   for (auto _ : state) {
      if (!change(t0)) {
         state.SkipWithError(("a change did not reach the peer: " + pair.logTail()).c_str());
         return;
      }
      const Clock::time_point t1 = Clock::now();
      total.push_back(seconds(t1 - t0));
      checkerA.push_back(seconds(stampA.at - t0));
      link.push_back(seconds(stampB.at - stampA.at));
      checkerB.push_back(seconds(t1 - stampB.at));
      state.SetIterationTime(total.back());
      // Bare, under the same load of the machine as the change just made.
      for (int i = 0; i < 4; ++i) bareOneWay.push_back(bare.halfRoundTrip(frameBytes));
   }
   // B's results, once: the interface's entry in the attribute's table
   // (named from its description and the interface's MLAG id) holds the
   // value of the last change as the peer's.
   nlohmann::json results = pair.b().resultJson()["plugins"]["bench"]["interface"];
   const nlohmann::json entry = results["intf param " + std::to_string(latencyParam) + " mlag" +
                                        std::to_string(latencyIntf + 1)][std::string(intf.view())];
   if (!entry.is_object() || entry.value("peer", "") != std::to_string(3 - next)) {
      state.SkipWithError(("B's results do not hold the change: " + entry.dump()).c_str());
      return;
   }
   // Medians: a shared machine's scheduling hiccups stay out of them. The
   // tail is given apart: changes that took over a millisecond, and the 99th
   // percentile.
   std::vector< double > sorted = total;
   std::sort(sorted.begin(), sorted.end());
   state.counters["p99Us"] = sorted[sorted.size() * 99 / 100] * 1e6;
   state.counters["maxUs"] = sorted.back() * 1e6;
   state.counters["over1ms"] =
      static_cast< double >(sorted.end() - std::upper_bound(sorted.begin(), sorted.end(), 1e-3));
   const double bareUs = median(bareOneWay) * 1e6;
   state.counters["frameBytes"] = static_cast< double >(frameBytes);
   state.counters["bareUs"] = bareUs;
   state.counters["totalUs"] = median(total) * 1e6;
   state.counters["aCheckerUs"] = median(checkerA) * 1e6;
   state.counters["linkUs"] = median(link) * 1e6;
   state.counters["bCheckerUs"] = median(checkerB) * 1e6;
   state.counters["vsBare"] = median(total) * 1e6 / bareUs;
   state.counters["linkVsBare"] = median(link) * 1e6 / bareUs;
}
BENCHMARK(BM_PeerLinkChangeLatency)
   ->UseManualTime()
   ->Unit(benchmark::kMicrosecond)
   ->Iterations(2000);

// The full resync of a 4096 x 32 switch: B's connection to A is cut and B
// dials again at once; timed from the cut until B's peer records are in
// sync (snapshot-end applied). B's peer records already hold A's values, so
// the checkers have nothing to do: the figure is the link's own. Both
// switches send their snapshot, so the bare counterpart moves the same bytes
// both ways at once (what each link received until B was in sync). The
// first sync, into empty peer records, is timed once, in the set-up, from
// B's first dial, and set against the same bare transfer.
void BM_PeerLinkResync(benchmark::State & state, AuthMode auth) {
   const MlagSim::Scenario scenario = Bench::pairScenario(4096, 32);
   LinkedPair pair(scenario, auth);
   if (!pair.start()) {
      state.SkipWithError("the checkers did not settle after their start");
      return;
   }
   std::size_t entriesA = 0;
   for (const MlagAgent::SwitchAgent::Records & r : pair.a().records())
      entriesA += entries(*r.local);
   BareLoopback bare;

   pair.linkA().start();
   const double firstCpu0 = cpuSeconds();
   const Clock::time_point first0 = Clock::now();
   pair.linkB().start();
   if (!runUntil(
          pair.io(), [&] { return lastSync(pair.viewB()).has_value(); }, 120.0)) {
      state.SkipWithError(("the first sync did not finish: " + pair.logTail()).c_str());
      return;
   }
   const Took firstSync{seconds(Clock::now() - first0), cpuSeconds() - firstCpu0};
   const Took firstBare = bare.transfer(pair.linkB().bytesReceived(), pair.linkA().bytesReceived());
   if (!runUntil(
          pair.io(), [&] { return lastSync(pair.viewA()) && quiet(); }, 120.0)) {
      state.SkipWithError(("the first sync did not settle: " + pair.logTail()).c_str());
      return;
   }
   const std::uint16_t portA = pair.linkA().port();

   std::vector< double > resync, resyncCpu, bareTransfer, bareCpu;
   std::uint64_t toB = 0;
   for (auto _ : state) {
      const std::uint64_t reconnects = pair.viewB().reconnects();
      const std::optional< double > syncedA = lastSync(pair.viewA());
      const std::optional< double > syncedB = lastSync(pair.viewB());
      const std::uint64_t receivedA = pair.linkA().bytesReceived();
      const std::uint64_t receivedB = pair.linkB().bytesReceived();
      const double cpu0 = cpuSeconds();
      const Clock::time_point t0 = Clock::now();
      if (!cutConnectionTo(portA)) {
         state.SkipWithError("no connection to cut");
         return;
      }
      const bool ok = runUntil(
         pair.io(),
         [&] {
            return pair.viewB().reconnects() > reconnects && pair.viewB().synchronised() &&
                   lastSync(pair.viewB()) != syncedB;
         },
         60.0);
      const Clock::time_point t1 = Clock::now();
      resyncCpu.push_back(cpuSeconds() - cpu0);
      if (!ok) {
         state.SkipWithError(("the resync did not finish: " + pair.logTail()).c_str());
         return;
      }
      resync.push_back(seconds(t1 - t0));
      state.SetIterationTime(resync.back());
      toB = pair.linkB().bytesReceived() - receivedB;
      const std::uint64_t toA = pair.linkA().bytesReceived() - receivedA;
      // A's side of the resync, and anything the checkers were given.
      if (!runUntil(
             pair.io(),
             [&] {
                return pair.viewA().synchronised() && lastSync(pair.viewA()) != syncedA && quiet();
             },
             60.0)) {
         state.SkipWithError(("A's side of the resync did not finish: " + pair.logTail()).c_str());
         return;
      }
      const Took took = bare.transfer(toB, toA);
      bareTransfer.push_back(took.wall);
      bareCpu.push_back(took.cpu);
   }
   const double bareMs = median(bareTransfer) * 1e3;
   state.counters["resyncMs"] = median(resync) * 1e3;
   state.counters["bareMs"] = bareMs;
   state.counters["vsBare"] = median(resync) * 1e3 / bareMs;
   state.counters["entries"] = static_cast< double >(entriesA);
   state.counters["bytesPerEntry"] = static_cast< double >(toB) / static_cast< double >(entriesA);
   state.counters["resyncCpuMs"] = median(resyncCpu) * 1e3;
   state.counters["bareCpuMs"] = median(bareCpu) * 1e3;
   state.counters["vsBareCpu"] = median(resyncCpu) / median(bareCpu);
   state.counters["firstSyncMs"] = firstSync.wall * 1e3;
   state.counters["firstVsBare"] = firstSync.wall / firstBare.wall;
   state.counters["firstVsBareCpu"] = firstSync.cpu / firstBare.cpu;
}
BENCHMARK_CAPTURE(BM_PeerLinkResync, plaintext, AuthMode::plaintext)
   ->UseManualTime()
   ->Unit(benchmark::kMillisecond)
   ->Iterations(3);
BENCHMARK_CAPTURE(BM_PeerLinkResync, key, AuthMode::key)
   ->UseManualTime()
   ->Unit(benchmark::kMillisecond)
   ->Iterations(3);

} // namespace
