// A plain-text table for a terminal: a header, a rule of dashes, then rows,
// columns padded to their widest cell and two spaces apart. A row may be
// highlighted; the highlight is an ANSI colour only when rendering asks for
// colour, so the text is the same with and without it. Every cell is shown
// escaped and cut to maxCellWidth columns (see escaped and fitted below).
//
//   Table t({"parameter", "A", "B"});
//   t.rowIs({"mtu", "9000", "1500"}, Table::Highlight::red);
//   std::cout << t.render(isatty(1));
//
// A value type; cells are copied in, whole.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace MlagTool {

class Table {
 public:
   enum class Highlight { none, red, yellow };

   // The widest a cell is shown; a longer one ends in "…" at this width.
   static constexpr std::size_t maxCellWidth = 40;

   explicit Table(std::vector< std::string > header);

   // REQUIRES: as many cells as header columns.
   void rowIs(std::vector< std::string > cells, Highlight highlight = Highlight::none);
   std::size_t rows() const noexcept { return rows_.size(); }

   // One line per header, rule and row, each ending in a newline; the last
   // column is not padded, so no line ends in spaces.
   std::string render(bool colour) const;

 private:
   struct Line {
      std::vector< std::string > cells;
      Highlight highlight;
   };
   std::vector< std::string > header_;
   std::vector< Line > rows_;
};

// Text that is safe to write to a terminal: every byte below 0x20, 0x7f and
// every code point from U+0080 to U+009F (the C0 and C1 controls) is escaped,
// \t, \n and \r by those names, the others as \xHH (the byte) or \u00HH (the
// code point); a byte that is not part of valid UTF-8 shows as \xHH too.
// Everything else is kept as it is.
std::string escaped(const std::string & text);

// The columns that escaped text takes on a terminal: one per code point,
// two for an East Asian wide or fullwidth one, none for a combining mark
// (a byte that is not valid UTF-8 counts one, as escaped() never leaves one).
std::size_t displayWidth(const std::string & text);

// `text` cut to `width` columns: unchanged when it fits, otherwise its
// longest prefix of whole code points that fits in width - 1, then "…".
// REQUIRES: width >= 1.
std::string fitted(const std::string & text, std::size_t width);

} // namespace MlagTool
