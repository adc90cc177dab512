// MlagConfigReactor< Owner >: the reactor by which a checker machine hears
// changes of interface entries in the switch's MLAG configuration. Both sides
// keep one (as their KivMlagConfig) and react in their handleMlagIntfConfig.
//
//   std::unique_ptr< MlagConfigReactor< Sm > > reactor;
//   watchMlagConfig(reactor, mlagConfig, this);   // null drops the reactor
//   watchedMlagConfig(reactor);                   // what it watches now
//
// Lifetime: owned by its machine (unique_ptr member); the back pointer to the
// owner stays valid because the owner destroys the reactor with itself.
#pragma once

#include <memory>

#include "mlag/MlagConfig.h"

namespace Mlag::ConfigCheck {

template < class Owner >
class MlagConfigReactor : public Mlag::Config::NotifieeConst {
 public:
   MlagConfigReactor(const Kiv::PtrConst< Mlag::Config > & config, Owner * owner) : owner_(owner) {
      notifierIs(config);
   }
   void onIntfConfig(const Porta::IntfId & intfId) override {
      owner_->handleMlagIntfConfig(intfId);
   }

 private:
   Owner * owner_; // back pointer; the owner owns this reactor
};

// The configuration `reactor` watches; null when there is no reactor.
template < class Owner >
Kiv::PtrConst< Mlag::Config > watchedMlagConfig(
   const std::unique_ptr< MlagConfigReactor< Owner > > & reactor) {
   return reactor ? reactor->notifier() : Kiv::PtrConst< Mlag::Config >();
}

// Points `reactor` at `config`: a null one drops the reactor, the one watched
// already changes nothing, another rebinds the reactor or creates it.
template < class Owner >
void watchMlagConfig(std::unique_ptr< MlagConfigReactor< Owner > > & reactor,
                     const Kiv::PtrConst< Mlag::Config > & config, Owner * owner) {
   if (!config) {
      reactor.reset();
   } else if (reactor) {
      reactor->notifierIs(config);
   } else {
      reactor = std::make_unique< MlagConfigReactor< Owner > >(config, owner);
   }
}

} // namespace Mlag::ConfigCheck
