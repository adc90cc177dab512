#include "Crypto.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>
#include <stdexcept>

namespace MlagAgent::Peer {

namespace {

void appendField(std::string & out, std::string_view field) {
   // Length-prefixed, so that no two different field lists give one text.
   const auto n = static_cast< std::uint32_t >(field.size());
   for (int shift = 24; shift >= 0; shift -= 8) out += static_cast< char >(n >> shift);
   out.append(field);
}

} // namespace

std::string randomBytes(std::size_t n) {
   std::string nonce(n, '\0');
   if (RAND_bytes(reinterpret_cast< unsigned char * >(nonce.data()), static_cast< int >(n)) != 1) {
      throw std::runtime_error("the random source failed");
   }
   return nonce;
}

std::string keyProof(std::string_view key, std::string_view sender, std::string_view receiver,
                     std::string_view receiverNonce, std::string_view senderNonce) {
   std::string message = "mlag-config-check peer proof v1";
   for (std::string_view field : {sender, receiver, receiverNonce, senderNonce}) {
      appendField(message, field);
   }
   unsigned char mac[EVP_MAX_MD_SIZE];
   unsigned int length = 0;
   if (!HMAC(EVP_sha256(), key.data(), static_cast< int >(key.size()),
             reinterpret_cast< const unsigned char * >(message.data()), message.size(), mac,
             &length)) {
      throw std::runtime_error("HMAC-SHA-256 failed");
   }
   return std::string(reinterpret_cast< const char * >(mac), length);
}

bool proofMatches(std::string_view expected, std::string_view received) {
   return expected.size() == received.size() &&
          CRYPTO_memcmp(expected.data(), received.data(), expected.size()) == 0;
}

std::string sha256Hex(std::string_view text) {
   unsigned char digest[EVP_MAX_MD_SIZE];
   unsigned int length = 0;
   if (!EVP_Digest(text.data(), text.size(), digest, &length, EVP_sha256(), nullptr)) {
      throw std::runtime_error("SHA-256 failed");
   }
   static const char hex[] = "0123456789abcdef";
   std::string out;
   for (unsigned int i = 0; i < length; ++i) {
      out += hex[digest[i] >> 4];
      out += hex[digest[i] & 15];
   }
   return out;
}

} // namespace MlagAgent::Peer
