#include "CheckerFixture.h"
#include "ConfigCheck/MlagConfigCheckUtil.h"

namespace {

using namespace CheckerTest;

class UtilTest : public ::testing::Test {
 protected:
   Kiv::Ptr< ConfigPluginDir > dir = resultsDir("lacp");
};

TEST_F(UtilTest, PeerValueWaitsUnderProvisionalKeyDefaultsAndAbsence) {
   doInsertPeerIntfParam(dir, "mtu", "Ethernet1", "9000");
   EXPECT_EQ(entries(dir), "mtu @PeerEthernet1: /9000");
   doInsertPeerIntfParam(dir, "mtu", "Ethernet1", "9214");
   EXPECT_EQ(entries(dir), "mtu @PeerEthernet1: /9214");
   doInsertLocalIntfParam(dir, "mtu", "Ethernet1", "1500", "1500", false);
   EXPECT_EQ(entries(dir), "mtu @Ethernet1: 1500/9214 d=1500");
   // From now on the peer writes the plain entry; it never touches the default.
   doInsertPeerIntfParam(dir, "mtu", "Ethernet1", "1500");
   EXPECT_EQ(entries(dir), "mtu @Ethernet1: 1500/1500 d=1500");

   // A later insert without a default keeps the recorded one; absence compares to it.
   const struct {
      const char *value, *defaultVal, *shown;
      bool absenceImpliesDefault;
   } inserts[] = {{"1500", "1500", "mtu @Ethernet1: /1500 d=1500", true},
                  {"1500", "1500", "mtu @Ethernet1: 1500/1500 d=1500", false},
                  {"1500", "", "mtu @Ethernet1: /1500 d=1500", true},
                  {"9000", "", "mtu @Ethernet1: 9000/1500 d=1500", true}};
   for (const auto & i : inserts) {
      doInsertLocalIntfParam(dir, "mtu", "Ethernet1", i.value, i.defaultVal,
                             i.absenceImpliesDefault);
      EXPECT_EQ(entries(dir), i.shown);
   }
   Traces traces;
   EXPECT_TRUE(isValueDefault(dir, "mtu", "Ethernet1", "1500"));
   EXPECT_FALSE(isValueDefault(dir, "mtu", "Ethernet1", "9000"));
   EXPECT_TRUE(traces.contains("Inspected value '9000' does not match default '1500'"));
   EXPECT_FALSE(isValueDefault(dir, "speed", "Ethernet1", "1500"));
   EXPECT_TRUE(traces.contains("no intfTable for 'speed'"));
   EXPECT_FALSE(isValueDefault(dir, "mtu", "Ethernet2", "1500"));
   EXPECT_TRUE(traces.contains("no intfEntry for 'Ethernet2'"));
   EXPECT_EQ(entries(dir), "mtu @Ethernet1: 9000/1500 d=1500");
}

// On a local delete "0", "-" and nothing keep no entry alive, emptied tables go; a peer
// delete clears peer values only, waiting ones too, the plain entry stays.
TEST_F(UtilTest, InterfaceDeletesOnBothSides) {
   for (const char * param : {"up", "zero", "dash", "none"})
      doInsertLocalIntfParam(dir, param, "Ethernet1", "x", "", false);
   doInsertPeerIntfParam(dir, "up", "Ethernet1", "up");
   doInsertPeerIntfParam(dir, "zero", "Ethernet1", "0");
   doInsertPeerIntfParam(dir, "dash", "Ethernet1", "-");
   doInsertLocalIntfParam(dir, "dash", "Ethernet2", "y", "", false); // keeps the "dash" table alive
   Traces traces;
   handleLocalIntfDelete(dir, "Ethernet1");
   EXPECT_TRUE(
      traces.contains("Clearing local entry for plugin 'lacp' interface name 'Ethernet1'"));
   EXPECT_TRUE(traces.contains("Clearing local entry 'up' for plugin 'lacp'"));
   EXPECT_EQ(entries(dir), "dash @Ethernet2: y/; up @PeerEthernet1: /up");

   doInsertLocalIntfParam(dir, "mtu", "Ethernet1", "9000", "", false);
   doInsertPeerIntfParam(dir, "mtu", "Ethernet1", "9000");
   doInsertLocalIntfParam(dir, "lacp", "Ethernet1", "", "", false);
   doInsertPeerIntfParam(dir, "lacp", "Ethernet1", "active");
   doInsertPeerIntfParam(dir, "speed", "Ethernet1", "10g"); // waits provisionally
   handlePeerIntfDelete(dir, "Ethernet1");
   EXPECT_EQ(entries(dir), "dash @Ethernet2: y/; lacp @Ethernet1: /; mtu @Ethernet1: 9000/");
}

TEST_F(UtilTest, GroupIdsOfTheSidesOwnNameAreNeverWrittenGroupDeletesAndDeleteAll) {
   doInsertLocalParam(dir, "mode", "Local", "mstp");
   doInsertPeerParam(dir, "mode", "Peer", "rstp");
   EXPECT_EQ(entries(dir), "mode: mstp/rstp");
   doInsertLocalParam(dir, "mode", "g1", "mstp");
   doInsertPeerParam(dir, "mode", "", "rstp");
   doInsertLocalParam(dir, "mode", "", "");
   EXPECT_EQ(entries(dir), "mode: /rstp g=g1");
   doInsertPeerParam(dir, "mode", "g2", "rstp");
   doInsertLocalParam(dir, "prio", "Peer", "1");
   EXPECT_EQ(entries(dir), "mode: /rstp g=g2; prio: 1/ g=Peer");

   doInsertLocalParam(dir, "mtu g1", "g1", "9000");
   doInsertPeerParam(dir, "mtu g1", "g1", "9000");
   doInsertLocalParam(dir, "prio g1", "g1", "1");
   doInsertPeerParam(dir, "prio g1", "g1", "-");
   doInsertLocalParam(dir, "mtu g2", "g2", "1500");
   Traces traces;
   handleLocalGroupDelete(dir, "g1");
   // The local group trace has no blank before "for"; the peer one has.
   EXPECT_TRUE(traces.contains("Clearing local entry 'mtu g1'for plugin 'lacp'"));
   EXPECT_EQ(entries(dir),
             "mode: /rstp g=g2; mtu g1: /9000 g=g1; mtu g2: 1500/ g=g2; prio: 1/ g=Peer");
   handlePeerGroupDelete(dir, "g1");
   EXPECT_TRUE(traces.contains("Clearing peer entry 'mtu g1' for plugin 'lacp'"));
   EXPECT_EQ(entries(dir), "mode: /rstp g=g2; mtu g2: 1500/ g=g2; prio: 1/ g=Peer");

   doInsertLocalIntfParam(dir, "mtu", "Ethernet1", "9000", "", false);
   doInsertPeerIntfParam(dir, "mtu", "Ethernet1", "9000");
   doInsertPeerIntfParam(dir, "mtu", "Ethernet2", "1500");
   traces.clear();
   localDeleteAll(dir);
   EXPECT_EQ(entries(dir), "");
   EXPECT_EQ(traces.count("Clearing entry "), 3u);
}

TEST(UtilDeathTest, ProgrammingFaultsAreAssertions) {
   EXPECT_DEATH(doInsertLocalParam(nullptr, "p", "g", "v"), "pluginPtr");
   EXPECT_DEATH(handleLocalIntfDelete(nullptr, "Ethernet1"), "pluginPtr");
   EXPECT_DEATH(localDeleteAll(nullptr), "pluginPtr");
   auto dir = resultsDir();
   EXPECT_DEATH(doInsertLocalIntfParam(dir, "p", "", "v", "", false), "intfName");
   EXPECT_DEATH(doInsertPeerIntfParam(dir, "p", "", "v"), "intfName");
   EXPECT_DEATH(isValueDefault(dir, "p", "", "v"), "intfName");
}

} // namespace
