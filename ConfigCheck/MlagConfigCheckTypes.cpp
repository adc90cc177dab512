#include "MlagConfigCheckTypes.h"

#include "kiv/GenericIf.h"
#include "kiv/Strep.h"
#include "kiv/Type.h"

namespace Mlag::ConfigCheck {

namespace {

constexpr char keyPrefix[] = "Value('Mlag::ConfigCheck::SmCodefKey', ** {";

Kiv::Name parseName(const char *& begin, const char * end) {
   try {
      return Kiv::Name(begin, end);
   } catch (const Kiv::ParseException & e) {
      Kiv::rethrowFromDeserializeAttr(e, "name");
   }
}

} // namespace

SmCodefKey::SmCodefKey(const char *& begin, const char * end) {
   const char * p = begin;
   Kiv::needString(p, end, keyPrefix);
   Kiv::needString(p, end, "'name': ");
   Kiv::Name name = parseName(p, end);
   Kiv::needString(p, end, ", 'paramName': ");
   Kiv::String paramName;
   Kiv::deserializeAttr(p, end, paramName, "paramName");
   Kiv::needString(p, end, "})");
   name_ = name;
   paramName_ = paramName;
   begin = p;
}

std::uint32_t SmCodefKey::hash() const noexcept {
   const std::uint32_t fields[2] = {name_.hash(), paramName_.hash()};
   std::uint32_t h = 0;
   for (std::uint32_t field : fields) {
      for (int shift = 0; shift < 32; shift += 8) {
         h += (field >> shift) & 0xffu;
         h += h << 10;
         h ^= h >> 6;
      }
   }
   h += h << 3;
   h ^= h >> 11;
   h += h << 15;
   return h;
}

Kiv::String valueToStrep(const SmCodefKey & key) {
   // Joined piece by piece rather than through a %s pattern, so that a field
   // holding a NUL character still renders (and parses back) whole.
   return Kiv::String(keyPrefix) + "'name': " + Kiv::valueToStrep(key.name()) +
          ", 'paramName': " + Kiv::valueToStrep(key.paramName()) + "})";
}

std::ostream & operator<<(std::ostream & os, const SmCodefKey & key) {
   return os << valueToStrep(key);
}

Kiv::String kivTraceText(const SmCodefKey & key) { return valueToStrep(key); }

void registerSmCodefKeyType() {
   auto type = Kiv::kivNew< Kiv::KivType >("Mlag::ConfigCheck::SmCodefKey");
   type->attrIs("name", false);
   type->attrIs("paramName", false);
   type->attrIs("hash", false);
   Kiv::typeNodeIs(type);
}

} // namespace Mlag::ConfigCheck
