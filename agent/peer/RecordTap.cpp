#include "RecordTap.h"

namespace MlagAgent::Peer {

using MlagP2p::ConfigCheck::CollectionConfig;

void snapshotChanges(const GenericConfig & record, std::string_view plugin, ChangeBatcher & out) {
   out.add(ChangeKind::paramName, plugin, {}, record.paramName().view());
   for (auto & it : record.attrMap()) {
      out.add(ChangeKind::attrSet, plugin, {}, it.key().view(), {}, it.value().view());
   }
   for (auto & it : record.attrCollectionMap()) {
      out.add(ChangeKind::collectionSet, plugin, {}, it.key().collection().view(),
              it.key().key().view(), it.value().view());
   }
   for (auto & it : record.nestedIntfConfigMap()) {
      out.add(ChangeKind::nestedSet, plugin, {{Table::intf, it.key()}}, {}, {}, {},
              it.value().get());
   }
   for (auto & it : record.nestedGlobalConfigMap()) {
      out.add(ChangeKind::nestedSet, plugin, {{Table::global, it.key()}}, {}, {}, {},
              it.value().get());
   }
}

RecordTap::RecordTap(const Kiv::Ptr< GenericConfig > & record, std::string plugin,
                     ChangeBatcher & out, Path path)
      : plugin_(std::move(plugin)), out_(out), path_(std::move(path)) {
   notifierIs(record);
   for (auto & it : record->nestedIntfConfigMap()) watch(Table::intf, it.key(), it.value());
   for (auto & it : record->nestedGlobalConfigMap()) watch(Table::global, it.key(), it.value());
}

RecordTap::~RecordTap() = default;

void RecordTap::watch(Table table, const Kiv::Name & name,
                      const Kiv::Ptr< GenericConfig > & nested) {
   Path path = path_;
   path.push_back({table, name});
   children_[{table, name}] = std::make_unique< RecordTap >(nested, plugin_, out_, std::move(path));
}

void RecordTap::onParamName() {
   out_.add(ChangeKind::paramName, plugin_, path_, notifier()->paramName().view());
}

void RecordTap::onAttr(const Kiv::String & attr) {
   if (notifier()->attrHas(attr)) {
      out_.add(ChangeKind::attrSet, plugin_, path_, attr.view(), {}, notifier()->attr(attr).view());
   } else {
      out_.add(ChangeKind::attrDel, plugin_, path_, attr.view());
   }
}

void RecordTap::onAttrCollection(const CollectionConfig & member) {
   if (notifier()->attrCollectionHas(member)) {
      out_.add(ChangeKind::collectionSet, plugin_, path_, member.collection().view(),
               member.key().view(), notifier()->attrCollection(member).view());
   } else {
      out_.add(ChangeKind::collectionDel, plugin_, path_, member.collection().view(),
               member.key().view());
   }
}

void RecordTap::onNested(Table table, const Kiv::Name & name) {
   Kiv::Ptr< GenericConfig > nested = table == Table::intf ? notifier()->nestedIntfConfig(name)
                                                           : notifier()->nestedGlobalConfig(name);
   Path path = path_;
   path.push_back({table, name});
   if (!nested) {
      children_.erase({table, name});
      out_.add(ChangeKind::nestedDel, plugin_, path);
      return;
   }
   out_.add(ChangeKind::nestedSet, plugin_, path, {}, {}, {}, nested.get());
   watch(table, name, nested);
}

} // namespace MlagAgent::Peer
