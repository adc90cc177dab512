// Kiv::Trace::CaptureSink: while alive, the text sink; it keeps the lines it
// receives, and gives the sink it replaced back when it goes. For tests.
//
//   Kiv::Trace::CaptureSink capture;
//   codeUnderTest();
//   EXPECT_TRUE(capture.contains("no intfTable for 'mtu'"));
//
// Captures nest: destroy them in the reverse order of their creation.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "trace/Sink.h"

namespace Kiv::Trace {

class CaptureSink {
 public:
   CaptureSink();
   ~CaptureSink();
   CaptureSink(const CaptureSink &) = delete;
   CaptureSink & operator=(const CaptureSink &) = delete;

   const std::vector< Line > & lines() const noexcept { return lines_; }
   std::vector< std::string > texts() const;
   // True when some line's text contains `fragment`.
   bool contains(std::string_view fragment) const;
   void clear() noexcept { lines_.clear(); }

 private:
   TextSink previous_;
   std::vector< Line > lines_;
};

} // namespace Kiv::Trace
