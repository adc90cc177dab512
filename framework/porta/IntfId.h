// Porta::IntfId: the identifier of one network interface, built from its
// name. A value type; copies share the name's text.
//
//   Porta::IntfId id(Kiv::String("Ethernet3/1"));   // valid
//   Porta::IntfId bad(Kiv::String("eth1"));         // raises Kiv::RangeException
//   Porta::IntfId none;                             // the empty identifier, false
//
// Accepted names, case-sensitive: "Ethernet" followed by one to three numbers
// joined by '/', or "Port-Channel", "Vlan", "Loopback" or "Management"
// followed by one number. A number is "0" or a non-zero digit followed by
// digits (so "0" is accepted, "01" is not) and is at most 4294967295; no sign.
// The empty name gives the empty identifier. Identifiers compare and order
// by their name's bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "kiv/String.h"

namespace Porta {

class IntfId {
 public:
   IntfId() = default;
   explicit IntfId(const Kiv::String & name);

   // Takes `name` as this identifier's name. An invalid name raises
   // Kiv::RangeException naming it and leaves the identifier unchanged.
   void handleInitialized(const Kiv::String & name);

   // Whether `name` is an interface name (the empty name is not), without
   // raising anything.
   static bool isValidName(std::string_view name) noexcept;

   explicit operator bool() const noexcept { return !name_.empty(); }
   bool operator==(const IntfId & o) const noexcept { return name_ == o.name_; }
   bool operator<(const IntfId & o) const noexcept { return name_ < o.name_; }
   std::uint32_t hash() const noexcept { return name_.hash(); }
   Kiv::String stringValue() const { return name_; }

 private:
   Kiv::String name_; // a valid interface name, or empty
};

// The identifier's text in traces: its name in the framework's quoted form.
Kiv::String kivTraceText(const IntfId & id);

} // namespace Porta

template <>
struct std::hash< Porta::IntfId > {
   std::size_t operator()(const Porta::IntfId & id) const noexcept { return id.hash(); }
};
