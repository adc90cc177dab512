// The rows that mlag-config-check shows for one switch's results, and the
// mismatch rule that decides each row's status. Both the table and the exit
// status use compareValues, so what the table marks is exactly what fails.
//
//   nlohmann::json result = pair.resultJson();
//   for (const PluginRows & p : resultRows(result["switches"][0])) ...
//   bool bad = countRows(resultRows(result["switches"][1])).mismatches() > 0;
//
// Plain values built from the result JSON; nothing refers back to it.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Catalog.h"
#include "ParamName.h"

namespace MlagTool {

// onlyLocal: only the switch whose results these are has a value;
// onlyPeer: only its peer has one.
enum class Status { agree, differ, onlyLocal, onlyPeer };

// The mismatch rule. An empty value stands for the entry's default (global
// entries have none: pass the empty text); then equal values agree, a value
// on one side only is "only on" that side, and anything else differs.
Status compareValues(const std::string & local, const std::string & peer,
                     const std::string & defaultVal);

struct Row {
   std::string parameter;
   std::string interface; // empty for a global parameter
   std::string local;
   std::string peer;
   Status status;
   std::string defaultVal;   // the entry's recorded default; global entries have none
   bool provisional = false; // the peer value waits under "Peer" + interface
   ParamName name;           // what the parameter name is made of
};

// The value as the rule reads it: an empty value stands for the default.
inline const std::string & effective(const std::string & value, const std::string & defaultVal) {
   return value.empty() ? defaultVal : value;
}

struct PluginRows {
   std::string plugin;
   std::vector< Row > rows; // global rows by parameter, then interface rows by parameter, interface
};

// `switchResult` is one member of the result JSON's "switches". A provisional
// entry ("Peer" + interface name) becomes a row for that interface with no
// local value. Plugins come in byte order of name. The catalog explains the
// parameter names; without it every name is its own display name.
std::vector< PluginRows > resultRows(const nlohmann::json & switchResult,
                                     const std::vector< CatalogEntry > & catalog = {});

struct Counts {
   std::size_t agree = 0;
   std::size_t differ = 0;
   std::size_t onlyOne = 0;

   std::size_t total() const noexcept { return agree + differ + onlyOne; }
   std::size_t mismatches() const noexcept { return differ + onlyOne; }
   bool operator==(const Counts &) const = default;
};

Counts countRows(const std::vector< PluginRows > & plugins);

// "12 parameters: 9 agree, 2 differ, 1 only on one switch"
std::string summaryLine(const Counts & counts);

} // namespace MlagTool
