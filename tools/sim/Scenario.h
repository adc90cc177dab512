// A scenario of the MLAG pair simulator: the plugins' descriptors, the two
// switches' MLAG and plugin configurations, and the steps that change them.
// parseScenario validates the whole file before anything runs, so that a
// Pair built from the result never meets bad input.
//
//   MlagSim::Scenario s = MlagSim::loadScenario("lacp.json");   // or ScenarioError
//   for (const MlagSim::Step & step : s.steps) std::cout << step.describe() << "\n";
//
// Plain values; a Scenario owns copies of everything it holds.
#pragma once

#include <array>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace MlagSim {

// Bad input. what() is "<file>: <location>: <message>": the location is a
// JSON pointer (/switches/1/config/lacp/vlan/20), or "line L, column C" for
// a JSON syntax error; the message says what was expected.
struct ScenarioError : std::runtime_error {
   using std::runtime_error::runtime_error;
};

struct Step {
   std::string switchName;
   std::string plugin;              // empty for an MLAG step
   std::vector< std::string > path; // plugin steps: attribute names and collection keys
   std::string mlagInterface;       // MLAG steps
   bool isDelete = false;
   nlohmann::json value; // the `set` value (null for a delete)

   // One line for people: "A: set lacp intfConfig/Port-Channel10/mode = 'passive'".
   std::string describe() const;
};

struct SwitchSpec {
   std::string name;
   std::map< std::string, std::string > mlag; // interface name -> MLAG id text
   nlohmann::json config;                     // plugin name -> entity (object)
};

struct Scenario {
   std::string fileName, description;
   nlohmann::json plugins; // plugin name -> descriptor (object; iterates in byte order)
   std::array< SwitchSpec, 2 > switches;
   std::vector< Step > steps;
};

// Raises ScenarioError naming `fileName` for any bad input, names the
// checker could not tell apart and input past the reader's limits included
// (JsonTextCheck.h); the message is always one line.
Scenario parseScenario(std::string_view text, const std::string & fileName);
// An unreadable file, or one of more than 64 MiB, raises ScenarioError too.
Scenario loadScenario(const std::string & path);
// The file's text, read within the size limit (64 MiB; an endless input stops
// one byte past it); raises ScenarioError naming `path` when it cannot.
std::string readInputFile(const std::string & path);

} // namespace MlagSim
