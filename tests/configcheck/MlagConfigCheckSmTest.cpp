#include "ConfigCheck/MlagConfigCheckSm.h"

#include "CheckerFixture.h"
#include "ConfigCheck/MlagConfigCheckUtil.h"
#include "kiv/Exception.h"
#include "kiv/Type.h"

namespace {

using namespace CheckerTest;
using Op = MlagConfigCheckSm::GenericOp;
using Args = std::vector< Kiv::GenericValue >;

// What a reflective read handed back: entities come as entity values.
Kiv::Ptr< Kiv::PtrInterface > held(const Kiv::GenericValue & value) {
   return value.isEntity() ? Kiv::Ptr< Kiv::PtrInterface >(value.entity()) : value.object();
}

Kiv::GenericValue object(const Kiv::Ptr< Kiv::PtrInterface > & o) {
   return Kiv::GenericValue::object(o);
}

// The text of the type error raised by `create`; empty when none is raised.
std::string typeError(const Kiv::KivType & type, const Args & args) {
   try {
      type.create(args);
   } catch (const Kiv::TypeException & e) {
      return e.what();
   }
   return "";
}

// Asks `request` with the arguments `same` but one taken from `other`, for each
// position: each replaces the present object, asked again it keeps the replacement.
template < class Request, class... A >
void eachArgumentReplaces(Request request, const std::tuple< A... > & same,
                          const std::tuple< A... > & other) {
   [&]< std::size_t... I >(std::index_sequence< I... >) {
      (
         [&] {
            auto args = same;
            std::get< I >(args) = std::get< I >(other);
            auto before = std::apply(request, same);
            auto replaced = std::apply(request, args);
            EXPECT_NE(replaced, before) << "argument " << I + 1;
            EXPECT_EQ(std::apply(request, args), replaced) << "argument " << I + 1;
         }(),
         ...);
   }
   (std::index_sequence_for< A... >());
}

// One plugin on one switch: its configuration, both records and a results
// directory that still holds an entry of an earlier run.
class TopLevelTest : public CheckerTestBase {
 protected:
   void SetUp() override {
      config->valueIs("priority", Kiv::Value::integer(1));
      peerRecord->paramNameIs("lacp");
      peerRecord->attrIs("priority", "2");
      doInsertLocalParam(dir, "stale", "Local", "old");
   }
   void start() {
      top = container->configCheckSmIs(dir, "lacp", config, local, peerRecord, desc, mlag);
   }
   // The top level's constructor arguments, as an agent knowing only the type passes them.
   Args sevenArguments() {
      return {object(dir),   Kiv::Value::string("r"), Kiv::GenericValue(Kiv::genericIf(config)),
              object(local), object(peerRecord),      object(desc),
              object(mlag)};
   }

   Kiv::Ptr< ConfigPluginDir > dir = resultsDir();
   Kiv::Ptr< ConfigCheckDesc > desc = lacpDesc();
   Kiv::Ptr< Kiv::DynamicEntity > config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("lacp"));
   Kiv::Ptr< GenericConfig > local = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< GenericConfig > peerRecord = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< Mlag::Config > mlag = mlagConfig({});
   Kiv::Ptr< SmContainer > container = smContainerFactory("lacp");
   Kiv::Ptr< MlagConfigCheckSm > top;
};

TEST_F(TopLevelTest, ConstructionReplacementAndNotificationsOfTheSides) {
   Traces traces;
   start();
   EXPECT_EQ(localEntry(dir, "stale"), none);
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
   top->handleInitialized();
   EXPECT_EQ(traces.all(), "");

   // Any one changed argument replaces a machine, any other request keeps it.
   auto clock = checkerClock();
   Kiv::PtrConst< Kiv::Clock > otherClock = Kiv::kivNew< Kiv::Clock >(Kiv::Name("otherClock"));
   auto otherDir = resultsDir("other");
   auto otherConfig = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("other"));
   auto otherRecord = Kiv::kivNew< GenericConfig >(Kiv::Name("other"));
   auto otherDesc = configCheckDescFactory("other");
   auto otherMlag = mlagConfig({});
   eachArgumentReplaces(
      [&](auto... a) { return top->statehubToP2pSmIs(a...); },
      std::tuple(clock, dir, Kiv::String("Local"), Kiv::genericIf(config), local, desc, mlag),
      std::tuple(otherClock, otherDir, Kiv::String("Other"), Kiv::genericIf(otherConfig),
                 otherRecord, otherDesc, otherMlag));
   eachArgumentReplaces([&](auto... a) { return container->configCheckSmIs(a...); },
                        std::tuple(dir, Kiv::String("lacp"), config, local, peerRecord, desc, mlag),
                        std::tuple(otherDir, Kiv::String("other"), otherConfig, otherRecord,
                                   otherRecord, otherDesc, otherMlag));
   top = container->configCheckSm();

   // A machine not named "Peer" is a nested one: its descriptor is its parent's.
   auto parent = P2pToStatehubSm::P2pToStatehubSmIs(clock, dir, peerRecord, "Peer", mlag, nullptr);
   auto otherParent =
      P2pToStatehubSm::P2pToStatehubSmIs(clock, dir, peerRecord, "Peer", mlag, nullptr);
   for (const auto & p : {parent, otherParent}) p->configCheckDescIs(desc);
   eachArgumentReplaces([&](auto... a) { return top->p2pToStatehubSmIs(a...); },
                        std::tuple(clock, dir, peerRecord, Kiv::String("g1"), mlag, parent.get()),
                        std::tuple(otherClock, otherDir, otherRecord, Kiv::String("g2"), otherMlag,
                                   otherParent.get()));

   // A replaced top level is switched off.
   auto old = top;
   top = container->configCheckSmIs(dir, "lacp2", config, local, peerRecord, desc, mlag);
   EXPECT_FALSE(old->hasNotificationActive());

   // A replacement that cannot be built leaves the present one in place.
   EXPECT_THROW(container->configCheckSmIs(nullptr, "lacp", config, local, peerRecord, desc, mlag),
                Kiv::RangeException);
   EXPECT_EQ(container->configCheckSm(), top);
   EXPECT_TRUE(top->hasNotificationActive());
   EXPECT_EQ(container->configCheckSmDel(), top);
   EXPECT_FALSE(container->configCheckSmDel());
   EXPECT_FALSE(top->hasNotificationActive());

   // The top level's switch reaches both sides while it holds them. Destroyed
   // directly it switches them off and lets them go, also as a zombie already.
   start();
   top->hasNotificationActiveIs(false);
   config->valueIs("priority", Kiv::Value::integer(7));
   peerRecord->attrIs("priority", "8");
   EXPECT_EQ(localEntry(dir, "priority"), "1");
   EXPECT_EQ(peerEntry(dir, "priority"), "2");
   top->hasNotificationActiveIs(true);
   EXPECT_TRUE(top->statehubToP2pSm()->hasNotificationActive());
   EXPECT_TRUE(top->p2pToStatehubSm()->hasNotificationActive());
   for (bool zombie : {false, true}) {
      if (zombie) start();
      auto localSide = top->statehubToP2pSm();
      auto peerSide = top->p2pToStatehubSm();
      container->configCheckSmDel();
      top->hasNotificationActiveIs(true);
      if (zombie) top->kivDoZombieReactors(true);
      top = nullptr;
      EXPECT_FALSE(localSide->hasNotificationActive()) << zombie;
      EXPECT_FALSE(peerSide->hasNotificationActive()) << zombie;
      EXPECT_EQ(localSide->refCount(), 1u);
      EXPECT_EQ(peerSide->refCount(), 1u);
   }
   // A side removed is switched off, and the switch no longer reaches it.
   start();
   auto localSide = top->statehubToP2pSmDel();
   auto peerSide = top->p2pToStatehubSmDel();
   EXPECT_FALSE(top->statehubToP2pSmDel());
   EXPECT_FALSE(top->p2pToStatehubSmDel());
   top->hasNotificationActiveIs(false);
   top->hasNotificationActiveIs(true);
   EXPECT_FALSE(localSide->hasNotificationActive());
   EXPECT_FALSE(peerSide->hasNotificationActive());
}

// A top level is created from its seven constructor arguments alone, then reached
// by attribute name; arguments that do not fit are refused before anything changes.
TEST_F(TopLevelTest, ReflectiveCreationAndAccessByName) {
   const auto wrong = object(Kiv::kivNew< Kiv::Clock >(Kiv::Name("clock")));
   auto withArgument = [&](std::size_t position, const Kiv::GenericValue & value) {
      Args args = sevenArguments();
      args[position] = value;
      return args;
   };
   Args six = sevenArguments(), eight = six;
   six.pop_back();
   eight.push_back(Kiv::Value::string("extra"));
   const struct {
      Args args;
      const char * error;
   } creations[] = {
      {six, "MlagConfigCheckSm takes 7 arguments, given 6"},
      {eight, "MlagConfigCheckSm takes 7 arguments, given 8"},
      // Every object type: results directory, records, descriptor, MLAG configuration.
      {withArgument(0, wrong), "argument 1 has the wrong type"},
      {withArgument(3, wrong), "argument 4 has the wrong type"},
      {withArgument(5, wrong), "argument 6 has the wrong type"},
      {withArgument(6, wrong), "argument 7 has the wrong type"},
   };
   for (const auto & c : creations)
      EXPECT_EQ(typeError(MlagConfigCheckSm::kivType(), c.args), c.error);
   // A missing object is no type error: the factory refuses a null results directory.
   EXPECT_THROW(MlagConfigCheckSm::kivType().create(withArgument(0, Kiv::GenericValue())),
                Kiv::RangeException);
   EXPECT_EQ(Kiv::LiveCount::count("Mlag::ConfigCheck::MlagConfigCheckSm"), 0);

   top = Kiv::ptrCast< MlagConfigCheckSm >(MlagConfigCheckSm::kivType().create(sevenArguments()));
   ASSERT_TRUE(top);
   EXPECT_TRUE(top->hasNotificationActive());
   EXPECT_EQ(localEntry(dir, "stale"), none);
   EXPECT_EQ(peerEntry(dir, "priority"), "2");
   Kiv::GenericValue result;
   const struct {
      Op op;
      const char * attribute;
      Args args;
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
       {object(dir), object(dir), object(peerRecord), Kiv::Value::string("Peer"), object(mlag),
        Kiv::GenericValue()}},
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

   // What an operation the attribute supports hands back.
   auto op = [&](Op o, const char * attribute, const Args & args = {}) {
      EXPECT_TRUE(top->genericIfOp(o, attribute, args, result)) << attribute;
      return result;
   };
   EXPECT_EQ(held(op(Op::get, "statehubToP2pSm")), top->statehubToP2pSm());
   EXPECT_EQ(held(op(Op::get, "configCheckDesc")), desc);
   EXPECT_EQ(op(Op::get, "name").value().stringValue(), "r");
   op(Op::set, "initialized", {Kiv::Value::boolean(false)});
   EXPECT_FALSE(top->initialized());
   op(Op::call, "handleInitialized");
   EXPECT_TRUE(top->initialized());

   op(Op::del, "p2pToStatehubSm");
   EXPECT_FALSE(top->p2pToStatehubSm());
   op(Op::call, "handlePeerSmCreation", {Kiv::Value::string("Peer")});
   ASSERT_TRUE(top->p2pToStatehubSm());
   EXPECT_TRUE(top->p2pToStatehubSm()->initialized());
   op(Op::del, "statehubToP2pSm");
   EXPECT_FALSE(top->statehubToP2pSm());
   const Kiv::GenericValue entity(Kiv::genericIf(config));
   op(Op::call, "handleLocalSmCreation", {Kiv::Value::string("Local"), entity});
   ASSERT_TRUE(top->statehubToP2pSm());

   const Kiv::GenericValue clock = object(Kiv::activityManager()->config()->clock());
   EXPECT_EQ(held(op(Op::instantiate, "statehubToP2pSm",
                     {clock, object(dir), Kiv::Value::string("Local"), entity, object(local),
                      object(desc), object(mlag)})),
             top->statehubToP2pSm());
   for (const Kiv::GenericValue & mlagArg : {object(mlag), Kiv::GenericValue()}) {
      EXPECT_EQ(held(op(Op::instantiate, "p2pToStatehubSm",
                        {clock, object(dir), object(peerRecord), Kiv::Value::string("Peer"),
                         mlagArg, Kiv::GenericValue()})),
                top->p2pToStatehubSm());
   }
   // A peer side instantiated reflectively gets no descriptor.
   EXPECT_FALSE(top->p2pToStatehubSm()->configCheckDesc());
   EXPECT_FALSE(top->p2pToStatehubSm()->initialized());

   // Any other operation on a known attribute is refused; an unknown one is not there.
   for (auto [o, attribute] : {std::pair(Op::get, "handleInitialized"),
                               {Op::set, "name"},
                               {Op::instantiate, "mlagConfig"},
                               {Op::del, "initialized"},
                               {Op::call, "statehubToP2pSm"}}) {
      EXPECT_THROW(top->genericIfOp(o, attribute, {}, result), Kiv::OperationNotSupportedException)
         << attribute;
   }
   EXPECT_FALSE(top->genericIfOp(Op::call, "noSuchAttribute", {}, result));

   // A container or a descriptor is created from its name alone, and from nothing else.
   registerConfigCheckTypes();
   const Args lacp = {Kiv::Value::string("lacp")}, two = {lacp[0], lacp[0]};
   Kiv::Ptr< Kiv::KivType > type = Kiv::typeNode("Mlag::ConfigCheck::SmContainer");
   ASSERT_TRUE(type);
   auto made = Kiv::ptrCast< SmContainer >(type->create(lacp));
   ASSERT_TRUE(made);
   EXPECT_EQ(made->name(), "lacp");
   EXPECT_EQ(typeError(*type, {}), "SmContainer takes 1 arguments, given 0");
   type = Kiv::typeNode("Mlag::ConfigCheck::ConfigCheckDesc");
   ASSERT_TRUE(type);
   EXPECT_EQ(Kiv::ptrCast< ConfigCheckDesc >(type->create(lacp))->name(), "lacp");
   EXPECT_EQ(typeError(*type, two), "ConfigCheckDesc takes one argument, its name");
}

} // namespace
