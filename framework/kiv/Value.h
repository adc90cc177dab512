// Kiv::Value: one attribute value of a dynamic entity: none, a string, an
// integer, a boolean, or a structured value (a named type with fields).
//
//   Kiv::Value v = Kiv::Value::integer(9000);
//   v.strep();                               // "9000"
//   Kiv::Value::string("active").strep();    // "'active'"
//
// Text forms: a string renders quoted (see Strep.h), an integer in decimal, a
// boolean as true or false, none as empty text, and a structured value as
// Value('Type', ** {'field': text, ...}) with its fields in byte order of name.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>

#include "kiv/Ptr.h"
#include "kiv/String.h"

namespace Kiv {

class StructValue;

class Value {
 public:
   enum class Kind { none, string, integer, boolean, structured };

   Value() = default;
   static Value string(const String & text);
   static Value integer(std::int64_t number);
   static Value boolean(bool flag);
   static Value structured(const PtrConst< StructValue > & fields);

   Kind kind() const noexcept { return static_cast< Kind >(data_.index()); }
   bool isNone() const noexcept { return kind() == Kind::none; }
   // The text of a string value; empty for any other kind.
   const String & stringValue() const noexcept;
   // An integer, or a boolean as 1 or 0; 0 for any other kind.
   std::int64_t integerValue() const noexcept;
   bool booleanValue() const noexcept { return integerValue() != 0; }
   // The fields of a structured value; null for any other kind.
   const PtrConst< StructValue > & structValue() const noexcept;

   String strep() const;
   bool operator==(const Value & o) const;

 private:
   // One alternative per Kind, in its order: a configuration holds one Value
   // per attribute, so the value stays as small as its largest member.
   std::variant< std::monostate, String, std::int64_t, bool, PtrConst< StructValue > > data_;
};

// The fields of a structured value; immutable once shared.
class StructValue : public PtrInterface {
 public:
   explicit StructValue(const String & typeName) : typeName_(typeName) {}

   const String & typeName() const noexcept { return typeName_; }
   bool hasField(const std::string & name) const { return fields_.count(name) != 0; }
   Value field(const std::string & name) const;
   void fieldIs(const std::string & name, const Value & value) { fields_[name] = value; }
   // Fields in byte order of name.
   const std::map< std::string, Value > & fields() const noexcept { return fields_; }

 private:
   String typeName_;
   std::map< std::string, Value > fields_;
};

} // namespace Kiv
