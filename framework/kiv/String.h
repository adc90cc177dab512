// Kiv::String: an immutable, counted text value whose hash is computed once,
// and Kiv::Name, the string-based name of entities and keys.
//
//   Kiv::String s("mtu");
//   Kiv::String t = s + " mlag" + "10";     // "mtu mlag10"
//   s.hash();                               // FNV-1a, cached
//
// Copies share one buffer. The empty string holds no buffer at all.
#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <new>
#include <ostream>
#include <string>
#include <string_view>

#include "kiv/RefCount.h"

namespace Kiv {

class String {
 public:
   // The shared, immutable buffer: count, cached hash, length, then the text.
   class Data {
    public:
      std::uint32_t hash() const noexcept { return hash_; }
      std::uint32_t size() const noexcept { return size_; }
      const char * chars() const noexcept { return text_; }
      bool operator==(const Data & o) const noexcept;
      bool operator<(const Data & o) const noexcept;

    private:
      friend class String;
      std::uint32_t refs_;
      std::uint32_t hash_;
      std::uint32_t size_;
      char text_[1];
   };

   String() noexcept = default;
   String(const char * chars);
   String(const char * chars, std::size_t length);
   String(std::string_view text);
   String(const std::string & text) : String(std::string_view(text)) {}
   String(const String & o) noexcept : data_(o.data_) {
      if (data_) refCountInc(data_->refs_);
   }
   String(String && o) noexcept : data_(o.data_) { o.data_ = nullptr; }
   ~String() { release(); }
   String & operator=(const String & o) noexcept {
      if (o.data_) refCountInc(o.data_->refs_);
      release();
      data_ = o.data_;
      return *this;
   }
   String & operator=(String && o) noexcept {
      if (this != &o) {
         release();
         data_ = o.data_;
         o.data_ = nullptr;
      }
      return *this;
   }
   // The texts one after the other, built in one allocation.
   static String join(std::initializer_list< std::string_view > pieces);

   const char * charPtr() const noexcept { return data_ ? data_->text_ : ""; }
   const char * begin() const noexcept { return charPtr(); }
   const char * end() const noexcept { return charPtr() + size(); }
   std::size_t size() const noexcept { return data_ ? data_->size_ : 0; }
   bool empty() const noexcept { return size() == 0; }
   // True for a non-empty text.
   explicit operator bool() const noexcept { return size() != 0; }
   std::string_view view() const noexcept { return {charPtr(), size()}; }
   std::string stdString() const { return std::string(view()); }
   // The hash of the text; the empty string hashes like any other text.
   std::uint32_t hash() const noexcept;

   String substr(std::size_t start, std::size_t length = std::string_view::npos) const;

   bool operator==(const String & o) const noexcept;
   bool operator==(const char * o) const noexcept { return view() == std::string_view(o); }
   bool operator<(const String & o) const noexcept { return view() < o.view(); }

   static std::uint32_t hashOf(std::string_view text) noexcept;

 private:
   void release() noexcept {
      if (data_ && refCountDec(data_->refs_)) ::operator delete(data_);
   }
   Data * data_ = nullptr;
};

String operator+(const String & a, std::string_view b);
String operator+(const String & a, const String & b);
// Exact matches, so that `s + "text"` picks neither conversion over the other.
String operator+(const String & a, const char * b);
String operator+(const String & a, const std::string & b);
String operator+(const char * a, const String & b);
std::ostream & operator<<(std::ostream & os, const String & s);

// A name: the same text semantics as String, a distinct type so that names
// and plain strings render and parse through their own string forms.
class Name : public String {
 public:
   using String::String;
   Name() noexcept = default;
   explicit Name(const String & s) : String(s) {}
   // Parses a name in its string form and leaves `begin` after it.
   Name(const char *& begin, const char * end);
};

} // namespace Kiv

template <>
struct std::hash< Kiv::String > {
   std::size_t operator()(const Kiv::String & s) const noexcept { return s.hash(); }
};
template <>
struct std::hash< Kiv::Name > {
   std::size_t operator()(const Kiv::Name & s) const noexcept { return s.hash(); }
};
