#include "kiv/String.h"

#include <atomic>
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

String::String(std::string_view text) {
   if (text.empty()) return;
   void * raw = ::operator new(sizeof(Data) + text.size());
   data_ = static_cast< Data * >(raw);
   data_->refs_ = 1;
   data_->hash_ = hashOf(text);
   data_->size_ = static_cast< std::uint32_t >(text.size());
   std::memcpy(data_->text_, text.data(), text.size());
   data_->text_[text.size()] = '\0';
}

namespace {

void addRef(std::uint32_t & refs) noexcept {
   if (enableThreadSafePointers()) {
      std::atomic_ref< std::uint32_t >(refs).fetch_add(1, std::memory_order_relaxed);
   } else {
      ++refs;
   }
}

bool dropRef(std::uint32_t & refs) noexcept {
   if (enableThreadSafePointers()) {
      return std::atomic_ref< std::uint32_t >(refs).fetch_sub(1, std::memory_order_acq_rel) == 1;
   }
   return --refs == 0;
}

} // namespace

String::String(const String & o) noexcept : data_(o.data_) {
   if (data_) addRef(data_->refs_);
}

String::~String() {
   if (data_ && dropRef(data_->refs_)) ::operator delete(data_);
}

String & String::operator=(const String & o) noexcept {
   if (o.data_) addRef(o.data_->refs_);
   if (data_ && dropRef(data_->refs_)) ::operator delete(data_);
   data_ = o.data_;
   return *this;
}

String & String::operator=(String && o) noexcept {
   if (this != &o) {
      if (data_ && dropRef(data_->refs_)) ::operator delete(data_);
      data_ = o.data_;
      o.data_ = nullptr;
   }
   return *this;
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
   std::string joined;
   joined.reserve(a.size() + b.size());
   joined.append(a.view()).append(b);
   return String(joined);
}

String operator+(const String & a, const String & b) { return a + b.view(); }

String operator+(const String & a, const char * b) { return a + std::string_view(b ? b : ""); }

String operator+(const String & a, const std::string & b) { return a + std::string_view(b); }

String operator+(const char * a, const String & b) { return String(a) + b.view(); }

std::ostream & operator<<(std::ostream & os, const String & s) { return os << s.view(); }

Name::Name(const char *& begin, const char * end) : String(parseQuoted(begin, end)) {}

} // namespace Kiv
