// A whole pair from the start of both top-level machines until quiet, and
// the memory it takes per parameter entry.
#include <benchmark/benchmark.h>

#include <optional>

#include "BenchFixtures.h"
#include "Pair.h"

namespace {

std::int64_t entryCount(int interfaces, int params) {
   return 2 * (static_cast< std::int64_t >(interfaces) * params + Bench::globalParams);
}

// Registered first, so that it runs on a fresh heap: resident memory
// added by a started 4096 x 32 pair, per parameter entry of
// one switch (each switch holds its own entries, records and machines).
void BM_PairMemoryPerEntry(benchmark::State & state) {
   const MlagSim::Scenario scenario = Bench::pairScenario(4096, 32);
   double perEntry = 0;
   for (auto _ : state) {
      const std::size_t before = Bench::residentBytes();
      MlagSim::Pair pair(scenario);
      pair.start();
      const std::size_t after = Bench::residentBytes();
      perEntry = static_cast< double >(after - before) / static_cast< double >(entryCount(4096, 32));
   }
   state.counters["bytes_per_entry_per_switch"] = perEntry;
}
BENCHMARK(BM_PairMemoryPerEntry)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_PairStart(benchmark::State & state) {
   const int interfaces = static_cast< int >(state.range(0));
   const int params = static_cast< int >(state.range(1));
   const MlagSim::Scenario scenario = Bench::pairScenario(interfaces, params);
   for (auto _ : state) {
      state.PauseTiming();
      std::optional< MlagSim::Pair > pair(std::in_place, scenario);
      state.ResumeTiming();
      pair->start();
      state.PauseTiming();
      pair.reset();
      state.ResumeTiming();
   }
   state.SetItemsProcessed(state.iterations() * entryCount(interfaces, params));
}
BENCHMARK(BM_PairStart)
   ->ArgsProduct({{256, 1024, 4096}, {8, 32}})
   ->Unit(benchmark::kMillisecond);

} // namespace
