// What a scenario's steps cost the tool on top of its start, run as
// mlag-config-check runs them (output discarded): 5,000 MLAG port-channels
// x 20 parameters, alone, with 50 steps, and with 50 steps shown as changes.
// A step should cost what it changes, so the steps add little to the start.
#include <benchmark/benchmark.h>

#include <ostream>
#include <string>

#include "BenchFixtures.h"
#include "ScenarioRun.h"

namespace {

constexpr int interfaces = 5000;
constexpr int params = 20;
constexpr int steps = 50;

// Steps on both switches, spread over the interfaces: most set one
// parameter of one interface; every tenth moves an interface to another MLAG
// id, which takes its entries out and files them again.
MlagSim::Scenario scenario(bool withSteps) {
   nlohmann::json s = Bench::pairScenarioJson(interfaces, params);
   for (int i = 0; withSteps && i < steps; ++i) {
      const std::string intf = Bench::intfName((i * 97) % interfaces);
      const char * sw = i % 2 == 0 ? "A" : "B";
      if (i % 10 == 9) {
         s["steps"].push_back({{"switch", sw}, {"mlag", intf}, {"set", std::to_string(9000 + i)}});
      } else {
         s["steps"].push_back({{"switch", sw},
                               {"plugin", "bench"},
                               {"path", {"intfConfig", intf, Bench::paramAttr(i % params)}},
                               {"set", 2000 + i}});
      }
   }
   return MlagSim::parseScenario(s.dump(), "steps.json");
}

void run(benchmark::State & state, bool withSteps, bool changes) {
   const MlagSim::Scenario s = scenario(withSteps);
   MlagTool::RunOptions options;
   options.changes = changes;
   std::ostream discard(nullptr);
   for (auto _ : state) benchmark::DoNotOptimize(MlagTool::runScenario(s, options, discard));
}

void BM_ToolStart(benchmark::State & state) { run(state, false, false); }
void BM_ToolSteps(benchmark::State & state) { run(state, true, false); }
void BM_ToolChanges(benchmark::State & state) { run(state, true, true); }
BENCHMARK(BM_ToolStart)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToolSteps)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToolChanges)->Unit(benchmark::kMillisecond);

} // namespace
