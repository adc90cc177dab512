#include "ConfigCheckDesc.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Mlag::ConfigCheck::ConfigCheckDesc;
using Mlag::ConfigCheck::configCheckDescFactory;

struct DescLog : ConfigCheckDesc::NotifieeConst {
   std::vector< std::string > calls;
   void onMlagInterfacesOnly() override { calls.push_back("mlagInterfacesOnly"); }
   void onAttrName(const Kiv::String & key) override { calls.push_back("attrName " + key.stdString()); }
   void onAttrNamekivImmediate() override { calls.push_back("attrName immediate"); }
   void onDefaultVal() override { calls.push_back("defaultVal all"); }
   void onDefaultVal(const Kiv::String & key) override {
      calls.push_back("defaultVal " + key.stdString());
   }
   void onNestedConfigCheckDesc(const Kiv::Name & name) override {
      calls.push_back("nested " + name.stdString());
   }
};

TEST(ConfigCheckDescTest, MapsAnswerEmptyTextForAbsentKeysAndNotifyOnlyChanges) {
   auto desc = configCheckDescFactory("lacp");
   DescLog log;
   log.notifierIs(desc);
   EXPECT_EQ(desc->attrName("mtu"), "");
   desc->attrNameIs("mtu", "MTU");
   desc->attrNameIs("mtu", "MTU"); // no change, no notification
   desc->mlagInterfacesOnlyIs(true);
   desc->mlagInterfacesOnlyIs(true);
   desc->attrNameDel("speed"); // absent
   desc->defaultValIs("mtu", "1500");
   desc->defaultValIs("mode", "active");
   desc->defaultValDelAll();
   EXPECT_EQ(desc->defaultVal("mtu"), "");
   EXPECT_EQ(log.calls, (std::vector< std::string >{"attrName mtu", "attrName immediate",
                                                    "mlagInterfacesOnly", "defaultVal mtu",
                                                    "defaultVal mode", "defaultVal mtu",
                                                    "defaultVal mode", "defaultVal all"}));
}

TEST(ConfigCheckDescTest, NestedDescriptorsAreKeyedByNameAndKept) {
   auto desc = configCheckDescFactory("lacp");
   DescLog log;
   log.notifierIs(desc);
   auto intf = desc->nestedConfigCheckDescIs("intfConfig");
   EXPECT_EQ(desc->nestedConfigCheckDescIs("intfConfig"), intf);
   EXPECT_EQ(intf->parent(), desc.get());
   EXPECT_EQ(intf->fullName(), "/lacp/intfConfig");
   EXPECT_EQ(log.calls, (std::vector< std::string >{"nested intfConfig"}));
   intf->nameIsFromBackup("restored");
   EXPECT_EQ(intf->name(), "restored");
   EXPECT_EQ(desc->nestedConfigCheckDescDel("intfConfig"), intf);
   EXPECT_EQ(intf->parent(), nullptr);
   EXPECT_FALSE(desc->nestedConfigCheckDesc("intfConfig"));
}

TEST(ConfigCheckDescTest, EveryKindOfChangeReachesNotifieesThatListenOrNot) {
   auto desc = configCheckDescFactory("lacp");
   DescLog log;
   log.notifierIs(desc);
   // A notifiee that overrides nothing hears every change and ignores it.
   ConfigCheckDesc::NotifieeConst deaf;
   deaf.notifierIs(desc);
   desc->absenceImpliesDefaultValIs(true);
   desc->collectionNameIs("vlan", "vlan");
   desc->valueStrOverrideIs("true", "on");
   desc->valueStrOverrideDelAll();
   desc->collectionNameDelAll();
   desc->nestedConfigCheckDescIs("a");
   desc->nestedConfigCheckDescIs("b");
   desc->nestedConfigCheckDescNotify("a");
   desc->nestedConfigCheckDescDelAll();
   EXPECT_FALSE(desc->nestedConfigCheckDesc("b"));
   EXPECT_EQ(log.calls, (std::vector< std::string >{"nested a", "nested b", "nested a",
                                                    "nested a", "nested b"}));
   EXPECT_FALSE(desc->nestedConfigCheckDescDel("a"));
   EXPECT_TRUE(desc->absenceImpliesDefaultVal());
}

// Changes that one watcher overrides reach another, which overrides
// nothing, through its default callbacks; a notify repeats the per-key
// callbacks without a change.
TEST(ConfigCheckDescTest, ScalarAttrNameAndDefaultChangesReachEveryNotifiee) {
   auto desc = configCheckDescFactory("lacp");
   ConfigCheckDesc::NotifieeConst deaf;
   deaf.notifierIs(desc);
   DescLog log;
   log.notifierIs(desc);
   desc->mlagInterfacesOnlyIs(true);
   desc->attrNameIs("mtu", "MTU");
   desc->attrNameNotify("mtu");
   EXPECT_EQ(desc->attrName("mtu"), "MTU");
   desc->attrNameDelAll();
   desc->defaultValIs("mtu", "1500");
   desc->defaultValDelAll();
   EXPECT_EQ(log.calls,
             (std::vector< std::string >{"mlagInterfacesOnly", "attrName mtu", "attrName immediate",
                                         "attrName mtu", "attrName immediate", "attrName mtu",
                                         "attrName immediate", "defaultVal mtu", "defaultVal mtu",
                                         "defaultVal all"}));
   EXPECT_EQ(desc->attrNameMap().size(), 0u);
   EXPECT_TRUE(desc->mlagInterfacesOnly());
}

} // namespace
