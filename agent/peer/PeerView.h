// PeerView: the peer switch as this switch knows it through the link. It
// owns nothing of the checker: it writes the peer's records into the
// switch's peer records, and keeps what the operator is told about the link
// (connected or since when not, the peer's name, plugins that only one side
// has or whose descriptors differ, when the records were last in sync).
//
// A snapshot is gathered aside and then applied as the smallest set of
// changes, so a reconnect changes nothing that did not change, and a value
// the peer no longer has goes. While the link is down the peer's values stay
// as last received and are stale.
//
//   PeerView view(agent.checker());
//   view.sessionUp({"leaf2", {{"lacp", digest}}}, now);
//   view.snapshotBegin();  view.change(c);  view.snapshotEnd(now);
//   view.sessionDown(now, "the peer closed the connection");
//
// Single-threaded; the switch outlives the view.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "../SwitchAgent.h"
#include "RecordCodec.h"

namespace MlagAgent::Peer {

struct PeerHello {
   std::string switchName;
   std::string incarnation;
   std::map< std::string, std::string > plugins; // name -> descriptor digest
};

// A plugin's descriptor digest as the hello carries it.
std::string descriptorDigest(const nlohmann::json & descriptor);

class PeerView {
 public:
   explicit PeerView(SwitchAgent & checker);

   // The plugins and digests this switch announces in its hello.
   std::map< std::string, std::string > localPlugins() const;

   void sessionUp(PeerHello hello, double now);
   void snapshotBegin();
   // Applies `c` to the peer record (or, within a snapshot, to the snapshot
   // gathered aside). A plugin this switch does not have is skipped.
   // Raises WireError, changing nothing, for a path that was never sent.
   void change(const Change & c);
   void snapshotEnd(double now);
   // Every frame of a synchronised session is news that the records hold.
   void frameReceived(double now);
   // The changes (snapshot or live) sent to the peer in this session so far.
   void changesSentIs(std::uint64_t n) noexcept { changesSent_ = n; }
   void sessionDown(double now, const std::string & reason);
   // A connection attempt or session that failed before it came up.
   void attemptFailed(const std::string & reason) { lastError_ = reason; }

   // Up, and the peer's snapshot of this session applied.
   bool synchronised() const noexcept { return connected_ && synced_; }
   std::uint64_t reconnects() const noexcept { return sessions_ > 0 ? sessions_ - 1 : 0; }
   const std::string & peerName() const noexcept { return hello_.switchName; }
   // Seconds since the records were last known to be in sync; none before
   // the first snapshot.
   std::optional< double > secondsSinceSync(double now) const;

   nlohmann::json statusJson(double now) const;

 private:
   GenericConfig * peerRecord(std::string_view plugin);

   SwitchAgent & checker_;
   PeerHello hello_;
   bool connected_ = false;
   bool synced_ = false; // this session's snapshot has been applied
   std::uint64_t sessions_ = 0;
   double since_ = 0.0; // when the link last came up or went down
   std::optional< double > lastSync_;
   // Changes of the current session, both ways: equal counts on the
   // two switches (sent here, received there) mean nothing is in flight.
   std::uint64_t changesSent_ = 0, changesReceived_ = 0;
   std::string lastError_;
   // Present while a snapshot arrives: the peer's records as sent so far.
   std::optional< std::map< std::string, Kiv::Ptr< GenericConfig >, std::less<> > > snapshot_;
};

} // namespace MlagAgent::Peer
