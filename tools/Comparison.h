// Every compared value of a pair, once: each switch's results directory
// compares the same values from its own side, so the rows of the second
// switch are turned to the first switch's orientation and merged with the
// first switch's rows when they say the same. A row that only one switch
// holds, or that the two hold with different values, stays separate, so
// that every entry of either directory is accounted for (and the verdicts
// here always agree with the exit status).
//
//   std::vector< ComparedValue > values = comparedValues(pair.resultJson(), catalog(scenario));
//   std::cout << reportJson(pair.resultJson(), catalog(scenario)).dump(2);
//
// Plain values copied out of the result JSON.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Catalog.h"
#include "ResultRows.h"

namespace MlagTool {

struct SwitchNames {
   std::string first, second;
};

struct ComparedValue {
   std::string plugin;
   Row row;                           // local: the first switch's value; peer: the second's
   std::vector< std::string > seenBy; // the switches whose results hold the entry
   std::string provisionalIn;         // the switch holding it under the provisional key, if any
};

SwitchNames switchNames(const nlohmann::json & result);

// Plugins in byte order; per plugin global entries first, then by parameter
// and interface.
std::vector< ComparedValue > comparedValues(const nlohmann::json & result,
                                            const std::vector< CatalogEntry > & catalog);

// "agree", "differ", "onlyOnFirst", "onlyOnSecond"
const char * verdictText(Status status);

// One line in plain words on why the verdict is what it is.
std::string reason(const ComparedValue & value, const SwitchNames & names);

// {"consistent", "counts", "rows", "sets", "switches"}; documented in
// docs/report.md. `mismatchesOnly` leaves out the rows and sets that agree;
// the counts always cover every row.
nlohmann::json reportJson(const nlohmann::json & result,
                          const std::vector< CatalogEntry > & catalog, bool mismatchesOnly = false);

} // namespace MlagTool
