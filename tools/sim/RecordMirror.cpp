#include "RecordMirror.h"

#include "kiv/Assert.h"

namespace MlagSim {

void copyRecord(const GenericConfig & from, GenericConfig & to) {
   to.paramNameIs(from.paramName());
   for (auto & it : from.attrMap()) to.attrIs(it.key(), it.value());
   for (auto & it : from.attrCollectionMap()) to.attrCollectionIs(it.key(), it.value());
   for (auto & it : from.nestedIntfConfigMap()) {
      copyRecord(*it.value(), *to.nestedIntfConfigIs(it.key()));
   }
   for (auto & it : from.nestedGlobalConfigMap()) {
      copyRecord(*it.value(), *to.nestedGlobalConfigIs(it.key()));
   }
}

RecordMirror::RecordMirror(const Kiv::Ptr< GenericConfig > & source,
                           const Kiv::Ptr< GenericConfig > & target,
                           Kiv::Trace::Context targetContext)
      : target_(target), targetContext_(targetContext) {
   notifierIs(source);
   for (auto & it : source->nestedIntfConfigMap()) {
      watchNested(it.value(), target->nestedIntfConfig(it.key()), intfChildren_, it.key());
   }
   for (auto & it : source->nestedGlobalConfigMap()) {
      watchNested(it.value(), target->nestedGlobalConfig(it.key()), globalChildren_, it.key());
   }
}

RecordMirror::~RecordMirror() = default;

void RecordMirror::watchNested(const Kiv::Ptr< GenericConfig > & source,
                               const Kiv::Ptr< GenericConfig > & target, Children & children,
                               const Kiv::Name & name) {
   KIV_ASSERT(target && "the peer record starts as a copy of the local record");
   children[name] = std::make_unique< RecordMirror >(source, target, targetContext_);
}

void RecordMirror::onParamName() {
   Kiv::Trace::ContextScope scope(targetContext_);
   target_->paramNameIs(notifier()->paramName());
}

void RecordMirror::onAttr(const Kiv::String & attr) {
   Kiv::Trace::ContextScope scope(targetContext_);
   if (notifier()->attrHas(attr)) {
      target_->attrIs(attr, notifier()->attr(attr));
   } else {
      target_->attrDel(attr);
   }
}

void RecordMirror::onAttrCollection(const CollectionConfig & member) {
   Kiv::Trace::ContextScope scope(targetContext_);
   if (notifier()->attrCollectionHas(member)) {
      target_->attrCollectionIs(member, notifier()->attrCollection(member));
   } else {
      target_->attrCollectionDel(member);
   }
}

void RecordMirror::onNestedIntfConfig(const Kiv::Name & name) {
   Kiv::Trace::ContextScope scope(targetContext_);
   Kiv::Ptr< GenericConfig > added = notifier()->nestedIntfConfig(name);
   if (!added) {
      intfChildren_.erase(name);
      target_->nestedIntfConfigDel(name);
      return;
   }
   // Announced only once filled, so the peer's reactors meet the whole record.
   target_->hasNotificationActiveIs(false);
   Kiv::Ptr< GenericConfig > copy = target_->nestedIntfConfigIs(name);
   copyRecord(*added, *copy);
   target_->hasNotificationActiveIs(true);
   watchNested(added, copy, intfChildren_, name);
   target_->nestedIntfConfigNotify(name);
}

void RecordMirror::onNestedGlobalConfig(const Kiv::Name & name) {
   Kiv::Trace::ContextScope scope(targetContext_);
   Kiv::Ptr< GenericConfig > added = notifier()->nestedGlobalConfig(name);
   if (!added) {
      globalChildren_.erase(name);
      target_->nestedGlobalConfigDel(name);
      return;
   }
   target_->hasNotificationActiveIs(false);
   Kiv::Ptr< GenericConfig > copy = target_->nestedGlobalConfigIs(name);
   copyRecord(*added, *copy);
   target_->hasNotificationActiveIs(true);
   watchNested(added, copy, globalChildren_, name);
   target_->nestedGlobalConfigNotify(name);
}

} // namespace MlagSim
