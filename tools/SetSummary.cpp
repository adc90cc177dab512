#include "SetSummary.h"

#include <algorithm>
#include <cctype>
#include <tuple>

namespace MlagTool {

namespace {

bool isDigit(char c) { return std::isdigit(static_cast< unsigned char >(c)) != 0; }

std::string joined(const std::vector< std::string > & items) {
   std::string out;
   for (const std::string & item : items) out += (out.empty() ? "" : ", ") + item;
   return out;
}

std::string scopeLabel(const SetSummary & s) {
   switch (s.scope) {
      case Scope::global:
         return "";
      case Scope::group:
         return " in group " + s.group;
      case Scope::interface:
         return " on " + s.interface;
      case Scope::mlagId:
         break;
   }
   return " on " + s.interface + " (mlag" + s.mlagId + ")";
}

} // namespace

bool naturalLess(const std::string & a, const std::string & b) {
   std::size_t i = 0, j = 0;
   while (i < a.size() && j < b.size()) {
      if (isDigit(a[i]) && isDigit(b[j])) {
         std::size_t ie = i, je = j;
         while (ie < a.size() && isDigit(a[ie])) ++ie;
         while (je < b.size() && isDigit(b[je])) ++je;
         // Leading zeros aside, the longer run is the larger number.
         std::size_t is = i, js = j;
         while (is + 1 < ie && a[is] == '0') ++is;
         while (js + 1 < je && b[js] == '0') ++js;
         const std::string_view da(a.data() + is, ie - is), db(b.data() + js, je - js);
         if (da.size() != db.size()) return da.size() < db.size();
         if (da != db) return da < db;
         i = ie;
         j = je;
      } else {
         if (a[i] != b[j]) return a[i] < b[j];
         ++i;
         ++j;
      }
   }
   if ((a.size() - i) != (b.size() - j)) return a.size() - i < b.size() - j;
   return a < b; // equal as numbers ("01" and "1"): bytes decide, for a total order
}

std::string SetSummary::line(const std::string & localName, const std::string & peerName) const {
   std::string out = name + scopeLabel(*this) + ": ";
   if (!hasMismatch()) return out + "all " + std::to_string(agree.size()) + " agree";
   std::vector< std::string > parts;
   if (!agree.empty()) parts.push_back(std::to_string(agree.size()) + " agree");
   if (!differ.empty()) parts.push_back("differ: " + joined(differ));
   if (!onlyLocal.empty()) parts.push_back("only on " + localName + ": " + joined(onlyLocal));
   if (!onlyPeer.empty()) parts.push_back("only on " + peerName + ": " + joined(onlyPeer));
   std::string rest;
   for (const std::string & part : parts) rest += (rest.empty() ? "" : "; ") + part;
   return out + rest;
}

std::vector< SetSummary > setSummaries(const std::vector< Row > & rows) {
   std::vector< SetSummary > out;
   // Members of one summary, to sort their keys once all are in.
   std::vector< std::vector< const Row * > > members;
   for (const Row & r : rows) {
      if (r.name.member.empty()) continue;
      auto key = std::tie(r.name.name, r.name.scope, r.interface, r.name.group, r.name.mlagId);
      auto it = std::find_if(out.begin(), out.end(), [&](const SetSummary & s) {
         return std::tie(s.name, s.scope, s.interface, s.group, s.mlagId) == key;
      });
      if (it == out.end()) {
         SetSummary s;
         s.name = r.name.name;
         s.scope = r.name.scope;
         s.interface = r.interface;
         s.group = r.name.group;
         s.mlagId = r.name.mlagId;
         out.push_back(std::move(s));
         members.emplace_back();
         it = out.end() - 1;
      }
      members[static_cast< std::size_t >(it - out.begin())].push_back(&r);
   }
   for (std::size_t i = 0; i < out.size(); ++i) {
      std::vector< const Row * > & m = members[i];
      std::stable_sort(m.begin(), m.end(), [](const Row * a, const Row * b) {
         return naturalLess(a->name.member, b->name.member);
      });
      SetSummary & s = out[i];
      for (const Row * r : m) {
         switch (r->status) {
            case Status::agree:
               s.agree.push_back(r->name.member);
               break;
            case Status::differ:
               s.differ.push_back(r->name.member + " (" + effective(r->local, r->defaultVal) +
                                  " vs " + effective(r->peer, r->defaultVal) + ")");
               break;
            case Status::onlyLocal:
               s.onlyLocal.push_back(r->name.member);
               break;
            case Status::onlyPeer:
               s.onlyPeer.push_back(r->name.member);
               break;
         }
      }
   }
   return out;
}

} // namespace MlagTool
