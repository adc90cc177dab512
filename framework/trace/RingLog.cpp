#include "trace/RingLog.h"

#include <cstring>

#include "kiv/Assert.h"
#include "trace/Message.h"

namespace Kiv::Trace {

RingLog::RingLog() : buffer_(defaultSize) {}

void RingLog::sizeIs(std::size_t bytes) {
   KIV_ASSERT(bytes <= 0xffffffffu);
   buffer_.assign(bytes, 0);
   clear();
}

void RingLog::clear() noexcept {
   begin_ = end_ = wrapEnd_ = 0;
   wrapped_ = false;
   held_ = 0;
   written_ = dropped_ = 0;
}

void RingLog::dropOldest() noexcept {
   std::uint32_t length;
   std::memcpy(&length, buffer_.data() + begin_, 4);
   begin_ += length;
   --held_;
   ++dropped_;
   if (held_ == 0) {
      begin_ = end_ = 0;
      wrapped_ = false;
   } else if (wrapped_ && begin_ == wrapEnd_) {
      begin_ = 0;
      wrapped_ = false;
   }
}

char * RingLog::append(std::uint32_t message, std::size_t payloadBytes) {
   ++written_;
   std::size_t length = headerBytes + payloadBytes;
   if (length > buffer_.size()) {
      ++dropped_;
      return nullptr;
   }
   for (;;) {
      if (!wrapped_) {
         if (end_ + length <= buffer_.size()) break;
         // No room before the end of the buffer: go on at its start, behind
         // the oldest records. The tail [wrapEnd_, size) stays unused.
         wrapEnd_ = end_;
         end_ = 0;
         wrapped_ = true;
      } else {
         if (end_ + length <= begin_) break;
         dropOldest();
      }
   }
   char * record = buffer_.data() + end_;
   auto length32 = static_cast< std::uint32_t >(length);
   std::memcpy(record, &length32, 4);
   std::memcpy(record + 4, &message, 4);
   end_ += length;
   ++held_;
   return record + headerBytes;
}

void RingLog::decodeRange(std::size_t from, std::size_t to,
                          std::vector< std::string > & out) const {
   while (from < to) {
      std::uint32_t length;
      std::uint32_t id;
      std::memcpy(&length, buffer_.data() + from, 4);
      std::memcpy(&id, buffer_.data() + from + 4, 4);
      const Message & m = message(id);
      std::string line = std::to_string(m.level) + " " + m.source + ":" + std::to_string(m.line) +
                         " " + m.function + ": ";
      const char * in = buffer_.data() + from + headerBytes;
      const char * end = buffer_.data() + from + length;
      for (const Segment & s : m.segments) {
         if (s.code == ArgCode::piece) {
            line += s.piece;
         } else {
            bool complete = appendDecoded(s.code, in, end, line);
            KIV_ASSERT(complete && "record shorter than its message");
         }
      }
      out.push_back(std::move(line));
      from += length;
   }
}

std::vector< std::string > RingLog::decode() const {
   std::vector< std::string > out;
   out.reserve(held_);
   if (wrapped_) {
      decodeRange(begin_, wrapEnd_, out);
      decodeRange(0, end_, out);
   } else {
      decodeRange(begin_, end_, out);
   }
   return out;
}

RingLog & ringlog() {
   // Never destroyed: statements may run while statics are torn down.
   static auto * ring = new RingLog();
   return *ring;
}

} // namespace Kiv::Trace
