#include "kiv/Value.h"

#include "kiv/Strep.h"

namespace Kiv {

Value Value::string(const String & text) {
   Value v;
   v.data_ = text;
   return v;
}

Value Value::integer(std::int64_t number) {
   Value v;
   v.data_ = number;
   return v;
}

Value Value::boolean(bool flag) {
   Value v;
   v.data_ = flag;
   return v;
}

Value Value::structured(const PtrConst< StructValue > & fields) {
   Value v;
   if (fields) v.data_ = fields;
   return v;
}

const String & Value::stringValue() const noexcept {
   static const String none;
   const String * text = std::get_if< String >(&data_);
   return text ? *text : none;
}

std::int64_t Value::integerValue() const noexcept {
   if (const std::int64_t * number = std::get_if< std::int64_t >(&data_)) return *number;
   if (const bool * flag = std::get_if< bool >(&data_)) return *flag ? 1 : 0;
   return 0;
}

const PtrConst< StructValue > & Value::structValue() const noexcept {
   static const PtrConst< StructValue > none;
   const PtrConst< StructValue > * fields = std::get_if< PtrConst< StructValue > >(&data_);
   return fields ? *fields : none;
}

String Value::strep() const {
   switch (kind()) {
      case Kind::none:
         return String();
      case Kind::string:
         return valueToStrep(stringValue());
      case Kind::integer:
         return String(std::to_string(integerValue()));
      case Kind::boolean:
         return String(booleanValue() ? "true" : "false");
      case Kind::structured: {
         const StructValue & fields = *structValue();
         std::string out = "Value(" + valueToStrep(fields.typeName()).stdString() + ", ** {";
         const char * separator = "";
         for (const auto & [name, field] : fields.fields()) {
            out += separator;
            out += valueToStrep(String(name)).view();
            out += ": ";
            out += field.strep().view();
            separator = ", ";
         }
         out += "})";
         return String(out);
      }
   }
   return String();
}

bool Value::operator==(const Value & o) const {
   if (kind() != o.kind()) return false;
   if (kind() != Kind::structured) return data_ == o.data_;
   const PtrConst< StructValue > & a = structValue();
   const PtrConst< StructValue > & b = o.structValue();
   return a == b || (a->typeName() == b->typeName() && a->fields() == b->fields());
}

Value StructValue::field(const std::string & name) const {
   auto it = fields_.find(name);
   return it == fields_.end() ? Value() : it->second;
}

} // namespace Kiv
