// StatehubToP2pSm: the local-side publisher of one configuration model. It
// watches a local configuration entity generically, publishes the values its
// descriptor names into the peer-to-peer record sent to the MLAG peer, and
// records the same values in the local column of the results directory.
// Elements of nested collections get nested machines of the same class,
// created and deleted through the backlog.
//
//   auto local = StatehubToP2pSm::StatehubToP2pSmIs(clock, dir, "Local", config, record,
//                                                    desc, mlagConfig);  // started at once
//
// Lifetime: the constructor runs the start sequence; the destructor cleans
// up, switches the reactors to zombies, then destroys the nested machines,
// deepest first. The constructor parameters never change.
#pragma once

#include <memory>
#include <vector>

#include "ConfigCheckDesc.h"
#include "ConfigPluginDir.h"
#include "GenericConfig.h"
#include "MlagConfigCheckBacklog.h"
#include "MlagConfigCheckGenericSm.h"
#include "MlagConfigReactor.h"
#include "kiv/Clock.h"
#include "kiv/GenericIf.h"
#include "mlag/MlagConfig.h"

namespace Mlag::ConfigCheck {

using MlagP2p::ConfigCheck::GenericConfig;

class StatehubToP2pSm : public ConfigCheckSmBase {
 public:
   // Reacts to MLAG interface changes on behalf of its machine.
   using KivMlagConfig = MlagConfigReactor< StatehubToP2pSm >;

   // Watchers of the nested machines hear onStatehubToP2pSm(name) when the
   // entry under `name` comes, goes or is notified.
   class NotifieeConst : public Kiv::Notifiee< StatehubToP2pSm > {
    public:
      virtual void onStatehubToP2pSm(const Kiv::String &) {}
   };

   StatehubToP2pSm(const Kiv::PtrConst< Kiv::Clock > & clock,
                   const Kiv::Ptr< ConfigPluginDir > & configCheck, const Kiv::String & name,
                   const Kiv::Ptr< Kiv::GenericIf > & readConfig,
                   const Kiv::Ptr< GenericConfig > & writeConfig,
                   const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
                   const Kiv::PtrConst< Mlag::Config > & mlagConfig);
   ~StatehubToP2pSm() override;

   static Kiv::Ptr< StatehubToP2pSm > StatehubToP2pSmIs(
      const Kiv::PtrConst< Kiv::Clock > & clock, const Kiv::Ptr< ConfigPluginDir > & configCheck,
      const Kiv::String & name, const Kiv::Ptr< Kiv::GenericIf > & readConfig,
      const Kiv::Ptr< GenericConfig > & writeConfig,
      const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
      const Kiv::PtrConst< Mlag::Config > & mlagConfig);

   const Kiv::Ptr< ConfigPluginDir > & configCheck() const noexcept { return configCheck_; }
   const Kiv::String & name() const noexcept { return name_; }
   const Kiv::Ptr< Kiv::GenericIf > & readConfig() const noexcept { return readConfig_; }
   const Kiv::Ptr< GenericConfig > & writeConfig() const noexcept { return writeConfig_; }
   const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc() const noexcept { return configCheckDesc_; }
   // The MLAG configuration the reactor watches; null when there is none.
   Kiv::PtrConst< Mlag::Config > mlagConfig() const;
   void mlagConfigIs(const Kiv::PtrConst< Mlag::Config > & mlagConfig);
   Kiv::PtrConst< Mlag::Config > mlagConfigDel();
   const Kiv::String & mlagId() const noexcept { return mlagId_; }
   void mlagIdIs(const Kiv::String & mlagId);
   GenericHandler * genericHandler() const noexcept { return genericHandler_.get(); }
   void genericHandlerIs(std::unique_ptr< GenericHandler > handler);

   // Nested machines, keyed by element key.
   Kiv::Ptr< StatehubToP2pSm > statehubToP2pSm(const Kiv::String & name) const;
   // The nested machine under `name`, created when absent; a present one with
   // a different constructor parameter is refused with the name-in-use error.
   Kiv::Ptr< StatehubToP2pSm > statehubToP2pSmIs(
      const Kiv::PtrConst< Kiv::Clock > & clock, const Kiv::Ptr< ConfigPluginDir > & configCheck,
      const Kiv::String & name, const Kiv::Ptr< Kiv::GenericIf > & readConfig,
      const Kiv::Ptr< GenericConfig > & writeConfig,
      const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
      const Kiv::PtrConst< Mlag::Config > & mlagConfig);
   void statehubToP2pSmDel(const Kiv::String & name);
   void statehubToP2pSmDelAll();
   void statehubToP2pSmNotify(const Kiv::String & name);
   std::size_t statehubToP2pSmSize() const noexcept { return nested_.size(); }

   void handleInitialized();
   void copyDefaultAttributes();
   void handleMlagIntfConfig(const Porta::IntfId & intfId);
   void doCleanup();

   // The attribute-change path.
   void onAttributeChange(const Kiv::KivAttr & attr, const Kiv::GenericValue & key);
   Kiv::GenericValue readConfigAccessor(const Kiv::GenericValue & key, const Kiv::KivAttr & attr);
   void updateConfigCheckDb(const Kiv::GenericValue & key,
                            const Kiv::Ptr< GenericConfig > & writeConfig,
                            const Kiv::KivAttr & attr);

   // Deferred creation and deletion of nested machines.
   void handleLocalSmCreation(Kiv::String name, Kiv::String paramName);
   void handleLocalSmDeletion(Kiv::String name, Kiv::String paramName);
   void processSmCodefKey(const SmCodefKey & key);
   std::uint64_t processBacklog(const Kiv::Seconds & startTime) override;

   void hasNotificationActiveIs(bool active) override;
   void kivDoZombieReactors(bool zombie) override;

   // Created on the first watcher: most machines are never watched.
   Kiv::NotifierList & kivNotifierList();

 private:
   // updateConfigCheckDb for a change whose value the caller has read
   // already, with its published text: the change path reads once.
   void updateConfigCheckDb(const Kiv::GenericValue & key,
                            const Kiv::Ptr< GenericConfig > & writeConfig,
                            const Kiv::KivAttr & attr, const Kiv::GenericValue & value,
                            const Kiv::String & valueText);
   void nestedChanged(const Kiv::String & name);
   // The names of every nested machine beneath this one, at any depth.
   void collectNestedNames(std::vector< Kiv::String > & names) const;
   // Finds the member of collection `attrName` of readConfig whose unquoted
   // key is `key`; null when there is none.
   Kiv::GenericValue localElement(const Kiv::String & attrName, const Kiv::String & key) const;

   Kiv::Ptr< ConfigPluginDir > configCheck_;
   Kiv::String name_;
   Kiv::Ptr< Kiv::GenericIf > readConfig_;
   Kiv::Ptr< GenericConfig > writeConfig_;
   Kiv::Ptr< ConfigCheckDesc > configCheckDesc_;
   std::unique_ptr< KivMlagConfig > mlagConfig_; // null when there is no MLAG configuration
   Kiv::String mlagId_;
   std::unique_ptr< GenericHandler > genericHandler_; // null until the start sequence
   Kiv::HashMap< Kiv::String, Kiv::Ptr< StatehubToP2pSm > > nested_;
   std::unique_ptr< Kiv::NotifierList > notifiers_; // null until the first watcher
};

} // namespace Mlag::ConfigCheck
