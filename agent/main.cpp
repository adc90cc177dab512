// mlag-config-checkd: the configuration-consistency checker as a long-running
// agent on one switch. Watches the switch file, keeps the results current
// through the checker's incremental path, and serves them over HTTP.
//
//   mlag-config-checkd /etc/mlag/leaf1.switch.json
//   mlag-config-checkd --listen-api 127.0.0.1:0 --port-file /run/mlag.port leaf1.switch.json
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

int run(const Options & o, MlagAgent::Log & log) {
   boost::asio::io_context io;
   MlagAgent::Agent agent(o.switchFile, log);
   MlagAgent::RealTimeDriver driver(io, agent.counters());
   MlagAgent::HttpServer server(io, endpointOf(o.listen), agent, log);
   const auto bound = boost::asio::ip::tcp::endpoint(endpointOf(o.listen).address(), server.port());
   log.info(std::string(agentName) + " listening on " + bound.address().to_string() + ":" +
            std::to_string(bound.port()) + " for switch file " + o.switchFile);
   if (!o.portFile.empty()) writePortFile(o.portFile, server.port());

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
   try {
      app.parse(argc, argv);
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
