// MlagConfigCheckSm: the root of one config-check plugin's machinery. Its
// constructor empties the plugin's results directory, starts the local side
// "Local" and then the peer side "Peer" (handed the descriptor and initialized
// again), and marks itself initialized. SmContainer is the named entity that
// holds one in its `configCheckSm` attribute.
//
//   auto container = smContainerFactory("lacp");
//   container->configCheckSmIs(resultsDir, "lacp", config, localRecord, peerRecord, desc,
//                              mlagConfig);
//
// Teardown (destructor): zombie first, then the local side, then the peer
// side are removed with their notifications switched off; entries left in
// the results directory are cleared by the next start.
#pragma once

#include <vector>

#include "ConfigCheckDesc.h"
#include "ConfigPluginDir.h"
#include "GenericConfig.h"
#include "P2pToStatehubSm.h"
#include "StatehubToP2pSm.h"
#include "kiv/GenericIf.h"
#include "mlag/MlagConfig.h"

namespace Mlag::ConfigCheck {

class MlagConfigCheckSm : public Kiv::PtrInterface {
 public:
   MlagConfigCheckSm(const Kiv::Ptr< ConfigPluginDir > & configCheck, const Kiv::String & name,
                     const Kiv::Ptr< Kiv::Entity > & readConfig,
                     const Kiv::Ptr< GenericConfig > & writeConfig,
                     const Kiv::Ptr< GenericConfig > & compareConfig,
                     const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
                     const Kiv::PtrConst< Mlag::Config > & mlagConfig);
   ~MlagConfigCheckSm() override;

   // Allocates, constructs (which initializes), then switches notifications on.
   static Kiv::Ptr< MlagConfigCheckSm > MlagConfigCheckSmIs(
      const Kiv::Ptr< ConfigPluginDir > & configCheck, const Kiv::String & name,
      const Kiv::Ptr< Kiv::Entity > & readConfig, const Kiv::Ptr< GenericConfig > & writeConfig,
      const Kiv::Ptr< GenericConfig > & compareConfig,
      const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
      const Kiv::PtrConst< Mlag::Config > & mlagConfig);

   const Kiv::Ptr< ConfigPluginDir > & configCheck() const noexcept { return configCheck_; }
   const Kiv::String & name() const noexcept { return name_; }
   const Kiv::Ptr< Kiv::Entity > & readConfig() const noexcept { return readConfig_; }
   const Kiv::Ptr< GenericConfig > & writeConfig() const noexcept { return writeConfig_; }
   const Kiv::Ptr< GenericConfig > & compareConfig() const noexcept { return compareConfig_; }
   const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc() const noexcept { return configCheckDesc_; }
   const Kiv::PtrConst< Mlag::Config > & mlagConfig() const noexcept { return mlagConfig_; }
   const Kiv::Ptr< StatehubToP2pSm > & statehubToP2pSm() const noexcept { return statehubToP2pSm_; }
   const Kiv::Ptr< P2pToStatehubSm > & p2pToStatehubSm() const noexcept { return p2pToStatehubSm_; }
   bool initialized() const noexcept { return initialized_; }
   void initializedIs(bool initialized) { initialized_ = initialized; }

   // Instantiating setters: the present object when every constructor
   // argument is the same, otherwise a new one that replaces it.
   Kiv::Ptr< StatehubToP2pSm > statehubToP2pSmIs(
      const Kiv::PtrConst< Kiv::Clock > & clock, const Kiv::Ptr< ConfigPluginDir > & configCheck,
      const Kiv::String & name, const Kiv::Ptr< Kiv::GenericIf > & readConfig,
      const Kiv::Ptr< GenericConfig > & writeConfig,
      const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
      const Kiv::PtrConst< Mlag::Config > & mlagConfig);
   Kiv::Ptr< P2pToStatehubSm > p2pToStatehubSmIs(const Kiv::PtrConst< Kiv::Clock > & clock,
                                                 const Kiv::Ptr< ConfigPluginDir > & configCheck,
                                                 const Kiv::PtrConst< GenericConfig > & peerConfig,
                                                 const Kiv::String & name,
                                                 const Kiv::PtrConst< Mlag::Config > & mlagConfig,
                                                 P2pToStatehubSm * parentSm);
   // Empty the attribute and switch the removed machine's notifications off.
   Kiv::Ptr< StatehubToP2pSm > statehubToP2pSmDel();
   Kiv::Ptr< P2pToStatehubSm > p2pToStatehubSmDel();

   void handleInitialized();
   void handleLocalSmCreation(Kiv::String name, Kiv::Ptr< Kiv::GenericIf > config);
   void handlePeerSmCreation(Kiv::String name);

   void hasNotificationActiveIs(bool active) override;

   // Reflective access by attribute name. Returns false for an attribute this
   // type does not know, so that a base type may handle it; raises the
   // operation-not-supported error for an operation the attribute lacks.
   enum class GenericOp { get, set, instantiate, del, call };
   bool genericIfOp(GenericOp op, std::string_view attrName,
                    const std::vector< Kiv::GenericValue > & args, Kiv::GenericValue & result);
   static const Kiv::KivType & kivType();

 private:
   // Declaration order is the order of the reflective attribute numbers.
   Kiv::Ptr< ConfigPluginDir > configCheck_;
   Kiv::String name_;
   Kiv::Ptr< Kiv::Entity > readConfig_;
   Kiv::Ptr< GenericConfig > writeConfig_;
   Kiv::Ptr< GenericConfig > compareConfig_;
   Kiv::Ptr< ConfigCheckDesc > configCheckDesc_;
   Kiv::PtrConst< Mlag::Config > mlagConfig_;
   Kiv::Ptr< StatehubToP2pSm > statehubToP2pSm_;
   Kiv::Ptr< P2pToStatehubSm > p2pToStatehubSm_;
   bool initialized_ = false;
};

Kiv::Ptr< MlagConfigCheckSm > mlagConfigCheckSmFactory(
   const Kiv::Ptr< ConfigPluginDir > & configCheck, const Kiv::String & name,
   const Kiv::Ptr< Kiv::Entity > & readConfig, const Kiv::Ptr< GenericConfig > & writeConfig,
   const Kiv::Ptr< GenericConfig > & compareConfig,
   const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
   const Kiv::PtrConst< Mlag::Config > & mlagConfig);

class SmContainer : public Kiv::Entity {
 public:
   class NotifieeConst : public Kiv::Notifiee< SmContainer > {
    public:
      virtual void onConfigCheckSm() {}
   };
   explicit SmContainer(const Kiv::Name & name) : Entity(name) {}
   ~SmContainer() override;

   const Kiv::Ptr< MlagConfigCheckSm > & configCheckSm() const noexcept { return configCheckSm_; }
   Kiv::Ptr< MlagConfigCheckSm > configCheckSmIs(
      const Kiv::Ptr< ConfigPluginDir > & configCheck, const Kiv::String & name,
      const Kiv::Ptr< Kiv::Entity > & readConfig, const Kiv::Ptr< GenericConfig > & writeConfig,
      const Kiv::Ptr< GenericConfig > & compareConfig,
      const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
      const Kiv::PtrConst< Mlag::Config > & mlagConfig);
   Kiv::Ptr< MlagConfigCheckSm > configCheckSmDel();

 private:
   Kiv::Ptr< MlagConfigCheckSm > configCheckSm_;
};

Kiv::Ptr< SmContainer > smContainerFactory(const Kiv::Name & name);

// Registers the checker's types, in load order, once per process.
void registerConfigCheckTypes();

} // namespace Mlag::ConfigCheck
