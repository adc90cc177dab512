#include "mlag/MlagConfig.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Mlag::Config;
using Mlag::IntfConfig;
using Porta::IntfId;

IntfId intf(const char * name) { return IntfId(Kiv::String(name)); }

// Records every onIntfConfig it hears, then runs an optional hostile action.
class Recorder : public Config::NotifieeConst {
 public:
   Recorder() = default;
   explicit Recorder(const Kiv::Ptr< Config > & config) { notifierIs(config); }
   void onIntfConfig(const IntfId & id) override {
      heard.push_back(id.stringValue().stdString());
      if (action) action();
   }
   std::vector< std::string > heard;
   std::function< void() > action;
};

class MlagConfigTest : public ::testing::Test {
 protected:
   Kiv::Ptr< Config > config = Kiv::kivNew< Config >(Kiv::Name("mlag"));
};

TEST_F(MlagConfigTest, AbsentInterfaceReadsAsNoMlagConfiguration) {
   EXPECT_TRUE(config->intfConfig(intf("Ethernet1")).mlagId().empty());
   config->intfConfigIs(intf("Port-Channel10"), IntfConfig("10"));
   EXPECT_EQ(config->intfConfig(intf("Port-Channel10")).mlagId(), "10");
   EXPECT_TRUE(config->intfConfigHas(intf("Port-Channel10")));
   EXPECT_FALSE(config->intfConfigHas(intf("Port-Channel11")));
}

TEST_F(MlagConfigTest, OnlyRealChangesNotify) {
   Recorder r(config);
   config->intfConfigIs(intf("Port-Channel10"), IntfConfig("10"));
   config->intfConfigIs(intf("Port-Channel10"), IntfConfig("10"));
   config->intfConfigIs(intf("Port-Channel10"), IntfConfig("11"));
   config->intfConfigDel(intf("Port-Channel10"));
   config->intfConfigDel(intf("Port-Channel10"));
   EXPECT_EQ(r.heard,
             (std::vector< std::string >{"Port-Channel10", "Port-Channel10", "Port-Channel10"}));
   EXPECT_EQ(config->intfConfigSize(), 0u);

   r.heard.clear();
   config->intfConfigIs(intf("Ethernet1"), IntfConfig("1"));
   config->intfConfigIs(intf("Ethernet2"), IntfConfig("2"));
   config->intfConfigDelAll();
   EXPECT_EQ(r.heard,
             (std::vector< std::string >{"Ethernet1", "Ethernet2", "Ethernet1", "Ethernet2"}));
}

TEST_F(MlagConfigTest, NotifieeDetachingItselfHearsNothingMore) {
   Recorder quitter(config), stayer(config);
   quitter.action = [&] { quitter.notifierIs(nullptr); };
   config->intfConfigIs(intf("Vlan1"), IntfConfig("1"));
   config->intfConfigIs(intf("Vlan2"), IntfConfig("2"));
   EXPECT_EQ(quitter.heard, (std::vector< std::string >{"Vlan1"}));
   EXPECT_EQ(stayer.heard, (std::vector< std::string >{"Vlan1", "Vlan2"}));
}

TEST_F(MlagConfigTest, NotifieeDestroyedInsideItsCallbackIsSkippedSafely) {
   auto doomed = std::make_unique< Recorder >(config);
   Recorder after(config);
   doomed->action = [&] { doomed.reset(); };
   config->intfConfigIs(intf("Vlan1"), IntfConfig("1"));
   EXPECT_EQ(doomed, nullptr);
   config->intfConfigIs(intf("Vlan2"), IntfConfig("2"));
   EXPECT_EQ(after.heard, (std::vector< std::string >{"Vlan1", "Vlan2"}));
}

TEST(MlagConfigLifetimeTest, DroppingTheLastReferenceInsideDeliveryEndsItCleanly) {
   const std::int64_t live = Kiv::LiveCount::count("Mlag::Config");
   Recorder first, second;
   Config * raw = nullptr;
   {
      Kiv::Ptr< Config > config = Kiv::kivNew< Config >(Kiv::Name("mlag"));
      raw = config.get();
      first.notifierIs(config);
      second.notifierIs(config);
   }
   // The notifiees hold the only references; the config dies mid-delivery.
   first.action = [&] {
      second.notifierIs(nullptr);
      first.notifierIs(nullptr);
   };
   raw->intfConfigIs(intf("Vlan1"), IntfConfig("1"));
   EXPECT_EQ(Kiv::LiveCount::count("Mlag::Config"), live);
   EXPECT_EQ(first.heard, (std::vector< std::string >{"Vlan1"}));
   EXPECT_TRUE(second.heard.empty());
}

TEST_F(MlagConfigTest, NotifieeAttachedDuringDeliveryHearsTheNextChange) {
   std::unique_ptr< Recorder > late;
   Recorder first(config);
   first.action = [&] {
      if (!late) late = std::make_unique< Recorder >(config);
   };
   config->intfConfigIs(intf("Vlan1"), IntfConfig("1"));
   ASSERT_NE(late, nullptr);
   EXPECT_TRUE(late->heard.empty());
   config->intfConfigIs(intf("Vlan2"), IntfConfig("2"));
   EXPECT_EQ(late->heard, (std::vector< std::string >{"Vlan2"}));
}

TEST_F(MlagConfigTest, ThrowingNotifieeLeavesTheConfigUsable) {
   {
      Recorder thrower(config);
      thrower.action = [] { throw std::runtime_error("refused"); };
      EXPECT_THROW(config->intfConfigIs(intf("Vlan1"), IntfConfig("1")), std::runtime_error);
   }
   EXPECT_EQ(config->intfConfig(intf("Vlan1")).mlagId(), "1");
   Recorder r(config);
   config->intfConfigIs(intf("Vlan1"), IntfConfig("2"));
   EXPECT_EQ(r.heard, (std::vector< std::string >{"Vlan1"}));
}

} // namespace
