#include "ConfigDiff.h"

#include <set>

#include "sim/DescriptorJson.h"

namespace MlagAgent {

namespace {

using Json = nlohmann::json;
using MlagSim::isEntityJson;
using MlagSim::Step;
using Path = std::vector< std::string >;

struct Phases {
   std::vector< Step > removals, changes, additions;
};

class Differ {
 public:
   Differ(const std::string & switchName, const std::string & plugin, const std::string & fileName,
          Phases & out)
         : switchName_(switchName), plugin_(plugin), fileName_(fileName), out_(out) {}

   void entity(const Json & from, const Json & to, const Path & at) const {
      for (const std::string & attr : unionOfKeys(from, to)) {
         const Json * f = member(from, attr);
         const Json * t = member(to, attr);
         const bool fColl = f && isEntityJson(*f), tColl = t && isEntityJson(*t);
         const bool fValue = f && !fColl && !f->is_null(), tValue = t && !tColl && !t->is_null();
         Path path = at;
         path.push_back(attr);
         if ((fColl && tValue) || (fValue && tColl)) {
            Json::json_pointer place = Json::json_pointer("/switch/config") / plugin_;
            for (const std::string & p : path) place /= p;
            throw ReloadError(fileName_ + ": " + place.to_string() +
                              ": changes between a value and a collection; restart the agent to "
                              "apply it");
         }
         if (fColl || tColl) {
            members(fColl ? *f : Json::object(), tColl ? *t : Json::object(), path);
         } else if (fValue && !tValue) {
            out_.changes.push_back(step(path, true, Json()));
         } else if (tValue && (!fValue || *f != *t)) {
            out_.changes.push_back(step(path, false, *t));
         }
      }
   }

 private:
   void members(const Json & from, const Json & to, const Path & at) const {
      for (const std::string & key : unionOfKeys(from, to)) {
         const Json * f = member(from, key);
         const Json * t = member(to, key);
         const bool fEntity = f && isEntityJson(*f), tEntity = t && isEntityJson(*t);
         Path path = at;
         path.push_back(key);
         // Equal members, nested configurations included, need no walk.
         if (f && t && *f == *t) continue;
         if (fEntity && tEntity) {
            entity(*f, *t, path);
            continue;
         }
         if (f && t && !fEntity && !tEntity) {
            out_.changes.push_back(step(path, false, *t));
            continue;
         }
         if (f) (fEntity ? out_.removals : out_.changes).push_back(step(path, true, Json()));
         if (t) (tEntity ? out_.additions : out_.changes).push_back(step(path, false, *t));
      }
   }

   static const Json * member(const Json & object, const std::string & key) {
      if (!object.is_object()) return nullptr;
      auto it = object.find(key);
      return it == object.end() ? nullptr : &*it;
   }

   // Byte order: the order in which a fresh start fills an entity.
   static std::set< std::string > unionOfKeys(const Json & a, const Json & b) {
      std::set< std::string > keys;
      for (const Json * j : {&a, &b}) {
         if (!j->is_object()) continue;
         for (const auto & [k, unused] : j->items()) keys.insert(k);
      }
      return keys;
   }

   Step step(const Path & path, bool isDelete, const Json & value) const {
      Step s;
      s.switchName = switchName_;
      s.plugin = plugin_;
      s.path = path;
      s.isDelete = isDelete;
      s.value = value;
      return s;
   }

   const std::string & switchName_;
   const std::string & plugin_;
   const std::string & fileName_;
   Phases & out_;
};

Step mlagStep(const std::string & switchName, const std::string & intf, const std::string * id) {
   Step s;
   s.switchName = switchName;
   s.mlagInterface = intf;
   s.isDelete = id == nullptr;
   if (id) s.value = *id;
   return s;
}

} // namespace

std::vector< Step > configChanges(const MlagSim::SwitchSpec & from, const MlagSim::SwitchSpec & to,
                                  const nlohmann::json & plugins, const std::string & fileName) {
   Phases phases;
   for (const auto & item : plugins.items()) {
      // A named copy: clang 14 does not let a lambda capture a structured binding.
      const std::string & plugin = item.key();
      static const Json none;
      auto configOf = [&](const MlagSim::SwitchSpec & sw) -> const Json & {
         if (!sw.config.is_object()) return none;
         auto it = sw.config.find(plugin);
         return it == sw.config.end() ? none : *it;
      };
      Differ(to.name, plugin, fileName, phases).entity(configOf(from), configOf(to), {});
   }
   // MLAG ids that arrive or change go first and those that leave go last,
   // so that a nested configuration added or removed with its interface's
   // id meets the id, as on a fresh start.
   std::vector< Step > out;
   for (const auto & [intf, id] : to.mlag) {
      auto it = from.mlag.find(intf);
      if (it == from.mlag.end() || it->second != id) out.push_back(mlagStep(to.name, intf, &id));
   }
   for (std::vector< Step > * phase : {&phases.removals, &phases.changes, &phases.additions}) {
      for (Step & s : *phase) out.push_back(std::move(s));
   }
   for (const auto & [intf, id] : from.mlag) {
      if (!to.mlag.contains(intf)) out.push_back(mlagStep(to.name, intf, nullptr));
   }
   return out;
}

} // namespace MlagAgent
