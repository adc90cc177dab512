#include "trace/Trace.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <sstream>

#include "kiv/String.h"
#include "trace/CaptureSink.h"
#include "trace/Context.h"

namespace TraceTestCode {

void insertRequest(Kiv::String paramName, int groupId) {
   KIV_TRACE(Kiv::Trace::handle("TraceTest"), "TraceTestSource", 9,
             "Insert request for paramName=", paramName, ", groupId=", groupId);
}

// Goes through kivTraceText, the simple extension.
struct Widget {
   int id;
};
Kiv::String kivTraceText(const Widget & w) {
   return Kiv::String("<widget ") + std::to_string(w.id) + ">";
}

// Goes through an Arg specialisation, the lean extension.
struct Port {
   Kiv::String name;
};

} // namespace TraceTestCode

template <>
struct Kiv::Trace::Arg< TraceTestCode::Port > {
   static QuotedRef wire(const TraceTestCode::Port & p) { return {p.name.view()}; }
};

namespace {

using namespace Kiv::Trace;

class TraceTest : public ::testing::Test {
 protected:
   void SetUp() override {
      ringlog().enabledIs(true);
      ringlog().clear();
      trace_.levelsUpToIs(9);
   }
   void TearDown() override { ringlog().sizeIs(RingLog::defaultSize); }

   // The decoded form of a line emitted as `l`.
   static std::string decoded(const Line & l) {
      return std::to_string(l.level) + " " + l.source + ":" + std::to_string(l.line) + " " + l.text;
   }

   Handle & trace_ = handle("TraceTest");
};

std::vector< int > enabledLevels(const Handle & h) {
   std::vector< int > out;
   for (int level = -1; level <= 10; ++level) {
      if (h.levelEnabled(level)) out.push_back(level);
   }
   return out;
}

TEST(TraceHandleTest, EnvironmentSetsTheLevelsOfNewHandlesAndTheSettersChangeThem) {
   // "H" stands for the fresh handle's name.
   std::vector< std::pair< const char *, std::vector< int > > > cases = {
      {"H/9", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
      {"H/7-8", {7, 8}},
      {"*/3", {0, 1, 2, 3}},
      {"Other/9,H/5-6", {5, 6}},
      {"H/2, H/8-9", {0, 1, 2, 8, 9}},
      {"H/x,H/4-4", {4}}};
   // Settings that enable nothing.
   for (const char * none :
        {"Other/9", "H", "H/", "/9", "H/10", "H/8-7", "H/7-", "H/-7", "H/a-b", ",,"})
      cases.push_back({none, {}});
   for (std::size_t n = 0; n < cases.size(); ++n) {
      const std::string name = "EnvHandle" + std::to_string(n);
      std::string setting = cases[n].first;
      for (std::size_t at = 0; (at = setting.find('H', at)) != std::string::npos; at += name.size())
         setting.replace(at, 1, name);
      setenv("KIV_TRACE", setting.c_str(), 1);
      Handle & h = handle(name.c_str());
      unsetenv("KIV_TRACE");
      EXPECT_EQ(enabledLevels(h), cases[n].second) << "KIV_TRACE=" << setting;
   }
   // A handle is made once, with the levels the setting gave it then.
   setenv("KIV_TRACE", "*/3", 1);
   const std::string sameName = "EnvHandle0"; // another pointer, same text
   Handle & again = handle(sameName.c_str());
   EXPECT_EQ(&handle("EnvHandle0"), &again);
   unsetenv("KIV_TRACE");
   EXPECT_EQ(enabledLevels(again), cases[0].second);

   Handle & set = handle("EnvSetters"); // then the setters, from nothing enabled
   set.levelsUpToIs(-1);
   set.levelIs(9, true);
   EXPECT_EQ(enabledLevels(set), std::vector< int >{9});
   set.levelsUpToIs(2);
   set.levelIs(1, false);
   EXPECT_EQ(enabledLevels(set), (std::vector< int >{0, 2}));
   EXPECT_DEATH(set.levelIs(10, true), "level");
}

TEST_F(TraceTest, LineIsSignatureThenPiecesAndValuesInOrder) {
   CaptureSink capture;
   std::string raw = "raw";
   const char * rawPtr = "ptr";
   const Kiv::Ptr< Kiv::Entity > none;
   int line = __LINE__ + 1;
   KIV_TRACE_FN(trace_, "Src", 8, "void f(Kiv::String)", "s=", Kiv::String("mtu"),
                " n=", Kiv::Name("it's"), " i=", -42, " u=", 7u, " b=", true, false, " d=", 1.5,
                " ", raw, rawPtr, std::string_view("view"), 'c', " e=", none,
                " w=", TraceTestCode::Widget{7}, " p=", TraceTestCode::Port{"Ethernet1"});
   ASSERT_EQ(capture.lines().size(), 1u);
   const Line & l = capture.lines()[0];
   EXPECT_EQ(decoded(l), "8 Src:" + std::to_string(line) +
                            " void f(Kiv::String): s='mtu' n='it\\'s' i=-42 u=7 b=10 d=1.5 "
                            "rawptrviewc e='' w=<widget 7> p='Ethernet1'");
   EXPECT_EQ(l.handle + " " + l.function, "TraceTest void f(Kiv::String)");
   EXPECT_EQ(ringlog().decode(), std::vector< std::string >{decoded(l)});
}

// A disabled level writes only the record, and the text to the coverage
// stream when one is set.
TEST_F(TraceTest, PrettyFunctionIsTheSignatureAndADisabledLevelWritesOnlyTheRecord) {
   CaptureSink capture;
   TraceTestCode::insertRequest("mtu", 4);
   const std::string text =
      "void TraceTestCode::insertRequest(Kiv::String, int): "
      "Insert request for paramName='mtu', groupId=4";
   EXPECT_EQ(capture.texts(), std::vector< std::string >{text});
   capture.clear();
   ringlog().clear();
   trace_.levelIs(9, false);
   std::ostringstream coverage;
   coverageStreamIs(&coverage);
   TraceTestCode::insertRequest("mtu", 4);
   coverageStreamIs(nullptr);
   EXPECT_TRUE(capture.lines().empty());
   std::vector< std::string > records = ringlog().decode();
   ASSERT_EQ(records.size(), 1u);
   EXPECT_EQ(records[0].rfind("9 TraceTestSource:", 0), 0u) << records[0];
   EXPECT_NE(records[0].find(text), std::string::npos);

   ringlog().enabledIs(false);
   TraceTestCode::insertRequest("mtu", 4);
   EXPECT_EQ(ringlog().recordsWritten(), 1u);
   EXPECT_EQ(coverage.str(), text + "\n");
}

TEST_F(TraceTest, SmallRingKeepsNewestWholeRecords) {
   constexpr std::size_t ringBytes = 120;
   ringlog().sizeIs(ringBytes);
   CaptureSink capture;
   const std::size_t total = 200;
   for (std::size_t i = 0; i < total; ++i) {
      // Texts of varying length make the records stop short of the buffer's end.
      KIV_TRACE_FN(trace_, "Wrap", 9, "void r()", "i=", i, " ", std::string(i % 23, 'x'));
   }
   std::vector< std::string > records = ringlog().decode();
   ASSERT_LE(records.size(), total);
   EXPECT_EQ(ringlog().recordsWritten(), total);
   EXPECT_EQ(ringlog().recordsDropped(), total - records.size());
   // The records held are exactly the newest ones, oldest first.
   std::size_t first = total - records.size();
   for (std::size_t k = 0; k < records.size(); ++k) {
      EXPECT_EQ(records[k], decoded(capture.lines()[first + k])) << "record " << k;
   }
   // Payload of one record: 8 + 4 + 0..22 bytes, plus the 8-byte header.
   EXPECT_GE(records.size(), ringBytes / (8 + 8 + 4 + 22) - 1);

   // A record larger than the ring is dropped alone.
   ringlog().clear();
   KIV_TRACE_FN(trace_, "Big", 9, "void b()", "small");
   KIV_TRACE_FN(trace_, "Big", 9, "void b()", "big ", std::string(ringBytes, 'y'));
   records = ringlog().decode();
   ASSERT_EQ(records.size(), 1u);
   EXPECT_NE(records[0].find("void b(): small"), std::string::npos);
   EXPECT_EQ(ringlog().recordsDropped(), 1u);
}

// Captures nest and give back the sink they replaced; lines carry the
// context they ran in, and the default sink names it.
TEST_F(TraceTest, CaptureSinksNestAndLinesCarryTheirContext) {
   const Context leaf1 = contextNamed("leaf1");
   EXPECT_EQ(contextNamed(""), nullptr);
   {
      CaptureSink first;
      {
         CaptureSink second;
         KIV_TRACE_FN(trace_, "Src", 9, "void c()", "to second");
         EXPECT_TRUE(second.contains("void c(): to sec"));
      }
      ContextScope scope(leaf1);
      KIV_TRACE_FN(trace_, "Src", 9, "void c()", "to first");
      ASSERT_EQ(first.texts(), std::vector< std::string >{"void c(): to first"});
      EXPECT_EQ(first.lines()[0].context, "leaf1");
   }
   std::ostringstream err;
   std::streambuf * saved = std::cerr.rdbuf(err.rdbuf());
   {
      ContextScope outer(leaf1);
      {
         ContextScope inner(contextNamed("leaf2"));
         KIV_TRACE_FN(trace_, "Src", 9, "void c()", "in leaf2");
      }
      KIV_TRACE_FN(trace_, "Src", 9, "void c()", "back in leaf1");
   }
   KIV_TRACE_FN(trace_, "Src", 9, "void c()", "in none");
   std::cerr.rdbuf(saved);
   EXPECT_EQ(err.str(),
             "leaf2: void c(): in leaf2\nleaf1: void c(): back in leaf1\n"
             "void c(): in none\n");
}

} // namespace
