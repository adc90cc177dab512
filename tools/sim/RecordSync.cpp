#include "RecordSync.h"

#include <vector>

namespace MlagSim {

using MlagP2p::ConfigCheck::CollectionConfig;
using MlagP2p::ConfigCheck::GenericConfig;

namespace {

// The keys go first into a list: the maps change while the loop runs.
template < typename Map >
auto keysOf(const Map & map) {
   std::vector< std::decay_t< decltype(map.begin().key()) > > keys;
   for (auto & it : map) keys.push_back(it.key());
   return keys;
}

} // namespace

void syncRecord(const GenericConfig & from, GenericConfig & to) {
   to.paramNameIs(from.paramName());
   for (const Kiv::String & attr : keysOf(to.attrMap())) {
      if (!from.attrHas(attr)) to.attrDel(attr);
   }
   for (auto & it : from.attrMap()) to.attrIs(it.key(), it.value());
   for (const CollectionConfig & member : keysOf(to.attrCollectionMap())) {
      if (!from.attrCollectionHas(member)) to.attrCollectionDel(member);
   }
   for (auto & it : from.attrCollectionMap()) to.attrCollectionIs(it.key(), it.value());

   for (const Kiv::Name & name : keysOf(to.nestedIntfConfigMap())) {
      if (!from.nestedIntfConfig(name)) to.nestedIntfConfigDel(name);
   }
   for (auto & it : from.nestedIntfConfigMap()) {
      if (Kiv::Ptr< GenericConfig > present = to.nestedIntfConfig(it.key())) {
         syncRecord(*it.value(), *present);
         continue;
      }
      to.hasNotificationActiveIs(false);
      Kiv::Ptr< GenericConfig > copy = to.nestedIntfConfigIs(it.key());
      syncRecord(*it.value(), *copy);
      to.hasNotificationActiveIs(true);
      to.nestedIntfConfigNotify(it.key());
   }
   for (const Kiv::Name & name : keysOf(to.nestedGlobalConfigMap())) {
      if (!from.nestedGlobalConfig(name)) to.nestedGlobalConfigDel(name);
   }
   for (auto & it : from.nestedGlobalConfigMap()) {
      if (Kiv::Ptr< GenericConfig > present = to.nestedGlobalConfig(it.key())) {
         syncRecord(*it.value(), *present);
         continue;
      }
      to.hasNotificationActiveIs(false);
      Kiv::Ptr< GenericConfig > copy = to.nestedGlobalConfigIs(it.key());
      syncRecord(*it.value(), *copy);
      to.hasNotificationActiveIs(true);
      to.nestedGlobalConfigNotify(it.key());
   }
}

void wipeRecord(GenericConfig & record) {
   for (const Kiv::String & attr : keysOf(record.attrMap())) record.attrDel(attr);
   for (const CollectionConfig & member : keysOf(record.attrCollectionMap())) {
      record.attrCollectionDel(member);
   }
   for (const Kiv::Name & name : keysOf(record.nestedIntfConfigMap())) {
      record.nestedIntfConfigDel(name);
   }
   for (const Kiv::Name & name : keysOf(record.nestedGlobalConfigMap())) {
      record.nestedGlobalConfigDel(name);
   }
}

RecordSpy::RecordSpy(const Kiv::Ptr< GenericConfig > & record, std::function< void() > changed)
      : changed_(std::move(changed)) {
   notifierIs(record);
   for (auto & it : record->nestedIntfConfigMap()) watch(it.value(), intfChildren_, it.key());
   for (auto & it : record->nestedGlobalConfigMap()) watch(it.value(), globalChildren_, it.key());
}

RecordSpy::~RecordSpy() = default;

void RecordSpy::watch(const Kiv::Ptr< GenericConfig > & nested, Children & children,
                      const Kiv::Name & name) {
   children[name] = std::make_unique< RecordSpy >(nested, changed_);
}

void RecordSpy::onNestedIntfConfig(const Kiv::Name & name) {
   if (Kiv::Ptr< GenericConfig > nested = notifier()->nestedIntfConfig(name)) {
      watch(nested, intfChildren_, name);
   } else {
      intfChildren_.erase(name);
   }
   changed_();
}

void RecordSpy::onNestedGlobalConfig(const Kiv::Name & name) {
   if (Kiv::Ptr< GenericConfig > nested = notifier()->nestedGlobalConfig(name)) {
      watch(nested, globalChildren_, name);
   } else {
      globalChildren_.erase(name);
   }
   changed_();
}

} // namespace MlagSim
