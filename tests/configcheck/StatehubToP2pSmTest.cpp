#include "StatehubToP2pSm.h"

#include "CheckerFixture.h"
#include "MlagConfigCheckUtil.h"
#include "kiv/Exception.h"

namespace {

using namespace CheckerTest;

// One switch's lacp configuration: scalars, a value collection, one MLAG
// interface and one group, published by the local side "Local".
class LocalSideTest : public CheckerTestBase {
 protected:
   void SetUp() override {
      CheckerTestBase::SetUp();
      config->valueIs("priority", Kiv::Value::integer(100));
      config->scalarAttrIs("timeout"); // declared, no value
      config->memberIs("vlan", "10", Kiv::Value::string("allowed"));
      auto po10 = config->entityMemberIs("intfConfig", "Port-Channel10");
      po10->valueIs("mtu", Kiv::Value::integer(9000));
      po10->valueIs("mode", Kiv::Value::string("active"));
      config->entityMemberIs("group", "g1")->valueIs("mtu", Kiv::Value::integer(1400));
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
      sm = StatehubToP2pSm::StatehubToP2pSmIs(checkerClock(), dir, "Local", config, record, desc,
                                              mlag);
   }
   Kiv::Ptr< GenericConfig > nested(const char * intf) {
      return record->nestedIntfConfig(Kiv::Name(intf));
   }
   Kiv::Ptr< Kiv::DynamicEntity > po10() {
      return config->entityMember("intfConfig", "Port-Channel10");
   }

   Kiv::Ptr< ConfigPluginDir > dir = resultsDir();
   Kiv::Ptr< ConfigCheckDesc > desc = lacpDesc();
   Kiv::Ptr< Kiv::DynamicEntity > config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("lacp"));
   Kiv::Ptr< GenericConfig > record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< Mlag::Config > mlag = mlagConfig({{"Port-Channel10", "10"}, {"Port-Channel20", "20"}});
   Kiv::Ptr< StatehubToP2pSm > sm;
};

TEST_F(LocalSideTest, ConstructionPublishesEveryValueBeforeAnyChange) {
   Traces traces;
   start();
   EXPECT_TRUE(sm->initialized());
   EXPECT_TRUE(sm->genericHandler());
   EXPECT_TRUE(traces.contains("Initializing Sm for 'Local', write config "));
   // Scalars and members are there at once, present values and empty ones alike.
   EXPECT_EQ(record->attr("priority"), "100");
   EXPECT_EQ(localEntry(dir, "priority"), "100");
   EXPECT_TRUE(record->attrHas("timeout"));
   EXPECT_EQ(localEntry(dir, "timeout"), record->attr("timeout").stdString());
   EXPECT_EQ(record->attrCollection(CollectionConfig("vlan", "10")), "allowed");
   EXPECT_EQ(localEntry(dir, "10 vlan"), "allowed");
   // Nested elements wait for the backlog.
   EXPECT_EQ(sm->backlogSize(), 2u);
   EXPECT_FALSE(nested("Port-Channel10"));
   runUntilQuiet();
   ASSERT_TRUE(nested("Port-Channel10"));
   EXPECT_EQ(nested("Port-Channel10")->paramName(), "intfConfig");
   EXPECT_EQ(nested("Port-Channel10")->attr("mtu"), "9000");
   EXPECT_EQ(nested("Port-Channel10")->attr("mode"), "on");
   EXPECT_EQ(localEntry(dir, "mtu mlag10", "Port-Channel10"), "9000");
   EXPECT_EQ(localEntry(dir, "mode mlag10", "Port-Channel10"), "on");
   EXPECT_EQ(intfEntry(dir, "mtu mlag10", "Port-Channel10")->defaultVal(), "1500");
   EXPECT_EQ(sm->statehubToP2pSm("Port-Channel10")->mlagId(), "10");
   ASSERT_TRUE(record->nestedGlobalConfig(Kiv::Name("g1")));
   EXPECT_EQ(record->nestedGlobalConfig(Kiv::Name("g1"))->attr("mtu"), "1400");
   EXPECT_EQ(localEntry(dir, "mtu g1"), "1400");
   EXPECT_EQ(globalEntry(dir, "mtu g1")->groupId(), "g1");
}

TEST_F(LocalSideTest, ChangesReachTheRecordAndTheLocalColumn) {
   start();
   runUntilQuiet();
   config->valueIs("priority", Kiv::Value::integer(200));
   EXPECT_EQ(record->attr("priority"), "200");
   EXPECT_EQ(localEntry(dir, "priority"), "200");

   config->memberIs("vlan", "20", Kiv::Value::string("allowed"));
   config->memberDel("vlan", "10");
   EXPECT_EQ(record->attrCollection(CollectionConfig("vlan", "20")), "allowed");
   EXPECT_FALSE(record->attrCollectionHas(CollectionConfig("vlan", "10")));
   EXPECT_EQ(localEntry(dir, "20 vlan"), "allowed");

   // Absence means the default: the record drops it, the column shows no value.
   po10()->valueIs("mtu", Kiv::Value::integer(1500));
   EXPECT_FALSE(nested("Port-Channel10")->attrHas("mtu"));
   EXPECT_EQ(localEntry(dir, "mtu mlag10", "Port-Channel10"), "");
   po10()->valueIs("mtu", Kiv::Value::integer(9100));
   EXPECT_EQ(nested("Port-Channel10")->attr("mtu"), "9100");
   EXPECT_EQ(localEntry(dir, "mtu mlag10", "Port-Channel10"), "9100");

   po10()->valueIs("mode", Kiv::Value::string("passive"));
   EXPECT_EQ(nested("Port-Channel10")->attr("mode"), "passive");
   EXPECT_EQ(localEntry(dir, "mode mlag10", "Port-Channel10"), "passive");
   po10()->valueIs("mode", Kiv::Value::string("active"));
   EXPECT_EQ(nested("Port-Channel10")->attr("mode"), "on");
   EXPECT_EQ(localEntry(dir, "mode mlag10", "Port-Channel10"), "on");

   Traces traces;
   config->valueIs("unchecked", Kiv::Value::integer(1));
   EXPECT_TRUE(traces.contains("Ignoring attribute change for 'unchecked'"));
   EXPECT_FALSE(record->attrHas("unchecked"));
   EXPECT_EQ(localEntry(dir, "unchecked"), none);
   // A nested element's own change does not touch the parent's record.
   EXPECT_EQ(record->attrSize(), 2u);
}

TEST_F(LocalSideTest, NestedElementsComeAndGoThroughTheBacklog) {
   start();
   runUntilQuiet();
   Traces traces;
   // Created and deleted before the slice: one key, no machine, no record.
   config->entityMemberIs("intfConfig", "Port-Channel20")->valueIs("mtu", Kiv::Value::integer(1));
   config->memberDel("intfConfig", "Port-Channel20");
   EXPECT_EQ(sm->backlogSize(), 1u);
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("statehubToP2pSm for 'Port-Channel20' already deleted"));
   EXPECT_FALSE(nested("Port-Channel20"));
   EXPECT_EQ(sm->statehubToP2pSmSize(), 2u);

   config->entityMemberIs("intfConfig", "Port-Channel30")->valueIs("mtu", Kiv::Value::integer(1500));
   runUntilQuiet();
   EXPECT_TRUE(
      traces.contains("Ignoring request for statehubToP2pSm creation for 'Port-Channel30'"));
   EXPECT_FALSE(nested("Port-Channel30"));
   // Joining MLAG later brings its machine.
   mlag->intfConfigIs(Porta::IntfId("Port-Channel30"), Mlag::IntfConfig("30"));
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("'Local' SM creating statehubToP2pSm for 'Port-Channel30' mlag '30'"));
   ASSERT_TRUE(nested("Port-Channel30"));
   EXPECT_EQ(localEntry(dir, "mtu mlag30", "Port-Channel30"), "");
   EXPECT_EQ(intfEntry(dir, "mtu mlag30", "Port-Channel30")->defaultVal(), "1500");
   config->memberDel("intfConfig", "Port-Channel30");
   runUntilQuiet();

   auto machine = sm->statehubToP2pSm("Port-Channel10");
   sm->handleLocalSmCreation("Port-Channel10", "intfConfig");
   sm->handleLocalSmCreation("Port-Channel10", "intfConfig");
   runUntilQuiet();
   EXPECT_EQ(traces.count("statehubToP2pSm for 'Port-Channel10' already exists"), 1u);
   EXPECT_EQ(sm->statehubToP2pSm("Port-Channel10"), machine);
   machine = nullptr;

   config->memberDel("intfConfig", "Port-Channel10");
   runUntilQuiet();
   EXPECT_FALSE(sm->statehubToP2pSm("Port-Channel10"));
   EXPECT_FALSE(nested("Port-Channel10"));
   EXPECT_EQ(localEntry(dir, "mtu mlag10", "Port-Channel10"), none);
   EXPECT_EQ(localEntry(dir, "mode mlag10", "Port-Channel10"), none);

   config->memberDel("group", "g1");
   runUntilQuiet();
   EXPECT_FALSE(sm->statehubToP2pSm("g1"));
   EXPECT_FALSE(record->nestedGlobalConfig(Kiv::Name("g1")));
   EXPECT_EQ(localEntry(dir, "mtu g1"), none);
   EXPECT_EQ(sm->statehubToP2pSmSize(), 0u);
   EXPECT_EQ(localEntry(dir, "priority"), "100"); // the parent's own entries stay
}

TEST_F(LocalSideTest, AnMlagIdChangeMovesTheInterfaceEntries) {
   start();
   runUntilQuiet();
   Traces traces;
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("11"));
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("mlag changed from '10' to '11'"));
   EXPECT_EQ(localEntry(dir, "mode mlag10", "Port-Channel10"), none);
   EXPECT_EQ(localEntry(dir, "mode mlag11", "Port-Channel10"), "on");
   EXPECT_EQ(localEntry(dir, "mtu mlag11", "Port-Channel10"), "9000");
   EXPECT_EQ(sm->statehubToP2pSm("Port-Channel10")->mlagId(), "11");
   // Later changes are named with the new id.
   po10()->valueIs("mtu", Kiv::Value::integer(9200));
   EXPECT_EQ(localEntry(dir, "mtu mlag11", "Port-Channel10"), "9200");

   // Leaving MLAG: the deletion request is processed as a create of an
   // element that still exists and ignored; the machine stays with no id and
   // its own recopy removes its entries.
   traces.clear();
   mlag->intfConfigDel(Porta::IntfId("Port-Channel10"));
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("'Local' SM deleting statehubToP2pSm for "));
   EXPECT_TRUE(
      traces.contains("Ignoring request for statehubToP2pSm creation for 'Port-Channel10'"));
   ASSERT_TRUE(sm->statehubToP2pSm("Port-Channel10"));
   EXPECT_EQ(sm->statehubToP2pSm("Port-Channel10")->mlagId(), "");
   EXPECT_EQ(localEntry(dir, "mode mlag11", "Port-Channel10"), none);

   // Coming back publishes under the new id at once.
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("12"));
   runUntilQuiet();
   EXPECT_EQ(localEntry(dir, "mtu mlag12", "Port-Channel10"), "9200");
   EXPECT_EQ(sm->statehubToP2pSm("Port-Channel10")->mlagId(), "12");
}

TEST_F(LocalSideTest, MachinesWithoutMlagKeepAnEmptyId) {
   auto element = Kiv::genericIf(po10());
   auto intfDesc = desc->nestedConfigCheckDesc(Kiv::Name("intfConfig"));
   auto nonMlag = StatehubToP2pSm::StatehubToP2pSmIs(checkerClock(), dir, "Port-Channel30",
                                                     element, record, intfDesc, mlag);
   EXPECT_EQ(nonMlag->mlagId(), "");
   EXPECT_TRUE(nonMlag->mlagConfig());
   nonMlag = nullptr;
   // No MLAG configuration: no reactor, no id, and every parameter published.
   auto groupDesc = desc->nestedConfigCheckDesc(Kiv::Name("group"));
   auto bare = StatehubToP2pSm::StatehubToP2pSmIs(checkerClock(), dir, "Ethernet1", element,
                                                  record, groupDesc, nullptr);
   EXPECT_FALSE(bare->mlagConfig());
   EXPECT_EQ(bare->mlagId(), "");
   EXPECT_EQ(localEntry(dir, "mtu", "Ethernet1"), "9000");
   EXPECT_EQ(record->attr("mtu"), "9000");
   bare = nullptr;
   try {
      StatehubToP2pSm::StatehubToP2pSmIs(checkerClock(), nullptr, "Ethernet1", element, record,
                                         groupDesc, nullptr);
      ADD_FAILURE() << "accepted";
   } catch (const Kiv::RangeException & e) {
      EXPECT_STREQ(e.what(), "null ValidPtr");
   }
}

// Asking again for a nested machine with one constructor parameter changed
// is refused naming that parameter; the machine stays as it was.
TEST_F(LocalSideTest, ChangedReCreationIsRefused) {
   start();
   runUntilQuiet();
   auto existing = sm->statehubToP2pSm("Port-Channel10");
   auto element = Kiv::genericIf(po10());
   auto intfDesc = desc->nestedConfigCheckDesc(Kiv::Name("intfConfig"));
   auto clock = checkerClock();
   EXPECT_EQ(sm->statehubToP2pSmIs(clock, dir, "Port-Channel10", element, nested("Port-Channel10"),
                                   intfDesc, mlag),
             existing);

   auto otherClock = Kiv::kivNew< Kiv::Clock >(Kiv::Name("otherClock"));
   try {
      sm->statehubToP2pSmIs(otherClock, dir, "Port-Channel10", element, nested("Port-Channel10"),
                            intfDesc, mlag);
      ADD_FAILURE() << "accepted";
   } catch (const Kiv::NameInUseException & e) {
      EXPECT_EQ(std::string(e.what()),
                "Reinstantiating the pointer interface where constructor parameter attribute "
                "_clock has a different value of " +
                   otherClock->kivStrep().stdString() + " than the current value of " +
                   clock->kivStrep().stdString() + " not allowed");
   }
   auto otherEntity = Kiv::genericIf(Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("x")));
   const struct {
      const char * attribute;
      std::function< void() > request;
   } cases[] = {
      {"_configCheck",
       [&] {
          sm->statehubToP2pSmIs(clock, resultsDir("other"), "Port-Channel10", element,
                                nested("Port-Channel10"), intfDesc, mlag);
       }},
      {"_readConfig",
       [&] {
          sm->statehubToP2pSmIs(clock, dir, "Port-Channel10", otherEntity,
                                nested("Port-Channel10"), intfDesc, mlag);
       }},
      {"_writeConfig",
       [&] {
          sm->statehubToP2pSmIs(clock, dir, "Port-Channel10", element, record, intfDesc, mlag);
       }},
      {"_configCheckDesc",
       [&] {
          sm->statehubToP2pSmIs(clock, dir, "Port-Channel10", element, nested("Port-Channel10"),
                                desc, mlag);
       }},
      {"_mlagConfig",
       [&] {
          sm->statehubToP2pSmIs(clock, dir, "Port-Channel10", element, nested("Port-Channel10"),
                                intfDesc, nullptr);
       }},
   };
   for (const auto & c : cases) {
      try {
         c.request();
         ADD_FAILURE() << c.attribute << " accepted";
      } catch (const Kiv::NameInUseException & e) {
         EXPECT_NE(std::string(e.what()).find(std::string("parameter attribute ") + c.attribute +
                                              " has a different value of "),
                   std::string::npos)
            << e.what();
      }
   }
   EXPECT_EQ(sm->statehubToP2pSm("Port-Channel10"), existing);
   EXPECT_EQ(existing->configCheck(), dir);
   EXPECT_EQ(sm->statehubToP2pSmSize(), 2u);
}

TEST_F(LocalSideTest, CleanupTracesOnceAndTeardownCleansEveryMachine) {
   start();
   runUntilQuiet();
   Traces traces;
   auto machine = sm->statehubToP2pSm("Port-Channel10");
   machine->doCleanup();
   machine->doCleanup();
   EXPECT_EQ(traces.count("Cleaning up Sm for 'Port-Channel10'"), 1u);
   EXPECT_FALSE(machine->genericHandler());
   EXPECT_FALSE(machine->initialized());
   // A cleaned-up machine hears no more changes.
   po10()->valueIs("mtu", Kiv::Value::integer(1));
   EXPECT_EQ(nested("Port-Channel10")->attr("mtu"), "9000");
   machine = nullptr;

   traces.clear();
   sm = nullptr;
   EXPECT_EQ(traces.count("Cleaning up Sm for 'Local'"), 1u);
   EXPECT_EQ(traces.count("Cleaning up Sm for 'g1'"), 1u);
   EXPECT_EQ(traces.count("Cleaning up Sm for 'Port-Channel10'"), 0u);
   // Teardown removes no values; the next start clears them.
   EXPECT_EQ(localEntry(dir, "priority"), "100");
   config->valueIs("priority", Kiv::Value::integer(5));
   EXPECT_EQ(localEntry(dir, "priority"), "100");
}

TEST_F(LocalSideTest, UpdateConfigCheckDbWritesTheLocalTableForOneChange) {
   start();
   runUntilQuiet();
   Traces traces;
   // Changes made while the machine is deaf reach the table only through
   // an explicit update.
   sm->hasNotificationActiveIs(false);
   config->valueIs("priority", Kiv::Value::integer(7));
   config->memberIs("vlan", "10", Kiv::Value::string("denied"));
   po10()->valueIs("mtu", Kiv::Value::integer(1234));
   sm->hasNotificationActiveIs(true);
   const Kiv::KivType & type = config->kivType();

   sm->updateConfigCheckDb(Kiv::GenericValue(), record, *type.attr("priority"));
   EXPECT_EQ(localEntry(dir, "priority"), "7");
   sm->updateConfigCheckDb(Kiv::GenericValue(Kiv::Value::string("10")), record, *type.attr("vlan"));
   EXPECT_EQ(localEntry(dir, "10 vlan"), "denied");
   // A member that is not there reads as no value.
   sm->updateConfigCheckDb(Kiv::GenericValue(Kiv::Value::string("99")), record, *type.attr("vlan"));
   EXPECT_EQ(localEntry(dir, "99 vlan"), "");
   // A nested element is written through its own descriptor and record.
   sm->updateConfigCheckDb(Kiv::GenericValue(Kiv::Value::string("Port-Channel10")), record,
                           *type.attr("intfConfig"));
   EXPECT_EQ(localEntry(dir, "mtu mlag10", "Port-Channel10"), "1234");
   EXPECT_EQ(nested("Port-Channel10")->attr("mtu"), "1234");

   config->valueIs("unchecked", Kiv::Value::integer(1));
   sm->updateConfigCheckDb(Kiv::GenericValue(), record, *config->kivType().attr("unchecked"));
   EXPECT_TRUE(traces.contains("Ignoring interface create for'Local'")) << traces.all();
   EXPECT_FALSE(globalEntry(dir, "unchecked"));
}

TEST_F(LocalSideTest, TheMlagConfigurationCanBeSwappedAndDropped) {
   start();
   runUntilQuiet();
   EXPECT_EQ(sm->mlagConfig(), Kiv::PtrConst< Mlag::Config >(mlag));
   sm->mlagConfigIs(mlag); // the same: nothing changes
   EXPECT_EQ(sm->mlagConfig(), Kiv::PtrConst< Mlag::Config >(mlag));

   auto other = mlagConfig({{"Port-Channel10", "77"}});
   sm->mlagConfigIs(other);
   EXPECT_EQ(sm->mlagConfig(), Kiv::PtrConst< Mlag::Config >(other));
   // The old configuration is no longer heard.
   mlag->intfConfigDel(Porta::IntfId("Port-Channel20"));
   EXPECT_EQ(sm->backlogSize(), 0u);

   EXPECT_EQ(sm->mlagConfigDel(), Kiv::PtrConst< Mlag::Config >(other));
   EXPECT_FALSE(sm->mlagConfig());
   EXPECT_FALSE(sm->mlagConfigDel());
   sm->mlagConfigIs(nullptr);
   EXPECT_FALSE(sm->mlagConfig());
}

TEST_F(LocalSideTest, KeysThatCannotMakeAMachineOnlyTrace) {
   desc->nestedConfigCheckDescIs("vlan"); // a value collection named as nested
   start();
   runUntilQuiet();
   Traces traces;
   sm->processSmCodefKey(SmCodefKey(Kiv::Name("x"), "unknown"));
   EXPECT_TRUE(traces.contains("Ignoring changes of type 'unknown' name 'x'")) << traces.all();
   sm->processSmCodefKey(SmCodefKey(Kiv::Name("x"), ""));
   EXPECT_TRUE(traces.contains("Ignoring changes of type '' name 'x'")) << traces.all();
   // A member that is a value, not an entity, makes no machine.
   sm->processSmCodefKey(SmCodefKey(Kiv::Name("10"), "vlan"));
   EXPECT_TRUE(traces.contains("'Local' SM failed to create statehubToP2pSm for '10'"))
      << traces.all();
   EXPECT_FALSE(sm->statehubToP2pSm("10"));
   // An interface that is not an MLAG interface gets no MLAG-only machine.
   config->entityMemberIs("intfConfig", "Port-Channel99");
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("Ignoring request for statehubToP2pSm creation for 'Port-Channel99'"))
      << traces.all();
   EXPECT_FALSE(sm->statehubToP2pSm("Port-Channel99"));
}

TEST(GenericHandlerDeathTest, AMissingContextIsAFault) {
   auto config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("c"));
   GenericHandler handler(config, nullptr);
   EXPECT_DEATH(config->valueIs("x", Kiv::Value::integer(1)),
                "MlagConfigCheckGenericSm.cpp:14: .*Assertion `context_' failed");
}

} // namespace
