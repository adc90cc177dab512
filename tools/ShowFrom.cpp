#include "ShowFrom.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "Catalog.h"
#include "Comparison.h"
#include "Report.h"

namespace MlagTool {

namespace {

namespace http = boost::beast::http;
using Json = nlohmann::json;

struct Url {
   std::string host, port;
};

Url parseUrl(const std::string & url) {
   const std::string scheme = "http://";
   if (url.compare(0, scheme.size(), scheme) != 0) {
      throw std::runtime_error("expected an http://ADDR:PORT URL, got '" + url + "'");
   }
   std::string rest = url.substr(scheme.size());
   rest = rest.substr(0, rest.find('/'));
   const std::size_t colon = rest.rfind(':');
   if (colon == std::string::npos || colon == 0 || colon + 1 == rest.size()) {
      throw std::runtime_error("expected an http://ADDR:PORT URL, got '" + url + "'");
   }
   return {rest.substr(0, colon), rest.substr(colon + 1)};
}

Json get(const Url & url, const std::string & path) {
   boost::asio::io_context io;
   boost::beast::tcp_stream stream(io);
   boost::beast::error_code ec;
   boost::asio::ip::tcp::resolver resolver(io);
   const auto endpoints = resolver.resolve(url.host, url.port, ec);
   if (!ec) stream.connect(endpoints, ec);
   if (ec) {
      throw std::runtime_error("cannot reach the agent at " + url.host + ":" + url.port + ": " +
                               ec.message());
   }
   http::request< http::empty_body > request(http::verb::get, path, 11);
   request.set(http::field::host, url.host);
   http::write(stream, request, ec);
   boost::beast::flat_buffer buffer;
   http::response< http::string_body > response;
   if (!ec) http::read(stream, buffer, response, ec);
   if (ec) throw std::runtime_error("GET " + path + " from the agent: " + ec.message());
   if (response.result() != http::status::ok) {
      throw std::runtime_error("GET " + path + " from the agent: HTTP " +
                               std::to_string(response.result_int()) + ": " + response.body());
   }
   Json body = Json::parse(response.body(), nullptr, false);
   if (body.is_discarded()) throw std::runtime_error("GET " + path + ": the answer is not JSON");
   return body;
}

// The inverse of catalogJson.
std::vector< CatalogEntry > catalogFromJson(const Json & catalog) {
   std::vector< CatalogEntry > entries;
   for (const auto & [plugin, list] : catalog.at("plugins").items()) {
      for (const Json & e : list) {
         CatalogEntry entry;
         entry.plugin = plugin;
         entry.name = e.at("name").get< std::string >();
         entry.attribute = e.at("attribute").get< std::string >();
         entry.collection = e.at("kind") == "collection";
         entry.model = e.at("model").get< std::string >();
         entry.scope = e.at("scope").get< std::string >();
         entry.defaultVal = e.at("default").get< std::string >();
         entry.absenceImpliesDefault = e.at("absenceImpliesDefault").get< bool >();
         entry.overrides = e.at("valueOverrides").get< std::map< std::string, std::string > >();
         entry.mlagInterfacesOnly = e.at("mlagInterfacesOnly").get< bool >();
         entries.push_back(std::move(entry));
      }
   }
   return entries;
}

// What the operator must know before reading the peer column: whether it
// is live, stale or empty, and which plugins the two agents do not share.
std::string peerLinkText(const Json & status) {
   const Json link = status.value("peerLink", Json());
   if (!link.is_object()) return "peer link: not configured; the peer column is empty\n";
   const std::string state = link.value("link", "");
   std::string text = "peer link: ";
   if (link.contains("peer")) text += link["peer"].get< std::string >() + ", ";
   if (state == "connected") {
      text += "connected since " + link.value("since", "") + ", in sync";
   } else if (state == "synchronising") {
      text += "connected since " + link.value("since", "") + ", synchronising";
   } else if (state == "down") {
      text += "down since " + link.value("since", "") +
              "; the peer column holds the values last received (stale)";
   } else {
      text += "never connected; the peer column is empty";
   }
   if (link.contains("lastError") && state != "connected") {
      text += "; last error: " + link["lastError"].get< std::string >();
   }
   text += "\n";
   const Json plugins = link.value("plugins", Json::object());
   for (const auto & [plugin, verdict] : plugins.items()) {
      if (verdict != "same")
         text += "plugin " + plugin + ": " + verdict.get< std::string >() + "\n";
   }
   return text;
}

} // namespace

int showFrom(const ShowOptions & o, std::ostream & out) {
   const Url url = parseUrl(o.url);
   const std::vector< CatalogEntry > catalog = catalogFromJson(get(url, "/v1/catalog"));
   const Json status = get(url, "/v1/status");
   // The agent's own results hold the peer's values in their peer column;
   // the peer's own results stay on the peer.
   const Json link = status.value("peerLink", Json());
   const std::string peer = link.is_object() ? link.value("peer", "peer") : "peer";
   const Json result = {
      {"switches", {get(url, "/v1/results"), {{"name", peer}, {"plugins", Json::object()}}}}};
   if (o.json) {
      out << result.dump(2) << '\n';
   } else if (o.reportFormat == "json") {
      out << reportJson(result, catalog, o.mismatches).dump(2) << '\n';
   } else {
      out << peerLinkText(status) << '\n'
          << report(result, {o.mismatches, o.colour, o.summary}, catalog);
   }
   return hasMismatch(result, catalog) ? 1 : 0;
}

CLI::App * addShowSubcommand(CLI::App & app, ShowOptions & o) {
   CLI::App * show = app.add_subcommand(
      "show", "Show a running agent's results (mlag-config-checkd) in the same views");
   show->add_option("--from", o.url, "The agent's API, http://ADDR:PORT")
      ->option_text("URL")
      ->required();
   CLI::Option * json = show->add_flag("--json", o.json, "Print the result JSON and nothing else");
   show->add_option("--report", o.reportFormat, "table (default) or json")
      ->option_text("FORMAT")
      ->check(CLI::IsMember({"table", "json"}))
      ->excludes(json);
   show->add_flag("--mismatches", o.mismatches, "Show only the rows that do not agree")
      ->excludes(json);
   show->add_flag("--summary", o.summary, "Show each collection as one line per scope")
      ->excludes(json);
   return show;
}

} // namespace MlagTool
