#include "SwitchFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "DuplicateMember.h"

namespace MlagSim {

namespace {

using Json = nlohmann::json;

[[noreturn]] void fail(const std::string & fileName, const std::string & location,
                       const std::string & message) {
   throw ScenarioError(fileName + ": " + location + ": " + message);
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
   Json doc = Json::parse(text, nullptr, false);
   if (doc.is_discarded() || findDuplicateMember(text)) {
      // The scenario loader reads the text first and names the line and
      // column of a syntax error (or the duplicate member) in this very text.
      parseScenario(text, fileName);
      fail(fileName, "top level", "not a JSON document");
   }
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

std::string readTextFile(const std::string & path) {
   std::unique_ptr< std::FILE, int (*)(std::FILE *) > file(std::fopen(path.c_str(), "rb"),
                                                           &std::fclose);
   if (!file) throw ScenarioError(path + ": cannot open: " + std::strerror(errno));
   std::string text;
   char buffer[65536];
   std::size_t n;
   while ((n = std::fread(buffer, 1, sizeof buffer, file.get())) > 0) text.append(buffer, n);
   if (std::ferror(file.get())) {
      throw ScenarioError(path + ": cannot read: " + std::strerror(errno));
   }
   return text;
}

SwitchFile loadSwitchFile(const std::string & path) {
   return parseSwitchFile(readTextFile(path), path);
}

} // namespace MlagSim
