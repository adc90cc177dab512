#include "CheckerFixture.h"
#include "ConfigCheck/MlagConfigCheckNaming.h"
#include "mlag/ReloadDelay.h"

namespace {

using namespace CheckerTest;

TEST(NamingTest, ParameterInterfaceAndValueTextForms) {
   auto perMlag = configCheckDescFactory("perMlag");
   perMlag->mlagInterfacesOnlyIs(true);
   auto perIntf = configCheckDescFactory("perIntf");
   const Porta::IntfId po10("Port-Channel10");
   const Porta::IntfId none;
   // An interface outside MLAG names nothing (and says so: LocalSideTest).
   const struct {
      Kiv::Ptr< ConfigCheckDesc > desc;
      Porta::IntfId intf;
      const char *mlagId, *owner, *expected;
   } cases[] = {
      {perMlag, po10, "10", "Port-Channel10", "mode mlag10"},
      {perMlag, po10, "", "Port-Channel10", ""},
      {perIntf, po10, "10", "g1", "mode"},
      {perIntf, po10, "", "Port-Channel10", "mode"},
      {perIntf, none, "", "Local", "mode"},
      {perIntf, none, "", "Peer", "mode"},
      {perMlag, none, "7", "Peer", "mode"},
      {perIntf, none, "", "vlan10", "mode vlan10"},
      {perMlag, none, "", "vlan10", "mode vlan10"},
   };
   for (const auto & c : cases) {
      EXPECT_EQ(getParamName(c.desc, "mode", c.intf, c.mlagId, c.owner), c.expected)
         << c.owner << " mlag '" << c.mlagId << "'";
   }
   // A key the descriptor gives no display name is no parameter at all.
   EXPECT_EQ(getParamName(perMlag, "", po10, "10", "Port-Channel10"), "");
   EXPECT_EQ(getParamName(perIntf, "", none, "", "vlan10"), "");

   EXPECT_EQ(getIntfId("Port-Channel10"), Porta::IntfId("Port-Channel10"));
   EXPECT_FALSE(getIntfId(""));
   Traces traces;
   for (const char * bad : {"Local", "Peer", "vlan10", "Ethernet1/"}) {
      EXPECT_FALSE(getIntfId(bad)) << bad;
      EXPECT_TRUE(traces.contains(std::string("Invalid intfId exception for '") + bad + "'"));
   }
   EXPECT_EQ(traces.count("Invalid intfId exception"), 4u);

   // Unquoting needs three characters; a reload delay compares by its delay alone.
   const std::pair< const char *, const char * > unquoted[] = {
      {"'a'", "a"},   {"'active'", "active"}, {"''", "''"}, {"'a", "'a"},
      {"a'", "a'"},   {"\"a\"", "\"a\""},     {"", ""},     {"'it's'", "it's"},
      {"'ab", "'ab"}, {"ab'", "ab'"},
   };
   for (auto [in, out] : unquoted) EXPECT_EQ(stringUnquote(in), out) << in;
   EXPECT_EQ(strRep(Kiv::Value::string("active")), "'active'");
   EXPECT_EQ(strRep(Kiv::Value::integer(-1)), "-1");
   EXPECT_EQ(strRep(Kiv::Value()), "");
   EXPECT_EQ(strRep(Mlag::reloadDelay(300)), "300");
   auto other = Kiv::kivNew< Kiv::StructValue >("Mlag::Other");
   other->fieldIs("b", Kiv::Value::string("x"));
   other->fieldIs("a", Kiv::Value::integer(1));
   EXPECT_EQ(strRep(Kiv::Value::structured(other)), "Value('Mlag::Other', ** {'a': 1, 'b': 'x'})");
}

TEST(NamingDeathTest, AReloadDelayWithoutDelayIsAFault) {
   auto broken = Kiv::kivNew< Kiv::StructValue >(Mlag::reloadDelayTypeName);
   broken->fieldIs("seconds", Kiv::Value::integer(1));
   EXPECT_DEATH(strRep(Kiv::Value::structured(broken)), "Mlag::ReloadDelay.delay removed");
}

} // namespace
