// The operator API over HTTP/1.1 (Boost.Beast): accepts connections on one
// address, reads each request with a size limit, answers it with apiAnswer,
// and keeps the connection open while the client asks it to.
//
//   MlagAgent::HttpServer server(io, endpoint, agent, log);
//   std::cout << server.port();          // the bound port (useful with port 0)
//
// Bad requests get JSON errors: 400 malformed, 413 over the size limit.
// Single event thread; a session keeps itself alive through its pending
// handlers, so stopping the io_context and destroying it ends them all.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <cstdint>

#include "Agent.h"

namespace MlagAgent {

class HttpServer {
 public:
   // Raises boost::system::system_error when the address cannot be bound.
   HttpServer(boost::asio::io_context & io, const boost::asio::ip::tcp::endpoint & at,
              const Agent & agent, Log & log);
   HttpServer(const HttpServer &) = delete;
   HttpServer & operator=(const HttpServer &) = delete;

   std::uint16_t port() const { return acceptor_.local_endpoint().port(); }

   // The largest request (header and body) the server reads.
   static constexpr std::uint32_t requestLimit = 16 * 1024;

 private:
   void accept();

   boost::asio::ip::tcp::acceptor acceptor_;
   const Agent & agent_;
   Log & log_;
};

} // namespace MlagAgent
