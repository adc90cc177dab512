#include "OneLine.h"

#include <cstdio>

namespace MlagSim {

namespace {

// The length of the UTF-8 sequence at `at`, or 0 when none starts there.
std::size_t sequenceLength(std::string_view text, std::size_t at) {
   const auto lead = static_cast< unsigned char >(text[at]);
   std::size_t length = 0;
   if (lead >= 0xc2 && lead <= 0xdf) {
      length = 2;
   } else if (lead >= 0xe0 && lead <= 0xef) {
      length = 3;
   } else if (lead >= 0xf0 && lead <= 0xf4) {
      length = 4;
   } else {
      return 0;
   }
   if (text.size() - at < length) return 0;
   for (std::size_t i = 1; i < length; ++i) {
      if ((static_cast< unsigned char >(text[at + i]) & 0xc0) != 0x80) return 0;
   }
   return length;
}

} // namespace

std::string oneLine(std::string_view text) {
   std::string out;
   out.reserve(text.size());
   for (std::size_t i = 0; i < text.size();) {
      const auto c = static_cast< unsigned char >(text[i]);
      char escaped[8];
      if (c < 0x20 || c == 0x7f) {
         std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
         out += escaped;
         ++i;
      } else if (c < 0x80) {
         out += text[i++];
      } else if (const std::size_t length = sequenceLength(text, i)) {
         out.append(text.substr(i, length));
         i += length;
      } else {
         std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
         out += escaped;
         ++i;
      }
   }
   return out;
}

} // namespace MlagSim
