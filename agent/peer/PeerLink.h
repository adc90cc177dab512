// PeerLink: the TCP link to the MLAG peer's agent, on the agent's Asio event
// loop. It listens for the peer and dials it (both sides do), runs one
// Session per connection, keeps at most one session active, sends
// keepalives and drops a connection that stays silent past the timeout, and
// dials again after a pause while no session is up.
//
// Who gets in: an accepted connection from any address but the configured
// peer's is closed at once; then, in TLS mode, the TLS handshake checks the
// peer's certificate against the CA; in key mode the session checks the
// peer's key proof. Nothing the peer sends is applied before that, and a
// failed attempt leaves the active session alone.
//
// Two connections at once (both sides dialled at the same moment) settle on
// the one dialled by the switch whose name is smaller in byte order; a new
// connection from a restarted peer (another incarnation) replaces the old
// session at once.
//
//   PeerLink link(io, options, view, checker, log, [&] { driver.kick(); });
//   link.start();
//
// Single event thread; the io_context, view, switch and log outlive the link.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "../Log.h"
#include "Session.h"

namespace MlagAgent::Peer {

struct LinkOptions {
   std::optional< boost::asio::ip::tcp::endpoint > listen;
   boost::asio::ip::tcp::endpoint peer;
   AuthMode auth = AuthMode::plaintext;
   std::string key;                       // key mode: the pre-shared key
   std::string certFile, keyFile, caFile; // TLS mode
   double keepalive = 1.0;                // seconds between keepalives
   double timeout = 4.0;                  // silence after which a connection is dead
   double retry = 1.0;                    // pause between dial attempts
};

class Connection;

class PeerLink {
 public:
   // Raises std::runtime_error when the TLS files cannot be loaded or the
   // listen address cannot be bound.
   PeerLink(boost::asio::io_context & io, LinkOptions options, PeerView & view,
            const SwitchAgent & checker, Log & log, std::function< void() > changed);
   ~PeerLink();
   PeerLink(const PeerLink &) = delete;
   PeerLink & operator=(const PeerLink &) = delete;

   void start();
   // The bound listening port (0 when not listening).
   std::uint16_t port() const;
   // Bytes sent and received on every connection so far.
   std::uint64_t bytesSent() const noexcept { return bytesSent_; }
   std::uint64_t bytesReceived() const noexcept { return bytesReceived_; }

 private:
   friend class Connection;
   void accept();
   void dial();
   void scheduleDial();
   const std::shared_ptr< Connection > & track(const std::shared_ptr< Connection > & c);
   void authenticated(const std::shared_ptr< Connection > & c);
   void closed(Connection & c, const std::string & reason);

   boost::asio::io_context & io_;
   LinkOptions options_;
   PeerView & view_;
   const SwitchAgent & checker_;
   Log & log_;
   std::function< void() > changed_;
   LocalSwitch local_;
   std::string incarnation_; // random per process: tells a restarted peer
   std::optional< boost::asio::ssl::context > tls_;
   std::optional< boost::asio::ip::tcp::acceptor > acceptor_;
   boost::asio::steady_timer dialTimer_;
   std::shared_ptr< Connection > active_;
   std::shared_ptr< Connection > dialing_;                  // our own attempt, until it is closed
   std::vector< std::weak_ptr< Connection > > connections_; // all not yet destroyed
   bool dialFailureLogged_ = false;
   std::uint64_t bytesSent_ = 0, bytesReceived_ = 0;
   bool stopping_ = false;
   // Dies with the link: a dial that completes later finds it gone.
   std::shared_ptr< bool > alive_ = std::make_shared< bool >(true);
};

} // namespace MlagAgent::Peer
