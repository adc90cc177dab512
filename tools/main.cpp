// mlag-config-check: runs one MLAG pair scenario through the config checker
// on both switches and shows where the two switches' configurations disagree.
//
//   mlag-config-check                        # the shipped examples/default.json
//   mlag-config-check --mismatches my.json
//   mlag-config-check --json my.json | jq .
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

#include "Pair.h"
#include "Report.h"
#include "Scenario.h"
#include "trace/Handle.h"
#include "trace/RingLog.h"

namespace {

constexpr char toolName[] = "mlag-config-check";
constexpr int exitUsage = 2;

struct Options {
   std::string scenario;
   bool json = false;
   bool mismatches = false;
   bool eachStep = false;
   int trace = -1;
   std::string ringlog;
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

int run(const Options & o) {
   MlagSim::Scenario scenario =
      MlagSim::loadScenario(o.scenario.empty() ? defaultScenario() : o.scenario);
   MlagSim::Pair pair(scenario);
   MlagTool::ReportOptions reportOptions{o.mismatches, colourWanted()};

   pair.start();
   if (o.eachStep) {
      std::cout << "== after start ==\n" << MlagTool::report(pair.resultJson(), reportOptions);
   }
   for (std::size_t i = 0; i < pair.stepCount(); ++i) {
      pair.applyStep(i);
      if (o.eachStep) {
         std::cout << "\n== " << scenario.steps[i].describe() << " ==\n"
                   << MlagTool::report(pair.resultJson(), reportOptions);
      }
   }

   nlohmann::json result = pair.resultJson();
   if (o.json) {
      std::cout << result.dump(2) << '\n';
   } else if (!o.eachStep) {
      std::cout << MlagTool::report(result, reportOptions);
   }
   return MlagTool::hasMismatch(result) ? 1 : 0;
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
   app.add_flag("--mismatches", o.mismatches, "Show only the rows that do not agree")
      ->excludes(json);
   app.add_flag("--each-step", o.eachStep, "Show the tables after the start and after every step")
      ->excludes(json);
   app.add_option("--trace", o.trace,
                  "Write the checker's trace lines up to LEVEL (0-9) to standard error")
      ->option_text("LEVEL")
      ->check(CLI::Range(0, 9));
   app.add_option("--ringlog", o.ringlog, "At exit, write the decoded trace ring buffer to FILE")
      ->option_text("FILE");
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
      status = run(o);
   } catch (const std::exception & e) {
      // A ScenarioError's text already names the file and the location.
      std::cout.flush();
      std::cerr << toolName << ": " << e.what() << '\n';
   }
   if (!o.ringlog.empty()) status = writeRinglog(o.ringlog, status);
   return status;
}
