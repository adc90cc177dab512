// The steps a reload applies, and their order: MLAG ids set, nested
// removals, value changes, nested additions, MLAG ids removed.
#include "ConfigDiff.h"

#include <gtest/gtest.h>

namespace {

using Json = nlohmann::json;

const Json plugins = Json::parse(R"({"p": {"nestedConfigCheckDesc": {"a": {}, "b": {}}}})");

MlagSim::SwitchSpec switchWith(const char * config,
                               std::map< std::string, std::string > mlag = {}) {
   return {"s", std::move(mlag), Json::parse(config)};
}

std::vector< std::string > described(const MlagSim::SwitchSpec & from,
                                     const MlagSim::SwitchSpec & to) {
   std::vector< std::string > out;
   for (const MlagSim::Step & s : MlagAgent::configChanges(from, to, plugins, "f.json"))
      out.push_back(s.describe());
   return out;
}

TEST(ConfigDiffTest, OrderKeepsKeysAndIdsAsAFreshStartHasThem) {
   // Ethernet1 moves from a to b; its key leaves before it arrives.
   const auto from = switchWith(R"({"p": {"x": 1, "y": 2, "v": {"1": "on", "2": "on"},
                                    "a": {"Ethernet1": {"m": "y"}, "Ethernet2": {"m": "y"}}}})",
                                {{"Port-Channel1", "1"}, {"Port-Channel2", "2"}});
   const auto to = switchWith(R"({"p": {"x": 1, "y": null, "z": "new", "v": {"1": "off", "3": "on"},
                                  "a": {"Ethernet2": {"m": "n"}}, "b": {"Ethernet1": {"m": "y"}}}})",
                              {{"Port-Channel2", "3"}, {"Port-Channel4", "4"}});
   EXPECT_TRUE(described(from, from).empty()) << "equal configurations give no step";
   EXPECT_EQ(described(from, to), (std::vector< std::string >{
                                     "s: set mlag Port-Channel2 = '3'",
                                     "s: set mlag Port-Channel4 = '4'",
                                     "s: delete p a/Ethernet1",
                                     "s: set p a/Ethernet2/m = 'n'",
                                     "s: set p v/1 = 'off'",
                                     "s: delete p v/2",
                                     "s: set p v/3 = 'on'",
                                     "s: delete p y",
                                     "s: set p z = 'new'",
                                     "s: set p b/Ethernet1 = {\"m\":\"y\"}",
                                     "s: delete mlag Port-Channel1",
                                  }));
   // A member turning into a nested entity is removed, then added.
   EXPECT_EQ(described(switchWith(R"({"p": {"c": {"k": {"m": 1}}}})"),
                       switchWith(R"({"p": {"c": {"k": 5}}})")),
             (std::vector< std::string >{"s: delete p c/k", "s: set p c/k = 5"}));
}

TEST(ConfigDiffTest, AttributeChangingShapeIsRefused) {
   try {
      described(switchWith(R"({"p": {"q": 1}})"), switchWith(R"({"p": {"q": {"k": 1}}})"));
      FAIL() << "accepted";
   } catch (const MlagAgent::ReloadError & e) {
      EXPECT_EQ(std::string(e.what()),
                "f.json: /switch/config/p/q: changes between a value and a collection; restart "
                "the agent to apply it");
   }
}

} // namespace
