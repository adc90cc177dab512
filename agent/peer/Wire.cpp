#include "Wire.h"

namespace MlagAgent::Peer {

FrameWriter::FrameWriter(FrameType type) : bytes_(4, '\0') {
   u8(static_cast< std::uint8_t >(type));
}

void FrameWriter::u16(std::uint16_t v) {
   u8(static_cast< std::uint8_t >(v >> 8));
   u8(static_cast< std::uint8_t >(v));
}

void FrameWriter::u32(std::uint32_t v) {
   u16(static_cast< std::uint16_t >(v >> 16));
   u16(static_cast< std::uint16_t >(v));
}

void FrameWriter::str(std::string_view s) {
   if (s.size() > maxFrameBytes)
      throw WireError("a string of " + std::to_string(s.size()) + " bytes does not fit a frame");
   u32(static_cast< std::uint32_t >(s.size()));
   bytes_.append(s);
}

std::string FrameWriter::finish() {
   const std::size_t length = bytes_.size() - 4;
   if (length > maxFrameBytes) {
      throw WireError("a frame of " + std::to_string(length) + " bytes exceeds the limit of " +
                      std::to_string(maxFrameBytes));
   }
   for (int i = 0; i < 4; ++i) {
      bytes_[static_cast< std::size_t >(i)] = static_cast< char >(length >> (24 - 8 * i));
   }
   return std::move(bytes_);
}

std::string_view PayloadReader::raw(std::size_t n) {
   if (n > rest_.size()) throw WireError("the frame ends inside a field");
   std::string_view out = rest_.substr(0, n);
   rest_.remove_prefix(n);
   return out;
}

std::uint8_t PayloadReader::u8() { return static_cast< std::uint8_t >(raw(1)[0]); }

std::uint16_t PayloadReader::u16() {
   const std::uint16_t high = u8();
   return static_cast< std::uint16_t >(high << 8 | u8());
}

std::uint32_t PayloadReader::u32() {
   const std::uint32_t high = u16();
   return high << 16 | u16();
}

std::string_view PayloadReader::str() { return raw(u32()); }

std::uint32_t PayloadReader::count(std::size_t minItemBytes) {
   const std::uint32_t n = u32();
   if (minItemBytes != 0 && n > rest_.size() / minItemBytes) {
      throw WireError("a count of " + std::to_string(n) + " exceeds what the frame holds");
   }
   return n;
}

void PayloadReader::expectEnd() const {
   if (!rest_.empty()) {
      throw WireError(std::to_string(rest_.size()) + " unread bytes at the end of the frame");
   }
}

std::optional< Frame > FrameSplitter::next() {
   const std::size_t available = buffer_.size() - begin_;
   if (available < 4) return std::nullopt;
   std::uint32_t length = 0;
   for (std::size_t i = 0; i < 4; ++i) {
      length = length << 8 | static_cast< std::uint8_t >(buffer_[begin_ + i]);
   }
   if (length == 0) throw WireError("a frame of length 0");
   if (length > limit_) {
      throw WireError("a frame of " + std::to_string(length) + " bytes exceeds the limit of " +
                      std::to_string(limit_));
   }
   if (available - 4 < length) return std::nullopt;
   Frame frame{static_cast< FrameType >(buffer_[begin_ + 4]),
               buffer_.substr(begin_ + 5, length - 1)};
   begin_ += 4 + length;
   // Drop what has been cut once it is most of the buffer, so the buffer
   // stays about one frame long without moving bytes on every frame.
   if (begin_ > buffer_.size() / 2) {
      buffer_.erase(0, begin_);
      begin_ = 0;
   }
   return frame;
}

const char * frameTypeText(FrameType type) noexcept {
   switch (type) {
      case FrameType::hello:
         return "hello";
      case FrameType::auth:
         return "auth";
      case FrameType::snapshotBegin:
         return "snapshot-begin";
      case FrameType::snapshotEnd:
         return "snapshot-end";
      case FrameType::changes:
         return "changes";
      case FrameType::keepalive:
         return "keepalive";
   }
   return "unknown";
}

} // namespace MlagAgent::Peer
