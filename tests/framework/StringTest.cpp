#include "kiv/String.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <unordered_set>
#include <vector>

#include "kiv/Exception.h"
#include "kiv/Ptr.h"
#include "kiv/RecentStrings.h"

namespace {

TEST(StringTest, CopiesShareOneBufferAndMovesEmptyTheSource) {
   for (bool atomic : {false, true}) {
      Kiv::enableThreadSafePointersIs(atomic);
      Kiv::String a("Port-Channel10");
      Kiv::String b = a, c;
      c = b;
      Kiv::String & alias = c;
      c = alias;
      EXPECT_EQ(c.charPtr(), a.charPtr());
      Kiv::String moved = std::move(b);
      EXPECT_EQ(moved.charPtr(), a.charPtr());
      EXPECT_TRUE(b.empty());
      a = Kiv::String();
      c = "other";
      EXPECT_EQ(moved, "Port-Channel10"); // the shared buffer outlives its other holders
   }
   Kiv::enableThreadSafePointersIs(false);
}

TEST(StringTest, EmptyStringIsOneValueHoweverMade) {
   for (const Kiv::String & s :
        {Kiv::String(), Kiv::String(""), Kiv::String(nullptr), Kiv::String("abc", 0),
         Kiv::String(std::string()), Kiv::String("abc").substr(3), Kiv::String() + ""}) {
      EXPECT_EQ(s.size(), 0u);
      EXPECT_STREQ(s.charPtr(), "");
      EXPECT_EQ(s.begin(), s.end());
      EXPECT_EQ(s, Kiv::String());
      EXPECT_EQ(s.hash(), Kiv::String::hashOf(""));
   }
}

TEST(StringTest, EqualTextsHaveEqualCachedHashes) {
   Kiv::String a("mtu mlag10");
   Kiv::String b = "" + Kiv::String("mtu") + std::string(" ml") + std::string_view("ag") + "10";
   EXPECT_NE(a.charPtr(), b.charPtr());
   EXPECT_EQ(a, b);
   EXPECT_EQ(std::hash< Kiv::Name >()(Kiv::Name("mtu mlag10")), b.hash());
   EXPECT_EQ((std::unordered_set< Kiv::String >{a, b, "x"}).size(), 2u);
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

TEST(StringTest, NameParsesItsStringFormAndAdvances) {
   const std::string text = "'Port-Channel10', 'x'", bad = "Port-Channel10";
   const char * p = text.data();
   EXPECT_EQ(Kiv::Name(p, text.data() + text.size()), "Port-Channel10");
   EXPECT_EQ(std::string(p), ", 'x'");
   const char * q = bad.data();
   EXPECT_THROW(Kiv::Name(q, bad.data() + bad.size()), Kiv::ParseException);
   EXPECT_EQ(q, bad.data());
}

// Equal texts made apart come back with one buffer; a text that lands on a
// taken place replaces it, and every text still reads back as itself.
TEST(StringTest, RecentStringsShareEqualTextsAndNeverMixThemUp) {
   Kiv::RecentStrings< 2 > recent;
   const Kiv::String first = recent.shared(Kiv::String("9214"));
   EXPECT_EQ(recent.shared(Kiv::String("9214")).charPtr(), first.charPtr());
   // Enough other texts to push "9214" out of its place, whichever it is.
   for (const char * text : {"1500", "active", "passive", "on", "off", ""}) {
      EXPECT_EQ(recent.shared(Kiv::String(text)), text);
   }
   EXPECT_EQ(recent.shared(Kiv::String("9214")), "9214");
   EXPECT_EQ(first, "9214");
}

} // namespace
