// A running mlag-config-checkd for the tests: started on a switch file with
// an ephemeral API port, killed on destruction whatever the test did, and a
// tiny HTTP GET over a plain socket.
//
//   AgentProcess agent(dir / "leaf1.switch.json");
//   HttpReply r = agent.get("/v1/status");
//   ASSERT_TRUE(eventually([&] { return agent.get("/v1/results").json()... ; }));
#pragma once

#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/types.h>
#include <vector>

struct HttpReply {
   int status = 0; // 0: no answer
   std::string head, body;
   nlohmann::json json() const { return nlohmann::json::parse(body, nullptr, false); }
};

// Sends `request` as it is to 127.0.0.1:`port` and reads until the server
// closes the connection.
HttpReply httpExchange(int port, const std::string & request);

// Polls every 20 ms, for up to 20 s, until `done` holds.
bool eventually(const std::function< bool() > & done);

class AgentProcess {
 public:
   // `options` go before the switch file on the agent's command line.
   explicit AgentProcess(const std::filesystem::path & switchFile,
                         std::vector< std::string > options = {});
   ~AgentProcess();
   AgentProcess(const AgentProcess &) = delete;
   AgentProcess & operator=(const AgentProcess &) = delete;

   int port() const noexcept { return port_; }
   HttpReply get(const std::string & path) const;
   void signal(int sig) const;
   // Sends SIGTERM and returns the exit status (-1: it did not exit normally
   // within the wait).
   int terminate();
   std::string log() const;
   // SIGKILL, then the same command line again (the log goes on).
   void killAndRestart();

 private:
   void spawn();

   std::filesystem::path switchFile_;
   std::vector< std::string > options_;
   pid_t pid_ = -1;
   int port_ = 0;
   std::filesystem::path logFile_;
};
