#include "kiv/Value.h"

#include "kiv/Strep.h"

namespace Kiv {

Value Value::string(const String & text) {
   Value v;
   v.kind_ = Kind::string;
   v.text_ = text;
   return v;
}

Value Value::integer(std::int64_t number) {
   Value v;
   v.kind_ = Kind::integer;
   v.number_ = number;
   return v;
}

Value Value::boolean(bool flag) {
   Value v;
   v.kind_ = Kind::boolean;
   v.number_ = flag ? 1 : 0;
   return v;
}

Value Value::structured(const PtrConst< StructValue > & fields) {
   Value v;
   v.kind_ = fields ? Kind::structured : Kind::none;
   v.struct_ = fields;
   return v;
}

String Value::strep() const {
   switch (kind_) {
   case Kind::none:
      return String();
   case Kind::string:
      return valueToStrep(text_);
   case Kind::integer:
      return String(std::to_string(number_));
   case Kind::boolean:
      return String(number_ ? "true" : "false");
   case Kind::structured: {
      std::string out = "Value(" + valueToStrep(struct_->typeName()).stdString() + ", ** {";
      const char * separator = "";
      for (const auto & [name, field] : struct_->fields()) {
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
   if (kind_ != o.kind_) return false;
   switch (kind_) {
   case Kind::none:
      return true;
   case Kind::string:
      return text_ == o.text_;
   case Kind::integer:
   case Kind::boolean:
      return number_ == o.number_;
   case Kind::structured:
      if (struct_ == o.struct_) return true;
      return struct_->typeName() == o.struct_->typeName() &&
             struct_->fields() == o.struct_->fields();
   }
   return false;
}

Value StructValue::field(const std::string & name) const {
   auto it = fields_.find(name);
   return it == fields_.end() ? Value() : it->second;
}

} // namespace Kiv
