#include "FilingIndex.h"

#include "ConfigBuilder.h"
#include "ConfigCheck/MlagConfigCheckNaming.h"
#include "DescriptorJson.h"
#include "OneLine.h"
#include "Scenario.h"

namespace MlagSim {

namespace {

using Json = nlohmann::json;
namespace Naming = Mlag::ConfigCheck;

// The plugin's own entity files under this name: no suffix, no group id.
const std::string localName = "Local";

// A collection key as the checker names it: its unquoted text form.
std::string keyName(const std::string & key) {
   const Kiv::GenericValue value(Kiv::Value::string(Kiv::String(key)));
   return Naming::stringUnquote(Naming::strRep(value)).stdString();
}

std::string inQuotes(const std::string & text) { return "'" + text + "'"; }

// One JSON pointer token, "~" and "/" escaped.
std::string token(const std::string & text) {
   std::string out;
   for (char c : text) {
      if (c == '~') {
         out += "~0";
      } else if (c == '/') {
         out += "~1";
      } else {
         out += c;
      }
   }
   return out;
}

const Json * mapOf(const Json * descriptor, const char * map) {
   if (!descriptor) return nullptr;
   auto it = descriptor->find(map);
   return it == descriptor->end() ? nullptr : &*it;
}

// Calls visit(attribute, display name) for each scalar the descriptor names.
template < class Visit >
void forEachScalar(const Json * descriptor, Visit visit) {
   const Json * scalars = mapOf(descriptor, "attrName");
   if (!scalars) return;
   for (const auto & [attr, display] : scalars->items()) {
      visit(attr, Kiv::String(display.template get< std::string >()));
   }
}

// Calls visit(collection, key, member) for each member of each collection the
// descriptor names, a collection in both collectionName and
// nestedConfigCheckDesc once.
template < class Visit >
void forEachMember(const Json * descriptor, const Json & model, Visit visit) {
   const Json * named = mapOf(descriptor, "collectionName");
   for (const Json * collections : {named, mapOf(descriptor, "nestedConfigCheckDesc")}) {
      if (!collections) continue;
      for (const auto & [collection, unused] : collections->items()) {
         if (collections != named && named && named->contains(collection)) continue;
         auto members = model.find(collection);
         if (members == model.end() || !isEntityJson(*members)) continue;
         for (const auto & [key, member] : members->items()) visit(collection, key, member);
      }
   }
}

} // namespace

struct FilingIndex::Clash {
   std::string place; // what would be filed second
   std::string what;  // the key or results entry both use
   std::string other; // what already uses it
   bool key;
};

FilingIndex::FilingIndex(std::string fileName, const Json & descriptor, const MlagIds & mlag)
      : fileName_(std::move(fileName)),
        descriptor_(descriptor),
        mlag_(mlag),
        desc_(buildDescriptor(localName, descriptor)),
        top_{{}, &descriptor_, desc_, nullptr, Porta::IntfId(), true, true, {}} {}

void FilingIndex::fileConfiguration(const Json & entity, const std::string & place) {
   top_.place.root = place;
   top_.model = &entity;
   try {
      fileEntity(top_, localName, true);
   } catch (const Clash & clash) {
      fail(clash);
   }
}

void FilingIndex::memberAdded(const std::string * owner, const std::string & collection,
                              const std::string & key, const Json & member,
                              const std::string & place) {
   std::string name;
   Entity & e = entity(owner, name);
   const Place added{nullptr, nullptr, nullptr, place};
   if (declaredShape(e.descriptor, collection) == AttrShape::collection) {
      addedBy_.emplace(&member, added);
   }
   try {
      fileMember(e, name, collection, key, member, added, true);
   } catch (const Clash & clash) {
      fail(clash);
   }
}

void FilingIndex::memberRemoved(const std::string * owner, const std::string & collection,
                                const std::string & key, const Json & member) {
   std::string name;
   Entity & e = entity(owner, name);
   unfileMember(e, name, collection, key, member, true);
}

void FilingIndex::mlagChanged(const std::string & interface, const std::string & place) {
   // An interface name is its own text form, so it is also the key's name.
   auto it = nested_.find(interface);
   if (it == nested_.end()) return;
   Entity & e = it->second;
   unfileEntity(e, interface, false);
   refreshState(e, interface);
   try {
      fileEntity(e, interface, false);
   } catch (const Clash & clash) {
      const std::string id = e.mlagId.empty() ? "no MLAG id" : "MLAG id " + inQuotes(e.mlagId);
      throw ScenarioError(oneLine(fileName_ + ": " + place + ": with " + id + ", " + clash.place +
                                  " and " + clash.other + " would share " + clash.what +
                                  ": the checker would keep only one of the two values; change "
                                  "a display name (attrName, collectionName) so that they differ"));
   }
}

FilingIndex::Entity & FilingIndex::entity(const std::string * owner, std::string & name) {
   if (!owner) {
      name = localName;
      return top_;
   }
   name = keyName(*owner);
   return nested_.at(name);
}

// A nested configuration is filed when its parent is, unless its descriptor
// files MLAG interfaces only and it is no interface with an MLAG id: the
// checker then makes no machine for it, nor for anything nested in it.
void FilingIndex::refreshState(Entity & e, const std::string & name) const {
   e.mlagId.clear();
   if (e.interface) {
      auto it = mlag_.find(name);
      if (it != mlag_.end()) e.mlagId = it->second;
   }
   e.filed = e.parentFiled && !(e.desc->mlagInterfacesOnly() && e.mlagId.empty());
}

FilingIndex::Entry FilingIndex::entry(const Entity & e, const std::string & name,
                                      const Kiv::String & base) const {
   const Kiv::String param =
      Naming::getParamName(e.desc, base, e.interface, Kiv::String(e.mlagId), Kiv::String(name));
   if (param.empty()) return {};
   const std::string text = param.stdString();
   if (!e.interface) return {"g" + text, "results entry " + inQuotes(text)};
   return {"i" + name + '\0' + text,
           "results entry " + inQuotes(text) + " of interface " + inQuotes(name)};
}

void FilingIndex::take(const Entry & entry, const Place & place) {
   if (entry.key.empty()) return;
   auto [it, taken] = entries_.try_emplace(entry.key, place);
   if (!taken) throw Clash{text(place), entry.what, text(it->second), false};
}

// Recurses once per level of nesting, which the reader bounds.
std::string FilingIndex::text(const Place & place) const {
   if (!place.entity) return place.root;
   std::string out = text(place.entity->place) + "/" + token(*place.attr);
   return place.key ? out + "/" + token(*place.key) : out;
}

void FilingIndex::fileMember(Entity & e, const std::string & name, const std::string & collection,
                             const std::string & key, const Json & member, const Place & place,
                             bool newKeys) {
   const Json * displayNames = mapOf(e.descriptor, "collectionName");
   if (e.filed && displayNames && displayNames->contains(collection)) {
      const Kiv::String display((*displayNames)[collection].get< std::string >());
      take(entry(e, name, Naming::collectionMemberParam(Kiv::String(keyName(key)), display)),
           place);
   }
   const Json * nested = nestedDescriptor(e.descriptor, collection);
   if (!nested || !isEntityJson(member)) return;
   const std::string childName = keyName(key);
   auto it = nested_.find(childName);
   if (newKeys) {
      if (it != nested_.end()) {
         throw Clash{text(place), "nested configuration key " + inQuotes(childName),
                     text(it->second.place), true};
      }
      Entity created{place,
                     nested,
                     e.desc->nestedConfigCheckDesc(Kiv::Name(collection)),
                     &member,
                     Naming::getIntfId(Kiv::String(childName)),
                     e.filed,
                     false,
                     {}};
      it = nested_.emplace(childName, std::move(created)).first;
   }
   Entity & c = it->second;
   c.parentFiled = e.filed;
   refreshState(c, childName);
   fileEntity(c, childName, newKeys);
}

void FilingIndex::unfileMember(Entity & e, const std::string & name, const std::string & collection,
                               const std::string & key, const Json & member, bool dropKeys) {
   if (dropKeys) addedBy_.erase(&member);
   const Json * displayNames = mapOf(e.descriptor, "collectionName");
   if (e.filed && displayNames && displayNames->contains(collection)) {
      const Kiv::String display((*displayNames)[collection].get< std::string >());
      const Entry gone =
         entry(e, name, Naming::collectionMemberParam(Kiv::String(keyName(key)), display));
      if (!gone.key.empty()) entries_.erase(gone.key);
   }
   if (!nestedDescriptor(e.descriptor, collection) || !isEntityJson(member)) return;
   const std::string childName = keyName(key);
   auto it = nested_.find(childName);
   unfileEntity(it->second, childName, dropKeys);
   if (dropKeys) nested_.erase(it);
}

FilingIndex::Place FilingIndex::placeOf(const Json & member, Place inEntity) const {
   auto it = addedBy_.find(&member);
   return it == addedBy_.end() ? inEntity : it->second;
}

void FilingIndex::fileEntity(Entity & e, const std::string & name, bool newKeys) {
   if (e.filed) {
      forEachScalar(e.descriptor, [&](const std::string & attr, const Kiv::String & display) {
         take(entry(e, name, display), Place{&e, &attr, nullptr, {}});
      });
   }
   forEachMember(e.descriptor, *e.model,
                 [&](const std::string & collection, const std::string & key, const Json & member) {
                    fileMember(e, name, collection, key, member,
                               placeOf(member, Place{&e, &collection, &key, {}}), newKeys);
                 });
}

void FilingIndex::unfileEntity(Entity & e, const std::string & name, bool dropKeys) {
   if (e.filed) {
      forEachScalar(e.descriptor, [&](const std::string &, const Kiv::String & display) {
         const Entry gone = entry(e, name, display);
         if (!gone.key.empty()) entries_.erase(gone.key);
      });
   }
   forEachMember(e.descriptor, *e.model,
                 [&](const std::string & collection, const std::string & key, const Json & member) {
                    unfileMember(e, name, collection, key, member, dropKeys);
                 });
}

void FilingIndex::fail(const Clash & clash) const {
   const std::string line =
      clash.key ? clash.what + " is already used at " + clash.other +
                     ": the checker knows a nested configuration by its key alone; give it "
                     "another key, or list members in a value collection of the group "
                     "(collectionName) rather than as nested configurations"
                : clash.what + " is already used by " + clash.other +
                     ": the checker would keep only one of the two values; change a display "
                     "name (attrName, collectionName) so that they differ";
   throw ScenarioError(oneLine(fileName_ + ": " + clash.place + ": " + line));
}

} // namespace MlagSim
