// Helpers that speak the checker's domain: results entries, descriptors,
// configurations and trace capture with the checker's handle switched on.
#pragma once

#include <gtest/gtest.h>

#include "ConfigCheckDesc.h"
#include "ConfigPluginDir.h"
#include "GenericConfig.h"
#include "MlagConfigCheckTrace.h"
#include "kiv/ActivityManager.h"
#include "kiv/DynamicEntity.h"
#include "kiv/System.h"
#include "mlag/MlagConfig.h"
#include "trace/CaptureSink.h"

namespace CheckerTest {

using namespace Mlag::ConfigCheck;
using MlagP2p::ConfigCheck::CollectionConfig;
using MlagP2p::ConfigCheck::GenericConfig;

inline Kiv::Ptr< ConfigPluginDir > resultsDir(const char * plugin = "lacp") {
   return Kiv::kivNew< ConfigPluginDir >(Kiv::Name(plugin));
}

inline Kiv::Ptr< ConfigIntfDiff > intfEntry(const Kiv::Ptr< ConfigPluginDir > & dir,
                                            const char * param, const char * intf) {
   Kiv::Ptr< ConfigIntfDir > table = dir->configIntfDir(Kiv::Name(param));
   return table ? table->configIntfDiff(Kiv::Name(intf)) : Kiv::Ptr< ConfigIntfDiff >();
}

inline Kiv::Ptr< ConfigGlobalDiff > globalEntry(const Kiv::Ptr< ConfigPluginDir > & dir,
                                                const char * param) {
   return dir->configGlobalDiff(Kiv::Name(param));
}

inline Kiv::Ptr< Mlag::Config > mlagConfig(
   std::initializer_list< std::pair< const char *, const char * > > entries) {
   auto mlag = Kiv::kivNew< Mlag::Config >(Kiv::Name("mlag"));
   for (auto [intf, id] : entries) {
      mlag->intfConfigIs(Porta::IntfId(intf), Mlag::IntfConfig(id));
   }
   return mlag;
}

inline Kiv::PtrConst< Kiv::Clock > checkerClock() { return Kiv::activityManager()->config()->clock(); }

// Runs deferred work on virtual time until nothing is pending.
inline void runUntilQuiet() { Kiv::activityManager()->runUntilIdle(100000); }

// Captures the checker's trace lines at every level while alive.
class Traces {
 public:
   Traces() { traceHandle().levelsUpToIs(9); }
   ~Traces() { traceHandle().levelsUpToIs(-1); }
   bool contains(std::string_view text) const { return sink_.contains(text); }
   std::size_t count(std::string_view text) const {
      std::size_t n = 0;
      for (const auto & line : sink_.lines()) n += line.text.find(text) != std::string::npos;
      return n;
   }
   void clear() { sink_.clear(); }

 private:
   Kiv::Trace::CaptureSink sink_;
};

// Every test starts on virtual time with nothing scheduled and ends with no
// checker object left alive.
class CheckerTestBase : public ::testing::Test {
 protected:
   // Taken before the derived fixture's members are built, and after the
   // process's activity manager (which lives on) exists.
   CheckerTestBase() : before_((Kiv::activityManager(), Kiv::LiveCount::snapshot())) {
      Kiv::System::virtualTimeIs(0);
   }
   void TearDown() override {
      runUntilQuiet();
      dropAll();
      const auto after = Kiv::LiveCount::snapshot();
      for (const auto & [type, count] : after) {
         auto it = before_.find(type);
         EXPECT_EQ(count, it == before_.end() ? 0 : it->second) << "live " << type;
      }
   }
   // Releases the test's own references before the live counts are compared.
   virtual void dropAll() {}

 private:
   std::map< std::string, std::int64_t > before_;
};

} // namespace CheckerTest
