#include "Table.h"

#include <algorithm>
#include <stdexcept>

namespace MlagTool {

namespace {

const char * colourCode(Table::Highlight h) {
   switch (h) {
      case Table::Highlight::red:
         return "\x1b[31m";
      case Table::Highlight::yellow:
         return "\x1b[33m";
      case Table::Highlight::none:
         break;
   }
   return "";
}

constexpr char colourReset[] = "\x1b[0m";

} // namespace

std::size_t displayWidth(const std::string & text) {
   // Continuation bytes (10xxxxxx) add nothing.
   return static_cast< std::size_t >(std::count_if(text.begin(), text.end(), [](char c) {
      return (static_cast< unsigned char >(c) & 0xC0) != 0x80;
   }));
}

Table::Table(std::vector< std::string > header) : header_(std::move(header)) {}

void Table::rowIs(std::vector< std::string > cells, Highlight highlight) {
   if (cells.size() != header_.size()) {
      throw std::invalid_argument("table row has " + std::to_string(cells.size()) +
                                  " cells, the header " + std::to_string(header_.size()));
   }
   rows_.push_back({std::move(cells), highlight});
}

std::string Table::render(bool colour) const {
   std::vector< std::size_t > width(header_.size());
   auto widen = [&](const std::vector< std::string > & cells) {
      for (std::size_t i = 0; i < cells.size(); ++i) {
         width[i] = std::max(width[i], displayWidth(cells[i]));
      }
   };
   widen(header_);
   for (const Line & l : rows_) widen(l.cells);

   auto line = [&](const std::vector< std::string > & cells) {
      std::string out;
      for (std::size_t i = 0; i < cells.size(); ++i) {
         out += cells[i];
         if (i + 1 < cells.size()) out.append(width[i] - displayWidth(cells[i]) + 2, ' ');
      }
      return out;
   };

   std::string out = line(header_) + '\n';
   std::vector< std::string > rule;
   for (std::size_t w : width) rule.emplace_back(w, '-');
   out += line(rule) + '\n';
   for (const Line & l : rows_) {
      bool paint = colour && l.highlight != Highlight::none;
      if (paint) out += colourCode(l.highlight);
      out += line(l.cells);
      if (paint) out += colourReset;
      out += '\n';
   }
   return out;
}

} // namespace MlagTool
