#include "Scenario.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <sys/stat.h>

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

std::string readInputFile(const std::string & path) {
   // At most one byte past the limit is read, so that an endless or huge
   // input (/dev/zero, a FIFO) stops at once.
   constexpr std::size_t limit = 64 * 1024 * 1024;
   const char * const tooLarge = "larger than the limit of 67108864 bytes (64 MiB)";
   const auto refuse = [&path](const std::string & what) {
      return ScenarioError(oneLine(path + ": " + what));
   };
   std::unique_ptr< std::FILE, int (*)(std::FILE *) > file(std::fopen(path.c_str(), "rb"),
                                                           &std::fclose);
   if (!file) throw refuse(std::string("cannot open: ") + std::strerror(errno));
   try {
      // A regular file says its size: one too large is refused unread.
      struct stat status {};
      if (::fstat(::fileno(file.get()), &status) == 0 && S_ISREG(status.st_mode) &&
          std::uintmax_t(status.st_size) > limit) {
         throw refuse(tooLarge);
      }
      std::string text;
      std::size_t n = 0;
      do {
         const std::size_t had = text.size();
         text.resize(std::min(limit + 1, std::max< std::size_t >(2 * had, 65536)));
         n = std::fread(text.data() + had, 1, text.size() - had, file.get());
         text.resize(had + n);
      } while (n > 0 && text.size() <= limit);
      if (std::ferror(file.get()))
         throw refuse(std::string("cannot read: ") + std::strerror(errno));
      if (text.size() > limit) throw refuse(tooLarge);
      return text;
   } catch (const std::bad_alloc &) {
      throw refuse("out of memory while reading");
   }
}

Scenario loadScenario(const std::string & path) { return parseScenario(readInputFile(path), path); }

} // namespace MlagSim
