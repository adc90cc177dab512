#include "porta/IntfId.h"

#include <gtest/gtest.h>

#include <string>
#include <unordered_set>

#include "kiv/Exception.h"

namespace {

using Porta::IntfId;

Kiv::String str(const std::string & s) { return Kiv::String(s); }

// The error text for `name`, or "accepted".
std::string message(const std::string & name) {
   try {
      IntfId id(str(name));
   } catch (const Kiv::RangeException & e) {
      EXPECT_EQ(e.id(), Kiv::ExceptionId::range);
      return e.what();
   }
   return "accepted";
}

TEST(IntfIdTest, ValidNamesAreKeptVerbatim) {
   for (const char * name :
        {"Ethernet1", "Ethernet3/1", "Ethernet1/2/3", "Ethernet0", "Ethernet0/0/0",
         "Ethernet4294967295/4294967295/4294967295", "Port-Channel10", "Vlan100", "Loopback0",
         "Management1", "Vlan4294967295"}) {
      IntfId id(str(name));
      EXPECT_TRUE(static_cast< bool >(id)) << name;
      EXPECT_EQ(id.stringValue(), name);
   }
}

TEST(IntfIdTest, InvalidNamesRaiseARangeErrorNamingTheName) {
   auto expectRejected = [](const std::string & name) {
      EXPECT_EQ(message(name).rfind("invalid interface name '", 0), 0u) << message(name);
   };
   for (const char * name :
        {"Local", "Peer", "vlan10", "ethernet1", "Ethernet", "Ethernet1/", "Ethernet/1",
         "Ethernet1//2", "Ethernet1/2/3/4", "Port-Channel01", "Ethernet00", "Port-Channel1/1",
         "Vlan-1", "Vlan+1", "Vlan1 ", " Vlan1", "Vlan4294967296", "Ethernet1a", "EthernetX",
         "Ethernet1/99999999999999999999999", "Vlan00000000000000000000000000", "Port-Channel",
         "Management", "Loopback"}) {
      expectRejected(name);
   }
   // Embedded NULs, and names long enough to overflow anything sized for real ones.
   expectRejected(std::string("Vlan1\0", 6));
   expectRejected(std::string("Ether\0net1", 10));
   expectRejected(std::string(10000, 'E'));
   expectRejected("Ethernet" + std::string(10000, '9'));
   expectRejected("Ethernet1" + std::string(10000, '/'));
}

TEST(IntfIdTest, ErrorTextNamesTheNameAndTheReason) {
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

TEST(IntfIdTest, FailedInitializationKeepsTheOldNameAndEmptyIsTheEmptyIdentifier) {
   IntfId id(str("Ethernet1"));
   EXPECT_THROW(id.handleInitialized(str("Ethernet1/")), Kiv::RangeException);
   EXPECT_EQ(id.stringValue(), "Ethernet1");
   id.handleInitialized(Kiv::String());
   EXPECT_FALSE(static_cast< bool >(id));
   EXPECT_EQ(id, IntfId());
}

TEST(IntfIdTest, EqualityHashAndOrderFollowTheName) {
   IntfId a(str("Ethernet1")), a2(str("Ethernet1")), b(str("Ethernet2"));
   EXPECT_EQ(a, a2);
   EXPECT_TRUE(a < b && !(b < a) && !(a < a2));
   EXPECT_TRUE(IntfId() < a);
   EXPECT_EQ((std::unordered_set< IntfId >{a, a2, b}).size(), 2u);
}

} // namespace
