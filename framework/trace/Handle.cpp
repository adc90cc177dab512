#include "trace/Handle.h"

#include <cstdlib>
#include <cstring>
#include <string_view>
#include <unordered_map>

#include "kiv/Assert.h"

namespace Kiv::Trace {

namespace {

constexpr std::uint16_t allLevels = (1u << (Handle::maxLevel + 1)) - 1;

std::uint16_t levelRange(int from, int to) {
   return static_cast< std::uint16_t >(allLevels & ~((1u << from) - 1) & ((2u << to) - 1));
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The levels of one "<max>" or "<from>-<to>" text; nothing when malformed.
std::uint16_t parseLevels(std::string_view text) {
   if (text.size() == 1 && isDigit(text[0])) return levelRange(0, text[0] - '0');
   if (text.size() == 3 && isDigit(text[0]) && text[1] == '-' && isDigit(text[2]) &&
       text[0] <= text[2]) {
      return levelRange(text[0] - '0', text[2] - '0');
   }
   return 0;
}

std::string_view trimmed(std::string_view text) {
   while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
   while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
   return text;
}

std::uint16_t levelsFromEnvironment(std::string_view name) {
   const char * value = std::getenv("KIV_TRACE");
   if (!value) return 0;
   std::uint16_t levels = 0;
   std::string_view rest(value);
   while (!rest.empty()) {
      std::size_t comma = rest.find(',');
      std::string_view entry = trimmed(rest.substr(0, comma));
      rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
      // The last '/' splits, so a handle name may itself contain one.
      std::size_t slash = entry.rfind('/');
      if (slash == std::string_view::npos || slash == 0) continue;
      std::string_view entryName = entry.substr(0, slash);
      if (entryName == "*" || entryName == name) levels |= parseLevels(entry.substr(slash + 1));
   }
   return levels;
}

} // namespace

void Handle::levelIs(int level, bool enabled) {
   KIV_ASSERT(level >= 0 && static_cast< unsigned >(level) <= maxLevel);
   std::uint16_t bit = static_cast< std::uint16_t >(1u << level);
   levels_ = enabled ? (levels_ | bit) : (levels_ & ~bit);
}

void Handle::levelsUpToIs(int maxLevelOn) {
   KIV_ASSERT(maxLevelOn >= -1 && maxLevelOn <= static_cast< int >(maxLevel));
   levels_ = maxLevelOn < 0 ? 0 : levelRange(0, maxLevelOn);
}

Handle & handle(const char * name) {
   KIV_ASSERT(name);
   // Never destroyed: trace statements may still run while statics are torn down.
   static auto * registry = new std::unordered_map< std::string, Handle >();
   // Nearly every statement names the same handle; remembering the last one
   // spares the hash lookup on the path of a disabled trace.
   static Handle * last = nullptr;
   if (last && std::strcmp(last->name().c_str(), name) == 0) return *last;
   auto found = registry->find(name);
   if (found == registry->end()) {
      found = registry->try_emplace(name, std::string(name), levelsFromEnvironment(name)).first;
   }
   last = &found->second;
   return *last;
}

} // namespace Kiv::Trace
