// The local side where its inputs are unusual: reads that fail, descriptors
// that name what the configuration lacks, element keys that do not render
// as themselves, interfaces outside MLAG.
#include "StatehubToP2pSm.h"

#include "CheckerFixture.h"
#include "MlagConfigCheckGenericSm.h"
#include "MlagConfigCheckNaming.h"
#include "kiv/Exception.h"

namespace {

using namespace CheckerTest;

// A configuration whose scalar reads fail while `failing` is set, as a
// generic interface backed by another process might.
class UnreadableConfig : public Kiv::DynamicEntity {
 public:
   using DynamicEntity::DynamicEntity;
   Kiv::GenericValue genericIfGet(const Kiv::KivAttr & attr,
                                  const Kiv::GenericValue & key) const override {
      if (failing && !attr.collection)
         throw Kiv::RangeException("unreadable " + attr.name.stdString());
      return DynamicEntity::genericIfGet(attr, key);
   }
   bool failing = false;
};

class LocalEdgeTest : public CheckerTestBase {
 protected:
   void SetUp() override {
      CheckerTestBase::SetUp();
      config->valueIs("priority", Kiv::Value::integer(100));
      config->memberIs("vlan", "10", Kiv::Value::string("allowed"));
      po10 = config->entityMemberIs("intfConfig", "Port-Channel10");
      po10->valueIs("mtu", Kiv::Value::integer(9000));
      config->entityMemberIs("group", "g1")->valueIs("mtu", Kiv::Value::integer(1400));
   }
   void dropAll() override {
      sm = nullptr;
      po10 = nullptr;
      config = nullptr;
      record = nullptr;
      mlag = nullptr;
      dir = nullptr;
      desc = nullptr;
   }
   void start(const Kiv::Ptr< Kiv::GenericIf > & readConfig) {
      sm = StatehubToP2pSm::StatehubToP2pSmIs(checkerClock(), dir, "Local", readConfig, record,
                                              desc, mlag);
   }
   void start() { start(config); }
   const Kiv::KivAttr & attr(const char * name) { return *config->kivType().attr(name); }

   Kiv::Ptr< ConfigPluginDir > dir = resultsDir();
   Kiv::Ptr< ConfigCheckDesc > desc = lacpDesc();
   Kiv::Ptr< UnreadableConfig > config = Kiv::kivNew< UnreadableConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< Kiv::DynamicEntity > po10;
   Kiv::Ptr< GenericConfig > record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< Mlag::Config > mlag = mlagConfig({{"Port-Channel10", "10"}});
   Kiv::Ptr< StatehubToP2pSm > sm;
};

TEST_F(LocalEdgeTest, AFailedReadIsTracedAndTakenForNoValue) {
   start();
   runUntilQuiet();
   ASSERT_EQ(record->attr("priority"), "100");
   Traces traces;
   config->failing = true;
   EXPECT_FALSE(sm->readConfigAccessor(Kiv::GenericValue(), attr("priority")));
   EXPECT_EQ(traces.count("Error during read config access of key "), 1u) << traces.all();
   traces.clear();
   config->valueIs("priority", Kiv::Value::integer(200));
   EXPECT_EQ(traces.count("Error during read config access of key "), 1u) << traces.all();
   EXPECT_EQ(record->attr("priority"), "");
   EXPECT_EQ(localEntry(dir, "priority"), "");
   // Reads that work again bring the value back.
   config->failing = false;
   config->valueIs("priority", Kiv::Value::integer(300));
   EXPECT_EQ(record->attr("priority"), "300");
   EXPECT_EQ(localEntry(dir, "priority"), "300");
}

// Without a local entity there is nothing to watch or read: the machine
// starts, publishes and records nothing, and every nested element it is
// asked about counts as absent, whatever MLAG says.
TEST_F(LocalEdgeTest, AMachineWithoutALocalEntityPublishesNothing) {
   Traces traces;
   start(Kiv::Ptr< Kiv::GenericIf >());
   EXPECT_TRUE(sm->initialized());
   EXPECT_FALSE(sm->genericHandler());
   EXPECT_EQ(sm->backlogSize(), 0u);
   EXPECT_FALSE(sm->readConfigAccessor(Kiv::GenericValue(), attr("priority")));
   EXPECT_FALSE(traces.contains("Error during read config access")) << traces.all();
   EXPECT_EQ(record->attrSize(), 0u);
   EXPECT_EQ(record->attrCollectionSize(), 0u);
   EXPECT_EQ(dir->configGlobalDiffSize(), 0u);
   EXPECT_EQ(dir->configIntfDirSize(), 0u);

   mlag->intfConfigIs(Porta::IntfId("Port-Channel20"), Mlag::IntfConfig("20"));
   EXPECT_TRUE(traces.contains("SM failed to create statehubToP2pSm for ")) << traces.all();
   EXPECT_EQ(sm->backlogSize(), 0u);
   sm->processSmCodefKey(SmCodefKey(Kiv::Name("Port-Channel10"), "intfConfig"));
   EXPECT_TRUE(traces.contains("already deleted")) << traces.all();
   EXPECT_EQ(sm->statehubToP2pSmSize(), 0u);
   EXPECT_EQ(record->nestedIntfConfigSize(), 0u);

   // Switching it off and on again touches no handler.
   sm->hasNotificationActiveIs(false);
   sm->hasNotificationActiveIs(true);
   runUntilQuiet();
   EXPECT_EQ(record->attrSize(), 0u);
   sm->doCleanup();
   EXPECT_FALSE(sm->initialized());
   EXPECT_EQ(traces.count("Cleaning up Sm for 'Local'"), 1u) << traces.all();
}

// Nested descriptors for a scalar and for an attribute the configuration
// does not have describe no collection: neither yields a machine.
TEST_F(LocalEdgeTest, NestedDescriptorsWithoutACollectionYieldNoMachine) {
   desc->nestedConfigCheckDescIs("timeout");
   desc->nestedConfigCheckDescIs("absent");
   config->valueIs("timeout", Kiv::Value::integer(3));
   start();
   EXPECT_EQ(sm->backlogSize(), 2u); // Port-Channel10 and g1 only
   runUntilQuiet();
   EXPECT_EQ(sm->statehubToP2pSmSize(), 2u);

   Traces traces;
   for (const char * collection : {"timeout", "absent"}) {
      sm->processSmCodefKey(SmCodefKey(Kiv::Name("x"), collection));
   }
   EXPECT_EQ(traces.count("Processing delete for 'x'"), 2u) << traces.all();
   EXPECT_EQ(traces.count("statehubToP2pSm for 'x' already deleted"), 2u);
   EXPECT_FALSE(sm->statehubToP2pSm("x"));
}

// A descriptor nested under the empty name still does not make the empty
// collection name a valid key.
TEST_F(LocalEdgeTest, AKeyWithAnEmptyCollectionNameIsIgnored) {
   desc->nestedConfigCheckDescIs("");
   start();
   runUntilQuiet();
   Traces traces;
   sm->processSmCodefKey(SmCodefKey(Kiv::Name("x"), ""));
   EXPECT_TRUE(traces.contains("Ignoring changes of type '' name 'x'")) << traces.all();
   EXPECT_FALSE(traces.contains("Processing"));
}

// Element keys are compared in their rendered, unquoted form: a key that
// renders escaped is found under that form, among several members.
TEST_F(LocalEdgeTest, AnElementKeyThatRendersEscapedIsFoundByItsRenderedForm) {
   config->entityMemberIs("group", "g2")->valueIs("mtu", Kiv::Value::integer(1300));
   config->entityMemberIs("group", "it's")->valueIs("mtu", Kiv::Value::integer(1200));
   const Kiv::String rendered =
      stringUnquote(strRep(Kiv::GenericValue(Kiv::Value::string("it's"))));
   ASSERT_NE(rendered, "it's");
   start();
   runUntilQuiet();
   auto machine = sm->statehubToP2pSm(rendered);
   ASSERT_TRUE(machine);
   EXPECT_EQ(machine->readConfig(), Kiv::genericIf(config->entityMember("group", "it's")));
   EXPECT_EQ(record->nestedGlobalConfig(Kiv::Name(rendered))->attr("mtu"), "1200");
   EXPECT_EQ(localEntry(dir, ("mtu " + rendered.stdString()).c_str()), "1200");
   EXPECT_EQ(localEntry(dir, "mtu g2"), "1300");
   machine = nullptr;

   config->memberDel("group", "it's");
   runUntilQuiet();
   EXPECT_FALSE(sm->statehubToP2pSm(rendered));
   EXPECT_EQ(localEntry(dir, ("mtu " + rendered.stdString()).c_str()), none);
   EXPECT_EQ(localEntry(dir, "mtu g2"), "1300");
}

// An interface machine of an MLAG-only model whose interface is not in MLAG
// names no parameter: its changes reach neither the record nor the table.
TEST_F(LocalEdgeTest, AnInterfaceOutsideMlagPublishesNoChange) {
   auto intfDesc = desc->nestedConfigCheckDesc(Kiv::Name("intfConfig"));
   auto element = config->entityMemberIs("intfConfig", "Port-Channel30");
   auto nested = Kiv::kivNew< GenericConfig >(Kiv::Name("Port-Channel30"));
   auto machine = StatehubToP2pSm::StatehubToP2pSmIs(checkerClock(), dir, "Port-Channel30", element,
                                                     nested, intfDesc, mlag);
   Traces traces;
   element->valueIs("mtu", Kiv::Value::integer(9100));
   EXPECT_TRUE(traces.contains("IntfId 'Port-Channel30' not present in mlag config."))
      << traces.all();
   EXPECT_FALSE(nested->attrHas("mtu"));
   machine->updateConfigCheckDb(Kiv::GenericValue(), nested, *element->kivType().attr("mtu"));
   EXPECT_EQ(dir->configIntfDirSize(), 0u);
   EXPECT_EQ(dir->configGlobalDiffSize(), 0u);
   machine = nullptr;
   element = nullptr;
}

// The explicit update of a nested element writes through the element's own
// record, interface or group alike; an element that is gone writes nothing.
TEST_F(LocalEdgeTest, UpdatingANestedElementUsesItsOwnRecord) {
   start();
   runUntilQuiet();
   sm->hasNotificationActiveIs(false);
   config->entityMember("group", "g1")->valueIs("mtu", Kiv::Value::integer(1450));
   po10->valueIs("mtu", Kiv::Value::integer(9150));
   sm->hasNotificationActiveIs(true);
   sm->updateConfigCheckDb(Kiv::GenericValue(Kiv::Value::string("g1")), record, attr("group"));
   EXPECT_EQ(record->nestedGlobalConfig(Kiv::Name("g1"))->attr("mtu"), "1450");
   EXPECT_EQ(localEntry(dir, "mtu g1"), "1450");
   sm->updateConfigCheckDb(Kiv::GenericValue(Kiv::Value::string("Port-Channel10")), record,
                           attr("intfConfig"));
   EXPECT_EQ(localEntry(dir, "mtu mlag10", "Port-Channel10"), "9150");

   sm->updateConfigCheckDb(Kiv::GenericValue(Kiv::Value::string("g9")), record, attr("group"));
   EXPECT_FALSE(record->nestedGlobalConfig(Kiv::Name("g9")));
   EXPECT_FALSE(globalEntry(dir, "mtu g9"));
}

TEST_F(LocalEdgeTest, DroppingTheMlagConfigurationStopsItsReactor) {
   start();
   runUntilQuiet();
   sm->mlagConfigIs(nullptr);
   EXPECT_FALSE(sm->mlagConfig());
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("11"));
   EXPECT_EQ(sm->backlogSize(), 0u);
   // The nested machine keeps its own reactor and follows the change.
   EXPECT_EQ(localEntry(dir, "mtu mlag11", "Port-Channel10"), "9000");
   sm->mlagIdIs("7");
   sm->mlagIdIs("7");
   EXPECT_EQ(sm->mlagId(), "7");
}

// Notifications for an attribute id the watched entity does not declare
// reach no machine.
TEST_F(LocalEdgeTest, UnknownAttributeIdsAreNotDelivered) {
   start();
   runUntilQuiet();
   Traces traces;
   const std::uint32_t unknown = static_cast< std::uint32_t >(config->kivType().attrs().size() + 1);
   sm->genericHandler()->onRawAttribute(unknown);
   sm->genericHandler()->onRawAttribute(unknown, Kiv::GenericValue(Kiv::Value::string("10")));
   EXPECT_FALSE(traces.contains("On attribute change")) << traces.all();
   sm->genericHandler()->onRawAttribute(attr("priority").id);
   EXPECT_TRUE(traces.contains("On attribute change, parameter name = 'priority'")) << traces.all();
}

// Starting again keeps the handler registered by the first start: every
// change is still delivered once.
TEST_F(LocalEdgeTest, ASecondStartKeepsTheOneHandler) {
   start();
   runUntilQuiet();
   GenericHandler * handler = sm->genericHandler();
   sm->handleInitialized();
   runUntilQuiet();
   EXPECT_EQ(sm->genericHandler(), handler);
   Traces traces;
   config->valueIs("priority", Kiv::Value::integer(5));
   EXPECT_EQ(traces.count("On attribute change, parameter name = 'priority'"), 1u) << traces.all();
   EXPECT_EQ(record->attr("priority"), "5");
}

// A machine whose reactors are zombies hears neither its configuration nor
// the MLAG configuration; brought back, it hears both again.
TEST_F(LocalEdgeTest, AZombieMachineHearsNothingUntilRevived) {
   start();
   runUntilQuiet();
   auto machine = sm->statehubToP2pSm("Port-Channel10");
   machine->kivDoZombieReactors(true);
   po10->valueIs("mtu", Kiv::Value::integer(9100));
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("11"));
   EXPECT_EQ(localEntry(dir, "mtu mlag10", "Port-Channel10"), "9000");
   EXPECT_EQ(machine->mlagId(), "10");
   machine->kivDoZombieReactors(false);
   po10->valueIs("mtu", Kiv::Value::integer(9200));
   EXPECT_EQ(localEntry(dir, "mtu mlag10", "Port-Channel10"), "9200");
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("12"));
   EXPECT_EQ(machine->mlagId(), "12");
   EXPECT_EQ(localEntry(dir, "mtu mlag12", "Port-Channel10"), "9200");
   machine = nullptr;
}

// A nested machine made without an MLAG configuration keeps having none:
// asked for again with one, it is refused.
TEST_F(LocalEdgeTest, ANestedMachineWithoutMlagCannotBeGivenIt) {
   start();
   runUntilQuiet();
   auto groupDesc = desc->nestedConfigCheckDesc(Kiv::Name("group"));
   auto element = Kiv::genericIf(config->entityMember("group", "g1"));
   auto nested = record->nestedGlobalConfigIs(Kiv::Name("g7"));
   auto machine =
      sm->statehubToP2pSmIs(checkerClock(), dir, "g7", element, nested, groupDesc, nullptr);
   EXPECT_FALSE(machine->mlagConfig());
   try {
      sm->statehubToP2pSmIs(checkerClock(), dir, "g7", element, nested, groupDesc, mlag);
      ADD_FAILURE() << "accepted";
   } catch (const Kiv::NameInUseException & e) {
      EXPECT_NE(
         std::string(e.what()).find("attribute _mlagConfig has a different value of " +
                                    mlag->kivStrep().stdString() + " than the current value of "),
         std::string::npos)
         << e.what();
   }
   EXPECT_EQ(sm->statehubToP2pSm("g7"), machine);
   EXPECT_FALSE(machine->mlagConfig());
   machine = nullptr;
}

} // namespace
