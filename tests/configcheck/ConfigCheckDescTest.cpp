#include "ConfigCheck/ConfigCheckDesc.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace Mlag::ConfigCheck;

// Every map of the descriptor notifies alike; the attribute names stand for them.
struct DescLog : ConfigCheckDesc::NotifieeConst {
   std::vector< std::string > calls;
   void onAttrName(const Kiv::String & key) override { calls.push_back(key.stdString()); }
   void onAttrNamekivImmediate() override { calls.push_back("!"); }
   void onAttrName() override { calls.push_back("all"); }
   void onNestedConfigCheckDesc(const Kiv::Name & name) override {
      calls.push_back("nested " + name.stdString());
   }
};

// A change reaches watchers that override their callback or nothing; setting the present
// value or removing an absent key notifies nothing, a notify repeats per-key callbacks.
TEST(ConfigCheckDescTest, ChangesNotifyOnlyWhenSomethingChanges) {
   auto desc = configCheckDescFactory("lacp");
   ConfigCheckDesc::NotifieeConst deaf;
   deaf.notifierIs(desc);
   DescLog log;
   log.notifierIs(desc);
   desc->attrNameIs("mtu", "MTU");
   desc->attrNameIs("mtu", "MTU");
   desc->attrNameNotify("mtu");
   desc->attrNameDel("speed");
   desc->attrNameIs("mode", "mode");
   desc->attrNameIs("speed", "speed");
   // Removed through an iterator: notified once, and not again by the removal of all.
   for (auto & it : desc->attrNameMap())
      if (it.key() == "speed") desc->attrNameDel(it);
   desc->attrNameDelAll();
   desc->nestedConfigCheckDescIs("a");
   desc->nestedConfigCheckDescIs("a");
   desc->nestedConfigCheckDescNotify("a");
   desc->nestedConfigCheckDescDelAll();
   EXPECT_FALSE(desc->nestedConfigCheckDescDel("a"));
   EXPECT_EQ(log.calls, (std::vector< std::string >{"mtu", "!", "mtu", "!", "mode", "!", "speed",
                                                    "!", "speed", "!", "mtu", "!", "mode", "!",
                                                    "all", "nested a", "nested a", "nested a"}));
   EXPECT_EQ(desc->attrName("mtu"), "");
   EXPECT_FALSE(desc->nestedConfigCheckDesc("a"));
}

} // namespace
