#include "ConfigCheckDesc.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kiv/Exception.h"
#include "kiv/GenericIf.h"
#include "kiv/Type.h"

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

// Every kind of change reaches a watcher that overrides its callback and
// one that overrides nothing; a set to the present value and a removal of
// an absent key notify nothing, a notify repeats the per-key callbacks.
TEST(ConfigCheckDescTest, ChangesNotifyOnlyWhenSomethingChanges) {
   auto desc = configCheckDescFactory("lacp");
   ConfigCheckDesc::NotifieeConst deaf;
   deaf.notifierIs(desc);
   DescLog log;
   log.notifierIs(desc);
   EXPECT_EQ(desc->attrName("mtu"), "");
   desc->attrNameIs("mtu", "MTU");
   desc->attrNameIs("mtu", "MTU");
   desc->attrNameNotify("mtu");
   desc->attrNameDel("speed");
   EXPECT_EQ(desc->attrName("mtu"), "MTU");
   desc->attrNameDelAll();
   desc->mlagInterfacesOnlyIs(true);
   desc->mlagInterfacesOnlyIs(true);
   desc->collectionNameIs("vlan", "vlan");
   desc->collectionNameDelAll();
   desc->valueStrOverrideIs("true", "on");
   desc->valueStrOverrideDelAll();
   desc->defaultValIs("mtu", "1500");
   desc->defaultValIs("mode", "active");
   desc->defaultValDelAll();
   desc->nestedConfigCheckDescIs("a");
   desc->nestedConfigCheckDescIs("a");
   desc->nestedConfigCheckDescIs("b");
   desc->nestedConfigCheckDescNotify("a");
   desc->nestedConfigCheckDescDelAll();
   EXPECT_FALSE(desc->nestedConfigCheckDescDel("a"));
   EXPECT_EQ(log.calls,
             (std::vector< std::string >{
                "attrName mtu", "attrName immediate", "attrName mtu", "attrName immediate",
                "attrName mtu", "attrName immediate", "mlagInterfacesOnly", "defaultVal mtu",
                "defaultVal mode", "defaultVal mtu", "defaultVal mode", "defaultVal all",
                "nested a", "nested b", "nested a", "nested a", "nested b"}));
   EXPECT_EQ(desc->attrName("mtu"), "");
   EXPECT_EQ(desc->defaultVal("mtu"), "");
   EXPECT_FALSE(desc->nestedConfigCheckDesc("b"));
}

TEST(ConfigCheckDescTest, NestedDescriptorsAreKeyedByNameAndKept) {
   auto desc = configCheckDescFactory("lacp");
   auto intf = desc->nestedConfigCheckDescIs("intfConfig");
   EXPECT_EQ(desc->nestedConfigCheckDescIs("intfConfig"), intf);
   EXPECT_EQ(intf->parent(), desc.get());
   EXPECT_EQ(intf->fullName(), "/lacp/intfConfig");
   intf->nameIsFromBackup("restored");
   EXPECT_EQ(intf->name(), "restored");
   EXPECT_EQ(desc->nestedConfigCheckDescDel("intfConfig"), intf);
   EXPECT_EQ(intf->parent(), nullptr);
   EXPECT_FALSE(desc->nestedConfigCheckDesc("intfConfig"));
}

// An agent that knows only the type's name creates a descriptor from its
// name alone, and from nothing else.
TEST(ConfigCheckDescTest, CreatedThroughTheTypeRegistryFromItsName) {
   Kiv::Ptr< Kiv::KivType > type = Kiv::typeNode("Mlag::ConfigCheck::ConfigCheckDesc");
   ASSERT_TRUE(type);
   auto desc = Kiv::ptrCast< ConfigCheckDesc >(type->create({Kiv::Value::string("lacp")}));
   ASSERT_TRUE(desc);
   EXPECT_EQ(desc->name(), "lacp");
   try {
      type->create({Kiv::Value::string("a"), Kiv::Value::string("b")});
      ADD_FAILURE() << "two arguments accepted";
   } catch (const Kiv::TypeException & e) {
      EXPECT_STREQ(e.what(), "ConfigCheckDesc takes one argument, its name");
   }
   EXPECT_THROW(type->create({}), Kiv::TypeException);
}

} // namespace
