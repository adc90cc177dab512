#include "Changes.h"

#include <gtest/gtest.h>

namespace {

using MlagTool::ChangeKind;
using MlagTool::ComparedValue;

ComparedValue value(const char * parameter, const char * local, const char * peer,
                    std::vector< std::string > seenBy = {"A", "B"}) {
   ComparedValue v;
   v.plugin = "lacp";
   v.row.parameter = parameter;
   v.row.local = local;
   v.row.peer = peer;
   v.row.status = *MlagTool::verdict(local, peer, "");
   v.seenBy = std::move(seenBy);
   return v;
}

std::vector< std::string > summary(const std::vector< MlagTool::Change > & changes) {
   std::vector< std::string > out;
   for (const MlagTool::Change & c : changes) {
      out.push_back(std::string(MlagTool::changeText(c.kind)) + " " + c.value.row.parameter + " " +
                    c.value.row.local + "/" + c.value.row.peer);
   }
   return out;
}

TEST(ChangesTest, OnlyRowsWhoseValuesVerdictOrHoldersMovedInRowOrder) {
   const std::vector< ComparedValue > before = {value("a", "1", "1"), value("b", "1", "1"),
                                                value("c", "1", "2"), value("d", "1", "1")};
   const std::vector< ComparedValue > after = {value("a", "1", "1"), value("b", "2", "1"),
                                               value("bb", "", "5"), value("d", "1", "1", {"A"}),
                                               value("d", "1", "", {"B"})};
   EXPECT_EQ(summary(MlagTool::changes(before, after)),
             (std::vector< std::string >{"changed b 2/1", "new bb /5", "cleared c 1/2",
                                         "changed d 1/1", "new d 1/"}));
   EXPECT_TRUE(MlagTool::changes(after, after).empty());
   EXPECT_EQ(MlagTool::changesTable({}, {"A", "B"}, false), "no changes\n");
}

TEST(ChangesTest, TableMarksEachRowAndWhoHoldsIt) {
   ComparedValue provisional = value("mtu mlag10", "", "9000", {"A"});
   provisional.row.interface = "Port-Channel10";
   provisional.provisionalIn = "A";
   const std::string table = MlagTool::changesTable(
      MlagTool::changes({value("x", "1", "1")}, {provisional}), {"A", "B"}, false);
   EXPECT_EQ(table,
             "change   plugin  parameter   interface       A  B     status     seen by\n"
             "-------  ------  ----------  --------------  -  ----  ---------  --------------------\n"
             "cleared  lacp    x           -               1  1     -          A, B\n"
             "new      lacp    mtu mlag10  Port-Channel10  -  9000  only on B  A (provisional on A)\n");
}

} // namespace
