// Session: one connection's end of the peer protocol, with no I/O of its
// own. Bytes that arrive go into receive(); frames to send go out through
// the sink. The protocol, in order:
//
//   both sides:  hello (version, authentication, switch name, challenge,
//                incarnation, plugins with descriptor digests)
//   key mode:    auth (the proof over the other side's challenge)
//   once the other side is authenticated and the link has chosen this
//   session: snapshot-begin, a change per value and nested record (in
//   changes frames), snapshot-end; then a batch of changes per turn of the
//   event loop that changed anything, keepalives when idle.
//   Every frame after the handshake ends with its tag (FrameTagger).
//
//   Session s(local, send, onAuthenticated, [&] { post([&] { s.flush(); }); });
//   s.start();                               // sends the hello
//   s.receive(bytes);                        // WireError: log, close
//   // onAuthenticated: if the link chooses this session, s.activate(view, records, now)
//
// Nothing but a hello and, in key mode, an auth frame is read before the
// other side has proven itself; a frame past the handshake limit is refused
// before it is awaited. After a WireError the session is finished: the
// caller closes the connection. The PeerView outlives an active session.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Crypto.h"
#include "PeerView.h"
#include "RecordTap.h"
#include "Wire.h"

namespace MlagAgent::Peer {

inline constexpr std::size_t incarnationBytes = 8;
// The most a batch still in the making may hold before the peer is cut off.
inline constexpr std::size_t maxHeldBatchBytes = 64u << 20;

enum class AuthMode : std::uint8_t { plaintext = 0, key = 1, tls = 2 };
const char * authModeText(AuthMode mode) noexcept;

// What both sessions of a switch announce and require.
struct LocalSwitch {
   std::string name;
   std::map< std::string, std::string > plugins; // name -> descriptor digest
   AuthMode auth = AuthMode::plaintext;
   std::string key;         // the pre-shared key in key mode
   std::string incarnation; // random per agent process (incarnationBytes)
};

using FrameSink = std::function< void(std::string frame) >;

class Session {
 public:
   enum class State { awaitingHello, awaitingProof, authenticated, active, stopped };

   // `onAuthenticated` runs once, when the other side has proven itself;
   // it may activate or drop this session (the session must not be
   // destroyed inside it). `flushSoon` asks the owner to call flush() once
   // the current turn of its event loop is over.
   Session(const LocalSwitch & local, FrameSink send, std::function< void() > onAuthenticated,
           std::function< void() > flushSoon);
   ~Session();
   Session(const Session &) = delete;
   Session & operator=(const Session &) = delete;

   void start();
   // Raises WireError for a malformed, unknown or misplaced frame, a
   // version or authentication mismatch, or a bad proof.
   void receive(const char * data, std::size_t size, double now);
   // Sends the snapshot of every local record, then every change as it
   // happens; the peer's frames go to `view`. REQUIRES: authenticated.
   void activate(PeerView & view, const std::vector< SwitchAgent::Records > & records, double now);
   // Sends the changes of the turn that is ending as one batch.
   void flush();
   void sendKeepalive();
   // Ends the session: nothing more is read or sent. May be called from
   // within onAuthenticated.
   void stop();

   State state() const noexcept { return state_; }
   const PeerHello & peerHello() const noexcept { return peer_; }

 private:
   void onFrame(const Frame & frame, double now);
   void onHello(std::string_view payload);
   void onProof(std::string_view payload);
   void authenticatedNow();
   void sendTagged(std::string frame);
   void onChanges(std::string payload);

   const LocalSwitch & local_;
   FrameSink send_;
   std::function< void() > onAuthenticated_;
   State state_ = State::awaitingHello;
   FrameSplitter splitter_{maxHandshakeFrameBytes};
   std::string nonce_; // our challenge
   std::string peerNonce_;
   PeerHello peer_;
   std::unique_ptr< FrameTagger > outTag_, inTag_; // from the peer's hello on
   PeerView * view_ = nullptr;                     // set once active
   ChangeBatcher out_;
   std::vector< std::unique_ptr< RecordTap > > taps_;
   // A batch that goes on in frames still to come: its payloads, held until
   // its last part arrives and the whole batch is applied.
   std::deque< std::string > heldPayloads_;
   std::vector< Change > held_;
   std::size_t heldBytes_ = 0;
};

} // namespace MlagAgent::Peer
