// Text made fit for a one-line message: control characters as \u00XX, so that
// a newline cannot split the line nor a NUL cut it, and bytes that are not
// part of a UTF-8 sequence as \xHH; everything else stays as it is.
//
//   oneLine("a\nb");      // "a\u000ab"
//   oneLine("\xff-é");    // "\xff-é"
#pragma once

#include <string>
#include <string_view>

namespace MlagSim {

std::string oneLine(std::string_view text);

} // namespace MlagSim
