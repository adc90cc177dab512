#include "kiv/Strep.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Runs `parse` over `text` and returns what it left unread.
template < class F >
std::string rest(const std::string & text, F && parse) {
   const char * p = text.data();
   parse(p, text.data() + text.size());
   return std::string(p, text.data() + text.size());
}

TEST(StrepTest, QuotesEscapesAndParsesBack) {
   struct Case {
      const char * value;
      const char * strep;
   };
   for (const Case & c :
        {Case{"", "''"}, Case{"active", "'active'"}, Case{"it's", R"('it\'s')"},
         Case{R"(a\b)", R"('a\\b')"}, Case{"'", R"('\'')"}, Case{R"(\)", R"('\\')"},
         Case{R"(\')", R"('\\\'')"}, Case{"''", R"('\'\'')"}, Case{R"(x\\'y)", R"('x\\\\\'y')"},
         Case{"a, b", "'a, b'"}, Case{"{'k': 1}", R"('{\'k\': 1}')"}}) {
      SCOPED_TRACE(c.strep);
      EXPECT_EQ(Kiv::valueToStrep(Kiv::String(c.value)), c.strep);
      EXPECT_EQ(Kiv::valueToStrep(Kiv::Name(c.value)), c.strep);
      const std::string text = std::string(c.strep) + ", next";
      Kiv::String parsed;
      EXPECT_EQ(
         rest(text, [&](const char *& p, const char * e) { parsed = Kiv::parseQuoted(p, e); }),
         ", next");
      EXPECT_EQ(parsed, c.value);
      EXPECT_EQ(rest(text, [](const char *& p, const char * e) { p = Kiv::strepToValueEnd(p, e); }),
                ", next");
   }
}

TEST(StrepTest, GarbageIsAParseErrorThatConsumesNothing) {
   for (const std::string text :
        {"", "active", " 'a'", "'", "'abc", R"('abc\')", R"('abc\)", R"('\\\')", "\"abc\""}) {
      SCOPED_TRACE(text);
      const char * p = text.data();
      const char * end = text.data() + text.size();
      EXPECT_THROW(Kiv::parseQuoted(p, end), Kiv::ParseException);
      EXPECT_EQ(p, text.data());
      EXPECT_THROW(Kiv::strepToValueEnd(p, end), Kiv::ParseException);
      Kiv::String out("kept");
      try {
         Kiv::deserializeAttr(p, end, out, "paramName");
         ADD_FAILURE() << "accepted";
      } catch (const Kiv::DeserializeAttrException & e) {
         EXPECT_EQ(e.attrName(), "paramName");
         EXPECT_EQ(std::string(e.what()).rfind("failed to deserialize attribute 'paramName': ", 0),
                   0u)
            << e.what();
      }
      EXPECT_EQ(p, text.data());
      EXPECT_EQ(out, "kept");
   }
}

TEST(StrepTest, NeedStringMatchesOrNamesBothSides) {
   struct Case {
      const char * input;
      const char * literal;
      const char * error; // null when the literal matches
   };
   for (const Case & c : {Case{"Value('x')", "Value(", nullptr}, Case{"{}", "", nullptr},
                          Case{"", "{", "expected \"{\", found end of input"},
                          Case{"Val", "Value(", "expected \"Value(\", found 'Val'"},
                          Case{"{'name'", "{ ", "expected \"{ \", found '{'name''"},
                          Case{"0123456789abcdefghijklmnopq", "x",
                               "expected \"x\", found '0123456789abcdefghijklmn...'"}}) {
      SCOPED_TRACE(c.input);
      const std::string text = c.input;
      const char * p = text.data();
      if (!c.error) {
         Kiv::needString(p, text.data() + text.size(), c.literal);
         EXPECT_EQ(p, text.data() + std::string(c.literal).size());
         continue;
      }
      try {
         Kiv::needString(p, text.data() + text.size(), c.literal);
         ADD_FAILURE() << "matched " << c.literal;
      } catch (const Kiv::ParseException & e) {
         EXPECT_STREQ(e.what(), c.error);
      }
      EXPECT_EQ(p, text.data());
   }
}

TEST(StrepTest, FormatFillsAStringOfAnyLength) {
   EXPECT_EQ(Kiv::format("%s mlag%d", "mtu", 10), "mtu mlag10");
   const std::string wide(5000, 'x');
   Kiv::String formatted = Kiv::format("<%s|%05.1f>", wide.c_str(), 2.5);
   EXPECT_EQ(formatted.size(), wide.size() + 8);
   EXPECT_EQ(formatted.substr(formatted.size() - 7), "|002.5>");
}

} // namespace
