#include "Table.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using MlagTool::Table;

TEST(TableTest, PadsColumnsToTheWidestCellAndColoursOnlyHighlightedRows) {
   Table t({"parameter", "A", "status"});
   t.rowIs({"mtu", "9000", "agree"});
   t.rowIs({"lacp mode", "-", "only on B"}, Table::Highlight::yellow);
   t.rowIs({"b", "1", "differ"}, Table::Highlight::red);
   EXPECT_EQ(t.render(false),
             "parameter  A     status\n"
             "---------  ----  ---------\n"
             "mtu        9000  agree\n"
             "lacp mode  -     only on B\n"
             "b          1     differ\n");
   EXPECT_EQ(t.render(true),
             "parameter  A     status\n"
             "---------  ----  ---------\n"
             "mtu        9000  agree\n"
             "\x1b[33mlacp mode  -     only on B\x1b[0m\n"
             "\x1b[31mb          1     differ\x1b[0m\n");
}

TEST(TableTest, WidthCountsCodePointsNotBytes) {
   Table t({"x", "y"});
   t.rowIs({"Zürich", "1"});
   EXPECT_EQ(t.render(false), "x       y\n------  -\nZürich  1\n");
}

TEST(TableTest, RowOfTheWrongWidthIsRefused) {
   Table t({"a", "b"});
   EXPECT_THROW(t.rowIs({"only one"}), std::invalid_argument);
   EXPECT_EQ(t.rows(), 0u);
}

} // namespace
