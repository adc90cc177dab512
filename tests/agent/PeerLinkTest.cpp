// Two mlag-config-checkd processes as a real pair on 127.0.0.1: their
// results, after the scenario's steps arrive as edits of their switch files,
// equal the in-process pair simulator's; so they do again after every fault
// a proxy in the link can inject, and after the agents are killed. Wrong
// credentials and strangers are refused.
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

#include "AgentPair.h"
#include "sim/Pair.h"
#include "soak/RandomScenario.h"

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Options = std::array< std::vector< std::string >, 2 >;

const std::string tlsDir = MLAG_TEST_TLS_DIR;

Json example(const std::string & name) {
   return Json::parse(std::ifstream(fs::path(MLAG_EXAMPLES_DIR) / (name + ".json")));
}

// Both agents' results equal the simulator's for `scenario`, every step applied.
void expectSimulated(AgentPair & agents, const Json & scenario) {
   MlagSim::Pair pair(MlagSim::parseScenario(scenario.dump(), "scenario.json"));
   pair.start();
   for (std::size_t i = 0; i < pair.stepCount(); ++i) pair.applyStep(i);
   for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(agents.results(i), pair.resultJson()["switches"][i]) << "switch " << i << "\n"
                                                                     << agents.logs();
   }
}

class PeerLinkTest : public ::testing::Test {
 protected:
   std::string writeKey(const std::string & name, const std::string & key) const {
      std::ofstream(dir_.path / name) << key << "\n";
      return (dir_.path / name).string();
   }
   static std::vector< std::string > keyOptions(const std::string & keyFile) {
      return {"--peer-key-file", keyFile};
   }
   Options keyOptions() const { return {keyOptions(keyFile_), keyOptions(keyFile_)}; }
   static std::vector< std::string > tlsOptions(const std::string & name, const std::string & ca) {
      return {"--tls-cert", tlsDir + "/" + name + ".pem",
              "--tls-key",  tlsDir + "/" + name + ".key",
              "--tls-ca",   tlsDir + "/" + ca};
   }

   // Applies the scenario's steps as file edits, `during` running after the
   // first half of them; then, once quiet, both agents' results must equal
   // the simulator's.
   void expectLikeSimulator(const Json & scenario, const Options & options,
                            const std::function< void(AgentPair &) > & during = {}) {
      Json live = scenario;
      AgentPair pair(dir_.path, live, options);
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
      ASSERT_TRUE(pair.quiet()) << pair.logs();
      expectSimulated(pair, scenario);
   }

   TestDir dir_;
   const std::string keyFile_ = writeKey("key", "a shared secret of the pair");
};

// The default pair runs over mutual TLS, the others over a pre-shared key.
TEST_F(PeerLinkTest, EveryShippedExampleEndsLikeTheSimulator) {
   expectLikeSimulator(example("default"),
                       {tlsOptions("leaf1", "ca.pem"), tlsOptions("leaf2", "ca.pem")});
   for (const char * name :
        {"defaults-absence", "mlag-id-change", "nested-groups", "value-overrides"}) {
      SCOPED_TRACE(name);
      expectLikeSimulator(example(name), keyOptions());
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
   const char * logged; // what shows that the fault struck
   std::function< void(AgentPair &) > strike;
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

// The first line of `mlag-config-check show` on agent i: the peer link's state.
std::string showHeader(AgentPair & pair, int i) {
   const std::string out =
      runTool("show --from http://127.0.0.1:" + std::to_string(pair.agent(i).port())).second;
   return out.substr(0, out.find('\n'));
}

INSTANTIATE_TEST_SUITE_P(
   Faults, PeerLinkFaultTest,
   ::testing::Values(Fault{"cutMidSnapshot", "session down",
                           [](AgentPair & pair) {
                              // The next session dies 1000 bytes in: past both handshakes
                              // (about 600 bytes), inside the snapshots.
                              pair.proxy(0).cutAfter(1000);
                              for (int i = 0; i < 2; ++i) pair.proxy(i).cutAll();
                           }},
                     Fault{"delay", "session with",
                           [](AgentPair & pair) {
                              for (int i = 0; i < 2; ++i)
                                 pair.proxy(i).delayIs(std::chrono::milliseconds(150));
                           }},
                     Fault{"stallPastTheTimeout", "nothing heard from",
                           [](AgentPair & pair) {
                              for (int i = 0; i < 2; ++i) pair.proxy(i).stallIs(true);
                              // The silence outlasts the timeout: the session goes down and
                              // the peer's values are kept, marked stale.
                              ASSERT_TRUE(eventually([&] {
                                 const Json link = pair.status(0)["peerLink"];
                                 return link["link"] == "down" && link["stale"] == true;
                              })) << pair.logs();
                              for (int i = 0; i < 2; ++i) pair.proxy(i).stallIs(false);
                           }},
                     // Into the next batch, which the next step's edit sends.
                     Fault{"corruptByte", "protocol error",
                           [](AgentPair & pair) {
                              for (int i = 0; i < 2; ++i) pair.proxy(i).corruptAt(20);
                           }},
                     Fault{"peerKilledAndRestarted", "session down",
                           [](AgentPair & pair) { pair.killAndRestart(1); }},
                     Fault{"bothRestarted", "session down",
                           [](AgentPair & pair) {
                              for (int i = 0; i < 2; ++i) pair.killAndRestart(i);
                           }}),
   [](const ::testing::TestParamInfo< Fault > & p) { return std::string(p.param.name); });

TEST_F(PeerLinkTest, SimultaneousConnectsSettleOnOneSession) {
   MlagSim::SeededEntropy entropy(7);
   const Json scenario = MlagSim::randomScenarioJson(entropy, {.steps = 0});
   AgentPair pair(dir_.path, scenario, keyOptions());
   // Hold both dialled connections until both exist, then let both
   // handshakes run at once.
   for (int i = 0; i < 2; ++i) pair.proxy(i).stallIs(true);
   for (int i = 0; i < 2; ++i) pair.proxy(i).cutAll();
   ASSERT_TRUE(
      eventually([&] { return pair.proxy(0).accepted() >= 2 && pair.proxy(1).accepted() >= 2; }));
   for (int i = 0; i < 2; ++i) pair.proxy(i).stallIs(false);
   ASSERT_TRUE(pair.quiet()) << pair.logs();
   const Json since = pair.status(0)["peerLink"]["since"];
   std::this_thread::sleep_for(std::chrono::milliseconds(1500));
   EXPECT_EQ(pair.status(0)["peerLink"]["since"], since) << "the session flapped\n" << pair.logs();
   expectSimulated(pair, scenario);
}

TEST_F(PeerLinkTest, StrangersAndBadFramesAreRefusedAndLeaveTheSessionAlone) {
   AgentPair pair(dir_.path, example("default"), keyOptions());
   ASSERT_TRUE(pair.quiet()) << pair.logs();
   const Json since = pair.status(0)["peerLink"]["since"];
   const Json results = pair.results(0);
   const int port = portIn(dir_.path / "leaf1.switch.json.peer-port");
   // Each closed within a second. Another address than the configured peer's:
   // closed before a byte is read.
   EXPECT_TRUE(exchange(port, "hello", 1, "127.0.0.2").closed);
   // The right address, but bytes that are no frame, a frame of an unknown
   // type, a frame past the handshake limit and a change before any hello.
   for (const std::string & bytes :
        {std::string("GET / HTTP/1.1\r\n\r\n"), std::string("\0\0\0\1\x63", 5),
         std::string("\x7f\xff\xff\xff\x01", 5), std::string("\0\0\0\2\x05\x01", 6)})
      EXPECT_TRUE(exchange(port, bytes, 1).closed);
   for (const char * logged :
        {"refused a connection from 127.0.0.2", "unknown frame type 99", "exceeds the limit",
         "a changes frame before the session was established"})
      EXPECT_TRUE(pair.agent(0).logShows(logged)) << logged << "\n" << pair.agent(0).log();
   EXPECT_EQ(showHeader(pair, 0).rfind("peer link: leaf2, connected since", 0), 0u)
      << showHeader(pair, 0);
   EXPECT_NE(pair.agent(0).get("/metrics").body.find("mlag_config_check_peer_up 1\n"),
             std::string::npos);
   EXPECT_EQ(pair.status(0)["peerLink"]["since"], since);
   EXPECT_EQ(pair.results(0), results);
   // Stopping with a session up ends cleanly (under the sanitizers: leaks fail the exit).
   EXPECT_EQ(pair.agent(0).terminate(), 0) << pair.logs();
   EXPECT_TRUE(eventually([&] { return pair.status(1)["peerLink"]["link"] == "down"; }));
}

TEST_F(PeerLinkTest, WrongCredentialsNeverConnect) {
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
      AgentPair pair(dir_.path, example("default"), c.options);
      ASSERT_TRUE(pair.agent(0).logShows(c.logged)) << pair.logs();
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
      for (int i = 0; i < 2; ++i) {
         EXPECT_EQ(pair.status(i)["peerLink"]["link"], "never connected") << pair.logs();
         EXPECT_EQ(showHeader(pair, i).rfind("peer link: never connected", 0), 0u);
         // Nothing of the other switch was filed.
         const Json results = pair.results(i);
         for (const auto & [plugin, r] : results["plugins"].items())
            for (const auto & [name, entry] : r["global"].items()) EXPECT_EQ(entry["peer"], "");
      }
   }
}

} // namespace
