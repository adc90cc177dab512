// The agent's reload of a 4096 x 32 switch when one attribute changed,
// against a reload that changes nothing (the cost of reading the
// configuration for differences) and against the same change made directly
// on the live entity (the checker's own incremental cost). The file's
// parsing is left out: it is the same for all reloads.
#include <benchmark/benchmark.h>

#include <chrono>

#include "BenchFixtures.h"
#include "SwitchAgent.h"
#include "kiv/System.h"
#include "sim/Pair.h"

namespace {

using Clock = std::chrono::steady_clock;

MlagSim::SwitchFile switchFile(const MlagSim::Scenario & scenario, int value) {
   MlagSim::SwitchFile f{"bench.switch.json", "", scenario.plugins, scenario.switches[0]};
   f.sw.config["bench"]["intfConfig"][Bench::intfName(100)][Bench::paramAttr(7)] = value;
   return f;
}

double seconds(Clock::duration d) { return std::chrono::duration< double >(d).count(); }

void BM_AgentReloadOneChange(benchmark::State & state) {
   const MlagSim::Scenario scenario = Bench::pairScenario(4096, 32);
   const MlagSim::SwitchFile files[2] = {switchFile(scenario, 1), switchFile(scenario, 2)};
   Kiv::System::virtualTimeIs(0.0);
   MlagAgent::SwitchAgent agent(files[0]);
   agent.start();
   MlagSim::runUntilQuiet();
   const Kiv::Ptr< Kiv::DynamicEntity > intf = agent.config("bench")->entityMember(
      Kiv::String("intfConfig"), Kiv::String(Bench::intfName(100)));
   double changed = 0, unchanged = 0, direct = 0;
   int next = 1;
   for (auto _ : state) {
      // The copies the reloads take are made outside the timed parts.
      MlagSim::SwitchFile change = files[next], same = files[next];
      Clock::time_point t0 = Clock::now();
      agent.reload(std::move(change));
      MlagSim::runUntilQuiet();
      Clock::time_point t1 = Clock::now();
      agent.reload(std::move(same));
      MlagSim::runUntilQuiet();
      Clock::time_point t2 = Clock::now();
      // The same attribute there and back, straight on the entity.
      intf->valueIs(Kiv::String(Bench::paramAttr(7)), Kiv::Value::integer(3));
      MlagSim::runUntilQuiet();
      intf->valueIs(Kiv::String(Bench::paramAttr(7)), Kiv::Value::integer(next + 1));
      MlagSim::runUntilQuiet();
      Clock::time_point t3 = Clock::now();
      changed += seconds(t1 - t0);
      unchanged += seconds(t2 - t1);
      direct += seconds(t3 - t2) / 2;
      state.SetIterationTime(seconds(t1 - t0));
      next = 1 - next;
   }
   const double n = static_cast< double >(state.iterations());
   state.counters["noChangeMs"] = unchanged / n * 1e3;
   state.counters["inProcessMs"] = direct / n * 1e3;
   state.counters["vsNoChange"] = changed / unchanged;
   state.counters["vsInProcess"] = changed / direct;
}
BENCHMARK(BM_AgentReloadOneChange)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace
