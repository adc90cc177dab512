#include "Crypto.h"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/params.h>
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

std::string hmacSha256(std::string_view key, std::string_view message) {
   unsigned char mac[EVP_MAX_MD_SIZE];
   unsigned int length = 0;
   if (!HMAC(EVP_sha256(), key.data(), static_cast< int >(key.size()),
             reinterpret_cast< const unsigned char * >(message.data()), message.size(), mac,
             &length)) {
      throw std::runtime_error("HMAC-SHA-256 failed");
   }
   return std::string(reinterpret_cast< const char * >(mac), length);
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
   return hmacSha256(key, message);
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

// One keyed HMAC context, initialised once and reused for every frame.
struct FrameTagger::Mac {
   EVP_MAC * mac = nullptr;
   EVP_MAC_CTX * ctx = nullptr;
   ~Mac() {
      EVP_MAC_CTX_free(ctx);
      EVP_MAC_free(mac);
   }
};

FrameTagger::FrameTagger(std::string_view secret, std::string_view sender,
                         std::string_view receiver, std::string_view senderNonce,
                         std::string_view receiverNonce)
      : mac_(std::make_unique< Mac >()) {
   std::string label = "mlag-config-check frame key v1";
   for (std::string_view field : {sender, receiver, senderNonce, receiverNonce}) {
      appendField(label, field);
   }
   const std::string key = hmacSha256(secret, label);
   char digest[] = "SHA256";
   const OSSL_PARAM params[] = {OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest, 0),
                                OSSL_PARAM_construct_end()};
   mac_->mac = EVP_MAC_fetch(nullptr, "HMAC", nullptr);
   if (mac_->mac) mac_->ctx = EVP_MAC_CTX_new(mac_->mac);
   if (!mac_->ctx || !EVP_MAC_init(mac_->ctx, reinterpret_cast< const unsigned char * >(key.data()),
                                   key.size(), params)) {
      throw std::runtime_error("HMAC-SHA-256 is not available");
   }
}

FrameTagger::~FrameTagger() = default;

std::string FrameTagger::next(std::uint8_t type, std::string_view payload) {
   unsigned char header[9];
   for (int i = 0; i < 8; ++i) header[i] = static_cast< unsigned char >(count_ >> (56 - 8 * i));
   header[8] = type;
   ++count_;
   unsigned char mac[EVP_MAX_MD_SIZE];
   std::size_t length = 0;
   // A null key starts again with the key given at construction.
   if (!EVP_MAC_init(mac_->ctx, nullptr, 0, nullptr) ||
       !EVP_MAC_update(mac_->ctx, header, sizeof header) ||
       !EVP_MAC_update(mac_->ctx, reinterpret_cast< const unsigned char * >(payload.data()),
                       payload.size()) ||
       !EVP_MAC_final(mac_->ctx, mac, &length, sizeof mac)) {
      throw std::runtime_error("HMAC-SHA-256 failed");
   }
   return std::string(reinterpret_cast< const char * >(mac), tagBytes);
}

} // namespace MlagAgent::Peer
