#include "ScenarioRun.h"

#include <optional>

#include "Catalog.h"
#include "Changes.h"
#include "Comparison.h"
#include "Report.h"
#include "sim/Pair.h"
#include "sim/ResultWatch.h"

namespace MlagTool {

int runScenario(const MlagSim::Scenario & scenario, const RunOptions & o, std::ostream & out) {
   const std::vector< CatalogEntry > catalog = MlagTool::catalog(scenario);
   MlagSim::Pair pair(scenario);
   const ReportOptions reportOptions{o.mismatches, o.colour, o.summary};
   auto table = [&](const nlohmann::json & result) {
      return report(result, reportOptions, catalog);
   };

   pair.start();
   // The whole result as it stands, once built; a step makes it stale.
   std::optional< nlohmann::json > built;
   if (o.eachStep || o.changes) {
      built = pair.resultJson();
      out << "== after start ==\n" << table(*built);
   }
   // Declared after the pair: it lets go of the results before the pair goes.
   std::optional< MlagSim::ResultWatch > watch;
   if (o.changes) watch.emplace(pair);
   for (std::size_t i = 0; i < pair.stepCount(); ++i) {
      pair.applyStep(i);
      built.reset();
      if (o.eachStep || o.changes) out << "\n== " << scenario.steps[i].describe() << " ==\n";
      if (o.eachStep) {
         built = pair.resultJson();
         out << table(*built);
      }
      if (o.changes) {
         const MlagSim::ResultWatch::Delta d = watch->delta();
         const std::vector< Change > all =
            changes(comparedValues(d.before, catalog), comparedValues(d.after, catalog));
         if (!o.mismatches) {
            out << changesTable(all, switchNames(d.after), o.colour);
         } else if (std::vector< Change > shown = mismatchesOnly(all);
                    !shown.empty() || all.empty()) {
            out << changesTable(shown, switchNames(d.after), o.colour);
         } else {
            out << "no changes to mismatches\n";
         }
      }
   }
   const nlohmann::json result = built ? std::move(*built) : pair.resultJson();

   if (o.json) {
      out << result.dump(2) << '\n';
   } else if (o.reportJson) {
      out << reportJson(result, catalog, o.mismatches).dump(2) << '\n';
   } else if (!o.eachStep && !o.changes) {
      out << table(result);
   }
   return hasMismatch(result, catalog) ? 1 : 0;
}

} // namespace MlagTool
