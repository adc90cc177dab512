#include "Scenario.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "OneLine.h"

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
   // At most one byte past the limit is read, so that an endless or huge
   // input (/dev/zero, a FIFO) stops at once.
   constexpr std::size_t limit = 64 * 1024 * 1024;
   const auto refuse = [&path](const std::string & what) {
      return ScenarioError(oneLine(path + ": " + what));
   };
   std::unique_ptr< std::FILE, int (*)(std::FILE *) > file(std::fopen(path.c_str(), "rb"),
                                                           &std::fclose);
   if (!file) throw refuse(std::string("cannot open: ") + std::strerror(errno));
   try {
      std::string text;
      char buffer[65536];
      std::size_t n;
      while (text.size() <= limit &&
             (n = std::fread(buffer, 1, std::min(sizeof buffer, limit + 1 - text.size()),
                             file.get())) > 0) {
         text.append(buffer, n);
      }
      if (std::ferror(file.get())) throw refuse(std::string("cannot read: ") + std::strerror(errno));
      if (text.size() > limit) throw refuse("larger than the limit of 67108864 bytes (64 MiB)");
      return parseScenario(text, path);
   } catch (const std::bad_alloc &) {
      throw refuse("out of memory while reading");
   }
}

} // namespace MlagSim
