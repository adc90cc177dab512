// Kiv::Trace::Arg< T >: how a value of type T travels through a trace
// statement. Arg< T >::wire(value) turns the value into one of the wire forms
// of trace/Wire.h; the ring record stores that form in binary and the text
// line and the ring decoder render it alike, so a value is converted once
// for both outputs. Values render in their framework string form:
//
//   Kiv::String, Kiv::Name            quoted: 'mtu'
//   integers                          decimal
//   bool                              1 or 0
//   float, double                     %g
//   const char *, std::string(_view)  the text as it is (a null pointer: nothing)
//   Kiv::Ptr< an entity type >        its quoted name ('' for null)
//
// A type of your own joins in one of two ways. The simple one: declare, next
// to the type, a free function that argument-dependent lookup finds and that
// returns the finished text; it runs at every emission, even with the level off:
//
//   Kiv::String kivTraceText(const IntfId & id);       // e.g. 'Ethernet1'
//
// The lean one, which keeps a disabled statement free of formatting: a
// specialisation whose wire() refers to storage the value itself holds:
//
//   template <>
//   struct Kiv::Trace::Arg< Mlag::Intf > {
//      static Kiv::Trace::QuotedRef wire(const Mlag::Intf & i) { return {i.name().view()}; }
//   };
//
// A specialisation wins over kivTraceText. A type with neither does not compile.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "kiv/Entity.h"
#include "kiv/String.h"
#include "trace/Wire.h"

namespace Kiv::Trace {

template < class T, class = void >
struct Arg;

template < class T >
struct Arg< T, std::enable_if_t< std::is_integral_v< T > && std::is_signed_v< T > > > {
   static std::int64_t wire(T value) { return value; }
};
template < class T >
struct Arg< T, std::enable_if_t< std::is_integral_v< T > && std::is_unsigned_v< T > > > {
   static std::uint64_t wire(T value) { return value; }
};
template <>
struct Arg< bool > {
   static bool wire(bool value) { return value; }
};
// A single character is text, not a number.
template <>
struct Arg< char > {
   static TextRef wire(const char & c) { return {std::string_view(&c, 1)}; }
};
template < class T >
struct Arg< T, std::enable_if_t< std::is_floating_point_v< T > > > {
   static double wire(T value) { return static_cast< double >(value); }
};

template <>
struct Arg< const char * > {
   static TextRef wire(const char * text) { return {text ? std::string_view(text) : ""}; }
};
template <>
struct Arg< char * > : Arg< const char * > {};
template <>
struct Arg< std::string_view > {
   static TextRef wire(std::string_view text) { return {text}; }
};
template <>
struct Arg< std::string > {
   static TextRef wire(const std::string & text) { return {text}; }
};

template <>
struct Arg< Kiv::String > {
   static QuotedRef wire(const Kiv::String & s) { return {s.view()}; }
};
template <>
struct Arg< Kiv::Name > : Arg< Kiv::String > {};

// A pointer to an entity shows as the entity's quoted name ('' when null),
// taken from the entity without formatting.
template < class T >
struct Arg< Kiv::Ptr< T >, std::enable_if_t< std::is_base_of_v< Kiv::Entity, T > > > {
   static QuotedRef wire(const Kiv::Ptr< T > & entity) {
      return {entity ? entity->name().view() : std::string_view()};
   }
};

template < class T >
struct Arg< T, std::void_t< decltype(kivTraceText(std::declval< const T & >())) > > {
   static OwnedText wire(const T & value) { return {kivTraceText(value)}; }
};

} // namespace Kiv::Trace
