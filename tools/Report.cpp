#include "Report.h"

#include "Table.h"

namespace MlagTool {

namespace {

std::string shown(const std::string & value) { return value.empty() ? "-" : value; }

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

std::string pluginSection(const PluginRows & p, const std::string & localName,
                          const std::string & peerName, const ReportOptions & options) {
   Table table({"parameter", "interface", localName, peerName, "status"});
   for (const Row & r : p.rows) {
      if (options.mismatchesOnly && r.status == Status::agree) continue;
      table.rowIs({r.parameter, shown(r.interface), shown(r.local), shown(r.peer),
                   statusText(r.status, localName, peerName)},
                  highlightOf(r.status));
   }
   if (p.rows.empty()) return "plugin " + p.plugin + ": no parameters\n";
   if (table.rows() == 0) {
      return "plugin " + p.plugin + ": all " + std::to_string(p.rows.size()) +
             (p.rows.size() == 1 ? " parameter agrees\n" : " parameters agree\n");
   }
   return "plugin " + p.plugin + "\n" + table.render(options.colour);
}

} // namespace

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

std::string report(const nlohmann::json & result, const ReportOptions & options) {
   const nlohmann::json & first = result.at("switches").at(0);
   const nlohmann::json & second = result.at("switches").at(1);
   const std::string firstName = first.at("name"), secondName = second.at("name");

   std::vector< PluginRows > rows = resultRows(first);
   std::string out;
   for (const PluginRows & p : rows) {
      if (!out.empty()) out += '\n';
      out += pluginSection(p, firstName, secondName, options);
   }
   if (!out.empty()) out += '\n';
   Counts counts = countRows(rows);
   out += summaryLine(counts) + '\n';
   // The second switch's own results normally mirror the first's; when they
   // do not, say so, since they count for the exit status too.
   Counts secondCounts = countRows(resultRows(second));
   if (!(secondCounts == counts)) {
      out += "in " + secondName + "'s own results: " + summaryLine(secondCounts) + '\n';
   }
   return out;
}

bool hasMismatch(const nlohmann::json & result) {
   for (const nlohmann::json & sw : result.at("switches")) {
      if (countRows(resultRows(sw)).mismatches() > 0) return true;
   }
   return false;
}

} // namespace MlagTool
