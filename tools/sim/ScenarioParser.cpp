// parseScenario: reads a scenario and checks all of it, steps included,
// before anything runs. The text is checked in one streaming pass (limits,
// duplicates, numbers) before a tree is built. Steps are checked by replaying
// them on a JSON model of each switch's configuration, so a path that an
// earlier step creates is valid for a later one; each switch's plugins keep a
// FilingIndex of that model, so that no step makes names the checker cannot
// tell apart.
#include <array>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include "DescriptorJson.h"
#include "FilingIndex.h"
#include "JsonTextCheck.h"
#include "OneLine.h"
#include "Scenario.h"
#include "kiv/Exception.h"
#include "porta/IntfId.h"

namespace MlagSim {

namespace {

using Json = nlohmann::json;
using Pointer = Json::json_pointer;

// What was found, for messages: numbers and short strings as they were
// written, other kinds by name.
std::string found(const Json & v) {
   switch (v.type()) {
      case Json::value_t::object:
         return v.contains("@type") ? "an object with '@type'" : "an object";
      case Json::value_t::array:
         return "an array";
      case Json::value_t::string: {
         std::string text = v.dump();
         return text.size() <= 40 ? text : text.substr(0, 36) + "...\"";
      }
      default:
         return v.dump();
   }
}

std::string inQuotes(const std::string & name) { return "'" + name + "'"; }

class Parser {
 public:
   explicit Parser(const std::string & fileName) : fileName_(fileName) {}
   Scenario parse(std::string_view text);

 private:
   [[noreturn]] void fail(const std::string & location, const std::string & message) const {
      throw ScenarioError(oneLine(fileName_ + ": " + location + ": " + message));
   }
   [[noreturn]] void fail(const Pointer & at, const std::string & message) const {
      fail(at.empty() ? std::string("top level") : at.to_string(), message);
   }

   Json read(std::string_view text) const;
   void requireObject(const Json & v, const Pointer & at, const std::string & what) const;
   void allowOnly(const Json & object, const Pointer & at,
                  std::initializer_list< const char * > members) const;
   const Json * optional(const Json & object, const char * member) const;
   const Json & required(const Json & object, const Pointer & at, const char * member) const;
   std::string stringAt(const Json & v, const Pointer & at) const;
   std::string nameAt(const Json & v, const Pointer & at, const char * what) const;
   void requireBool(const Json & v, const Pointer & at) const;
   std::string mlagIdAt(const Json & v, const Pointer & at, const char * instead) const;
   void checkInterfaceName(const std::string & name, const Pointer & at) const;

   void checkDescriptor(const Json & descriptor, const Pointer & at) const;
   void checkValue(const Json & v, const Pointer & at) const;
   void checkEntity(const Json & entity, const Json * descriptor, const Pointer & at) const;
   Json modelOf(Json entity, const Json * descriptor) const;

   SwitchSpec parseSwitch(const Json & sw, const Pointer & at, const Json & plugins) const;
   Step parseStep(const Json & step, const Pointer & at, const Scenario & scenario) const;
   using Indexes = std::map< std::string, FilingIndex >; // plugin name -> index
   void replayStep(const Step & step, const Pointer & at, const Json & plugins, Json & model,
                   std::map< std::string, std::string > & mlag, Indexes & indexes) const;

   std::string fileName_;
};

Json Parser::read(std::string_view text) const {
   if (const std::optional< JsonTextProblem > problem = checkJsonText(text)) {
      fail(problem->location, problem->message);
   }
   return Json::parse(text);
}

void Parser::requireObject(const Json & v, const Pointer & at, const std::string & what) const {
   if (!v.is_object()) fail(at, "expected " + what + ", found " + found(v));
}

void Parser::allowOnly(const Json & object, const Pointer & at,
                       std::initializer_list< const char * > members) const {
   for (const auto & [name, unused] : object.items()) {
      bool known = false;
      for (const char * m : members) known = known || name == m;
      if (!known) fail(at / name, "unknown member " + inQuotes(name));
   }
}

const Json * Parser::optional(const Json & object, const char * member) const {
   auto it = object.find(member);
   return it == object.end() ? nullptr : &*it;
}

const Json & Parser::required(const Json & object, const Pointer & at, const char * member) const {
   const Json * v = optional(object, member);
   if (!v) fail(at, "missing member " + inQuotes(member));
   return *v;
}

std::string Parser::stringAt(const Json & v, const Pointer & at) const {
   if (!v.is_string()) fail(at, "expected a string, found " + found(v));
   return v.get< std::string >();
}

std::string Parser::nameAt(const Json & v, const Pointer & at, const char * what) const {
   std::string name = stringAt(v, at);
   if (name.empty()) fail(at, std::string("expected a non-empty ") + what);
   return name;
}

void Parser::requireBool(const Json & v, const Pointer & at) const {
   if (!v.is_boolean()) fail(at, "expected true or false, found " + found(v));
}

// An interface without an MLAG id is one that is not in the MLAG configuration.
std::string Parser::mlagIdAt(const Json & v, const Pointer & at, const char * instead) const {
   std::string id = stringAt(v, at);
   if (id.empty()) fail(at, std::string("expected a non-empty MLAG id (") + instead + ")");
   return id;
}

void Parser::checkInterfaceName(const std::string & name, const Pointer & at) const {
   if (name.empty()) fail(at, "expected an interface name, found the empty name");
   try {
      Kiv::Expect expectRange(Kiv::ExceptionId::range);
      [[maybe_unused]] const Porta::IntfId id{Kiv::String(name)};
   } catch (const Kiv::RangeException & e) {
      fail(at, e.what());
   }
}

void Parser::checkDescriptor(const Json & descriptor, const Pointer & at) const {
   requireObject(descriptor, at, "an object (a descriptor)");
   allowOnly(descriptor, at,
             {"mlagInterfacesOnly", "absenceImpliesDefaultVal", "attrName", "collectionName",
              "valueStrOverride", "defaultVal", "nestedConfigCheckDesc"});
   for (const char * flag : {"mlagInterfacesOnly", "absenceImpliesDefaultVal"}) {
      if (const Json * v = optional(descriptor, flag)) requireBool(*v, at / flag);
   }
   for (const char * map : {"attrName", "collectionName", "valueStrOverride", "defaultVal"}) {
      const Json * m = optional(descriptor, map);
      if (!m) continue;
      requireObject(*m, at / map, "an object of strings");
      const bool attributeNames =
         std::string(map) == "attrName" || std::string(map) == "collectionName";
      for (const auto & [key, text] : m->items()) {
         if (attributeNames && key.empty())
            fail(at / map / key, "expected a non-empty attribute name");
         stringAt(text, at / map / key);
      }
   }
   if (const Json * nested = optional(descriptor, "nestedConfigCheckDesc")) {
      requireObject(*nested, at / "nestedConfigCheckDesc", "an object of descriptors");
      for (const auto & [collection, d] : nested->items()) {
         const Pointer here = at / "nestedConfigCheckDesc" / collection;
         if (collection.empty()) fail(here, "expected a non-empty attribute name");
         checkDescriptor(d, here);
      }
   }
   // An attribute is a scalar or a collection, never both.
   if (const Json * scalars = optional(descriptor, "attrName")) {
      for (const auto & [attr, unused] : scalars->items()) {
         for (const char * map : {"collectionName", "nestedConfigCheckDesc"}) {
            const Json * m = optional(descriptor, map);
            if (m && m->contains(attr)) {
               fail(at / map / attr, "attribute " + inQuotes(attr) +
                                        " is a scalar (attrName names it), not a collection");
            }
         }
      }
   }
}

void Parser::checkValue(const Json & v, const Pointer & at) const {
   switch (v.type()) {
      case Json::value_t::null:
      case Json::value_t::boolean:
      case Json::value_t::string:
      case Json::value_t::number_integer:
      case Json::value_t::number_unsigned: // at most the largest int64: the text check sees to it
         return;
      case Json::value_t::object: {
         if (!v.contains("@type")) {
            fail(at,
                 "expected a value (a string, integer, boolean, null or object with '@type'), "
                 "found an object without '@type'");
         }
         const std::string type = nameAt(v["@type"], at / "@type", "type name");
         for (const auto & [field, fieldValue] : v.items()) {
            if (field.empty()) fail(at / field, "expected a non-empty field name");
            if (field != "@type") checkValue(fieldValue, at / field);
         }
         if (type == "Mlag::ReloadDelay" && !v.contains("delay")) {
            fail(at, "missing member 'delay' (an Mlag::ReloadDelay is compared by its delay)");
         }
         return;
      }
      default:
         fail(at,
              "expected a value (a string, integer, boolean, null or object with '@type'), found " +
                 found(v));
   }
}

void Parser::checkEntity(const Json & entity, const Json * descriptor, const Pointer & at) const {
   if (!isEntityJson(entity)) {
      fail(at, "expected an object without '@type' (an entity), found " + found(entity));
   }
   for (const auto & [attr, value] : entity.items()) {
      const Pointer here = at / attr;
      if (attr.empty()) fail(here, "expected a non-empty attribute name");
      const AttrShape shape = declaredShape(descriptor, attr);
      if (!isEntityJson(value)) {
         if (shape == AttrShape::collection) {
            fail(here, "expected an object (the descriptor names " + inQuotes(attr) +
                          " as a collection), found " + found(value));
         }
         checkValue(value, here);
         continue;
      }
      if (shape == AttrShape::scalar) {
         fail(here, "expected a value (attrName names " + inQuotes(attr) +
                       " as a scalar), found an object without '@type'");
      }
      const Json * nested = nestedDescriptor(descriptor, attr);
      for (const auto & [key, member] : value.items()) {
         if (isEntityJson(member)) {
            checkEntity(member, nested, here / key);
         } else if (nested) {
            fail(here / key, "expected an object (an entity: nestedConfigCheckDesc names " +
                                inQuotes(attr) + "), found " + found(member));
         } else {
            checkValue(member, here / key);
         }
      }
   }
}

// The entity as the pair will build it: every attribute its descriptor names
// is present (null, or an empty collection when the file leaves it out).
// Nested entities are moved, not copied, into their place.
Json Parser::modelOf(Json entity, const Json * descriptor) const {
   Json model = entity.is_null() ? Json::object() : std::move(entity);
   for (const auto & [attr, shape] : declaredAttributes(descriptor)) {
      if (!model.contains(attr)) {
         model[attr] = shape == AttrShape::scalar ? Json() : Json::object();
      }
      const Json * nested = nestedDescriptor(descriptor, attr);
      if (!nested) continue;
      for (auto & [key, member] : model[attr].items()) member = modelOf(std::move(member), nested);
   }
   return model;
}

SwitchSpec Parser::parseSwitch(const Json & sw, const Pointer & at, const Json & plugins) const {
   requireObject(sw, at, "an object (a switch)");
   allowOnly(sw, at, {"name", "mlag", "config"});
   SwitchSpec switchSpec;
   switchSpec.name = nameAt(required(sw, at, "name"), at / "name", "switch name");
   if (const Json * mlag = optional(sw, "mlag")) {
      requireObject(*mlag, at / "mlag", "an object (interface name to MLAG id)");
      for (const auto & [intf, id] : mlag->items()) {
         checkInterfaceName(intf, at / "mlag" / intf);
         switchSpec.mlag[intf] =
            mlagIdAt(id, at / "mlag" / intf, "leave the interface out of 'mlag' instead");
      }
   }
   switchSpec.config = Json::object();
   if (const Json * config = optional(sw, "config")) {
      requireObject(*config, at / "config", "an object (plugin name to configuration)");
      for (const auto & [plugin, entity] : config->items()) {
         if (!plugins.contains(plugin)) {
            fail(at / "config" / plugin, "plugin " + inQuotes(plugin) + " is not declared");
         }
         checkEntity(entity, &plugins[plugin], at / "config" / plugin);
      }
      switchSpec.config = *config;
   }
   return switchSpec;
}

Step Parser::parseStep(const Json & s, const Pointer & at, const Scenario & scenario) const {
   requireObject(s, at, "an object (a step)");
   allowOnly(s, at, {"switch", "plugin", "path", "mlag", "set", "delete"});
   Step step;
   step.switchName = stringAt(required(s, at, "switch"), at / "switch");
   if (step.switchName != scenario.switches[0].name &&
       step.switchName != scenario.switches[1].name) {
      fail(at / "switch", "switch " + inQuotes(step.switchName) + " is not declared");
   }
   const bool hasMlag = s.contains("mlag");
   if (hasMlag && (s.contains("plugin") || s.contains("path"))) {
      fail(at / "mlag", "expected either 'mlag' or 'plugin' and 'path', found both");
   }
   if (hasMlag) {
      step.mlagInterface = stringAt(s["mlag"], at / "mlag");
      checkInterfaceName(step.mlagInterface, at / "mlag");
   } else {
      if (!s.contains("plugin") && !s.contains("path")) {
         fail(at, "expected 'plugin' and 'path', or 'mlag'");
      }
      step.plugin = stringAt(required(s, at, "plugin"), at / "plugin");
      if (!scenario.plugins.contains(step.plugin)) {
         fail(at / "plugin", "plugin " + inQuotes(step.plugin) + " is not declared");
      }
      const Json & path = required(s, at, "path");
      if (!path.is_array() || path.empty()) {
         fail(at / "path", "expected a non-empty array of names, found " + found(path));
      }
      for (std::size_t i = 0; i < path.size(); ++i) {
         step.path.push_back(stringAt(path[i], at / "path" / i));
      }
   }
   const bool hasSet = s.contains("set");
   if (const Json * del = optional(s, "delete")) {
      if (hasSet) fail(at / "delete", "expected either 'set' or 'delete', found both");
      if (*del != Json(true)) fail(at / "delete", "expected true, found " + found(*del));
      step.isDelete = true;
   } else if (hasSet) {
      step.value = s["set"];
      if (hasMlag) mlagIdAt(step.value, at / "set", "delete the interface instead");
   } else {
      fail(at, "expected 'set' or 'delete'");
   }
   return step;
}

// The filing index sees every change below a described entity: the plugin's
// own (`owner` null) or a nested configuration (`owner` its key). Below a
// member of another collection the descriptor is null and nothing is filed.
void Parser::replayStep(const Step & step, const Pointer & at, const Json & plugins, Json & model,
                        std::map< std::string, std::string > & mlag, Indexes & indexes) const {
   if (step.plugin.empty()) {
      if (!step.isDelete) {
         mlag[step.mlagInterface] = step.value.get< std::string >();
      } else if (mlag.erase(step.mlagInterface) == 0) {
         fail(at / "mlag", "path does not exist: " + inQuotes(step.mlagInterface) +
                              " is not in the MLAG configuration of switch " +
                              inQuotes(step.switchName));
      }
      for (auto & [plugin, index] : indexes) index.mlagChanged(step.mlagInterface, at.to_string());
      return;
   }
   const Pointer pathAt = at / "path";
   const Pointer setAt = at / "set";
   FilingIndex & index = indexes.at(step.plugin);
   Json * entity = &model[step.plugin];
   const Json * descriptor = &plugins[step.plugin];
   const std::string * owner = nullptr;
   const std::vector< std::string > & path = step.path;
   for (std::size_t i = 0; i < path.size(); ++i) {
      const std::string & attr = path[i];
      if (!entity->contains(attr)) {
         fail(pathAt / i, "path does not exist: no attribute " + inQuotes(attr));
      }
      Json & value = (*entity)[attr];
      if (i + 1 == path.size()) {
         if (isEntityJson(value)) {
            fail(pathAt / i,
                 "expected a path to a scalar attribute or a collection member, "
                 "found the collection " +
                    inQuotes(attr));
         }
         if (step.isDelete) {
            if (value.is_null()) fail(pathAt / i, "path holds no value: nothing to delete");
            value = Json();
         } else {
            checkValue(step.value, setAt);
            value = step.value;
         }
         return;
      }
      if (!isEntityJson(value)) {
         fail(pathAt / (i + 1), "path does not exist: " + inQuotes(attr) + " is not a collection");
      }
      const Json * nested = nestedDescriptor(descriptor, attr);
      const std::string & key = path[++i];
      if (i + 1 == path.size()) {
         const bool existed = value.contains(key);
         if (step.isDelete) {
            if (!existed) {
               fail(pathAt / i,
                    "path does not exist: no member " + inQuotes(key) + " in " + inQuotes(attr));
            }
            if (descriptor) index.memberRemoved(owner, attr, key, value[key]);
            value.erase(key);
            return;
         }
         if (isEntityJson(step.value)) {
            if (existed && isEntityJson(value[key])) {
               fail(setAt, "a nested entity already exists at this path (delete it first)");
            }
            checkEntity(step.value, nested, setAt);
            value[key] = modelOf(step.value, nested);
         } else {
            if (nested) {
               fail(setAt, "expected an object (an entity: nestedConfigCheckDesc names " +
                              inQuotes(attr) + "), found " + found(step.value));
            }
            checkValue(step.value, setAt);
            value[key] = step.value;
         }
         // A replaced member keeps its name: only a new key files anything new.
         if (!existed && descriptor)
            index.memberAdded(owner, attr, key, value[key], setAt.to_string());
         return;
      }
      if (!value.contains(key)) {
         fail(pathAt / i,
              "path does not exist: no member " + inQuotes(key) + " in " + inQuotes(attr));
      }
      if (!isEntityJson(value[key])) {
         fail(pathAt / (i + 1), "path does not exist: member " + inQuotes(key) + " of " +
                                   inQuotes(attr) + " is a value, not an entity");
      }
      entity = &value[key];
      descriptor = nested;
      owner = &key;
   }
}

Scenario Parser::parse(std::string_view text) {
   const Json doc = read(text);
   const Pointer root;
   requireObject(doc, root, "an object");
   allowOnly(doc, root, {"description", "plugins", "switches", "steps"});
   Scenario scenario;
   scenario.fileName = fileName_;
   if (const Json * d = optional(doc, "description")) {
      scenario.description = stringAt(*d, root / "description");
   }

   const Json & plugins = required(doc, root, "plugins");
   requireObject(plugins, root / "plugins", "an object (plugin name to descriptor)");
   for (const auto & [name, descriptor] : plugins.items()) {
      if (name.empty()) fail(root / "plugins" / name, "expected a non-empty plugin name");
      checkDescriptor(descriptor, root / "plugins" / name);
   }
   scenario.plugins = plugins;

   const Json & switches = required(doc, root, "switches");
   if (!switches.is_array()) {
      fail(root / "switches", "expected an array of two switches, found " + found(switches));
   }
   if (switches.size() != 2) {
      fail(root / "switches",
           "expected exactly two switches, found " + std::to_string(switches.size()));
   }
   for (std::size_t i = 0; i < 2; ++i) {
      scenario.switches[i] = parseSwitch(switches[i], root / "switches" / i, plugins);
   }
   if (scenario.switches[0].name == scenario.switches[1].name) {
      fail(root / "switches" / 1 / "name",
           "switch " + inQuotes(scenario.switches[1].name) + " is declared twice");
   }

   // Each switch's configuration as the pair will build it, and as the
   // checker will file it; the steps then change both.
   std::array< Json, 2 > models;
   std::array< std::map< std::string, std::string >, 2 > mlag;
   std::array< Indexes, 2 > indexes;
   for (std::size_t sw = 0; sw < 2; ++sw) {
      models[sw] = Json::object();
      mlag[sw] = scenario.switches[sw].mlag;
      for (const auto & [name, descriptor] : plugins.items()) {
         Json & model = models[sw][name] =
            modelOf(scenario.switches[sw].config.value(name, Json()), &descriptor);
         FilingIndex & index =
            indexes[sw].try_emplace(name, fileName_, descriptor, mlag[sw]).first->second;
         index.fileConfiguration(model, (root / "switches" / sw / "config" / name).to_string());
      }
   }

   if (const Json * steps = optional(doc, "steps")) {
      if (!steps->is_array()) fail(root / "steps", "expected an array, found " + found(*steps));
      for (std::size_t i = 0; i < steps->size(); ++i) {
         const Pointer at = root / "steps" / i;
         Step step = parseStep((*steps)[i], at, scenario);
         const std::size_t sw = step.switchName == scenario.switches[0].name ? 0 : 1;
         replayStep(step, at, plugins, models[sw], mlag[sw], indexes[sw]);
         scenario.steps.push_back(std::move(step));
      }
   }
   return scenario;
}

} // namespace

Scenario parseScenario(std::string_view text, const std::string & fileName) {
   try {
      return Parser(fileName).parse(text);
   } catch (const std::bad_alloc &) {
      throw ScenarioError(oneLine(fileName + ": out of memory while reading"));
   }
}

} // namespace MlagSim
