// Kiv::Trace::Message: the descriptor of one trace statement, registered once
// when the statement first runs, and the registry that numbers descriptors.
// Ring records name their statement by this number and carry only the values.
//
//   std::uint32_t id = Kiv::Trace::messageIs(std::move(descriptor));
//   const Kiv::Trace::Message & m = Kiv::Trace::message(id);
//   m.function + ": " ...;                 // the start of every line of it
//
// Descriptors live until the process ends; the registry only grows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "trace/Wire.h"

namespace Kiv::Trace {

// One argument of a statement: a static text piece or the type code of a value.
struct Segment {
   ArgCode code;
   std::string piece; // the text of a piece; empty for a value
};

struct Message {
   std::string source; // the source tag, e.g. "MlagConfigCheckUtil"
   int line;           // the statement's source line
   int level;
   std::string function;            // the signature text that starts each line
   std::vector< Segment > segments; // in argument order
};

// Registers `descriptor` and returns its number.
std::uint32_t messageIs(Message descriptor);
// REQUIRES: id was returned by messageIs.
const Message & message(std::uint32_t id);

} // namespace Kiv::Trace
