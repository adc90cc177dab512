// Runs the built mlag-config-check binary: exit statuses, messages for bad
// input, the table for a small scenario worked out by hand, and --json.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct ToolRun {
   int status;
   std::string out;
   std::string err;
};

std::string slurp(const fs::path & p) {
   std::ifstream in(p);
   std::stringstream s;
   s << in.rdbuf();
   return s.str();
}

class CliTest : public ::testing::Test {
 protected:
   void SetUp() override {
      const auto * info = ::testing::UnitTest::GetInstance()->current_test_info();
      // The process id keeps runs of the suite from different trees apart.
      dir_ = fs::path(::testing::TempDir()) /
             ("cli-" + std::string(info->name()) + "-" + std::to_string(getpid()));
      fs::create_directories(dir_);
   }
   void TearDown() override { fs::remove_all(dir_); }

   fs::path file(const std::string & name, const std::string & contents) {
      fs::path p = dir_ / name;
      std::ofstream(p) << contents;
      return p;
   }

   ToolRun run(const std::string & args, const char * tool = MLAG_CONFIG_CHECK) {
      std::string cmd = "NO_COLOR=1 '" + std::string(tool) + "' " + args + " >'" +
                        (dir_ / "out").string() + "' 2>'" + (dir_ / "err").string() + "'";
      int raw = std::system(cmd.c_str());
      EXPECT_TRUE(WIFEXITED(raw)) << cmd;
      return {WEXITSTATUS(raw), slurp(dir_ / "out"), slurp(dir_ / "err")};
   }

   fs::path dir_;
};

// One global scalar that differs, a collection member that only the second
// switch has, and a port-channel setting that only the second switch has.
constexpr char smallScenario[] = R"({
  "plugins": {"lacp": {
    "attrName": {"systemPriority": "LACP system priority"},
    "collectionName": {"vlan": "allowed vlan"},
    "nestedConfigCheckDesc": {"intfConfig": {"mlagInterfacesOnly": true,
                                             "attrName": {"mode": "lacp mode"}}}}},
  "switches": [
    {"name": "A", "mlag": {"Port-Channel10": "10"},
     "config": {"lacp": {"systemPriority": 32768, "vlan": {"10": "active"}, "intfConfig": {}}}},
    {"name": "B", "mlag": {"Port-Channel10": "10"},
     "config": {"lacp": {"systemPriority": 100, "vlan": {"10": "active", "20": "active"},
                         "intfConfig": {"Port-Channel10": {"mode": "active"}}}}}],
  "steps": [
    {"switch": "A", "plugin": "lacp", "path": ["systemPriority"], "set": 100}]
})";

TEST_F(CliTest, TableOfTheFirstSwitchAndMismatchStatus) {
   // The step runs after the start: the priorities agree in the end.
   ToolRun r = run(file("small.json", smallScenario).string());
   EXPECT_EQ(r.status, 1);
   EXPECT_EQ(r.err, "");
   EXPECT_EQ(r.out,
             "plugin lacp\n"
             "parameter             interface       A       B       status\n"
             "--------------------  --------------  ------  ------  ---------\n"
             "10 allowed vlan       -               active  active  agree\n"
             "20 allowed vlan       -               -       active  only on B\n"
             "LACP system priority  -               100     100     agree\n"
             "lacp mode mlag10      Port-Channel10  -       active  only on B\n"
             "collections\n"
             "  allowed vlan: 1 agree; only on B: 20\n"
             "\n"
             "4 parameters: 2 agree, 0 differ, 2 only on one switch\n");

   // --summary: the members only as their set line.
   ToolRun s = run("--summary --mismatches " + file("small.json", smallScenario).string());
   EXPECT_EQ(s.status, 1);
   EXPECT_EQ(s.out,
             "plugin lacp\n"
             "parameter         interface       A  B       status\n"
             "----------------  --------------  -  ------  ---------\n"
             "lacp mode mlag10  Port-Channel10  -  active  only on B\n"
             "collections\n"
             "  allowed vlan: 1 agree; only on B: 20\n"
             "\n"
             "4 parameters: 2 agree, 0 differ, 2 only on one switch\n");
}

TEST_F(CliTest, ReportJsonGivesEveryComparedValueAVerdictAndAReason) {
   const fs::path scenario = file("small.json", smallScenario);
   ToolRun r = run("--report json " + scenario.string());
   EXPECT_EQ(r.status, 1); // the same exit status as the tables
   EXPECT_EQ(r.err, "");
   const nlohmann::json report = nlohmann::json::parse(r.out);
   EXPECT_FALSE(report["consistent"].get< bool >());
   ASSERT_EQ(report["rows"].size(), 4u);
   // Verdicts and reasons are worked out in ComparisonTest; here, the names read back.
   const nlohmann::json & member = report["rows"][1];
   EXPECT_EQ(member["parameter"], "20 allowed vlan");
   EXPECT_EQ(member["name"], "allowed vlan");
   EXPECT_EQ(member["member"], "20");
   EXPECT_EQ(member["verdict"], "onlyOnSecond");
   EXPECT_EQ(report["rows"][3]["scope"], "mlagId");
   EXPECT_EQ(report["rows"][3]["mlagId"], "10");
   EXPECT_EQ(report["sets"][0]["onlyOnSecond"], nlohmann::json{"20"});

   // --mismatches keeps the rows that do not agree; the counts stay whole.
   const nlohmann::json mismatches =
      nlohmann::json::parse(run("--report json --mismatches " + scenario.string()).out);
   EXPECT_EQ(mismatches["rows"].size(), 2u);
   EXPECT_EQ(mismatches["counts"], report["counts"]);

   EXPECT_EQ(run("--report json --json " + scenario.string()).status, 2);
   EXPECT_EQ(run("--report xml " + scenario.string()).status, 2);
   EXPECT_EQ(run("--report json --changes " + scenario.string()).status, 2);
}

TEST_F(CliTest, ChangesShowOnlyWhatEachStepMoved) {
   ToolRun r = run("--changes " + file("small.json", smallScenario).string());
   EXPECT_EQ(r.status, 1);
   const std::string afterStep = r.out.substr(r.out.find("== A: set lacp systemPriority"));
   EXPECT_EQ(afterStep,
             "== A: set lacp systemPriority = 100 ==\n"
             "change   plugin  parameter             interface  A    B    status  seen by\n"
             "-------  ------  --------------------  ---------  ---  ---  ------  -------\n"
             "changed  lacp    LACP system priority  -          100  100  agree   A, B\n");
   EXPECT_EQ(r.out.rfind("== after start ==\n", 0), 0u);
}

TEST_F(CliTest, CatalogListsWhatEachPluginChecks) {
   const fs::path scenario = file("small.json", smallScenario);
   ToolRun r = run("catalog " + scenario.string());
   EXPECT_EQ(r.status, 0);
   EXPECT_EQ(r.out,
             "plugin  parameter             attribute       kind        model       scope    "
             "default  value overrides\n"
             "------  --------------------  --------------  ----------  ----------  -------  "
             "-------  ---------------\n"
             "lacp    LACP system priority  systemPriority  value       -           global   -    "
             "    -\n"
             "lacp    allowed vlan          vlan            collection  -           global   -    "
             "    -\n"
             "lacp    lacp mode             mode            value       intfConfig  MLAG id  -    "
             "    -\n");
   ToolRun j = run("catalog --json " + scenario.string());
   EXPECT_EQ(j.status, 0);
   EXPECT_EQ(nlohmann::json::parse(j.out)["plugins"]["lacp"].size(), 3u);

   // Without a scenario: the shipped default.
   ToolRun d = run("catalog");
   EXPECT_EQ(d.status, 0);
   EXPECT_NE(d.out.find("reload delay"), std::string::npos);

   ToolRun bad = run("catalog " + file("bad.json", "{").string());
   EXPECT_EQ(bad.status, 2);
   EXPECT_NE(bad.err.find("bad.json"), std::string::npos);
}

TEST_F(CliTest, EachStepShowsTheTablesAfterStartAndEveryStep) {
   ToolRun r = run("--each-step --mismatches " + file("small.json", smallScenario).string());
   EXPECT_EQ(r.status, 1);
   EXPECT_EQ(r.out.rfind("== after start ==\nplugin lacp\n", 0), 0u) << r.out;
   std::size_t step = r.out.find("\n\n== A: ");
   ASSERT_NE(step, std::string::npos) << r.out;
   std::string afterStart = r.out.substr(0, step), afterStep = r.out.substr(step);
   // Only the rows shown count for the column widths.
   EXPECT_NE(afterStart.find("LACP system priority  -               32768  100     differ"),
             std::string::npos)
      << afterStart;
   EXPECT_EQ(afterStep.find("LACP system priority"), std::string::npos) << afterStep;
   EXPECT_EQ(afterStep.find(" agree\n"), std::string::npos) << afterStep;
}

TEST_F(CliTest, AgreeingPairExitsZero) {
   ToolRun r = run(file("same.json", R"({
      "plugins": {"p": {"attrName": {"mtu": "mtu"}}},
      "switches": [{"name": "X", "config": {"p": {"mtu": 9000}}},
                   {"name": "Y", "config": {"p": {"mtu": 9000}}}]})")
                      .string());
   EXPECT_EQ(r.status, 0);
   EXPECT_EQ(r.out,
             "plugin p\n"
             "parameter  interface  X     Y     status\n"
             "---------  ---------  ----  ----  ------\n"
             "mtu        -          9000  9000  agree\n"
             "\n"
             "1 parameter: 1 agree, 0 differ, 0 only on one switch\n");
}

TEST_F(CliTest, JsonIsTheResultAloneWithSortedKeysAndEveryMember) {
   ToolRun r = run("--json " + file("small.json", smallScenario).string());
   EXPECT_EQ(r.status, 1);
   // nlohmann::json keeps its members sorted: equal text means sorted keys.
   const nlohmann::json j = nlohmann::json::parse(r.out);
   EXPECT_EQ(r.out, j.dump(2) + "\n");

   ASSERT_EQ(j.at("switches").size(), 2u);
   EXPECT_EQ(j["switches"][0]["name"], "A");
   EXPECT_EQ(j["switches"][1]["name"], "B");
   const auto & lacp = j["switches"][0]["plugins"]["lacp"];
   const auto & waiting = lacp.at("interface").at("lacp mode mlag10").at("PeerPort-Channel10");
   EXPECT_EQ(waiting, nlohmann::json::parse(R"({"default": "", "local": "", "peer": "active"})"));
   // The result's shape in full is checked on the simulator's own tests.
   EXPECT_EQ(j["switches"][1]["plugins"]["lacp"].at("record").at("attr"),
             nlohmann::json::parse(R"({"systemPriority": "100"})"));
}

TEST_F(CliTest, UsageErrorsExitTwo) {
   std::string scenario = file("small.json", smallScenario).string();
   for (const std::string & args : {"--bogus " + scenario, "--trace 10 " + scenario,
                                    "--trace x " + scenario, "--json --mismatches " + scenario,
                                    "--json --each-step " + scenario, scenario + " " + scenario}) {
      ToolRun r = run(args);
      EXPECT_EQ(r.status, 2) << args;
      EXPECT_EQ(r.out, "") << args;
      EXPECT_NE(r.err, "") << args;
   }
}

TEST_F(CliTest, HelpAndVersionExitZero) {
   ToolRun help = run("--help");
   EXPECT_EQ(help.status, 0);
   for (const char * option : {"--json", "--mismatches", "--each-step", "--trace", "--ringlog"}) {
      EXPECT_NE(help.out.find(option), std::string::npos) << option;
   }
   ToolRun version = run("--version");
   EXPECT_EQ(version.status, 0);
   EXPECT_EQ(version.out, MLAG_VERSION "\n");
}

TEST_F(CliTest, BadInputNamesTheFileAndExitsTwo) {
   for (const std::string & path :
        {file("syntax.json", "{\"plugins\": ").string(), (dir_ / "missing.json").string()}) {
      ToolRun r = run(path);
      EXPECT_EQ(r.status, 2) << path;
      EXPECT_EQ(r.out, "") << path;
      EXPECT_EQ(r.err.rfind("mlag-config-check: " + path + ": ", 0), 0u) << r.err;
      EXPECT_EQ(r.err.back(), '\n');
   }
}

TEST_F(CliTest, TraceGoesToStandardErrorAndRinglogToItsFile) {
   std::string scenario = file("small.json", smallScenario).string();
   ToolRun quiet = run(scenario);
   EXPECT_EQ(quiet.err, "");

   fs::path ring = dir_ / "ring.txt";
   ToolRun traced = run("--trace 9 --ringlog '" + ring.string() + "' " + scenario);
   EXPECT_EQ(traced.status, 1);
   EXPECT_EQ(traced.out, quiet.out);
   EXPECT_NE(traced.err.find("Insert request for "), std::string::npos);
   std::string lines = slurp(ring);
   EXPECT_NE(lines.find("Insert request for "), std::string::npos);
   EXPECT_EQ(lines.back(), '\n');

   ToolRun unwritable = run("--ringlog '" + (dir_ / "no/such/dir").string() + "' " + scenario);
   EXPECT_EQ(unwritable.status, 2);
   EXPECT_NE(unwritable.err.find("cannot write the ring log"), std::string::npos);
}

TEST_F(CliTest, WithoutArgumentRunsTheShippedDefaultScenario) {
   ToolRun r = run("");
   EXPECT_TRUE(r.status == 0 || r.status == 1) << r.err;
   EXPECT_EQ(r.out.rfind("plugin ", 0), 0u) << r.out;
}

TEST_F(CliTest, EveryShippedExampleRuns) {
   int examples = 0;
   for (const fs::directory_entry & e : fs::directory_iterator(MLAG_EXAMPLES_DIR)) {
      if (e.path().extension() != ".json") continue;
      ++examples;
      ToolRun r = run("'" + e.path().string() + "'");
      EXPECT_TRUE(r.status == 0 || r.status == 1) << e.path() << ": " << r.err;
      EXPECT_EQ(r.err, "") << e.path();
   }
   EXPECT_GE(examples, 5);
}

TEST_F(CliTest, SoakToolRunsSeedsAndWritesAReplayableScenario) {
   ToolRun r = run("--seeds 2 --mode none --steps 4", MLAG_SIM_SOAK);
   EXPECT_EQ(r.status, 0);
   EXPECT_EQ(r.out.rfind("2 seeds x 1 modes, 4 steps each (8 steps run): 0 failures in ", 0), 0u)
      << r.out;

   const fs::path scenario = dir_ / "seed.json";
   ToolRun one = run("--seed 5 --mode mlagFlap --steps 6 --write-scenario " + scenario.string(),
                     MLAG_SIM_SOAK);
   EXPECT_EQ(one.status, 0);
   // The written scenario is a scenario file like any other.
   ToolRun replay = run(scenario.string());
   EXPECT_NE(replay.status, 2) << replay.err;
   EXPECT_NE(replay.out.find("parameters:"), std::string::npos);

   EXPECT_EQ(run("--mode sometimes", MLAG_SIM_SOAK).status, 2);
   EXPECT_EQ(run("--write-scenario x.json", MLAG_SIM_SOAK).status, 2);
}

TEST_F(CliTest, WhatComesBeforeASubcommandIsRefusedNotDropped) {
   const std::string scenario = file("small.json", smallScenario).string();
   ToolRun before = run(scenario + " catalog");
   EXPECT_EQ(before.status, 2);
   EXPECT_EQ(before.out, "");
   EXPECT_EQ(before.err, "mlag-config-check: the scenario " + scenario +
                            " comes before catalog; write: mlag-config-check catalog " + scenario +
                            "\n");
   ToolRun option = run("--mismatches catalog " + scenario);
   EXPECT_EQ(option.status, 2);
   EXPECT_EQ(option.err, "mlag-config-check: --mismatches does not apply to catalog\n");
}

TEST_F(CliTest, AnEmptyPathIsAnErrorNotTheDefault) {
   const std::string scenario = file("small.json", smallScenario).string();
   for (const auto & [args, message] : std::vector< std::pair< std::string, std::string > >{
           {"''", "the scenario path is empty"},
           {"catalog ''", "the scenario path is empty"},
           {"--ringlog '' " + scenario, "--ringlog path is empty"}}) {
      ToolRun r = run(args);
      EXPECT_EQ(r.status, 2) << args;
      EXPECT_EQ(r.out, "") << args;
      EXPECT_EQ(r.err, "mlag-config-check: " + message + "\n") << args;
   }
}

TEST_F(CliTest, ARinglogThatCannotBeOpenedStopsTheRunBeforeAnyTable) {
   const std::string scenario = file("small.json", smallScenario).string();
   for (const auto & [path, reason] : std::vector< std::pair< fs::path, std::string > >{
           {dir_ / "no/such/dir", "No such file or directory"},
           {dir_, "Is a directory"},
           {fs::path(scenario) / "ring", "Not a directory"}}) {
      ToolRun r = run("--ringlog '" + path.string() + "' " + scenario);
      EXPECT_EQ(r.status, 2) << path;
      EXPECT_EQ(r.out, "") << path;
      EXPECT_EQ(r.err, "mlag-config-check: cannot write the ring log to " + path.string() + ": " +
                          reason + "\n");
   }
}

TEST_F(CliTest, ARinglogThatFailsAtExitLeavesTheVerdictAlone) {
   if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
   const std::string scenario = file("small.json", smallScenario).string();
   ToolRun r = run("--ringlog /dev/full " + scenario);
   EXPECT_EQ(r.status, 1); // the mismatches found, as without the ring log
   EXPECT_EQ(r.out, run(scenario).out);
   EXPECT_EQ(r.err,
             "mlag-config-check: cannot write the ring log to /dev/full: No space left on "
             "device\n");
}

TEST_F(CliTest, UsageErrorsAreOneLineNamedAfterTheTool) {
   const std::string scenario = file("small.json", smallScenario).string();
   for (const auto & [args, message] : std::vector< std::pair< std::string, std::string > >{
           {"--bogus " + scenario, "The following argument was not expected: --bogus"},
           {"--report json --summary " + scenario, "--report excludes --summary"},
           {"--changes --each-step " + scenario, "--each-step excludes --changes"}}) {
      ToolRun r = run(args);
      EXPECT_EQ(r.status, 2) << args;
      EXPECT_EQ(r.err, "mlag-config-check: " + message + "\n") << args;
   }
   ToolRun soak = run("--mode sometimes", MLAG_SIM_SOAK);
   EXPECT_EQ(soak.status, 2);
   EXPECT_EQ(soak.err.rfind("mlag-sim-soak: --mode: ", 0), 0u) << soak.err;
   EXPECT_EQ(soak.err.find('\n'), soak.err.size() - 1) << soak.err;
}

TEST_F(CliTest, ChangesWithMismatchesShowOnlyChangedRowsThatDoNotAgree) {
   nlohmann::json scenario = nlohmann::json::parse(smallScenario);
   scenario["steps"].push_back(
      {{"switch", "A"}, {"plugin", "lacp"}, {"path", {"systemPriority"}}, {"set", 7}});
   ToolRun r = run("--changes --mismatches " + file("two.json", scenario.dump()).string());
   EXPECT_EQ(r.status, 1);
   // The first step brings the priorities together: a change, but no mismatch.
   const std::string steps = r.out.substr(r.out.find("\n== A: set lacp systemPriority = 100"));
   EXPECT_EQ(steps,
             "\n== A: set lacp systemPriority = 100 ==\n"
             "no changes to mismatches\n"
             "\n== A: set lacp systemPriority = 7 ==\n"
             "change   plugin  parameter             interface  A  B    status  seen by\n"
             "-------  ------  --------------------  ---------  -  ---  ------  -------\n"
             "changed  lacp    LACP system priority  -          7  100  differ  A, B\n");
}

TEST_F(CliTest, SoakSeedsOutOfRangeAreRefused) {
   for (const auto & [args, message] : std::vector< std::pair< std::string, std::string > >{
           {"--seed -1", "--seed: not a whole number from 0 to 2^64 - 1: -1"},
           {"--seed x", "--seed: not a whole number from 0 to 2^64 - 1: x"},
           {"--first-seed 0x10", "--first-seed: not a whole number from 0 to 2^64 - 1: 0x10"},
           {"--seed 18446744073709551616",
            "--seed: not a whole number from 0 to 2^64 - 1: 18446744073709551616"},
           {"--seeds 0", "--seeds must be at least 1"},
           {"--first-seed 18446744073709551615 --seeds 2",
            "--first-seed 18446744073709551615 with --seeds 2 runs past the last seed, 2^64 - 1"},
           {"--seed 1 --write-scenario ''", "--write-scenario path is empty"},
           {"--seed 1 --write-scenario " + dir_.string(),
            "cannot write the scenario to " + dir_.string() + ": Is a directory"}}) {
      ToolRun r = run(args + " --mode none --steps 2", MLAG_SIM_SOAK);
      EXPECT_EQ(r.status, 2) << args;
      EXPECT_EQ(r.out, "") << args;
      EXPECT_EQ(r.err, "mlag-sim-soak: " + message + "\n") << args;
   }
   // The last seed is a seed like any other.
   ToolRun last = run("--seed 18446744073709551615 --mode none --steps 2", MLAG_SIM_SOAK);
   EXPECT_EQ(last.status, 0) << last.err;
}

} // namespace
