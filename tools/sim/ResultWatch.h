// MlagSim::ResultWatch: what each step of a pair changes in its results
// directories, found at the cost of what the step changed. It watches both
// switches' directories (global entries, interface tables and their entries)
// and keeps every entry's values as they stood at the last look; a look
// hands out the entries touched since the previous one, as they stood then
// and as they stand now, each as a result JSON of just those entries.
//
//   MlagSim::ResultWatch watch(pair);           // after pair.start()
//   pair.applyStep(0);
//   MlagSim::ResultWatch::Delta d = watch.delta();
//   changes(comparedValues(d.before, cat), comparedValues(d.after, cat));
//
// Both JSONs have the shape of Pair::resultJson without the records: every
// plugin of both switches, with "global" and "interface" holding only the
// touched entries. A touched interface entry brings every entry that shows
// as a row of the same parameter and interface on either switch (its own key
// and the provisional "Peer" key), so that rows compared across the
// switches see all their candidates. Holds counted references to what it
// watches until it is destroyed: a pair whose teardown must leave nothing
// alive goes after its watch.
#pragma once

#include <cstddef>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Pair.h"

namespace MlagSim {

class ResultWatch {
 public:
   // Takes the entries as they stand as the starting point.
   explicit ResultWatch(const Pair & pair);
   ~ResultWatch();
   ResultWatch(const ResultWatch &) = delete;
   ResultWatch & operator=(const ResultWatch &) = delete;

   struct Delta {
      nlohmann::json before; // the touched entries as at the previous look
      nlohmann::json after;  // the same entries now; an entry gone is absent
   };
   // The entries touched since the previous look (or construction); both
   // empty of entries when nothing was touched.
   Delta delta();

 private:
   class DirWatch; // one switch's directory of one plugin

   std::string switchNames_[2];
   std::vector< std::string > plugins_;
   std::vector< std::unique_ptr< DirWatch > > dirs_; // [switch * plugins + plugin]
};

} // namespace MlagSim
