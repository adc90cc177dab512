// The agent's log: one line per event on a stream (standard error by
// default), "<UTC time> <level> <message>":
//
//   2026-05-01T12:00:00.123Z info reloaded /etc/mlag/leaf1.switch.json: 3 changes
//
// Single-threaded; the stream outlives the log.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

namespace MlagAgent {

class Log {
 public:
   explicit Log(std::ostream & out) : out_(out) {}
   void info(std::string_view message) { line("info", message); }
   void warning(std::string_view message) { line("warning", message); }
   void error(std::string_view message) { line("error", message); }
   // Checker trace lines, when --trace switched them on.
   void trace(std::string_view message) { line("trace", message); }

 private:
   void line(std::string_view level, std::string_view message);
   std::ostream & out_;
};

// The wall-clock time `unixSeconds` as "YYYY-MM-DDTHH:MM:SS.mmmZ".
std::string utcText(double unixSeconds);
double unixNow();

} // namespace MlagAgent
