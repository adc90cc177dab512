#include "PeerLink.h"

#include <array>
#include <boost/asio/connect.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/write.hpp>
#include <deque>
#include <openssl/err.h>

#include "Crypto.h"

namespace MlagAgent::Peer {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

std::string endpointText(const tcp::endpoint & e) {
   return e.address().to_string() + ":" + std::to_string(e.port());
}

double steadyNow() {
   return std::chrono::duration< double >(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

} // namespace

// One TCP connection (TLS over it in TLS mode) with its session. Keeps
// itself alive through its pending handlers; the link holds the active one
// and our own dial attempt.
class Connection : public std::enable_shared_from_this< Connection > {
 public:
   Connection(PeerLink & link, tcp::socket socket, bool dialed)
         : link_(link),
           socket_(std::move(socket)),
           dialed_(dialed),
           session_(
              link.local_, [this](std::string frame) { queue(std::move(frame)); },
              [this] { link_.authenticated(shared_from_this()); },
              // A batch is sent once the turn that changed the records ends.
              [this] {
                 asio::post(link_.io_, [self = shared_from_this()] {
                    if (!self->closed_) self->session_.flush();
                 });
              }),
           tick_(link.io_) {
      error_code ec;
      remote_ = endpointText(socket_.remote_endpoint(ec));
   }

   void begin() {
      // A batch goes out as soon as its turn ends; waiting for the peer's
      // acknowledgement of the last one gains nothing but delay.
      error_code ignored;
      socket_.set_option(tcp::no_delay(true), ignored);
      lastHeard_ = steadyNow();
      tickLater();
      if (!link_.tls_) {
         startSession();
         return;
      }
      tls_.emplace(std::move(socket_), *link_.tls_);
      tls_->async_handshake(
         dialed_ ? asio::ssl::stream_base::client : asio::ssl::stream_base::server,
         [self = shared_from_this()](const error_code & ec) {
            if (ec) {
               self->close("TLS handshake with " + self->remote_ +
                           " failed: " + self->errorText(ec));
               return;
            }
            self->startSession();
         });
   }

   // Idempotent. Nothing is read, sent or applied after it.
   void close(const std::string & reason) {
      if (closed_) return;
      closed_ = true;
      auto keep = shared_from_this(); // the link may drop its reference below
      session_.stop();
      tick_.cancel();
      error_code ignored;
      lowest().shutdown(tcp::socket::shutdown_both, ignored);
      lowest().close(ignored);
      link_.closed(*this, reason);
   }

   Session & session() noexcept { return session_; }
   bool dialed() const noexcept { return dialed_; }
   const std::string & remote() const noexcept { return remote_; }

 private:
   tcp::socket & lowest() { return tls_ ? tls_->next_layer() : socket_; }

   std::string errorText(const error_code & ec) const {
      std::string text = ec.message();
      if (ec.category() == asio::error::get_ssl_category()) {
         // OpenSSL's reason, as "certificate verify failed".
         const char * reason = ERR_reason_error_string(static_cast< unsigned long >(ec.value()));
         if (reason) text += std::string(" (") + reason + ")";
      }
      return text;
   }

   void startSession() {
      session_.start();
      read();
   }

   void read() {
      auto handler = [self = shared_from_this()](const error_code & ec, std::size_t n) {
         self->onRead(ec, n);
      };
      if (tls_) {
         tls_->async_read_some(asio::buffer(buffer_), handler);
      } else {
         socket_.async_read_some(asio::buffer(buffer_), handler);
      }
   }

   void onRead(const error_code & ec, std::size_t n) {
      if (closed_) return;
      if (ec) {
         close(ec == asio::error::eof ? remote_ + " closed the connection"
                                      : "reading from " + remote_ + ": " + errorText(ec));
         return;
      }
      lastHeard_ = steadyNow();
      link_.bytesReceived_ += n;
      try {
         session_.receive(buffer_.data(), n, unixNow());
      } catch (const WireError & e) {
         close("protocol error from " + remote_ + ": " + e.what());
         return;
      } catch (const std::exception & e) {
         close("applying what " + remote_ + " sent: " + e.what());
         return;
      }
      link_.changed_();
      if (!closed_) read();
   }

   void queue(std::string frame) {
      if (closed_) return;
      out_.push_back(std::move(frame));
      if (!writing_) write();
   }

   void write() {
      writing_ = true;
      auto handler = [self = shared_from_this()](const error_code & ec, std::size_t n) {
         self->writing_ = false;
         if (self->closed_) return;
         if (ec) {
            self->close("writing to " + self->remote_ + ": " + self->errorText(ec));
            return;
         }
         self->link_.bytesSent_ += n;
         self->out_.pop_front();
         if (!self->out_.empty()) self->write();
      };
      if (tls_) {
         asio::async_write(*tls_, asio::buffer(out_.front()), handler);
      } else {
         asio::async_write(socket_, asio::buffer(out_.front()), handler);
      }
   }

   void tickLater() {
      tick_.expires_after(std::chrono::duration_cast< std::chrono::steady_clock::duration >(
         std::chrono::duration< double >(link_.options_.keepalive)));
      tick_.async_wait([self = shared_from_this()](const error_code & ec) {
         if (ec || self->closed_) return;
         const double silent = steadyNow() - self->lastHeard_;
         if (silent > self->link_.options_.timeout) {
            self->close("nothing heard from " + self->remote_ + " for " +
                        std::to_string(static_cast< int >(silent)) + " s");
            return;
         }
         if (self->out_.empty()) self->session_.sendKeepalive();
         self->tickLater();
      });
   }

   PeerLink & link_;
   tcp::socket socket_;
   std::optional< asio::ssl::stream< tcp::socket > > tls_;
   bool dialed_;
   Session session_;
   asio::steady_timer tick_;
   std::string remote_;
   std::deque< std::string > out_; // the front one is being written
   bool writing_ = false;
   bool closed_ = false;
   double lastHeard_ = 0.0;
   std::array< char, 64 * 1024 > buffer_;
};

PeerLink::PeerLink(asio::io_context & io, LinkOptions options, PeerView & view,
                   const SwitchAgent & checker, Log & log, std::function< void() > changed)
      : io_(io),
        options_(std::move(options)),
        view_(view),
        checker_(checker),
        log_(log),
        changed_(std::move(changed)),
        dialTimer_(io) {
   local_.name = checker.file().sw.name;
   local_.plugins = view.localPlugins();
   local_.auth = options_.auth;
   local_.key = options_.key;
   local_.incarnation = randomBytes(incarnationBytes);
   if (options_.auth == AuthMode::tls) {
      tls_.emplace(asio::ssl::context::tls);
      tls_->set_options(asio::ssl::context::no_tlsv1 | asio::ssl::context::no_tlsv1_1 |
                        asio::ssl::context::no_sslv2 | asio::ssl::context::no_sslv3);
      try {
         tls_->use_certificate_chain_file(options_.certFile);
         tls_->use_private_key_file(options_.keyFile, asio::ssl::context::pem);
         tls_->load_verify_file(options_.caFile);
      } catch (const boost::system::system_error & e) {
         throw std::runtime_error("cannot load the TLS certificate, key or CA (" +
                                  options_.certFile + ", " + options_.keyFile + ", " +
                                  options_.caFile + "): " + e.code().message());
      }
      tls_->set_verify_mode(asio::ssl::verify_peer | asio::ssl::verify_fail_if_no_peer_cert);
   }
   if (options_.listen) {
      try {
         acceptor_.emplace(io, *options_.listen);
      } catch (const boost::system::system_error & e) {
         throw std::runtime_error("cannot listen for the peer on " +
                                  endpointText(*options_.listen) + ": " + e.code().message());
      }
   }
}

PeerLink::~PeerLink() {
   stopping_ = true;
   // Handlers still pending find their connection closed and do nothing.
   for (const std::weak_ptr< Connection > & weak : connections_) {
      if (auto c = weak.lock()) c->close("the agent is stopping");
   }
}

const std::shared_ptr< Connection > & PeerLink::track(const std::shared_ptr< Connection > & c) {
   std::erase_if(connections_, [](const std::weak_ptr< Connection > & w) { return w.expired(); });
   connections_.push_back(c);
   return c;
}

std::uint16_t PeerLink::port() const { return acceptor_ ? acceptor_->local_endpoint().port() : 0; }

void PeerLink::start() {
   if (acceptor_) accept();
   dial();
}

void PeerLink::accept() {
   acceptor_->async_accept([this](const error_code & ec, tcp::socket socket) {
      if (ec == asio::error::operation_aborted || stopping_) return;
      if (!ec) {
         error_code ignored;
         const tcp::endpoint from = socket.remote_endpoint(ignored);
         if (from.address() != options_.peer.address()) {
            log_.warning("peer link: refused a connection from " + endpointText(from) +
                         ": not the configured peer " + options_.peer.address().to_string());
         } else {
            track(std::make_shared< Connection >(*this, std::move(socket), false))->begin();
         }
      }
      accept();
   });
}

void PeerLink::dial() {
   if (stopping_ || active_ || dialing_) return;
   auto socket = std::make_shared< tcp::socket >(io_);
   socket->async_connect(
      options_.peer, [this, alive = std::weak_ptr< bool >(alive_), socket](const error_code & ec) {
         if (alive.expired() || stopping_) return;
         if (ec) {
            if (!dialFailureLogged_) {
               log_.warning("peer link: cannot reach the peer at " + endpointText(options_.peer) +
                            ": " + ec.message() + "; trying again every " +
                            nlohmann::json(options_.retry).dump() + " s");
               view_.attemptFailed("cannot reach " + endpointText(options_.peer) + ": " +
                                   ec.message());
               dialFailureLogged_ = true;
            }
            scheduleDial();
            return;
         }
         dialFailureLogged_ = false;
         if (active_) return; // the peer dialled us meanwhile
         dialing_ = track(std::make_shared< Connection >(*this, std::move(*socket), true));
         dialing_->begin();
      });
}

void PeerLink::scheduleDial() {
   dialTimer_.expires_after(std::chrono::duration_cast< std::chrono::steady_clock::duration >(
      std::chrono::duration< double >(options_.retry)));
   dialTimer_.async_wait([this](const error_code & ec) {
      if (!ec) dial();
   });
}

void PeerLink::authenticated(const std::shared_ptr< Connection > & c) {
   const PeerHello & hello = c->session().peerHello();
   if (active_) {
      const PeerHello & current = active_->session().peerHello();
      // Both ends apply the same rule to the same two connections.
      const bool preferred = c->dialed() == (local_.name < hello.switchName);
      if (current.incarnation == hello.incarnation && !preferred) {
         c->close("a session with " + hello.switchName + " is already up");
         return;
      }
      active_->close(current.incarnation == hello.incarnation
                        ? "replaced by the connection both sides keep"
                        : hello.switchName + " restarted");
   }
   active_ = c;
   if (dialing_ == c) dialing_ = nullptr;
   log_.info("peer link: session with '" + hello.switchName + "' at " + c->remote() + " up (" +
             authModeText(local_.auth) + ")");
   c->session().activate(view_, checker_.records(), unixNow());
   changed_();
}

void PeerLink::closed(Connection & c, const std::string & reason) {
   const bool wasActive = active_.get() == &c;
   if (dialing_.get() == &c) dialing_ = nullptr;
   if (stopping_) return;
   if (wasActive) {
      active_ = nullptr;
      view_.sessionDown(unixNow(), reason);
      log_.warning("peer link: session down: " + reason);
   } else {
      view_.attemptFailed(reason);
      log_.warning("peer link: connection closed: " + reason);
   }
   if (!active_) scheduleDial();
}

} // namespace MlagAgent::Peer
