#include "MlagConfigCheckSm.h"

#include "MlagConfigCheckTrace.h"
#include "MlagConfigCheckUtil.h"
#include "kiv/ActivityManager.h"
#include "kiv/Exception.h"

namespace Mlag::ConfigCheck {

namespace {

constexpr char kivTraceSource[] = "MlagConfigCheckSm";

using GenericArgs = std::vector< Kiv::GenericValue >;

void requireArgCount(const GenericArgs & args, std::size_t count, const char * what) {
   if (args.size() != count) {
      throw Kiv::TypeException(std::string(what) + " takes " + std::to_string(count) +
                               " arguments, given " + std::to_string(args.size()));
   }
}

template < class T >
Kiv::Ptr< T > argObject(const GenericArgs & args, std::size_t i) {
   const Kiv::GenericValue & v = args[i];
   Kiv::Ptr< Kiv::PtrInterface > object =
      v.isEntity() ? Kiv::Ptr< Kiv::PtrInterface >(v.entity()) : v.object();
   Kiv::Ptr< T > typed = Kiv::ptrCast< T >(object);
   if (object && !typed) {
      throw Kiv::TypeException("argument " + std::to_string(i + 1) + " has the wrong type");
   }
   return typed;
}

[[noreturn]] void unsupportedOp(std::string_view attrName) {
   throw Kiv::OperationNotSupportedException("operation not supported on attribute " +
                                             std::string(attrName));
}

Kiv::String argString(const GenericArgs & args, std::size_t i) {
   return args[i].value().stringValue();
}

Kiv::GenericValue objectValue(const Kiv::Ptr< Kiv::PtrInterface > & object) {
   return Kiv::GenericValue::object(object);
}

Kiv::Ptr< MlagConfigCheckSm > createFromArgs(const GenericArgs & args) {
   requireArgCount(args, 7, "MlagConfigCheckSm");
   return mlagConfigCheckSmFactory(
      argObject< ConfigPluginDir >(args, 0), argString(args, 1), argObject< Kiv::Entity >(args, 2),
      argObject< GenericConfig >(args, 3), argObject< GenericConfig >(args, 4),
      argObject< ConfigCheckDesc >(args, 5), argObject< const Mlag::Config >(args, 6));
}

Kiv::Ptr< Kiv::KivType > typeWithAttrs(const char * name,
                                       std::initializer_list< const char * > attrs) {
   auto type = Kiv::kivNew< Kiv::KivType >(name);
   for (const char * attr : attrs) type->attrIs(attr, false);
   return type;
}

} // namespace

MlagConfigCheckSm::MlagConfigCheckSm(const Kiv::Ptr< ConfigPluginDir > & configCheck,
                                     const Kiv::String & name,
                                     const Kiv::Ptr< Kiv::Entity > & readConfig,
                                     const Kiv::Ptr< GenericConfig > & writeConfig,
                                     const Kiv::Ptr< GenericConfig > & compareConfig,
                                     const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
                                     const Kiv::PtrConst< Mlag::Config > & mlagConfig)
      : configCheck_(configCheck),
        name_(name),
        readConfig_(readConfig),
        writeConfig_(writeConfig),
        compareConfig_(compareConfig),
        configCheckDesc_(configCheckDesc),
        mlagConfig_(mlagConfig) {
   // Should initialization throw, the members release their references in
   // reverse order and no half-built object survives.
   handleInitialized();
}

MlagConfigCheckSm::~MlagConfigCheckSm() {
   if (!isZombie()) kivDoZombieReactors(true);
   statehubToP2pSmDel();
   p2pToStatehubSmDel();
}

Kiv::Ptr< MlagConfigCheckSm > MlagConfigCheckSm::MlagConfigCheckSmIs(
   const Kiv::Ptr< ConfigPluginDir > & configCheck, const Kiv::String & name,
   const Kiv::Ptr< Kiv::Entity > & readConfig, const Kiv::Ptr< GenericConfig > & writeConfig,
   const Kiv::Ptr< GenericConfig > & compareConfig,
   const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
   const Kiv::PtrConst< Mlag::Config > & mlagConfig) {
   Kiv::validPtr(configCheck);
   Kiv::validPtr(writeConfig);
   Kiv::validPtr(compareConfig);
   Kiv::validPtr(configCheckDesc);
   auto sm = Kiv::kivNew< MlagConfigCheckSm >(configCheck, name, readConfig, writeConfig,
                                              compareConfig, configCheckDesc, mlagConfig);
   sm->hasNotificationActiveIs(true);
   return Kiv::validPtr(sm);
}

Kiv::Ptr< StatehubToP2pSm > MlagConfigCheckSm::statehubToP2pSmIs(
   const Kiv::PtrConst< Kiv::Clock > & clock, const Kiv::Ptr< ConfigPluginDir > & configCheck,
   const Kiv::String & name, const Kiv::Ptr< Kiv::GenericIf > & readConfig,
   const Kiv::Ptr< GenericConfig > & writeConfig,
   const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
   const Kiv::PtrConst< Mlag::Config > & mlagConfig) {
   const Kiv::Ptr< StatehubToP2pSm > & present = statehubToP2pSm_;
   if (present && present->clock() == clock && present->configCheck() == configCheck &&
       present->name() == name && present->readConfig() == readConfig &&
       present->writeConfig() == writeConfig && present->configCheckDesc() == configCheckDesc &&
       present->mlagConfig() == mlagConfig) {
      return present;
   }
   statehubToP2pSm_ = StatehubToP2pSm::StatehubToP2pSmIs(clock, configCheck, name, readConfig,
                                                         writeConfig, configCheckDesc, mlagConfig);
   return Kiv::validPtr(statehubToP2pSm_);
}

Kiv::Ptr< P2pToStatehubSm > MlagConfigCheckSm::p2pToStatehubSmIs(
   const Kiv::PtrConst< Kiv::Clock > & clock, const Kiv::Ptr< ConfigPluginDir > & configCheck,
   const Kiv::PtrConst< GenericConfig > & peerConfig, const Kiv::String & name,
   const Kiv::PtrConst< Mlag::Config > & mlagConfig, P2pToStatehubSm * parentSm) {
   const Kiv::Ptr< P2pToStatehubSm > & present = p2pToStatehubSm_;
   if (present && present->clock() == clock && present->configCheck() == configCheck &&
       present->peerConfig() == peerConfig && present->name() == name &&
       present->mlagConfig() == mlagConfig && present->parentSm() == parentSm) {
      return present;
   }
   p2pToStatehubSm_ = P2pToStatehubSm::P2pToStatehubSmIs(clock, configCheck, peerConfig, name,
                                                         mlagConfig, parentSm);
   return Kiv::validPtr(p2pToStatehubSm_);
}

Kiv::Ptr< StatehubToP2pSm > MlagConfigCheckSm::statehubToP2pSmDel() {
   Kiv::Ptr< StatehubToP2pSm > removed = std::move(statehubToP2pSm_);
   statehubToP2pSm_ = nullptr;
   if (removed) removed->hasNotificationActiveIs(false);
   return removed;
}

Kiv::Ptr< P2pToStatehubSm > MlagConfigCheckSm::p2pToStatehubSmDel() {
   Kiv::Ptr< P2pToStatehubSm > removed = std::move(p2pToStatehubSm_);
   p2pToStatehubSm_ = nullptr;
   if (removed) removed->hasNotificationActiveIs(false);
   return removed;
}

void MlagConfigCheckSm::handleInitialized() {
   if (initialized_) return;
   // Stale values from an earlier instance never survive a restart; the peer
   // side writes the peer values again from the peer's record.
   localDeleteAll(configCheck_);
   Kiv::Ptr< Kiv::GenericIf > config = Kiv::genericIf(readConfig_);
   MLAG_TRACE(7, "Initializing top level Sm for ", name_, "config = ", config,
              ", local p2p config = ", writeConfig_, ", peer p2p config = ", compareConfig_);
   handleLocalSmCreation("Local", config);
   handlePeerSmCreation("Peer");
   initializedIs(true);
}

void MlagConfigCheckSm::handleLocalSmCreation(Kiv::String name, Kiv::Ptr< Kiv::GenericIf > config) {
   const Kiv::PtrConst< Kiv::Clock > clock = Kiv::activityManager()->config()->clock();
   statehubToP2pSmIs(clock, configCheck_, name, config, writeConfig_, configCheckDesc_,
                     mlagConfig_);
}

void MlagConfigCheckSm::handlePeerSmCreation(Kiv::String name) {
   const Kiv::PtrConst< Kiv::Clock > clock = Kiv::activityManager()->config()->clock();
   Kiv::Ptr< P2pToStatehubSm > peer =
      p2pToStatehubSmIs(clock, configCheck_, compareConfig_, name, mlagConfig_, nullptr);
   peer->configCheckDescIs(configCheckDesc_);
   peer->handleInitialized();
}

void MlagConfigCheckSm::hasNotificationActiveIs(bool active) {
   if (active == hasNotificationActive()) return;
   PtrInterface::hasNotificationActiveIs(active);
   if (statehubToP2pSm_) statehubToP2pSm_->hasNotificationActiveIs(active);
   if (p2pToStatehubSm_) p2pToStatehubSm_->hasNotificationActiveIs(active);
}

bool MlagConfigCheckSm::genericIfOp(GenericOp op, std::string_view attrName,
                                    const std::vector< Kiv::GenericValue > & args,
                                    Kiv::GenericValue & result) {
   const Kiv::KivAttr * attr = kivType().attr(attrName);
   if (!attr) return false;
   const std::uint32_t id = attr->id;
   if (op == GenericOp::get) {
      switch (id) {
         case 1:
            result = objectValue(configCheck_);
            return true;
         case 2:
            result = Kiv::Value::string(name_);
            return true;
         case 3:
            result = objectValue(readConfig_);
            return true;
         case 4:
            result = objectValue(writeConfig_);
            return true;
         case 5:
            result = objectValue(compareConfig_);
            return true;
         case 6:
            result = objectValue(configCheckDesc_);
            return true;
         case 7:
            result = objectValue(
               Kiv::Ptr< Kiv::PtrInterface >(const_cast< Mlag::Config * >(mlagConfig_.get())));
            return true;
         case 8:
            result = objectValue(statehubToP2pSm_);
            return true;
         case 9:
            result = objectValue(p2pToStatehubSm_);
            return true;
         case 12:
            result = Kiv::Value::boolean(initialized_);
            return true;
         default:
            unsupportedOp(attrName);
      }
   }
   if (op == GenericOp::set && id == 12) {
      requireArgCount(args, 1, "initialized");
      initializedIs(args[0].value().booleanValue());
      return true;
   }
   if (op == GenericOp::instantiate && id == 8) {
      requireArgCount(args, 7, "statehubToP2pSm");
      result = objectValue(statehubToP2pSmIs(
         argObject< Kiv::Clock >(args, 0), argObject< ConfigPluginDir >(args, 1),
         argString(args, 2), argObject< Kiv::GenericIf >(args, 3),
         argObject< GenericConfig >(args, 4), argObject< ConfigCheckDesc >(args, 5),
         argObject< const Mlag::Config >(args, 6)));
      return true;
   }
   if (op == GenericOp::instantiate && id == 9) {
      requireArgCount(args, 6, "p2pToStatehubSm");
      result = objectValue(p2pToStatehubSmIs(
         argObject< Kiv::Clock >(args, 0), argObject< ConfigPluginDir >(args, 1),
         argObject< GenericConfig >(args, 2), argString(args, 3),
         argObject< const Mlag::Config >(args, 4), argObject< P2pToStatehubSm >(args, 5).get()));
      return true;
   }
   if (op == GenericOp::del && (id == 8 || id == 9)) {
      result = objectValue(id == 8 ? Kiv::Ptr< Kiv::PtrInterface >(statehubToP2pSmDel())
                                   : Kiv::Ptr< Kiv::PtrInterface >(p2pToStatehubSmDel()));
      return true;
   }
   if (op == GenericOp::call) {
      switch (id) {
         case 10:
            requireArgCount(args, 2, "handleLocalSmCreation");
            handleLocalSmCreation(argString(args, 0), argObject< Kiv::GenericIf >(args, 1));
            return true;
         case 11:
            requireArgCount(args, 1, "handlePeerSmCreation");
            handlePeerSmCreation(argString(args, 0));
            return true;
         case 13:
            requireArgCount(args, 0, "handleInitialized");
            handleInitialized();
            return true;
         default:
            break;
      }
   }
   unsupportedOp(attrName);
}

const Kiv::KivType & MlagConfigCheckSm::kivType() {
   static const Kiv::Ptr< Kiv::KivType > type = [] {
      auto t = typeWithAttrs(
         "Mlag::ConfigCheck::MlagConfigCheckSm",
         {"configCheck", "name", "readConfig", "writeConfig", "compareConfig", "configCheckDesc",
          "mlagConfig", "statehubToP2pSm", "p2pToStatehubSm", "handleLocalSmCreation",
          "handlePeerSmCreation", "initialized", "handleInitialized"});
      t->factoryIs([](const GenericArgs & args) {
         return Kiv::Ptr< Kiv::PtrInterface >(createFromArgs(args));
      });
      return t;
   }();
   return *type;
}

Kiv::Ptr< MlagConfigCheckSm > mlagConfigCheckSmFactory(
   const Kiv::Ptr< ConfigPluginDir > & configCheck, const Kiv::String & name,
   const Kiv::Ptr< Kiv::Entity > & readConfig, const Kiv::Ptr< GenericConfig > & writeConfig,
   const Kiv::Ptr< GenericConfig > & compareConfig,
   const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
   const Kiv::PtrConst< Mlag::Config > & mlagConfig) {
   return MlagConfigCheckSm::MlagConfigCheckSmIs(configCheck, name, readConfig, writeConfig,
                                                 compareConfig, configCheckDesc, mlagConfig);
}

SmContainer::~SmContainer() { configCheckSmDel(); }

Kiv::Ptr< MlagConfigCheckSm > SmContainer::configCheckSmIs(
   const Kiv::Ptr< ConfigPluginDir > & configCheck, const Kiv::String & name,
   const Kiv::Ptr< Kiv::Entity > & readConfig, const Kiv::Ptr< GenericConfig > & writeConfig,
   const Kiv::Ptr< GenericConfig > & compareConfig,
   const Kiv::Ptr< ConfigCheckDesc > & configCheckDesc,
   const Kiv::PtrConst< Mlag::Config > & mlagConfig) {
   const Kiv::Ptr< MlagConfigCheckSm > & present = configCheckSm_;
   if (present && present->configCheck() == configCheck && present->name() == name &&
       present->readConfig() == readConfig && present->writeConfig() == writeConfig &&
       present->compareConfig() == compareConfig && present->configCheckDesc() == configCheckDesc &&
       present->mlagConfig() == mlagConfig) {
      return present;
   }
   // Built before the present machine is let go: a replacement that cannot
   // be built leaves the present one running.
   Kiv::Ptr< MlagConfigCheckSm > created = mlagConfigCheckSmFactory(
      configCheck, name, readConfig, writeConfig, compareConfig, configCheckDesc, mlagConfig);
   configCheckSmDel();
   configCheckSm_ = created;
   KIV_NOTIFY_ON(onConfigCheckSm());
   return Kiv::validPtr(configCheckSm_);
}

Kiv::Ptr< MlagConfigCheckSm > SmContainer::configCheckSmDel() {
   Kiv::Ptr< MlagConfigCheckSm > removed = std::move(configCheckSm_);
   configCheckSm_ = nullptr;
   if (removed) {
      removed->hasNotificationActiveIs(false);
      KIV_NOTIFY_ON(onConfigCheckSm());
   }
   return removed;
}

Kiv::Ptr< SmContainer > smContainerFactory(const Kiv::Name & name) {
   return Kiv::validPtr(Kiv::kivNew< SmContainer >(name));
}

void registerConfigCheckTypes() {
   static bool registered = false;
   if (registered) return;
   registered = true;
   Kiv::typeNodeIs(
      Kiv::Ptr< Kiv::KivType >(const_cast< Kiv::KivType * >(&MlagConfigCheckSm::kivType())));
   Kiv::typeNodeIs(typeWithAttrs(
      "Mlag::ConfigCheck::StatehubToP2pSm",
      {"clock", "configCheck", "name", "readConfig", "writeConfig", "configCheckDesc", "mlagConfig",
       "mlagId", "statehubToP2pSm", "backlog", "bookmark", "initialized"}));
   registerConfigCheckDescType();
   auto container =
      typeWithAttrs("Mlag::ConfigCheck::SmContainer",
                    {"name", "fullName", "parent", "parentAttrName", "entity", "configCheckSm"});
   container->factoryIs([](const GenericArgs & args) {
      requireArgCount(args, 1, "SmContainer");
      return Kiv::Ptr< Kiv::PtrInterface >(smContainerFactory(Kiv::Name(argString(args, 0))));
   });
   Kiv::typeNodeIs(container);
   Kiv::typeNodeIs(typeWithAttrs(
      "Mlag::ConfigCheck::P2pToStatehubSm",
      {"clock", "configCheck", "peerConfig", "name", "mlagConfig", "parentSm", "mlagId",
       "configCheckDesc", "p2pToStatehubSm", "backlog", "bookmark", "initialized"}));
   registerSmCodefKeyType();
}

namespace {
// The checker's types are registered when the library is loaded.
const bool typesRegisteredAtLoad = (registerConfigCheckTypes(), true);
} // namespace

} // namespace Mlag::ConfigCheck
