#include "Agent.h"

#include "ConfigDiff.h"
#include "peer/Crypto.h"

namespace MlagAgent {

namespace {

std::vector< MlagTool::CatalogEntry > catalogOf(const MlagSim::SwitchFile & file) {
   MlagSim::Scenario scenario;
   scenario.plugins = file.plugins;
   return MlagTool::catalog(scenario);
}

} // namespace

MlagSim::SwitchFile Agent::load() {
   const std::string text = MlagSim::readInputFile(path_);
   MlagSim::SwitchFile file = MlagSim::parseSwitchFile(text, path_);
   fileDigest_ = Peer::sha256Hex(text);
   return file;
}

Agent::Agent(std::string path, Log & log)
      : path_(std::move(path)),
        log_(log),
        checker_(std::make_unique< SwitchAgent >(load())),
        catalog_(catalogOf(checker_->file())) {}

void Agent::start() {
   checker_->start();
   lastReload_ = {unixNow(), "started", 0, {}};
   log_.info("started switch '" + checker_->file().sw.name + "' from " + path_);
}

bool Agent::reload() {
   try {
      const std::string digest = fileDigest_;
      std::size_t changes = 0;
      try {
         changes = checker_->reload(load());
      } catch (...) {
         fileDigest_ = digest; // still the last good file's
         throw;
      }
      lastReload_ = {unixNow(), changes == 0 ? "unchanged" : "applied", changes, {}};
      ++counters_.reloadsOk;
      counters_.changesApplied += changes;
      log_.info("reloaded " + path_ + ": " + std::to_string(changes) +
                (changes == 1 ? " change" : " changes"));
      return true;
   } catch (const MlagSim::ScenarioError & e) {
      lastReload_ = {unixNow(), "rejected", 0, e.what()};
   } catch (const ReloadError & e) {
      lastReload_ = {unixNow(), "rejected", 0, e.what()};
   }
   ++counters_.reloadsFailed;
   log_.error("reload rejected, keeping the last good configuration: " + lastReload_.error);
   return false;
}

Peer::PeerView & Agent::peerViewIs() {
   peer_ = std::make_unique< Peer::PeerView >(*checker_);
   return *peer_;
}

nlohmann::json Agent::pairResultJson() const {
   const std::string peer = peer_ && !peer_->peerName().empty() ? peer_->peerName() : peerName;
   return {{"switches",
            {checker_->resultJson(), {{"name", peer}, {"plugins", nlohmann::json::object()}}}}};
}

nlohmann::json Agent::statusJson() const {
   nlohmann::json reload = {{"time", utcText(lastReload_.time)},
                            {"outcome", lastReload_.outcome},
                            {"changes", lastReload_.changes}};
   if (!lastReload_.error.empty()) reload["error"] = lastReload_.error;
   return {{"switch", checker_->file().sw.name},
           {"configFile", path_},
           {"configSha256", fileDigest_},
           {"lastReload", std::move(reload)},
           {"peerLink", peer_ ? peer_->statusJson(unixNow()) : nlohmann::json("not configured")},
           {"backlogDepth", checker_->backlogDepth()},
           {"counters",
            {{"reloadsOk", counters_.reloadsOk},
             {"reloadsFailed", counters_.reloadsFailed},
             {"changesApplied", counters_.changesApplied},
             {"slicesRun", counters_.slicesRun},
             {"longestSliceSeconds", counters_.longestSlice}}}};
}

} // namespace MlagAgent
