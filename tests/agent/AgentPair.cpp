#include "AgentPair.h"

#include <fstream>
#include <thread>

#include "peer/Crypto.h"

namespace fs = std::filesystem;
using Json = nlohmann::json;

AgentPair::AgentPair(const fs::path & dir, const Json & scenario,
                     const std::array< std::vector< std::string >, 2 > & options) {
   for (int i = 0; i < 2; ++i)
      files_[i] = dir / (scenario["switches"][i]["name"].get< std::string >() + ".switch.json");
   write(scenario);
   for (int i = 0; i < 2; ++i) {
      // Short timings, so that faults are noticed within a test's patience.
      std::vector< std::string > args = {
         "--listen",         "127.0.0.1:0",
         "--peer-port-file", files_[i].string() + ".peer-port",
         "--peer",           "127.0.0.1:" + std::to_string(proxies_[i].port()),
         "--keepalive",      "0.2",
         "--peer-timeout",   "2"};
      args.insert(args.end(), options[i].begin(), options[i].end());
      fs::remove(files_[i].string() + ".peer-port");
      agents_[i] = std::make_unique< AgentProcess >(files_[i], args);
   }
   connect(0);
   connect(1);
}

void AgentPair::connect(int i) {
   proxies_[1 - i].targetIs(
      static_cast< std::uint16_t >(portIn(files_[i].string() + ".peer-port")));
}

void AgentPair::write(const Json & scenario) {
   for (int i = 0; i < 2; ++i) {
      std::string text =
         Json{{"plugins", scenario["plugins"]}, {"switch", scenario["switches"][i]}}.dump(1);
      if (text == texts_[i]) continue;
      const fs::path temp = files_[i].string() + ".new";
      std::ofstream(temp) << text;
      fs::rename(temp, files_[i]);
      texts_[i] = std::move(text);
   }
}

bool AgentPair::quiet() {
   // Counters that match twice in a row, 50 ms apart, with nothing sent
   // between: a frame still on its way would have moved them.
   Json last;
   return eventually([&] {
      const Json s[2] = {status(0), status(1)};
      Json now = Json::array();
      for (int i = 0; i < 2; ++i) {
         const Json link = s[i].value("peerLink", Json::object());
         if (s[i].value("configSha256", "") != MlagAgent::Peer::sha256Hex(texts_[i]) ||
             s[i].value("backlogDepth", 1) != 0 || link.value("link", "") != "connected" ||
             link.value("changesSent", Json()) !=
                s[1 - i].value("peerLink", Json::object()).value("changesReceived", Json())) {
            return false;
         }
         for (const char * key : {"since", "changesSent", "changesReceived"}) {
            now.push_back(link.value(key, Json()));
         }
      }
      const bool settled = now == last;
      last = now;
      if (!settled) std::this_thread::sleep_for(std::chrono::milliseconds(30));
      return settled;
   });
}

void AgentPair::killAndRestart(int i) {
   fs::remove(files_[i].string() + ".peer-port");
   agents_[i]->killAndRestart();
   connect(i);
}

std::string AgentPair::logs() const {
   return "--- " + files_[0].filename().string() + "\n" + agents_[0]->log() + "--- " +
          files_[1].filename().string() + "\n" + agents_[1]->log();
}
