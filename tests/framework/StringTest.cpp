// Kiv::String, Kiv::Name and their string forms; Kiv::Ptr (same counts); Porta::IntfId.
#include "kiv/String.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <unordered_set>
#include <vector>

#include "kiv/Exception.h"
#include "kiv/Ptr.h"
#include "kiv/RecentStrings.h"
#include "kiv/Strep.h"
#include "porta/IntfId.h"

namespace {

TEST(StringTest, CopiesShareOneBufferAndEqualTextsMadeApartHaveEqualHashes) {
   Kiv::String a("mtu mlag10"), copy = a;
   Kiv::String & alias = copy;
   copy = alias;
   Kiv::String moved = std::move(copy);
   EXPECT_EQ(moved.charPtr(), a.charPtr());
   EXPECT_TRUE(copy.empty());
   Kiv::String b = "" + Kiv::String("mtu") + std::string(" ml") + std::string_view("ag") + "10";
   EXPECT_NE(a.charPtr(), b.charPtr());
   EXPECT_EQ(a, b);
   EXPECT_EQ(std::hash< Kiv::Name >()(Kiv::Name("mtu mlag10")), b.hash());
   EXPECT_EQ((std::unordered_set< Kiv::String >{a, b, "x"}).size(), 2u);
   a = "other";
   EXPECT_EQ(moved, "mtu mlag10"); // the shared buffer outlives its other holders
}

TEST(StringTest, EmptyStringIsOneValueHoweverMade) {
   for (const Kiv::String & s :
        {Kiv::String(), Kiv::String(""), Kiv::String(nullptr), Kiv::String("abc", 0),
         Kiv::String(std::string()), Kiv::String("abc").substr(3), Kiv::String() + ""}) {
      EXPECT_STREQ(s.charPtr(), "");
      EXPECT_EQ(s.begin(), s.end());
      EXPECT_EQ(s, Kiv::String());
      EXPECT_EQ(s.hash(), Kiv::String::hashOf(""));
   }
}

// An embedded NUL is part of the text.
TEST(StringTest, OrderingIsByteWiseLikeStdString) {
   const std::string texts[] = {"b",         "",     "ab",  "a",         "Ethernet10",
                                "Ethernet2", "\xff", "a b", {"a\0b", 3}, {"a\0c", 3}};
   for (const std::string & x : texts) {
      EXPECT_EQ(Kiv::String(x).size(), x.size());
      for (const std::string & y : texts) {
         EXPECT_EQ(Kiv::String(x) < Kiv::String(y), x < y) << x << " < " << y;
         EXPECT_EQ(Kiv::String(x) == Kiv::String(y), x == y) << x << " == " << y;
      }
   }
   EXPECT_NE(Kiv::String(texts[8]), "a"); // a C string stops at its NUL
}

TEST(StringTest, SubstrStaysWithinTheText) {
   const std::tuple< std::size_t, std::size_t, const char * > cases[] = {
      {0, 3, "mtu"}, {8, 100, "10"}, {4, std::string::npos, "mlag10"}, {9, 1, "0"}, {10, 1, ""},
      {11, 0, ""},   {2, 0, ""}};
   for (auto [start, length, expected] : cases) {
      EXPECT_EQ(Kiv::String("mtu mlag10").substr(start, length), expected)
         << start << ", " << length;
   }
}

// Equal texts made apart come back with one buffer; a text that lands on a
// taken place replaces it, and every text still reads back as itself.
TEST(StringTest, RecentStringsShareEqualTextsAndNeverMixThemUp) {
   Kiv::RecentStrings< 2 > recent;
   const Kiv::String first = recent.shared(Kiv::String("9214"));
   EXPECT_EQ(recent.shared(Kiv::String("9214")).charPtr(), first.charPtr());
   // Enough other texts to push "9214" out of its place, whichever it is.
   for (const char * text : {"1500", "active", "passive", "on", "off", ""})
      EXPECT_EQ(recent.shared(Kiv::String(text)), text);
   EXPECT_EQ(recent.shared(Kiv::String("9214")), "9214");
   EXPECT_EQ(first, "9214");
}

// Runs `parse` over `text` and returns what it left unread.
template < class F >
std::string rest(const std::string & text, F && parse) {
   const char * p = text.data();
   parse(p, text.data() + text.size());
   return std::string(p, text.data() + text.size());
}

TEST(StrepTest, QuotesEscapesAndParsesBack) {
   // Each text, then its string form.
   const char * const cases[] = {
      "",       "''",        "active",   "'active'",       "it's",     R"('it\'s')",
      R"(a\b)", R"('a\\b')", "'",        R"('\'')",        R"(\)",     R"('\\')",
      R"(\')",  R"('\\\'')", "''",       R"('\'\'')",      R"(x\\'y)", R"('x\\\\\'y')",
      "a, b",   "'a, b'",    "{'k': 1}", R"('{\'k\': 1}')"};
   for (std::size_t i = 0; i < std::size(cases); i += 2) {
      const char *value = cases[i], *strep = cases[i + 1];
      SCOPED_TRACE(strep);
      EXPECT_EQ(Kiv::valueToStrep(Kiv::String(value)), strep);
      EXPECT_EQ(Kiv::valueToStrep(Kiv::Name(value)), strep);
      const std::string text = std::string(strep) + ", next";
      Kiv::String parsed;
      Kiv::Name name;
      EXPECT_EQ(
         rest(text, [&](const char *& p, const char * e) { parsed = Kiv::parseQuoted(p, e); }),
         ", next");
      EXPECT_EQ(rest(text, [&](const char *& p, const char * e) { name = Kiv::Name(p, e); }),
                ", next");
      EXPECT_EQ(parsed, value);
      EXPECT_EQ(name, value);
      EXPECT_EQ(rest(text, [](const char *& p, const char * e) { p = Kiv::strepToValueEnd(p, e); }),
                ", next");
   }
}

TEST(StrepTest, GarbageIsAParseErrorThatConsumesNothing) {
   for (const std::string text :
        {"", "active", " 'a'", "'", "'abc", R"('abc\')", R"('abc\)", R"('\\\')", "\"abc\""}) {
      SCOPED_TRACE(text);
      const char *p = text.data(), *end = text.data() + text.size();
      EXPECT_THROW(Kiv::parseQuoted(p, end), Kiv::ParseException);
      EXPECT_THROW((Kiv::Name{p, end}), Kiv::ParseException);
      EXPECT_EQ(p, text.data());
      EXPECT_THROW(Kiv::strepToValueEnd(p, end), Kiv::ParseException);
      Kiv::String out("kept");
      try {
         Kiv::deserializeAttr(p, end, out, "paramName");
         ADD_FAILURE() << "accepted";
      } catch (const Kiv::DeserializeAttrException & e) {
         EXPECT_EQ(e.attrName(), "paramName");
         EXPECT_TRUE(
            std::string(e.what()).starts_with("failed to deserialize attribute 'paramName': "))
            << e.what();
      }
      EXPECT_EQ(p, text.data());
      EXPECT_EQ(out, "kept");
   }
}

TEST(StrepTest, NeedStringMatchesOrNamesBothSides) {
   const std::tuple< std::string, const char *, const char * > cases[] = {
      // input, literal, error (null when the literal matches)
      {"Value('x')", "Value(", nullptr},
      {"{}", "", nullptr},
      {"", "{", "expected \"{\", found end of input"},
      {"Val", "Value(", "expected \"Value(\", found 'Val'"},
      {"{'name'", "{ ", "expected \"{ \", found '{'name''"},
      {"0123456789abcdefghijklmnopq", "x", "expected \"x\", found '0123456789abcdefghijklmn...'"}};
   for (const auto & [text, literal, error] : cases) {
      SCOPED_TRACE(text);
      const char * p = text.data();
      try {
         Kiv::needString(p, text.data() + text.size(), literal);
         EXPECT_EQ(error, nullptr);
         EXPECT_EQ(p, text.data() + std::string(literal).size());
      } catch (const Kiv::ParseException & e) {
         ASSERT_NE(error, nullptr) << e.what();
         EXPECT_STREQ(e.what(), error);
         EXPECT_EQ(p, text.data());
      }
   }
}

TEST(StrepTest, FormatFillsAStringOfAnyLength) {
   EXPECT_EQ(Kiv::format("%s mlag%d", "mtu", 10), "mtu mlag10");
   const std::string wide(5000, 'x');
   EXPECT_EQ(Kiv::format("<%s|%05.1f>", wide.c_str(), 2.5), "<" + wide + "|002.5>");
}

struct Base : Kiv::PtrInterface {
   explicit Base(bool * destroyed = nullptr) : destroyed_(destroyed) {}
   ~Base() override {
      if (destroyed_) *destroyed_ = true;
   }
   bool * destroyed_;
};

struct Derived : Base {
   using Base::Base;
};

// Takes and drops a counted reference to itself while being constructed, as
// objects that register themselves with others do.
struct SelfReferencing : Kiv::PtrInterface {
   SelfReferencing() {
      Kiv::Ptr< SelfReferencing > self(this);
      refsSeen = refCount();
   }
   std::uint32_t refsSeen = 0;
};

// Copies, conversions and moves count; the last reference deletes. Run with
// plain and with atomic counts.
void expectCountingAndDeletion() {
   bool destroyed = false;
   Kiv::Ptr< Derived > d = Kiv::kivNew< Derived >(&destroyed);
   {
      Kiv::Ptr< Base > b = d;
      Kiv::PtrConst< Base > view = b;
      Kiv::Ptr< Base > moved = std::move(b);
      EXPECT_FALSE(b);
      Kiv::Ptr< Base > & alias = moved;
      moved = alias; // self-assignment keeps the object
      EXPECT_EQ(Kiv::ptrCast< Derived >(moved), d);
      EXPECT_EQ(d->refCount(), 3u);
   }
   EXPECT_EQ(d->refCount(), 1u);
   EXPECT_TRUE(Kiv::ptrCast< Derived >(Kiv::kivNew< Base >()) == nullptr);
   Kiv::Ptr< SelfReferencing > s = Kiv::kivNew< SelfReferencing >();
   EXPECT_EQ(s->refsSeen, 2u);
   EXPECT_EQ(s->refCount(), 1u);
   Kiv::Ptr< Base > taken(std::move(d));
   EXPECT_FALSE(destroyed);
   taken = nullptr;
   EXPECT_TRUE(destroyed);
}

TEST(PtrTest, CopiesCountTheLastReferenceDeletesAndValidPtrRefusesNull) {
   expectCountingAndDeletion();
   Kiv::enableThreadSafePointersIs(true);
   expectCountingAndDeletion();
   Kiv::enableThreadSafePointersIs(false);

   Kiv::Ptr< Base > p = Kiv::kivNew< Base >();
   EXPECT_EQ(Kiv::validPtr(p), p);
   try {
      Kiv::validPtr(Kiv::Ptr< Base >());
      FAIL() << "a null ValidPtr was accepted";
   } catch (const Kiv::RangeException & e) {
      EXPECT_STREQ(e.what(), "null ValidPtr");
   }
}

// Porta::IntfId, an interface name checked on the way in.
using Porta::IntfId;

// The error text for `name`, or "accepted".
std::string message(const std::string & name) {
   try {
      IntfId id{Kiv::String(name)};
   } catch (const Kiv::RangeException & e) {
      EXPECT_EQ(e.id(), Kiv::ExceptionId::range);
      return e.what();
   }
   return "accepted";
}

TEST(IntfIdTest, ValidNamesAreKeptVerbatimAndInvalidOnesRaiseARangeErrorNamingTheName) {
   for (const char * name :
        {"Ethernet1", "Ethernet3/1", "Ethernet1/2/3", "Ethernet0", "Ethernet0/0/0",
         "Ethernet4294967295/4294967295/4294967295", "Port-Channel10", "Vlan100", "Loopback0",
         "Management1", "Vlan4294967295"}) {
      IntfId id{Kiv::String(name)};
      EXPECT_EQ(id.stringValue(), name);
   }
   // Embedded NULs, and names long enough to overflow anything sized for real ones.
   std::vector< std::string > invalid = {std::string("Ether\0net1", 10), std::string(10000, 'E'),
                                         "Ethernet" + std::string(10000, '9'),
                                         "Ethernet1" + std::string(10000, '/')};
   for (const char * name :
        {"Local", "Peer", "Ethernet", "Ethernet/1", "Ethernet1//2", "Ethernet00", "Port-Channel1/1",
         "Vlan-1", "Vlan+1", "Vlan1 ", " Vlan1", "Ethernet1a", "EthernetX",
         "Ethernet1/99999999999999999999999", "Vlan00000000000000000000000000", "Port-Channel",
         "Management", "Loopback"})
      invalid.push_back(name);
   for (const std::string & name : invalid) {
      EXPECT_TRUE(message(name).starts_with("invalid interface name '")) << message(name);
   }
   const std::pair< std::string, std::string > texts[] = {
      {"Port-Channel01", "'Port-Channel01': number with a leading zero"},
      {"vlan10", "'vlan10': unknown interface type"},
      {"ethernet1", "'ethernet1': unknown interface type"},
      {"Ethernet1/", "'Ethernet1/': expected a number"},
      {"Ethernet1/2/3/4", "'Ethernet1/2/3/4': too many numbers"},
      {"Vlan4294967296", "'Vlan4294967296': number above 4294967295"},
      {std::string("Vlan1\0'", 7), "'Vlan1\\x00\\'': unexpected character after a number"},
      {"Vlan1" + std::string(100, 'x'),
       "'Vlan1" + std::string(59, 'x') + "'...: unexpected character after a number"},
   };
   for (const auto & [name, text] : texts)
      EXPECT_EQ(message(name), "invalid interface name " + text);
}

// Equality, hash and order follow the name.
TEST(IntfIdTest, FailedInitializationKeepsTheOldNameAndEmptyIsTheEmptyIdentifier) {
   IntfId id{Kiv::String("Ethernet1")}, same{Kiv::String("Ethernet1")}, b{Kiv::String("Ethernet2")};
   EXPECT_THROW(id.handleInitialized(Kiv::String("Ethernet1/")), Kiv::RangeException);
   EXPECT_EQ(id, same);
   EXPECT_TRUE(id < b && !(b < id) && !(id < same) && IntfId() < id);
   EXPECT_EQ((std::unordered_set< IntfId >{id, same, b}).size(), 2u);
   id.handleInitialized(Kiv::String());
   EXPECT_FALSE(id);
   EXPECT_EQ(id, IntfId());
}

} // namespace
