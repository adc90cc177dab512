#include "FaultProxy.h"

#include <array>
#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

// Everything below runs on the proxy's own thread.
struct FaultProxy::Loop {
   asio::io_context io;
   tcp::acceptor acceptor{io, tcp::endpoint(asio::ip::address_v4::loopback(), 0)};
   std::uint16_t target = 0;
   std::chrono::milliseconds delay{0};
   bool stalled = false;
   std::optional< std::size_t > cutIn, corruptIn; // bytes from now
   struct Link;
   std::vector< std::weak_ptr< Link > > links;
   std::atomic< std::size_t > accepted{0};
   std::thread thread;

   void accept();
   void closeAll();
   // Applies the one-shot faults to `n` bytes about to pass; returns how
   // many of them may pass before every link is cut (n when none is due).
   std::size_t faults(char * data, std::size_t n);
};

// One proxied connection: two sockets and a pump each way.
struct FaultProxy::Loop::Link : std::enable_shared_from_this< Link > {
   Link(Loop & l, tcp::socket from) : loop(l), client(std::move(from)), server(l.io) {}

   void start() {
      server.async_connect(tcp::endpoint(asio::ip::address_v4::loopback(), loop.target),
                           [self = shared_from_this()](const error_code & ec) {
                              if (ec) return self->close();
                              self->pump(self->client, self->server, self->up);
                              self->pump(self->server, self->client, self->down);
                           });
   }

   void close() {
      error_code ignored;
      client.close(ignored);
      server.close(ignored);
   }

   void pump(tcp::socket & from, tcp::socket & to, std::array< char, 16384 > & buffer) {
      from.async_read_some(asio::buffer(buffer), [self = shared_from_this(), &from, &to, &buffer](
                                                    const error_code & ec, std::size_t n) {
         if (ec) return self->close();
         const std::size_t pass = self->loop.faults(buffer.data(), n);
         self->hold(from, to, buffer, pass, pass < n);
      });
   }

   // Waits out the delay and any stall, then passes `n` bytes on.
   void hold(tcp::socket & from, tcp::socket & to, std::array< char, 16384 > & buffer,
             std::size_t n, bool thenCut) {
      auto timer = std::make_shared< asio::steady_timer >(loop.io);
      timer->expires_after(loop.stalled ? std::chrono::milliseconds(5) : loop.delay);
      const bool stalledNow = loop.stalled;
      timer->async_wait([self = shared_from_this(), timer, &from, &to, &buffer, n, thenCut,
                         stalledNow](const error_code &) {
         if (stalledNow) return self->hold(from, to, buffer, n, thenCut);
         asio::async_write(
            to, asio::buffer(buffer.data(), n),
            [self, &from, &to, &buffer, thenCut](const error_code & ec, std::size_t) {
               if (ec) return self->close();
               if (thenCut) return self->loop.closeAll();
               self->pump(from, to, buffer);
            });
      });
   }

   Loop & loop;
   tcp::socket client, server;
   std::array< char, 16384 > up, down;
};

void FaultProxy::Loop::accept() {
   acceptor.async_accept([this](const error_code & ec, tcp::socket socket) {
      if (ec) return;
      ++accepted;
      if (target != 0) {
         auto link = std::make_shared< Link >(*this, std::move(socket));
         links.push_back(link);
         link->start();
      }
      accept();
   });
}

void FaultProxy::Loop::closeAll() {
   for (const std::weak_ptr< Link > & weak : links)
      if (auto link = weak.lock()) link->close();
   links.clear();
}

std::size_t FaultProxy::Loop::faults(char * data, std::size_t n) {
   if (corruptIn && *corruptIn < n) {
      data[*corruptIn] = static_cast< char >(~data[*corruptIn]);
      corruptIn.reset();
   } else if (corruptIn) {
      *corruptIn -= n;
   }
   if (cutIn && *cutIn <= n) return *std::exchange(cutIn, std::nullopt);
   if (cutIn) *cutIn -= n;
   return n;
}

FaultProxy::FaultProxy() : loop_(std::make_unique< Loop >()) {
   port_ = loop_->acceptor.local_endpoint().port();
   loop_->accept();
   loop_->thread = std::thread([loop = loop_.get()] { loop->io.run(); });
}

FaultProxy::~FaultProxy() {
   asio::post(loop_->io, [loop = loop_.get()] {
      loop->closeAll();
      loop->acceptor.close();
      loop->io.stop();
   });
   loop_->thread.join();
}

template < class T >
void FaultProxy::set(T Loop::*member, std::type_identity_t< T > value) {
   asio::post(loop_->io, [loop = loop_.get(), member, value] { loop->*member = value; });
}

void FaultProxy::targetIs(std::uint16_t port) { set(&Loop::target, port); }
void FaultProxy::delayIs(std::chrono::milliseconds delay) { set(&Loop::delay, delay); }
void FaultProxy::stallIs(bool stalled) { set(&Loop::stalled, stalled); }
void FaultProxy::cutAfter(std::size_t bytes) { set(&Loop::cutIn, bytes); }
void FaultProxy::corruptAt(std::size_t offset) { set(&Loop::corruptIn, offset); }
void FaultProxy::cutAll() {
   asio::post(loop_->io, [loop = loop_.get()] { loop->closeAll(); });
}
std::size_t FaultProxy::accepted() const { return loop_->accepted; }
