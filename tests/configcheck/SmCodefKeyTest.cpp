#include "MlagConfigCheckTypes.h"

#include <gtest/gtest.h>

#include "CheckerFixture.h"
#include "kiv/Exception.h"
#include "kiv/Strep.h"

namespace {

constexpr char kivTraceSource[] = "SmCodefKeyTest";

using Mlag::ConfigCheck::SmCodefKey;

SmCodefKey key(const char * name, const char * param) { return SmCodefKey(Kiv::Name(name), param); }

SmCodefKey parse(const std::string & text, std::size_t * consumed = nullptr) {
   const char * begin = text.data();
   SmCodefKey k(begin, text.data() + text.size());
   if (consumed) *consumed = static_cast< std::size_t >(begin - text.data());
   return k;
}

// An independent one-at-a-time over the two field hashes, least significant
// byte first.
std::uint32_t referenceHash(std::uint32_t a, std::uint32_t b) {
   std::uint32_t h = 0;
   for (std::uint32_t field : {a, b}) {
      for (int byte = 0; byte < 4; ++byte) {
         h += static_cast< std::uint8_t >(field >> (8 * byte));
         h += h << 10;
         h ^= h >> 6;
      }
   }
   h += h << 3;
   h ^= h >> 11;
   h += h << 15;
   return h;
}

TEST(SmCodefKeyTest, OrderingEqualityAndEmptiness) {
   EXPECT_TRUE(!SmCodefKey());
   EXPECT_FALSE(!key("", "intfConfig"));
   EXPECT_FALSE(!key("Ethernet1", ""));
   EXPECT_EQ(key("a", "x"), key("a", "x"));
   EXPECT_FALSE(key("a", "x") == key("a", "y"));
   EXPECT_FALSE(key("a", "x") == key("b", "x"));
   // The name decides first, whatever the parameter name.
   EXPECT_TRUE(key("a", "z") < key("b", "a"));
   EXPECT_FALSE(key("b", "a") < key("a", "z"));
   EXPECT_TRUE(key("a", "x") < key("a", "y"));
   EXPECT_FALSE(key("a", "x") < key("a", "x"));
}

TEST(SmCodefKeyTest, HashIsOneAtATimeOverTheFieldHashes) {
   // Worked out independently from the FNV-1a field hashes.
   EXPECT_EQ(SmCodefKey().hash(), 378476052u);
   EXPECT_EQ(key("Port-Channel10", "intfConfig").hash(), 2289170200u);
   for (auto [n, p] : {std::pair{"Ethernet1", "vlan"}, {"", "x"}, {"g1", ""}}) {
      EXPECT_EQ(key(n, p).hash(), referenceHash(Kiv::String(n).hash(), Kiv::String(p).hash()));
   }
   // Swapping the fields changes the hash: the name's bytes come first.
   EXPECT_NE(key("a", "b").hash(), key("b", "a").hash());
}

TEST(SmCodefKeyTest, StringFormRoundTrips) {
   EXPECT_EQ(valueToStrep(key("Port-Channel10", "intfConfig")),
             "Value('Mlag::ConfigCheck::SmCodefKey', ** {'name': 'Port-Channel10', "
             "'paramName': 'intfConfig'})");
   std::ostringstream os;
   os << SmCodefKey();
   EXPECT_EQ(os.str(), "Value('Mlag::ConfigCheck::SmCodefKey', ** {'name': '', 'paramName': ''})");
   const std::string withNul("a\0b", 3);
   for (const SmCodefKey & k : {SmCodefKey(), key("it's", "back\\slash"), key("", "p"),
                                SmCodefKey(Kiv::Name(Kiv::String(withNul)), "})'")}) {
      const std::string text = valueToStrep(k).stdString() + "tail";
      std::size_t consumed = 0;
      EXPECT_EQ(parse(text, &consumed), k) << text;
      EXPECT_EQ(text.substr(consumed), "tail");
   }
}

TEST(SmCodefKeyTest, ParseFailuresNameWhatFailed) {
   const std::string good = valueToStrep(key("n", "p")).stdString();
   struct Case {
      std::string text;
      const char * attr; // null: a plain parse error
   };
   const Case cases[] = {
      {"", nullptr},
      {"garbage", nullptr},
      {good.substr(0, 20), nullptr},
      {"Value('Mlag::ConfigCheck::SmCodefKey', ** {'name': n, 'paramName': 'p'})", "name"},
      {"Value('Mlag::ConfigCheck::SmCodefKey', ** {'name': 'n", "name"},
      {"Value('Mlag::ConfigCheck::SmCodefKey', ** {'name': 'n', 'paramName': p})", "paramName"},
      {"Value('Mlag::ConfigCheck::SmCodefKey', ** {'name': 'n', 'paramName': 'p'", nullptr},
      {"Value('Mlag::ConfigCheck::SmCodefKey', ** {'name': 'n' 'paramName': 'p'})", nullptr},
      {good.substr(0, good.size() - 1), nullptr},
      {"Value('Mlag::ConfigCheck::SmCodefKey', ** {'name': '" + std::string(100000, 'x'), "name"},
   };
   for (const Case & c : cases) {
      try {
         parse(c.text);
         ADD_FAILURE() << "parsed: " << c.text.substr(0, 80);
      } catch (const Kiv::DeserializeAttrException & e) {
         ASSERT_NE(c.attr, nullptr) << c.text.substr(0, 80) << ": " << e.what();
         EXPECT_EQ(e.attrName(), c.attr);
      } catch (const Kiv::ParseException & e) {
         EXPECT_EQ(c.attr, nullptr) << c.text.substr(0, 80) << ": " << e.what();
      }
   }
}

TEST(SmCodefKeyTest, TracesShowTheStringForm) {
   CheckerTest::Traces traces;
   const SmCodefKey k = key("Port-Channel10", "intfConfig");
   MLAG_TRACE(8, "processing ", k);
   EXPECT_TRUE(traces.contains("processing " + valueToStrep(k).stdString())) << traces.all();
}

} // namespace
