#include "Session.h"

namespace MlagAgent::Peer {

const char * authModeText(AuthMode mode) noexcept {
   switch (mode) {
      case AuthMode::plaintext:
         return "plaintext";
      case AuthMode::key:
         return "pre-shared key";
      case AuthMode::tls:
         return "mutual TLS";
   }
   return "unknown";
}

Session::Session(const LocalSwitch & local, FrameSink send, std::function< void() > onAuthenticated,
                 std::function< void() > flushSoon)
      : local_(local),
        send_(std::move(send)),
        onAuthenticated_(std::move(onAuthenticated)),
        out_([this](std::string frame) { sendTagged(std::move(frame)); }, std::move(flushSoon)) {}

Session::~Session() = default;

void Session::start() {
   nonce_ = randomBytes(nonceBytes);
   FrameWriter w(FrameType::hello);
   w.u16(protocolVersion);
   w.u8(static_cast< std::uint8_t >(local_.auth));
   w.str(local_.name);
   w.raw(nonce_);
   w.raw(local_.incarnation);
   w.u32(static_cast< std::uint32_t >(local_.plugins.size()));
   for (const auto & [name, digest] : local_.plugins) {
      w.str(name);
      w.str(digest);
   }
   send_(w.finish());
}

void Session::receive(const char * data, std::size_t size, double now) {
   if (state_ == State::stopped) return;
   splitter_.feed(data, size);
   while (state_ != State::stopped) {
      std::optional< Frame > frame = splitter_.next();
      if (!frame) return;
      onFrame(*frame, now);
   }
}

void Session::onFrame(const Frame & frame, double now) {
   switch (frame.type) {
      case FrameType::hello:
         if (state_ != State::awaitingHello) throw WireError("a second hello");
         onHello(frame.payload);
         return;
      case FrameType::auth:
         if (state_ != State::awaitingProof) throw WireError("an auth frame out of place");
         onProof(frame.payload);
         return;
      case FrameType::snapshotBegin:
      case FrameType::snapshotEnd:
      case FrameType::changes:
      case FrameType::keepalive:
         break;
      default:
         throw WireError("unknown frame type " +
                         std::to_string(static_cast< unsigned >(frame.type)));
   }
   if (state_ != State::active) {
      throw WireError(std::string("a ") + frameTypeText(frame.type) +
                      " frame before the session was established");
   }
   const std::string_view tagged = frame.payload;
   if (tagged.size() < tagBytes) throw WireError("a frame too short for its tag");
   const std::string_view payload = tagged.substr(0, tagged.size() - tagBytes);
   if (!proofMatches(inTag_->next(static_cast< std::uint8_t >(frame.type), payload),
                     tagged.substr(payload.size()))) {
      throw WireError(std::string("the ") + frameTypeText(frame.type) +
                      " frame's tag is wrong (changed, lost or repeated on the way)");
   }
   switch (frame.type) {
      case FrameType::snapshotBegin:
         PayloadReader(payload).expectEnd();
         view_->snapshotBegin();
         break;
      case FrameType::snapshotEnd:
         PayloadReader(payload).expectEnd();
         view_->snapshotEnd(now);
         break;
      case FrameType::changes:
         onChanges(std::string(payload));
         break;
      default:
         PayloadReader(payload).expectEnd();
         break;
   }
   view_->frameReceived(now);
}

void Session::onHello(std::string_view payload) {
   PayloadReader r(payload);
   const std::uint16_t version = r.u16();
   if (version != protocolVersion) {
      throw WireError("the peer speaks protocol version " + std::to_string(version) +
                      ", this agent speaks version " + std::to_string(protocolVersion));
   }
   const std::uint8_t auth = r.u8();
   if (auth != static_cast< std::uint8_t >(local_.auth)) {
      throw WireError(std::string("the peer uses ") +
                      (auth <= 2 ? authModeText(static_cast< AuthMode >(auth)) : "an unknown") +
                      " authentication, this agent uses " + authModeText(local_.auth));
   }
   peer_.switchName = std::string(r.str());
   if (peer_.switchName == local_.name) {
      throw WireError("the peer has this switch's own name '" + local_.name + "'");
   }
   peerNonce_ = std::string(r.raw(nonceBytes));
   if (peerNonce_ == nonce_) throw WireError("the peer sent back this switch's own challenge");
   peer_.incarnation = std::string(r.raw(incarnationBytes));
   for (std::uint32_t n = r.count(8); n > 0; --n) {
      std::string name(r.str());
      peer_.plugins[std::move(name)] = std::string(r.str());
   }
   r.expectEnd();
   const std::string_view secret = local_.auth == AuthMode::key ? local_.key : std::string_view();
   outTag_ =
      std::make_unique< FrameTagger >(secret, local_.name, peer_.switchName, nonce_, peerNonce_);
   inTag_ =
      std::make_unique< FrameTagger >(secret, peer_.switchName, local_.name, peerNonce_, nonce_);
   if (local_.auth != AuthMode::key) {
      authenticatedNow();
      return;
   }
   FrameWriter w(FrameType::auth);
   w.raw(keyProof(local_.key, local_.name, peer_.switchName, peerNonce_, nonce_));
   send_(w.finish());
   state_ = State::awaitingProof;
}

void Session::onProof(std::string_view payload) {
   PayloadReader r(payload);
   const std::string_view proof = r.raw(proofBytes);
   r.expectEnd();
   if (!proofMatches(keyProof(local_.key, peer_.switchName, local_.name, nonce_, peerNonce_),
                     proof)) {
      throw WireError("the peer's key proof is wrong (the pre-shared keys differ)");
   }
   authenticatedNow();
}

void Session::authenticatedNow() {
   state_ = State::authenticated;
   splitter_.limitIs(maxFrameBytes + tagBytes);
   onAuthenticated_();
}

void Session::activate(PeerView & view, const std::vector< SwitchAgent::Records > & records,
                       double now) {
   state_ = State::active;
   view_ = &view;
   view.sessionUp(peer_, now);
   flush(); // nothing of an earlier turn may follow the snapshot's start
   sendTagged(FrameWriter(FrameType::snapshotBegin).finish());
   for (const SwitchAgent::Records & r : records) snapshotChanges(*r.local, r.plugin, out_);
   flush();
   sendTagged(FrameWriter(FrameType::snapshotEnd).finish());
   // Installed in the same turn as the snapshot: no change falls between.
   for (const SwitchAgent::Records & r : records) {
      taps_.push_back(std::make_unique< RecordTap >(r.local, r.plugin, out_));
   }
}

void Session::flush() {
   if (state_ != State::active) return;
   out_.flush();
   view_->changesSentIs(out_.added());
}

void Session::onChanges(std::string payload) {
   heldBytes_ += payload.size();
   if (heldBytes_ > maxHeldBatchBytes) {
      throw WireError("a batch of changes larger than " + std::to_string(maxHeldBatchBytes) +
                      " bytes");
   }
   // The changes view the payload where it is held: a deque's members stay put.
   heldPayloads_.push_back(std::move(payload));
   ChangeBatch batch = readChanges(heldPayloads_.back());
   held_.insert(held_.end(), batch.changes.begin(), batch.changes.end());
   if (batch.more) return;
   for (const Change & c : held_) view_->change(c);
   held_.clear();
   heldPayloads_.clear();
   heldBytes_ = 0;
}

void Session::sendTagged(std::string frame) {
   const std::string_view payload = std::string_view(frame).substr(5);
   frame += outTag_->next(static_cast< std::uint8_t >(frame[4]), payload);
   const std::size_t length = frame.size() - 4;
   for (std::size_t i = 0; i < 4; ++i) frame[i] = static_cast< char >(length >> (24 - 8 * i));
   send_(std::move(frame));
}

void Session::sendKeepalive() {
   if (state_ == State::active) sendTagged(FrameWriter(FrameType::keepalive).finish());
}

void Session::stop() {
   state_ = State::stopped;
   view_ = nullptr;
   taps_.clear();
   held_.clear();
   heldPayloads_.clear();
}

} // namespace MlagAgent::Peer
