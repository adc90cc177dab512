#include "mlag/MlagConfig.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

// Hears onIntfConfig, then runs its action. (The map itself behaves as
// every entity map: EntityTest.)
struct Recorder : Mlag::Config::NotifieeConst {
   void onIntfConfig(const Porta::IntfId &) override {
      ++heard;
      if (action) action();
   }
   int heard = 0;
   std::function< void() > action;
};

TEST(MlagConfigTest, DroppingTheLastReferenceInsideDeliveryEndsItCleanly) {
   const std::int64_t live = Kiv::LiveCount::count("Mlag::Config");
   Recorder first, second;
   Mlag::Config * raw = nullptr;
   {
      Kiv::Ptr< Mlag::Config > config = Kiv::kivNew< Mlag::Config >(Kiv::Name("mlag"));
      raw = config.get();
      first.notifierIs(config);
      second.notifierIs(config);
   }
   // The notifiees hold the only references; the config dies mid-delivery.
   first.action = [&] {
      second.notifierIs(nullptr);
      first.notifierIs(nullptr);
   };
   raw->intfConfigIs(Porta::IntfId("Vlan1"), Mlag::IntfConfig("1"));
   EXPECT_EQ(Kiv::LiveCount::count("Mlag::Config"), live);
   EXPECT_EQ(first.heard, 1);
   EXPECT_EQ(second.heard, 0);
}

} // namespace
