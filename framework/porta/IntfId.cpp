#include "porta/IntfId.h"

#include <string>
#include <string_view>

#include "kiv/Exception.h"
#include "kiv/Strep.h"

namespace Porta {

namespace {

struct IntfKind {
   std::string_view prefix;
   int maxNumbers; // numbers joined by '/' after the prefix
};

// No prefix is a prefix of another, so the first match is the only one.
constexpr IntfKind intfKinds[] = {
   {"Ethernet", 3}, {"Port-Channel", 1}, {"Vlan", 1}, {"Loopback", 1}, {"Management", 1},
};

constexpr std::uint64_t maxNumber = 4294967295u;

// Consumes one number at the front of `rest`; returns why there is none.
const char * takeNumber(std::string_view & rest) {
   std::size_t digits = 0;
   std::uint64_t value = 0;
   while (digits < rest.size() && rest[digits] >= '0' && rest[digits] <= '9') {
      // Checked digit by digit, so a long run of digits cannot overflow.
      value = value * 10 + static_cast< std::uint64_t >(rest[digits] - '0');
      if (value > maxNumber) return "number above 4294967295";
      ++digits;
   }
   if (digits == 0) return "expected a number";
   if (digits > 1 && rest[0] == '0') return "number with a leading zero";
   rest.remove_prefix(digits);
   return nullptr;
}

// Why `name` is not an interface name, or null when it is one.
const char * rejection(std::string_view name) {
   const IntfKind * kind = nullptr;
   for (const IntfKind & k : intfKinds) {
      if (name.starts_with(k.prefix)) {
         kind = &k;
         break;
      }
   }
   if (!kind) return "unknown interface type";
   std::string_view rest = name.substr(kind->prefix.size());
   for (int numbers = 1;; ++numbers) {
      if (const char * why = takeNumber(rest)) return why;
      if (rest.empty()) return nullptr;
      if (rest.front() != '/') return "unexpected character after a number";
      if (numbers == kind->maxNumbers) return "too many numbers";
      rest.remove_prefix(1);
   }
}

// The name as error text: quoted, control bytes as \xNN, cut after 64 bytes,
// so that a hostile name cannot garble or flood the message.
std::string errorText(std::string_view name) {
   constexpr std::size_t shown = 64;
   std::string out = "'";
   for (unsigned char c : name.substr(0, shown)) {
      if (c < 0x20 || c == 0x7f) {
         static constexpr char hex[] = "0123456789abcdef";
         out += "\\x";
         out += hex[c >> 4];
         out += hex[c & 15];
      } else {
         if (c == '\\' || c == '\'') out += '\\';
         out += static_cast< char >(c);
      }
   }
   out += name.size() > shown ? "'..." : "'";
   return out;
}

} // namespace

IntfId::IntfId(const Kiv::String & name) { handleInitialized(name); }

bool IntfId::isValidName(std::string_view name) noexcept {
   return !name.empty() && rejection(name) == nullptr;
}

void IntfId::handleInitialized(const Kiv::String & name) {
   if (!name.empty()) {
      if (const char * why = rejection(name.view())) {
         Kiv::throwRangeException("invalid interface name " + errorText(name.view()) + ": " + why);
      }
   }
   name_ = name;
}

Kiv::String kivTraceText(const IntfId & id) { return Kiv::valueToStrep(id.stringValue()); }

} // namespace Porta
