#include "HttpServer.h"

#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <memory>
#include <optional>

#include "Api.h"

namespace MlagAgent {

namespace {

namespace beast = boost::beast;
namespace http = beast::http;
using tcp = boost::asio::ip::tcp;

// One connection: read a request, write its answer, again while keep-alive.
class Session : public std::enable_shared_from_this< Session > {
 public:
   Session(tcp::socket socket, const Agent & agent) : stream_(std::move(socket)), agent_(agent) {}

   void read() {
      parser_.emplace();
      parser_->header_limit(HttpServer::requestLimit);
      parser_->body_limit(HttpServer::requestLimit);
      // A client that stops half-way does not hold the connection forever.
      stream_.expires_after(std::chrono::seconds(30));
      http::async_read(
         stream_, buffer_, *parser_,
         [self = shared_from_this()](beast::error_code ec, std::size_t) { self->onRead(ec); });
   }

 private:
   void onRead(beast::error_code ec) {
      if (ec == http::error::end_of_stream || ec == beast::error::timeout ||
          ec == boost::asio::error::operation_aborted || ec == boost::asio::error::eof ||
          ec == boost::asio::error::connection_reset) {
         close();
         return;
      }
      ApiResponse answer;
      bool keepAlive = false;
      if (ec == http::error::header_limit || ec == http::error::body_limit ||
          ec == http::error::buffer_overflow) {
         answer = apiError(
            413, "request larger than " + std::to_string(HttpServer::requestLimit) + " bytes");
      } else if (ec) {
         answer = apiError(400, "malformed request: " + ec.message());
      } else {
         const auto & request = parser_->get();
         const auto method = request.method_string();
         const auto target = request.target();
         answer = apiAnswer(agent_, std::string_view(method.data(), method.size()),
                            std::string_view(target.data(), target.size()));
         keepAlive = request.keep_alive();
      }
      write(answer, keepAlive);
   }

   void write(const ApiResponse & answer, bool keepAlive) {
      response_.emplace(static_cast< http::status >(answer.status), 11);
      response_->set(http::field::server, "mlag-config-checkd");
      response_->set(http::field::content_type, answer.contentType);
      for (const auto & [name, value] : answer.headers) response_->set(name, value);
      response_->body() = answer.body;
      response_->keep_alive(keepAlive);
      response_->prepare_payload();
      http::async_write(stream_, *response_,
                        [self = shared_from_this(), keepAlive](beast::error_code ec, std::size_t) {
                           if (ec || !keepAlive) {
                              self->close();
                           } else {
                              self->read();
                           }
                        });
   }

   void close() {
      beast::error_code ignored;
      stream_.socket().shutdown(tcp::socket::shutdown_both, ignored);
      stream_.socket().close(ignored);
   }

   beast::tcp_stream stream_;
   beast::flat_buffer buffer_{HttpServer::requestLimit};
   std::optional< http::request_parser< http::string_body > > parser_;
   std::optional< http::response< http::string_body > > response_;
   const Agent & agent_;
};

} // namespace

HttpServer::HttpServer(boost::asio::io_context & io, const tcp::endpoint & at, const Agent & agent,
                       Log & log)
      : acceptor_(io, at), agent_(agent), log_(log) {
   accept();
}

void HttpServer::accept() {
   acceptor_.async_accept([this](beast::error_code ec, tcp::socket socket) {
      if (ec == boost::asio::error::operation_aborted) return;
      if (ec) {
         log_.warning("accept failed: " + ec.message());
      } else {
         std::make_shared< Session >(std::move(socket), agent_)->read();
      }
      accept();
   });
}

} // namespace MlagAgent
