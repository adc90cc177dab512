// Delivery of the watched entity's raw attribute notifications to the
// owning local-side machine.
#include "MlagConfigCheckGenericSm.h"

#include "StatehubToP2pSm.h"

namespace Mlag::ConfigCheck {

// Back pointer: the owning machine holds the handler and outlives it.
GenericHandler::GenericHandler(const Kiv::Ptr< Kiv::GenericIf > & entity, StatehubToP2pSm * context)
      : NotifieeConst(entity), context_(context) {}

void GenericHandler::attributeChange(const Kiv::KivAttr & attr, const Kiv::GenericValue & entity) {
   KIV_ASSERT(context_);
   context_->onAttributeChange(attr, entity);
}

void GenericHandler::onAttribute(const Kiv::KivAttr & attr, const Kiv::GenericValue & entity) {
   attributeChange(attr, entity);
}

void GenericHandler::onRawAttribute(std::uint32_t attrId) {
   if (const Kiv::KivAttr * attr = notifier()->kivType().attr(attrId)) {
      onAttribute(*attr, Kiv::GenericValue());
   }
}

void GenericHandler::onRawAttribute(std::uint32_t attrId, const Kiv::GenericValue & key) {
   if (const Kiv::KivAttr * attr = notifier()->kivType().attr(attrId)) onAttribute(*attr, key);
}

} // namespace Mlag::ConfigCheck
