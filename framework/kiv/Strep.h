// String forms ("streps") of framework values and their parsers.
//
// A string or a name renders as its text in single quotes, with `\` and `'`
// escaped by a backslash: valueToStrep(String("it's")) is 'it\'s'. Every
// string form parses back to an equal value:
//
//   const char * p = text.begin();
//   Kiv::needString(p, text.end(), "{");        // literal or ParseException
//   Kiv::String s = Kiv::parseQuoted(p, text.end());
#pragma once

#include <string>
#include <string_view>

#include "kiv/Exception.h"
#include "kiv/String.h"

namespace Kiv {

String valueToStrep(const String & value);
String valueToStrep(const Name & value);

// Parses one quoted text at `begin`, leaving `begin` after the closing quote.
// Raises ParseException (and leaves `begin` unchanged) when there is none.
String parseQuoted(const char *& begin, const char * end);

// Requires `literal` at `begin` and moves past it; raises ParseException
// naming what was expected and what was found otherwise.
void needString(const char *& begin, const char * end, std::string_view literal);

// The end of the quoted value that starts at `begin` (one past its closing
// quote); raises ParseException when the value is not terminated.
const char * strepToValueEnd(const char * begin, const char * end);

// Reads one attribute value in its string form; a failure is re-raised as a
// DeserializeAttrException naming `attrName`.
void deserializeAttr(const char *& begin, const char * end, String & out,
                     const std::string & attrName);

[[noreturn]] void rethrowFromDeserializeAttr(const Exception & error, const std::string & attrName);

// printf-style formatting into a String.
String format(const char * pattern, ...) __attribute__((format(printf, 1, 2)));

} // namespace Kiv
