// The operator API's answers, apart from the HTTP transport: a method and a
// request target in, a status, a content type, a body and extra headers out.
//
//   GET /v1/results   this switch's member of the result JSON's "switches"
//   GET /v1/report    the verdict rows (this switch first, the peer second)
//   GET /v1/catalog   what each plugin checks
//   GET /v1/status    switch, file, last reload, peer link, backlog, counters
//   GET /metrics      Prometheus text exposition
//   GET /healthz      {"status": "ok"}
//
// Errors are JSON, {"error": "..."}: 404 for an unknown path, 405 (with
// Allow: GET) for another method on a known one. A query string is ignored.
// Stateless functions over the agent.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Agent.h"

namespace MlagAgent {

struct ApiResponse {
   unsigned status = 200;
   std::string contentType = "application/json";
   std::string body;
   std::vector< std::pair< std::string, std::string > > headers;
};

ApiResponse apiAnswer(const Agent & agent, std::string_view method, std::string_view target);

// An error answer: {"error": message} with `status`.
ApiResponse apiError(unsigned status, const std::string & message);

// The Prometheus text exposition of the agent's results and counters.
std::string metricsText(const Agent & agent);

} // namespace MlagAgent
