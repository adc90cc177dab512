#include "MlagConfigCheckSm.h"

#include "CheckerFixture.h"
#include "MlagConfigCheckUtil.h"
#include "kiv/Exception.h"

namespace {

using namespace CheckerTest;

// A plugin with global scalars, a value collection and per-MLAG interface
// configurations, on one switch.
class LocalSideTest : public CheckerTestBase {
 protected:
   void SetUp() override {
      CheckerTestBase::SetUp();
      desc->attrNameIs("priority", "priority");
      desc->collectionNameIs("vlan", "vlan");
      desc->defaultValIs("priority", "32768");
      auto intf = desc->nestedConfigCheckDescIs("intfConfig");
      intf->mlagInterfacesOnlyIs(true);
      intf->absenceImpliesDefaultValIs(true);
      intf->attrNameIs("mtu", "mtu");
      intf->attrNameIs("mode", "mode");
      intf->defaultValIs("mtu", "1500");
      intf->valueStrOverrideIs("active", "on");
      config->valueIs("priority", Kiv::Value::integer(100));
      config->memberIs("vlan", "10", Kiv::Value::string("allowed"));
      auto po10 = config->entityMemberIs("intfConfig", "Port-Channel10");
      po10->valueIs("mtu", Kiv::Value::integer(9000));
      po10->valueIs("mode", Kiv::Value::string("active"));
   }
   void dropAll() override {
      sm = nullptr;
      config = nullptr;
      record = nullptr;
      mlag = nullptr;
      dir = nullptr;
      desc = nullptr;
   }
   void start() {
      sm = StatehubToP2pSm::StatehubToP2pSmIs(checkerClock(), dir, "Local", config, record, desc, mlag);
   }
   Kiv::Ptr< GenericConfig > nested(const char * intf) {
      return record->nestedIntfConfig(Kiv::Name(intf));
   }

   Kiv::Ptr< ConfigPluginDir > dir = resultsDir();
   Kiv::Ptr< ConfigCheckDesc > desc = configCheckDescFactory("lacp");
   Kiv::Ptr< Kiv::DynamicEntity > config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("lacp"));
   Kiv::Ptr< GenericConfig > record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< Mlag::Config > mlag = mlagConfig({{"Port-Channel10", "10"}, {"Port-Channel20", "20"}});
   Kiv::Ptr< StatehubToP2pSm > sm;
};

TEST_F(LocalSideTest, StartPublishesEveryValueThenChangesFollow) {
   start();
   // Scalars and members at once; nested machines through the backlog.
   EXPECT_EQ(record->attr("priority"), "100");
   EXPECT_EQ(globalEntry(dir, "10 vlan")->localVal(), "allowed");
   EXPECT_FALSE(nested("Port-Channel10"));
   runUntilQuiet();
   ASSERT_TRUE(nested("Port-Channel10"));
   EXPECT_EQ(nested("Port-Channel10")->paramName(), "intfConfig");
   EXPECT_EQ(nested("Port-Channel10")->attr("mtu"), "9000");
   EXPECT_EQ(nested("Port-Channel10")->attr("mode"), "on");
   EXPECT_EQ(intfEntry(dir, "mode mlag10", "Port-Channel10")->localVal(), "on");

   config->valueIs("priority", Kiv::Value::integer(200));
   config->memberIs("vlan", "20", Kiv::Value::string("allowed"));
   config->memberDel("vlan", "10");
   EXPECT_EQ(record->attr("priority"), "200");
   EXPECT_EQ(globalEntry(dir, "priority")->localVal(), "200");
   EXPECT_EQ(record->attrCollection(CollectionConfig("vlan", "20")), "allowed");
   EXPECT_FALSE(record->attrCollectionHas(CollectionConfig("vlan", "10")));

   // The default leaves the record (absence means the default) but not the table.
   auto po10 = config->entityMember("intfConfig", "Port-Channel10");
   po10->valueIs("mtu", Kiv::Value::integer(1500));
   EXPECT_FALSE(nested("Port-Channel10")->attrHas("mtu"));
   EXPECT_EQ(intfEntry(dir, "mtu mlag10", "Port-Channel10")->localVal(), "");

   Traces traces;
   config->valueIs("unchecked", Kiv::Value::integer(1));
   EXPECT_TRUE(traces.contains("Ignoring attribute change for 'unchecked'"));
   EXPECT_FALSE(record->attrHas("unchecked"));
}

TEST_F(LocalSideTest, NestedElementsComeAndGoThroughTheBacklog) {
   start();
   runUntilQuiet();
   Traces traces;
   // Created and deleted before the slice: no machine, no record.
   config->entityMemberIs("intfConfig", "Port-Channel20")->valueIs("mtu", Kiv::Value::integer(1));
   config->memberDel("intfConfig", "Port-Channel20");
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("statehubToP2pSm for 'Port-Channel20' already deleted"));
   EXPECT_FALSE(nested("Port-Channel20"));
   EXPECT_EQ(sm->statehubToP2pSmSize(), 1u);

   // Not in MLAG: ignored.
   config->entityMemberIs("intfConfig", "Port-Channel30");
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("Ignoring request for statehubToP2pSm creation for 'Port-Channel30'"));

   config->memberDel("intfConfig", "Port-Channel10");
   runUntilQuiet();
   EXPECT_FALSE(nested("Port-Channel10"));
   EXPECT_FALSE(dir->configIntfDir(Kiv::Name("mtu mlag10")));
   EXPECT_EQ(sm->statehubToP2pSmSize(), 0u);
}

TEST_F(LocalSideTest, AnMlagIdChangeRenamesTheInterfaceParameters) {
   start();
   runUntilQuiet();
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("11"));
   runUntilQuiet();
   EXPECT_FALSE(dir->configIntfDir(Kiv::Name("mode mlag10")));
   EXPECT_EQ(intfEntry(dir, "mode mlag11", "Port-Channel10")->localVal(), "on");
   EXPECT_EQ(sm->statehubToP2pSm("Port-Channel10")->mlagId(), "11");
   // Leaving MLAG: the machine stays with no id, its entries go.
   mlag->intfConfigDel(Porta::IntfId("Port-Channel10"));
   runUntilQuiet();
   ASSERT_TRUE(sm->statehubToP2pSm("Port-Channel10"));
   EXPECT_EQ(sm->statehubToP2pSm("Port-Channel10")->mlagId(), "");
   EXPECT_FALSE(dir->configIntfDir(Kiv::Name("mode mlag11")));
}

TEST_F(LocalSideTest, ReCreationWithOtherParametersIsRefused) {
   start();
   runUntilQuiet();
   auto element = Kiv::genericIf(config->entityMember("intfConfig", "Port-Channel10"));
   auto nestedDesc = desc->nestedConfigCheckDesc(Kiv::Name("intfConfig"));
   auto same = sm->statehubToP2pSmIs(checkerClock(), dir, "Port-Channel10", element,
                                     nested("Port-Channel10"), nestedDesc, mlag);
   EXPECT_EQ(same, sm->statehubToP2pSm("Port-Channel10"));
   try {
      sm->statehubToP2pSmIs(checkerClock(), resultsDir("other"), "Port-Channel10", element,
                            nested("Port-Channel10"), nestedDesc, mlag);
      FAIL() << "accepted";
   } catch (const Kiv::NameInUseException & e) {
      EXPECT_EQ(std::string(e.what()),
                "Reinstantiating the pointer interface where constructor parameter attribute "
                "_configCheck has a different value of '/other' than the current value of "
                "'/lacp' not allowed");
   }
   Traces traces;
   sm->doCleanup();
   sm->doCleanup();
   EXPECT_EQ(traces.count("Cleaning up Sm for "), 1u);
}

TEST(GenericHandlerDeathTest, AMissingContextIsAFault) {
   auto config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("c"));
   GenericHandler handler(config, nullptr);
   EXPECT_DEATH(config->valueIs("x", Kiv::Value::integer(1)), "context_");
}

class PeerSideTest : public CheckerTestBase {
 protected:
   void SetUp() override {
      CheckerTestBase::SetUp();
      desc->attrNameIs("priority", "priority");
      desc->collectionNameIs("vlan", "vlan");
      desc->nestedConfigCheckDescIs("intfConfig")->attrNameIs("mtu", "mtu");
      desc->nestedConfigCheckDescIs("group")->attrNameIs("mtu", "mtu");
      record->paramNameIs("lacp");
      record->attrIs("priority", "100");
      auto po = record->nestedIntfConfigIs(Kiv::Name("Ethernet1"));
      po->paramNameIs("intfConfig");
      po->attrIs("mtu", "9000");
   }
   void dropAll() override {
      peer = nullptr;
      record = nullptr;
      dir = nullptr;
      desc = nullptr;
   }
   void start() {
      peer = P2pToStatehubSm::P2pToStatehubSmIs(checkerClock(), dir, record, "Peer", nullptr, nullptr);
      peer->configCheckDescIs(desc);
      peer->handleInitialized();
   }
   Kiv::Ptr< ConfigPluginDir > dir = resultsDir();
   Kiv::Ptr< ConfigCheckDesc > desc = configCheckDescFactory("lacp");
   Kiv::Ptr< GenericConfig > record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< P2pToStatehubSm > peer;
};

TEST_F(PeerSideTest, ImportThenChangesReachThePeerColumn) {
   Traces traces;
   start();
   EXPECT_TRUE(traces.contains("Cannot initialize peerSM for 'Peer'"));
   EXPECT_EQ(globalEntry(dir, "priority")->peerVal(), "100");
   runUntilQuiet();
   // The peer value waits for the local entry under the provisional key.
   EXPECT_EQ(intfEntry(dir, "mtu", "PeerEthernet1")->peerVal(), "9000");

   record->attrIs("priority", "200");
   EXPECT_EQ(globalEntry(dir, "priority")->peerVal(), "200");
   record->attrDel("priority");
   EXPECT_EQ(globalEntry(dir, "priority")->peerVal(), "");
   record->attrCollectionIs(CollectionConfig("vlan", "'10'"), "allowed");
   EXPECT_EQ(globalEntry(dir, "10 vlan")->peerVal(), "allowed");
   record->nestedIntfConfig(Kiv::Name("Ethernet1"))->attrIs("mtu", "1500");
   EXPECT_EQ(intfEntry(dir, "mtu", "PeerEthernet1")->peerVal(), "1500");

   // Added and removed before the slice: one key, nothing to do.
   record->nestedGlobalConfigIs(Kiv::Name("g1"))->paramNameIs("group");
   record->nestedGlobalConfigDel(Kiv::Name("g1"));
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("p2pToStatehubSm for 'g1' already deleted"));

   // A removed interface configuration clears its peer entries.
   doInsertLocalIntfParam(dir, "mtu", "Ethernet1", "9000", "", false);
   record->nestedIntfConfigDel(Kiv::Name("Ethernet1"));
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("Handle peer nested global config remove 'Ethernet1'"));
   EXPECT_EQ(intfEntry(dir, "mtu", "Ethernet1")->peerVal(), "");
   EXPECT_EQ(intfEntry(dir, "mtu", "Ethernet1")->localVal(), "9000");
   EXPECT_EQ(peer->p2pToStatehubSmSize(), 0u);
}

TEST_F(PeerSideTest, ChangesBeforeInitializationAreDropped) {
   peer = P2pToStatehubSm::P2pToStatehubSmIs(checkerClock(), dir, record, "Peer", nullptr, nullptr);
   Traces traces;
   record->attrIs("priority", "300");
   EXPECT_TRUE(traces.contains("Attribute change before initialization of 'priority'"));
   record->attrCollectionIs(CollectionConfig("vlan", "10"), "x");
   EXPECT_FALSE(traces.contains("collection"));
   EXPECT_EQ(dir->configGlobalDiffSize(), 0u);
}

TEST_F(PeerSideTest, ReCreationIsRefusedInParameterOrder) {
   start();
   runUntilQuiet();
   auto existing = peer->p2pToStatehubSm("Ethernet1");
   ASSERT_TRUE(existing);
   auto nestedRecord = record->nestedIntfConfig(Kiv::Name("Ethernet1"));
   EXPECT_EQ(peer->p2pToStatehubSmIs(checkerClock(), dir, nestedRecord, "Ethernet1", nullptr), existing);
   EXPECT_THROW(peer->p2pToStatehubSmIs(checkerClock(), resultsDir("x"), record, "Ethernet1", nullptr),
                Kiv::NameInUseException);
   try {
      peer->p2pToStatehubSmIs(checkerClock(), dir, record, "Ethernet1", mlagConfig({}));
   } catch (const Kiv::NameInUseException & e) {
      EXPECT_NE(std::string(e.what()).find("attribute _peerConfig has"), std::string::npos);
   }
}

TEST(PeerSideDeathTest, ANameInBothNestedCollectionsIsAFault) {
   Kiv::System::virtualTimeIs(0);
   auto desc = configCheckDescFactory("lacp");
   auto record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   record->paramNameIs("lacp");
   record->nestedIntfConfigIs(Kiv::Name("x"));
   record->nestedGlobalConfigIs(Kiv::Name("x"));
   auto peer = P2pToStatehubSm::P2pToStatehubSmIs(checkerClock(), resultsDir(), record, "Peer", nullptr,
                                                  nullptr);
   peer->configCheckDescIs(desc);
   peer->handleInitialized();
   EXPECT_DEATH(runUntilQuiet(), "!\\( peerGlobalConfig && peerIntfConfig\\)");
}

class TopLevelTest : public CheckerTestBase {
 protected:
   void dropAll() override {
      container = nullptr;
      dir = nullptr;
      desc = nullptr;
      config = nullptr;
      local = nullptr;
      peerRecord = nullptr;
      mlag = nullptr;
   }
   Kiv::Ptr< ConfigPluginDir > dir = resultsDir();
   Kiv::Ptr< ConfigCheckDesc > desc = configCheckDescFactory("lacp");
   Kiv::Ptr< Kiv::DynamicEntity > config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("lacp"));
   Kiv::Ptr< GenericConfig > local = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< GenericConfig > peerRecord = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< Mlag::Config > mlag = mlagConfig({});
   Kiv::Ptr< SmContainer > container = smContainerFactory("lacp");
};

TEST_F(TopLevelTest, StartClearsTheDirectoryThenBothSidesComeUp) {
   desc->attrNameIs("priority", "priority");
   config->valueIs("priority", Kiv::Value::integer(1));
   peerRecord->paramNameIs("lacp");
   peerRecord->attrIs("priority", "2");
   doInsertLocalParam(dir, "stale", "Local", "old");
   Traces traces;
   auto top = container->configCheckSmIs(dir, "lacp", config, local, peerRecord, desc, mlag);
   EXPECT_FALSE(globalEntry(dir, "stale"));
   EXPECT_EQ(globalEntry(dir, "priority")->localVal(), "1");
   EXPECT_EQ(globalEntry(dir, "priority")->peerVal(), "2");
   EXPECT_TRUE(top->initialized());
   EXPECT_TRUE(traces.contains("Initializing top level Sm for 'lacp'config = "));
   EXPECT_TRUE(traces.contains("Cannot initialize peerSM for 'Peer'"));
   EXPECT_TRUE(traces.contains("Initializing PeerSm for 'Peer' config = "));

   traces.clear();
   top->handleInitialized();
   EXPECT_FALSE(traces.contains("Initializing"));

   // The same arguments keep the machine; a changed one replaces it.
   EXPECT_EQ(container->configCheckSmIs(dir, "lacp", config, local, peerRecord, desc, mlag), top);
   auto local2 = top->statehubToP2pSm();
   EXPECT_EQ(top->statehubToP2pSmIs(checkerClock(), dir, "Local", config, local, desc, mlag), local2);
   auto replaced = top->statehubToP2pSmIs(checkerClock(), dir, "Local", config, local,
                                          configCheckDescFactory("other"), mlag);
   EXPECT_NE(replaced, local2);
   EXPECT_EQ(local2->refCount(), 1u); // only this test holds the old one
   local2 = nullptr;

   auto peer = top->p2pToStatehubSm();
   container->configCheckSmDel();
   EXPECT_FALSE(peer->hasNotificationActive());
}

TEST_F(TopLevelTest, ReflectiveAccessByAttributeName) {
   using Op = MlagConfigCheckSm::GenericOp;
   auto top = container->configCheckSmIs(dir, "lacp", config, local, peerRecord, desc, mlag);
   Kiv::GenericValue result;
   EXPECT_TRUE(top->genericIfOp(Op::get, "name", {}, result));
   EXPECT_EQ(result.value().stringValue(), "lacp");
   EXPECT_TRUE(top->genericIfOp(Op::get, "configCheck", {}, result));
   EXPECT_EQ(result.object(), Kiv::Ptr< Kiv::PtrInterface >(dir));
   EXPECT_TRUE(top->genericIfOp(Op::set, "initialized", {Kiv::Value::boolean(false)}, result));
   EXPECT_FALSE(top->initialized());
   EXPECT_TRUE(top->genericIfOp(Op::call, "handleInitialized", {}, result));
   EXPECT_TRUE(top->initialized());
   EXPECT_TRUE(top->genericIfOp(Op::del, "p2pToStatehubSm", {}, result));
   EXPECT_FALSE(top->p2pToStatehubSm());
   EXPECT_TRUE(top->genericIfOp(Op::call, "handlePeerSmCreation", {Kiv::Value::string("Peer")},
                                result));
   EXPECT_TRUE(top->p2pToStatehubSm());
   EXPECT_THROW(top->genericIfOp(Op::set, "name", {Kiv::Value::string("x")}, result),
                Kiv::OperationNotSupportedException);
   EXPECT_FALSE(top->genericIfOp(Op::get, "noSuchAttribute", {}, result));

   const std::vector< Kiv::GenericValue > args = {
      Kiv::GenericValue::object(resultsDir("r")),    Kiv::Value::string("r"),
      Kiv::GenericValue(Kiv::Ptr< Kiv::GenericIf >(config)), Kiv::GenericValue::object(local),
      Kiv::GenericValue::object(peerRecord),         Kiv::GenericValue::object(desc),
      Kiv::GenericValue::object(mlag)};
   auto created = Kiv::ptrCast< MlagConfigCheckSm >(MlagConfigCheckSm::kivType().create(args));
   ASSERT_TRUE(created);
   EXPECT_EQ(created->name(), "r");
   EXPECT_TRUE(created->initialized());
}

TEST(TypeRegistrationTest, CheckerTypesRegisterInLoadOrder) {
   registerConfigCheckTypes();
   std::vector< std::string > checker;
   for (const Kiv::String & name : Kiv::registeredTypeNames()) {
      if (name.view().starts_with("Mlag::ConfigCheck::")) checker.push_back(name.stdString().substr(19));
   }
   EXPECT_EQ(checker, (std::vector< std::string >{"MlagConfigCheckSm", "StatehubToP2pSm",
                                                  "ConfigCheckDesc", "SmContainer",
                                                  "P2pToStatehubSm", "SmCodefKey"}));
}

} // namespace
