// mlag-config-checkd as a process: its API, live edits of its switch file
// (in place and by rename), bad edits, SIGHUP and SIGTERM.
#include "AgentProcess.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <optional>

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

Json switchFile(const Json & priority) {
   Json file = Json::parse(R"({
      "plugins": {"lacp": {"attrName": {"systemPriority": "LACP system priority"},
                           "collectionName": {"vlan": "allowed vlan"}}},
      "switch": {"name": "leaf1", "mlag": {"Port-Channel10": "10"},
                 "config": {"lacp": {"vlan": {"10": "active"}}}}})");
   file["switch"]["config"]["lacp"]["systemPriority"] = priority;
   return file;
}

// An agent started on leaf1 with a LACP priority of 100, up once it serves it.
class AgentProcessTest : public ::testing::Test {
 protected:
   void SetUp() override {
      writeInPlace(switchFile(100));
      agent_.emplace(file_);
      ASSERT_TRUE(eventually([&] { return priority() == "100"; })) << agent_->log();
   }

   void writeInPlace(const Json & file) const { std::ofstream(file_) << file.dump(2); }
   void writeAndRename(const Json & file) const {
      const fs::path temp = dir_.path / ".leaf1.switch.json.new";
      std::ofstream(temp) << file.dump(2);
      fs::rename(temp, file_);
   }
   std::string priority() const {
      return agent_->json("/v1/results")
         .value(Json::json_pointer("/plugins/lacp/global/LACP system priority/local"), "");
   }
   Json lastReload() const { return agent_->json("/v1/status")["lastReload"]; }

   TestDir dir_;
   const fs::path file_ = dir_.path / "leaf1.switch.json";
   std::optional< AgentProcess > agent_;
};

TEST_F(AgentProcessTest, ServesItsApiToClientsAndShow) {
   AgentProcess & agent = *agent_;
   const Json st = agent.json("/v1/status");
   EXPECT_EQ(st["switch"], "leaf1");
   EXPECT_EQ(st["configFile"], file_.string());
   EXPECT_EQ(st["peerLink"], "not configured");
   EXPECT_EQ(st["lastReload"]["outcome"], "started");
   // Without a peer every value is only on this switch.
   const Json report = agent.json("/v1/report");
   EXPECT_EQ(report["switches"], Json::array({"leaf1", "peer"}));
   EXPECT_EQ(report["counts"]["onlyOnFirst"], 2);
   EXPECT_EQ(agent.get("/healthz").status, 200);
   EXPECT_NE(
      agent.get("/metrics")
         .body.find("mlag_config_check_mismatches{plugin=\"lacp\",verdict=\"onlyOnFirst\"} 2\n"),
      std::string::npos);
   // Bad requests get JSON errors.
   const HttpReply unknown = agent.get("/v2/results");
   EXPECT_EQ(unknown.status, 404);
   EXPECT_TRUE(Json::parse(unknown.body, nullptr, false).contains("error"));
   const HttpReply post = httpExchange(
      agent.port(),
      "POST /v1/results HTTP/1.1\r\nHost: x\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
   EXPECT_EQ(post.status, 405);
   EXPECT_NE(post.head.find("Allow: GET"), std::string::npos);
   const HttpReply large = httpExchange(agent.port(), "GET /v1/results HTTP/1.1\r\nHost: x\r\nX: " +
                                                         std::string(20000, 'a') + "\r\n\r\n");
   EXPECT_EQ(large.status, 413);
   EXPECT_EQ(httpExchange(agent.port(), "NOT HTTP AT ALL\r\n\r\n").status, 400);
   // show renders the live agent: both values on leaf1 only, a mismatch.
   const std::string url = "http://127.0.0.1:" + std::to_string(agent.port());
   const auto [status, out] = runTool("show --from " + url + " --report json");
   EXPECT_EQ(status, 1);
   const Json shown = Json::parse(out, nullptr, false);
   EXPECT_EQ(shown["counts"]["onlyOnFirst"], 2) << out;
   // Global rows in byte order of parameter: "10 allowed vlan", then the priority.
   EXPECT_EQ(shown["rows"][1]["first"]["raw"], "100") << out;
   EXPECT_EQ(agent.terminate(), 0);
   EXPECT_EQ(runTool("show --from " + url).first, 2);
}

TEST_F(AgentProcessTest, SighupAndEditsReloadAndBadEditsKeepTheLastGood) {
   // SIGHUP first, while no edit can have caused a reload.
   agent_->signal(SIGHUP);
   ASSERT_TRUE(eventually([&] { return agent_->json("/v1/status")["counters"]["reloadsOk"] == 1; }))
      << agent_->log();
   EXPECT_EQ(lastReload()["outcome"], "unchanged");
   writeInPlace(switchFile(200));
   EXPECT_TRUE(eventually([&] { return priority() == "200"; })) << agent_->log();
   writeAndRename(switchFile(300));
   EXPECT_TRUE(eventually([&] { return priority() == "300"; })) << agent_->log();
   const Json reload = lastReload();
   EXPECT_EQ(reload["outcome"], "applied");
   EXPECT_EQ(reload["changes"], 1);

   writeAndRename(switchFile(1.5));
   ASSERT_TRUE(eventually([&] { return lastReload()["outcome"] == "rejected"; })) << agent_->log();
   std::string error = lastReload()["error"];
   EXPECT_EQ(error.rfind(file_.string() + ": /switch/config/lacp/systemPriority: ", 0), 0u)
      << error;
   EXPECT_NE(agent_->log().find(" error reload rejected"), std::string::npos);

   Json descriptor = switchFile(400);
   descriptor["plugins"]["lacp"]["attrName"]["systemPriority"] = "priority";
   writeAndRename(descriptor);
   EXPECT_TRUE(eventually([&] {
      error = lastReload().value("error", "");
      return error.find("restart the agent to change descriptors") != std::string::npos;
   })) << error;
   EXPECT_EQ(priority(), "300");
}

} // namespace
