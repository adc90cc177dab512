#include "kiv/Strep.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace {

// Runs `parse` over `text` and returns what it left unread.
template < class F >
std::string rest(const std::string & text, F && parse) {
   const char * p = text.data();
   parse(p, text.data() + text.size());
   return std::string(p, text.data() + text.size());
}

struct StrepCase {
   const char * value;
   const char * strep;
};

void PrintTo(const StrepCase & c, std::ostream * os) { *os << c.strep; }

class StrepFormTest : public ::testing::TestWithParam< StrepCase > {};

TEST_P(StrepFormTest, QuotesEscapesAndParsesBack) {
   const StrepCase & c = GetParam();
   EXPECT_EQ(Kiv::valueToStrep(Kiv::String(c.value)), c.strep);
   EXPECT_EQ(Kiv::valueToStrep(Kiv::Name(c.value)), c.strep);

   const std::string text = std::string(c.strep) + ", next";
   Kiv::String parsed;
   EXPECT_EQ(rest(text, [&](const char *& p, const char * e) { parsed = Kiv::parseQuoted(p, e); }),
             ", next");
   EXPECT_EQ(parsed, c.value);
   EXPECT_EQ(rest(text, [](const char *& p, const char * e) { p = Kiv::strepToValueEnd(p, e); }),
             ", next");
}

INSTANTIATE_TEST_SUITE_P(
   StrepTest, StrepFormTest,
   ::testing::Values(StrepCase{"", "''"}, StrepCase{"active", "'active'"},
                     StrepCase{"it's", R"('it\'s')"}, StrepCase{R"(a\b)", R"('a\\b')"},
                     StrepCase{"'", R"('\'')"}, StrepCase{R"(\)", R"('\\')"},
                     StrepCase{R"(\')", R"('\\\'')"}, StrepCase{"''", R"('\'\'')"},
                     StrepCase{R"(x\\'y)", R"('x\\\\\'y')"}, StrepCase{"a, b", "'a, b'"},
                     StrepCase{"{'k': 1}", R"('{\'k\': 1}')"}));

class StrepGarbageTest : public ::testing::TestWithParam< const char * > {};

TEST_P(StrepGarbageTest, IsAParseErrorThatConsumesNothing) {
   const std::string text = GetParam();
   const char * p = text.data();
   const char * end = text.data() + text.size();
   EXPECT_THROW(Kiv::parseQuoted(p, end), Kiv::ParseException);
   EXPECT_EQ(p, text.data());
   EXPECT_THROW(Kiv::strepToValueEnd(p, end), Kiv::ParseException);
   Kiv::String out("kept");
   try {
      Kiv::deserializeAttr(p, end, out, "paramName");
      ADD_FAILURE() << "accepted " << text;
   } catch (const Kiv::DeserializeAttrException & e) {
      EXPECT_EQ(e.attrName(), "paramName");
      EXPECT_EQ(e.id(), Kiv::ExceptionId::deserializeAttr);
      EXPECT_NE(std::string(e.what()).find("'paramName'"), std::string::npos) << e.what();
   }
   EXPECT_EQ(p, text.data());
   EXPECT_EQ(out, "kept");
}

INSTANTIATE_TEST_SUITE_P(StrepTest, StrepGarbageTest,
                         ::testing::Values("", "active", " 'a'", "'", "'abc", R"('abc\')",
                                           R"('abc\)", R"('\\\')", "\"abc\""));

TEST(StrepTest, DeserializeAttrReadsOneValue) {
   const std::string text = R"('Port-Channel10', 'mtu'})";
   const char * p = text.data();
   const char * end = text.data() + text.size();
   Kiv::String name;
   Kiv::String param;
   Kiv::deserializeAttr(p, end, name, "name");
   Kiv::needString(p, end, ", ");
   Kiv::deserializeAttr(p, end, param, "paramName");
   Kiv::needString(p, end, "}");
   EXPECT_EQ(name, "Port-Channel10");
   EXPECT_EQ(param, "mtu");
   EXPECT_EQ(p, end);
}

TEST(StrepTest, RethrowNamesTheAttributeAndKeepsTheCause) {
   try {
      Kiv::rethrowFromDeserializeAttr(Kiv::ParseException("unterminated quoted value"), "name");
   } catch (const Kiv::Exception & e) {
      const auto * named = dynamic_cast< const Kiv::DeserializeAttrException * >(&e);
      ASSERT_NE(named, nullptr);
      EXPECT_EQ(named->attrName(), "name");
      EXPECT_STREQ(e.what(), "failed to deserialize attribute 'name': unterminated quoted value");
   }
}

struct NeedCase {
   const char * input;
   const char * literal;
   const char * error; // null when the literal matches
};

void PrintTo(const NeedCase & c, std::ostream * os) {
   *os << '"' << c.literal << "\" in \"" << c.input << '"';
}

class NeedStringTest : public ::testing::TestWithParam< NeedCase > {};

TEST_P(NeedStringTest, MatchesOrNamesBothSides) {
   const NeedCase & c = GetParam();
   const std::string text = c.input;
   const char * p = text.data();
   if (!c.error) {
      Kiv::needString(p, text.data() + text.size(), c.literal);
      EXPECT_EQ(p, text.data() + std::string(c.literal).size());
      return;
   }
   try {
      Kiv::needString(p, text.data() + text.size(), c.literal);
      ADD_FAILURE() << "matched " << c.literal;
   } catch (const Kiv::ParseException & e) {
      EXPECT_STREQ(e.what(), c.error);
      EXPECT_EQ(e.id(), Kiv::ExceptionId::parse);
   }
   EXPECT_EQ(p, text.data());
}

INSTANTIATE_TEST_SUITE_P(
   StrepTest, NeedStringTest,
   ::testing::Values(NeedCase{"Value('x')", "Value(", nullptr}, NeedCase{"{}", "", nullptr},
                     NeedCase{"", "{", "expected \"{\", found end of input"},
                     NeedCase{"Val", "Value(", "expected \"Value(\", found 'Val'"},
                     NeedCase{"{'name'", "{ ", "expected \"{ \", found '{'name''"},
                     NeedCase{"0123456789abcdefghijklmnopq", "x",
                              "expected \"x\", found '0123456789abcdefghijklmn...'"}));

TEST(StrepTest, FormatFillsAStringOfAnyLength) {
   EXPECT_EQ(Kiv::format("%s mlag%d", "mtu", 10), "mtu mlag10");
   EXPECT_TRUE(Kiv::format("%s", "").empty());
   const std::string wide(5000, 'x');
   Kiv::String formatted = Kiv::format("<%s|%05.1f>", wide.c_str(), 2.5);
   EXPECT_EQ(formatted.size(), wide.size() + 8);
   EXPECT_EQ(formatted.substr(formatted.size() - 7), "|002.5>");
}

} // namespace
