// One plugin's configuration on one switch as the checker files it: the key
// of every nested configuration and the results entry of every value, each
// with the place in the scenario that first uses it. The checker knows a
// nested configuration by its key alone and keeps one value per results
// entry, so a scenario that uses either twice is refused here instead of
// being half-filed there.
//
//   FilingIndex index("s.json", plugins["lacp"], mlagIds);
//   index.fileConfiguration(model, "/switches/0/config/lacp");   // or ScenarioError
//   index.memberAdded(nullptr, "vlan", "30", model["vlan"]["30"], "/steps/2/set");
//
// Names come from the checker's own naming functions: a scalar files under
// its display name, a value-collection member as "<key> <display name>";
// in a nested group configuration both end in " <group>" (the group is the
// entry's group id); in a nested interface configuration they are filed
// under the interface, ending in " mlag<id>" under mlagInterfacesOnly, where
// an interface without an MLAG id files nothing, nor does anything nested in
// it. An empty display name names nothing. Nested configuration keys count
// wherever they are, filed or not. Everything is found through hash maps, so
// what a step adds, removes or renames costs what it touches.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <unordered_map>

#include "ConfigCheck/ConfigCheckDesc.h"
#include "porta/IntfId.h"

namespace MlagSim {

class FilingIndex {
 public:
   using Json = nlohmann::json;
   using MlagIds = std::map< std::string, std::string >; // interface name -> MLAG id

   // `descriptor`, `mlag` and every model passed in must outlive the index;
   // a filed member's model and key must not move while it is filed (members
   // of a JSON object keep their address), since places refer to them.
   FilingIndex(std::string fileName, const Json & descriptor, const MlagIds & mlag);

   // The plugin's own entity, as modelled: every described attribute present.
   void fileConfiguration(const Json & entity, const std::string & place);

   // `owner` is the key of the nested configuration whose collection changes,
   // or null for the plugin's own entity. memberAdded: after a member with a
   // new key entered the model; memberRemoved: before it leaves.
   void memberAdded(const std::string * owner, const std::string & collection,
                    const std::string & key, const Json & member, const std::string & place);
   void memberRemoved(const std::string * owner, const std::string & collection,
                      const std::string & key, const Json & member);

   // After the step at `place` changed the interface's entry in `mlag`.
   void mlagChanged(const std::string & interface, const std::string & place);

 private:
   struct Entity;
   // A place in the scenario, kept as references into the model so that
   // memory stays linear however deep the nesting; spelled out only for a
   // message.
   struct Place {
      const Entity * entity = nullptr;    // within this entity...
      const std::string * attr = nullptr; // ...this attribute...
      const std::string * key = nullptr;  // ...and, when set, this member of it
      std::string root;                   // or, without an entity, the place itself
   };
   struct Entity {
      Place place; // where its key (or the plugin's entity) is first used
      const Json * descriptor;
      Kiv::Ptr< Mlag::ConfigCheck::ConfigCheckDesc > desc;
      const Json * model;
      Porta::IntfId interface; // empty for the plugin's entity and groups
      bool parentFiled;
      bool filed = false;
      std::string mlagId; // the one its names carry, as last filed
   };
   struct Clash; // thrown by the walks, turned into a ScenarioError at the surface

   Entity & entity(const std::string * owner, std::string & name);
   void refreshState(Entity & e, const std::string & name) const;
   struct Entry {
      std::string key, what; // key empty: the value is not filed
   };
   Entry entry(const Entity & e, const std::string & name, const Kiv::String & base) const;
   void fileMember(Entity & e, const std::string & name, const std::string & collection,
                   const std::string & key, const Json & member, const Place & place, bool newKeys);
   void unfileMember(Entity & e, const std::string & name, const std::string & collection,
                     const std::string & key, const Json & member, bool dropKeys);
   void fileEntity(Entity & e, const std::string & name, bool newKeys);
   void unfileEntity(Entity & e, const std::string & name, bool dropKeys);
   void take(const Entry & entry, const Place & place);
   Place placeOf(const Json & member, Place inEntity) const;
   std::string text(const Place & place) const;
   [[noreturn]] void fail(const Clash & clash) const;

   std::string fileName_;
   const Json & descriptor_;
   const MlagIds & mlag_;
   Kiv::Ptr< Mlag::ConfigCheck::ConfigCheckDesc > desc_;
   Entity top_;
   std::unordered_map< std::string, Entity > nested_; // by key as the checker names it
   std::unordered_map< std::string, Place > entries_; // results entry -> place
   // Members of described collections that a step added -> that step, so
   // that filing them again (after an MLAG step) names the step.
   std::unordered_map< const Json *, Place > addedBy_;
};

} // namespace MlagSim
