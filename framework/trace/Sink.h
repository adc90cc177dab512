// Where trace text lines go: the text sink, which receives each line whose
// level is on, and the coverage stream, which, when set, receives every line
// of every statement that runs, with its level on or off, so that a test run
// builds the text of all statements it reaches.
//
//   Kiv::Trace::textSinkIs([](const Kiv::Trace::Line & l) { log(l.text); });
//   Kiv::Trace::coverageStreamIs(&file);    // nullptr switches it off again
//
// The default sink writes each line's text and a newline to std::cerr, after
// its context's name and ": " when it has a context (trace/Context.h). The
// sink and the stream are the process's; the caller keeps the stream alive
// while it is set. Single-threaded.
#pragma once

#include <functional>
#include <ostream>
#include <string>

namespace Kiv::Trace {

class Handle;
struct Message;

struct Line {
   std::string handle;
   int level;
   std::string source;
   int line;
   std::string function;
   std::string text;    // "<function signature>: <pieces and values>"
   std::string context; // the name of the trace context it ran in; empty for none
};

using TextSink = std::function< void(const Line &) >;

// An empty sink discards the lines.
void textSinkIs(TextSink sink);
const TextSink & textSink();

// Read by every statement whose level is off, so kept where it inlines.
inline std::ostream * coverageStream_ = nullptr;

inline void coverageStreamIs(std::ostream * stream) { coverageStream_ = stream; }
inline std::ostream * coverageStream() { return coverageStream_; }

// Hands the built `text` of statement `m` to the coverage stream, if set, and
// to the sink when `level` is on for `h`. Used by the trace statements.
void deliver(const Handle & h, const Message & m, int level, std::string text);

} // namespace Kiv::Trace
