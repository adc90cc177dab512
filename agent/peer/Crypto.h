// The peer link's cryptography, from OpenSSL's libcrypto: random challenges,
// the pre-shared key's proof (HMAC-SHA-256) and descriptor digests (SHA-256).
//
//   std::string mine = randomBytes(nonceBytes);
//   std::string proof = keyProof(key, "leaf1", "leaf2", theirNonce, mine);
//   bool ok = proofMatches(proof, received);          // constant time
#pragma once

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

} // namespace MlagAgent::Peer
