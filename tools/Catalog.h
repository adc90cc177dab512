// The catalog: every parameter each plugin of a scenario checks, read from
// its descriptors (nested descriptors included): the display name the
// results use, the attribute behind it, whether it is one value or a
// collection of members, where its entries are filed, its default and the
// value texts replaced before comparison.
//
//   std::vector< CatalogEntry > entries = catalog(scenario);
//   std::cout << catalogTable(entries);           // or catalogJson(entries).dump(2)
//
// Plain values copied out of the scenario.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sim/Scenario.h"

namespace MlagTool {

struct CatalogEntry {
   std::string plugin;
   std::string name;      // the display name, as it starts the parameter names
   std::string attribute; // the configuration attribute it reads
   bool collection = false;
   // The nested collections leading to the entity that holds the attribute
   // ("intfConfig"; "a/b" for deeper ones); empty for the plugin's own.
   std::string model;
   // Where the entries go: "global", "MLAG id", "interface", "group", or two
   // of them joined by " or " when the model's keys do not decide it.
   std::string scope;
   std::string defaultVal;
   bool absenceImpliesDefault = false;
   std::map< std::string, std::string > overrides; // value text -> text compared
   bool mlagInterfacesOnly = false;
};

// Plugins in byte order of name; within a descriptor, scalars then
// collections in byte order of attribute, then its nested descriptors.
// Attributes whose display name is empty are not checked and not listed.
std::vector< CatalogEntry > catalog(const MlagSim::Scenario & scenario);

std::string catalogTable(const std::vector< CatalogEntry > & entries);

// {"plugins": {name: [entry, ...]}}, keys sorted.
nlohmann::json catalogJson(const std::vector< CatalogEntry > & entries);

} // namespace MlagTool
