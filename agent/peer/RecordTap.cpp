#include "RecordTap.h"

namespace MlagAgent::Peer {

using MlagP2p::ConfigCheck::CollectionConfig;

void snapshotFrames(const GenericConfig & record, std::string_view plugin, const FrameSink & send) {
   send(changeFrame(ChangeKind::paramName, plugin, {}, record.paramName().view()));
   for (auto & it : record.attrMap()) {
      send(changeFrame(ChangeKind::attrSet, plugin, {}, it.key().view(), {}, it.value().view()));
   }
   for (auto & it : record.attrCollectionMap()) {
      send(changeFrame(ChangeKind::collectionSet, plugin, {}, it.key().collection().view(),
                       it.key().key().view(), it.value().view()));
   }
   for (auto & it : record.nestedIntfConfigMap()) {
      send(changeFrame(ChangeKind::nestedSet, plugin, {{Table::intf, it.key()}}, {}, {}, {},
                       it.value().get()));
   }
   for (auto & it : record.nestedGlobalConfigMap()) {
      send(changeFrame(ChangeKind::nestedSet, plugin, {{Table::global, it.key()}}, {}, {}, {},
                       it.value().get()));
   }
}

RecordTap::RecordTap(const Kiv::Ptr< GenericConfig > & record, std::string plugin, FrameSink send,
                     Path path)
      : plugin_(std::move(plugin)), send_(std::move(send)), path_(std::move(path)) {
   notifierIs(record);
   for (auto & it : record->nestedIntfConfigMap()) watch(Table::intf, it.key(), it.value());
   for (auto & it : record->nestedGlobalConfigMap()) watch(Table::global, it.key(), it.value());
}

RecordTap::~RecordTap() = default;

void RecordTap::watch(Table table, const Kiv::Name & name,
                      const Kiv::Ptr< GenericConfig > & nested) {
   Path path = path_;
   path.push_back({table, name});
   children_[{table, name}] =
      std::make_unique< RecordTap >(nested, plugin_, send_, std::move(path));
}

void RecordTap::onParamName() {
   send_(changeFrame(ChangeKind::paramName, plugin_, path_, notifier()->paramName().view()));
}

void RecordTap::onAttr(const Kiv::String & attr) {
   if (notifier()->attrHas(attr)) {
      send_(changeFrame(ChangeKind::attrSet, plugin_, path_, attr.view(), {},
                        notifier()->attr(attr).view()));
   } else {
      send_(changeFrame(ChangeKind::attrDel, plugin_, path_, attr.view()));
   }
}

void RecordTap::onAttrCollection(const CollectionConfig & member) {
   if (notifier()->attrCollectionHas(member)) {
      send_(changeFrame(ChangeKind::collectionSet, plugin_, path_, member.collection().view(),
                        member.key().view(), notifier()->attrCollection(member).view()));
   } else {
      send_(changeFrame(ChangeKind::collectionDel, plugin_, path_, member.collection().view(),
                        member.key().view()));
   }
}

void RecordTap::onNested(Table table, const Kiv::Name & name) {
   Kiv::Ptr< GenericConfig > nested = table == Table::intf ? notifier()->nestedIntfConfig(name)
                                                           : notifier()->nestedGlobalConfig(name);
   Path path = path_;
   path.push_back({table, name});
   if (!nested) {
      children_.erase({table, name});
      send_(changeFrame(ChangeKind::nestedDel, plugin_, path));
      return;
   }
   send_(changeFrame(ChangeKind::nestedSet, plugin_, path, {}, {}, {}, nested.get()));
   watch(table, name, nested);
}

} // namespace MlagAgent::Peer
