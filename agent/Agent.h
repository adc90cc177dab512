// MlagAgent::Agent: the checker of one switch and its switch file. Loads the
// file, starts the checker on it, and on every reload reads and validates
// the whole file before anything changes: a bad file (or one whose change
// cannot be applied live) leaves the checker on the last good configuration
// and is reported in the log and the status. Keeps the counters the
// operator API shows.
//
//   MlagAgent::Agent agent("/etc/mlag/leaf1.switch.json", log);   // ScenarioError if bad
//   agent.start();
//   agent.reload();            // after the file changed, or on SIGHUP
//
// Runs no reactors itself (see SwitchAgent); single-threaded.
#pragma once

#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Catalog.h"
#include "Log.h"
#include "SwitchAgent.h"
#include "peer/PeerView.h"

namespace MlagAgent {

struct Counters {
   std::uint64_t reloadsOk = 0;
   std::uint64_t reloadsFailed = 0;
   std::uint64_t changesApplied = 0; // by reloads
   std::uint64_t slicesRun = 0;      // reactor firings, counted by the event loop
   double longestSlice = 0.0;        // seconds
};

struct ReloadOutcome {
   double time = 0.0;       // Unix seconds
   std::string outcome;     // "started", "applied", "unchanged" or "rejected"
   std::size_t changes = 0; // applied changes
   std::string error;       // a rejected reload's "<file>: <place>: <message>"
};

class Agent {
 public:
   // Raises ScenarioError when the file cannot be read or is bad.
   Agent(std::string path, Log & log);

   void start();
   // Returns true when the checker now runs on the file's configuration.
   bool reload();

   const std::string & path() const noexcept { return path_; }
   const SwitchAgent & checker() const noexcept { return *checker_; }
   const std::vector< MlagTool::CatalogEntry > & catalog() const noexcept { return catalog_; }
   const ReloadOutcome & lastReload() const noexcept { return lastReload_; }
   Counters & counters() noexcept { return counters_; }
   const Counters & counters() const noexcept { return counters_; }

   // Sets up the view of the peer that a peer link fills; without it the
   // status says the link is not configured.
   Peer::PeerView & peerViewIs();
   Peer::PeerView * peerView() noexcept { return peer_.get(); }
   const Peer::PeerView * peerView() const noexcept { return peer_.get(); }

   // The result JSON's form with this switch first and its peer second (by
   // the name its hello gave), for the views that compare two switches.
   nlohmann::json pairResultJson() const;
   nlohmann::json statusJson() const;

 private:
   // Reads and parses the switch file, noting the digest of its text.
   MlagSim::SwitchFile load();

   std::string path_;
   Log & log_;
   std::string fileDigest_; // SHA-256 of the file the checker runs on
   std::unique_ptr< SwitchAgent > checker_;
   std::vector< MlagTool::CatalogEntry > catalog_;
   ReloadOutcome lastReload_;
   Counters counters_;
   std::unique_ptr< Peer::PeerView > peer_; // goes before the checker it writes to
};

// The peer's name in pairResultJson() until a peer has said its name.
inline constexpr char peerName[] = "peer";

} // namespace MlagAgent
