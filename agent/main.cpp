// mlag-config-checkd: the configuration-consistency checker as a long-running
// agent on one switch. Watches the switch file, keeps the results current
// through the checker's incremental path, exchanges records with the MLAG
// peer's agent over the peer link, and serves the results over HTTP.
//
//   mlag-config-checkd /etc/mlag/leaf1.switch.json
//   mlag-config-checkd --listen-api 127.0.0.1:0 --port-file /run/mlag.port leaf1.switch.json
//   mlag-config-checkd --listen 0.0.0.0:7341 --peer PEER:7341 --peer-key-file key leaf1.switch.json
//
// SIGHUP reloads the file; SIGTERM and SIGINT stop the agent (exit 0).
// Exit status 2: usage error, a bad switch file at the start, or an address
// that cannot be bound.
#include <CLI/CLI.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>

#include "Agent.h"
#include "FileWatch.h"
#include "HttpServer.h"
#include "RealTimeDriver.h"
#include "peer/PeerLink.h"
#include "trace/Handle.h"
#include "trace/Sink.h"

namespace {

constexpr char agentName[] = "mlag-config-checkd";
constexpr int exitUsage = 2;

struct Options {
   std::string switchFile;
   std::string listen = "127.0.0.1:7340";
   std::string portFile;
   int trace = -1;
   // The peer link.
   std::string peerListen, peer, peerPortFile, keyFile, tlsCert, tlsKey, tlsCa;
   bool insecurePlaintext = false;
   double keepalive = 1.0, peerTimeout = 4.0;
};

boost::asio::ip::tcp::endpoint endpointOf(const std::string & text) {
   const std::size_t colon = text.rfind(':');
   if (colon == std::string::npos) throw std::invalid_argument("expected ADDR:PORT, got " + text);
   const std::string port = text.substr(colon + 1);
   if (port.empty() || port.size() > 5 ||
       port.find_first_not_of("0123456789") != std::string::npos || std::stoul(port) > 65535) {
      throw std::invalid_argument("bad port in " + text);
   }
   return {boost::asio::ip::make_address(text.substr(0, colon)),
           static_cast< std::uint16_t >(std::stoul(port))};
}

// Written whole under a temporary name and renamed, so that a reader never
// sees half a number.
void writePortFile(const std::string & path, std::uint16_t port) {
   const std::string temp = path + ".tmp";
   {
      std::ofstream out(temp);
      out << port << '\n';
      if (!out) throw std::runtime_error("cannot write " + temp);
   }
   if (std::rename(temp.c_str(), path.c_str()) != 0) {
      throw std::runtime_error("cannot rename " + temp + " to " + path);
   }
}

std::string readKeyFile(const std::string & path) {
   std::ifstream in(path, std::ios::binary);
   std::string key((std::istreambuf_iterator< char >(in)), std::istreambuf_iterator< char >());
   if (!in.eof() && !in) throw std::runtime_error("cannot read the key file " + path);
   while (!key.empty() && (key.back() == '\n' || key.back() == '\r')) key.pop_back();
   if (key.size() < 16) {
      throw std::runtime_error("the key file " + path + " must hold at least 16 bytes");
   }
   return key;
}

MlagAgent::Peer::LinkOptions linkOptions(const Options & o) {
   MlagAgent::Peer::LinkOptions l;
   if (!o.peerListen.empty()) l.listen = endpointOf(o.peerListen);
   l.peer = endpointOf(o.peer);
   l.keepalive = o.keepalive;
   l.retry = o.keepalive;
   l.timeout = o.peerTimeout;
   if (!o.keyFile.empty()) {
      l.auth = MlagAgent::Peer::AuthMode::key;
      l.key = readKeyFile(o.keyFile);
   } else if (!o.tlsCert.empty()) {
      l.auth = MlagAgent::Peer::AuthMode::tls;
      l.certFile = o.tlsCert;
      l.keyFile = o.tlsKey;
      l.caFile = o.tlsCa;
   }
   return l;
}

int run(const Options & o, MlagAgent::Log & log) {
   boost::asio::io_context io;
   MlagAgent::Agent agent(o.switchFile, log);
   MlagAgent::RealTimeDriver driver(io, agent.counters());
   MlagAgent::HttpServer server(io, endpointOf(o.listen), agent, log);
   const auto bound = boost::asio::ip::tcp::endpoint(endpointOf(o.listen).address(), server.port());
   log.info(std::string(agentName) + " listening on " + bound.address().to_string() + ":" +
            std::to_string(bound.port()) + " for switch file " + o.switchFile);
   if (!o.portFile.empty()) writePortFile(o.portFile, server.port());

   std::unique_ptr< MlagAgent::Peer::PeerLink > link;
   if (!o.peer.empty()) {
      link = std::make_unique< MlagAgent::Peer::PeerLink >(io, linkOptions(o), agent.peerViewIs(),
                                                           agent.checker(), log,
                                                           [&driver] { driver.kick(); });
      log.info("peer link: " +
               (o.peerListen.empty() ? std::string("not listening")
                                     : "listening on port " + std::to_string(link->port())) +
               ", peer " + o.peer + ", " + authModeText(linkOptions(o).auth));
      if (!o.peerPortFile.empty()) writePortFile(o.peerPortFile, link->port());
   }

   auto reload = [&] {
      agent.reload();
      driver.kick();
   };
   MlagAgent::FileWatch watch(io, o.switchFile, reload);
   boost::asio::signal_set signals(io, SIGTERM, SIGINT, SIGHUP);
   std::function< void(const boost::system::error_code &, int) > onSignal =
      [&](const boost::system::error_code & ec, int signal) {
         if (ec) return;
         if (signal == SIGHUP) {
            log.info("SIGHUP: reloading " + o.switchFile);
            reload();
            signals.async_wait(onSignal);
            return;
         }
         log.info(std::string(signal == SIGTERM ? "SIGTERM" : "SIGINT") + ": stopping");
         io.stop();
      };
   signals.async_wait(onSignal);

   agent.start();
   if (link) link->start();
   driver.kick();
   io.run();
   return 0;
}

} // namespace

int main(int argc, char ** argv) {
   CLI::App app{
      "Runs the MLAG configuration-consistency checker on one switch: watches the\n"
      "switch file, keeps the results current and serves them over HTTP.",
      agentName};
   Options o;
   app.add_option("SWITCH_FILE", o.switchFile, "Switch file (JSON)")->required()->type_name("");
   app.add_option("--listen-api", o.listen,
                  "Address and port of the operator API (default 127.0.0.1:7340; port 0 picks "
                  "a free one)")
      ->option_text("ADDR:PORT");
   app.add_option("--port-file", o.portFile, "Write the API's bound port to FILE")
      ->option_text("FILE");
   app.add_option("--trace", o.trace, "Log the checker's trace lines up to LEVEL (0-9)")
      ->option_text("LEVEL")
      ->check(CLI::Range(0, 9));
   app.add_option("--listen", o.peerListen,
                  "Address and port where the peer link waits for the peer (port 0 picks a "
                  "free one)")
      ->option_text("ADDR:PORT");
   app.add_option("--peer", o.peer, "Address and port of the peer's agent; turns the link on")
      ->option_text("ADDR:PORT");
   app.add_option("--peer-port-file", o.peerPortFile, "Write the peer link's bound port to FILE")
      ->option_text("FILE");
   auto * key = app.add_option("--peer-key-file", o.keyFile,
                               "Authenticate the peer with the pre-shared key in FILE "
                               "(HMAC-SHA-256 challenge-response)")
                   ->option_text("FILE");
   auto * cert = app.add_option("--tls-cert", o.tlsCert, "Mutual TLS: this agent's certificate")
                    ->option_text("FILE");
   auto * tlsKey = app.add_option("--tls-key", o.tlsKey, "Mutual TLS: this agent's private key")
                      ->option_text("FILE");
   auto * ca = app.add_option("--tls-ca", o.tlsCa, "Mutual TLS: the CA that signs both agents")
                  ->option_text("FILE");
   auto * plain = app.add_flag("--insecure-plaintext", o.insecurePlaintext,
                               "Run the peer link without authentication or encryption");
   app.add_option("--keepalive", o.keepalive,
                  "Seconds between keepalives, and between attempts to reach the peer (default 1)")
      ->option_text("SECONDS")
      ->check(CLI::Range(0.01, 3600.0));
   app.add_option("--peer-timeout", o.peerTimeout,
                  "Seconds of silence after which the peer counts as down (default 4)")
      ->option_text("SECONDS")
      ->check(CLI::Range(0.05, 86400.0));
   cert->needs(tlsKey, ca);
   tlsKey->needs(cert);
   ca->needs(cert);
   key->excludes(cert, plain);
   cert->excludes(plain);
   try {
      app.parse(argc, argv);
      if (!o.peer.empty() && o.keyFile.empty() && o.tlsCert.empty() && !o.insecurePlaintext) {
         throw CLI::ValidationError("--peer",
                                    "the peer link needs --peer-key-file, --tls-cert/--tls-key/"
                                    "--tls-ca, or an explicit --insecure-plaintext");
      }
      if (o.peer.empty() && (!o.peerListen.empty() || !o.keyFile.empty() || !o.tlsCert.empty() ||
                             o.insecurePlaintext)) {
         throw CLI::ValidationError("--peer", "the peer link options need --peer ADDR:PORT");
      }
   } catch (const CLI::ParseError & e) {
      return app.exit(e) == 0 ? 0 : exitUsage;
   }

   MlagAgent::Log log(std::cerr);
   Kiv::Trace::textSinkIs([&log](const Kiv::Trace::Line & line) { log.trace(line.text); });
   if (o.trace >= 0) Kiv::Trace::handle("MlagConfigCheck").levelsUpToIs(o.trace);
   try {
      return run(o, log);
   } catch (const std::exception & e) {
      // A ScenarioError's text already names the file and the place.
      log.error(e.what());
   }
   return exitUsage;
}
