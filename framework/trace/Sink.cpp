#include "trace/Sink.h"

#include <iostream>

#include "trace/Context.h"
#include "trace/Handle.h"
#include "trace/Message.h"

namespace Kiv::Trace {

namespace {

// Never destroyed: statements may run while statics are torn down.
TextSink & sinkSlot() {
   static auto * sink = new TextSink([](const Line & l) {
      if (!l.context.empty()) std::cerr << l.context << ": ";
      std::cerr << l.text << '\n';
   });
   return *sink;
}

} // namespace

void textSinkIs(TextSink sink) { sinkSlot() = std::move(sink); }

const TextSink & textSink() { return sinkSlot(); }

void deliver(const Handle & h, const Message & m, int level, std::string text) {
   if (std::ostream * coverage = coverageStream()) *coverage << text << '\n';
   if (!h.levelEnabled(level)) return;
   // A copy, so that a sink may replace itself while it runs.
   TextSink sink = sinkSlot();
   const Context c = context();
   if (sink) {
      sink(Line{h.name(), level, m.source, m.line, m.function, std::move(text), c ? *c : ""});
   }
}

} // namespace Kiv::Trace
