#include "PeerView.h"

#include "../Log.h"
#include "Crypto.h"
#include "sim/RecordSync.h"

namespace MlagAgent::Peer {

std::string descriptorDigest(const nlohmann::json & descriptor) {
   return sha256Hex(descriptor.dump());
}

PeerView::PeerView(SwitchAgent & checker) : checker_(checker) {}

std::map< std::string, std::string > PeerView::localPlugins() const {
   std::map< std::string, std::string > plugins;
   for (const auto & [name, descriptor] : checker_.file().plugins.items()) {
      plugins[name] = descriptorDigest(descriptor);
   }
   return plugins;
}

GenericConfig * PeerView::peerRecord(std::string_view plugin) {
   for (const SwitchAgent::Records & r : checker_.records()) {
      if (r.plugin == plugin) return r.peer.get();
   }
   return nullptr;
}

void PeerView::sessionUp(PeerHello hello, double now) {
   hello_ = std::move(hello);
   connected_ = true;
   synced_ = false;
   ++sessions_;
   since_ = now;
   lastError_.clear();
   changesSent_ = changesReceived_ = 0;
}

void PeerView::snapshotBegin() {
   snapshot_.emplace();
   for (const SwitchAgent::Records & r : checker_.records()) {
      if (hello_.plugins.count(r.plugin)) {
         auto record = Kiv::kivNew< GenericConfig >(Kiv::Name(r.plugin));
         record->paramNameIs(r.plugin); // as the record was made, until the peer says otherwise
         (*snapshot_)[r.plugin] = std::move(record);
      }
   }
}

void PeerView::change(const Change & c) {
   ++changesReceived_;
   if (snapshot_) {
      auto it = snapshot_->find(c.plugin);
      if (it != snapshot_->end()) applyChange(c, *it->second);
      return;
   }
   // A plugin this switch lacks is reported from the hello, never compared.
   if (GenericConfig * record = peerRecord(c.plugin)) applyChange(c, *record);
}

void PeerView::snapshotEnd(double now) {
   if (!snapshot_) throw WireError("the end of a snapshot that never began");
   for (const SwitchAgent::Records & r : checker_.records()) {
      auto it = snapshot_->find(r.plugin);
      if (it != snapshot_->end()) {
         MlagSim::syncRecord(*it->second, *r.peer);
      } else {
         MlagSim::wipeRecord(*r.peer);
      }
   }
   snapshot_.reset();
   synced_ = true;
   lastSync_ = now;
}

void PeerView::frameReceived(double now) {
   if (synchronised()) lastSync_ = now;
}

void PeerView::sessionDown(double now, const std::string & reason) {
   if (!connected_) return;
   connected_ = false;
   snapshot_.reset();
   since_ = now;
   lastError_ = reason;
}

std::optional< double > PeerView::secondsSinceSync(double now) const {
   if (!lastSync_) return std::nullopt;
   return now - *lastSync_;
}

nlohmann::json PeerView::statusJson(double now) const {
   nlohmann::json s;
   if (connected_) {
      s["link"] = synchronised() ? "connected" : "synchronising";
      s["since"] = utcText(since_);
      s["changesSent"] = changesSent_;
      s["changesReceived"] = changesReceived_;
   } else if (sessions_ > 0) {
      s["link"] = "down";
      s["since"] = utcText(since_);
   } else {
      s["link"] = "never connected";
   }
   s["stale"] = !synchronised();
   s["reconnects"] = reconnects();
   if (!hello_.switchName.empty()) s["peer"] = hello_.switchName;
   if (lastSync_) {
      s["lastSync"] = utcText(*lastSync_);
      s["secondsSinceLastSync"] = now - *lastSync_;
   }
   if (!lastError_.empty()) s["lastError"] = lastError_;
   // Plugins the two switches do not share, or describe differently: their
   // values are not compared against nothing without saying so.
   nlohmann::json plugins = nlohmann::json::object();
   if (sessions_ > 0) {
      const std::map< std::string, std::string > mine = localPlugins();
      for (const auto & [name, digest] : mine) {
         auto it = hello_.plugins.find(name);
         plugins[name] = it == hello_.plugins.end() ? "missing on the peer"
                         : it->second != digest     ? "descriptor differs"
                                                    : "same";
      }
      for (const auto & [name, digest] : hello_.plugins) {
         if (!mine.count(name)) plugins[name] = "only on the peer";
      }
   }
   s["plugins"] = std::move(plugins);
   return s;
}

} // namespace MlagAgent::Peer
