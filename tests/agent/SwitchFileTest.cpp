// The switch file: the scenario loader's rules, with places named in the
// switch file's own terms; the shipped halves of the default pair.
#include "sim/SwitchFile.h"

#include <gtest/gtest.h>

#include "sim/Scenario.h"

namespace {

TEST(SwitchFileTest, ErrorsNameTheFileAndThePlace) {
   // `error` is the whole message where the switch file's reader words it,
   // and the file and place where the scenario loader's message follows.
   const struct {
      const char * text;
      const char * error;
   } cases[] = {
      {R"({"plugins": {}, "switch": {"name": "a"},})", "leaf1.json: line 1, column 41: "},
      {R"({"plugins": {}, "switch": {"name": "a", "name": "b"}})",
       "leaf1.json: /switch/name: duplicate member 'name'"},
      {R"([])", "leaf1.json: top level: expected an object"},
      {R"({"plugins": {}, "switches": []})", "leaf1.json: /switches: unknown member 'switches'"},
      {R"({"plugins": {}})", "leaf1.json: top level: missing member 'switch'"},
      {R"({"switch": {"name": "a"}})", "leaf1.json: top level: "},
      {R"({"plugins": {"p": {}}, "switch": {"name": "a", "config": {"p": {"x": 1.5}}}})",
       "leaf1.json: /switch/config/p/x: "},
      {R"({"plugins": {}, "switch": {"name": "a", "mlag": {"Po1": "1"}}})",
       "leaf1.json: /switch/mlag/Po1: "},
      {R"({"plugins": {}, "switch": {"name": ""}})",
       "leaf1.json: /switch/name: expected a non-empty switch name"},
      {R"({"plugins": {}, "switch": 7})", "leaf1.json: /switch: "},
   };
   for (const auto & c : cases) {
      try {
         MlagSim::parseSwitchFile(c.text, "leaf1.json");
         ADD_FAILURE() << "accepted: " << c.text;
      } catch (const MlagSim::ScenarioError & e) {
         EXPECT_EQ(std::string(e.what()).rfind(c.error, 0), 0u) << e.what();
      }
   }
}

TEST(SwitchFileTest, ShippedHalvesAreTheDefaultPair) {
   const MlagSim::Scenario pair = MlagSim::loadScenario(MLAG_EXAMPLES_DIR "/default.json");
   for (std::size_t i = 0; i < 2; ++i) {
      const std::string name = pair.switches[i].name;
      const MlagSim::SwitchFile f =
         MlagSim::loadSwitchFile(MLAG_EXAMPLES_DIR "/switches/" + name + ".switch.json");
      EXPECT_EQ(f.plugins, pair.plugins);
      EXPECT_EQ(f.sw.name, name);
      EXPECT_EQ(f.sw.mlag, pair.switches[i].mlag);
      EXPECT_EQ(f.sw.config, pair.switches[i].config);
   }
}

} // namespace
