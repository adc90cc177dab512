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
   char date[32];
   std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", &tm);
   char millis[8];
   std::snprintf(millis, sizeof millis, ".%03dZ",
                 static_cast< int >((unixSeconds - whole) * 1000.0) % 1000);
   std::string text = date;
   text += millis;
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
