// SmCodefKey: the key of one unit of deferred work in a state machine's
// backlog: which configuration object (`name`) and which parameter of it
// (`paramName`, may be empty) need to be brought up to date. An immutable
// value; the default key (both fields empty) is the empty key.
//
//   SmCodefKey key(Kiv::Name("Port-Channel10"), "intfConfig");
//   Kiv::String text = valueToStrep(key);   // parses back: SmCodefKey(begin, end)
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>

#include "kiv/String.h"

namespace Mlag::ConfigCheck {

class SmCodefKey {
 public:
   SmCodefKey() = default;
   SmCodefKey(const Kiv::Name & name, const Kiv::String & paramName)
         : name_(name), paramName_(paramName) {}
   // Parses the string form at `begin` and leaves `begin` after it. Raises the
   // framework's parse error, or its attribute-deserialization error naming
   // "name" or "paramName".
   SmCodefKey(const char *& begin, const char * end);

   const Kiv::Name & name() const noexcept { return name_; }
   const Kiv::String & paramName() const noexcept { return paramName_; }

   bool operator==(const SmCodefKey & o) const noexcept {
      return name_ == o.name_ && paramName_ == o.paramName_;
   }
   bool operator<(const SmCodefKey & o) const noexcept {
      if (!(name_ == o.name_)) return name_ < o.name_;
      return paramName_ < o.paramName_;
   }
   // True exactly for the empty key.
   bool operator!() const noexcept { return name_.empty() && paramName_.empty(); }
   // Jenkins' one-at-a-time hash over the two field hashes.
   std::uint32_t hash() const noexcept;

 private:
   Kiv::Name name_;
   Kiv::String paramName_;
};

// "Value('Mlag::ConfigCheck::SmCodefKey', ** {'name': <name>, 'paramName': <paramName>})"
Kiv::String valueToStrep(const SmCodefKey & key);
std::ostream & operator<<(std::ostream & os, const SmCodefKey & key);
Kiv::String kivTraceText(const SmCodefKey & key);

// Registers the key's type record (attributes name, paramName, hash).
void registerSmCodefKeyType();

} // namespace Mlag::ConfigCheck

template <>
struct std::hash< Mlag::ConfigCheck::SmCodefKey > {
   std::size_t operator()(const Mlag::ConfigCheck::SmCodefKey & k) const noexcept {
      return k.hash();
   }
};
