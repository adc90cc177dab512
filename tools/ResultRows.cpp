#include "ResultRows.h"

#include <algorithm>
#include <string_view>

namespace MlagTool {

namespace {

// The key under which a peer value waits until the local side inserts the
// same interface. No interface name starts with "Peer".
constexpr std::string_view provisionalPrefix = "Peer";

std::string text(const nlohmann::json & entry, const char * member) {
   auto it = entry.find(member);
   return it != entry.end() && it->is_string() ? it->get< std::string >() : std::string();
}

} // namespace

std::optional< Status > verdict(const std::string & local, const std::string & peer,
                                const std::string & defaultVal) {
   const std::string & l = effective(local, defaultVal);
   const std::string & p = effective(peer, defaultVal);
   if (l.empty() && p.empty()) return std::nullopt;
   if (l == p) return Status::agree;
   if (l.empty()) return Status::onlyPeer;
   if (p.empty()) return Status::onlyLocal;
   return Status::differ;
}

std::string appliedDefault(const std::string & recorded, const CatalogEntry * descriptor) {
   const std::string & text =
      recorded.empty() && descriptor != nullptr ? descriptor->defaultVal : recorded;
   // No default is no text to replace.
   if (descriptor == nullptr || text.empty()) return text;
   auto replaced = descriptor->overrides.find(text);
   return replaced == descriptor->overrides.end() ? text : replaced->second;
}

std::vector< PluginRows > resultRows(const nlohmann::json & switchResult,
                                     const std::vector< CatalogEntry > & catalog) {
   std::vector< PluginRows > out;
   for (const auto & [plugin, tables] : switchResult.at("plugins").items()) {
      const ParamNameReader names(catalog, plugin);
      PluginRows p{plugin, {}};
      for (const auto & [param, entry] : tables.at("global").items()) {
         std::string local = text(entry, "local"), peer = text(entry, "peer");
         ParamName name = names.read(param, text(entry, "groupId"), false);
         std::string defaultVal = appliedDefault("", names.describedBy(name));
         const std::optional< Status > status = verdict(local, peer, defaultVal);
         if (!status) continue;
         p.rows.push_back({param, "", std::move(local), std::move(peer), *status,
                           std::move(defaultVal), false, std::move(name)});
      }
      std::sort(p.rows.begin(), p.rows.end(),
                [](const Row & a, const Row & b) { return a.parameter < b.parameter; });

      auto firstIntfRow = static_cast< std::ptrdiff_t >(p.rows.size());
      for (const auto & [param, entries] : tables.at("interface").items()) {
         for (const auto & [key, entry] : entries.items()) {
            std::string intf = key;
            const bool provisional = intf.starts_with(provisionalPrefix);
            if (provisional) intf.erase(0, provisionalPrefix.size());
            std::string local = text(entry, "local"), peer = text(entry, "peer");
            ParamName name = names.read(param, "", true);
            std::string defaultVal =
               appliedDefault(text(entry, "default"), names.describedBy(name));
            const std::optional< Status > status = verdict(local, peer, defaultVal);
            if (!status) continue;
            p.rows.push_back({param, std::move(intf), std::move(local), std::move(peer), *status,
                              std::move(defaultVal), provisional, std::move(name)});
         }
      }
      // Stable: a provisional entry next to a real one for the same interface
      // keeps the key order of the results.
      std::stable_sort(p.rows.begin() + firstIntfRow, p.rows.end(),
                       [](const Row & a, const Row & b) {
                          if (a.parameter != b.parameter) return a.parameter < b.parameter;
                          return a.interface < b.interface;
                       });
      out.push_back(std::move(p));
   }
   return out;
}

Counts countRows(const std::vector< PluginRows > & plugins) {
   Counts c;
   for (const PluginRows & p : plugins) {
      for (const Row & r : p.rows) {
         switch (r.status) {
            case Status::agree:
               ++c.agree;
               break;
            case Status::differ:
               ++c.differ;
               break;
            case Status::onlyLocal:
            case Status::onlyPeer:
               ++c.onlyOne;
               break;
         }
      }
   }
   return c;
}

std::string summaryLine(const Counts & c) {
   return std::to_string(c.total()) + (c.total() == 1 ? " parameter: " : " parameters: ") +
          std::to_string(c.agree) + " agree, " + std::to_string(c.differ) + " differ, " +
          std::to_string(c.onlyOne) + " only on one switch";
}

} // namespace MlagTool
