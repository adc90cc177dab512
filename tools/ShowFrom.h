// `mlag-config-check show --from URL`: a live agent's results in the offline
// tool's views. Fetches /v1/results, /v1/catalog and /v1/status from the
// agent (a tiny HTTP/1.1 client; only http://ADDR:PORT, such as
// http://127.0.0.1:7340) and renders them with this switch first and its
// peer second; the tables are headed by the state of the peer link (in
// sync, down and stale since when, or never connected) and the plugins the
// two agents do not share.
//
//   ShowOptions o{.url = "http://127.0.0.1:7340", .mismatches = true};
//   return showFrom(o, std::cout);      // 0 all agree, 1 a mismatch
//
// Raises std::runtime_error (exit status 2 in the tool) when the agent is
// unreachable or answers with an error.
#pragma once

#include <CLI/CLI.hpp>
#include <ostream>
#include <string>

namespace MlagTool {

struct ShowOptions {
   std::string url;
   bool json = false;
   std::string reportFormat = "table";
   bool mismatches = false;
   bool summary = false;
   bool colour = false;
};

int showFrom(const ShowOptions & options, std::ostream & out);

// Registers the `show` subcommand on the tool's command line, its options
// filling `options`.
CLI::App * addShowSubcommand(CLI::App & app, ShowOptions & options);

} // namespace MlagTool
