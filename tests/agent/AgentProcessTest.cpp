// mlag-config-checkd as a process: its API, live edits of its switch file
// (in place and by rename), bad edits, SIGHUP and SIGTERM.
#include "AgentProcess.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

Json switchFile(int priority) {
   return Json::parse(R"({
      "plugins": {"lacp": {"attrName": {"systemPriority": "LACP system priority"},
                           "collectionName": {"vlan": "allowed vlan"}}},
      "switch": {"name": "leaf1", "mlag": {"Port-Channel10": "10"},
                 "config": {"lacp": {"systemPriority": 1, "vlan": {"10": "active"}}}}})")
      .patch(Json::array({{{"op", "replace"},
                           {"path", "/switch/config/lacp/systemPriority"},
                           {"value", priority}}}));
}

class AgentProcessTest : public ::testing::Test {
 protected:
   void SetUp() override {
      dir_ = fs::temp_directory_path() /
             ("agent-test-" + std::to_string(::getpid()) + "-" +
              ::testing::UnitTest::GetInstance()->current_test_info()->name());
      fs::remove_all(dir_);
      fs::create_directories(dir_);
      file_ = dir_ / "leaf1.switch.json";
      writeInPlace(switchFile(100).dump(2));
   }
   void TearDown() override { fs::remove_all(dir_); }

   void writeInPlace(const std::string & text) const {
      std::ofstream out(file_, std::ios::trunc);
      out << text;
   }
   void writeAndRename(const std::string & text) const {
      const fs::path temp = dir_ / ".leaf1.switch.json.new";
      std::ofstream(temp) << text;
      fs::rename(temp, file_);
   }
   // The status, or an empty object while the agent does not answer.
   static Json status(const AgentProcess & agent) {
      Json s = agent.get("/v1/status").json();
      return s.is_object() ? s : Json::object();
   }
   static std::string priority(const AgentProcess & agent) {
      const Json r = agent.get("/v1/results").json();
      const Json::json_pointer at("/plugins/lacp/global/LACP system priority/local");
      return r.is_object() && r.contains(at) ? r[at].get< std::string >() : "";
   }

   fs::path dir_, file_;
};

TEST_F(AgentProcessTest, ServesTheSwitchsResultsAndStatus) {
   AgentProcess agent(file_);
   ASSERT_NE(agent.port(), 0) << agent.log();
   ASSERT_TRUE(eventually([&] { return priority(agent) == "100"; })) << agent.log();
   const Json st = status(agent);
   EXPECT_EQ(st["switch"], "leaf1");
   EXPECT_EQ(st["configFile"], file_.string());
   EXPECT_EQ(st["peerLink"], "not configured");
   EXPECT_EQ(st["lastReload"]["outcome"], "started");
   // Without a peer every value is only on this switch.
   const Json report = agent.get("/v1/report").json();
   EXPECT_EQ(report["switches"], Json::array({"leaf1", "peer"}));
   EXPECT_EQ(report["counts"]["onlyOnFirst"], 2);
   EXPECT_EQ(agent.get("/healthz").status, 200);
   EXPECT_NE(
      agent.get("/metrics")
         .body.find("mlag_config_check_mismatches{plugin=\"lacp\",verdict=\"onlyOnFirst\"} 2\n"),
      std::string::npos);
   EXPECT_EQ(agent.terminate(), 0);
}

TEST_F(AgentProcessTest, EditsInPlaceAndByRenameReachTheResults) {
   AgentProcess agent(file_);
   ASSERT_TRUE(eventually([&] { return priority(agent) == "100"; })) << agent.log();
   writeInPlace(switchFile(200).dump(2));
   EXPECT_TRUE(eventually([&] { return priority(agent) == "200"; })) << agent.log();
   writeAndRename(switchFile(300).dump(2));
   EXPECT_TRUE(eventually([&] { return priority(agent) == "300"; })) << agent.log();
   const Json st = status(agent);
   EXPECT_EQ(st["lastReload"]["outcome"], "applied");
   EXPECT_EQ(st["lastReload"]["changes"], 1);
}

TEST_F(AgentProcessTest, BadEditKeepsTheLastGoodConfiguration) {
   AgentProcess agent(file_);
   ASSERT_TRUE(eventually([&] { return priority(agent) == "100"; })) << agent.log();
   Json bad = switchFile(200);
   bad["switch"]["config"]["lacp"]["systemPriority"] = 1.5;
   writeAndRename(bad.dump(2));
   ASSERT_TRUE(eventually([&] { return status(agent)["lastReload"]["outcome"] == "rejected"; }))
      << agent.log();
   const std::string error = status(agent)["lastReload"]["error"];
   EXPECT_EQ(error.rfind(file_.string() + ": /switch/config/lacp/systemPriority: ", 0), 0u)
      << error;
   EXPECT_EQ(priority(agent), "100");
   EXPECT_NE(agent.log().find(" error reload rejected"), std::string::npos);
}

TEST_F(AgentProcessTest, DescriptorChangeNeedsARestart) {
   AgentProcess agent(file_);
   ASSERT_TRUE(eventually([&] { return priority(agent) == "100"; })) << agent.log();
   Json changed = switchFile(200);
   changed["plugins"]["lacp"]["attrName"]["systemPriority"] = "priority";
   writeAndRename(changed.dump(2));
   ASSERT_TRUE(eventually([&] { return status(agent)["lastReload"]["outcome"] == "rejected"; }))
      << agent.log();
   const std::string error = status(agent)["lastReload"]["error"];
   EXPECT_NE(error.find("restart the agent to change descriptors"), std::string::npos) << error;
   EXPECT_EQ(priority(agent), "100");
}

TEST_F(AgentProcessTest, SighupReloads) {
   AgentProcess agent(file_);
   ASSERT_TRUE(eventually([&] { return priority(agent) == "100"; })) << agent.log();
   agent.signal(SIGHUP);
   ASSERT_TRUE(eventually([&] { return status(agent)["counters"]["reloadsOk"] == 1; }))
      << agent.log();
   EXPECT_EQ(status(agent)["lastReload"]["outcome"], "unchanged");
}

// Runs the command line, returns its exit status and standard output.
std::pair< int, std::string > runTool(const std::string & arguments) {
   std::FILE * pipe =
      ::popen((std::string(MLAG_CONFIG_CHECK) + " " + arguments + " 2>/dev/null").c_str(), "r");
   std::string out;
   char buffer[4096];
   std::size_t n;
   while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
   const int status = ::pclose(pipe);
   return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

TEST_F(AgentProcessTest, ShowRendersALiveAgent) {
   AgentProcess agent(file_);
   ASSERT_TRUE(eventually([&] { return priority(agent) == "100"; })) << agent.log();
   const std::string url = "http://127.0.0.1:" + std::to_string(agent.port());
   // Without a peer both values are on leaf1 only: a mismatch.
   const auto [status, out] = runTool("show --from " + url + " --report json");
   EXPECT_EQ(status, 1);
   const Json report = Json::parse(out, nullptr, false);
   EXPECT_EQ(report["counts"]["onlyOnFirst"], 2) << out;
   // Global rows in byte order of parameter: "10 allowed vlan", then the priority.
   EXPECT_EQ(report["rows"][1]["first"]["raw"], "100") << out;
   agent.terminate();
   EXPECT_EQ(runTool("show --from " + url).first, 2);
}

TEST_F(AgentProcessTest, BadRequestsGetJsonErrors) {
   AgentProcess agent(file_);
   ASSERT_NE(agent.port(), 0) << agent.log();
   const HttpReply unknown = agent.get("/v2/results");
   EXPECT_EQ(unknown.status, 404);
   EXPECT_TRUE(unknown.json().contains("error"));
   const HttpReply post = httpExchange(
      agent.port(),
      "POST /v1/results HTTP/1.1\r\nHost: x\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
   EXPECT_EQ(post.status, 405);
   EXPECT_NE(post.head.find("Allow: GET"), std::string::npos);
   const HttpReply large = httpExchange(agent.port(), "GET /v1/results HTTP/1.1\r\nHost: x\r\nX: " +
                                                         std::string(20000, 'a') + "\r\n\r\n");
   EXPECT_EQ(large.status, 413);
   EXPECT_EQ(httpExchange(agent.port(), "NOT HTTP AT ALL\r\n\r\n").status, 400);
   EXPECT_EQ(agent.terminate(), 0);
}

} // namespace
