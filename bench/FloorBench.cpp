// The floor: the same writes into bare standard containers, so that the
// checker's figures can be read as ratios measured in the same run.
#include <benchmark/benchmark.h>

#include <string>
#include <unordered_map>

#include "BenchFixtures.h"

namespace {

struct Entry {
   std::string localVal;
   std::string peerVal;
   std::string defaultVal;
};

using Table = std::unordered_map< std::string, std::unordered_map< std::string, Entry > >;
using Record = std::unordered_map< std::string, std::string >;

void BM_Floor_ParamWrite(benchmark::State & state) {
   Table table;
   Record record;
   const std::string base = "intf param 0";
   const std::string mlagId = "10";
   const std::string intf = "Port-Channel10";
   int flip = 0;
   for (auto _ : state) {
      std::string paramName = base + " mlag" + mlagId;
      std::string value = (flip ^= 1) ? "9000" : "9214";
      table[paramName][intf].localVal = value;
      record["param0"] = value;
      benchmark::DoNotOptimize(table);
      benchmark::DoNotOptimize(record);
   }
}
BENCHMARK(BM_Floor_ParamWrite);

void BM_Floor_PairStart(benchmark::State & state) {
   const int interfaces = static_cast< int >(state.range(0));
   const int params = static_cast< int >(state.range(1));
   for (auto _ : state) {
      // Both switches: each writes its local and its peer column and its record.
      for (int sw = 0; sw < 2; ++sw) {
         Table table;
         Record record;
         for (int g = 0; g < Bench::globalParams; ++g) {
            std::string name = "global param " + std::to_string(g);
            table[name][""].localVal = std::to_string(g);
            table[name][""].peerVal = std::to_string(g);
            record["global" + std::to_string(g)] = std::to_string(g);
         }
         for (int i = 0; i < interfaces; ++i) {
            const std::string intf = Bench::intfName(i);
            const std::string mlag = " mlag" + std::to_string(i + 1);
            Record nested;
            for (int p = 0; p < params; ++p) {
               Entry & e = table["intf param " + std::to_string(p) + mlag][intf];
               e.localVal = std::to_string(1000 + p);
               e.peerVal = std::to_string(1000 + p);
               nested[Bench::paramAttr(p)] = std::to_string(1000 + p);
            }
            benchmark::DoNotOptimize(nested);
         }
         benchmark::DoNotOptimize(table);
         benchmark::DoNotOptimize(record);
      }
   }
   state.SetItemsProcessed(state.iterations() * 2 *
                           (static_cast< int64_t >(interfaces) * params + Bench::globalParams));
}
BENCHMARK(BM_Floor_PairStart)
   ->ArgsProduct({{256, 1024, 4096}, {8, 32}})
   ->Unit(benchmark::kMillisecond);

} // namespace
