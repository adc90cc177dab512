// The wire forms of trace values: the few shapes a traced value takes on its
// way into a ring record and a text line, their binary encoding and their
// text. Both the emitting statement and the ring decoder render through the
// functions here, so a decoded record reads exactly like the line emitted.
//
//   char * out = ...;                                  // Wire< W >::size(w) bytes
//   Kiv::Trace::Wire< Kiv::Trace::QuotedRef >::encode(QuotedRef{"mtu"}, out);
//   Kiv::Trace::appendDecoded(ArgCode::quoted, in, end, text);   // text += "'mtu'"
//
// Encoding: integers and doubles as 8 native-order bytes, bool as one byte,
// texts as a 4-byte length and the bytes. Records never leave the process,
// so native byte order serves.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "kiv/String.h"

namespace Kiv::Trace {

// The type code of one segment of a message: a static text piece or a value.
enum class ArgCode : std::uint8_t { piece, integer, unsignedInteger, boolean, real, text, quoted };

// A static text piece: the text lives in the message descriptor, not in records.
struct Piece {};
// Text shown as it is; points at storage that outlives the trace statement.
struct TextRef {
   std::string_view view;
};
// Text shown in the framework's quoted string form ('mtu').
struct QuotedRef {
   std::string_view view;
};
// Text shown as it is, owned by the statement while it runs.
struct OwnedText {
   Kiv::String text;
};

void appendInteger(std::string & out, std::int64_t value);
void appendUnsigned(std::string & out, std::uint64_t value);
void appendReal(std::string & out, double value);
void appendQuoted(std::string & out, std::string_view text);

// Decodes one value of type `code` at `in`, appends its text and moves `in`
// past it. Returns false, appending nothing, when the value would reach past
// `end`. A piece takes no bytes and appends nothing: its text is the descriptor's.
bool appendDecoded(ArgCode code, const char *& in, const char * end, std::string & out);

template < class W >
struct Wire;

template <>
struct Wire< Piece > {
   static constexpr ArgCode code = ArgCode::piece;
   static std::size_t size(Piece) { return 0; }
   static void encode(Piece, char *&) {}
};

template < class N, ArgCode C >
struct NumberWire {
   static constexpr ArgCode code = C;
   static std::size_t size(N) { return sizeof(N); }
   static void encode(N value, char *& out) {
      std::memcpy(out, &value, sizeof(N));
      out += sizeof(N);
   }
};

template <>
struct Wire< std::int64_t > : NumberWire< std::int64_t, ArgCode::integer > {
   static void appendText(std::int64_t value, std::string & out) { appendInteger(out, value); }
};
template <>
struct Wire< std::uint64_t > : NumberWire< std::uint64_t, ArgCode::unsignedInteger > {
   static void appendText(std::uint64_t value, std::string & out) { appendUnsigned(out, value); }
};
template <>
struct Wire< double > : NumberWire< double, ArgCode::real > {
   static void appendText(double value, std::string & out) { appendReal(out, value); }
};
template <>
struct Wire< bool > {
   static constexpr ArgCode code = ArgCode::boolean;
   static std::size_t size(bool) { return 1; }
   static void encode(bool value, char *& out) { *out++ = value ? 1 : 0; }
   static void appendText(bool value, std::string & out) { out += value ? '1' : '0'; }
};

template < ArgCode C >
struct TextWire {
   static constexpr ArgCode code = C;
   static std::size_t size(std::string_view text) { return 4 + text.size(); }
   static void encode(std::string_view text, char *& out) {
      auto length = static_cast< std::uint32_t >(text.size());
      std::memcpy(out, &length, 4);
      // An empty view may carry a null pointer (a null entity's name), which
      // memcpy must not see even for no bytes.
      if (!text.empty()) std::memcpy(out + 4, text.data(), text.size());
      out += 4 + text.size();
   }
};

template <>
struct Wire< TextRef > : TextWire< ArgCode::text > {
   static std::size_t size(const TextRef & t) { return TextWire::size(t.view); }
   static void encode(const TextRef & t, char *& out) { TextWire::encode(t.view, out); }
   static void appendText(const TextRef & t, std::string & out) { out += t.view; }
};
template <>
struct Wire< OwnedText > : TextWire< ArgCode::text > {
   static std::size_t size(const OwnedText & t) { return TextWire::size(t.text.view()); }
   static void encode(const OwnedText & t, char *& out) { TextWire::encode(t.text.view(), out); }
   static void appendText(const OwnedText & t, std::string & out) { out += t.text.view(); }
};
template <>
struct Wire< QuotedRef > : TextWire< ArgCode::quoted > {
   static std::size_t size(const QuotedRef & t) { return TextWire::size(t.view); }
   static void encode(const QuotedRef & t, char *& out) { TextWire::encode(t.view, out); }
   static void appendText(const QuotedRef & t, std::string & out) { appendQuoted(out, t.view); }
};

} // namespace Kiv::Trace
