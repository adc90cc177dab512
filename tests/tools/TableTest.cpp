#include "Table.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using MlagTool::Table;

// Without colour, the whole-run tables show the same layout (CliTest,
// ComparisonTest, ChangesTest).
TEST(TableTest, PadsColumnsToTheWidestCellAndColoursOnlyHighlightedRows) {
   Table t({"parameter", "A", "status"});
   t.rowIs({"mtu", "9000", "agree"});
   t.rowIs({"lacp mode", "-", "only on B"}, Table::Highlight::yellow);
   t.rowIs({"b", "1", "differ"}, Table::Highlight::red);
   EXPECT_THROW(t.rowIs({"only one"}), std::invalid_argument);
   EXPECT_EQ(t.rows(), 3u); // the refused row is not kept
   EXPECT_EQ(t.render(true),
             "parameter  A     status\n"
             "---------  ----  ---------\n"
             "mtu        9000  agree\n"
             "\x1b[33mlacp mode  -     only on B\x1b[0m\n"
             "\x1b[31mb          1     differ\x1b[0m\n");
}

TEST(TableTest, ControlCharactersAndInvalidBytesAreEscaped) {
   struct Case {
      std::string raw;
      const char * shown;
   };
   const Case cases[] = {{"a\tb", "a\\tb"},
                         {"a\nb", "a\\nb"},
                         {"a\rb", "a\\rb"},
                         {std::string("a\0b", 3), "a\\x00b"},
                         {"\x1b[31mred", "\\x1b[31mred"},
                         {"a\x07\x1f\x7f", "a\\x07\\x1f\\x7f"},
                         {"\u009b2J", "\\u009b2J"},           // the one-character CSI
                         {"\xff\xc3", "\\xff\\xc3"},          // not UTF-8, and cut short
                         {"\xc0\x80", "\\xc0\\x80"},          // an overlong NUL
                         {"\xed\xa0\x80", "\\xed\\xa0\\x80"}, // a surrogate
                         {"Zürich \\ ok", "Zürich \\ ok"}};
   for (const Case & c : cases) EXPECT_EQ(MlagTool::escaped(c.raw), c.shown) << c.shown;

   Table t({"name\n", "value"});
   t.rowIs({"x\x1b", "\r"});
   EXPECT_EQ(t.render(false),
             "name\\n  value\n"
             "------  -----\n"
             "x\\x1b   \\r\n");
}

// Columns align by display width; long cells end in an ellipsis at the
// maximum width.
TEST(TableTest, ColumnsAlignByDisplayWidthAndLongCellsAreCut) {
   EXPECT_EQ(MlagTool::displayWidth("Zürich"), 6u);          // two-byte ü: one column
   EXPECT_EQ(MlagTool::displayWidth("東京"), 4u);            // wide: two each
   EXPECT_EQ(MlagTool::displayWidth("e\u0301te\u0301"), 3u); // combining acute: none
   EXPECT_EQ(MlagTool::displayWidth("\U0001F600"), 2u);
   const std::string forty(40, 'a');
   EXPECT_EQ(MlagTool::fitted(forty, 40), forty);
   EXPECT_EQ(MlagTool::fitted(forty + "b", 40), std::string(39, 'a') + "…");
   // A wide character that would end past the limit goes whole.
   EXPECT_EQ(MlagTool::fitted("aa東京", 4), "aa…");
   EXPECT_EQ(MlagTool::fitted("aa東京", 5), "aa東…");
   // A combining mark stays with its character.
   EXPECT_EQ(MlagTool::fitted("ae\u0301bc", 3), "ae\u0301…");

   Table t({"x", "y"});
   t.rowIs({"Zürich", "1"});
   t.rowIs({"東京", "2"});
   t.rowIs({"cafe\u0301", "3"});
   EXPECT_EQ(t.render(false),
             "x       y\n"
             "------  -\n"
             "Zürich  1\n"
             "東京    2\n"
             "cafe\u0301    3\n");
   Table cut({"v", "s"});
   cut.rowIs({std::string(50, 'x'), "ok"});
   EXPECT_EQ(cut.render(false), "v" + std::string(41, ' ') + "s\n" + std::string(40, '-') +
                                   "  --\n" + std::string(39, 'x') + "…  ok\n");
}

} // namespace
