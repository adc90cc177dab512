#include "CheckerFixture.h"
#include "ConfigCheck/MlagConfigCheckTypes.h"
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

TEST(SmCodefKeyTest, EmptinessEqualityAndAStringFormThatRoundTripsOrNamesWhatFailed) {
   // Only the key with both fields empty is empty: the bookmark "from the beginning".
   EXPECT_TRUE(!SmCodefKey());
   EXPECT_FALSE(!key("", "intfConfig") || !key("Ethernet1", ""));
   EXPECT_FALSE(key("a", "x") == key("a", "y") || key("a", "x") == key("b", "x"));
   EXPECT_EQ(valueToStrep(key("Port-Channel10", "intfConfig")),
             "Value('Mlag::ConfigCheck::SmCodefKey', ** {'name': 'Port-Channel10', "
             "'paramName': 'intfConfig'})");
   std::ostringstream os;
   os << SmCodefKey();
   EXPECT_EQ(os.str(), "Value('Mlag::ConfigCheck::SmCodefKey', ** {'name': '', 'paramName': ''})");
   // Traces show the same form.
   CheckerTest::Traces traces;
   MLAG_TRACE(8, "processing ", key("Port-Channel10", "intfConfig"));
   EXPECT_TRUE(
      traces.contains("processing Value('Mlag::ConfigCheck::SmCodefKey', ** {'name': "
                      "'Port-Channel10', 'paramName': 'intfConfig'})"))
      << traces.all();
   const std::string withNul("a\0b", 3);
   for (const SmCodefKey & k : {SmCodefKey(), key("it's", "back\\slash"), key("", "p"),
                                SmCodefKey(Kiv::Name(Kiv::String(withNul)), "})'")}) {
      const std::string text = valueToStrep(k).stdString() + "tail";
      std::size_t consumed = 0;
      EXPECT_EQ(parse(text, &consumed), k) << text;
      EXPECT_EQ(text.substr(consumed), "tail");
   }

   // Parse failures name what failed.
   const std::string good = valueToStrep(key("n", "p")).stdString();
   const struct {
      std::string text;
      const char * attr; // null: a plain parse error
   } cases[] = {
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
   for (const auto & c : cases) {
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

} // namespace
