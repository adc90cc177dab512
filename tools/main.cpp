// mlag-config-check: runs one MLAG pair scenario through the config checker
// on both switches and shows where the two switches' configurations disagree.
//
//   mlag-config-check                        # the shipped examples/default.json
//   mlag-config-check --mismatches my.json
//   mlag-config-check --json my.json | jq .
//   mlag-config-check --report json my.json     # verdicts with reasons
//   mlag-config-check catalog my.json           # what each plugin checks
//
// Exit status: 0 all parameters agree, 1 at least one mismatch, 2 usage error
// or bad input.
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <unistd.h>

#include "Catalog.h"
#include "Changes.h"
#include "Comparison.h"
#include "Pair.h"
#include "Report.h"
#include "Scenario.h"
#include "ShowFrom.h"
#include "trace/Handle.h"
#include "trace/RingLog.h"

namespace {

constexpr char toolName[] = "mlag-config-check";
constexpr int exitUsage = 2;

struct Options {
   std::string scenario;
   bool json = false;
   std::string reportFormat = "table";
   bool mismatches = false;
   bool summary = false;
   bool eachStep = false;
   bool changes = false;
   int trace = -1;
   std::string ringlog;
};

struct CatalogOptions {
   std::string scenario;
   bool json = false;
};

// Next to a build tree's tools/ directory first, so a moved source tree still
// finds its own examples; then the source tree this binary was built from.
std::string defaultScenario() {
   std::error_code ec;
   std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", ec);
   if (!ec) {
      std::filesystem::path p = exe.parent_path() / "../../examples/default.json";
      if (std::filesystem::exists(p, ec)) return p.lexically_normal().string();
   }
   return MLAG_SOURCE_DIR "/examples/default.json";
}

bool colourWanted() { return std::getenv("NO_COLOR") == nullptr && isatty(STDOUT_FILENO) == 1; }

std::string scenarioPath(const std::string & given) {
   return given.empty() ? defaultScenario() : given;
}

int run(const Options & o) {
   MlagSim::Scenario scenario = MlagSim::loadScenario(scenarioPath(o.scenario));
   const std::vector< MlagTool::CatalogEntry > catalog = MlagTool::catalog(scenario);
   MlagSim::Pair pair(scenario);
   const MlagTool::ReportOptions reportOptions{o.mismatches, colourWanted(), o.summary};
   auto table = [&](const nlohmann::json & result) {
      return MlagTool::report(result, reportOptions, catalog);
   };

   pair.start();
   nlohmann::json result = pair.resultJson();
   if (o.eachStep || o.changes) std::cout << "== after start ==\n" << table(result);
   for (std::size_t i = 0; i < pair.stepCount(); ++i) {
      pair.applyStep(i);
      nlohmann::json next = pair.resultJson();
      if (o.eachStep || o.changes) std::cout << "\n== " << scenario.steps[i].describe() << " ==\n";
      if (o.eachStep) std::cout << table(next);
      if (o.changes) {
         std::cout << MlagTool::changesTable(
            MlagTool::changes(MlagTool::comparedValues(result, catalog),
                              MlagTool::comparedValues(next, catalog)),
            MlagTool::switchNames(next), reportOptions.colour);
      }
      result = std::move(next);
   }

   if (o.json) {
      std::cout << result.dump(2) << '\n';
   } else if (o.reportFormat == "json") {
      std::cout << MlagTool::reportJson(result, catalog, o.mismatches).dump(2) << '\n';
   } else if (!o.eachStep && !o.changes) {
      std::cout << table(result);
   }
   return MlagTool::hasMismatch(result) ? 1 : 0;
}

int runCatalog(const CatalogOptions & o) {
   const MlagSim::Scenario scenario = MlagSim::loadScenario(scenarioPath(o.scenario));
   const std::vector< MlagTool::CatalogEntry > entries = MlagTool::catalog(scenario);
   if (o.json) {
      std::cout << MlagTool::catalogJson(entries).dump(2) << '\n';
   } else {
      std::cout << MlagTool::catalogTable(entries);
   }
   return 0;
}

// A failure to write the ring log changes the exit status to 2 only when the
// run itself succeeded: the run's own error comes first.
int writeRinglog(const std::string & path, int status) {
   std::ofstream out(path);
   for (const std::string & line : Kiv::Trace::ringlog().decode()) out << line << '\n';
   out.close();
   if (out) return status;
   std::cerr << toolName << ": cannot write the ring log to " << path << '\n';
   return status == exitUsage ? status : exitUsage;
}

} // namespace

int main(int argc, char ** argv) {
   CLI::App app{
      "Simulates an MLAG pair from a scenario file, runs the configuration-consistency\n"
      "checker on both switches and shows, per plugin, where the switches agree.\n"
      "Exit status: 0 all agree, 1 at least one mismatch, 2 usage error or bad input.",
      toolName};
   Options o;
   app.add_option("SCENARIO", o.scenario,
                  "Scenario file (JSON); default: the shipped examples/default.json")
      ->type_name("");
   CLI::Option * json =
      app.add_flag("--json", o.json, "Print the result JSON of both switches and nothing else");
   CLI::Option * reportFormat =
      app.add_option("--report", o.reportFormat,
                     "table (default): tables for people; json: every compared value with its "
                     "verdict and reason, and nothing else")
         ->option_text("FORMAT")
         ->check(CLI::IsMember({"table", "json"}))
         ->excludes(json);
   app.add_flag("--mismatches", o.mismatches, "Show only the rows that do not agree")
      ->excludes(json);
   app.add_flag("--summary", o.summary,
                "Show each collection as one line per scope instead of one row per member")
      ->excludes(json);
   CLI::Option * eachStep =
      app.add_flag("--each-step", o.eachStep, "Show the tables after the start and after every step")
         ->excludes(json);
   CLI::Option * changes =
      app.add_flag("--changes", o.changes,
                   "After every step, show only the rows that the step changed (new, changed, "
                   "cleared)")
         ->excludes(json)
         ->excludes(eachStep);
   // The JSON report is the whole output, like --json.
   reportFormat->excludes(eachStep)->excludes(changes);
   app.add_option("--trace", o.trace,
                  "Write the checker's trace lines up to LEVEL (0-9) to standard error")
      ->option_text("LEVEL")
      ->check(CLI::Range(0, 9));
   app.add_option("--ringlog", o.ringlog, "At exit, write the decoded trace ring buffer to FILE")
      ->option_text("FILE");

   CatalogOptions c;
   CLI::App * catalog = app.add_subcommand(
      "catalog", "List every parameter each plugin checks, from the scenario's descriptors");
   catalog->add_option("SCENARIO", c.scenario,
                       "Scenario file (JSON); default: the shipped examples/default.json")
      ->type_name("");
   catalog->add_flag("--json", c.json, "Print the catalog as JSON");
   MlagTool::ShowOptions show;
   CLI::App * showCommand = MlagTool::addShowSubcommand(app, show);
   app.set_version_flag("--version", MLAG_VERSION);

   try {
      app.parse(argc, argv);
   } catch (const CLI::ParseError & e) {
      // --help and --version arrive here too, with exit code 0.
      return app.exit(e) == 0 ? 0 : exitUsage;
   }

   if (o.trace >= 0) Kiv::Trace::handle("MlagConfigCheck").levelsUpToIs(o.trace);
   int status = exitUsage;
   try {
      show.colour = colourWanted();
      status = catalog->parsed()       ? runCatalog(c)
               : showCommand->parsed() ? MlagTool::showFrom(show, std::cout)
                                       : run(o);
   } catch (const std::exception & e) {
      // A ScenarioError's text already names the file and the location.
      std::cout.flush();
      std::cerr << toolName << ": " << e.what() << '\n';
   }
   if (!o.ringlog.empty()) status = writeRinglog(o.ringlog, status);
   return status;
}
