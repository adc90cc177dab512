#include "porta/IntfId.h"

#include <gtest/gtest.h>
#include <string>
#include <unordered_set>

#include "kiv/Exception.h"

namespace {

using Porta::IntfId;

Kiv::String str(const std::string & s) { return Kiv::String(s); }

class ValidIntfName : public ::testing::TestWithParam< const char * > {};

TEST_P(ValidIntfName, IsAcceptedAndKeptVerbatim) {
   IntfId id(str(GetParam()));
   EXPECT_TRUE(static_cast< bool >(id));
   EXPECT_EQ(id.stringValue(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(IntfIdTest, ValidIntfName,
                         ::testing::Values("Ethernet1", "Ethernet3/1", "Ethernet1/2/3", "Ethernet0",
                                           "Ethernet0/0/0",
                                           "Ethernet4294967295/4294967295/4294967295",
                                           "Port-Channel10", "Vlan100", "Loopback0", "Management1",
                                           "Vlan4294967295"));

class InvalidIntfName : public ::testing::TestWithParam< std::string > {};

TEST_P(InvalidIntfName, RaisesRangeErrorNamingTheName) {
   try {
      IntfId id(str(GetParam()));
      FAIL() << "accepted '" << GetParam() << "'";
   } catch (const Kiv::RangeException & e) {
      EXPECT_EQ(e.id(), Kiv::ExceptionId::range);
      EXPECT_EQ(std::string(e.what()).rfind("invalid interface name '", 0), 0u) << e.what();
   }
}

INSTANTIATE_TEST_SUITE_P(
   IntfIdTest, InvalidIntfName,
   ::testing::Values("Local", "Peer", "vlan10", "ethernet1", "Ethernet", "Ethernet1/", "Ethernet/1",
                     "Ethernet1//2", "Ethernet1/2/3/4", "Port-Channel01", "Ethernet00",
                     "Port-Channel1/1", "Vlan-1", "Vlan+1", "Vlan1 ", " Vlan1", "Vlan4294967296",
                     "Ethernet1/99999999999999999999999", "Vlan00000000000000000000000000",
                     "Ethernet1a", "EthernetX", std::string("Vlan1\0", 6),
                     std::string("Ether\0net1", 10), "Port-Channel", "Management", "Loopback"));

TEST(IntfIdTest, ErrorTextNamesTheNameAndTheReason) {
   auto message = [](const std::string & name) {
      try {
         IntfId id(str(name));
      } catch (const Kiv::RangeException & e) {
         return std::string(e.what());
      }
      return std::string("accepted");
   };
   EXPECT_EQ(message("Port-Channel01"),
             "invalid interface name 'Port-Channel01': number with a leading zero");
   EXPECT_EQ(message("vlan10"), "invalid interface name 'vlan10': unknown interface type");
   EXPECT_EQ(message("Ethernet1/"), "invalid interface name 'Ethernet1/': expected a number");
   EXPECT_EQ(message("Ethernet1/2/3/4"),
             "invalid interface name 'Ethernet1/2/3/4': too many numbers");
   EXPECT_EQ(message("Vlan4294967296"),
             "invalid interface name 'Vlan4294967296': number above 4294967295");
   EXPECT_EQ(message(std::string("Vlan1\0'", 7)),
             "invalid interface name 'Vlan1\\x00\\'': unexpected character after a number");
   EXPECT_EQ(message("Vlan1" + std::string(100, 'x')),
             "invalid interface name 'Vlan1" + std::string(59, 'x') +
                "'...: unexpected character after a number");
}

TEST(IntfIdTest, EmptyNameGivesTheEmptyIdentifier) {
   IntfId id{Kiv::String()};
   EXPECT_FALSE(static_cast< bool >(id));
   EXPECT_EQ(id, IntfId());
   EXPECT_TRUE(id.stringValue().empty());
}

TEST(IntfIdTest, LongNamesAreRejectedWithoutFault) {
   EXPECT_THROW(IntfId(str(std::string(10000, 'E'))), Kiv::RangeException);
   EXPECT_THROW(IntfId(str("Ethernet" + std::string(10000, '9'))), Kiv::RangeException);
   EXPECT_THROW(IntfId(str("Ethernet1" + std::string(10000, '/'))), Kiv::RangeException);
}

TEST(IntfIdTest, FailedInitializationKeepsTheOldName) {
   IntfId id(str("Ethernet1"));
   EXPECT_THROW(id.handleInitialized(str("Ethernet1/")), Kiv::RangeException);
   EXPECT_EQ(id.stringValue(), "Ethernet1");
   id.handleInitialized(Kiv::String());
   EXPECT_FALSE(static_cast< bool >(id));
}

TEST(IntfIdTest, EqualityHashAndOrderFollowTheName) {
   IntfId a(str("Ethernet1")), a2(str("Ethernet1")), b(str("Ethernet2")), v(str("Vlan1"));
   EXPECT_EQ(a, a2);
   EXPECT_EQ(a.hash(), a2.hash());
   EXPECT_FALSE(a == b);
   EXPECT_TRUE(a < b);
   EXPECT_FALSE(b < a);
   EXPECT_FALSE(a < a2);
   EXPECT_TRUE(IntfId() < a);
   std::unordered_set< IntfId > set{a, a2, b, v};
   EXPECT_EQ(set.size(), 3u);
   EXPECT_EQ(set.count(IntfId(str("Vlan1"))), 1u);
}

TEST(IntfIdTest, TraceTextIsTheQuotedName) {
   EXPECT_EQ(kivTraceText(IntfId(str("Port-Channel10"))), "'Port-Channel10'");
   EXPECT_EQ(kivTraceText(IntfId()), "''");
}

} // namespace
