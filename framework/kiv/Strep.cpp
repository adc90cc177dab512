#include "kiv/Strep.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace Kiv {

namespace {

// Shows at most a short excerpt of the input in error texts.
std::string excerpt(const char * begin, const char * end) {
   std::size_t n = static_cast< std::size_t >(end - begin);
   if (n == 0) return "end of input";
   std::string text(begin, n < 24 ? n : 24);
   return "'" + text + (n > 24 ? "...'" : "'");
}

} // namespace

String valueToStrep(const String & value) {
   std::string out;
   out.reserve(value.size() + 2);
   out.push_back('\'');
   for (char c : value.view()) {
      if (c == '\\' || c == '\'') out.push_back('\\');
      out.push_back(c);
   }
   out.push_back('\'');
   return String(out);
}

String valueToStrep(const Name & value) {
   return valueToStrep(static_cast< const String & >(value));
}

const char * strepToValueEnd(const char * begin, const char * end) {
   if (begin == end || *begin != '\'') {
      throw ParseException("expected a quoted value, found " + excerpt(begin, end));
   }
   for (const char * p = begin + 1; p != end; ++p) {
      if (*p == '\\') {
         if (++p == end) break;
      } else if (*p == '\'') {
         return p + 1;
      }
   }
   throw ParseException("unterminated quoted value");
}

String parseQuoted(const char *& begin, const char * end) {
   const char * stop = strepToValueEnd(begin, end);
   std::string text;
   text.reserve(static_cast< std::size_t >(stop - begin));
   for (const char * p = begin + 1; p != stop - 1; ++p) {
      if (*p == '\\') ++p;
      text.push_back(*p);
   }
   begin = stop;
   return String(text);
}

void needString(const char *& begin, const char * end, std::string_view literal) {
   std::size_t left = static_cast< std::size_t >(end - begin);
   if (left < literal.size() || std::string_view(begin, literal.size()) != literal) {
      throw ParseException("expected \"" + std::string(literal) + "\", found " +
                           excerpt(begin, end));
   }
   begin += literal.size();
}

void rethrowFromDeserializeAttr(const Exception & error, const std::string & attrName) {
   throw DeserializeAttrException(attrName, error.what());
}

void deserializeAttr(const char *& begin, const char * end, String & out,
                     const std::string & attrName) {
   try {
      out = parseQuoted(begin, end);
   } catch (const ParseException & e) {
      rethrowFromDeserializeAttr(e, attrName);
   }
}

String format(const char * pattern, ...) {
   va_list args;
   va_start(args, pattern);
   va_list copy;
   va_copy(copy, args);
   int n = std::vsnprintf(nullptr, 0, pattern, copy);
   va_end(copy);
   std::vector< char > buffer(n > 0 ? static_cast< std::size_t >(n) + 1 : 1, '\0');
   if (n > 0) std::vsnprintf(buffer.data(), buffer.size(), pattern, args);
   va_end(args);
   return String(buffer.data(), n > 0 ? static_cast< std::size_t >(n) : 0);
}

} // namespace Kiv
