#include "Log.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace MlagAgent {

double unixNow() {
   using namespace std::chrono;
   return duration< double >(system_clock::now().time_since_epoch()).count();
}

std::string utcText(double unixSeconds) {
   const double whole = std::floor(unixSeconds);
   const auto t = static_cast< std::time_t >(whole);
   std::tm tm{};
   gmtime_r(&t, &tm);
   char text[40];
   std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", tm.tm_year + 1900,
                 tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec,
                 static_cast< int >((unixSeconds - whole) * 1000.0) % 1000);
   return text;
}

void Log::line(std::string_view level, std::string_view message) {
   // One write per line, flushed: lines of a dying process are not lost.
   std::string text = utcText(unixNow());
   text += ' ';
   text += level;
   text += ' ';
   text += message;
   text += '\n';
   out_ << text << std::flush;
}

} // namespace MlagAgent
