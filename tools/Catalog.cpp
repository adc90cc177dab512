#include "Catalog.h"

#include <set>

#include "Table.h"
#include "porta/IntfId.h"

namespace MlagTool {

namespace {

using Json = nlohmann::json;

std::string textOf(const Json & object, const char * member, const std::string & key) {
   auto map = object.find(member);
   if (map == object.end() || !map->is_object()) return {};
   auto it = map->find(key);
   return it != map->end() && it->is_string() ? it->get< std::string >() : std::string();
}

bool flagOf(const Json & descriptor, const char * member) {
   auto it = descriptor.find(member);
   return it != descriptor.end() && it->is_boolean() && it->get< bool >();
}

// The member keys of the nested collection `model` (collection names from
// the plugin's entity down) in one switch's configuration.
void collectKeys(const Json & entity, const std::vector< std::string > & model, std::size_t depth,
                 std::set< std::string > & keys) {
   if (!entity.is_object()) return;
   auto collection = entity.find(model[depth]);
   if (collection == entity.end() || !collection->is_object()) return;
   for (const auto & [key, member] : collection->items()) {
      if (depth + 1 == model.size()) {
         keys.insert(key);
      } else {
         collectKeys(member, model, depth + 1, keys);
      }
   }
}

// The same for the keys that steps create: a path alternates collection
// names and keys.
void collectStepKeys(const MlagSim::Scenario & scenario, const std::string & plugin,
                     const std::vector< std::string > & model, std::set< std::string > & keys) {
   for (const MlagSim::Step & step : scenario.steps) {
      if (step.plugin != plugin) continue;
      for (std::size_t depth = 0; depth < model.size(); ++depth) {
         const std::size_t at = 2 * depth;
         if (at + 1 >= step.path.size() || step.path[at] != model[depth]) break;
         if (depth + 1 == model.size()) keys.insert(step.path[at + 1]);
      }
   }
}

// A nested machine is named by its key: an interface name files per
// interface (per MLAG id when the descriptor says so), any other per group.
std::string nestedScope(const MlagSim::Scenario & scenario, const std::string & plugin,
                        const std::vector< std::string > & model, bool mlagInterfacesOnly) {
   std::set< std::string > keys;
   for (const MlagSim::SwitchSpec & sw : scenario.switches) {
      auto config = sw.config.find(plugin);
      if (config != sw.config.end()) collectKeys(*config, model, 0, keys);
   }
   collectStepKeys(scenario, plugin, model, keys);
   bool interfaces = false, groups = false;
   for (const std::string & key : keys) {
      (Porta::IntfId::isValidName(key) ? interfaces : groups) = true;
   }
   if (keys.empty()) interfaces = groups = true;
   const std::string intfScope = mlagInterfacesOnly ? "MLAG id" : "interface";
   if (interfaces && groups) return intfScope + " or group";
   return interfaces ? intfScope : "group";
}

void addDescriptor(const MlagSim::Scenario & scenario, const std::string & plugin,
                   const Json & descriptor, std::vector< std::string > & model,
                   std::vector< CatalogEntry > & out) {
   CatalogEntry common;
   common.plugin = plugin;
   for (std::size_t i = 0; i < model.size(); ++i) {
      common.model += (i == 0 ? "" : "/") + model[i];
   }
   common.mlagInterfacesOnly = flagOf(descriptor, "mlagInterfacesOnly");
   common.absenceImpliesDefault = flagOf(descriptor, "absenceImpliesDefaultVal");
   common.scope =
      model.empty() ? "global" : nestedScope(scenario, plugin, model, common.mlagInterfacesOnly);
   if (auto o = descriptor.find("valueStrOverride"); o != descriptor.end() && o->is_object()) {
      // An empty replacement replaces nothing, in the checker as here.
      for (const auto & [from, to] : o->items()) {
         if (to.is_string() && !to.get< std::string >().empty()) {
            common.overrides[from] = to.get< std::string >();
         }
      }
   }
   for (const char * member : {"attrName", "collectionName"}) {
      auto names = descriptor.find(member);
      if (names == descriptor.end() || !names->is_object()) continue;
      for (const auto & [attribute, display] : names->items()) {
         if (!display.is_string() || display.get< std::string >().empty()) continue;
         CatalogEntry e = common;
         e.name = display.get< std::string >();
         e.attribute = attribute;
         e.collection = std::string(member) == "collectionName";
         e.defaultVal = textOf(descriptor, "defaultVal", attribute);
         out.push_back(std::move(e));
      }
   }
   auto nested = descriptor.find("nestedConfigCheckDesc");
   if (nested == descriptor.end() || !nested->is_object()) return;
   for (const auto & [collection, inner] : nested->items()) {
      model.push_back(collection);
      addDescriptor(scenario, plugin, inner, model, out);
      model.pop_back();
   }
}

std::string overridesText(const std::map< std::string, std::string > & overrides) {
   std::string out;
   for (const auto & [from, to] : overrides) {
      out += (out.empty() ? "" : ", ") + from + " -> " + to;
   }
   return out;
}

std::string orDash(const std::string & text) { return text.empty() ? "-" : text; }

} // namespace

std::vector< CatalogEntry > catalog(const MlagSim::Scenario & scenario) {
   std::vector< CatalogEntry > out;
   for (const auto & [plugin, descriptor] : scenario.plugins.items()) {
      std::vector< std::string > model;
      addDescriptor(scenario, plugin, descriptor, model, out);
   }
   return out;
}

std::string catalogTable(const std::vector< CatalogEntry > & entries) {
   if (entries.empty()) return "no parameters are checked\n";
   Table table(
      {"plugin", "parameter", "attribute", "kind", "model", "scope", "default", "value overrides"});
   for (const CatalogEntry & e : entries) {
      std::string defaultText = orDash(e.defaultVal);
      if (e.absenceImpliesDefault) defaultText += " (equal counts as unset)";
      table.rowIs({e.plugin, e.name, e.attribute, e.collection ? "collection" : "value",
                   orDash(e.model), e.scope, defaultText, orDash(overridesText(e.overrides))});
   }
   return table.render(false);
}

nlohmann::json catalogJson(const std::vector< CatalogEntry > & entries) {
   Json plugins = Json::object();
   for (const CatalogEntry & e : entries) {
      plugins[e.plugin].push_back({{"name", e.name},
                                   {"attribute", e.attribute},
                                   {"kind", e.collection ? "collection" : "value"},
                                   {"model", e.model},
                                   {"scope", e.scope},
                                   {"default", e.defaultVal},
                                   {"absenceImpliesDefault", e.absenceImpliesDefault},
                                   {"mlagInterfacesOnly", e.mlagInterfacesOnly},
                                   {"valueOverrides", e.overrides}});
   }
   return {{"plugins", std::move(plugins)}};
}

} // namespace MlagTool
