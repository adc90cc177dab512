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
      EXPECT_EQ(
         rest(text, [&](const char *& p, const char * e) { parsed = Kiv::parseQuoted(p, e); }),
         ", next");
      EXPECT_EQ(parsed, value);
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
   Kiv::String formatted = Kiv::format("<%s|%05.1f>", wide.c_str(), 2.5);
   EXPECT_EQ(formatted.size(), wide.size() + 8);
   EXPECT_EQ(formatted.substr(formatted.size() - 7), "|002.5>");
}

} // namespace
