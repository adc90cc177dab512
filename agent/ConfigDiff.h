// The smallest set of steps that turns one configuration of a switch into
// another: attribute values set or cleared, collection members added,
// changed or removed, nested configurations added or removed, MLAG ids set,
// changed or removed. Equal values give no step.
//
//   std::vector< MlagSim::Step > steps = configChanges(live.sw, next.sw, live.plugins, file);
//   for (const MlagSim::Step & s : steps) apply(s);
//
// The order matters and is part of the contract: MLAG ids set or changed
// first; then removals of nested configurations; value changes (depth
// first, byte order); additions of nested configurations; MLAG ids removed
// last. The checker knows a nested configuration by its key alone and
// removing one clears what is filed under that key, so a key that moves
// from one collection to another leaves before it arrives. An interface's
// id arrives before a nested configuration of that interface and leaves
// after it, so that the configuration is never, even for a moment, one of
// an MLAG-only collection without its id, which a fresh start never builds.
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "sim/Scenario.h"

namespace MlagAgent {

// A change the live objects cannot take: what() is "<file>: <place>: <why>".
struct ReloadError : std::runtime_error {
   using std::runtime_error::runtime_error;
};

// `from` and `to` are the same switch, described by `plugins`. Raises
// ReloadError naming `fileName` when an attribute the descriptors do not
// name changes between a value and a collection (the live entity keeps an
// attribute's shape).
std::vector< MlagSim::Step > configChanges(const MlagSim::SwitchSpec & from,
                                           const MlagSim::SwitchSpec & to,
                                           const nlohmann::json & plugins,
                                           const std::string & fileName);

} // namespace MlagAgent
