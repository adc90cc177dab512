#include "Table.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using MlagTool::Table;

TEST(TableTest, PadsColumnsToTheWidestCellWithoutTrailingSpaces) {
   Table t({"parameter", "A", "status"});
   t.rowIs({"mtu", "9000", "agree"});
   t.rowIs({"lacp mode", "-", "only on B"}, Table::Highlight::yellow);
   EXPECT_EQ(t.render(false), "parameter  A     status\n"
                              "---------  ----  ---------\n"
                              "mtu        9000  agree\n"
                              "lacp mode  -     only on B\n");
}

TEST(TableTest, ColourWrapsOnlyHighlightedRows) {
   Table t({"p", "s"});
   t.rowIs({"a", "agree"});
   t.rowIs({"b", "differ"}, Table::Highlight::red);
   t.rowIs({"c", "only on B"}, Table::Highlight::yellow);
   EXPECT_EQ(t.render(true), "p  s\n"
                             "-  ---------\n"
                             "a  agree\n"
                             "\x1b[31mb  differ\x1b[0m\n"
                             "\x1b[33mc  only on B\x1b[0m\n");
}

TEST(TableTest, WidthCountsCodePointsNotBytes) {
   EXPECT_EQ(MlagTool::displayWidth("Zürich"), 6u);
   Table t({"x", "y"});
   t.rowIs({"é", "1"});
   EXPECT_EQ(t.render(false), "x  y\n-  -\né  1\n");
}

TEST(TableTest, RowOfTheWrongWidthIsRefused) {
   Table t({"a", "b"});
   EXPECT_THROW(t.rowIs({"only one"}), std::invalid_argument);
   EXPECT_EQ(t.rows(), 0u);
}

} // namespace
