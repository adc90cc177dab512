#include "Changes.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <tuple>

#include "Report.h"
#include "Table.h"

namespace MlagTool {

namespace {

// A row is the same row across steps when it is the same entry; a
// provisional entry and the real one of its interface are different entries.
using Identity = std::tuple< std::string, std::string, std::string, bool >;

Identity identityOf(const ComparedValue & v) {
   return {v.plugin, v.row.parameter, v.row.interface, !v.provisionalIn.empty()};
}

bool moved(const ComparedValue & a, const ComparedValue & b) {
   return a.row.local != b.row.local || a.row.peer != b.row.peer ||
          a.row.defaultVal != b.row.defaultVal || a.row.status != b.row.status;
}

bool orderedBefore(const ComparedValue & a, const ComparedValue & b) {
   return std::make_tuple(std::cref(a.plugin), !a.row.interface.empty(), std::cref(a.row.parameter),
                          std::cref(a.row.interface)) <
          std::make_tuple(std::cref(b.plugin), !b.row.interface.empty(), std::cref(b.row.parameter),
                          std::cref(b.row.interface));
}

std::string seenByText(const ComparedValue & v) {
   std::string out;
   for (const std::string & name : v.seenBy) out += (out.empty() ? "" : ", ") + name;
   return v.provisionalIn.empty() ? out : out + " (provisional on " + v.provisionalIn + ")";
}

Table::Highlight highlightOf(const Change & c) {
   if (c.kind == ChangeKind::cleared || c.value.row.status == Status::agree) {
      return Table::Highlight::none;
   }
   return c.value.row.status == Status::differ ? Table::Highlight::red : Table::Highlight::yellow;
}

} // namespace

const char * changeText(ChangeKind kind) {
   switch (kind) {
      case ChangeKind::added:
         return "new";
      case ChangeKind::changed:
         return "changed";
      case ChangeKind::cleared:
         break;
   }
   return "cleared";
}

std::vector< Change > changes(const std::vector< ComparedValue > & before,
                              const std::vector< ComparedValue > & after) {
   // An entry the two switches saw alike is one row, one they see apart is
   // two: the candidates of an identity are matched by who sees them first.
   std::map< Identity, std::vector< const ComparedValue * > > old;
   for (const ComparedValue & v : before) old[identityOf(v)].push_back(&v);
   std::vector< Change > out;
   for (const ComparedValue & v : after) {
      auto it = old.find(identityOf(v));
      if (it == old.end() || it->second.empty()) {
         out.push_back({ChangeKind::added, v});
         continue;
      }
      std::vector< const ComparedValue * > & candidates = it->second;
      auto match = std::find_if(candidates.begin(), candidates.end(),
                                [&](const ComparedValue * c) { return c->seenBy == v.seenBy; });
      if (match == candidates.end()) match = candidates.begin();
      if (moved(**match, v) || (*match)->seenBy != v.seenBy) {
         out.push_back({ChangeKind::changed, v});
      }
      candidates.erase(match);
   }
   for (const auto & [identity, rest] : old) {
      for (const ComparedValue * v : rest) out.push_back({ChangeKind::cleared, *v});
   }
   std::stable_sort(out.begin(), out.end(), [](const Change & a, const Change & b) {
      return orderedBefore(a.value, b.value);
   });
   return out;
}

std::vector< Change > mismatchesOnly(const std::vector< Change > & changes) {
   std::vector< Change > out;
   std::copy_if(changes.begin(), changes.end(), std::back_inserter(out), [](const Change & c) {
      return c.kind != ChangeKind::cleared && c.value.row.status != Status::agree;
   });
   return out;
}

std::string changesTable(const std::vector< Change > & changes, const SwitchNames & names,
                         bool colour) {
   if (changes.empty()) return "no changes\n";
   // Who holds the entry explains a change that moves no value: the two
   // switches used to see one entry alike and now see it apart.
   Table table({"change", "plugin", "parameter", "interface", names.first, names.second, "status",
                "seen by"});
   for (const Change & c : changes) {
      const Row & r = c.value.row;
      table.rowIs(
         {changeText(c.kind), c.value.plugin, r.parameter, r.interface.empty() ? "-" : r.interface,
          shownValue(r.local, r.defaultVal), shownValue(r.peer, r.defaultVal),
          c.kind == ChangeKind::cleared ? "-" : statusText(r.status, names.first, names.second),
          seenByText(c.value)},
         highlightOf(c));
   }
   return table.render(colour);
}

} // namespace MlagTool
