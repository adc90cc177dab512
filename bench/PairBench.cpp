// A whole pair from the start of both top-level machines until quiet, and
// the memory it takes per parameter entry.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <malloc.h>
#include <optional>

#include "BenchFixtures.h"
#include "sim/Pair.h"

namespace {

std::int64_t entryCount(int interfaces, int params) {
   return 2 * (static_cast< std::int64_t >(interfaces) * params + Bench::globalParams);
}

// Peak resident memory added by a 4096 x 32 pair until it is quiet, per
// parameter entry of one switch (each switch holds its own entries, records
// and machines): the whole pair, with the configurations the switches read,
// and the checker's share, what start() adds to the built configurations.
void BM_PairMemoryPerEntry(benchmark::State & state) {
   const MlagSim::Scenario scenario = Bench::pairScenario(4096, 32);
   double perEntry = 0;
   double checkerPerEntry = 0;
   for (auto _ : state) {
      // Free heap pages go back to the system first, so that a repetition
      // cannot hide its growth in memory an earlier one released.
      malloc_trim(0);
      const std::size_t before = Bench::residentBytes();
      MlagSim::Pair pair(scenario);
      // The switches' configurations are built; what start() adds is the
      // checker's: machines, records (and their copies at the peer), results.
      const std::size_t built = Bench::residentBytes();
      Bench::peakResidentReset();
      pair.start();
      const std::size_t peak = std::max(Bench::peakResidentBytes(), Bench::residentBytes());
      const auto entries = static_cast< double >(entryCount(4096, 32));
      perEntry = static_cast< double >(peak - before) / entries;
      checkerPerEntry = static_cast< double >(peak - built) / entries;
   }
   state.counters["bytes_per_entry_per_switch"] = perEntry;
   state.counters["checker_bytes_per_entry_per_switch"] = checkerPerEntry;
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
BENCHMARK(BM_PairStart)->ArgsProduct({{256, 1024, 4096}, {8, 32}})->Unit(benchmark::kMillisecond);

} // namespace
