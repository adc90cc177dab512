#include "RandomScenario.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace MlagSim {

namespace {

using Json = nlohmann::json;

// Small pools, so that the two switches and successive steps keep meeting
// the same names and values: agreement, disagreement and churn on one key.
const std::vector< std::string > mlagInterfaces = {"Port-Channel1", "Port-Channel2",
                                                   "Port-Channel3", "Port-Channel4"};
// Each nested collection of a plugin draws its keys from its own group, and
// no key is used twice in a plugin's configuration at any time. The checker
// knows a nested configuration by its key alone (removing one clears every
// entry filed under that interface or group name in the plugin's results),
// so two nested configurations sharing a key would make a removal in one
// clear the other's entries, which a fresh start would not: the generator
// keeps them apart, as real models are (one interface, one place).
const std::vector< std::vector< std::string > > nestedKeyGroups = {
   {"Port-Channel1", "Port-Channel2", "vlan10"},
   {"Port-Channel3", "Port-Channel4", "vlan20"},
   {"Ethernet1", "Ethernet2/1", "group1"},
   {"Ethernet3", "Vlan100", "group2"}};

// "p" + number, built by appending: gcc 12 at -O3 mistakes the
// short-string copy of `"p" + std::to_string(n)` for an overlapping memcpy.
std::string numbered(const char * prefix, std::uint64_t n) {
   std::string text(prefix);
   text += std::to_string(n);
   return text;
}

// The same groups, each grown by a dozen keys of its own kind, for
// configurations whose nested collections outgrow a backlog slice.
std::vector< std::vector< std::string > > wideKeyGroups() {
   std::vector< std::vector< std::string > > groups = nestedKeyGroups;
   for (int i = 1; i <= 12; ++i) {
      groups[0].push_back(numbered("vlan1", i));
      groups[1].push_back(numbered("vlan2", i));
      groups[2].push_back("Ethernet" + std::to_string(4 + i));
      groups[3].push_back("Ethernet" + std::to_string(20 + i) + "/1");
   }
   return groups;
}

// Descriptor path ("p0/n0/n1") to the keys of that nested collection.
using KeyGroups = std::map< std::string, const std::vector< std::string > * >;
const std::vector< std::string > memberKeys = {"10", "20", "30", "Ethernet1", "x"};
const std::vector< std::string > defaultTexts = {"1", "2", "a", "true", "300"};

Json randomValue(Entropy & e) {
   switch (e.below(8)) {
      case 0:
         return 1;
      case 1:
         return 2;
      case 2:
         return "a";
      case 3:
         return "b";
      case 4:
         return true;
      case 5:
         return false;
      case 6:
         return Json{{"@type", "Mlag::ReloadDelay"}, {"delay", e.chance(1, 2) ? 300 : 600}};
      default:
         return "";
   }
}

// Display names carry the model's path, so no two parameters of a plugin
// share one.
Json randomDescriptor(Entropy & e, const std::string & prefix, const std::string & path, int depth,
                      bool mlagOnly, const std::vector< std::vector< std::string > > & pool,
                      KeyGroups & keyGroups) {
   Json d = Json::object();
   if (mlagOnly) d["mlagInterfacesOnly"] = true;
   if (e.chance(1, 3)) d["absenceImpliesDefaultVal"] = true;
   if (e.chance(1, 3)) d["valueStrOverride"] = {{"true", "on"}, {"a", "A"}};
   Json attrName = Json::object(), collectionName = Json::object(), defaults = Json::object();
   const std::uint64_t scalars = 1 + e.below(3);
   for (std::uint64_t i = 0; i < scalars; ++i) {
      const std::string attr = numbered("s", i);
      attrName[attr] = prefix + attr;
      if (e.chance(1, 3)) defaults[attr] = e.pick(defaultTexts);
   }
   // An attribute without a display name is not checked at all.
   if (e.chance(1, 5)) attrName["hidden"] = "";
   const std::uint64_t collections = e.below(3);
   for (std::uint64_t i = 0; i < collections; ++i) {
      const std::string attr = numbered("c", i);
      collectionName[attr] = prefix + attr;
      if (e.chance(1, 4)) defaults[attr] = e.pick(defaultTexts);
   }
   d["attrName"] = attrName;
   if (!collectionName.empty()) d["collectionName"] = collectionName;
   if (!defaults.empty()) d["defaultVal"] = defaults;
   if (depth < 2) {
      const std::uint64_t nested = depth == 0 ? 1 + e.below(2) : e.below(2);
      std::vector< bool > mlagOnlyOf;
      bool anyMlagOnly = false;
      for (std::uint64_t i = 0; i < nested; ++i) {
         mlagOnlyOf.push_back(e.chance(1, 2));
         anyMlagOnly = anyMlagOnly || mlagOnlyOf.back();
      }
      for (std::uint64_t i = 0; i < nested; ++i) {
         const std::string attr = numbered("n", i);
         const std::string nestedPath = path + "/" + attr;
         // A machine keeps its nested machines by key alone, whichever
         // collection made them, and an interface leaving the MLAG
         // configuration deletes that interface's machine under every
         // MLAG-only collection. So beside an MLAG-only collection, the other
         // collections use interfaces that never are MLAG interfaces
         // (Ethernet, Vlan) and groups.
         std::size_t group = keyGroups.size() % 2;
         if (!mlagOnlyOf[i] && anyMlagOnly) group += 2;
         if (!mlagOnlyOf[i] && !anyMlagOnly) group = keyGroups.size() % pool.size();
         keyGroups[nestedPath] = &pool[group];
         d["nestedConfigCheckDesc"][attr] = randomDescriptor(
            e, prefix + attr + " ", nestedPath, depth + 1, mlagOnlyOf[i], pool, keyGroups);
      }
   }
   return d;
}

std::vector< std::string > keysOf(const Json & object, const char * member) {
   std::vector< std::string > out;
   if (auto it = object.find(member); it != object.end() && it->is_object()) {
      for (const auto & item : it->items()) out.push_back(item.key());
   }
   return out;
}

// An entity with every attribute its descriptor names: scalars (some null),
// value collections, nested collections of entities.
Json randomEntity(Entropy & e, const Json & d, const std::string & path, const KeyGroups & keys,
                  std::set< std::string > & used) {
   Json entity = Json::object();
   for (const std::string & attr : keysOf(d, "attrName")) {
      entity[attr] = e.chance(1, 5) ? Json() : randomValue(e);
   }
   for (const std::string & attr : keysOf(d, "collectionName")) {
      Json members = Json::object();
      for (std::uint64_t n = e.below(4); n > 0; --n) members[e.pick(memberKeys)] = randomValue(e);
      entity[attr] = members;
   }
   for (const std::string & attr : keysOf(d, "nestedConfigCheckDesc")) {
      Json members = Json::object();
      const std::string nestedPath = path + "/" + attr;
      // Up to as many draws as the collection has keys (repeats are dropped).
      const std::vector< std::string > & group = *keys.at(nestedPath);
      for (std::uint64_t n = e.below(group.size() + 1); n > 0; --n) {
         const std::string & key = e.pick(group);
         if (!used.insert(key).second) continue;
         members[key] = randomEntity(e, d["nestedConfigCheckDesc"][attr], nestedPath, keys, used);
      }
      entity[attr] = members;
   }
   return entity;
}

// One place in a switch's configuration where a step can act: an entity and
// its descriptor, with the path that leads to it.
struct Site {
   std::vector< std::string > path;
   std::string descriptorPath;
   const Json * entity;
   const Json * descriptor;
};

void collectSites(const Json & entity, const Json & d, std::vector< std::string > & path,
                  const std::string & descriptorPath, std::vector< Site > & out) {
   out.push_back({path, descriptorPath, &entity, &d});
   for (const std::string & attr : keysOf(d, "nestedConfigCheckDesc")) {
      auto members = entity.find(attr);
      if (members == entity.end()) continue;
      for (const auto & item : members->items()) {
         path.push_back(attr);
         path.push_back(item.key());
         collectSites(item.value(), d["nestedConfigCheckDesc"][attr], path,
                      descriptorPath + "/" + attr, out);
         path.resize(path.size() - 2);
      }
   }
}

Json pluginStep(Entropy & e, const Json & scenario, const std::string & sw, const Json & config,
                const std::string & plugin, const KeyGroups & keyGroups) {
   std::vector< Site > sites;
   std::vector< std::string > path;
   collectSites(config, scenario["plugins"][plugin], path, plugin, sites);
   std::set< std::string > used;
   for (const Site & site : sites) {
      if (!site.path.empty()) used.insert(site.path.back());
   }
   const Site & site = sites[static_cast< std::size_t >(e.below(sites.size()))];
   Json step = {{"switch", sw}, {"plugin", plugin}};
   std::vector< std::string > p = site.path;
   const std::vector< std::string > scalars = keysOf(*site.descriptor, "attrName");
   const std::vector< std::string > collections = keysOf(*site.descriptor, "collectionName");
   const std::vector< std::string > nested = keysOf(*site.descriptor, "nestedConfigCheckDesc");
   const std::uint64_t action = e.below(6);
   switch (action) {
      case 1: { // clear a scalar that holds a value
         const std::string & attr = e.pick(scalars);
         if ((*site.entity)[attr].is_null()) break;
         p.push_back(attr);
         step["path"] = p;
         step["delete"] = true;
         return step;
      }
      case 2: // set a member of a value collection
         if (collections.empty()) break;
         p.push_back(e.pick(collections));
         p.push_back(e.pick(memberKeys));
         step["path"] = p;
         step["set"] = randomValue(e);
         return step;
      case 3:   // remove a member
      case 5: { // remove a nested configuration
         const std::vector< std::string > & attrs = action == 3 ? collections : nested;
         if (attrs.empty()) break;
         const std::string & attr = e.pick(attrs);
         const std::vector< std::string > keys = keysOf(*site.entity, attr.c_str());
         if (keys.empty()) break;
         p.push_back(attr);
         p.push_back(e.pick(keys));
         step["path"] = p;
         step["delete"] = true;
         return step;
      }
      case 4: { // add a nested configuration
         if (nested.empty()) break;
         const std::string & attr = e.pick(nested);
         const std::string nestedPath = site.descriptorPath + "/" + attr;
         const std::string & key = e.pick(*keyGroups.at(nestedPath));
         if (!used.insert(key).second) break;
         p.push_back(attr);
         p.push_back(key);
         step["path"] = p;
         step["set"] = randomEntity(e, (*site.descriptor)["nestedConfigCheckDesc"][attr],
                                    nestedPath, keyGroups, used);
         return step;
      }
      default:
         break;
   }
   // Setting a scalar is always possible.
   p.push_back(e.pick(scalars));
   step["path"] = p;
   step["set"] = randomValue(e);
   return step;
}

// An MLAG id that no other interface of the switch uses: a switch gives each
// MLAG its own id. Empty when all are taken.
std::string freeMlagId(Entropy & e, const Json & mlag, const std::string & intf) {
   std::vector< std::string > free;
   for (int id = 10; id <= 60; id += 10) {
      const std::string text = std::to_string(id);
      bool used = false;
      for (const auto & item : mlag.items())
         used = used || (item.key() != intf && item.value() == text);
      if (!used) free.push_back(text);
   }
   return free.empty() ? std::string() : e.pick(free);
}

Json mlagStep(Entropy & e, const Json & sw, bool flap) {
   const std::string & intf =
      flap ? mlagInterfaces[static_cast< std::size_t >(e.below(2))] : e.pick(mlagInterfaces);
   Json step = {{"switch", sw["name"]}, {"mlag", intf}};
   const std::string id = freeMlagId(e, sw["mlag"], intf);
   if (sw["mlag"].contains(intf) && (id.empty() || e.chance(1, 2))) {
      step["delete"] = true;
   } else {
      step["set"] = id;
   }
   return step;
}

} // namespace

nlohmann::json randomScenarioJson(Entropy & e, const RandomLimits & limits) {
   Json scenario = Json::object();
   scenario["description"] = "generated";
   const std::uint64_t plugins = 1 + e.below(3);
   std::map< std::string, KeyGroups > keyGroups; // per plugin
   static const std::vector< std::vector< std::string > > wide = wideKeyGroups();
   const auto & pool = limits.wide ? wide : nestedKeyGroups;
   for (std::uint64_t i = 0; i < plugins; ++i) {
      const std::string name = numbered("p", i);
      scenario["plugins"][name] =
         randomDescriptor(e, name + " ", name, 0, false, pool, keyGroups[name]);
   }

   Json a = {{"name", "A"}, {"mlag", Json::object()}, {"config", Json::object()}};
   for (const std::string & intf : mlagInterfaces) {
      if (e.chance(2, 3)) a["mlag"][intf] = freeMlagId(e, a["mlag"], intf);
   }
   for (const auto & item : scenario["plugins"].items()) {
      std::set< std::string > used;
      a["config"][item.key()] =
         randomEntity(e, item.value(), item.key(), keyGroups[item.key()], used);
   }
   scenario["switches"] = Json::array({a, a});
   scenario["switches"][1]["name"] = "B";
   // The second switch starts as a copy of the first and then drifts a little.
   for (std::uint64_t n = e.below(5); n > 0; --n) {
      Json step;
      if (e.chance(1, 3)) {
         step = mlagStep(e, scenario["switches"][1], false);
      } else {
         const std::string plugin = numbered("p", e.below(plugins));
         step = pluginStep(e, scenario, "B", scenario["switches"][1]["config"][plugin], plugin,
                           keyGroups[plugin]);
      }
      applyStepToSwitches(scenario, step);
   }

   // Steps are drawn against a model that each step moves on; the scenario
   // keeps the configurations they start from.
   Json model = scenario;
   Json steps = Json::array();
   for (std::size_t i = 0; i < limits.steps; ++i) {
      const std::size_t sw = static_cast< std::size_t >(e.below(2));
      const Json & current = model["switches"][sw];
      Json step;
      if (e.chance(limits.mlagFlap ? 3 : 1, 4)) {
         step = mlagStep(e, current, limits.mlagFlap);
      } else {
         const std::string plugin = numbered("p", e.below(plugins));
         step = pluginStep(e, model, current["name"], current["config"][plugin], plugin,
                           keyGroups[plugin]);
      }
      applyStepToSwitches(model, step);
      steps.push_back(std::move(step));
   }
   scenario["steps"] = std::move(steps);
   return scenario;
}

void applyStepToSwitches(nlohmann::json & scenario, const nlohmann::json & step) {
   Json & sw = scenario["switches"][scenario["switches"][0]["name"] == step["switch"] ? 0 : 1];
   if (step.contains("mlag")) {
      const std::string intf = step["mlag"];
      if (step.contains("delete")) {
         sw["mlag"].erase(intf);
      } else {
         sw["mlag"][intf] = step["set"];
      }
      return;
   }
   Json * at = &sw["config"][step["plugin"].get< std::string >()];
   const Json & path = step["path"];
   for (std::size_t i = 0; i + 1 < path.size(); ++i) at = &(*at)[path[i].get< std::string >()];
   const std::string last = path.back();
   // Deleting a scalar leaves it without a value; deleting a member removes it.
   if (!step.contains("delete")) {
      (*at)[last] = step["set"];
   } else if (path.size() % 2 == 1) {
      (*at)[last] = Json();
   } else {
      at->erase(last);
   }
}

} // namespace MlagSim
