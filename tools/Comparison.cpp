#include "Comparison.h"

#include <algorithm>
#include <map>
#include <tuple>

#include "SetSummary.h"

namespace MlagTool {

namespace {

using Json = nlohmann::json;

Status turned(Status s) {
   if (s == Status::onlyLocal) return Status::onlyPeer;
   if (s == Status::onlyPeer) return Status::onlyLocal;
   return s;
}

auto identity(const std::string & plugin, const Row & r) {
   return std::tie(plugin, r.parameter, r.interface);
}

bool sameValues(const Row & a, const Row & b) {
   return a.local == b.local && a.peer == b.peer && a.defaultVal == b.defaultVal;
}

std::string unsetText(const std::string & defaultVal) {
   return defaultVal.empty() ? "leaves it unset" : "leaves it unset (default " + defaultVal + ")";
}

std::string verdictReason(const Row & r, const SwitchNames & n) {
   const std::string & l = r.local;
   const std::string & p = r.peer;
   const std::string & d = r.defaultVal;
   switch (r.status) {
      case Status::agree:
         if (!l.empty() && !p.empty()) return "both have " + l;
         // An entry without values has no verdict unless a default is known.
         if (l.empty() && p.empty()) return "both leave it unset (default " + d + ")";
         return (l.empty() ? n.first : n.second) + " leaves it unset and its default " + d +
                " is " + (l.empty() ? n.second : n.first) + "'s value";
      case Status::differ:
         return n.first + (l.empty() ? " " + unsetText(d) : " has " + l) + ", " + n.second +
                (p.empty() ? " " + unsetText(d) : " has " + p);
      case Status::onlyLocal:
         return "only " + n.first + " has a value (" + l + "); " + n.second +
                " has none and no default is known";
      case Status::onlyPeer:
         break;
   }
   return "only " + n.second + " has a value (" + p + "); " + n.first +
          " has none and no default is known";
}

Json sideJson(const std::string & name, const std::string & raw, const std::string & defaultVal) {
   return {{"switch", name}, {"raw", raw}, {"effective", effective(raw, defaultVal)}};
}

Json rowJson(const ComparedValue & v, const SwitchNames & n) {
   const Row & r = v.row;
   return {{"plugin", v.plugin},
           {"scope", scopeText(r.name.scope)},
           {"parameter", r.parameter},
           {"name", r.name.name},
           {"member", r.name.member},
           {"interface", r.interface},
           {"group", r.name.group},
           {"mlagId", r.name.mlagId},
           {"default", r.defaultVal},
           {"first", sideJson(n.first, r.local, r.defaultVal)},
           {"second", sideJson(n.second, r.peer, r.defaultVal)},
           {"verdict", verdictText(r.status)},
           {"reason", reason(v, n)},
           {"provisional", !v.provisionalIn.empty()},
           {"seenBy", v.seenBy}};
}

Json setJson(const std::string & plugin, const SetSummary & s) {
   return {{"plugin", plugin},          {"name", s.name},     {"scope", scopeText(s.scope)},
           {"interface", s.interface},  {"group", s.group},   {"mlagId", s.mlagId},
           {"agree", s.agree},          {"differ", s.differ}, {"onlyOnFirst", s.onlyLocal},
           {"onlyOnSecond", s.onlyPeer}};
}

} // namespace

SwitchNames switchNames(const nlohmann::json & result) {
   const Json & switches = result.at("switches");
   return {switches.at(0).at("name").get< std::string >(),
           switches.at(1).at("name").get< std::string >()};
}

std::vector< ComparedValue > comparedValues(const nlohmann::json & result,
                                            const std::vector< CatalogEntry > & catalog) {
   const SwitchNames names = switchNames(result);
   std::vector< ComparedValue > out;
   for (PluginRows & p : resultRows(result.at("switches").at(0), catalog)) {
      for (Row & r : p.rows) {
         ComparedValue v{p.plugin, std::move(r), {names.first}, {}};
         if (v.row.provisional) v.provisionalIn = names.first;
         out.push_back(std::move(v));
      }
   }
   // The first switch's rows by identity; one identity can hold a provisional
   // and a real entry of the same interface.
   std::multimap< std::tuple< std::string, std::string, std::string >, std::size_t > firstRows;
   for (std::size_t i = 0; i < out.size(); ++i) {
      firstRows.emplace(identity(out[i].plugin, out[i].row), i);
   }
   for (PluginRows & p : resultRows(result.at("switches").at(1), catalog)) {
      for (Row & r : p.rows) {
         std::swap(r.local, r.peer);
         r.status = turned(r.status);
         ComparedValue * same = nullptr;
         auto [from, to] = firstRows.equal_range(identity(p.plugin, r));
         for (auto it = from; it != to && same == nullptr; ++it) {
            ComparedValue & v = out[it->second];
            if (v.seenBy.size() == 1 && sameValues(v.row, r)) same = &v;
         }
         if (same != nullptr) {
            same->seenBy.push_back(names.second);
            if (r.provisional) same->provisionalIn = names.second;
            continue;
         }
         ComparedValue v{p.plugin, std::move(r), {names.second}, {}};
         if (v.row.provisional) v.provisionalIn = names.second;
         out.push_back(std::move(v));
      }
   }
   std::stable_sort(out.begin(), out.end(), [](const ComparedValue & a, const ComparedValue & b) {
      return std::make_tuple(std::cref(a.plugin), !a.row.interface.empty(),
                             std::cref(a.row.parameter), std::cref(a.row.interface)) <
             std::make_tuple(std::cref(b.plugin), !b.row.interface.empty(),
                             std::cref(b.row.parameter), std::cref(b.row.interface));
   });
   return out;
}

const char * verdictText(Status status) {
   switch (status) {
      case Status::agree:
         return "agree";
      case Status::differ:
         return "differ";
      case Status::onlyLocal:
         return "onlyOnFirst";
      case Status::onlyPeer:
         break;
   }
   return "onlyOnSecond";
}

std::string reason(const ComparedValue & value, const SwitchNames & names) {
   std::string out = verdictReason(value.row, names);
   if (!value.provisionalIn.empty()) {
      out += "; " + value.provisionalIn + " has no entry of its own for " + value.row.interface +
             " (the peer value waits under the provisional key)";
   }
   return out;
}

nlohmann::json reportJson(const nlohmann::json & result,
                          const std::vector< CatalogEntry > & catalog, bool mismatchesOnly) {
   const SwitchNames names = switchNames(result);
   const std::vector< ComparedValue > values = comparedValues(result, catalog);
   Json rows = Json::array(), sets = Json::array();
   Json counts = {{"agree", 0}, {"differ", 0}, {"onlyOnFirst", 0}, {"onlyOnSecond", 0}};
   std::vector< Row > pluginRows;
   for (std::size_t i = 0; i < values.size(); ++i) {
      const ComparedValue & v = values[i];
      if (!mismatchesOnly || v.row.status != Status::agree) rows.push_back(rowJson(v, names));
      counts[verdictText(v.row.status)] = counts[verdictText(v.row.status)].get< int >() + 1;
      pluginRows.push_back(v.row);
      if (i + 1 == values.size() || values[i + 1].plugin != v.plugin) {
         for (const SetSummary & s : setSummaries(pluginRows)) {
            if (!mismatchesOnly || s.hasMismatch()) sets.push_back(setJson(v.plugin, s));
         }
         pluginRows.clear();
      }
   }
   counts["total"] = values.size();
   const bool consistent =
      counts["differ"] == 0 && counts["onlyOnFirst"] == 0 && counts["onlyOnSecond"] == 0;
   return {{"consistent", consistent},
           {"counts", std::move(counts)},
           {"rows", std::move(rows)},
           {"sets", std::move(sets)},
           {"switches", {names.first, names.second}}};
}

} // namespace MlagTool
