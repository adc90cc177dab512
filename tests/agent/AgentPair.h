// Two mlag-config-checkd processes forming an MLAG pair over their peer
// link, on the two switches of a scenario. Each agent listens on an
// ephemeral port and dials the other through a FaultProxy of its own
// (agent i dials proxy(i), which forwards to the other agent), so a test
// can break the link either way.
#pragma once

#include <array>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "AgentProcess.h"
#include "FaultProxy.h"

class AgentPair {
 public:
   // options[i] go to agent i (authentication); the pair adds short timings.
   AgentPair(const std::filesystem::path & dir, const nlohmann::json & scenario,
             const std::array< std::vector< std::string >, 2 > & options);

   // Rewrites each switch file whose text the scenario changed (by rename,
   // as an editor saves).
   void write(const nlohmann::json & scenario);
   // Waits until both agents run on their files' current text with nothing
   // left in their backlogs, the link is up and in sync, and every change
   // either one sent has arrived; false after the wait's limit.
   bool quiet();
   nlohmann::json results(int i) const { return agents_[i]->json("/v1/results"); }
   nlohmann::json status(int i) const { return agents_[i]->json("/v1/status"); }
   AgentProcess & agent(int i) { return *agents_[i]; }
   FaultProxy & proxy(int i) { return proxies_[i]; }
   // SIGKILL and restart agent i; the proxy that reaches it learns its new port.
   void killAndRestart(int i);
   std::string logs() const;

 private:
   void connect(int i); // points the other agent's proxy at agent i

   std::array< std::filesystem::path, 2 > files_;
   std::array< std::string, 2 > texts_;
   std::array< FaultProxy, 2 > proxies_;
   std::array< std::unique_ptr< AgentProcess >, 2 > agents_;
};
