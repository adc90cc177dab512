// Runs the built mlag-config-check and mlag-sim-soak: exit statuses, one-line
// messages for bad input, the tables of a small scenario worked out by hand,
// and the machine-readable forms.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct ToolRun {
   int status;
   std::string out, err;
};

std::string slurp(const fs::path & p) {
   std::ifstream in(p);
   return {std::istreambuf_iterator< char >(in), {}};
}

void replaceAll(std::string & text, const std::string & mark, const std::string & by) {
   for (std::size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += by.size())
      text.replace(at, mark.size(), by);
}

// One global scalar that differs, a collection member that only the second
// switch has, and a port-channel setting that only the second switch has.
const char smallScenario[] = R"({
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

class CliTest : public ::testing::Test {
 protected:
   void SetUp() override {
      const auto * info = ::testing::UnitTest::GetInstance()->current_test_info();
      // The process id keeps runs of the suite from different trees apart.
      dir_ = fs::path(::testing::TempDir()) /
             ("cli-" + std::string(info->name()) + "-" + std::to_string(getpid()));
      fs::create_directories(dir_);
      small_ = file("small.json", smallScenario).string();
   }
   void TearDown() override { fs::remove_all(dir_); }

   fs::path file(const std::string & name, const std::string & contents) {
      fs::path p = dir_ / name;
      std::ofstream(p) << contents;
      return p;
   }

   // In `args` and in what the run writes, "$S" stands for the small
   // scenario's path and "$D" for the test's directory.
   ToolRun run(std::string args, const char * tool = MLAG_CONFIG_CHECK) {
      replaceAll(args, "$S", small_);
      replaceAll(args, "$D", dir_.string());
      std::string cmd = "NO_COLOR=1 '" + std::string(tool) + "' " + args + " >'" +
                        (dir_ / "out").string() + "' 2>'" + (dir_ / "err").string() + "'";
      int raw = std::system(cmd.c_str());
      EXPECT_TRUE(WIFEXITED(raw)) << cmd;
      ToolRun r{WEXITSTATUS(raw), slurp(dir_ / "out"), slurp(dir_ / "err")};
      for (std::string * text : {&r.out, &r.err}) {
         replaceAll(*text, small_, "$S");
         replaceAll(*text, dir_.string(), "$D");
      }
      return r;
   }

   fs::path dir_;
   std::string small_;
};

TEST_F(CliTest, TableOfTheFirstSwitchAndMismatchStatus) {
   // The step runs after the start: the priorities agree in the end.
   ToolRun r = run("$S");
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
   ToolRun s = run("--summary --mismatches $S");
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
   ToolRun r = run("--report json $S");
   EXPECT_EQ(r.status, 1); // the same exit status as the tables
   EXPECT_EQ(r.err, "");
   const nlohmann::json report = nlohmann::json::parse(r.out);
   ASSERT_EQ(report["rows"].size(), 4u);
   // Verdicts and reasons are worked out in ComparisonTest; here, the names read back.
   EXPECT_EQ(report["rows"][1]["parameter"], "20 allowed vlan");
   EXPECT_EQ(report["rows"][1]["name"], "allowed vlan");
   EXPECT_EQ(report["rows"][1]["member"], "20");
   EXPECT_EQ(report["rows"][3]["scope"], "mlagId");
   EXPECT_EQ(report["rows"][3]["mlagId"], "10");
   EXPECT_EQ(report["sets"][0]["onlyOnSecond"], nlohmann::json{"20"});
   // --mismatches keeps the rows that do not agree; the counts stay whole.
   const nlohmann::json mismatches =
      nlohmann::json::parse(run("--report json --mismatches $S").out);
   EXPECT_EQ(mismatches["rows"].size(), 2u);
   EXPECT_EQ(mismatches["counts"], report["counts"]);
}

// The first step brings the priorities together: a change, but no mismatch.
TEST_F(CliTest, ChangesShowWhatEachStepMovedAndMismatchesOnlyWhatDisagrees) {
   ToolRun r = run("--changes $S");
   EXPECT_EQ(r.status, 1);
   EXPECT_TRUE(r.out.starts_with("== after start ==\n"));
   EXPECT_EQ(r.out.substr(r.out.find("== A: set lacp systemPriority")),
             "== A: set lacp systemPriority = 100 ==\n"
             "change   plugin  parameter             interface  A    B    status  seen by\n"
             "-------  ------  --------------------  ---------  ---  ---  ------  -------\n"
             "changed  lacp    LACP system priority  -          100  100  agree   A, B\n");

   nlohmann::json scenario = nlohmann::json::parse(smallScenario);
   scenario["steps"].push_back(
      {{"switch", "A"}, {"plugin", "lacp"}, {"path", {"systemPriority"}}, {"set", 7}});
   r = run("--changes --mismatches " + file("two.json", scenario.dump()).string());
   EXPECT_EQ(r.status, 1);
   EXPECT_EQ(r.out.substr(r.out.find("\n== A: set lacp systemPriority = 100")),
             "\n== A: set lacp systemPriority = 100 ==\n"
             "no changes to mismatches\n"
             "\n== A: set lacp systemPriority = 7 ==\n"
             "change   plugin  parameter             interface  A  B    status  seen by\n"
             "-------  ------  --------------------  ---------  -  ---  ------  -------\n"
             "changed  lacp    LACP system priority  -          7  100  differ  A, B\n");
}

TEST_F(CliTest, CatalogListsWhatEachPluginChecks) {
   ToolRun r = run("catalog $S");
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
   EXPECT_EQ(nlohmann::json::parse(run("catalog --json $S").out)["plugins"]["lacp"].size(), 3u);
   // Without a scenario: the shipped default.
   ToolRun d = run("catalog");
   EXPECT_EQ(d.status, 0);
   EXPECT_NE(d.out.find("reload delay"), std::string::npos);
}

TEST_F(CliTest, EachStepShowsTheTablesAfterStartAndEveryStep) {
   ToolRun r = run("--each-step --mismatches $S");
   EXPECT_EQ(r.status, 1);
   EXPECT_TRUE(r.out.starts_with("== after start ==\nplugin lacp\n")) << r.out;
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

TEST_F(CliTest, JsonIsTheResultAloneWithSortedKeysAndEveryMember) {
   ToolRun r = run("--json $S");
   EXPECT_EQ(r.status, 1);
   // nlohmann::json keeps its members sorted: equal text means sorted keys.
   const nlohmann::json j = nlohmann::json::parse(r.out);
   EXPECT_EQ(r.out, j.dump(2) + "\n");
   ASSERT_EQ(j.at("switches").size(), 2u);
   EXPECT_EQ(j["switches"][0]["name"], "A");
   EXPECT_EQ(j["switches"][1]["name"], "B");
   // The result's shape in full is checked on the simulator's own tests.
   EXPECT_EQ(j["switches"][1]["plugins"]["lacp"]["record"]["attr"]["systemPriority"], "100");
}

TEST_F(CliTest, HelpAndVersionExitZero) {
   ToolRun help = run("--help");
   EXPECT_EQ(help.status, 0);
   for (const char * option : {"--json", "--mismatches", "--each-step", "--trace", "--ringlog"})
      EXPECT_NE(help.out.find(option), std::string::npos) << option;
   ToolRun version = run("--version");
   EXPECT_EQ(version.status, 0);
   EXPECT_EQ(version.out, MLAG_VERSION "\n");
}

// Each refused run writes nothing on standard output and one line, named
// after the tool, on standard error, and exits 2. Rows starting "soak "
// run mlag-sim-soak; "<whole>" stands for the advice on seeds.
TEST_F(CliTest, RefusedRunsSayWhyInOneLine) {
   file("syntax.json", "{\"plugins\": ");
   const std::pair< std::string, std::string > cases[] = {
      {"--bogus $S", "The following argument was not expected: --bogus"},
      {"$S $S", "The following argument was not expected: $S"},
      {"--trace 10 $S", "--trace: Value 10 not in range 0 to 9"},
      {"--trace x $S", "--trace: Value x not in range 0 to 9"},
      {"--json --mismatches $S", "--json excludes --mismatches"},
      {"--json --each-step $S", "--json excludes --each-step"},
      {"--report json --json $S", "--json excludes --report"},
      {"--report xml $S", "--report: xml not in {table,json}"},
      {"--report json --changes $S", "--report excludes --changes"},
      {"--report json --summary $S", "--report excludes --summary"},
      {"--changes --each-step $S", "--each-step excludes --changes"},
      {"$D/syntax.json",
       "$D/syntax.json: line 1, column 13: syntax error while parsing value - "
       "unexpected end of input; expected '[', '{', or a literal"},
      {"$D/missing.json", "$D/missing.json: cannot open: No such file or directory"},
      {"catalog $D/missing.json", "$D/missing.json: cannot open: No such file or directory"},
      // What comes before a subcommand is refused, not dropped.
      {"$S catalog", "the scenario $S comes before catalog; write: mlag-config-check catalog $S"},
      {"--mismatches catalog $S", "--mismatches does not apply to catalog"},
      // An empty path is an error, not the default.
      {"''", "the scenario path is empty"},
      {"catalog ''", "the scenario path is empty"},
      {"--ringlog '' $S", "--ringlog path is empty"},
      // A ring log that cannot be opened stops the run before any table.
      {"--ringlog $D/no/such/dir $S",
       "cannot write the ring log to $D/no/such/dir: No such file or directory"},
      {"--ringlog $D $S", "cannot write the ring log to $D: Is a directory"},
      {"--ringlog $S/ring $S", "cannot write the ring log to $S/ring: Not a directory"},
      {"soak --mode sometimes",
       "--mode: sometimes not in "
       "{all,none,delayedTransport,peerRestart,machineRestart,mlagFlap,tinyQuantum}"},
      {"soak --write-scenario x.json", "--write-scenario requires --seed"},
      {"soak --seed -1", "--seed: <whole>-1"},
      {"soak --seed x", "--seed: <whole>x"},
      {"soak --first-seed 0x10", "--first-seed: <whole>0x10"},
      {"soak --seed 18446744073709551616", "--seed: <whole>18446744073709551616"},
      {"soak --seeds 0", "--seeds must be at least 1"},
      {"soak --first-seed 18446744073709551615 --seeds 2",
       "--first-seed 18446744073709551615 with --seeds 2 runs past the last seed, 2^64 - 1"},
      {"soak --seed 1 --write-scenario ''", "--write-scenario path is empty"},
      {"soak --seed 1 --write-scenario $D", "cannot write the scenario to $D: Is a directory"},
   };
   for (auto [args, message] : cases) {
      const bool soak = args.starts_with("soak ");
      ToolRun r = soak ? run(args.substr(5) + " --steps 2", MLAG_SIM_SOAK) : run(args);
      replaceAll(message, "<whole>", "not a whole number from 0 to 2^64 - 1: ");
      EXPECT_EQ(r.status, 2) << args;
      EXPECT_EQ(r.out, "") << args;
      EXPECT_EQ(r.err, (soak ? "mlag-sim-soak: " : "mlag-config-check: ") + message + "\n") << args;
   }
   // The last seed is a seed like any other.
   ToolRun last = run("--seed 18446744073709551615 --mode none --steps 2", MLAG_SIM_SOAK);
   EXPECT_EQ(last.status, 0) << last.err;
}

TEST_F(CliTest, TraceGoesToStandardErrorAndRinglogToItsFile) {
   ToolRun quiet = run("$S"), traced = run("--trace 9 --ringlog $D/ring.txt $S");
   EXPECT_EQ(traced.status, 1);
   EXPECT_EQ(traced.out, quiet.out);
   EXPECT_NE(traced.err.find("Insert request for "), std::string::npos);
   std::string lines = slurp(dir_ / "ring.txt");
   EXPECT_NE(lines.find("Insert request for "), std::string::npos);
   EXPECT_EQ(lines.back(), '\n');
   // A ring log that fails at exit leaves the verdict alone.
   if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full";
   ToolRun full = run("--ringlog /dev/full $S");
   EXPECT_EQ(full.status, 1); // the mismatches found, as without the ring log
   EXPECT_EQ(full.out, quiet.out);
   EXPECT_EQ(
      full.err,
      "mlag-config-check: cannot write the ring log to /dev/full: No space left on device\n");
}

// Without an argument: the shipped default scenario. Only the example of
// defaults standing in for absent values is consistent: it exits 0.
TEST_F(CliTest, EveryShippedExampleAndTheDefaultRun) {
   std::vector< std::string > runs = {""};
   for (const fs::directory_entry & e : fs::directory_iterator(MLAG_EXAMPLES_DIR)) {
      if (e.path().extension() == ".json") runs.push_back("'" + e.path().string() + "'");
   }
   EXPECT_GE(runs.size(), 6u);
   for (const std::string & args : runs) {
      ToolRun r = run(args);
      EXPECT_EQ(r.status, args.ends_with("defaults-absence.json'") ? 0 : 1) << args << r.err;
      EXPECT_EQ(r.err, "") << args;
      EXPECT_TRUE(r.out.starts_with("plugin ")) << args;
   }
}

TEST_F(CliTest, SoakToolRunsSeedsAndWritesAReplayableScenario) {
   ToolRun r = run("--seeds 2 --mode none --steps 4", MLAG_SIM_SOAK);
   EXPECT_EQ(r.status, 0);
   EXPECT_TRUE(r.out.starts_with("2 seeds x 1 modes, 4 steps each (8 steps run): 0 failures in "))
      << r.out;
   ToolRun one =
      run("--seed 5 --mode mlagFlap --steps 6 --write-scenario $D/seed.json", MLAG_SIM_SOAK);
   EXPECT_EQ(one.status, 0);
   // The written scenario is a scenario file like any other.
   ToolRun replay = run("$D/seed.json");
   EXPECT_NE(replay.status, 2) << replay.err;
   EXPECT_NE(replay.out.find("parameters:"), std::string::npos);
}

} // namespace
