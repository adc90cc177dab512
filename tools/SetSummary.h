// One line per value collection and scope: the members of a collection are
// filed as separate parameters ("30 allowed vlan mlag10"), so a list that
// disagrees shows as many rows; the summary puts them back together.
//
//   for (const SetSummary & s : setSummaries(plugin.rows))
//      std::cout << s.line("leaf1", "leaf2") << "\n";
//   // allowed vlan on Port-Channel10 (mlag10): 2 agree; only on leaf1: 30
//
// Plain values; member keys in natural order (10 before 9 only as text:
// digits compare as numbers).
#pragma once

#include <string>
#include <vector>

#include "ResultRows.h"

namespace MlagTool {

struct SetSummary {
   std::string name; // the collection's display name
   Scope scope = Scope::global;
   std::string interface, group, mlagId;
   std::vector< std::string > agree;
   std::vector< std::string > differ; // "60 (allowed vs denied)"
   std::vector< std::string > onlyLocal, onlyPeer;

   bool hasMismatch() const noexcept {
      return !differ.empty() || !onlyLocal.empty() || !onlyPeer.empty();
   }
   std::string line(const std::string & localName, const std::string & peerName) const;
};

// Rows that are collection members, grouped by collection and scope, in the
// order of each group's first row.
std::vector< SetSummary > setSummaries(const std::vector< Row > & rows);

// Digit runs compare as numbers, the rest as bytes.
bool naturalLess(const std::string & a, const std::string & b);

} // namespace MlagTool
