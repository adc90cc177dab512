#include "trace/CaptureSink.h"

namespace Kiv::Trace {

CaptureSink::CaptureSink() : previous_(textSink()) {
   textSinkIs([this](const Line & l) { lines_.push_back(l); });
}

CaptureSink::~CaptureSink() { textSinkIs(std::move(previous_)); }

std::vector< std::string > CaptureSink::texts() const {
   std::vector< std::string > out;
   out.reserve(lines_.size());
   for (const Line & l : lines_) out.push_back(l.text);
   return out;
}

bool CaptureSink::contains(std::string_view fragment) const {
   for (const Line & l : lines_) {
      if (l.text.find(fragment) != std::string::npos) return true;
   }
   return false;
}

} // namespace Kiv::Trace
