// Helpers in the checker's terms: results entries, descriptors, configurations, its
// traces. Tests run on virtual time and drive deferred work with runUntilQuiet().
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "ConfigCheck/ConfigCheckDesc.h"
#include "ConfigCheck/ConfigPluginDir.h"
#include "ConfigCheck/GenericConfig.h"
#include "ConfigCheck/MlagConfigCheckTrace.h"
#include "kiv/ActivityManager.h"
#include "kiv/DynamicEntity.h"
#include "kiv/Exception.h"
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

// The local or peer value of one results entry, "<none>" when there is no
// entry: the interface table with an interface name, the global table without.
inline constexpr const char * none = "<none>";

inline std::string entryVal(const Kiv::Ptr< ConfigPluginDir > & dir, const char * param,
                            const char * intf, bool local) {
   auto read = [local](const auto & e) {
      return e ? (local ? e->localVal() : e->peerVal()).stdString() : none;
   };
   return intf ? read(intfEntry(dir, param, intf)) : read(dir->configGlobalDiff(Kiv::Name(param)));
}
inline std::string localEntry(const Kiv::Ptr< ConfigPluginDir > & dir, const char * param,
                              const char * intf = nullptr) {
   return entryVal(dir, param, intf, true);
}
inline std::string peerEntry(const Kiv::Ptr< ConfigPluginDir > & dir, const char * param,
                             const char * intf = nullptr) {
   return entryVal(dir, param, intf, false);
}

// Every results entry in byte order, "; " between them: a global one as
// "<param>: <local>/<peer>", with " g=<group>" when it has a group; an
// interface one as "<param> @<intf>: <local>/<peer>", with " d=<default>"
// when it has a default; an interface table without entries as "<param> @".
inline std::string entries(const Kiv::Ptr< ConfigPluginDir > & dir) {
   std::vector< std::string > all;
   auto add = [&all](const std::string & name, const auto & e, const Kiv::String & extra) {
      all.push_back(name + ": " + e->localVal().stdString() + "/" + e->peerVal().stdString() +
                    extra.stdString());
   };
   for (auto & g : dir->configGlobalDiffMap()) {
      const Kiv::String group = g.value()->groupId();
      add(g.key().stdString(), g.value(), group.empty() ? group : " g=" + group);
   }
   for (auto & table : dir->configIntfDirMap()) {
      const std::string param = table.key().stdString() + " @";
      if (table.value()->configIntfDiffSize() == 0) all.push_back(param);
      for (auto & i : table.value()->configIntfDiffMap()) {
         const Kiv::String d = i.value()->defaultVal();
         add(param + i.key().stdString(), i.value(), d.empty() ? d : " d=" + d);
      }
   }
   std::ranges::sort(all);
   std::string text;
   for (const std::string & e : all) text += (text.empty() ? "" : "; ") + e;
   return text;
}

// The plugin most tests check: global scalars and a value collection, a
// per-MLAG-interface nested configuration and a per-group one.
inline Kiv::Ptr< ConfigCheckDesc > lacpDesc() {
   auto desc = configCheckDescFactory("lacp");
   desc->attrNameIs("priority", "priority");
   desc->attrNameIs("timeout", "timeout");
   desc->defaultValIs("priority", "32768");
   desc->collectionNameIs("vlan", "vlan");
   auto intf = desc->nestedConfigCheckDescIs("intfConfig");
   intf->mlagInterfacesOnlyIs(true);
   intf->absenceImpliesDefaultValIs(true);
   intf->attrNameIs("mtu", "mtu");
   intf->attrNameIs("mode", "mode");
   intf->defaultValIs("mtu", "1500");
   intf->valueStrOverrideIs("active", "on");
   desc->nestedConfigCheckDescIs("group")->attrNameIs("mtu", "mtu");
   return desc;
}

inline Kiv::Ptr< Mlag::Config > mlagConfig(
   std::initializer_list< std::pair< const char *, const char * > > entries) {
   auto mlag = Kiv::kivNew< Mlag::Config >(Kiv::Name("mlag"));
   for (auto [intf, id] : entries) mlag->intfConfigIs(Porta::IntfId(intf), Mlag::IntfConfig(id));
   return mlag;
}

inline Kiv::PtrConst< Kiv::Clock > checkerClock() {
   return Kiv::activityManager()->config()->clock();
}

// The constructor parameter a refused re-creation names, or what went wrong.
template < class F >
std::string refusedParameter(F recreate) {
   try {
      recreate();
   } catch (const Kiv::NameInUseException & e) {
      const std::string what = e.what(), head =
                                            "Reinstantiating the pointer interface where "
                                            "constructor parameter attribute ";
      const std::size_t end = what.find(" has a different value of ");
      if (!what.starts_with(head) || !what.ends_with(" not allowed") || end == what.npos)
         return what;
      return what.substr(head.size(), end - head.size());
   }
   return "accepted";
}

// Runs deferred work on virtual time until nothing is pending.
inline void runUntilQuiet() { Kiv::activityManager()->runUntilIdle(100000); }

// Captures the checker's trace lines at every level while alive.
class Traces {
   static auto holding(std::string_view text) {
      return [text](const auto & l) { return l.text.find(text) != l.text.npos; };
   }

 public:
   Traces() { traceHandle().levelsUpToIs(9); }
   ~Traces() { traceHandle().levelsUpToIs(-1); }
   bool contains(std::string_view text) const { return sink_.contains(text); }
   std::size_t count(std::string_view text) const {
      return std::ranges::count_if(sink_.lines(), holding(text));
   }
   // Whether some line ends with `text`: a check of a trace's whole tail.
   bool endsLine(std::string_view text) const {
      return std::ranges::any_of(sink_.lines(),
                                 [&](const auto & l) { return l.text.ends_with(text); });
   }
   // The position of the first line containing `text`; npos when none does.
   std::size_t indexOf(std::string_view text) const {
      const auto it = std::ranges::find_if(sink_.lines(), holding(text));
      return it == sink_.lines().end() ? std::string::npos : it - sink_.lines().begin();
   }
   // Every line captured, for failure messages.
   std::string all() const {
      std::string text;
      for (const auto & line : sink_.lines()) text += line.text + "\n";
      return text;
   }
   void clear() { sink_.clear(); }

 private:
   Kiv::Trace::CaptureSink sink_;
};

// Every test starts on virtual time with nothing scheduled and ends with no checker
// object alive: live counts are taken before the derived fixture's members are built
// (the activity manager lives on), and compared once they have let go.
class CheckerTestBase : public ::testing::Test {
 protected:
   CheckerTestBase() : before_((Kiv::activityManager(), Kiv::LiveCount::snapshot())) {
      Kiv::System::virtualTimeIs(0);
   }
   void TearDown() override { runUntilQuiet(); }
   ~CheckerTestBase() override {
      for (const auto & [type, count] : Kiv::LiveCount::snapshot()) {
         auto it = before_.find(type);
         EXPECT_EQ(count, it == before_.end() ? 0 : it->second) << "live " << type;
      }
   }

 private:
   std::map< std::string, std::int64_t > before_;
};

} // namespace CheckerTest
