// The peer link's changes to a peer-to-peer record, on the wire and applied.
// Changes travel in batches, one `changes` frame per turn of the sender's
// event loop (split only past batchBytes, every part but the last marked
// `more`): the receiver applies a batch whole, so the peer's checker never
// meets a nested record announced but not yet filled in.
//
//   changes := u8 more | change...   (to the end of the payload)
//
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
//   ChangeBatcher out(send, [&] { post(flush) });  out.add(...);  out.flush();
//   ChangeBatch in = readChanges(payload);           // validated whole, or WireError
//   for (const Change & c : in.changes) applyChange(c, *peerRecord);
//
// A Change views the payload it was read from: use it before the payload goes.
#pragma once

#include <functional>
#include <optional>
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

// Appends one change to a batch. `nested` is the record that nestedSet
// sends whole; the other kinds ignore it.
void writeChange(FrameWriter & w, ChangeKind kind, std::string_view plugin, const Path & path,
                 std::string_view name = {}, std::string_view key = {}, std::string_view value = {},
                 const GenericConfig * nested = nullptr);
// A whole changes frame holding one change.
std::string changeFrame(ChangeKind kind, std::string_view plugin, const Path & path,
                        std::string_view name = {}, std::string_view key = {},
                        std::string_view value = {}, const GenericConfig * nested = nullptr);

struct ChangeBatch {
   bool more = false; // the batch goes on in the next frame
   std::vector< Change > changes;
};
// Reads a changes frame's payload to its end; raises WireError for anything
// malformed, so that nothing is applied from a frame that is not whole.
ChangeBatch readChanges(std::string_view payload);

// A batch part grows to about this size before it is sent and another begun.
inline constexpr std::size_t batchBytes = 256u << 10;

// Gathers changes into changes frames. The first change of a turn asks for
// `flushSoon`, whose caller calls flush() once the turn is over.
class ChangeBatcher {
 public:
   using Emit = std::function< void(std::string frame) >;
   ChangeBatcher(Emit emit, std::function< void() > flushSoon);

   void add(ChangeKind kind, std::string_view plugin, const Path & path, std::string_view name = {},
            std::string_view key = {}, std::string_view value = {},
            const GenericConfig * nested = nullptr);
   // Sends what the turn gathered as its batch's last part.
   void flush();
   // Changes added so far.
   std::uint64_t added() const noexcept { return added_; }

 private:
   void emitPart(bool more);

   Emit emit_;
   std::function< void() > flushSoon_;
   std::optional< FrameWriter > part_; // the part being written
   bool turnOpen_ = false;             // changes added since the last flush
   std::uint64_t added_ = 0;
};
// Applies `change` to `root`, the plugin's record. A new nested
// configuration is filled before its arrival is announced. Raises WireError
// (changing nothing) when the path names a nested configuration `root` lacks.
void applyChange(const Change & change, GenericConfig & root);

} // namespace MlagAgent::Peer
