#include "porta/IntfId.h"

#include <gtest/gtest.h>

#include <string>
#include <unordered_set>
#include <vector>

#include "kiv/Exception.h"

namespace {

using Porta::IntfId;

// The error text for `name`, or "accepted".
std::string message(const std::string & name) {
   try {
      IntfId id{Kiv::String(name)};
   } catch (const Kiv::RangeException & e) {
      EXPECT_EQ(e.id(), Kiv::ExceptionId::range);
      return e.what();
   }
   return "accepted";
}

TEST(IntfIdTest, ValidNamesAreKeptVerbatimAndInvalidOnesRaiseARangeErrorNamingTheName) {
   for (const char * name :
        {"Ethernet1", "Ethernet3/1", "Ethernet1/2/3", "Ethernet0", "Ethernet0/0/0",
         "Ethernet4294967295/4294967295/4294967295", "Port-Channel10", "Vlan100", "Loopback0",
         "Management1", "Vlan4294967295"}) {
      IntfId id{Kiv::String(name)};
      EXPECT_TRUE(id) << name;
      EXPECT_EQ(id.stringValue(), name);
   }
   // Embedded NULs, and names long enough to overflow anything sized for real ones.
   std::vector< std::string > invalid = {std::string("Ether\0net1", 10), std::string(10000, 'E'),
                                         "Ethernet" + std::string(10000, '9'),
                                         "Ethernet1" + std::string(10000, '/')};
   for (const char * name :
        {"Local", "Peer", "Ethernet", "Ethernet/1", "Ethernet1//2", "Ethernet00", "Port-Channel1/1",
         "Vlan-1", "Vlan+1", "Vlan1 ", " Vlan1", "Ethernet1a", "EthernetX",
         "Ethernet1/99999999999999999999999", "Vlan00000000000000000000000000", "Port-Channel",
         "Management", "Loopback"})
      invalid.push_back(name);
   for (const std::string & name : invalid) {
      EXPECT_TRUE(message(name).starts_with("invalid interface name '")) << message(name);
   }
   const std::pair< std::string, std::string > texts[] = {
      {"Port-Channel01", "'Port-Channel01': number with a leading zero"},
      {"vlan10", "'vlan10': unknown interface type"},
      {"ethernet1", "'ethernet1': unknown interface type"},
      {"Ethernet1/", "'Ethernet1/': expected a number"},
      {"Ethernet1/2/3/4", "'Ethernet1/2/3/4': too many numbers"},
      {"Vlan4294967296", "'Vlan4294967296': number above 4294967295"},
      {std::string("Vlan1\0'", 7), "'Vlan1\\x00\\'': unexpected character after a number"},
      {"Vlan1" + std::string(100, 'x'),
       "'Vlan1" + std::string(59, 'x') + "'...: unexpected character after a number"},
   };
   for (const auto & [name, text] : texts)
      EXPECT_EQ(message(name), "invalid interface name " + text);
}

TEST(IntfIdTest, FailedInitializationKeepsTheOldNameAndEmptyIsTheEmptyIdentifier) {
   IntfId id{Kiv::String("Ethernet1")};
   EXPECT_THROW(id.handleInitialized(Kiv::String("Ethernet1/")), Kiv::RangeException);
   EXPECT_EQ(id.stringValue(), "Ethernet1");
   id.handleInitialized(Kiv::String());
   EXPECT_FALSE(id);
   EXPECT_EQ(id, IntfId());
}

TEST(IntfIdTest, EqualityHashAndOrderFollowTheName) {
   IntfId a{Kiv::String("Ethernet1")}, a2{Kiv::String("Ethernet1")}, b{Kiv::String("Ethernet2")};
   EXPECT_EQ(a, a2);
   EXPECT_TRUE(a < b && !(b < a) && !(a < a2) && IntfId() < a);
   EXPECT_EQ((std::unordered_set< IntfId >{a, a2, b}).size(), 2u);
}

} // namespace
