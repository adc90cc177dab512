// The rows that mlag-config-check shows for one switch's results, and the
// mismatch rule that decides each row's status. Every view (tables, set
// lines, summary lines, the JSON report, the change view) and the exit
// status take their rows from resultRows, which alone calls verdict and
// alone decides the default that stands for an empty value, so no two of
// them can tell a different story about one entry.
//
//   nlohmann::json result = pair.resultJson();
//   for (const PluginRows & p : resultRows(result["switches"][0], cat)) ...
//   bool bad = countRows(resultRows(result["switches"][1], cat)).mismatches() > 0;
//
// Plain values built from the result JSON; nothing refers back to it.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Catalog.h"
#include "ParamName.h"

namespace MlagTool {

// onlyLocal: only the switch whose results these are has a value;
// onlyPeer: only its peer has one.
enum class Status { agree, differ, onlyLocal, onlyPeer };

// The mismatch rule. An empty value stands for the default; then equal
// values agree, a value on one side only is "only on" that side, and
// anything else differs. Nothing (no verdict) when neither side has a value
// and no default is known: such an entry compares nothing and is not a
// parameter. Symmetric: swapping the sides swaps onlyLocal and onlyPeer.
std::optional< Status > verdict(const std::string & local, const std::string & peer,
                                const std::string & defaultVal);

// The default that stands for an empty value of an entry: the one the entry
// records, else the descriptor's (a global entry records none, and a
// provisional one waits for the local side, which alone records defaults),
// in the form values are compared in, the descriptor's value overrides
// applied. `descriptor` may be null (the catalog does not know the name).
std::string appliedDefault(const std::string & recorded, const CatalogEntry * descriptor);

struct Row {
   std::string parameter;
   std::string interface; // empty for a global parameter
   std::string local;
   std::string peer;
   Status status;
   std::string defaultVal;   // appliedDefault of the entry: what an empty value stands for
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
// local value. An entry without a verdict is left out. Plugins come in byte
// order of name. The catalog explains the parameter names and gives the
// descriptors' defaults; without it every name is its own display name and
// only recorded defaults apply.
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
