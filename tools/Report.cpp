#include "Report.h"

#include "SetSummary.h"
#include "Table.h"

namespace MlagTool {

namespace {

Table::Highlight highlightOf(Status s) {
   switch (s) {
      case Status::agree:
         return Table::Highlight::none;
      case Status::differ:
         return Table::Highlight::red;
      case Status::onlyLocal:
      case Status::onlyPeer:
         break;
   }
   return Table::Highlight::yellow;
}

std::string setLines(const PluginRows & p, const std::string & localName,
                     const std::string & peerName, const ReportOptions & options) {
   std::string out;
   for (const SetSummary & s : setSummaries(p.rows)) {
      if (options.mismatchesOnly && !s.hasMismatch()) continue;
      out += "  " + escaped(s.line(localName, peerName)) + "\n";
   }
   return out.empty() ? out : "collections\n" + out;
}

std::string pluginSection(const PluginRows & p, const std::string & localName,
                          const std::string & peerName, const ReportOptions & options) {
   Table table({"parameter", "interface", localName, peerName, "status"});
   for (const Row & r : p.rows) {
      if (options.mismatchesOnly && r.status == Status::agree) continue;
      if (options.summary && !r.name.member.empty()) continue;
      table.rowIs(
         {r.parameter, r.interface.empty() ? "-" : r.interface, shownValue(r.local, r.defaultVal),
          shownValue(r.peer, r.defaultVal), statusText(r.status, localName, peerName)},
         highlightOf(r.status));
   }
   const std::string sets = setLines(p, localName, peerName, options);
   const std::string heading = "plugin " + escaped(p.plugin);
   if (p.rows.empty()) return heading + ": no parameters\n";
   // Nothing left to show means every row and set agrees: only the filters
   // leave a plugin empty.
   if (table.rows() == 0 && sets.empty()) {
      return heading + ": all " + std::to_string(p.rows.size()) +
             (p.rows.size() == 1 ? " parameter agrees\n" : " parameters agree\n");
   }
   std::string out = heading + "\n";
   if (table.rows() != 0) out += table.render(options.colour);
   return out + sets;
}

} // namespace

std::string shownValue(const std::string & value, const std::string & defaultVal) {
   if (!value.empty()) return value;
   return defaultVal.empty() ? "-" : "unset (default " + defaultVal + ")";
}

std::string statusText(Status status, const std::string & localName, const std::string & peerName) {
   switch (status) {
      case Status::agree:
         return "agree";
      case Status::differ:
         return "differ";
      case Status::onlyLocal:
         return "only on " + localName;
      case Status::onlyPeer:
         break;
   }
   return "only on " + peerName;
}

std::string report(const nlohmann::json & result, const ReportOptions & options,
                   const std::vector< CatalogEntry > & catalog) {
   const nlohmann::json & first = result.at("switches").at(0);
   const nlohmann::json & second = result.at("switches").at(1);
   const std::string firstName = first.at("name"), secondName = second.at("name");

   std::vector< PluginRows > rows = resultRows(first, catalog);
   std::string out;
   for (const PluginRows & p : rows) {
      if (!out.empty()) out += '\n';
      out += pluginSection(p, firstName, secondName, options);
   }
   if (!out.empty()) out += '\n';
   Counts counts = countRows(rows);
   out += summaryLine(counts) + '\n';
   // The second switch's own results normally mirror the first's; when they
   // do not, say so, since they count for the exit status too. A live
   // agent's view holds no results of its peer's: nothing to say then.
   Counts secondCounts = countRows(resultRows(second, catalog));
   if (!second.at("plugins").empty() && !(secondCounts == counts)) {
      out += "in " + escaped(secondName) + "'s own results: " + summaryLine(secondCounts) + '\n';
   }
   return out;
}

bool hasMismatch(const nlohmann::json & result, const std::vector< CatalogEntry > & catalog) {
   for (const nlohmann::json & sw : result.at("switches")) {
      if (countRows(resultRows(sw, catalog)).mismatches() > 0) return true;
   }
   return false;
}

} // namespace MlagTool
