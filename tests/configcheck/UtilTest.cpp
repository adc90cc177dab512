#include "CheckerFixture.h"
#include "ConfigCheck/MlagConfigCheckUtil.h"

namespace {

using namespace CheckerTest;

class UtilTest : public ::testing::Test {
 protected:
   Kiv::Ptr< ConfigPluginDir > dir = resultsDir("lacp");

   void insertPeer(const char * param, const char * intf, const char * value) {
      doInsertPeerIntfParam(dir, param, intf, value);
   }
   void insertLocal(const char * param, const char * intf, const char * value,
                    const char * defaultVal = "", bool absenceImpliesDefault = false) {
      doInsertLocalIntfParam(dir, param, intf, value, defaultVal, absenceImpliesDefault);
   }
};

TEST_F(UtilTest, PeerValueWaitsUnderProvisionalKeyUntilTheLocalInsertAdoptsIt) {
   insertPeer("mtu", "Ethernet1", "9000");
   EXPECT_FALSE(intfEntry(dir, "mtu", "Ethernet1"));
   insertPeer("mtu", "Ethernet1", "9214");
   EXPECT_EQ(peerEntry(dir, "mtu", "PeerEthernet1"), "9214");
   EXPECT_EQ(localEntry(dir, "mtu", "PeerEthernet1"), "");

   insertLocal("mtu", "Ethernet1", "1500", "1500");
   EXPECT_FALSE(intfEntry(dir, "mtu", "PeerEthernet1"));
   EXPECT_EQ(peerEntry(dir, "mtu", "Ethernet1"), "9214");
   EXPECT_EQ(localEntry(dir, "mtu", "Ethernet1"), "1500");

   // From now on the peer writes the plain entry; it never touches the default.
   insertPeer("mtu", "Ethernet1", "1500");
   EXPECT_EQ(peerEntry(dir, "mtu", "Ethernet1"), "1500");
   EXPECT_EQ(intfEntry(dir, "mtu", "Ethernet1")->defaultVal(), "1500");
   EXPECT_FALSE(intfEntry(dir, "mtu", "PeerEthernet1"));
}

TEST_F(UtilTest, DefaultsAndAbsence) {
   insertLocal("mtu", "Ethernet1", "1500", "1500", true);
   EXPECT_EQ(localEntry(dir, "mtu", "Ethernet1"), "");
   insertLocal("mtu", "Ethernet1", "1500", "1500", false);
   EXPECT_EQ(localEntry(dir, "mtu", "Ethernet1"), "1500");
   // A later insert without a default keeps the recorded one, and the
   // absence test compares against it.
   insertLocal("mtu", "Ethernet1", "1500", "", true);
   EXPECT_EQ(intfEntry(dir, "mtu", "Ethernet1")->defaultVal(), "1500");
   EXPECT_EQ(localEntry(dir, "mtu", "Ethernet1"), "");
   insertLocal("mtu", "Ethernet1", "9000", "", true);
   EXPECT_EQ(localEntry(dir, "mtu", "Ethernet1"), "9000");

   Traces traces;
   EXPECT_TRUE(isValueDefault(dir, "mtu", "Ethernet1", "1500"));
   EXPECT_FALSE(isValueDefault(dir, "mtu", "Ethernet1", "9000"));
   EXPECT_TRUE(traces.contains("Inspected value '9000' does not match default '1500'"));
   EXPECT_FALSE(isValueDefault(dir, "speed", "Ethernet1", "1500"));
   EXPECT_TRUE(traces.contains("no intfTable for 'speed'"));
   EXPECT_FALSE(isValueDefault(dir, "mtu", "Ethernet2", "1500"));
   EXPECT_TRUE(traces.contains("no intfEntry for 'Ethernet2'"));
   EXPECT_FALSE(dir->configIntfDir(Kiv::Name("speed")));
}

TEST_F(UtilTest, GroupIdsOfTheSidesOwnNameAreNeverWritten) {
   doInsertLocalParam(dir, "mode", "Local", "mstp");
   doInsertPeerParam(dir, "mode", "Peer", "rstp");
   EXPECT_EQ(globalEntry(dir, "mode")->groupId(), "");
   doInsertLocalParam(dir, "mode", "g1", "mstp");
   doInsertPeerParam(dir, "mode", "", "rstp");
   doInsertLocalParam(dir, "mode", "", "");
   EXPECT_EQ(globalEntry(dir, "mode")->groupId(), "g1");
   EXPECT_EQ(localEntry(dir, "mode"), "");
   EXPECT_EQ(peerEntry(dir, "mode"), "rstp");
   doInsertPeerParam(dir, "mode", "g2", "rstp");
   EXPECT_EQ(globalEntry(dir, "mode")->groupId(), "g2");
   doInsertLocalParam(dir, "prio", "Peer", "1");
   EXPECT_EQ(globalEntry(dir, "prio")->groupId(), "Peer");
}

TEST_F(UtilTest, LocalInterfaceDeleteKeepsWhatThePeerStillReports) {
   for (const char * param : {"up", "zero", "dash", "none"}) insertLocal(param, "Ethernet1", "x");
   insertPeer("up", "Ethernet1", "up");
   insertPeer("zero", "Ethernet1", "0");
   insertPeer("dash", "Ethernet1", "-");
   insertLocal("dash", "Ethernet2", "y"); // keeps the "dash" table alive
   Traces traces;
   handleLocalIntfDelete(dir, "Ethernet1");
   EXPECT_TRUE(
      traces.contains("Clearing local entry for plugin 'lacp' interface name 'Ethernet1'"));
   EXPECT_TRUE(traces.contains("Clearing local entry 'up' for plugin 'lacp'"));

   EXPECT_FALSE(intfEntry(dir, "up", "Ethernet1"));
   EXPECT_EQ(peerEntry(dir, "up", "PeerEthernet1"), "up");
   EXPECT_EQ(localEntry(dir, "up", "PeerEthernet1"), "");
   // "0", "-" and nothing do not keep an entry alive; emptied tables go.
   EXPECT_FALSE(dir->configIntfDir(Kiv::Name("zero")));
   EXPECT_FALSE(dir->configIntfDir(Kiv::Name("none")));
   EXPECT_FALSE(intfEntry(dir, "dash", "Ethernet1"));
   EXPECT_TRUE(intfEntry(dir, "dash", "Ethernet2"));
}

TEST_F(UtilTest, PeerInterfaceDeleteClearsPeerValuesOnly) {
   insertLocal("mtu", "Ethernet1", "9000");
   insertPeer("mtu", "Ethernet1", "9000");
   insertLocal("lacp", "Ethernet1", "");
   insertPeer("lacp", "Ethernet1", "active");
   insertPeer("speed", "Ethernet1", "10g"); // waits provisionally
   handlePeerIntfDelete(dir, "Ethernet1");
   EXPECT_EQ(peerEntry(dir, "mtu", "Ethernet1"), "");
   EXPECT_EQ(localEntry(dir, "mtu", "Ethernet1"), "9000");
   // The plain entry stays even with nothing left on either side.
   EXPECT_EQ(peerEntry(dir, "lacp", "Ethernet1"), "");
   EXPECT_FALSE(dir->configIntfDir(Kiv::Name("speed")));
}

TEST_F(UtilTest, GroupDeletesOnBothSides) {
   doInsertLocalParam(dir, "mtu g1", "g1", "9000");
   doInsertPeerParam(dir, "mtu g1", "g1", "9000");
   doInsertLocalParam(dir, "prio g1", "g1", "1");
   doInsertPeerParam(dir, "prio g1", "g1", "-");
   doInsertLocalParam(dir, "mtu g2", "g2", "1500");
   Traces traces;
   handleLocalGroupDelete(dir, "g1");
   // The local group trace has no blank before "for"; the peer one has.
   EXPECT_TRUE(traces.contains("Clearing local entry 'mtu g1'for plugin 'lacp'"));
   EXPECT_EQ(localEntry(dir, "mtu g1"), "");
   EXPECT_FALSE(globalEntry(dir, "prio g1"));
   EXPECT_EQ(localEntry(dir, "mtu g2"), "1500");

   handlePeerGroupDelete(dir, "g1");
   EXPECT_TRUE(traces.contains("Clearing peer entry 'mtu g1' for plugin 'lacp'"));
   EXPECT_FALSE(globalEntry(dir, "mtu g1"));
   EXPECT_TRUE(globalEntry(dir, "mtu g2"));
}

TEST_F(UtilTest, LocalDeleteAllEmptiesBothSides) {
   doInsertLocalParam(dir, "mode", "Local", "mstp");
   doInsertPeerParam(dir, "prio", "Peer", "1");
   insertLocal("mtu", "Ethernet1", "9000");
   insertPeer("mtu", "Ethernet1", "9000");
   insertPeer("mtu", "Ethernet2", "1500");
   Traces traces;
   localDeleteAll(dir);
   EXPECT_EQ(dir->configGlobalDiffSize(), 0u);
   EXPECT_EQ(dir->configIntfDirSize(), 0u);
   EXPECT_EQ(traces.count("Clearing entry "), 2u);
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
