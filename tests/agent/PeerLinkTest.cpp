// Two mlag-config-checkd processes as a real pair on 127.0.0.1: their
// results, after the scenario's steps arrive as edits of their switch files,
// equal the in-process pair simulator's; so they do again after every fault
// a proxy in the link can inject, and after the agents are killed. Wrong
// credentials and strangers are refused.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fstream>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include "AgentPair.h"
#include "sim/Pair.h"
#include "soak/RandomScenario.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Options = std::array< std::vector< std::string >, 2 >;

const std::string tlsDir = MLAG_TEST_TLS_DIR;

Json loadJson(const fs::path & file) { return Json::parse(std::ifstream(file)); }

// The simulator's result JSON for `scenario`, every step applied.
Json simulated(const Json & scenario) {
   MlagSim::Pair pair(MlagSim::parseScenario(scenario.dump(), "scenario.json"));
   pair.start();
   for (std::size_t i = 0; i < pair.stepCount(); ++i) pair.applyStep(i);
   return pair.resultJson();
}

class PeerLinkTest : public ::testing::Test {
 protected:
   void SetUp() override {
      std::string name = ::testing::UnitTest::GetInstance()->current_test_info()->name();
      std::replace(name.begin(), name.end(), '/', '-');
      dir_ = fs::temp_directory_path() / ("peer-test-" + std::to_string(::getpid()) + "-" + name);
      fs::remove_all(dir_);
      fs::create_directories(dir_);
      keyFile_ = writeKey("key", "a shared secret of the pair");
   }
   void TearDown() override { fs::remove_all(dir_); }

   std::string writeKey(const std::string & name, const std::string & key) const {
      std::ofstream(dir_ / name) << key << "\n";
      return (dir_ / name).string();
   }
   // Short timings, so that faults are noticed within the test's patience.
   std::vector< std::string > keyOptions(const std::string & keyFile) const {
      return {"--peer-key-file", keyFile, "--keepalive", "0.2", "--peer-timeout", "2"};
   }
   Options keyOptions() const { return {keyOptions(keyFile_), keyOptions(keyFile_)}; }
   static std::vector< std::string > tlsOptions(const std::string & name, const std::string & ca) {
      return {"--tls-cert",     tlsDir + "/" + name + ".pem",
              "--tls-key",      tlsDir + "/" + name + ".key",
              "--tls-ca",       tlsDir + "/" + ca,
              "--keepalive",    "0.2",
              "--peer-timeout", "2"};
   }

   // Applies the scenario's steps as file edits, `during` running after the
   // first half of them; then, once quiet, both agents' results must equal
   // the simulator's.
   void expectLikeSimulator(const Json & scenario, const Options & options,
                            const std::function< void(AgentPair &) > & during = {}) {
      Json live = scenario;
      AgentPair pair(dir_, live, options);
      ASSERT_TRUE(pair.quiet()) << pair.logs();
      const Json steps = scenario.value("steps", Json::array());
      for (std::size_t i = 0; i < steps.size(); ++i) {
         if (during && i == steps.size() / 2) during(pair);
         MlagSim::applyStepToSwitches(live, steps[i]);
         pair.write(live);
         // Without a fault, every step is worked off before the next.
         if (!during) {
            ASSERT_TRUE(pair.quiet()) << "step " << i << "\n" << pair.logs();
         }
      }
      if (during && steps.size() < 2) during(pair);
      ASSERT_TRUE(pair.quiet()) << pair.logs();
      const Json expected = simulated(scenario);
      for (int i = 0; i < 2; ++i) {
         EXPECT_EQ(pair.results(i), expected["switches"][i]) << "switch " << i << "\n"
                                                             << pair.logs();
      }
   }

   fs::path dir_;
   std::string keyFile_;
};

TEST_F(PeerLinkTest, EveryShippedExampleEndsLikeTheSimulator) {
   for (const char * example :
        {"default", "defaults-absence", "mlag-id-change", "nested-groups", "value-overrides"}) {
      SCOPED_TRACE(example);
      expectLikeSimulator(loadJson(fs::path(MLAG_EXAMPLES_DIR) / (std::string(example) + ".json")),
                          keyOptions());
   }
}

class PeerLinkSeedTest : public PeerLinkTest,
                         public ::testing::WithParamInterface< std::uint64_t > {};

TEST_P(PeerLinkSeedTest, RandomScenarioEndsLikeTheSimulator) {
   MlagSim::SeededEntropy entropy(GetParam());
   const Json scenario = MlagSim::randomScenarioJson(
      entropy, {.steps = 16, .mlagFlap = GetParam() % 3 == 0, .wide = GetParam() % 4 == 0});
   expectLikeSimulator(scenario, keyOptions());
}

INSTANTIATE_TEST_SUITE_P(Seeds, PeerLinkSeedTest, ::testing::Range< std::uint64_t >(1, 9));

// Each fault strikes in the middle of a random scenario's steps; once it has
// healed, the pair must end as the simulator does.
struct Fault {
   const char * name;
   std::function< void(AgentPair &) > strike;
   const char * logged; // what shows that the fault struck
};

class PeerLinkFaultTest : public PeerLinkTest, public ::testing::WithParamInterface< Fault > {};

TEST_P(PeerLinkFaultTest, ResultsHealToTheSimulators) {
   MlagSim::SeededEntropy entropy(42);
   expectLikeSimulator(MlagSim::randomScenarioJson(entropy, {.steps = 12}), keyOptions(),
                       [&](AgentPair & pair) {
                          GetParam().strike(pair);
                          ASSERT_TRUE(eventually([&] {
                             return pair.logs().find(GetParam().logged) != std::string::npos;
                          })) << pair.logs();
                       });
}

void pause(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

// The first line of `mlag-config-check show` on agent i: the peer link's state.
std::string showHeader(AgentPair & pair, int i) {
   const std::string command = std::string(MLAG_CONFIG_CHECK) + " show --from http://127.0.0.1:" +
                               std::to_string(pair.agent(i).port()) + " 2>&1";
   std::FILE * out = ::popen(command.c_str(), "r");
   char line[512] = "";
   if (!std::fgets(line, sizeof line, out)) line[0] = '\0';
   ::pclose(out);
   return line;
}

INSTANTIATE_TEST_SUITE_P(
   Faults, PeerLinkFaultTest,
   ::testing::Values(Fault{"cutMidSnapshot",
                           [](AgentPair & pair) {
                              // The next session dies 1000 bytes in: past both handshakes
                              // (about 600 bytes), inside the snapshots.
                              pair.proxy(0).cutAfter(1000);
                              pair.proxy(0).cutAll();
                              pair.proxy(1).cutAll();
                           },
                           "session down"},
                     Fault{"delay",
                           [](AgentPair & pair) {
                              for (int i = 0; i < 2; ++i)
                                 pair.proxy(i).delayIs(std::chrono::milliseconds(150));
                           },
                           "session with"},
                     Fault{"stallPastTheTimeout",
                           [](AgentPair & pair) {
                              for (int i = 0; i < 2; ++i) pair.proxy(i).stallIs(true);
                              // The silence outlasts the timeout: the session goes down and
                              // the peer's values are kept, marked stale.
                              ASSERT_TRUE(eventually([&] {
                                 const Json link = pair.status(0)["peerLink"];
                                 return link["link"] == "down" && link["stale"] == true;
                              })) << pair.logs();
                              for (int i = 0; i < 2; ++i) pair.proxy(i).stallIs(false);
                           },
                           "nothing heard from"},
                     Fault{"corruptByte",
                           [](AgentPair & pair) {
                              // Into the next batch, which the next step's edit sends.
                              pair.proxy(0).corruptAt(20);
                              pair.proxy(1).corruptAt(20);
                           },
                           "protocol error"},
                     Fault{"peerKilledAndRestarted",
                           [](AgentPair & pair) { pair.killAndRestart(1); }, "session down"},
                     Fault{"bothRestarted",
                           [](AgentPair & pair) {
                              pair.killAndRestart(0);
                              pair.killAndRestart(1);
                           },
                           "session down"}),
   [](const ::testing::TestParamInfo< Fault > & p) { return std::string(p.param.name); });

TEST_F(PeerLinkTest, SimultaneousConnectsSettleOnOneSession) {
   MlagSim::SeededEntropy entropy(7);
   const Json scenario = MlagSim::randomScenarioJson(entropy, {.steps = 0});
   AgentPair pair(dir_, scenario, keyOptions());
   // Hold both dialled connections until both exist, then let both
   // handshakes run at once.
   for (int i = 0; i < 2; ++i) pair.proxy(i).stallIs(true);
   pair.proxy(0).cutAll();
   pair.proxy(1).cutAll();
   ASSERT_TRUE(
      eventually([&] { return pair.proxy(0).accepted() >= 2 && pair.proxy(1).accepted() >= 2; }));
   for (int i = 0; i < 2; ++i) pair.proxy(i).stallIs(false);
   ASSERT_TRUE(pair.quiet()) << pair.logs();
   const Json since = pair.status(0)["peerLink"]["since"];
   pause(1500);
   EXPECT_EQ(pair.status(0)["peerLink"]["since"], since) << "the session flapped\n" << pair.logs();
   const Json expected = simulated(scenario);
   for (int i = 0; i < 2; ++i) EXPECT_EQ(pair.results(i), expected["switches"][i]);
}

TEST_F(PeerLinkTest, MutualTlsCarriesThePair) {
   expectLikeSimulator(loadJson(fs::path(MLAG_EXAMPLES_DIR) / "default.json"),
                       {tlsOptions("leaf1", "ca.pem"), tlsOptions("leaf2", "ca.pem")});
}

// Connects to `port` from `source` (a loopback address) and sends `bytes`;
// returns whether the agent closed the connection within a second.
bool closedAfterSending(const char * source, int port, const std::string & bytes) {
   const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
   sockaddr_in from{}, to{};
   from.sin_family = to.sin_family = AF_INET;
   ::inet_pton(AF_INET, source, &from.sin_addr);
   to.sin_port = htons(static_cast< std::uint16_t >(port));
   to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
   bool closed = false;
   if (::bind(fd, reinterpret_cast< sockaddr * >(&from), sizeof from) == 0 &&
       ::connect(fd, reinterpret_cast< sockaddr * >(&to), sizeof to) == 0) {
      ::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      timeval wait{1, 0};
      ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
      char buffer[4096];
      ssize_t n;
      while ((n = ::recv(fd, buffer, sizeof buffer, 0)) > 0) {
      }
      closed = n == 0 || (n < 0 && errno == ECONNRESET);
   }
   ::close(fd);
   return closed;
}

TEST_F(PeerLinkTest, StrangersAndBadFramesAreRefusedAndLeaveTheSessionAlone) {
   const Json scenario = loadJson(fs::path(MLAG_EXAMPLES_DIR) / "default.json");
   AgentPair pair(dir_, scenario, keyOptions());
   ASSERT_TRUE(pair.quiet()) << pair.logs();
   const Json before = pair.status(0)["peerLink"];
   const Json results = pair.results(0);
   int port = 0;
   std::ifstream(dir_ / "leaf1.switch.json.peer-port") >> port;
   // Another address than the configured peer's: closed before a byte is read.
   EXPECT_TRUE(closedAfterSending("127.0.0.2", port, "hello"));
   // The right address, but bytes that are no frame, a frame of an unknown
   // type, a frame past the handshake limit and a change before any hello.
   for (const std::string & bytes :
        {std::string("GET / HTTP/1.1\r\n\r\n"), std::string("\0\0\0\1\x63", 5),
         std::string("\x7f\xff\xff\xff\x01", 5), std::string("\0\0\0\2\x05\x01", 6)}) {
      EXPECT_TRUE(closedAfterSending("127.0.0.1", port, bytes));
   }
   for (const char * logged :
        {"refused a connection from 127.0.0.2", "unknown frame type 99", "exceeds the limit",
         "a changes frame before the session was established"}) {
      EXPECT_TRUE(eventually([&] { return pair.agent(0).log().find(logged) != std::string::npos; }))
         << logged << "\n"
         << pair.agent(0).log();
   }
   EXPECT_EQ(showHeader(pair, 0).rfind("peer link: leaf2, connected since", 0), 0u)
      << showHeader(pair, 0);
   EXPECT_NE(pair.agent(0).get("/metrics").body.find("mlag_config_check_peer_up 1\n"),
             std::string::npos);
   const Json after = pair.status(0)["peerLink"];
   EXPECT_EQ(after["since"], before["since"]);
   EXPECT_EQ(after["link"], "connected");
   EXPECT_EQ(pair.results(0), results);
   // Stopping with a session up ends cleanly (under the sanitizers: leaks fail the exit).
   EXPECT_EQ(pair.agent(0).terminate(), 0) << pair.logs();
   EXPECT_TRUE(eventually([&] { return pair.status(1)["peerLink"]["link"] == "down"; }));
}

TEST_F(PeerLinkTest, WrongCredentialsNeverConnect) {
   const Json scenario = loadJson(fs::path(MLAG_EXAMPLES_DIR) / "default.json");
   struct Case {
      const char * name;
      Options options;
      const char * logged; // in the first agent's log
   };
   const Case cases[] = {
      {"wrong key",
       {keyOptions(keyFile_), keyOptions(writeKey("other", "another secret, not the pair's"))},
       "the pre-shared keys differ"},
      {"certificate of another CA",
       {tlsOptions("leaf1", "ca.pem"), tlsOptions("intruder", "intruder.pem")},
       "TLS handshake"},
      {"key against TLS", {keyOptions(keyFile_), tlsOptions("leaf2", "ca.pem")}, "protocol error"},
   };
   for (const Case & c : cases) {
      SCOPED_TRACE(c.name);
      AgentPair pair(dir_, scenario, c.options);
      ASSERT_TRUE(eventually([&] {
         return pair.agent(0).log().find(c.logged) != std::string::npos;
      })) << pair.logs();
      pause(300);
      for (int i = 0; i < 2; ++i) {
         const Json link = pair.status(i)["peerLink"];
         EXPECT_EQ(link["link"], "never connected") << pair.logs();
         EXPECT_EQ(showHeader(pair, i).rfind("peer link: never connected", 0), 0u);
         // Nothing of the other switch was filed.
         const Json results = pair.results(i);
         for (const auto & [plugin, r] : results["plugins"].items()) {
            for (const auto & [name, entry] : r["global"].items()) EXPECT_EQ(entry["peer"], "");
         }
      }
   }
}

} // namespace
