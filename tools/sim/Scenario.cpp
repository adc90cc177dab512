#include "Scenario.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace MlagSim {

namespace {

// Strings in the framework's quoted form, everything else as JSON.
std::string valueText(const nlohmann::json & value) {
   if (!value.is_string()) return value.dump();
   std::string out = "'";
   for (char c : value.get< std::string >()) {
      if (c == '\'' || c == '\\') out += '\\';
      out += c;
   }
   return out + "'";
}

} // namespace

std::string Step::describe() const {
   std::string out = switchName + (isDelete ? ": delete " : ": set ");
   if (plugin.empty()) {
      out += "mlag " + mlagInterface;
   } else {
      out += plugin + " ";
      for (std::size_t i = 0; i < path.size(); ++i) out += (i ? "/" : "") + path[i];
   }
   if (!isDelete) out += " = " + valueText(value);
   return out;
}

Scenario loadScenario(const std::string & path) {
   std::unique_ptr< std::FILE, int (*)(std::FILE *) > file(std::fopen(path.c_str(), "rb"),
                                                           &std::fclose);
   if (!file) throw ScenarioError(path + ": cannot open: " + std::strerror(errno));
   std::string text;
   char buffer[65536];
   std::size_t n;
   while ((n = std::fread(buffer, 1, sizeof buffer, file.get())) > 0) text.append(buffer, n);
   if (std::ferror(file.get()))
      throw ScenarioError(path + ": cannot read: " + std::strerror(errno));
   return parseScenario(text, path);
}

} // namespace MlagSim
