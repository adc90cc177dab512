// Finding a member that occurs twice in one JSON object. The DOM parser keeps
// only the last of them, so a scenario that names a member twice would lose
// the first silently; the loader rejects it instead.
//
//   findDuplicateMember(R"({"a": 1, "a": 2})");   // the pointer /a
//   findDuplicateMember(R"({"a": {"a": 1}})");    // nullopt
#pragma once

#include <optional>
#include <string_view>

#include <nlohmann/json.hpp>

namespace MlagSim {

// The location of the first duplicate member, or nullopt when there is none
// (or the text is not JSON).
std::optional< nlohmann::json::json_pointer > findDuplicateMember(std::string_view text);

} // namespace MlagSim
