// GenericHandler: the attribute-change notifiee that a local-side machine
// registers on the configuration entity it watches. Every change of any
// attribute of that entity reaches the machine's onAttributeChange.
//
//   handler = std::make_unique< GenericHandler >(readConfig, this);
#pragma once

#include "kiv/GenericIf.h"

namespace Mlag::ConfigCheck {

class StatehubToP2pSm;

class GenericHandler : public Kiv::GenericIf::NotifieeConst {
 public:
   // `context` owns this handler and outlives it.
   GenericHandler(const Kiv::Ptr< Kiv::GenericIf > & entity, StatehubToP2pSm * context);

   void onRawAttribute(std::uint32_t attrId) override;
   void onRawAttribute(std::uint32_t attrId, const Kiv::GenericValue & key) override;
   // `entity` is the handle of the collection member that changed; null for a scalar.
   virtual void onAttribute(const Kiv::KivAttr & attr, const Kiv::GenericValue & entity);
   void attributeChange(const Kiv::KivAttr & attr, const Kiv::GenericValue & entity);

 private:
   StatehubToP2pSm * context_; // back pointer to the owning machine
};

} // namespace Mlag::ConfigCheck
