// The change view: what a step changed in the pair's compared values. A row
// is new when its entry appeared, cleared when it went away, changed when a
// value or the verdict moved.
//
//   std::vector< ComparedValue > before = comparedValues(pair.resultJson(), cat);
//   pair.applyStep(i);
//   std::vector< ComparedValue > after = comparedValues(pair.resultJson(), cat);
//   std::cout << changesTable(changes(before, after), names, colour);
//
// Plain values.
#pragma once

#include <string>
#include <vector>

#include "Comparison.h"

namespace MlagTool {

enum class ChangeKind { added, changed, cleared };

// "new", "changed", "cleared"
const char * changeText(ChangeKind kind);

struct Change {
   ChangeKind kind;
   ComparedValue value; // as it stands after the step; as it stood for a cleared row
};

// In the order of `after`, cleared rows at the place of their neighbours
// before the step: the whole list ordered as comparedValues orders rows.
std::vector< Change > changes(const std::vector< ComparedValue > & before,
                              const std::vector< ComparedValue > & after);

// The new and changed rows whose verdict after the step is a mismatch; a
// cleared row has no verdict and is left out.
std::vector< Change > mismatchesOnly(const std::vector< Change > & changes);

// A table with a change column first; "no changes" when the list is empty.
std::string changesTable(const std::vector< Change > & changes, const SwitchNames & names,
                         bool colour);

} // namespace MlagTool
