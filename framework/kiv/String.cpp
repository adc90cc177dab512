#include "kiv/String.h"

#include <cstdlib>
#include <new>

#include "kiv/Ptr.h"
#include "kiv/Strep.h"

namespace Kiv {

bool String::Data::operator==(const Data & o) const noexcept {
   return size_ == o.size_ && hash_ == o.hash_ && std::memcmp(text_, o.text_, size_) == 0;
}

bool String::Data::operator<(const Data & o) const noexcept {
   return std::string_view(text_, size_) < std::string_view(o.text_, o.size_);
}

std::uint32_t String::hashOf(std::string_view text) noexcept {
   std::uint32_t h = 2166136261u; // FNV-1a
   for (unsigned char c : text) {
      h ^= c;
      h *= 16777619u;
   }
   return h;
}

String::String(const char * chars) : String(std::string_view(chars ? chars : "")) {}

String::String(const char * chars, std::size_t length) : String(std::string_view(chars, length)) {}

String::String(std::string_view text) : String(join({text})) {}

String String::join(std::initializer_list< std::string_view > pieces) {
   std::size_t size = 0;
   for (std::string_view piece : pieces) size += piece.size();
   String result;
   if (size == 0) return result;
   Data * data = static_cast< Data * >(::operator new(sizeof(Data) + size));
   data->refs_ = 1;
   data->size_ = static_cast< std::uint32_t >(size);
   char * out = data->text_;
   for (std::string_view piece : pieces) {
      std::memcpy(out, piece.data(), piece.size());
      out += piece.size();
   }
   *out = '\0';
   data->hash_ = hashOf({data->text_, size});
   result.data_ = data;
   return result;
}

std::uint32_t String::hash() const noexcept { return data_ ? data_->hash_ : hashOf({}); }

bool String::operator==(const String & o) const noexcept {
   if (data_ == o.data_) return true;
   if (!data_ || !o.data_) return false;
   return *data_ == *o.data_;
}

String String::substr(std::size_t start, std::size_t length) const {
   if (start >= size()) return String();
   return String(view().substr(start, length));
}

String operator+(const String & a, std::string_view b) {
   if (b.empty()) return a;
   return String::join({a.view(), b});
}

String operator+(const String & a, const String & b) { return a + b.view(); }

String operator+(const String & a, const char * b) { return a + std::string_view(b ? b : ""); }

String operator+(const String & a, const std::string & b) { return a + std::string_view(b); }

String operator+(const char * a, const String & b) {
   return String::join({std::string_view(a ? a : ""), b.view()});
}

std::ostream & operator<<(std::ostream & os, const String & s) { return os << s.view(); }

Name::Name(const char *& begin, const char * end) : String(parseQuoted(begin, end)) {}

} // namespace Kiv
