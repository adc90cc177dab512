#include "JsonTextCheck.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <unordered_set>
#include <vector>

namespace MlagSim {

namespace {

using Json = nlohmann::json;

// A number as written, shortened when long.
std::string numberText(const std::string & text) {
   return text.size() <= 40 ? text : text.substr(0, 36) + "...";
}

bool integerShaped(const std::string & text) {
   const std::size_t digits = text.starts_with('-') ? 1 : 0;
   return text.size() > digits && text.find_first_not_of("0123456789", digits) == std::string::npos;
}

std::string numberProblem(const std::string & text) {
   if (!integerShaped(text)) return "expected an integer, found " + numberText(text);
   return "expected an integer from -9223372036854775808 to 9223372036854775807, found " +
          numberText(text);
}

// "[json.exception.parse_error.101] parse error at line 2, column 5: <what>"
// becomes {"line 2, column 5", "<what>"}, a long token in <what> shortened.
JsonTextProblem syntaxProblem(const std::string & what) {
   const std::size_t line = what.find("line ");
   const std::size_t colon = what.find(": ", line);
   if (line == std::string::npos || colon == std::string::npos) {
      return {"line 1, column 1", "invalid JSON"};
   }
   std::string message = what.substr(colon + 2);
   const std::string lastRead = "; last read: '";
   const std::size_t token = message.find(lastRead);
   if (token != std::string::npos && message.size() - token > lastRead.size() + 41) {
      message = message.substr(0, token + lastRead.size() + 36) + "...'";
   }
   return {what.substr(line, colon - line), message};
}

// Stops at the first problem; keeps one frame per open object or array.
class TextChecker : public nlohmann::json_sax< Json > {
 public:
   explicit TextChecker(const JsonTextLimits & limits) : limits_(limits) {}
   std::optional< JsonTextProblem > problem;

   bool null() override { return element(); }
   bool boolean(bool) override { return element(); }
   bool number_integer(number_integer_t) override { return element(); }
   bool number_unsigned(number_unsigned_t value) override {
      if (value <= number_unsigned_t(std::numeric_limits< std::int64_t >::max())) return element();
      return refuse(location(), numberProblem(std::to_string(value)));
   }
   bool number_float(number_float_t, const string_t & text) override {
      return refuse(location(), numberProblem(text));
   }
   bool string(string_t & text) override {
      if (text.size() > limits_.textBytes) {
         return refuse(location(), "a text of " + std::to_string(text.size()) +
                                      " bytes, longer than the limit of " +
                                      std::to_string(limits_.textBytes));
      }
      return element();
   }
   bool binary(binary_t &) override { return element(); }
   bool start_object(std::size_t) override { return open(true); }
   bool key(string_t & key) override {
      Frame & f = frames_.back();
      if (key.size() > limits_.textBytes) {
         f.hasKey = false; // the location is the object itself
         return refuse(location(), "a member name of " + std::to_string(key.size()) +
                                      " bytes, longer than the limit of " +
                                      std::to_string(limits_.textBytes));
      }
      f.key = key;
      f.hasKey = true;
      if (f.keys.insert(key).second) return true;
      return refuse(location(), "duplicate member '" + key + "'");
   }
   bool end_object() override { return close(); }
   bool start_array(std::size_t) override { return open(false); }
   bool end_array() override { return close(); }
   bool parse_error(std::size_t, const std::string & token,
                    const nlohmann::detail::exception & e) override {
      // 406: a number too large for a double, such as 1e999.
      problem =
         e.id == 406 ? JsonTextProblem{location(), numberProblem(token)} : syntaxProblem(e.what());
      return false;
   }

 private:
   struct Frame {
      bool object;
      bool hasKey = false; // objects: whether a member is being read
      std::unordered_set< std::string > keys;
      std::string key;       // objects: the member being read
      std::size_t index = 0; // arrays: the element being read
   };
   bool open(bool object) {
      if (frames_.size() == limits_.depth) {
         return refuse(location(),
                       "nesting deeper than " + std::to_string(limits_.depth) + " levels");
      }
      frames_.push_back({object, false, {}, {}, 0});
      return true;
   }
   bool close() {
      frames_.pop_back();
      return element();
   }
   bool element() {
      if (!frames_.empty() && !frames_.back().object) ++frames_.back().index;
      return true;
   }
   bool refuse(std::string location, std::string message) {
      problem = JsonTextProblem{std::move(location), std::move(message)};
      return false;
   }
   // The pointer of the element being read; "top level" outside any.
   std::string location() const {
      Json::json_pointer p;
      for (const Frame & f : frames_) {
         if (!f.object) {
            p /= f.index;
         } else if (f.hasKey) {
            p /= f.key;
         }
      }
      return p.empty() ? "top level" : p.to_string();
   }

   JsonTextLimits limits_;
   std::vector< Frame > frames_;
};

} // namespace

std::optional< JsonTextProblem > checkJsonText(std::string_view text,
                                               const JsonTextLimits & limits) {
   // The JSON reader takes a NUL byte for the end of the input, which would
   // drop whatever follows it unseen.
   if (const std::size_t nul = text.find('\0'); nul != std::string_view::npos) {
      const std::size_t lineStart = text.rfind('\n', nul) + 1; // 0 when there is none
      const auto line = std::count(text.begin(), text.begin() + lineStart, '\n') + 1;
      return JsonTextProblem{
         "line " + std::to_string(line) + ", column " + std::to_string(nul - lineStart + 1),
         "a NUL byte, which JSON allows nowhere (in a string, write \\u0000)"};
   }
   TextChecker checker(limits);
   Json::sax_parse(text, &checker);
   return checker.problem;
}

} // namespace MlagSim
