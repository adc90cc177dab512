#include "MlagConfigCheckSm.h"

#include <functional>

#include "CheckerFixture.h"
#include "MlagConfigCheckUtil.h"
#include "kiv/Exception.h"

namespace {

using namespace CheckerTest;
using Op = MlagConfigCheckSm::GenericOp;

// What a reflective read handed back: entities come as entity values.
Kiv::Ptr< Kiv::PtrInterface > held(const Kiv::GenericValue & value) {
   return value.isEntity() ? Kiv::Ptr< Kiv::PtrInterface >(value.entity()) : value.object();
}

// One plugin on one switch: its configuration, both records and a results
// directory that still holds an entry of an earlier run.
class TopLevelTest : public CheckerTestBase {
 protected:
   void SetUp() override {
      CheckerTestBase::SetUp();
      config->valueIs("priority", Kiv::Value::integer(1));
      peerRecord->paramNameIs("lacp");
      peerRecord->attrIs("priority", "2");
      doInsertLocalParam(dir, "stale", "Local", "old");
   }
   void dropAll() override {
      top = nullptr;
      container = nullptr;
      dir = nullptr;
      desc = nullptr;
      config = nullptr;
      local = nullptr;
      peerRecord = nullptr;
      mlag = nullptr;
   }
   void start() { top = container->configCheckSmIs(dir, "lacp", config, local, peerRecord, desc, mlag); }

   Kiv::Ptr< ConfigPluginDir > dir = resultsDir();
   Kiv::Ptr< ConfigCheckDesc > desc = lacpDesc();
   Kiv::Ptr< Kiv::DynamicEntity > config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("lacp"));
   Kiv::Ptr< GenericConfig > local = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< GenericConfig > peerRecord = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< Mlag::Config > mlag = mlagConfig({});
   Kiv::Ptr< SmContainer > container = smContainerFactory("lacp");
   Kiv::Ptr< MlagConfigCheckSm > top;
};

TEST_F(TopLevelTest, ConstructionClearsTheDirectoryThenStartsLocalThenPeer) {
   Traces traces;
   start();
   EXPECT_EQ(localEntry(dir, "stale"), none);
   EXPECT_EQ(localEntry(dir, "priority"), "1");
   EXPECT_EQ(peerEntry(dir, "priority"), "2");
   EXPECT_EQ(local->attr("priority"), "1");
   EXPECT_TRUE(top->initialized());
   ASSERT_TRUE(top->statehubToP2pSm());
   ASSERT_TRUE(top->p2pToStatehubSm());
   EXPECT_EQ(top->statehubToP2pSm()->name(), "Local");
   EXPECT_EQ(top->p2pToStatehubSm()->name(), "Peer");
   EXPECT_EQ(top->p2pToStatehubSm()->configCheckDesc(), desc);
   EXPECT_TRUE(top->p2pToStatehubSm()->initialized());
   EXPECT_TRUE(top->hasNotificationActive());
   EXPECT_TRUE(top->statehubToP2pSm()->hasNotificationActive());
   EXPECT_TRUE(top->p2pToStatehubSm()->hasNotificationActive());

   const std::size_t topLine = traces.indexOf("Initializing top level Sm for 'lacp'config = ");
   const std::size_t localLine = traces.indexOf("Initializing Sm for 'Local'");
   const std::size_t refused = traces.indexOf("Cannot initialize peerSM for 'Peer'");
   const std::size_t imported = traces.indexOf("Initializing PeerSm for 'Peer' config = ");
   ASSERT_NE(imported, std::string::npos);
   EXPECT_LT(topLine, localLine);
   EXPECT_LT(localLine, refused);
   EXPECT_LT(refused, imported);

   // A second initialization changes nothing and says nothing.
   traces.clear();
   auto localSide = top->statehubToP2pSm();
   auto peerSide = top->p2pToStatehubSm();
   top->handleInitialized();
   EXPECT_EQ(traces.size(), 0u);
   EXPECT_EQ(top->statehubToP2pSm(), localSide);
   EXPECT_EQ(top->p2pToStatehubSm(), peerSide);
   EXPECT_EQ(peerEntry(dir, "priority"), "2");
}

TEST_F(TopLevelTest, InstantiatingSettersKeepOrReplace) {
   start();
   EXPECT_EQ(container->configCheckSmIs(dir, "lacp", config, local, peerRecord, desc, mlag), top);
   auto clock = checkerClock();
   auto localSide = top->statehubToP2pSm();
   EXPECT_EQ(top->statehubToP2pSmIs(clock, dir, "Local", config, local, desc, mlag), localSide);
   auto replaced =
      top->statehubToP2pSmIs(clock, dir, "Local", config, local, configCheckDescFactory("x"), mlag);
   EXPECT_NE(replaced, localSide);
   EXPECT_EQ(top->statehubToP2pSm(), replaced);
   EXPECT_EQ(localSide->refCount(), 1u); // the old one goes with this last reference
   const std::int64_t machines = Kiv::LiveCount::count("Mlag::ConfigCheck::StatehubToP2pSm");
   localSide = nullptr;
   EXPECT_EQ(Kiv::LiveCount::count("Mlag::ConfigCheck::StatehubToP2pSm"), machines - 1);

   auto peerSide = top->p2pToStatehubSm();
   EXPECT_EQ(top->p2pToStatehubSmIs(clock, dir, peerRecord, "Peer", mlag, nullptr), peerSide);
   EXPECT_NE(top->p2pToStatehubSmIs(clock, dir, peerRecord, "Peer", nullptr, nullptr), peerSide);
   EXPECT_EQ(peerSide->refCount(), 1u);
   peerSide = nullptr;

   // A replacement that cannot be built leaves the present one in place.
   EXPECT_THROW(container->configCheckSmIs(nullptr, "lacp", config, local, peerRecord, desc, mlag),
                Kiv::RangeException);
   EXPECT_EQ(container->configCheckSm(), top);
   EXPECT_TRUE(top->hasNotificationActive());

   // A changed argument replaces the whole top level; the old one is switched off.
   auto old = top;
   top = container->configCheckSmIs(dir, "lacp2", config, local, peerRecord, desc, mlag);
   EXPECT_NE(top, old);
   EXPECT_EQ(container->configCheckSm(), top);
   EXPECT_FALSE(old->hasNotificationActive());
   EXPECT_EQ(old->refCount(), 1u);
   old = nullptr;
   EXPECT_EQ(container->configCheckSmDel(), top);
   EXPECT_FALSE(container->configCheckSm());
   EXPECT_FALSE(top->hasNotificationActive());
}

TEST_F(TopLevelTest, AnyOneChangedArgumentReplacesAnyOtherKeeps) {
   start();
   auto clock = checkerClock();
   auto otherClock = Kiv::kivNew< Kiv::Clock >(Kiv::Name("otherClock"));
   auto otherDir = resultsDir("other");
   auto otherConfig = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("other"));
   auto otherRecord = Kiv::kivNew< GenericConfig >(Kiv::Name("other"));
   auto otherDesc = configCheckDescFactory("other");
   auto otherMlag = mlagConfig({});
   auto configIf = Kiv::genericIf(config);
   auto otherIf = Kiv::genericIf(otherConfig);

   // The local side: one argument at a time.
   const std::vector< std::function< Kiv::Ptr< StatehubToP2pSm >() > > localCases = {
      [&] { return top->statehubToP2pSmIs(otherClock, dir, "Local", configIf, local, desc, mlag); },
      [&] { return top->statehubToP2pSmIs(clock, otherDir, "Local", configIf, local, desc, mlag); },
      [&] { return top->statehubToP2pSmIs(clock, dir, "Other", configIf, local, desc, mlag); },
      [&] { return top->statehubToP2pSmIs(clock, dir, "Local", otherIf, local, desc, mlag); },
      [&] { return top->statehubToP2pSmIs(clock, dir, "Local", configIf, otherRecord, desc, mlag); },
      [&] { return top->statehubToP2pSmIs(clock, dir, "Local", configIf, local, otherDesc, mlag); },
      [&] { return top->statehubToP2pSmIs(clock, dir, "Local", configIf, local, desc, otherMlag); },
   };
   for (std::size_t i = 0; i < localCases.size(); ++i) {
      auto before = top->statehubToP2pSmIs(clock, dir, "Local", configIf, local, desc, mlag);
      EXPECT_NE(localCases[i](), before) << "local argument " << i + 1;
      EXPECT_EQ(localCases[i](), top->statehubToP2pSm()) << "local argument " << i + 1;
   }

   // A machine not named "Peer" is a nested one and needs a parent; the
   // name alone is not varied here.
   auto parent = P2pToStatehubSm::P2pToStatehubSmIs(clock, dir, peerRecord, "Peer", mlag, nullptr);
   const std::vector< std::function< Kiv::Ptr< P2pToStatehubSm >() > > peerCases = {
      [&] { return top->p2pToStatehubSmIs(otherClock, dir, peerRecord, "Peer", mlag, nullptr); },
      [&] { return top->p2pToStatehubSmIs(clock, otherDir, peerRecord, "Peer", mlag, nullptr); },
      [&] { return top->p2pToStatehubSmIs(clock, dir, otherRecord, "Peer", mlag, nullptr); },
      [&] { return top->p2pToStatehubSmIs(clock, dir, peerRecord, "Peer", otherMlag, nullptr); },
      [&] { return top->p2pToStatehubSmIs(clock, dir, peerRecord, "Peer", mlag, parent.get()); },
   };
   for (std::size_t i = 0; i < peerCases.size(); ++i) {
      auto before = top->p2pToStatehubSmIs(clock, dir, peerRecord, "Peer", mlag, nullptr);
      EXPECT_NE(peerCases[i](), before) << "peer argument " << i + 1;
      EXPECT_EQ(peerCases[i](), top->p2pToStatehubSm()) << "peer argument " << i + 1;
   }

   const std::vector< std::function< Kiv::Ptr< MlagConfigCheckSm >() > > topCases = {
      [&] { return container->configCheckSmIs(otherDir, "lacp", config, local, peerRecord, desc, mlag); },
      [&] { return container->configCheckSmIs(dir, "other", config, local, peerRecord, desc, mlag); },
      [&] { return container->configCheckSmIs(dir, "lacp", otherConfig, local, peerRecord, desc, mlag); },
      [&] { return container->configCheckSmIs(dir, "lacp", config, otherRecord, peerRecord, desc, mlag); },
      [&] { return container->configCheckSmIs(dir, "lacp", config, local, otherRecord, desc, mlag); },
      [&] { return container->configCheckSmIs(dir, "lacp", config, local, peerRecord, otherDesc, mlag); },
      [&] { return container->configCheckSmIs(dir, "lacp", config, local, peerRecord, desc, otherMlag); },
   };
   for (std::size_t i = 0; i < topCases.size(); ++i) {
      auto before = container->configCheckSmIs(dir, "lacp", config, local, peerRecord, desc, mlag);
      EXPECT_NE(topCases[i](), before) << "top-level argument " << i + 1;
      EXPECT_EQ(topCases[i](), container->configCheckSm()) << "top-level argument " << i + 1;
   }
   top = container->configCheckSm();
}

TEST_F(TopLevelTest, NotificationsFollowTheTopLevelDownAndGoOffAtTeardown) {
   start();
   auto localSide = top->statehubToP2pSm();
   auto peerSide = top->p2pToStatehubSm();
   top->hasNotificationActiveIs(false);
   EXPECT_FALSE(localSide->hasNotificationActive());
   EXPECT_FALSE(peerSide->hasNotificationActive());
   // Switched off, neither side hears its entity.
   config->valueIs("priority", Kiv::Value::integer(7));
   peerRecord->attrIs("priority", "8");
   EXPECT_EQ(localEntry(dir, "priority"), "1");
   EXPECT_EQ(peerEntry(dir, "priority"), "2");
   top->hasNotificationActiveIs(true);
   EXPECT_TRUE(localSide->hasNotificationActive());
   EXPECT_TRUE(peerSide->hasNotificationActive());

   // Destroyed directly, not through the container.
   container->configCheckSmDel();
   top->hasNotificationActiveIs(true);
   EXPECT_TRUE(localSide->hasNotificationActive());
   top = nullptr;
   EXPECT_FALSE(localSide->hasNotificationActive());
   EXPECT_FALSE(peerSide->hasNotificationActive());
   EXPECT_EQ(localSide->refCount(), 1u);
   EXPECT_EQ(peerSide->refCount(), 1u);
}

TEST_F(TopLevelTest, ReflectiveAccessByAttributeName) {
   start();
   Kiv::GenericValue result;
   const struct {
      const char * attribute;
      Kiv::Ptr< Kiv::PtrInterface > object;
   } objects[] = {
      {"configCheck", dir},
      {"readConfig", config},
      {"writeConfig", local},
      {"compareConfig", peerRecord},
      {"configCheckDesc", desc},
      {"mlagConfig", mlag},
      {"statehubToP2pSm", top->statehubToP2pSm()},
      {"p2pToStatehubSm", top->p2pToStatehubSm()},
   };
   for (const auto & o : objects) {
      EXPECT_TRUE(top->genericIfOp(Op::get, o.attribute, {}, result)) << o.attribute;
      EXPECT_EQ(held(result), o.object) << o.attribute;
   }
   EXPECT_TRUE(top->genericIfOp(Op::get, "name", {}, result));
   EXPECT_EQ(result.value().stringValue(), "lacp");
   EXPECT_TRUE(top->genericIfOp(Op::get, "initialized", {}, result));
   EXPECT_TRUE(result.value().booleanValue());

   EXPECT_TRUE(top->genericIfOp(Op::set, "initialized", {Kiv::Value::boolean(false)}, result));
   EXPECT_FALSE(top->initialized());
   EXPECT_TRUE(top->genericIfOp(Op::call, "handleInitialized", {}, result));
   EXPECT_TRUE(top->initialized());

   EXPECT_TRUE(top->genericIfOp(Op::del, "p2pToStatehubSm", {}, result));
   EXPECT_FALSE(top->p2pToStatehubSm());
   EXPECT_TRUE(top->genericIfOp(Op::call, "handlePeerSmCreation", {Kiv::Value::string("Peer")},
                                result));
   ASSERT_TRUE(top->p2pToStatehubSm());
   EXPECT_TRUE(top->p2pToStatehubSm()->initialized());
   EXPECT_TRUE(top->genericIfOp(Op::del, "statehubToP2pSm", {}, result));
   EXPECT_FALSE(top->statehubToP2pSm());
   EXPECT_TRUE(top->genericIfOp(Op::call, "handleLocalSmCreation",
                                {Kiv::Value::string("Local"), Kiv::GenericValue(Kiv::genericIf(config))},
                                result));
   ASSERT_TRUE(top->statehubToP2pSm());

   const Kiv::GenericValue clock = Kiv::GenericValue::object(Kiv::activityManager()->config()->clock());
   auto localSide = top->statehubToP2pSm();
   EXPECT_TRUE(top->genericIfOp(Op::instantiate, "statehubToP2pSm",
                                {clock, Kiv::GenericValue::object(dir), Kiv::Value::string("Local"),
                                 Kiv::GenericValue(Kiv::genericIf(config)),
                                 Kiv::GenericValue::object(local), Kiv::GenericValue::object(desc),
                                 Kiv::GenericValue::object(mlag)},
                                result));
   EXPECT_EQ(held(result), localSide);
   EXPECT_TRUE(top->genericIfOp(Op::instantiate, "p2pToStatehubSm",
                                {clock, Kiv::GenericValue::object(dir),
                                 Kiv::GenericValue::object(peerRecord), Kiv::Value::string("Peer"),
                                 Kiv::GenericValue::object(mlag), Kiv::GenericValue()},
                                result));
   EXPECT_EQ(held(result), top->p2pToStatehubSm());
   // A peer side instantiated reflectively gets no descriptor.
   EXPECT_TRUE(top->genericIfOp(Op::instantiate, "p2pToStatehubSm",
                                {clock, Kiv::GenericValue::object(dir),
                                 Kiv::GenericValue::object(peerRecord), Kiv::Value::string("Peer"),
                                 Kiv::GenericValue(), Kiv::GenericValue()},
                                result));
   ASSERT_TRUE(top->p2pToStatehubSm());
   EXPECT_FALSE(top->p2pToStatehubSm()->configCheckDesc());
   EXPECT_FALSE(top->p2pToStatehubSm()->initialized());

   // Every other operation on a known attribute is refused.
   const char * attributes[] = {"configCheck",   "name",
                                "readConfig",    "writeConfig",
                                "compareConfig", "configCheckDesc",
                                "mlagConfig",    "statehubToP2pSm",
                                "p2pToStatehubSm", "handleLocalSmCreation",
                                "handlePeerSmCreation", "initialized",
                                "handleInitialized"};
   auto supported = [](Op op, int id) {
      switch (op) {
      case Op::get: return id <= 9 || id == 12;
      case Op::set: return id == 12;
      case Op::instantiate:
      case Op::del: return id == 8 || id == 9;
      case Op::call: return id == 10 || id == 11 || id == 13;
      }
      return false;
   };
   for (Op op : {Op::get, Op::set, Op::instantiate, Op::del, Op::call}) {
      for (int id = 1; id <= 13; ++id) {
         if (supported(op, id)) continue;
         EXPECT_THROW(top->genericIfOp(op, attributes[id - 1], {}, result),
                      Kiv::OperationNotSupportedException)
            << attributes[id - 1] << " op " << int(op);
      }
      EXPECT_FALSE(top->genericIfOp(op, "noSuchAttribute", {}, result));
   }
}

TEST_F(TopLevelTest, ReflectiveCreationUnwrapsTheSevenArguments) {
   const std::vector< Kiv::GenericValue > args = {
      Kiv::GenericValue::object(dir),        Kiv::Value::string("r"),
      Kiv::GenericValue(Kiv::genericIf(config)), Kiv::GenericValue::object(local),
      Kiv::GenericValue::object(peerRecord), Kiv::GenericValue::object(desc),
      Kiv::GenericValue::object(mlag)};
   top = Kiv::ptrCast< MlagConfigCheckSm >(MlagConfigCheckSm::kivType().create(args));
   ASSERT_TRUE(top);
   EXPECT_EQ(top->name(), "r");
   EXPECT_EQ(top->configCheck(), dir);
   EXPECT_EQ(top->compareConfig(), peerRecord);
   EXPECT_TRUE(top->initialized());
   EXPECT_TRUE(top->hasNotificationActive());
   EXPECT_EQ(localEntry(dir, "stale"), none);
   EXPECT_EQ(peerEntry(dir, "priority"), "2");
}

TEST_F(TopLevelTest, ReflectiveArgumentsAreCheckedBeforeAnythingHappens) {
   start();
   Kiv::GenericValue result;
   const struct {
      Op op;
      const char * attribute;
      std::vector< Kiv::GenericValue > args;
   } bad[] = {
      {Op::set, "initialized", {}},
      {Op::call, "handleLocalSmCreation", {Kiv::Value::string("Local")}},
      {Op::call, "handlePeerSmCreation", {}},
      {Op::call, "handleInitialized", {Kiv::Value::string("x")}},
      {Op::instantiate, "statehubToP2pSm", {Kiv::Value::string("too few")}},
      {Op::instantiate, "p2pToStatehubSm", {Kiv::Value::string("too few")}},
      // An object of the wrong type where a clock belongs.
      {Op::instantiate,
       "p2pToStatehubSm",
       {Kiv::GenericValue::object(dir), Kiv::GenericValue::object(dir),
        Kiv::GenericValue::object(peerRecord), Kiv::Value::string("Peer"),
        Kiv::GenericValue::object(mlag), Kiv::GenericValue()}},
   };
   const auto localSide = top->statehubToP2pSm();
   const auto peerSide = top->p2pToStatehubSm();
   for (const auto & b : bad) {
      EXPECT_THROW(top->genericIfOp(b.op, b.attribute, b.args, result), Kiv::TypeException)
         << b.attribute;
   }
   EXPECT_EQ(top->statehubToP2pSm(), localSide);
   EXPECT_EQ(top->p2pToStatehubSm(), peerSide);
   EXPECT_TRUE(top->initialized());
   EXPECT_THROW(MlagConfigCheckSm::kivType().create({Kiv::Value::string("r")}), Kiv::TypeException);
}

TEST(TypeRegistrationTest, CheckerTypesRegisterInLoadOrder) {
   registerConfigCheckTypes();
   std::vector< std::string > checker;
   for (const Kiv::String & name : Kiv::registeredTypeNames()) {
      if (name.view().starts_with("Mlag::ConfigCheck::")) {
         checker.push_back(name.stdString().substr(19));
      }
   }
   EXPECT_EQ(checker, (std::vector< std::string >{"MlagConfigCheckSm", "StatehubToP2pSm",
                                                  "ConfigCheckDesc", "SmContainer",
                                                  "P2pToStatehubSm", "SmCodefKey"}));
}

} // namespace
