#include "Table.h"

#include <algorithm>
#include <array>
#include <span>
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
constexpr char ellipsis[] = "\u2026";

// The code point that starts at text[at] and its length in bytes; length 0
// when the bytes there are not valid UTF-8 (overlong forms, surrogates and
// values past U+10FFFF included).
struct CodePoint {
   char32_t value;
   std::size_t length;
};

CodePoint decode(const std::string & text, std::size_t at) {
   const auto byte = [&](std::size_t i) { return static_cast< unsigned char >(text[i]); };
   const unsigned char lead = byte(at);
   if (lead < 0x80) return {lead, 1};
   std::size_t length = 0;
   char32_t value = 0, least = 0;
   if ((lead & 0xE0) == 0xC0) {
      length = 2;
      value = lead & 0x1F;
      least = 0x80;
   } else if ((lead & 0xF0) == 0xE0) {
      length = 3;
      value = lead & 0x0F;
      least = 0x800;
   } else if ((lead & 0xF8) == 0xF0) {
      length = 4;
      value = lead & 0x07;
      least = 0x10000;
   } else {
      return {0, 0};
   }
   if (at + length > text.size()) return {0, 0};
   for (std::size_t i = 1; i < length; ++i) {
      if ((byte(at + i) & 0xC0) != 0x80) return {0, 0};
      value = (value << 6) | (byte(at + i) & 0x3F);
   }
   if (value < least || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return {0, 0};
   return {value, length};
}

struct Range {
   char32_t first, last;
};

bool within(char32_t c, std::span< const Range > ranges) {
   return std::any_of(ranges.begin(), ranges.end(),
                      [c](const Range & r) { return c >= r.first && c <= r.last; });
}

// Combining marks and the zero-width format characters.
constexpr std::array< Range, 8 > zeroWidth{{{0x0300, 0x036F},
                                            {0x0483, 0x0489},
                                            {0x1AB0, 0x1AFF},
                                            {0x1DC0, 0x1DFF},
                                            {0x200B, 0x200F},
                                            {0x20D0, 0x20FF},
                                            {0xFE00, 0xFE0F},
                                            {0xFE20, 0xFE2F}}};

// East Asian wide and fullwidth blocks, and the emoji planes that terminals
// draw two columns wide.
constexpr std::array< Range, 13 > wide{{{0x1100, 0x115F},
                                        {0x2E80, 0x303E},
                                        {0x3041, 0x33FF},
                                        {0x3400, 0x4DBF},
                                        {0x4E00, 0x9FFF},
                                        {0xA000, 0xA4CF},
                                        {0xAC00, 0xD7A3},
                                        {0xF900, 0xFAFF},
                                        {0xFE30, 0xFE4F},
                                        {0xFF00, 0xFF60},
                                        {0xFFE0, 0xFFE6},
                                        {0x1F300, 0x1FAFF},
                                        {0x20000, 0x3FFFD}}};

std::size_t widthOf(char32_t c) {
   if (within(c, zeroWidth)) return 0;
   return within(c, wide) ? 2 : 1;
}

void appendHex(std::string & out, const char * prefix, unsigned value) {
   constexpr char digits[] = "0123456789abcdef";
   out += prefix;
   out += digits[(value >> 4) & 0xF];
   out += digits[value & 0xF];
}

} // namespace

std::string escaped(const std::string & text) {
   std::string out;
   out.reserve(text.size());
   for (std::size_t at = 0; at < text.size();) {
      const CodePoint c = decode(text, at);
      if (c.length == 0) {
         appendHex(out, "\\x", static_cast< unsigned char >(text[at]));
         ++at;
         continue;
      }
      if (c.value == '\t') {
         out += "\\t";
      } else if (c.value == '\n') {
         out += "\\n";
      } else if (c.value == '\r') {
         out += "\\r";
      } else if (c.value < 0x20 || c.value == 0x7F) {
         appendHex(out, "\\x", static_cast< unsigned >(c.value));
      } else if (c.value >= 0x80 && c.value <= 0x9F) {
         appendHex(out, "\\u00", static_cast< unsigned >(c.value));
      } else {
         out.append(text, at, c.length);
      }
      at += c.length;
   }
   return out;
}

std::size_t displayWidth(const std::string & text) {
   std::size_t width = 0;
   for (std::size_t at = 0; at < text.size();) {
      const CodePoint c = decode(text, at);
      width += c.length == 0 ? 1 : widthOf(c.value);
      at += std::max< std::size_t >(c.length, 1);
   }
   return width;
}

std::string fitted(const std::string & text, std::size_t width) {
   if (displayWidth(text) <= width) return text;
   std::size_t used = 0, at = 0;
   while (at < text.size()) {
      const CodePoint c = decode(text, at);
      const std::size_t step = std::max< std::size_t >(c.length, 1);
      const std::size_t w = c.length == 0 ? 1 : widthOf(c.value);
      if (used + w > width - 1) break;
      used += w;
      at += step;
   }
   // Marks that combine with the last kept character stay with it.
   while (at < text.size()) {
      const CodePoint c = decode(text, at);
      if (c.length == 0 || widthOf(c.value) != 0) break;
      at += c.length;
   }
   return text.substr(0, at) + ellipsis;
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
   auto shown = [](const std::vector< std::string > & cells) {
      std::vector< std::string > out;
      out.reserve(cells.size());
      for (const std::string & cell : cells) out.push_back(fitted(escaped(cell), maxCellWidth));
      return out;
   };
   const std::vector< std::string > header = shown(header_);
   std::vector< std::vector< std::string > > rows;
   rows.reserve(rows_.size());
   for (const Line & l : rows_) rows.push_back(shown(l.cells));

   std::vector< std::size_t > width(header.size());
   auto widen = [&](const std::vector< std::string > & cells) {
      for (std::size_t i = 0; i < cells.size(); ++i) {
         width[i] = std::max(width[i], displayWidth(cells[i]));
      }
   };
   widen(header);
   for (const std::vector< std::string > & cells : rows) widen(cells);

   auto line = [&](const std::vector< std::string > & cells) {
      std::string out;
      for (std::size_t i = 0; i < cells.size(); ++i) {
         out += cells[i];
         if (i + 1 < cells.size()) out.append(width[i] - displayWidth(cells[i]) + 2, ' ');
      }
      return out;
   };

   std::string out = line(header) + '\n';
   std::vector< std::string > rule;
   for (std::size_t w : width) rule.emplace_back(w, '-');
   out += line(rule) + '\n';
   for (std::size_t i = 0; i < rows.size(); ++i) {
      const bool paint = colour && rows_[i].highlight != Highlight::none;
      if (paint) out += colourCode(rows_[i].highlight);
      out += line(rows[i]);
      if (paint) out += colourReset;
      out += '\n';
   }
   return out;
}

} // namespace MlagTool
