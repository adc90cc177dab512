// Trace statements. Each one writes a binary record into the process's ring
// (trace/RingLog.h) every time it runs and, when its handle has the level on,
// one text line to the text sink (trace/Sink.h):
//
//   KIV_TRACE(Kiv::Trace::handle("MlagConfigCheck"), "MlagConfigCheckUtil", 9,
//             "no intfTable for ", paramName);
//   // "bool Mlag::ConfigCheck::isValueDefault(...): no intfTable for 'mtu'"
//
// The arguments after the level alternate freely between string literals,
// the static text pieces, and values (trace/Arg.h says how each type shows).
// The line is the function's signature text, ": ", then the pieces and the
// values' texts in argument order. KIV_TRACE takes the signature from
// __PRETTY_FUNCTION__; KIV_TRACE_FN takes it as its fourth argument.
//
// The first run of a statement registers its message descriptor (pieces,
// value type codes, source tag, line, level, signature); later runs only
// encode the values. Pieces are recognised by their type, a char array, so a
// char array variable is taken as static text and read on the first run only.
// A statement whose level is off formats nothing and allocates nothing,
// unless a value's type goes through kivTraceText. `level` is a constant of
// the statement; the handle expression is evaluated at every run.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "trace/Arg.h"
#include "trace/Handle.h"
#include "trace/Message.h"
#include "trace/RingLog.h"
#include "trace/Sink.h"
#include "trace/Wire.h"

namespace Kiv::Trace {

template < class A >
inline constexpr bool isPiece =
   std::is_array_v< A > && std::is_same_v< std::remove_cv_t< std::remove_extent_t< A > >, char >;

template < class A >
auto wireOf(const A & value) {
   if constexpr (isPiece< A >) {
      return Piece{};
   } else {
      return Arg< A >::wire(value);
   }
}

template < class A >
Segment segmentOf(const A & value) {
   if constexpr (isPiece< A >) {
      return {ArgCode::piece,
              std::string(value, std::find(value, value + std::extent_v< A >, '\0'))};
   } else {
      using W = decltype(Arg< A >::wire(value));
      return {Wire< W >::code, {}};
   }
}

// Registers the descriptor of one statement; runs once per statement.
template < class... A >
std::uint32_t describe(const char * source, int line, int level, std::string_view function,
                       const A &... args) {
   return messageIs(Message{source, line, level, std::string(function), {segmentOf(args)...}});
}

template < class W >
void appendSegment(std::string & text, const Segment & segment, const W & value) {
   if constexpr (std::is_same_v< W, Piece >) {
      text += segment.piece;
   } else {
      Wire< W >::appendText(value, text);
   }
}

template < class... W >
[[gnu::cold, gnu::noinline]] void emitText(const Handle & h, std::uint32_t id, int level,
                                           const W &... values) {
   const Message & m = message(id);
   std::string text = m.function;
   text += ": ";
   [[maybe_unused]] std::size_t i = 0;
   (appendSegment(text, m.segments[i++], values), ...);
   deliver(h, m, level, std::move(text));
}

template < class... W >
void emitWire(const Handle & h, std::uint32_t id, int level, const W &... values) {
   RingLog & ring = ringlog();
   if (ring.enabled()) {
      if (char * out = ring.append(id, (std::size_t{0} + ... + Wire< W >::size(values)))) {
         (Wire< W >::encode(values, out), ...);
      }
   }
   if (h.levelEnabled(level) || coverageStream()) [[unlikely]] {
      emitText(h, id, level, values...);
   }
}

// One run of a registered statement.
template < class... A >
void emit(const Handle & h, std::uint32_t id, int level, const A &... args) {
   emitWire(h, id, level, wireOf(args)...);
}

} // namespace Kiv::Trace

#define KIV_TRACE_FN(handleExpr, sourceTag, level, signature, ...)                           \
   do {                                                                                      \
      static const std::uint32_t kivTraceMessage_ = ::Kiv::Trace::describe(                  \
         (sourceTag), __LINE__, (level), (signature)__VA_OPT__(, ) __VA_ARGS__);             \
      ::Kiv::Trace::emit((handleExpr), kivTraceMessage_, (level)__VA_OPT__(, ) __VA_ARGS__); \
   } while (false)

#define KIV_TRACE(handleExpr, sourceTag, level, ...) \
   KIV_TRACE_FN(handleExpr, sourceTag, level, __PRETTY_FUNCTION__ __VA_OPT__(, ) __VA_ARGS__)
