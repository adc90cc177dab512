#include "DuplicateMember.h"

#include <set>
#include <string>
#include <vector>

namespace MlagSim {

namespace {

// Stops at the first member that occurs twice in one object.
class DuplicateFinder : public nlohmann::json_sax< nlohmann::json > {
 public:
   // The location of the first duplicate, when one was found.
   bool duplicate = false;
   nlohmann::json::json_pointer at;

   bool null() override { return element(); }
   bool boolean(bool) override { return element(); }
   bool number_integer(number_integer_t) override { return element(); }
   bool number_unsigned(number_unsigned_t) override { return element(); }
   bool number_float(number_float_t, const string_t &) override { return element(); }
   bool string(string_t &) override { return element(); }
   bool binary(binary_t &) override { return element(); }
   bool start_object(std::size_t) override {
      frames_.push_back({true, {}, {}, 0});
      return true;
   }
   bool key(string_t & key) override {
      Frame & f = frames_.back();
      f.key = key;
      if (f.keys.insert(key).second) return true;
      duplicate = true;
      at = location();
      return false;
   }
   bool end_object() override {
      frames_.pop_back();
      return element();
   }
   bool start_array(std::size_t) override {
      frames_.push_back({false, {}, {}, 0});
      return true;
   }
   bool end_array() override {
      frames_.pop_back();
      return element();
   }
   bool parse_error(std::size_t, const std::string &,
                    const nlohmann::detail::exception &) override {
      return false;
   }

 private:
   struct Frame {
      bool object;
      std::set< std::string > keys;
      std::string key;   // objects: the member being read
      std::size_t index; // arrays: the element being read
   };
   bool element() {
      if (!frames_.empty() && !frames_.back().object) ++frames_.back().index;
      return true;
   }
   nlohmann::json::json_pointer location() const {
      nlohmann::json::json_pointer p;
      for (const Frame & f : frames_) {
         if (f.object) {
            p /= f.key;
         } else {
            p /= f.index;
         }
      }
      return p;
   }
   std::vector< Frame > frames_;
};

} // namespace

std::optional< nlohmann::json::json_pointer > findDuplicateMember(std::string_view text) {
   DuplicateFinder finder;
   nlohmann::json::sax_parse(text, &finder);
   if (!finder.duplicate) return std::nullopt;
   return finder.at;
}

} // namespace MlagSim
