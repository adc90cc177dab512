#include "Api.h"

#include <map>

#include "Comparison.h"

namespace MlagAgent {

namespace {

ApiResponse jsonAnswer(const nlohmann::json & body) {
   return {200, "application/json", body.dump(2) + "\n", {}};
}

const char * const paths[] = {"/v1/results", "/v1/report", "/v1/catalog",
                              "/v1/status",  "/metrics",   "/healthz"};

// A label value with the exposition format's escapes.
std::string label(const std::string & text) {
   std::string out;
   for (char c : text) {
      if (c == '\\' || c == '"') out += '\\';
      out += c == '\n' ? std::string("\\n") : std::string(1, c);
   }
   return out;
}

void family(std::string & out, const char * name, const char * type, const char * help) {
   out += std::string("# HELP ") + name + " " + help + "\n# TYPE " + name + " " + type + "\n";
}

template < class T >
void sample(std::string & out, const std::string & name, const T & value) {
   out += name + " " + std::to_string(value) + "\n";
}

} // namespace

ApiResponse apiError(unsigned status, const std::string & message) {
   return {status, "application/json", nlohmann::json{{"error", message}}.dump() + "\n", {}};
}

ApiResponse apiAnswer(const Agent & agent, std::string_view method, std::string_view target) {
   const std::string_view path = target.substr(0, target.find('?'));
   bool known = false;
   for (const char * p : paths) known = known || path == p;
   if (!known) return apiError(404, "no such path: " + std::string(path));
   if (method != "GET") {
      ApiResponse r = apiError(405, "method " + std::string(method) + " not allowed; use GET");
      r.headers.emplace_back("Allow", "GET");
      return r;
   }
   if (path == "/v1/results") return jsonAnswer(agent.checker().resultJson());
   if (path == "/v1/report") {
      return jsonAnswer(MlagTool::reportJson(agent.pairResultJson(), agent.catalog()));
   }
   if (path == "/v1/catalog") return jsonAnswer(MlagTool::catalogJson(agent.catalog()));
   if (path == "/v1/status") return jsonAnswer(agent.statusJson());
   if (path == "/metrics") return {200, "text/plain; version=0.0.4", metricsText(agent), {}};
   return jsonAnswer({{"status", "ok"}});
}

std::string metricsText(const Agent & agent) {
   std::string out;
   const nlohmann::json result = agent.pairResultJson();
   // Every plugin shows every mismatch verdict, zero included, so that a
   // series does not vanish when its last mismatch is fixed.
   std::map< std::pair< std::string, std::string >, std::uint64_t > mismatches;
   const nlohmann::json & plugins = result["switches"][0]["plugins"];
   for (const auto & [plugin, unused] : plugins.items()) {
      for (const char * v : {"differ", "onlyOnFirst", "onlyOnSecond"}) mismatches[{plugin, v}] = 0;
   }
   for (const MlagTool::ComparedValue & v : MlagTool::comparedValues(result, agent.catalog())) {
      if (v.row.status != MlagTool::Status::agree) {
         ++mismatches[{v.plugin, MlagTool::verdictText(v.row.status)}];
      }
   }
   family(out, "mlag_config_check_mismatches", "gauge",
          "Compared values that do not agree, by plugin and verdict.");
   for (const auto & [key, count] : mismatches) {
      sample(out,
             "mlag_config_check_mismatches{plugin=\"" + label(key.first) + "\",verdict=\"" +
                key.second + "\"}",
             count);
   }
   family(out, "mlag_config_check_entries", "gauge",
          "Entries of the results directory, by plugin and table.");
   for (const auto & [plugin, r] : plugins.items()) {
      std::uint64_t interfaceEntries = 0;
      for (const auto & [param, byIntf] : r["interface"].items()) interfaceEntries += byIntf.size();
      sample(out, "mlag_config_check_entries{plugin=\"" + label(plugin) + "\",table=\"global\"}",
             r["global"].size());
      sample(out, "mlag_config_check_entries{plugin=\"" + label(plugin) + "\",table=\"interface\"}",
             interfaceEntries);
   }
   const Counters & c = agent.counters();
   family(out, "mlag_config_check_reloads_total", "counter",
          "Reloads of the switch file, by outcome.");
   sample(out, "mlag_config_check_reloads_total{outcome=\"ok\"}", c.reloadsOk);
   sample(out, "mlag_config_check_reloads_total{outcome=\"failed\"}", c.reloadsFailed);
   family(out, "mlag_config_check_backlog_depth", "gauge",
          "Units of work waiting in the checker's backlogs.");
   sample(out, "mlag_config_check_backlog_depth", agent.checker().backlogDepth());
   family(out, "mlag_config_check_slices_total", "counter", "Checker slices run.");
   sample(out, "mlag_config_check_slices_total", c.slicesRun);
   family(out, "mlag_config_check_longest_slice_seconds", "gauge",
          "The longest checker slice so far.");
   out += "mlag_config_check_longest_slice_seconds " + nlohmann::json(c.longestSlice).dump() + "\n";
   if (const Peer::PeerView * peer = agent.peerView()) {
      family(out, "mlag_config_check_peer_up", "gauge",
             "1 while the peer's records are in sync over the link, else 0 (stale).");
      sample(out, "mlag_config_check_peer_up", peer->synchronised() ? 1 : 0);
      family(out, "mlag_config_check_peer_reconnects_total", "counter",
             "Peer sessions after the first.");
      sample(out, "mlag_config_check_peer_reconnects_total", peer->reconnects());
      if (auto seconds = peer->secondsSinceSync(unixNow())) {
         family(out, "mlag_config_check_peer_seconds_since_sync", "gauge",
                "Seconds since the peer's records were last known to be in sync.");
         out +=
            "mlag_config_check_peer_seconds_since_sync " + nlohmann::json(*seconds).dump() + "\n";
      }
   }
   return out;
}

} // namespace MlagAgent
