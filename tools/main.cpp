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
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include "Catalog.h"
#include "ScenarioRun.h"
#include "ShowFrom.h"
#include "sim/Scenario.h"
#include "trace/Handle.h"
#include "trace/RingLog.h"

namespace {

constexpr char toolName[] = "mlag-config-check";
constexpr int exitUsage = 2;

struct Options {
   std::string scenario;
   MlagTool::RunOptions run;
   std::string reportFormat = "table";
   int trace = -1;
   std::string ringlog;
};

struct CatalogOptions {
   std::string scenario;
   bool json = false;
};

// A usage error or bad input: one line, named after the tool.
int usageError(const std::string & message) {
   std::cout.flush();
   std::cerr << toolName << ": " << message << '\n';
   return exitUsage;
}

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

// Empty only when no scenario was given (an empty path given is refused
// before this).
std::string scenarioPath(const std::string & given) {
   return given.empty() ? defaultScenario() : given;
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

struct Close {
   void operator()(std::FILE * f) const { std::fclose(f); }
};
using File = std::unique_ptr< std::FILE, Close >;

// Written at exit. A failure here is reported but leaves the run's status
// alone: the tables are out already, and their verdict stands.
void writeRinglog(File file, const std::string & path) {
   const std::vector< std::string > lines = Kiv::Trace::ringlog().decode();
   std::FILE * f = file.release();
   errno = 0;
   for (const std::string & line : lines) {
      std::fputs(line.c_str(), f);
      std::fputc('\n', f);
   }
   // A full disk shows at the latest when the buffer is flushed.
   bool written = std::fflush(f) == 0 && std::ferror(f) == 0;
   int error = errno;
   if (std::fclose(f) != 0) {
      written = false;
      if (error == 0) error = errno;
   }
   if (written) return;
   std::cout.flush();
   std::cerr << toolName << ": cannot write the ring log to " << path << ": "
             << (error != 0 ? std::strerror(error) : "write error") << '\n';
}

// CLI11 words its own messages; they become the tool's one line.
std::string oneLine(std::string text) {
   while (!text.empty() && text.back() == '\n') text.pop_back();
   for (char & c : text) {
      if (c == '\n') c = ' ';
   }
   return text;
}

} // namespace

int main(int argc, char ** argv) {
   CLI::App app{
      "Simulates an MLAG pair from a scenario file, runs the configuration-consistency\n"
      "checker on both switches and shows, per plugin, where the switches agree.\n"
      "Exit status: 0 all agree, 1 at least one mismatch, 2 usage error or bad input.",
      toolName};
   Options o;
   // The main command's own options; none of them applies to a subcommand.
   std::vector< CLI::Option * > own;
   CLI::Option * scenarioOption =
      app.add_option("SCENARIO", o.scenario,
                     "Scenario file (JSON); default: the shipped examples/default.json")
         ->type_name("");
   own.push_back(scenarioOption);
   CLI::Option * json =
      app.add_flag("--json", o.run.json, "Print the result JSON of both switches and nothing else");
   CLI::Option * reportFormat =
      app.add_option("--report", o.reportFormat,
                     "table (default): tables for people; json: every compared value with its "
                     "verdict and reason, and nothing else")
         ->option_text("FORMAT")
         ->check(CLI::IsMember({"table", "json"}))
         ->excludes(json);
   CLI::Option * mismatches =
      app.add_flag("--mismatches", o.run.mismatches,
                   "Show only the rows that do not agree (with --changes: the changed rows "
                   "that do not agree)")
         ->excludes(json);
   CLI::Option * summary =
      app.add_flag("--summary", o.run.summary,
                   "Show each collection as one line per scope instead of one row per member")
         ->excludes(json);
   CLI::Option * eachStep = app.add_flag("--each-step", o.run.eachStep,
                                         "Show the tables after the start and after every step")
                               ->excludes(json);
   CLI::Option * changes =
      app.add_flag("--changes", o.run.changes,
                   "After every step, show only the rows that the step changed (new, changed, "
                   "cleared)")
         ->excludes(json)
         ->excludes(eachStep);
   // The JSON report is the whole output, like --json; it has no set lines
   // to summarise.
   reportFormat->excludes(eachStep)->excludes(changes)->excludes(summary);
   CLI::Option * trace =
      app.add_option("--trace", o.trace,
                     "Write the checker's trace lines up to LEVEL (0-9) to standard error")
         ->option_text("LEVEL")
         ->check(CLI::Range(0, 9));
   CLI::Option * ringlog =
      app.add_option("--ringlog", o.ringlog, "At exit, write the decoded trace ring buffer to FILE")
         ->option_text("FILE");
   own.insert(own.end(),
              {json, reportFormat, mismatches, summary, eachStep, changes, trace, ringlog});

   CatalogOptions c;
   CLI::App * catalog = app.add_subcommand(
      "catalog", "List every parameter each plugin checks, from the scenario's descriptors");
   CLI::Option * catalogScenario =
      catalog
         ->add_option("SCENARIO", c.scenario,
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
      if (e.get_exit_code() == 0) return app.exit(e);
      return usageError(oneLine(e.what()));
   }

   const CLI::App * subcommand = catalog->parsed()       ? catalog
                                 : showCommand->parsed() ? showCommand
                                                         : nullptr;
   if (subcommand != nullptr) {
      // What comes before the subcommand belongs to the main command.
      for (const CLI::Option * option : own) {
         if (option->count() == 0) continue;
         if (option == scenarioOption && subcommand == catalog) {
            return usageError("the scenario " + o.scenario + " comes before catalog; write: " +
                              toolName + " catalog " + o.scenario);
         }
         const std::string what =
            option == scenarioOption ? "the scenario " + o.scenario : option->get_name();
         return usageError(what + " does not apply to " + subcommand->get_name());
      }
   }
   for (const CLI::Option * path : {scenarioOption, catalogScenario, ringlog}) {
      if (path->count() > 0 && path->as< std::string >().empty()) {
         return usageError(std::string(path == ringlog ? "--ringlog" : "the scenario") +
                           " path is empty");
      }
   }
   o.run.reportJson = o.reportFormat == "json";
   o.run.colour = colourWanted();

   // Opened before anything runs, so that a path that cannot be written is
   // a usage error up front.
   File ringlogFile;
   if (!o.ringlog.empty()) {
      ringlogFile.reset(std::fopen(o.ringlog.c_str(), "w"));
      if (!ringlogFile) {
         return usageError("cannot write the ring log to " + o.ringlog + ": " +
                           std::strerror(errno));
      }
   }

   if (o.trace >= 0) Kiv::Trace::handle("MlagConfigCheck").levelsUpToIs(o.trace);
   int status = exitUsage;
   try {
      show.colour = colourWanted();
      status = catalog->parsed() ? runCatalog(c)
               : showCommand->parsed()
                  ? MlagTool::showFrom(show, std::cout)
                  : MlagTool::runScenario(MlagSim::loadScenario(scenarioPath(o.scenario)), o.run,
                                          std::cout);
   } catch (const std::exception & e) {
      // A ScenarioError's text already names the file and the location.
      status = usageError(e.what());
   }
   if (ringlogFile) writeRinglog(std::move(ringlogFile), o.ringlog);
   return status;
}
