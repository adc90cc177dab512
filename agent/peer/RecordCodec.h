// The peer link's changes to a peer-to-peer record, on the wire and applied.
// A change names its plugin, the path of nested configurations from the
// plugin's record down to the one it changes, and what changed:
//
//   change := u8 kind | str plugin | u8 depth | depth x (u8 table | str name) | body
//   body   := paramName: str value        | attrSet: str attr | str value
//           | attrDel: str attr           | collectionSet: str collection | str key | str value
//           | collectionDel: str collection | str key
//           | nestedSet: record (the nested configuration at the path, whole)
//           | nestedDel: (nothing; the path names the nested configuration)
//   record := str paramName | count x (str attr | str value)
//           | count x (str collection | str key | str value)
//           | count x (str name | record)        (nested interface configurations)
//           | count x (str name | record)        (nested global configurations)
//
//   Change c = readChange(reader);       // validated whole, or WireError
//   applyChange(c, *peerRecord);         // nested records arrive whole
//
// A Change views the payload it was read from: use it before the payload goes.
#pragma once

#include <string_view>
#include <vector>

#include "ConfigCheck/GenericConfig.h"
#include "Wire.h"

namespace MlagAgent::Peer {

using MlagP2p::ConfigCheck::GenericConfig;

enum class ChangeKind : std::uint8_t {
   paramName = 1,
   attrSet,
   attrDel,
   collectionSet,
   collectionDel,
   nestedSet,
   nestedDel,
};

enum class Table : std::uint8_t { intf = 0, global = 1 };

struct PathStep {
   Table table;
   Kiv::Name name;
};
using Path = std::vector< PathStep >;

// Nested configurations deeper than this are refused on the wire.
inline constexpr std::size_t maxDepth = 32;

struct Change {
   ChangeKind kind{};
   std::string_view plugin;
   Path path;
   std::string_view name; // the attribute or collection; paramName's value
   std::string_view key;  // the collection member's key
   std::string_view value;
   std::string_view image; // nestedSet: the encoded record, validated
};

// The frame carrying one change. `nested` is the record that nestedSet
// sends whole; the other kinds ignore it.
std::string changeFrame(ChangeKind kind, std::string_view plugin, const Path & path,
                        std::string_view name = {}, std::string_view key = {},
                        std::string_view value = {}, const GenericConfig * nested = nullptr);
// Reads a change frame's payload to its end; raises WireError for anything
// malformed, so that nothing is applied from a frame that is not whole.
Change readChange(std::string_view payload);
// Applies `change` to `root`, the plugin's record. A new nested
// configuration is filled before its arrival is announced. Raises WireError
// (changing nothing) when the path names a nested configuration `root` lacks.
void applyChange(const Change & change, GenericConfig & root);

} // namespace MlagAgent::Peer
