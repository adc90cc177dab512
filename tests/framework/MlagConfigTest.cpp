#include "mlag/MlagConfig.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using Mlag::Config;
using Mlag::IntfConfig;
using Porta::IntfId;
using Names = std::vector< std::string >;

IntfId intf(const char * name) { return IntfId(Kiv::String(name)); }

// Records every onIntfConfig it hears, then runs an optional hostile action.
// (The map itself behaves as every entity map: EntityTest.)
class Recorder : public Config::NotifieeConst {
 public:
   void onIntfConfig(const IntfId & id) override {
      heard.push_back(id.stringValue().stdString());
      if (action) action();
   }
   Names heard;
   std::function< void() > action;
};

TEST(MlagConfigTest, DroppingTheLastReferenceInsideDeliveryEndsItCleanly) {
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
   EXPECT_EQ(first.heard, (Names{"Vlan1"}));
   EXPECT_TRUE(second.heard.empty());
}

} // namespace
