#include "trace/Wire.h"

#include <charconv>
#include <cstdio>

#include "kiv/Strep.h"

namespace Kiv::Trace {

namespace {

template < class N >
void appendNumber(std::string & out, N value) {
   char buf[24];
   auto result = std::to_chars(buf, buf + sizeof buf, value);
   out.append(buf, result.ptr);
}

template < class N >
bool take(const char *& in, const char * end, N & value) {
   if (static_cast< std::size_t >(end - in) < sizeof(N)) return false;
   std::memcpy(&value, in, sizeof(N));
   in += sizeof(N);
   return true;
}

bool takeText(const char *& in, const char * end, std::string_view & text) {
   std::uint32_t length = 0;
   const char * p = in;
   if (!take(p, end, length) || static_cast< std::size_t >(end - p) < length) return false;
   text = std::string_view(p, length);
   in = p + length;
   return true;
}

} // namespace

void appendInteger(std::string & out, std::int64_t value) { appendNumber(out, value); }

void appendUnsigned(std::string & out, std::uint64_t value) { appendNumber(out, value); }

void appendReal(std::string & out, double value) {
   char buf[32];
   int n = std::snprintf(buf, sizeof buf, "%g", value);
   out.append(buf, static_cast< std::size_t >(n));
}

void appendQuoted(std::string & out, std::string_view text) {
   out += valueToStrep(String(text)).view();
}

bool appendDecoded(ArgCode code, const char *& in, const char * end, std::string & out) {
   switch (code) {
      case ArgCode::integer: {
         std::int64_t value = 0;
         if (!take(in, end, value)) return false;
         Wire< std::int64_t >::appendText(value, out);
         return true;
      }
      case ArgCode::unsignedInteger: {
         std::uint64_t value = 0;
         if (!take(in, end, value)) return false;
         Wire< std::uint64_t >::appendText(value, out);
         return true;
      }
      case ArgCode::real: {
         double value = 0;
         if (!take(in, end, value)) return false;
         Wire< double >::appendText(value, out);
         return true;
      }
      case ArgCode::boolean: {
         char value = 0;
         if (!take(in, end, value)) return false;
         Wire< bool >::appendText(value != 0, out);
         return true;
      }
      case ArgCode::text: {
         std::string_view text;
         if (!takeText(in, end, text)) return false;
         Wire< TextRef >::appendText(TextRef{text}, out);
         return true;
      }
      case ArgCode::quoted: {
         std::string_view text;
         if (!takeText(in, end, text)) return false;
         Wire< QuotedRef >::appendText(QuotedRef{text}, out);
         return true;
      }
      case ArgCode::piece:
         break;
   }
   return true;
}

} // namespace Kiv::Trace
