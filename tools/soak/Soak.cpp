#include "Soak.h"

#include <exception>
#include <functional>
#include <map>
#include <set>

#include "RandomScenario.h"
#include "kiv/Ptr.h"
#include "kiv/System.h"
#include "orv/CodefBase.h"
#include "porta/IntfId.h"
#include "sim/Pair.h"
#include "sim/Scenario.h"

namespace MlagSim {

namespace {

using Json = nlohmann::json;

// The first place where two JSON values differ, as a JSON pointer with both
// values, or nothing.
std::optional< std::string > firstDifference(const Json & a, const Json & b,
                                             const std::string & at) {
   if (a == b) return std::nullopt;
   if (a.is_object() && b.is_object()) {
      for (const auto & item : a.items()) {
         if (!b.contains(item.key())) return at + "/" + item.key() + ": only in the first";
         if (auto d = firstDifference(item.value(), b[item.key()], at + "/" + item.key())) return d;
      }
      for (const auto & item : b.items()) {
         if (!a.contains(item.key())) return at + "/" + item.key() + ": only in the second";
      }
   }
   return at + ": " + a.dump() + " vs " + b.dump();
}

// A nested configuration of an MLAG-only collection whose interface has left
// the MLAG configuration keeps its machine on the change path (with an empty
// MLAG id; its recopy removes its own entries), and with it everything its
// own nested machines published, while a fresh start never creates it. An
// orphan's machine also skips every change (its parameter names are empty),
// so when the interface comes back its record still holds what was removed
// meanwhile: the recopy writes the present values, it removes none. Such an
// orphan's record, for as long as its configuration exists, and its
// descendants' entries while it is an orphan, are left out of the
// comparison of local sides, and only they.
struct Orphans {
   struct Node {
      Json::json_pointer record; // in the local record
      Json::json_pointer config; // in the plugin's configuration
   };
   std::vector< Node > nodes;
   std::set< std::string > descendantKeys; // interface and group names beneath
};

// Per switch and plugin ("A/p0"), the record nodes of every nested
// configuration that has been an orphan since it was last created.
using OrphanHistory = std::map< std::string, std::map< std::string, Json::json_pointer > >;

bool isMlagInterface(const Json & mlag, const std::string & key) {
   auto it = mlag.find(key);
   return it != mlag.end() && !it->get< std::string >().empty();
}

void collectDescendants(const Json & entity, const Json & descriptor,
                        std::set< std::string > & keys) {
   auto nested = descriptor.find("nestedConfigCheckDesc");
   if (nested == descriptor.end()) return;
   for (const auto & [attr, inner] : nested->items()) {
      auto members = entity.find(attr);
      if (members == entity.end() || !members->is_object()) continue;
      for (const auto & [key, member] : members->items()) {
         keys.insert(key);
         collectDescendants(member, inner, keys);
      }
   }
}

void collectOrphans(const Json & entity, const Json & descriptor, const Json & mlag,
                    const Json::json_pointer & record, const Json::json_pointer & config,
                    Orphans & out) {
   auto nested = descriptor.find("nestedConfigCheckDesc");
   if (nested == descriptor.end()) return;
   for (const auto & [attr, inner] : nested->items()) {
      auto members = entity.find(attr);
      if (members == entity.end() || !members->is_object()) continue;
      const bool mlagOnly = inner.value("mlagInterfacesOnly", false);
      for (const auto & [key, member] : members->items()) {
         const bool interface = Porta::IntfId::isValidName(key);
         const Json::json_pointer here =
            record / (interface ? "nestedIntfConfig" : "nestedGlobalConfig") / key;
         if (mlagOnly && interface && !isMlagInterface(mlag, key)) {
            out.nodes.push_back({here, config / attr / key});
            collectDescendants(member, inner, out.descendantKeys);
         } else {
            collectOrphans(member, inner, mlag, here, config / attr / key, out);
         }
      }
   }
}

Orphans orphansOf(const Json & scenario, std::size_t sw, const std::string & plugin) {
   const Json & switchSpec = scenario["switches"][sw];
   Orphans orphans;
   collectOrphans(switchSpec["config"].value(plugin, Json::object()), scenario["plugins"][plugin],
                  switchSpec.value("mlag", Json::object()), Json::json_pointer(),
                  Json::json_pointer(), orphans);
   return orphans;
}

std::string historyKey(const Json & scenario, std::size_t sw, const std::string & plugin) {
   return scenario["switches"][sw]["name"].get< std::string >() + "/" + plugin;
}

// Adds the present orphans and forgets those whose configuration is gone (its
// removal takes the record node with it).
void recordOrphans(const Json & scenario, OrphanHistory & history) {
   for (std::size_t sw = 0; sw < 2; ++sw) {
      for (const auto & item : scenario["plugins"].items()) {
         auto & nodes = history[historyKey(scenario, sw, item.key())];
         for (const Orphans::Node & node : orphansOf(scenario, sw, item.key()).nodes) {
            nodes.emplace(node.record.to_string(), node.config);
         }
         const Json & config = scenario["switches"][sw]["config"].value(item.key(), Json::object());
         std::erase_if(nodes, [&](const auto & n) { return !config.contains(n.second); });
      }
   }
}

// What a switch's own side wrote: its local record and the local value of
// every entry that has one, orphans aside.
Json localView(const Json & result, const Json & scenario, const OrphanHistory & history) {
   Json out = Json::object();
   for (std::size_t i = 0; i < 2; ++i) {
      const Json & sw = result["switches"][i];
      for (const auto & [plugin, tables] : sw["plugins"].items()) {
         const Orphans orphans = orphansOf(scenario, i, plugin);
         std::vector< Json::json_pointer > dropped;
         for (const Orphans::Node & node : orphans.nodes) dropped.push_back(node.record);
         if (auto h = history.find(historyKey(scenario, i, plugin)); h != history.end()) {
            for (const auto & [record, config] : h->second) dropped.emplace_back(record);
         }
         Json & view = out[sw["name"].get< std::string >()][plugin];
         Json record = tables["record"];
         for (const Json::json_pointer & node : dropped) {
            if (record.contains(node)) record[node.parent_pointer()].erase(node.back());
         }
         view["record"] = record;
         view["global"] = Json::object();
         view["interface"] = Json::object();
         for (const auto & [param, entry] : tables["global"].items()) {
            if (orphans.descendantKeys.contains(entry["groupId"].get< std::string >())) continue;
            if (!entry["local"].get< std::string >().empty())
               view["global"][param] = entry["local"];
         }
         for (const auto & [param, entries] : tables["interface"].items()) {
            for (const auto & [key, entry] : entries.items()) {
               if (orphans.descendantKeys.contains(key)) continue;
               if (!entry["local"].get< std::string >().empty()) {
                  view["interface"][param][key] = entry["local"];
               }
            }
         }
      }
   }
   return out;
}

bool holdsValue(const Json & entry) {
   return !entry["local"].get< std::string >().empty() ||
          !entry["peer"].get< std::string >().empty();
}

// Both results directories. An entry that holds no value on either side is
// no entry: a local insert files an empty value, a peer removal drops an
// entry it leaves empty, and which of the two ran last is history, not
// configuration.
Json resultsView(const Json & result) {
   Json out = Json::object();
   for (const Json & sw : result["switches"]) {
      for (const auto & [plugin, tables] : sw["plugins"].items()) {
         Json & view = out[sw["name"].get< std::string >()][plugin];
         view["global"] = Json::object();
         view["interface"] = Json::object();
         for (const auto & [param, entry] : tables["global"].items()) {
            if (holdsValue(entry)) view["global"][param] = entry;
         }
         for (const auto & [param, entries] : tables["interface"].items()) {
            for (const auto & [key, entry] : entries.items()) {
               if (holdsValue(entry)) view["interface"][param][key] = entry;
            }
         }
      }
   }
   return out;
}

// The number of values in `j`, containers counted as one each besides their
// members.
std::uint64_t valueCount(const Json & j) {
   std::uint64_t count = 1;
   if (j.is_structured()) {
      for (const Json & member : j) count += valueCount(member);
   }
   return count;
}

// How many firings a pair on `scenario`'s switches may take to go quiet
// after any one change, fault or start: proportional to the size of the
// configurations, a hundred times what any mode has been seen to need
// (about a tenth of a firing per value); a pair that needs more is taken to
// livelock.
std::uint64_t firingBound(const Json & scenario) {
   return 100 + 10 * (valueCount(scenario["switches"]) + valueCount(scenario["plugins"]));
}

struct InvariantFailure {
   std::string text;
};

// The results of a pair freshly built from `scenario` without its steps.
Json freshResult(Json scenario) {
   scenario.erase("steps");
   Pair fresh(parseScenario(scenario.dump(), "fresh.json"));
   fresh.firingLimitIs(firingBound(scenario));
   fresh.start();
   return fresh.resultJson();
}

class Run {
 public:
   Run(const SoakOptions & options, const Json & scenario)
         : options_(options), scenarioJson_(scenario), faults_(options.seed) {}

   // The final result JSON; raises InvariantFailure.
   std::string operator()(std::size_t & stepsRun) {
      const Scenario scenario = parseScenario(scenarioJson_.dump(), "generated.json");
      Json model = scenarioJson_;
      Pair pair(scenario);
      pair.firingLimitIs(firingBound(model));
      if (options_.mode == FaultMode::delayedTransport)
         pair.transportDelayIs(1 + faults_.below(16));
      pair.start();
      recordOrphans(model, orphanHistory_);
      check(pair, model, "after the start");
      for (std::size_t i = 0; i < pair.stepCount(); ++i) {
         applyStepToSwitches(model, scenarioJson_["steps"][i]);
         pair.firingLimitIs(firingBound(model));
         pair.applyStep(i);
         inject(pair);
         recordOrphans(model, orphanHistory_);
         stepsRun = i + 1;
         check(pair, model, "after step " + std::to_string(i + 1));
      }
      // Invariant 4: both top-level machines restarted on what is configured now.
      const Json fresh = freshResult(model);
      pair.machineRestart(0);
      pair.machineRestart(1);
      if (auto d = resultsDifference(pair.resultJson(), fresh)) {
         throw InvariantFailure{"invariant 4 (a restart gives a fresh pair's results): " + *d};
      }
      return pair.resultJson().dump();
   }

 private:
   void inject(Pair & pair) {
      switch (options_.mode) {
         case FaultMode::peerRestart:
            if (faults_.chance(1, 3)) pair.peerRestart(faults_.below(2));
            break;
         case FaultMode::machineRestart:
            if (faults_.chance(1, 3)) pair.machineRestart(faults_.below(2));
            break;
         default:
            break;
      }
   }

   void check(Pair & pair, const Json & model, const std::string & when) {
      const Json fresh = freshResult(model);
      if (auto d = firstDifference(localView(pair.resultJson(), model, orphanHistory_),
                                   localView(fresh, model, orphanHistory_), "")) {
         throw InvariantFailure{when + ": invariant 5 (incremental equals from scratch): " + *d};
      }
   }

   const SoakOptions & options_;
   const Json & scenarioJson_;
   SeededEntropy faults_;
   OrphanHistory orphanHistory_;
};

} // namespace

const std::vector< FaultMode > & allFaultModes() {
   static const std::vector< FaultMode > modes = {
      FaultMode::none,           FaultMode::delayedTransport, FaultMode::peerRestart,
      FaultMode::machineRestart, FaultMode::mlagFlap,         FaultMode::tinyQuantum};
   return modes;
}

const char * faultModeName(FaultMode mode) {
   switch (mode) {
      case FaultMode::none:
         return "none";
      case FaultMode::delayedTransport:
         return "delayedTransport";
      case FaultMode::peerRestart:
         return "peerRestart";
      case FaultMode::machineRestart:
         return "machineRestart";
      case FaultMode::mlagFlap:
         return "mlagFlap";
      case FaultMode::tinyQuantum:
         break;
   }
   return "tinyQuantum";
}

std::optional< FaultMode > faultModeNamed(const std::string & name) {
   for (FaultMode mode : allFaultModes()) {
      if (name == faultModeName(mode)) return mode;
   }
   return std::nullopt;
}

RandomLimits soakLimits(const SoakOptions & o) {
   return {.steps = o.steps,
           .mlagFlap = o.mode == FaultMode::mlagFlap,
           .wide = o.wide || o.mode == FaultMode::tinyQuantum};
}

Kiv::Seconds clockReadStep(FaultMode mode) {
   return mode == FaultMode::tinyQuantum ? 2 * Orv::CodefBase::defaultBacklogQuantum : 0.0;
}

std::string replayCommand(const SoakOptions & o) {
   return "mlag-sim-soak --seed " + std::to_string(o.seed) + " --mode " + faultModeName(o.mode) +
          " --steps " + std::to_string(o.steps) + (o.wide ? " --wide" : "");
}

std::optional< std::string > localDifference(const nlohmann::json & incremental,
                                             const nlohmann::json & fresh,
                                             const nlohmann::json & scenario) {
   return firstDifference(localView(incremental, scenario, {}), localView(fresh, scenario, {}), "");
}

std::optional< std::string > resultsDifference(const nlohmann::json & restarted,
                                               const nlohmann::json & fresh) {
   return firstDifference(resultsView(restarted), resultsView(fresh), "");
}

std::string checkScenario(const nlohmann::json & scenario, FaultMode mode, std::uint64_t faultSeed,
                          std::size_t * stepsRun) {
   const SoakOptions options{faultSeed, mode, 0};
   const Kiv::Seconds readStep = clockReadStep(mode);
   std::string failure;
   try {
      Kiv::System::virtualTimeIs(0.0);
      Kiv::System::timeReadStepIs(readStep);
      std::size_t steps = 0;
      const std::string first = Run(options, scenario)(steps);
      if (stepsRun) *stepsRun = steps;
      // The first run made the process-wide objects; from here on a run
      // must give back everything it made.
      const std::int64_t live = Kiv::LiveCount::total();
      const std::string second = Run(options, scenario)(steps);
      if (Kiv::LiveCount::total() != live) {
         failure = "invariant 2 (no object alive after teardown): " +
                   std::to_string(Kiv::LiveCount::total() - live) + " left";
      } else if (first != second) {
         failure = "invariant 3 (same seed, same result): " +
                   firstDifference(Json::parse(first), Json::parse(second), "").value_or("");
      }
   } catch (const InvariantFailure & f) {
      failure = f.text;
   } catch (const std::exception & e) {
      failure = std::string("invariant 1/2 (quiet, nothing raised): ") + e.what();
   }
   Kiv::System::timeReadStepIs(0.0);
   return failure;
}

SoakOutcome runSeed(const SoakOptions & options) {
   SeededEntropy entropy(options.seed);
   const Json scenario = randomScenarioJson(entropy, soakLimits(options));
   SoakOutcome outcome;
   const std::string failure =
      checkScenario(scenario, options.mode, options.seed ^ 0x5eedfa17ull, &outcome.stepsRun);
   if (!failure.empty()) {
      outcome.failure = "seed " + std::to_string(options.seed) + " mode " +
                        faultModeName(options.mode) + ": " + failure +
                        "; replay: " + replayCommand(options);
   }
   return outcome;
}

void LocalComparison::configurationIs(const nlohmann::json & scenario) {
   scenario_ = scenario;
   recordOrphans(scenario_, history_);
}

std::optional< std::string > LocalComparison::difference(const nlohmann::json & incremental,
                                                         const nlohmann::json & fresh) const {
   return firstDifference(localView(incremental, scenario_, history_),
                          localView(fresh, scenario_, history_), "");
}

} // namespace MlagSim
