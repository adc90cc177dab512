// A running mlag-config-checkd for the tests: started on a switch file with
// an ephemeral API port, killed on destruction whatever the test did, and a
// tiny HTTP GET over a plain socket.
#pragma once

#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

struct HttpReply {
   int status = 0; // 0: no answer
   std::string head, body;
};

// Connects from `source` (a loopback address) to 127.0.0.1:`port`, sends
// `bytes` and reads until the server closes the connection (or resets it:
// `closed`) or stays silent for `wait` seconds.
struct Exchange {
   std::string text;
   bool closed = false;
};
Exchange exchange(int port, const std::string & bytes, int wait = 20,
                  const char * source = "127.0.0.1");

// Sends `request` as it is and reads the reply.
HttpReply httpExchange(int port, const std::string & request);

// Polls every 20 ms, for up to 20 s, until `done` holds.
bool eventually(const std::function< bool() > & done);

// Runs mlag-config-check with `arguments`; its exit status and standard output.
std::pair< int, std::string > runTool(const std::string & arguments);

// The port number an agent writes to `file` once it listens (0 if none came).
int portIn(const std::filesystem::path & file);

// A fresh directory, removed with the test.
struct TestDir {
   TestDir();
   ~TestDir() { std::filesystem::remove_all(path); }
   std::filesystem::path path;
};

class AgentProcess {
 public:
   // `options` go before the switch file on the agent's command line.
   explicit AgentProcess(const std::filesystem::path & switchFile,
                         std::vector< std::string > options = {});
   ~AgentProcess() { kill(); }
   AgentProcess(const AgentProcess &) = delete;
   AgentProcess & operator=(const AgentProcess &) = delete;

   int port() const noexcept { return port_; }
   HttpReply get(const std::string & path) const;
   // The JSON body of a GET, or an empty object while the agent does not answer.
   nlohmann::json json(const std::string & path) const;
   void signal(int sig) const;
   // Sends SIGTERM and returns the exit status (-1: it did not exit normally
   // within the wait).
   int terminate();
   std::string log() const;
   // Waits until the log holds `text`.
   bool logShows(const std::string & text) const {
      return eventually([&] { return log().find(text) != std::string::npos; });
   }
   // SIGKILL, then the same command line again (the log goes on).
   void killAndRestart() {
      kill();
      spawn();
   }

 private:
   void spawn();
   void kill();

   std::filesystem::path switchFile_, logFile_;
   std::vector< std::string > options_;
   pid_t pid_ = -1;
   int port_ = 0;
};
