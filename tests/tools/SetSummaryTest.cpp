#include "SetSummary.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using MlagTool::Row;
using MlagTool::Scope;

Row member(const char * collection, const char * key, Scope scope, const char * where,
           const char * local, const char * peer, const char * defaultVal = "") {
   Row r;
   r.parameter = std::string(key) + " " + collection;
   r.local = local;
   r.peer = peer;
   r.defaultVal = defaultVal;
   r.status = *MlagTool::verdict(local, peer, defaultVal);
   r.name.scope = scope;
   r.name.name = collection;
   r.name.member = key;
   if (scope == Scope::group) r.name.group = where;
   if (scope == Scope::interface || scope == Scope::mlagId) r.interface = where;
   if (scope == Scope::mlagId) r.name.mlagId = "10";
   return r;
}

TEST(SetSummaryTest, OneLinePerCollectionAndScopeWithMembersInNaturalOrder) {
   std::vector< Row > rows = {
      member("allowed vlan", "40", Scope::mlagId, "Port-Channel10", "allowed", ""),
      member("allowed vlan", "100", Scope::mlagId, "Port-Channel10", "allowed", "allowed"),
      member("allowed vlan", "9", Scope::mlagId, "Port-Channel10", "allowed", "allowed"),
      member("allowed vlan", "30", Scope::mlagId, "Port-Channel10", "allowed", ""),
      member("allowed vlan", "50", Scope::mlagId, "Port-Channel10", "", "allowed"),
      member("allowed vlan", "60", Scope::mlagId, "Port-Channel10", "allowed", "denied"),
      // Same collection elsewhere: its own line.
      member("allowed vlan", "10", Scope::mlagId, "Port-Channel20", "allowed", "allowed"),
      member("priority", "10", Scope::global, "", "4096", "4096"),
      member("priority", "20", Scope::global, "", "", "8192", "4096"),
      member("member", "Ethernet10", Scope::group, "vlan10", "on", "on"),
      member("member", "Ethernet2", Scope::group, "vlan10", "on", "on"),
      member("speed", "1", Scope::interface, "Ethernet1", "", "", "auto")};
   Row scalar;
   scalar.parameter = "mtu";
   scalar.name.name = "mtu";
   scalar.status = MlagTool::Status::differ;
   rows.push_back(scalar); // not a member: no line

   std::vector< std::string > lines;
   for (const MlagTool::SetSummary & s : MlagTool::setSummaries(rows)) {
      lines.push_back(s.line("A", "B"));
   }
   EXPECT_EQ(lines, (std::vector< std::string >{
                       "allowed vlan on Port-Channel10 (mlag10): 2 agree; differ: 60 (allowed vs "
                       "denied); only on A: 30, 40; only on B: 50",
                       "allowed vlan on Port-Channel20 (mlag10): all 1 agree",
                       "priority: 1 agree; differ: 20 (4096 vs 8192)",
                       "member in group vlan10: all 2 agree", "speed on Ethernet1: all 1 agree"}));

   const std::vector< MlagTool::SetSummary > sets = MlagTool::setSummaries(rows);
   EXPECT_EQ(sets[0].agree, (std::vector< std::string >{"9", "100"}));
   EXPECT_TRUE(sets[0].hasMismatch());
   EXPECT_FALSE(sets[1].hasMismatch());
   EXPECT_EQ(sets[3].agree, (std::vector< std::string >{"Ethernet2", "Ethernet10"}));
}

TEST(SetSummaryTest, NaturalOrderPutsNumbersByValueAndTextByteWise) {
   std::vector< std::string > keys = {"10",  "9",         "Ethernet1/10", "Ethernet1/9", "a",  "",
                                      "010", "Ethernet2", "b1",           "b01",         "1a", "1"};
   std::sort(keys.begin(), keys.end(), MlagTool::naturalLess);
   EXPECT_EQ(keys, (std::vector< std::string >{"", "1", "1a", "9", "010", "10", "Ethernet1/9",
                                               "Ethernet1/10", "Ethernet2", "a", "b01", "b1"}));
}

} // namespace
