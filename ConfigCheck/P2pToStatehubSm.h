// P2pToStatehubSm: the peer-side importer of one configuration model. It
// watches the record that the MLAG peer publishes and writes the peer column
// of the results directory; each nested configuration in the record gets a
// nested machine of the same class, created and deleted through the backlog.
//
//   auto peer = P2pToStatehubSm::P2pToStatehubSmIs(clock, dir, peerRecord, "Peer",
//                                                  mlagConfig, nullptr);
//   peer->configCheckDescIs(desc);   // the top-level machine gets its descriptor late
//   peer->handleInitialized();       // imports the record
#pragma once

#include <memory>

#include "ConfigCheckDesc.h"
#include "ConfigPluginDir.h"
#include "GenericConfig.h"
#include "MlagConfigCheckBacklog.h"
#include "MlagConfigReactor.h"
#include "kiv/Clock.h"
#include "mlag/MlagConfig.h"

namespace Mlag::ConfigCheck {

using MlagP2p::ConfigCheck::CollectionConfig;
using MlagP2p::ConfigCheck::GenericConfig;

class P2pToStatehubSm : public ConfigCheckSmBase {
 public:
   // Forwards changes of the peer record to its machine.
   class KivPeerConfig : public GenericConfig::NotifieeConst {
    public:
      KivPeerConfig(const Kiv::PtrConst< GenericConfig > & record, P2pToStatehubSm * owner);
      void onParamName() override {}
      void onAttr(const Kiv::String & attribute) override;
      void onAttrCollection(const CollectionConfig & collectionConfig) override;
      void onNestedIntfConfig(const Kiv::Name & configName) override;
      void onNestedGlobalConfig(const Kiv::Name & configName) override;

    private:
      P2pToStatehubSm * owner_; // back pointer; the machine owns this reactor
   };

   // Forwards MLAG interface changes to its machine.
   using KivMlagConfig = MlagConfigReactor< P2pToStatehubSm >;

   // `parentSm` is the machine that owns this one (it outlives it); null at the top.
   P2pToStatehubSm(const Kiv::PtrConst< Kiv::Clock > & clock,
                   const Kiv::Ptr< ConfigPluginDir > & configCheck,
                   const Kiv::PtrConst< GenericConfig > & peerConfig, const Kiv::String & name,
                   const Kiv::PtrConst< Mlag::Config > & mlagConfig, P2pToStatehubSm * parentSm);
   ~P2pToStatehubSm() override;

   static Kiv::Ptr< P2pToStatehubSm > P2pToStatehubSmIs(
      const Kiv::PtrConst< Kiv::Clock > & clock, const Kiv::Ptr< ConfigPluginDir > & configCheck,
      const Kiv::PtrConst< GenericConfig > & peerConfig, const Kiv::String & name,
      const Kiv::PtrConst< Mlag::Config > & mlagConfig, P2pToStatehubSm * parentSm);

   const Kiv::Ptr< ConfigPluginDir > & configCheck() const noexcept { return configCheck_; }
   const Kiv::String & name() const noexcept { return name_; }
   P2pToStatehubSm * parentSm() const noexcept { return parentSm_; }
   Kiv::PtrConst< GenericConfig > peerConfig() const;
   void peerConfigIs(const Kiv::PtrConst< GenericConfig > & peerConfig);
   Kiv::PtrConst< GenericConfig > peerConfigDel();
   Kiv::PtrConst< Mlag::Config > mlagConfig() const;
   void mlagConfigIs(const Kiv::PtrConst< Mlag::Config > & mlagConfig);
   Kiv::PtrConst< Mlag::Config > mlagConfigDel();
   const Kiv::String & mlagId() const noexcept { return mlagId_; }
   void mlagIdIs(const Kiv::String & mlagId) { mlagId_ = mlagId; }
   const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc() const noexcept { return configCheckDesc_; }
   void configCheckDescIs(const Kiv::Ptr< ConfigCheckDesc > & desc) { configCheckDesc_ = desc; }

   // Nested machines, keyed by the nested configuration's name.
   Kiv::Ptr< P2pToStatehubSm > p2pToStatehubSm(const Kiv::String & name) const;
   // The nested machine under `name`, created (with this machine as its
   // parent) when absent; a present one with a different constructor
   // parameter is refused with the name-in-use error.
   Kiv::Ptr< P2pToStatehubSm > p2pToStatehubSmIs(const Kiv::PtrConst< Kiv::Clock > & clock,
                                                 const Kiv::Ptr< ConfigPluginDir > & configCheck,
                                                 const Kiv::PtrConst< GenericConfig > & peerConfig,
                                                 const Kiv::String & name,
                                                 const Kiv::PtrConst< Mlag::Config > & mlagConfig);
   using NestedMap = Kiv::HashMap< Kiv::String, Kiv::Ptr< P2pToStatehubSm > >;
   void p2pToStatehubSmDel(const Kiv::String & name);
   // Removes the entry `it` stands on; the iterator stays usable for advancing.
   void p2pToStatehubSmDel(NestedMap::Iterator & it);
   // Removes every entry, each machine put into the zombie state first.
   void p2pToStatehubSmDelAll();
   NestedMap & p2pToStatehubSmMap() noexcept { return nested_; }
   std::size_t p2pToStatehubSmSize() const noexcept { return nested_.size(); }

   void handleInitialized();
   void handleMlagIntfConfig(const Porta::IntfId & intfId);
   void handleAttrChange(Kiv::String attribute);
   void handleCollectionChange(const CollectionConfig & collectionConfig);
   void handleNestedGlobalConfig(Kiv::String configName);
   void handleNestedGlobalConfig();
   void handleNestedIntfConfig(Kiv::String configName);
   void handleNestedIntfConfig();
   void handleDelete();
   void processSmCodefKey(const SmCodefKey & key);
   std::uint64_t processBacklog(const Kiv::Seconds & startTime) override;

   void hasNotificationActiveIs(bool active) override;
   void kivDoZombieReactors(bool zombie) override;

 private:
   // handleDelete here and in every nested machine beneath.
   void handleDeleteWithNested();

   Kiv::Ptr< ConfigPluginDir > configCheck_;
   std::unique_ptr< KivPeerConfig > peerConfig_; // null when there is no record
   Kiv::String name_;
   std::unique_ptr< KivMlagConfig > mlagConfig_; // null when there is no MLAG configuration
   P2pToStatehubSm * parentSm_;
   Kiv::String mlagId_;
   Kiv::Ptr< ConfigCheckDesc > configCheckDesc_;
   NestedMap nested_;
};

} // namespace Mlag::ConfigCheck
