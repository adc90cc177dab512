#include "ConfigCheck/StatehubToP2pSm.h"

#include "CheckerFixture.h"
#include "ConfigCheck/MlagConfigCheckNaming.h"
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
      if (failing) throw Kiv::RangeException("unreadable " + attr.name.stdString());
      return DynamicEntity::genericIfGet(attr, key);
   }
   bool failing = false;
};

// One switch's lacp configuration: scalars, a value collection, one MLAG
// interface and one group, published by the local side "Local".
class LocalSideTest : public CheckerTestBase {
 protected:
   void SetUp() override {
      config->valueIs("priority", Kiv::Value::integer(100));
      config->scalarAttrIs("timeout"); // declared, no value
      config->memberIs("vlan", "10", Kiv::Value::string("allowed"));
      auto po10 = config->entityMemberIs("intfConfig", "Port-Channel10");
      po10->valueIs("mtu", Kiv::Value::integer(9000));
      po10->valueIs("mode", Kiv::Value::string("active"));
      config->entityMemberIs("group", "g1")->valueIs("mtu", Kiv::Value::integer(1400));
   }
   void start(const Kiv::Ptr< Kiv::GenericIf > & readConfig) {
      sm = StatehubToP2pSm::StatehubToP2pSmIs(checkerClock(), dir, "Local", readConfig, record,
                                              desc, mlag);
   }
   // Started on the fixture's configuration, with the backlog worked off.
   void start() {
      start(config);
      runUntilQuiet();
   }
   Kiv::Ptr< GenericConfig > nested(const char * intf) {
      return record->nestedIntfConfig(Kiv::Name(intf));
   }
   Kiv::Ptr< Kiv::DynamicEntity > po10() {
      return config->entityMember("intfConfig", "Port-Channel10");
   }
   const Kiv::KivAttr & attr(const char * name) { return *config->kivType().attr(name); }

   Kiv::Ptr< ConfigPluginDir > dir = resultsDir();
   Kiv::Ptr< ConfigCheckDesc > desc = lacpDesc();
   Kiv::Ptr< UnreadableConfig > config = Kiv::kivNew< UnreadableConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< GenericConfig > record = Kiv::kivNew< GenericConfig >(Kiv::Name("lacp"));
   Kiv::Ptr< Mlag::Config > mlag = mlagConfig({{"Port-Channel10", "10"}, {"Port-Channel20", "20"}});
   Kiv::Ptr< StatehubToP2pSm > sm;
};

TEST_F(LocalSideTest, ConstructionPublishesWhatTheEntityHasThenChangesFollowTracingEachStep) {
   // Without a local entity the machine starts, publishes and records nothing;
   // every nested element counts as absent, whatever MLAG says.
   Traces traces;
   start(Kiv::Ptr< Kiv::GenericIf >());
   EXPECT_TRUE(sm->initialized());
   EXPECT_FALSE(sm->readConfigAccessor(Kiv::GenericValue(), attr("priority")));
   EXPECT_FALSE(traces.contains("Error during read config access")) << traces.all();
   mlag->intfConfigIs(Porta::IntfId("Port-Channel30"), Mlag::IntfConfig("30"));
   EXPECT_TRUE(traces.contains("SM failed to create statehubToP2pSm for ")) << traces.all();
   sm->processSmCodefKey(SmCodefKey(Kiv::Name("Port-Channel10"), "intfConfig"));
   EXPECT_TRUE(traces.contains("already deleted")) << traces.all();
   runUntilQuiet();
   EXPECT_EQ(record->attrSize(), 0u);
   EXPECT_EQ(record->nestedIntfConfigSize(), 0u);
   EXPECT_EQ(entries(dir), "");

   // The record and the local column are written by one call (DbUpdateTest);
   // here the column stands for both unless the record alone differs.
   traces.clear();
   start(config);
   EXPECT_TRUE(traces.contains("Initializing Sm for 'Local', write config "));
   // Scalars and members are there at once, present values and empty ones
   // alike; nested elements wait for the backlog.
   EXPECT_EQ(entries(dir), "10 vlan: allowed/; priority: 100/; timeout: /");
   EXPECT_TRUE(record->attrHas("timeout") && record->attr("timeout").empty());
   EXPECT_EQ(sm->backlogSize(), 2u);
   runUntilQuiet();
   ASSERT_TRUE(nested("Port-Channel10"));
   EXPECT_EQ(nested("Port-Channel10")->paramName(), "intfConfig");
   EXPECT_EQ(entries(dir),
             "10 vlan: allowed/; mode mlag10 @Port-Channel10: on/; mtu g1: 1400/ "
             "g=g1; mtu mlag10 @Port-Channel10: 9000/ d=1500; priority: 100/; "
             "timeout: /");
   EXPECT_EQ(record->nestedGlobalConfig(Kiv::Name("g1"))->attr("mtu"), "1400");

   config->valueIs("priority", Kiv::Value::integer(200));
   EXPECT_EQ(localEntry(dir, "priority"), "200");
   config->memberIs("vlan", "20", Kiv::Value::string("allowed"));
   config->memberDel("vlan", "10");
   EXPECT_FALSE(record->attrCollectionHas(CollectionConfig("vlan", "10")));
   EXPECT_EQ(localEntry(dir, "20 vlan"), "allowed");

   // Absence means the default: dropped from the record, no value in the column;
   // "active" shows as "on"; the nested machine names changes with its MLAG id.
   const struct {
      const char *attr, *shown; // in the record and the column; null: the default
      Kiv::Value value;
   } cases[] = {
      {"mtu", nullptr, Kiv::Value::integer(1500)},
      {"mtu", "9100", Kiv::Value::integer(9100)},
      {"mode", "on", Kiv::Value::string("active")},
   };
   for (const auto & c : cases) {
      po10()->valueIs(c.attr, c.value);
      auto po10Record = nested("Port-Channel10");
      EXPECT_EQ(po10Record->attrHas(c.attr) ? po10Record->attr(c.attr).stdString() : none,
                c.shown ? c.shown : none);
      const std::string param = std::string(c.attr) + " mlag10";
      EXPECT_EQ(localEntry(dir, param.c_str(), "Port-Channel10"), c.shown ? c.shown : "");
   }

   traces.clear();
   config->valueIs("unchecked", Kiv::Value::integer(1));
   EXPECT_TRUE(traces.contains("Ignoring attribute change for 'unchecked'"));
   // A nested element's own change does not touch the parent's record.
   EXPECT_EQ(record->attrSize(), 2u);

   // A failed read is traced and taken for no value.
   traces.clear();
   config->failing = true;
   EXPECT_FALSE(sm->readConfigAccessor(Kiv::GenericValue(), attr("priority")));
   config->valueIs("priority", Kiv::Value::integer(250));
   EXPECT_EQ(traces.count("Error during read config access of key "), 2u) << traces.all();
   // A key shows once in its text form.
   EXPECT_FALSE(sm->readConfigAccessor(Kiv::GenericValue(Kiv::Value::string("10")), attr("vlan")));
   EXPECT_TRUE(traces.endsLine(": Error during read config access of key '10'")) << traces.all();
   EXPECT_EQ(record->attr("priority"), "");
   EXPECT_EQ(localEntry(dir, "priority"), "");
   // Reads that work again bring the value back.
   config->failing = false;
   config->valueIs("priority", Kiv::Value::integer(300));
   EXPECT_EQ(localEntry(dir, "priority"), "300");

   // The change path traces the value in its text form and its value string as
   // text, then files through updateConfigCheckDb; each resolves a name that is
   // no interface once. Starting again keeps the one handler: each change comes
   // once, and only for attributes the watched entity declares.
   GenericHandler * handler = sm->genericHandler();
   sm->handleInitialized();
   EXPECT_EQ(sm->genericHandler(), handler);
   const auto g1 = config->entityMember("group", "g1");
   const struct {
      const char *machine, *attr;
      Kiv::Value value;
      const char * line;
   } steps[] = {
      {"Local", "priority", Kiv::Value::integer(200),
       ": On attribute change, parameter name = 'priority', readConfig = 'lacp', writeConfig = "
       "'lacp', value = 200 value string = '200' , key = ''"},
      {"Local", "timeout", Kiv::Value::string("fast"),
       ": On attribute change, parameter name = 'timeout', readConfig = 'lacp', writeConfig = "
       "'lacp', value = 'fast' value string = '\\'fast\\'' , key = ''"},
      {"g1", "mtu", Kiv::Value::integer(1450),
       ": On attribute change, parameter name = 'mtu', readConfig = 'g1', writeConfig = 'g1', "
       "value = 1450 value string = '1450' , key = ''"},
   };
   for (const auto & c : steps) {
      const bool local = c.machine == std::string("Local");
      traces.clear();
      (local ? Kiv::Ptr< Kiv::DynamicEntity >(config) : g1)->valueIs(c.attr, c.value);
      EXPECT_TRUE(traces.endsLine(c.line)) << traces.all();
      EXPECT_EQ(traces.count("On attribute change"), 1u) << traces.all();
      const std::string filed = std::string(
                                   "updateConfigCheckDb(const Kiv::GenericValue&, const "
                                   "Ptr&, const Kiv::KivAttr&): Interface '") +
                                c.machine + "', attr  '" + c.attr +
                                "', key = '', value = " + c.value.strep().stdString();
      EXPECT_NE(traces.indexOf(filed), std::string::npos) << traces.all();
      EXPECT_LT(traces.indexOf(std::string("Parameter '") + (local ? c.attr : "mtu g1") + "' of '" +
                               c.machine + "' has value "),
                traces.indexOf(filed))
         << traces.all();
      const std::string noIntf = std::string("Invalid intfId exception for '") + c.machine + "'";
      EXPECT_EQ(traces.count(noIntf), 2u) << traces.all();
      traces.clear();
      auto machine = local ? sm : sm->statehubToP2pSm(c.machine);
      machine->updateConfigCheckDb(Kiv::GenericValue(), machine->writeConfig(),
                                   *machine->readConfig()->kivType().attr(c.attr));
      EXPECT_EQ(traces.count(noIntf), 1u) << traces.all();
   }
   traces.clear();
   const std::uint32_t unknown = static_cast< std::uint32_t >(config->kivType().attrs().size() + 1);
   handler->onRawAttribute(unknown);
   handler->onRawAttribute(unknown, Kiv::GenericValue(Kiv::Value::string("10")));
   EXPECT_FALSE(traces.contains("On attribute change")) << traces.all();
}

// Nested elements come and go through the backlog, watched. A key that renders
// escaped is found, among several members, by its rendered, unquoted form.
TEST_F(LocalSideTest, NestedElementsComeAndGoThroughTheBacklogAndMoveWithTheirMlagId) {
   struct Heard : StatehubToP2pSm::NotifieeConst {
      std::vector< std::string > names;
      void onStatehubToP2pSm(const Kiv::String & name) override {
         names.push_back(name.stdString());
      }
   } heard;
   start();
   heard.notifierIs(sm);
   sm->statehubToP2pSmNotify("g1");
   sm->statehubToP2pSmDel("absent");
   Traces traces;
   config->entityMemberIs("intfConfig", "Port-Channel30")
      ->valueIs("mtu", Kiv::Value::integer(1500));
   runUntilQuiet();
   EXPECT_TRUE(
      traces.contains("Ignoring request for statehubToP2pSm creation for 'Port-Channel30'"));
   // Joining MLAG later brings its machine.
   mlag->intfConfigIs(Porta::IntfId("Port-Channel30"), Mlag::IntfConfig("30"));
   runUntilQuiet();
   EXPECT_TRUE(
      traces.contains("'Local' SM creating statehubToP2pSm for 'Port-Channel30' mlag '30'"));
   EXPECT_EQ(localEntry(dir, "mtu mlag30", "Port-Channel30"), "");
   config->memberDel("intfConfig", "Port-Channel30");
   runUntilQuiet();

   sm->handleLocalSmCreation("Port-Channel10", "intfConfig");
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("statehubToP2pSm for 'Port-Channel10' already exists"));

   config->entityMemberIs("group", "it's")->valueIs("mtu", Kiv::Value::integer(1200));
   runUntilQuiet();
   const Kiv::String rendered =
      stringUnquote(strRep(Kiv::GenericValue(Kiv::Value::string("it's"))));
   ASSERT_NE(rendered, "it's");
   const std::string param = "mtu " + rendered.stdString();
   EXPECT_EQ(localEntry(dir, param.c_str()), "1200");
   config->memberDel("group", "it's");
   runUntilQuiet();
   EXPECT_EQ(localEntry(dir, param.c_str()), none);
   EXPECT_EQ(localEntry(dir, "mtu g1"), "1400");
   EXPECT_EQ(heard.names, (std::vector< std::string >{"g1", "Port-Channel30", "Port-Channel30",
                                                      rendered.stdString(), rendered.stdString()}));
   heard.notifierIs(nullptr);

   // An MLAG id change moves the interface entries.
   traces.clear();
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("11"));
   runUntilQuiet();
   EXPECT_EQ(entries(dir),
             "10 vlan: allowed/; mode mlag11 @Port-Channel10: on/; mtu g1: 1400/ "
             "g=g1; mtu mlag11 @Port-Channel10: 9000/ d=1500; priority: 100/; "
             "timeout: /");
   // Later changes are named with the new id.
   po10()->valueIs("mtu", Kiv::Value::integer(9200));
   EXPECT_EQ(localEntry(dir, "mtu mlag11", "Port-Channel10"), "9200");

   // Leaving MLAG: the deletion request finds the element and is ignored; the
   // machine stays without an id and its own recopy removes its entries.
   traces.clear();
   mlag->intfConfigDel(Porta::IntfId("Port-Channel10"));
   runUntilQuiet();
   EXPECT_TRUE(traces.contains("'Local' SM deleting statehubToP2pSm for "));
   ASSERT_TRUE(sm->statehubToP2pSm("Port-Channel10"));
   EXPECT_EQ(sm->statehubToP2pSm("Port-Channel10")->mlagId(), "");
   EXPECT_EQ(localEntry(dir, "mode mlag11", "Port-Channel10"), none);

   // Coming back publishes under the new id at once.
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("12"));
   runUntilQuiet();
   EXPECT_EQ(localEntry(dir, "mtu mlag12", "Port-Channel10"), "9200");
   EXPECT_EQ(sm->statehubToP2pSm("Port-Channel10")->mlagId(), "12");

   // A machine hears only the MLAG configuration it holds now; a nested one
   // keeps its own reactor and follows the change.
   auto other = mlagConfig({{"Port-Channel10", "77"}});
   for (const auto & now : {Kiv::Ptr< Mlag::Config >(mlag), other, Kiv::Ptr< Mlag::Config >()})
      sm->mlagConfigIs(now);
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("13"));
   mlag->intfConfigDel(Porta::IntfId("Port-Channel20"));
   EXPECT_EQ(sm->backlogSize(), 0u);
   EXPECT_EQ(localEntry(dir, "mtu mlag13", "Port-Channel10"), "9200");
   sm->mlagConfigIs(other);
   EXPECT_EQ(sm->mlagConfigDel(), Kiv::PtrConst< Mlag::Config >(other));
   EXPECT_FALSE(sm->mlagConfigDel());

   config->memberDel("intfConfig", "Port-Channel10");
   config->memberDel("group", "g1");
   runUntilQuiet();
   EXPECT_FALSE(nested("Port-Channel10"));
   EXPECT_FALSE(record->nestedGlobalConfig(Kiv::Name("g1")));
   EXPECT_EQ(sm->statehubToP2pSmSize(), 0u);
   // The parent's own entries stay.
   EXPECT_EQ(entries(dir), "10 vlan: allowed/; priority: 100/; timeout: /");
}

// Machines outside MLAG have no id: an MLAG-only interface machine names no
// parameter, one without an MLAG configuration publishes every one. A nested
// machine asked for again with a changed parameter is refused, naming it.
TEST_F(LocalSideTest, MachinesWithoutMlagReCreationUpdateAndCleanup) {
   auto intfDesc = desc->nestedConfigCheckDesc(Kiv::Name("intfConfig"));
   auto groupDesc = desc->nestedConfigCheckDesc(Kiv::Name("group"));
   auto clock = checkerClock();
   auto element = config->entityMemberIs("intfConfig", "Port-Channel30");
   auto po30 = Kiv::kivNew< GenericConfig >(Kiv::Name("Port-Channel30"));
   auto nonMlag = StatehubToP2pSm::StatehubToP2pSmIs(clock, dir, "Port-Channel30", element, po30,
                                                     intfDesc, mlag);
   EXPECT_EQ(nonMlag->mlagId(), "");
   Traces traces;
   element->valueIs("mtu", Kiv::Value::integer(9100));
   EXPECT_TRUE(traces.contains("IntfId 'Port-Channel30' not present in mlag config."))
      << traces.all();
   EXPECT_FALSE(po30->attrHas("mtu"));
   nonMlag->updateConfigCheckDb(Kiv::GenericValue(), po30, *element->kivType().attr("mtu"));
   EXPECT_EQ(entries(dir), "");
   auto bare = StatehubToP2pSm::StatehubToP2pSmIs(clock, dir, "Ethernet1", element, record,
                                                  groupDesc, nullptr);
   EXPECT_EQ(localEntry(dir, "mtu", "Ethernet1"), "9100");
   EXPECT_EQ(record->attr("mtu"), "9100");
   EXPECT_THROW(StatehubToP2pSm::StatehubToP2pSmIs(clock, nullptr, "Ethernet1", po10(), record,
                                                   groupDesc, nullptr),
                Kiv::RangeException);

   start();
   auto existing = sm->statehubToP2pSm("Port-Channel10");
   auto po10If = Kiv::genericIf(po10());
   auto po10Record = nested("Port-Channel10");
   EXPECT_EQ(
      sm->statehubToP2pSmIs(clock, dir, "Port-Channel10", po10If, po10Record, intfDesc, mlag),
      existing);
   // A machine made without an MLAG configuration keeps having none.
   auto g7 = record->nestedGlobalConfigIs(Kiv::Name("g7"));
   sm->statehubToP2pSmIs(clock, dir, "g7", po10If, g7, groupDesc, nullptr);
   auto otherClock = Kiv::kivNew< Kiv::Clock >(Kiv::Name("otherClock"));
   auto again = [&](auto... changed) {
      return refusedParameter([&] { sm->statehubToP2pSmIs(changed...); });
   };
   EXPECT_EQ(again(otherClock, dir, "Port-Channel10", po10If, po10Record, intfDesc, mlag),
             "_clock");
   EXPECT_EQ(again(clock, dir, "Port-Channel10", po10If, po10Record, intfDesc, nullptr),
             "_mlagConfig");
   EXPECT_EQ(again(clock, dir, "g7", po10If, g7, groupDesc, mlag), "_mlagConfig");

   // Changes made while the machine is deaf reach the table only through an
   // explicit update of one attribute; a nested element is written through its
   // own descriptor and record, one that is gone writes nothing.
   sm->hasNotificationActiveIs(false);
   config->valueIs("priority", Kiv::Value::integer(7));
   config->memberIs("vlan", "10", Kiv::Value::string("denied"));
   po10()->valueIs("mtu", Kiv::Value::integer(1234));
   config->entityMember("group", "g1")->valueIs("mtu", Kiv::Value::integer(1450));
   config->valueIs("unchecked", Kiv::Value::integer(1));
   sm->hasNotificationActiveIs(true);
   const struct {
      const char *attr, *key, *param, *intf, *written; // key null: a scalar; intf null: global
   } cases[] = {
      {"priority", nullptr, "priority", nullptr, "7"},
      {"vlan", "10", "10 vlan", nullptr, "denied"},
      {"vlan", "99", "99 vlan", nullptr, ""}, // a member that is not there
      {"intfConfig", "Port-Channel10", "mtu mlag10", "Port-Channel10", "1234"},
      {"group", "g1", "mtu g1", nullptr, "1450"},
      {"group", "g9", "mtu g9", nullptr, none},
      {"unchecked", nullptr, "unchecked", nullptr, none},
   };
   for (const auto & c : cases) {
      sm->updateConfigCheckDb(
         c.key ? Kiv::GenericValue(Kiv::Value::string(c.key)) : Kiv::GenericValue(), record,
         attr(c.attr));
      EXPECT_EQ(localEntry(dir, c.param, c.intf), c.written) << c.param;
   }
   EXPECT_EQ(nested("Port-Channel10")->attr("mtu"), "1234");
   EXPECT_EQ(record->nestedGlobalConfig(Kiv::Name("g1"))->attr("mtu"), "1450");
   EXPECT_FALSE(record->nestedGlobalConfig(Kiv::Name("g9")));

   // A machine's cleanup traces once; teardown cleans every machine.
   traces.clear();
   auto machine = sm->statehubToP2pSm("Port-Channel10");
   machine->doCleanup();
   machine->doCleanup();
   EXPECT_EQ(traces.count("Cleaning up Sm for 'Port-Channel10'"), 1u);
   // A cleaned-up machine hears no more changes.
   po10()->valueIs("mtu", Kiv::Value::integer(1));
   EXPECT_EQ(nested("Port-Channel10")->attr("mtu"), "1234");
   machine = nullptr;

   traces.clear();
   sm = nullptr;
   EXPECT_EQ(traces.count("Cleaning up Sm for 'Local'"), 1u);
   EXPECT_EQ(traces.count("Cleaning up Sm for 'g1'"), 1u);
   EXPECT_EQ(traces.count("Cleaning up Sm for 'Port-Channel10'"), 0u);
   // Teardown removes no values; the next start clears them.
   config->valueIs("priority", Kiv::Value::integer(5));
   EXPECT_EQ(localEntry(dir, "priority"), "7");
}

// Keys whose collection has no nested descriptor, is empty, holds values, is
// a scalar or is not in the configuration make no machine.
TEST_F(LocalSideTest, KeysThatCannotMakeAMachineOnlyTrace) {
   for (const char * collection : {"vlan", "timeout", "absent", ""})
      desc->nestedConfigCheckDescIs(collection);
   config->valueIs("timeout", Kiv::Value::integer(3));
   start(config);
   EXPECT_EQ(sm->backlogSize(), 3u); // Port-Channel10, g1 and the vlan member
   runUntilQuiet();
   Traces traces;
   const struct {
      const char *name, *collection, *trace;
   } cases[] = {
      {"x", "unknown", "Ignoring changes of type 'unknown' name 'x'"},
      {"x", "", "Ignoring changes of type '' name 'x'"},
      {"10", "vlan", "'Local' SM failed to create statehubToP2pSm for '10'"},
      {"x", "timeout", "statehubToP2pSm for 'x' already deleted"},
      {"x", "absent", "statehubToP2pSm for 'x' already deleted"},
   };
   for (const auto & c : cases) {
      traces.clear();
      sm->processSmCodefKey(SmCodefKey(Kiv::Name(c.name), c.collection));
      EXPECT_TRUE(traces.contains(c.trace)) << c.collection << ":\n" << traces.all();
   }
   EXPECT_EQ(sm->statehubToP2pSmSize(), 2u);
}

TEST(GenericHandlerDeathTest, AMissingContextIsAFault) {
   auto config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("c"));
   GenericHandler handler(config, nullptr);
   EXPECT_DEATH(config->valueIs("x", Kiv::Value::integer(1)),
                "MlagConfigCheckGenericSm.cpp:14: .*Assertion `context_' failed");
}

} // namespace
