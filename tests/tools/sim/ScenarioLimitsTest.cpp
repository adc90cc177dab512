// The loader's limits and failure classes: each ends in one ScenarioError
// line naming the file and the place, never in a crash, a cut or a multi-line
// message, and the limits hold while reading, before any tree is built.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "ScenarioErrorOf.h"
#include "sim/Scenario.h"

namespace {

using nlohmann::json;

using MlagSimTest::errorOf;

std::string loadError(const std::string & path) {
   try {
      MlagSim::loadScenario(path);
   } catch (const MlagSim::ScenarioError & e) {
      return e.what();
   }
   return "(accepted)";
}

// A valid scenario with `member` added to switch A's configuration of p.
std::string withValue(const std::string & member) {
   return R"({"plugins": {"p": {}}, "switches": [{"name": "A", "config": {"p": {)" + member +
          R"(}}}, {"name": "B"}]})";
}

// A chain of `n` structured values under attribute s: the scenario's own
// nesting is 5 deep at p's entity, so the chain ends at depth 5 + n.
std::string structChain(std::size_t n) {
   std::string text;
   for (std::size_t i = 0; i < n; ++i) text += R"({"@type": "T", "f": )";
   text += "1";
   for (std::size_t i = 0; i < n; ++i) text += "}";
   return withValue(R"("s": )" + text);
}

TEST(ScenarioLimitsTest, NestingIsAtMost64LevelsDeep) {
   EXPECT_EQ(errorOf(structChain(59)), "(accepted)");
   std::string deepest = "/switches/0/config/p/s";
   for (int i = 0; i < 59; ++i) deepest += "/f";
   EXPECT_EQ(errorOf(structChain(60)), "s.json: " + deepest + ": nesting deeper than 64 levels");

   // 20,000 levels stop at the 65th, before any tree is built.
   const std::string deep = std::string(20000, '[') + std::string(20000, ']');
   std::string at;
   for (int i = 0; i < 64; ++i) at += "/0";
   EXPECT_EQ(errorOf(deep), "s.json: " + at + ": nesting deeper than 64 levels");
}

// Names, texts and numbers within and past their limits.
TEST(ScenarioLimitsTest, NamesTextsAndNumbersWithinTheirLimits) {
   const std::string limit(65536, 'n');
   const std::string range =
      ": expected an integer from -9223372036854775808 to 9223372036854775807, found ";
   const std::string at = "s.json: /switches/0/config/p";
   const std::pair< std::string, std::string > cases[] = {
      {"\"" + limit + "\": \"" + limit + "\"", "(accepted)"},
      {"\"" + limit + "n\": 1",
       at + ": a member name of 65537 bytes, longer than the limit of 65536"},
      {"\"t\": \"" + limit + "n\"",
       at + "/t: a text of 65537 bytes, longer than the limit of 65536"},
      {R"("n": 9223372036854775807)", "(accepted)"},
      {R"("n": -9223372036854775808)", "(accepted)"},
      {R"("n": 9223372036854775808)", at + "/n" + range + "9223372036854775808"},
      {R"("n": -9223372036854775809)", at + "/n" + range + "-9223372036854775809"},
      {R"("n": 123456789012345678901234567890)",
       at + "/n" + range + "123456789012345678901234567890"},
      {R"("n": )" + std::string(400, '9'), at + "/n" + range + std::string(36, '9') + "..."},
      {R"("n": 1e999)", at + "/n: expected an integer, found 1e999"},
      {R"("n": -1e999)", at + "/n: expected an integer, found -1e999"},
      {R"("n": 1e5)", at + "/n: expected an integer, found 1e5"},
      {R"("n": 2.0)", at + "/n: expected an integer, found 2.0"},
      // An escaped NUL is text like any other.
      {R"("t": "a\u0000b")", "(accepted)"},
   };
   for (const auto & [member, error] : cases) {
      EXPECT_EQ(errorOf(withValue(member)), error) << member.substr(0, 40);
   }
}

// Bad JSON names its line and column; the library's own prefix goes, what is
// not printable is escaped.
TEST(ScenarioLimitsTest, BadTextGivesOneCleanLine) {
   const std::string syntax = "s.json: line 1, column ";
   const std::string nul = ": a NUL byte, which JSON allows nowhere (in a string, write \\u0000)";
   const std::pair< std::string, std::string > cases[] = {
      {"{\n  \"plugins\": {},\n  \"switches\": [,]\n}",
       "s.json: line 3, column 16: syntax error while parsing value - unexpected ','; "
       "expected '[', '{', or a literal"},
      {"", syntax + "1: syntax error while parsing value - unexpected end of input; "
                    "expected '[', '{', or a literal"},
      {R"({"plugins": {"a": {}, "a": {}}})", "s.json: /plugins/a: duplicate member 'a'"},
      {R"([{"x": 1}])", "s.json: top level: expected an object, found an array"},
      {"{\"description\": \"a\xff\"}",
       syntax + "19: syntax error while parsing value - invalid string: ill-formed UTF-8 byte; "
                "last read: '\"a\\xff'"},
      {std::string("{\"description\": \"a\0b\"}", 22), syntax + "19" + nul},
      {std::string("{}\n \0]", 6), "s.json: line 2, column 2" + nul},
      // An escaped NUL or newline shows escaped.
      {R"({"plugins": {"a\u0000b": {}, "a\u0000b": {}}})",
       "s.json: /plugins/a\\u0000b: duplicate member 'a\\u0000b'"},
      {R"({"plugins": {"a\nb": {}, "a\nb": {}}})",
       "s.json: /plugins/a\\u000ab: duplicate member 'a\\u000ab'"},
      // A long bad string is not repeated whole.
      {"[\"" + std::string(100, 'x') + "\xff\"]",
       syntax +
          "103: syntax error while parsing value - invalid string: ill-formed UTF-8 byte; "
          "last read: '\"" +
          std::string(35, 'x') + "...'"},
   };
   for (const auto & [text, error] : cases) EXPECT_EQ(errorOf(text), error) << text;
}

// Linux: a sparse file of all zero bytes, an endless device, a directory.
TEST(ScenarioLimitsTest, FilesTooLargeUnreadableOrOddlyNamedGiveOneLine) {
   const std::string big = ::testing::TempDir() + "scenario-limits-test.json",
                     odd = ::testing::TempDir() + "two\nlines.json";
   { std::ofstream(odd) << "[]"; }
   { std::ofstream file(big); }
   std::filesystem::resize_file(big, 64 * 1024 * 1024 + 1);
   const std::string tooLarge = ": larger than the limit of 67108864 bytes (64 MiB)";
   EXPECT_EQ(loadError(big), big + tooLarge);
   EXPECT_EQ(loadError("/dev/zero"), "/dev/zero" + tooLarge);
   EXPECT_EQ(loadError("/"), "/: cannot read: Is a directory");
   EXPECT_EQ(loadError("/nonexistent/scenario.json"),
             "/nonexistent/scenario.json: cannot open: No such file or directory");
   // The path in a message stays on one line.
   EXPECT_EQ(
      loadError(odd),
      ::testing::TempDir() + "two\\u000alines.json: top level: expected an object, found an array");
   std::remove(big.c_str());
   std::remove(odd.c_str());
}

} // namespace
