#include "ParamName.h"

namespace MlagTool {

namespace {

constexpr std::string_view mlagSuffix = " mlag";

} // namespace

const char * scopeText(Scope scope) {
   switch (scope) {
      case Scope::global:
         return "global";
      case Scope::group:
         return "group";
      case Scope::interface:
         return "interface";
      case Scope::mlagId:
         break;
   }
   return "mlagId";
}

ParamNameReader::ParamNameReader(const std::vector< CatalogEntry > & catalog,
                                 const std::string & plugin) {
   for (const CatalogEntry & e : catalog) {
      if (e.plugin != plugin) continue;
      (e.collection ? collections_ : values_).emplace(e.name, &e);
      if (e.mlagInterfacesOnly) {
         (e.collection ? mlagCollections_ : mlagValues_).emplace(e.name, &e);
      }
   }
}

bool ParamNameReader::resolve(const std::string & base, bool mlagOnly, ParamName & out) const {
   const Names & values = mlagOnly ? mlagValues_ : values_;
   const Names & collections = mlagOnly ? mlagCollections_ : collections_;
   if (values.contains(base)) {
      out.name = base;
      return true;
   }
   // "<member key> <collection name>"; the longest collection name that fits
   // wins, so "vlan" never takes a member of "allowed vlan".
   const std::string * best = nullptr;
   for (const auto & [c, entry] : collections) {
      if (base.size() > c.size() + 1 && base.ends_with(c) &&
          base[base.size() - c.size() - 1] == ' ' && (best == nullptr || c.size() > best->size())) {
         best = &c;
      }
   }
   if (best == nullptr) return false;
   out.name = *best;
   out.member = base.substr(0, base.size() - best->size() - 1);
   return true;
}

ParamName ParamNameReader::read(const std::string & parameter, const std::string & groupId,
                                bool interfaceTable) const {
   ParamName out;
   if (interfaceTable) {
      out.scope = Scope::interface;
      const std::size_t at = parameter.rfind(mlagSuffix);
      if (at != std::string::npos && at + mlagSuffix.size() < parameter.size() &&
          resolve(parameter.substr(0, at), true, out)) {
         out.scope = Scope::mlagId;
         out.mlagId = parameter.substr(at + mlagSuffix.size());
         return out;
      }
   } else if (!groupId.empty() && parameter.size() > groupId.size() + 1 &&
              parameter.ends_with(" " + groupId)) {
      out.scope = Scope::group;
      out.group = groupId;
      const std::string base = parameter.substr(0, parameter.size() - groupId.size() - 1);
      if (!resolve(base, false, out)) out.name = base;
      return out;
   }
   if (!resolve(parameter, false, out)) out.name = parameter;
   return out;
}

const CatalogEntry * ParamNameReader::describedBy(const ParamName & name) const {
   const bool collection = !name.member.empty();
   const Names & names = name.scope == Scope::mlagId ? (collection ? mlagCollections_ : mlagValues_)
                                                     : (collection ? collections_ : values_);
   auto [from, to] = names.equal_range(name.name);
   if (from == to) return nullptr;
   // Lower is better: 0 files exactly where the name was found.
   auto misfit = [&](const CatalogEntry & e) {
      if (name.scope == Scope::global) return e.model.empty() ? 0 : 2;
      if (e.model.empty()) return 2;
      return e.mlagInterfacesOnly == (name.scope == Scope::mlagId) ? 0 : 1;
   };
   auto best = from;
   for (auto it = from; it != to; ++it) {
      if (misfit(*it->second) < misfit(*best->second)) best = it;
   }
   return best->second;
}

} // namespace MlagTool
