// A plain-text table for a terminal: a header, a rule of dashes, then rows,
// columns padded to their widest cell and two spaces apart. A row may be
// highlighted; the highlight is an ANSI colour only when rendering asks for
// colour, so the text is the same with and without it.
//
//   Table t({"parameter", "A", "B"});
//   t.rowIs({"mtu", "9000", "1500"}, Table::Highlight::red);
//   std::cout << t.render(isatty(1));
//
// A value type; cells are copied in.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace MlagTool {

class Table {
 public:
   enum class Highlight { none, red, yellow };

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

// The width of `text` on a terminal: its UTF-8 code points.
std::size_t displayWidth(const std::string & text);

} // namespace MlagTool
