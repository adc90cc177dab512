// Kiv::Trace::RingLog: a fixed-size byte ring of binary trace records, and
// ringlog(), the process's ring. Every trace statement appends one record
// (its message number and its values, unformatted) whether or not its level
// is on; when the ring is full the oldest records make room.
//
//   Kiv::Trace::ringlog().sizeIs(64 * 1024);          // and clears it
//   ... trace statements run ...
//   for (auto & l : Kiv::Trace::ringlog().decode()) std::cout << l << '\n';
//
// decode() gives "<level> <source>:<line> <text line>" per record, oldest
// first; the text line is the one the statement emits when its level is on.
// Records are stored whole and dropped whole, so a record never wraps around
// the end of the buffer and decode never sees part of one.
// Single-threaded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Kiv::Trace {

class RingLog {
 public:
   RingLog();
   RingLog(const RingLog &) = delete;
   RingLog & operator=(const RingLog &) = delete;

   // Resizes the buffer and clears it. REQUIRES: bytes < 4 GiB.
   void sizeIs(std::size_t bytes);
   std::size_t size() const noexcept { return buffer_.size(); }
   void enabledIs(bool enabled) noexcept { enabled_ = enabled; }
   bool enabled() const noexcept { return enabled_; }
   // Forgets every record and zeroes the counters.
   void clear() noexcept;

   std::vector< std::string > decode() const;
   // Records appended, and records lost: overwritten by newer ones or too
   // large for the ring. Those held are recordsWritten() - recordsDropped().
   std::uint64_t recordsWritten() const noexcept { return written_; }
   std::uint64_t recordsDropped() const noexcept { return dropped_; }

   // Makes room for one record of statement `message` with `payloadBytes` of
   // values and returns where the values go, or null when the record is
   // larger than the whole ring. Used by the trace statements.
   char * append(std::uint32_t message, std::size_t payloadBytes);

   static constexpr std::size_t defaultSize = 1 << 20;

 private:
   // A record: its total length, its message number, then the values.
   static constexpr std::size_t headerBytes = 8;

   void dropOldest() noexcept;
   void decodeRange(std::size_t from, std::size_t to, std::vector< std::string > & out) const;

   std::vector< char > buffer_;
   // Records lie in [begin_, end_), or, once wrapped_, in [begin_, wrapEnd_)
   // followed by [0, end_) with end_ <= begin_. An empty ring has begin_ == end_ == 0.
   std::size_t begin_ = 0;
   std::size_t end_ = 0;
   std::size_t wrapEnd_ = 0;
   bool wrapped_ = false;
   std::size_t held_ = 0; // records in the buffer
   bool enabled_ = true;
   std::uint64_t written_ = 0;
   std::uint64_t dropped_ = 0;
};

RingLog & ringlog();

} // namespace Kiv::Trace
