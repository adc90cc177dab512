// Reads a parameter name of the results back into what it is made of, with
// the plugin's catalog: the display name, the member key of a collection
// member, and the scope suffix the checker appended (" mlag10" for an MLAG
// id, " vlan10" for a group).
//
//   ParamNameReader reader(catalog(scenario), "portChannel");
//   ParamName n = reader.read("30 allowed vlan mlag10", "", true);
//   // n.scope == Scope::mlagId, n.name == "allowed vlan", n.member == "30", n.mlagId == "10"
//
// A name the catalog does not explain keeps itself as its display name
// (global, or interface for the interface table); the reader never fails.
// The reader refers to the catalog it was made from, which must outlive it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "Catalog.h"

namespace MlagTool {

enum class Scope { global, group, interface, mlagId };

// "global", "group", "interface", "mlagId": the report's words.
const char * scopeText(Scope scope);

struct ParamName {
   Scope scope = Scope::global;
   std::string name;   // the display name
   std::string member; // the member key of a collection member; empty for a value
   std::string group;  // Scope::group
   std::string mlagId; // Scope::mlagId
};

class ParamNameReader {
 public:
   ParamNameReader() = default;
   ParamNameReader(const std::vector< CatalogEntry > & catalog, const std::string & plugin);

   // `groupId` is the global entry's group; `interfaceTable` tells an
   // interface entry from a global one.
   ParamName read(const std::string & parameter, const std::string & groupId,
                  bool interfaceTable) const;

   // The catalog entry behind a name that read() gave, or null when the
   // catalog does not know it. When descriptors at several levels use one
   // display name, the one whose entries land where `name` was found wins:
   // the plugin's own for a global name, a nested one for a group or an
   // interface, an MLAG-only one for an MLAG id.
   const CatalogEntry * describedBy(const ParamName & name) const;

 private:
   // Fills name and member; false when the catalog does not know `base`.
   bool resolve(const std::string & base, bool mlagOnly, ParamName & out) const;

   using Names = std::multimap< std::string, const CatalogEntry * >; // display name -> entries
   Names values_, collections_;                                      // every descriptor's
   Names mlagValues_, mlagCollections_;                              // of MLAG-only descriptors
};

} // namespace MlagTool
