// One change through one side of the checker, a disabled trace statement,
// and the longest backlog slice. Trace text is off and the ring buffer on,
// as in production.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>

#include "ConfigCheck/MlagConfigCheckTrace.h"
#include "ConfigCheck/P2pToStatehubSm.h"
#include "ConfigCheck/StatehubToP2pSm.h"
#include "kiv/ActivityManager.h"
#include "kiv/DynamicEntity.h"
#include "kiv/System.h"

namespace {

using namespace Mlag::ConfigCheck;

constexpr char kivTraceSource[] = "MlagConfigCheckBench";

Kiv::PtrConst< Kiv::Clock > clock() { return Kiv::activityManager()->config()->clock(); }

Kiv::Ptr< ConfigCheckDesc > intfDesc() {
   auto desc = configCheckDescFactory("bench");
   auto nested = desc->nestedConfigCheckDescIs("intfConfig");
   nested->mlagInterfacesOnlyIs(true);
   nested->attrNameIs("mtu", "mtu");
   nested->defaultValIs("mtu", "1500");
   return desc;
}

Kiv::Ptr< Mlag::Config > mlagConfig() {
   auto mlag = Kiv::kivNew< Mlag::Config >(Kiv::Name("mlag"));
   mlag->intfConfigIs(Porta::IntfId("Port-Channel10"), Mlag::IntfConfig("10"));
   return mlag;
}

void BM_LocalScalarChange(benchmark::State & state) {
   Kiv::System::virtualTimeIs(0);
   auto dir = Kiv::kivNew< ConfigPluginDir >(Kiv::Name("bench"));
   auto config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("bench"));
   auto intf = config->entityMemberIs("intfConfig", "Port-Channel10");
   intf->valueIs("mtu", Kiv::Value::integer(9000));
   auto record = Kiv::kivNew< GenericConfig >(Kiv::Name("bench"));
   auto mlag = mlagConfig();
   auto sm =
      StatehubToP2pSm::StatehubToP2pSmIs(clock(), dir, "Local", config, record, intfDesc(), mlag);
   Kiv::activityManager()->runUntilIdle();
   std::int64_t value = 9000;
   for (auto _ : state) {
      value = value == 9000 ? 9214 : 9000;
      intf->valueIs("mtu", Kiv::Value::integer(value));
   }
   if (!(record->nestedIntfConfig(Kiv::Name("Port-Channel10"))->attr("mtu") ==
         Kiv::String(std::to_string(value)))) {
      state.SkipWithError("the change did not reach the record");
   }
}
BENCHMARK(BM_LocalScalarChange);

void BM_PeerScalarChange(benchmark::State & state) {
   Kiv::System::virtualTimeIs(0);
   auto dir = Kiv::kivNew< ConfigPluginDir >(Kiv::Name("bench"));
   auto record = Kiv::kivNew< GenericConfig >(Kiv::Name("bench"));
   record->paramNameIs("bench");
   auto nestedRecord = record->nestedIntfConfigIs(Kiv::Name("Port-Channel10"));
   nestedRecord->paramNameIs("intfConfig");
   nestedRecord->attrIs("mtu", "9000");
   auto mlag = mlagConfig();
   auto peer = P2pToStatehubSm::P2pToStatehubSmIs(clock(), dir, record, "Peer", mlag, nullptr);
   peer->configCheckDescIs(intfDesc());
   peer->handleInitialized();
   Kiv::activityManager()->runUntilIdle();
   std::int64_t value = 9000;
   for (auto _ : state) {
      value = value == 9000 ? 9214 : 9000;
      nestedRecord->attrIs("mtu", Kiv::String(std::to_string(value)));
   }
   auto table = dir->configIntfDir(Kiv::Name("mtu mlag10"));
   if (!table || !(table->configIntfDiff(Kiv::Name("PeerPort-Channel10"))->peerVal() ==
                   Kiv::String(std::to_string(value)))) {
      state.SkipWithError("the change did not reach the peer column");
   }
}
BENCHMARK(BM_PeerScalarChange);

void BM_TraceDisabled(benchmark::State & state) {
   traceHandle().levelsUpToIs(-1);
   const Kiv::String paramName = "intf param 0 mlag10";
   const Kiv::String intfName = "Port-Channel10";
   for (auto _ : state) {
      MLAG_TRACE(9, "Insert request for intfname=", intfName, ", paramName=", paramName);
   }
}
BENCHMARK(BM_TraceDisabled);

// 10,000 nested configurations appear at once; the slices that create their
// machines run on real time with the default quantum.
void BM_SliceLatency(benchmark::State & state) {
   constexpr int nestedCount = 10000;
   Kiv::System::realTimeIs();
   double longest = 0;
   std::uint64_t slices = 0;
   for (auto _ : state) {
      state.PauseTiming();
      auto dir = Kiv::kivNew< ConfigPluginDir >(Kiv::Name("bench"));
      auto config = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("bench"));
      for (int i = 0; i < nestedCount; ++i) {
         config->entityMemberIs("group", Kiv::String::join({"g", std::to_string(i)}))
            ->valueIs("mtu", Kiv::Value::integer(i));
      }
      auto desc = configCheckDescFactory("bench");
      desc->nestedConfigCheckDescIs("group")->attrNameIs("mtu", "mtu");
      auto record = Kiv::kivNew< GenericConfig >(Kiv::Name("bench"));
      state.ResumeTiming();
      auto sm = StatehubToP2pSm::StatehubToP2pSmIs(clock(), dir, "Local", config, record, desc,
                                                   Kiv::PtrConst< Mlag::Config >());
      for (;;) {
         auto start = std::chrono::steady_clock::now();
         if (!Kiv::activityManager()->runOnce()) break;
         std::chrono::duration< double > took = std::chrono::steady_clock::now() - start;
         longest = std::max(longest, took.count());
         ++slices;
      }
      state.PauseTiming();
      sm = nullptr;
      state.ResumeTiming();
   }
   state.counters["longest_slice_us"] = longest * 1e6;
   state.counters["quantum_us"] = Orv::CodefBase::defaultBacklogQuantum * 1e6;
   state.counters["slices"] =
      benchmark::Counter(static_cast< double >(slices), benchmark::Counter::kAvgIterations);
   Kiv::System::virtualTimeIs(0);
}
BENCHMARK(BM_SliceLatency)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace
