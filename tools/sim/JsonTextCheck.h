// The first pass over a scenario's text: a streaming read that stops at the
// first thing the loader refuses before any tree is built, so that memory and
// time stay linear in the input and nothing later recurses deeper than the
// nesting limit.
//
//   checkJsonText(R"({"a": 1, "a": 2})");    // {"/a", "duplicate member 'a'"}
//   checkJsonText("[[[...65 levels...]]]");  // nesting deeper than 64 levels
//   checkJsonText(R"({"a": {"a": 1}})");     // nullopt: a tree may be built
//
// It refuses syntax errors (at "line L, column C"), a member named twice in
// one object (the tree would keep only the last), nesting deeper than the
// limit, a member name or string longer than the limit, and numbers that are
// not integers of 64 bits (every number of the format is one).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace MlagSim {

struct JsonTextLimits {
   std::size_t depth = 64;        // objects and arrays, the outermost counting as one
   std::size_t textBytes = 65536; // a member name or a string
};

struct JsonTextProblem {
   std::string location; // a JSON pointer, "top level", or "line L, column C"
   std::string message;
};

std::optional< JsonTextProblem > checkJsonText(std::string_view text,
                                               const JsonTextLimits & limits = {});

} // namespace MlagSim
