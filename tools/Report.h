// The people's view of a pair's result JSON: per plugin one table of the
// first switch's results (its values in the first value column, its peer's in
// the second, the columns headed by the switch names; an empty value shows
// its default when one is known), the plugin's collections one line per
// collection and scope, then a summary line (and a second one for the
// second switch's own results when they count differently).
// hasMismatch looks at both switches' results and decides the exit status;
// it reads them with the same catalog, so it fails exactly when a summary
// line counts a mismatch. Names and values are written escaped (Table.h).
//
//   nlohmann::json result = pair.resultJson();
//   std::cout << report(result, {.mismatchesOnly = false, .colour = isatty(1)},
//                       catalog(scenario));
//   return hasMismatch(result, catalog(scenario)) ? 1 : 0;
//
// Stateless functions over the JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "ResultRows.h"

namespace MlagTool {

struct ReportOptions {
   bool mismatchesOnly = false; // leave out the rows (and set lines) that agree
   bool colour = false;         // red for differ, yellow for only on one switch
   bool summary = false;        // collection members only as their set lines
};

// An empty value: "unset (default 1500)" when a default is known, else "-".
std::string shownValue(const std::string & value, const std::string & defaultVal);

// "agree", "differ", "only on <name>"
std::string statusText(Status status, const std::string & localName, const std::string & peerName);

// `catalog` explains the parameter names (collection members, scopes); the
// set lines need it.
std::string report(const nlohmann::json & result, const ReportOptions & options,
                   const std::vector< CatalogEntry > & catalog = {});

bool hasMismatch(const nlohmann::json & result, const std::vector< CatalogEntry > & catalog);

} // namespace MlagTool
