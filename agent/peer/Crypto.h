// The peer link's cryptography, from OpenSSL's libcrypto: random challenges,
// the pre-shared key's proof (HMAC-SHA-256) and descriptor digests (SHA-256).
//
//   std::string mine = randomBytes(nonceBytes);
//   std::string proof = keyProof(key, "leaf1", "leaf2", theirNonce, mine);
//   bool ok = proofMatches(proof, received);          // constant time
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace MlagAgent::Peer {

inline constexpr std::size_t nonceBytes = 32;
inline constexpr std::size_t proofBytes = 32;

// `n` bytes from the system's random source.
std::string randomBytes(std::size_t n);
// What `sender` shows `receiver` to prove that it holds `key`: an HMAC over
// both names and both challenges, the receiver's first, so that a proof is
// good for one direction of one connection only.
std::string keyProof(std::string_view key, std::string_view sender, std::string_view receiver,
                     std::string_view receiverNonce, std::string_view senderNonce);
bool proofMatches(std::string_view expected, std::string_view received);
// SHA-256 of `text` in lowercase hex.
std::string sha256Hex(std::string_view text);

inline constexpr std::size_t tagBytes = 16;

// The tag that closes every frame after the handshake: HMAC-SHA-256, cut to
// tagBytes, over the frame's number in its direction and its type and
// payload, keyed for one direction of one connection. A changed, dropped,
// repeated or reordered frame fails its check. In key mode the key derives
// from the pre-shared key, so only the peer can tag; otherwise from the two
// challenges alone, which guards against corruption, not against an
// attacker (TLS does that in TLS mode).
class FrameTagger {
 public:
   // `secret` is the pre-shared key, or empty.
   FrameTagger(std::string_view secret, std::string_view sender, std::string_view receiver,
               std::string_view senderNonce, std::string_view receiverNonce);
   ~FrameTagger();
   FrameTagger(const FrameTagger &) = delete;
   FrameTagger & operator=(const FrameTagger &) = delete;

   // The tag of the next frame in this direction.
   std::string next(std::uint8_t type, std::string_view payload);

 private:
   struct Mac;
   std::unique_ptr< Mac > mac_;
   std::uint64_t count_ = 0;
};

} // namespace MlagAgent::Peer
