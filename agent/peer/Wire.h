// The peer link's wire format: frames of "length, type, payload", and the
// byte-level reading and writing of their payloads. A frame is
//
//   u32 length (big-endian; counts the type byte and the payload) | u8 type | payload
//
// Strings are "u32 length | bytes"; counts are u32. Decoding never trusts a
// length: every read is checked against what is left, and a count larger
// than the bytes that could hold it is refused before anything is allocated.
//
//   FrameWriter w(FrameType::keepalive);  std::string bytes = w.finish();
//   FrameSplitter in(maxFrameBytes);  in.feed(data, n);  while (auto f = in.next()) ...
//
// Plain values; single-threaded.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace MlagAgent::Peer {

inline constexpr std::uint16_t protocolVersion = 1;
// The largest frame an authenticated peer may send, and the largest one an
// unauthenticated peer may (a hello or an answer to the challenge).
inline constexpr std::uint32_t maxFrameBytes = 16u << 20;
inline constexpr std::uint32_t maxHandshakeFrameBytes = 64u << 10;

enum class FrameType : std::uint8_t {
   hello = 1,
   auth = 2,
   snapshotBegin = 3,
   snapshotEnd = 4,
   changes = 5,
   keepalive = 6,
};

// A frame or payload that breaks the format; the message says how.
class WireError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

class FrameWriter {
 public:
   explicit FrameWriter(FrameType type);
   void u8(std::uint8_t v) { bytes_.push_back(static_cast< char >(v)); }
   void u16(std::uint16_t v);
   void u32(std::uint32_t v);
   void str(std::string_view s);
   void raw(std::string_view s) { bytes_.append(s); }
   // Bytes written so far, the length field included.
   std::size_t size() const noexcept { return bytes_.size(); }
   // The whole frame, its length filled in. Raises WireError past maxFrameBytes.
   std::string finish();

 private:
   std::string bytes_;
};

// Reads one payload front to back; every read raises WireError when the
// payload ends too soon.
class PayloadReader {
 public:
   explicit PayloadReader(std::string_view payload) : rest_(payload) {}
   std::uint8_t u8();
   std::uint16_t u16();
   std::uint32_t u32();
   std::string_view str();
   std::string_view raw(std::size_t n);
   // A count of items each at least `minItemBytes` long.
   std::uint32_t count(std::size_t minItemBytes);
   std::string_view remaining() const noexcept { return rest_; }
   // Raises WireError unless the payload has been read to its end.
   void expectEnd() const;

 private:
   std::string_view rest_;
};

struct Frame {
   FrameType type;
   std::string payload;
};

// Cuts a byte stream into frames. Holds at most one partial frame.
class FrameSplitter {
 public:
   explicit FrameSplitter(std::uint32_t limit) : limit_(limit) {}
   void limitIs(std::uint32_t limit) noexcept { limit_ = limit; }
   void feed(const char * data, std::size_t size) { buffer_.append(data, size); }
   // The next whole frame, if one has arrived. Raises WireError for a length
   // of zero or past the limit (before the frame's bytes are awaited).
   std::optional< Frame > next();

 private:
   std::uint32_t limit_;
   std::string buffer_;
   std::size_t begin_ = 0; // first byte not yet cut
};

const char * frameTypeText(FrameType type) noexcept;

} // namespace MlagAgent::Peer
