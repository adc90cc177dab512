#include "SwitchFile.h"

#include <optional>

#include "JsonTextCheck.h"
#include "OneLine.h"

namespace MlagSim {

namespace {

using Json = nlohmann::json;

[[noreturn]] void fail(const std::string & fileName, const std::string & location,
                       const std::string & message) {
   throw ScenarioError(oneLine(fileName + ": " + location + ": " + message));
}

// The scenario loader reports a place in the two-switch document it was
// given; the switch stands at /switches/0 there and at /switch in the file.
[[noreturn]] void rethrowForSwitchFile(const ScenarioError & e, const std::string & fileName) {
   std::string what = e.what();
   const std::string inScenario = fileName + ": /switches/0";
   if (what.compare(0, inScenario.size(), inScenario) == 0) {
      what = fileName + ": /switch" + what.substr(inScenario.size());
   }
   throw ScenarioError(what);
}

} // namespace

SwitchFile parseSwitchFile(std::string_view text, const std::string & fileName) {
   // Limits, syntax and members named twice first, before any tree is built.
   if (const std::optional< JsonTextProblem > problem = checkJsonText(text)) {
      fail(fileName, problem->location, problem->message);
   }
   Json doc = Json::parse(text, nullptr, false);
   if (doc.is_discarded()) fail(fileName, "top level", "not a JSON document");
   if (!doc.is_object()) fail(fileName, "top level", "expected an object");
   for (const auto & [name, unused] : doc.items()) {
      if (name != "description" && name != "plugins" && name != "switch") {
         fail(fileName, (Json::json_pointer() / name).to_string(), "unknown member '" + name + "'");
      }
   }
   if (!doc.contains("switch")) fail(fileName, "top level", "missing member 'switch'");

   // The loader's checks run on a scenario whose second switch is empty and
   // named apart from the first.
   Json & sw = doc["switch"];
   const std::string peerName = sw.is_object() && sw.contains("name") && sw["name"].is_string()
                                   ? sw["name"].get< std::string >() + "-peer"
                                   : "peer";
   Json scenario = Json::object();
   if (doc.contains("description")) scenario["description"] = doc["description"];
   if (doc.contains("plugins")) scenario["plugins"] = doc["plugins"];
   scenario["switches"] = Json::array({std::move(sw), {{"name", peerName}}});
   Scenario parsed;
   try {
      parsed = parseScenario(scenario.dump(), fileName);
   } catch (const ScenarioError & e) {
      rethrowForSwitchFile(e, fileName);
   }
   return {fileName, std::move(parsed.description), std::move(parsed.plugins),
           std::move(parsed.switches[0])};
}

SwitchFile loadSwitchFile(const std::string & path) {
   return parseSwitchFile(readInputFile(path), path);
}

} // namespace MlagSim
