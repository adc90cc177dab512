// The peer link's frame decoder and protocol, fed by the fuzzer. The first
// byte picks one of two runs:
//
// - decoder (high bit set): the rest is a byte stream for a FrameSplitter;
//   each change frame is read and applied to a scratch record. A change that
//   reads must encode back to the same bytes, and one that is refused must
//   leave the record as it was.
// - session (high bit clear): two switches in memory, leaf1 (A) and leaf2
//   (B), run real Sessions against each other through a relay that checks
//   every tag A and B send and tags again what it delivers, so the input can
//   reach the states after the handshake. The rest of the input is a list of
//   steps: deliver frames (in chunks), change either switch's local record,
//   inject, drop, duplicate or corrupt frames on their way to B, feed B raw
//   bytes, run the checkers, reconnect.
//
// Findings beside the sanitizers: a receive() that changes the receiving
// switch's local records, an exception other than WireError out of
// receive(), a sender whose frames do not verify, a WireError on a stream
// nobody touched (valid tags, keys that match, a session ready for it), a
// link that carried one side's frames untouched but left the other's peer
// records unlike the sender's local ones, and a framework object alive
// after teardown.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "SwitchAgent.h"
#include "kiv/ActivityManager.h"
#include "kiv/Ptr.h"
#include "kiv/System.h"
#include "peer/Crypto.h"
#include "peer/PeerView.h"
#include "peer/RecordCodec.h"
#include "peer/Session.h"
#include "peer/Wire.h"
#include "sim/Pair.h"
#include "sim/SwitchFile.h"

namespace {

using namespace MlagAgent::Peer;
using MlagAgent::SwitchAgent;
using MlagP2p::ConfigCheck::CollectionConfig;

[[noreturn]] void finding(const std::string & what) {
   std::cerr << "PeerProtocolFuzz: " << what << "\n";
   std::abort();
}

// Reads the input front to back; past its end every read gives zeros.
class Input {
 public:
   Input(const std::uint8_t * data, std::size_t size) : data_(data), size_(size) {}
   bool empty() const noexcept { return size_ == 0; }
   std::uint8_t u8() {
      if (size_ == 0) return 0;
      --size_;
      return *data_++;
   }
   std::string bytes(std::size_t n) {
      n = std::min(n, size_);
      std::string out(reinterpret_cast< const char * >(data_), n);
      data_ += n;
      size_ -= n;
      return out;
   }

 private:
   const std::uint8_t * data_;
   std::size_t size_;
};

// Names the switch files use, so that short inputs hit existing values.
const char * const vocabulary[] = {
   "mlag",
   "stp",
   "portChannel",
   "vlan",
   "lldp",
   "ntp",
   "domainId",
   "peerLink",
   "mode",
   "vlanPriority",
   "mtu",
   "lacpMode",
   "allowedVlan",
   "name",
   "intfConfig",
   "vlanConfig",
   "Port-Channel10",
   "Port-Channel20",
   "Ethernet1",
   "vlan10",
   "vlan20",
   "10",
   "20",
   "9214",
   "active",
   "mstp",
   "",
   "pod1",
   "true",
};
constexpr std::size_t vocabularySize = sizeof vocabulary / sizeof vocabulary[0];

// A word of the vocabulary, or up to 31 raw bytes of the input.
std::string token(Input & in) {
   const std::uint8_t b = in.u8();
   if (b < 0xe0) return vocabulary[b % vocabularySize];
   return in.bytes(b & 0x1f);
}

// The two switches: shared plugins (one of them with nested interface and one
// with nested group configurations), one plugin on each side only, and one
// whose descriptors differ.
constexpr char leafPlugins[] = R"(
   "mlag": {"attrName": {"domainId": "domain id", "peerLink": "peer link"}},
   "stp": {"attrName": {"mode": "spanning-tree mode"},
           "collectionName": {"vlanPriority": "vlan priority"}},
   "portChannel": {"nestedConfigCheckDesc": {"intfConfig": {
      "mlagInterfacesOnly": true,
      "attrName": {"mtu": "mtu", "lacpMode": "lacp mode"},
      "collectionName": {"allowedVlan": "allowed vlan"},
      "valueStrOverride": {"true": "allowed"}}}},
   "vlan": {"nestedConfigCheckDesc": {"vlanConfig": {"attrName": {"name": "name"}}}},
)";

std::string switchText(const std::string & name, const std::string & extraPlugin,
                       const std::string & config) {
   return std::string(R"({"description": "peer protocol fuzzing", "plugins": {)") + leafPlugins +
          extraPlugin + R"(}, "switch": {"name": ")" + name +
          R"(", "mlag": {"Port-Channel10": "10", "Port-Channel20": "20"}, "config": )" + config +
          "}}";
}

const MlagSim::SwitchFile & switchFile(std::size_t side) {
   static const MlagSim::SwitchFile files[2] = {
      MlagSim::parseSwitchFile(
         switchText("leaf1", R"("ntp": {"attrName": {"server": "server"}})",
                    R"({"mlag": {"domainId": "pod1", "peerLink": "Port-Channel1000"},
                        "stp": {"mode": "mstp", "vlanPriority": {"10": 4096, "20": 8192}},
                        "portChannel": {"intfConfig": {
                           "Port-Channel10": {"mtu": 9214, "lacpMode": "active",
                                              "allowedVlan": {"10": true, "20": true}},
                           "Port-Channel20": {"mtu": 1500}}},
                        "vlan": {"vlanConfig": {"vlan10": {"name": "servers"}}},
                        "ntp": {"server": "10.0.0.1"}})"),
         "leaf1.switch.json"),
      MlagSim::parseSwitchFile(
         switchText("leaf2", R"("lldp": {"attrName": {"holdTime": "hold time"}})",
                    R"({"mlag": {"domainId": "pod1", "peerLink": "Port-Channel2000"},
                        "stp": {"mode": "rstp", "vlanPriority": {"10": 4096}},
                        "portChannel": {"intfConfig": {
                           "Port-Channel10": {"mtu": 9000, "lacpMode": "active",
                                              "allowedVlan": {"10": true}}}},
                        "vlan": {"vlanConfig": {"vlan20": {"name": "storage"}}},
                        "lldp": {"holdTime": 120}})"),
         "leaf2.switch.json"),
   };
   return files[side];
}

// A record as comparable text: every map in byte order of key, nested
// records included.
void dumpRecord(const GenericConfig & r, std::string & out) {
   const auto put = [&out](std::string_view s) {
      out += std::to_string(s.size());
      out += ':';
      out += s;
   };
   put(r.paramName().view());
   std::map< std::string_view, std::string_view > attrs;
   for (auto & it : r.attrMap()) attrs[it.key().view()] = it.value().view();
   out += 'a' + std::to_string(attrs.size());
   for (const auto & [k, v] : attrs) put(k), put(v);
   std::map< std::pair< std::string_view, std::string_view >, std::string_view > members;
   for (auto & it : r.attrCollectionMap()) {
      members[{it.key().collection().view(), it.key().key().view()}] = it.value().view();
   }
   out += 'c' + std::to_string(members.size());
   for (const auto & [k, v] : members) put(k.first), put(k.second), put(v);
   for (const bool intf : {true, false}) {
      std::map< std::string_view, const GenericConfig * > nested;
      if (intf) {
         for (auto & it : r.nestedIntfConfigMap()) nested[it.key().view()] = it.value().get();
      } else {
         for (auto & it : r.nestedGlobalConfigMap()) nested[it.key().view()] = it.value().get();
      }
      out += (intf ? 'i' : 'g') + std::to_string(nested.size());
      for (const auto & [k, v] : nested) {
         put(k);
         dumpRecord(*v, out);
         out += '.';
      }
   }
}

std::string dumpOf(const GenericConfig & r) {
   std::string out;
   dumpRecord(r, out);
   return out;
}

// ---- decoder ----

// The changes frame's payload again, each change as this side writes it (a
// nested record as it arrived: its encoding is not the only one).
std::string encodeAgain(const ChangeBatch & batch) {
   FrameWriter w(FrameType::changes);
   w.u8(batch.more ? 1 : 0);
   for (const Change & c : batch.changes) {
      if (c.kind != ChangeKind::nestedSet) {
         writeChange(w, c.kind, c.plugin, c.path, c.name, c.key, c.value);
         continue;
      }
      w.u8(static_cast< std::uint8_t >(c.kind));
      w.str(c.plugin);
      w.u8(static_cast< std::uint8_t >(c.path.size()));
      for (const PathStep & step : c.path) {
         w.u8(static_cast< std::uint8_t >(step.table));
         w.str(step.name.view());
      }
      w.raw(c.image);
   }
   return w.finish().substr(5);
}

void applyChecked(const Change & c, const Kiv::Ptr< GenericConfig > & root) {
   const std::string before = dumpOf(*root);
   try {
      applyChange(c, *root);
   } catch (const WireError &) {
      if (dumpOf(*root) != before) finding("a refused change changed the record");
      return;
   }
   if (c.kind != ChangeKind::nestedSet) return;
   // What arrived is sent again as this side would send it, and reads.
   Kiv::Ptr< GenericConfig > at = root;
   for (const PathStep & step : c.path) {
      at = step.table == Table::intf ? at->nestedIntfConfig(step.name)
                                     : at->nestedGlobalConfig(step.name);
      if (!at) finding("a nested record that was set is missing");
   }
   FrameWriter w(FrameType::changes);
   w.u8(0);
   writeChange(w, c.kind, c.plugin, c.path, {}, {}, {}, at.get());
   try {
      readChanges(w.finish().substr(5));
   } catch (const WireError & e) {
      finding(std::string("a nested record sent again does not read: ") + e.what());
   }
}

void fuzzDecoder(Input in, std::uint8_t control) {
   static const std::uint32_t limits[] = {maxHandshakeFrameBytes, maxFrameBytes,
                                          maxFrameBytes + tagBytes, 64};
   FrameSplitter splitter(limits[control & 3]);
   const std::size_t chunk = (control >> 2) & 0x1f; // 0: all at once
   const std::string stream = in.bytes(SIZE_MAX);
   const Kiv::Ptr< GenericConfig > scratch = Kiv::kivNew< GenericConfig >(Kiv::Name("scratch"));
   std::size_t fed = 0;
   try {
      while (true) {
         std::optional< Frame > frame = splitter.next();
         if (!frame) {
            if (fed == stream.size()) break;
            const std::size_t n =
               chunk == 0 ? stream.size() - fed : std::min(chunk, stream.size() - fed);
            splitter.feed(stream.data() + fed, n);
            fed += n;
            continue;
         }
         if (frame->type != FrameType::changes) continue;
         // The payload as written, and as it arrives with its tag.
         const std::string_view whole = frame->payload;
         std::vector< std::string_view > payloads = {whole};
         if (whole.size() >= tagBytes) payloads.push_back(whole.substr(0, whole.size() - tagBytes));
         for (const std::string_view payload : payloads) {
            ChangeBatch batch;
            try {
               batch = readChanges(payload);
            } catch (const WireError &) {
               continue;
            }
            if (encodeAgain(batch) != payload) {
               finding("a changes frame read from the wire encodes back to other bytes");
            }
            for (const Change & c : batch.changes) applyChecked(c, scratch);
         }
      }
   } catch (const WireError &) {
      // The splitter refused a length: the stream ends here.
   }
}

// ---- session ----

enum class TagMode : std::uint8_t { valid, none, bad };

// One frame on its way to the receiving session.
struct Item {
   std::uint8_t type;
   std::string payload; // without its tag
   TagMode tag;
};

struct Side {
   std::unique_ptr< SwitchAgent > agent;
   std::unique_ptr< PeerView > view;
   LocalSwitch local;
   std::unique_ptr< Session > session;
   std::string out;         // what the session sent, not yet taken by the relay
   bool flushAsked = false; // the session wants flush() at the end of the turn
   bool activateOnAuth = true;
   bool active = false; // this connection's session was activated
};

// One direction of the link: cuts the sender's bytes into frames, checks
// their tags and holds them until the step that delivers them.
struct Relay {
   FrameSplitter splitter{maxFrameBytes + tagBytes};
   std::string senderName, senderNonce; // from the sender's hello
   std::unique_ptr< FrameTagger > verify, forge;
   std::deque< Item > queue;
   TagMode mode = TagMode::valid; // for the frames relayed from the sender
   bool faithful = true;          // nothing injected, dropped or changed
   bool validTags = true;         // every frame delivered carried a valid tag
   // The sender's tags are checked unless the way to it was tampered with
   // before it was authenticated: it then keys its tags with what it was told.
   bool checkTags = true;
};

class Link {
 public:
   Link(std::uint8_t control, std::uint8_t modes) {
      const auto auth = static_cast< AuthMode >((control & 3) % 3);
      keyMismatch_ = auth == AuthMode::key && (control & 4);
      sides_[1].activateOnAuth = !(control & 8);
      static const TagMode abModes[] = {TagMode::valid, TagMode::none, TagMode::bad,
                                        TagMode::valid};
      abMode_ = abModes[modes & 3];
      baMode_ = (modes & 4) ? TagMode::none : TagMode::valid;
      for (std::size_t i = 0; i < 2; ++i) {
         Side & s = sides_[i];
         s.agent = std::make_unique< SwitchAgent >(switchFile(i));
         s.agent->start();
         s.view = std::make_unique< PeerView >(*s.agent);
         s.local.name = s.agent->file().sw.name;
         s.local.plugins = s.view->localPlugins();
         s.local.auth = auth;
         s.local.key = i == 1 && keyMismatch_ ? "another key" : "the pair's key";
         s.local.incarnation = std::string(incarnationBytes, i == 0 ? 'a' : 'b');
      }
      settle();
      connect();
   }

   ~Link() {
      close("teardown");
      for (Side & s : sides_) s.session.reset();
      for (Side & s : sides_) s.view.reset();
      for (Side & s : sides_) s.agent.reset();
   }

   void step(Input & in) {
      now_ += 1.0;
      const std::uint8_t op = in.u8() % 12;
      switch (op) {
         case 0:
         case 1: {
            const std::uint8_t count = in.u8();
            deliver(op, count, in.u8());
            break;
         }
         case 2:
            localChanges(0, in);
            break;
         case 3:
            localChanges(1, in);
            break;
         case 4:
            injectFrame(in);
            break;
         case 5:
            injectChanges(in);
            break;
         case 6:
            tampered();
            receive(1, in.bytes(in.u8() % 64));
            break;
         case 7:
            tamper(in);
            break;
         case 8:
            settle();
            break;
         case 9:
            prod(in.u8());
            break;
         case 10:
            connect();
            break;
         case 11:
            flush();
            break;
      }
      pump();
   }

   // Delivers everything, runs the checkers until quiet, and checks that an
   // untouched link left each side's peer records equal to the other's local
   // records.
   void finish() {
      flush();
      if (!connected_) return;
      for (std::size_t to = 0; to < 2; ++to) {
         Side & receiver = sides_[to];
         Side & sender = sides_[1 - to];
         if (!relays_[1 - to].faithful || !receiver.active || !sender.active) continue;
         if (!receiver.view->synchronised())
            finding("a whole snapshot left the view unsynchronised");
         for (const SwitchAgent::Records & mine : receiver.agent->records()) {
            const GenericConfig * theirs = nullptr;
            for (const SwitchAgent::Records & r : sender.agent->records()) {
               if (r.plugin == mine.plugin) theirs = r.local.get();
            }
            if (theirs && dumpOf(*mine.peer) != dumpOf(*theirs)) {
               finding(receiver.local.name + "'s peer record of '" + mine.plugin +
                       "' differs from " + sender.local.name + "'s local record:\n  " +
                       dumpOf(*mine.peer) + "\n  " + dumpOf(*theirs));
            }
            if (!theirs &&
                (mine.peer->attrSize() || mine.peer->attrCollectionSize() ||
                 mine.peer->nestedIntfConfigSize() || mine.peer->nestedGlobalConfigSize())) {
               finding(receiver.local.name + " keeps values of '" + mine.plugin + "', which " +
                       sender.local.name + " does not have");
            }
         }
      }
      for (Side & s : sides_) {
         s.view->statusJson(now_).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
      }
   }

 private:
   void settle() { MlagSim::runUntilQuiet(1'000'000); }

   // Ends the connection as the link does after an error: neither session
   // reads nor sends again.
   void close(const std::string & reason) {
      if (!connected_) return;
      connected_ = false;
      for (Side & s : sides_) {
         s.session->stop();
         if (s.active) s.view->sessionDown(now_, reason);
         s.active = false;
      }
   }

   // A new connection: fresh sessions (new challenges), empty relays.
   void connect() {
      close("reconnect");
      for (std::size_t i = 0; i < 2; ++i) {
         Side & s = sides_[i];
         s.session.reset();
         s.out.clear();
         s.flushAsked = false;
         s.session = std::make_unique< Session >(
            s.local, [&s](std::string frame) { s.out += frame; },
            [this, &s] {
               if (s.activateOnAuth) activate(s);
            },
            [&s] { s.flushAsked = true; });
         relays_[i] = Relay();
      }
      relays_[0].mode = abMode_;
      relays_[1].mode = baMode_;
      connected_ = true;
      for (Side & s : sides_) s.session->start();
      pump();
   }

   void activate(Side & s) {
      s.active = true;
      s.session->activate(*s.view, s.agent->records(), now_);
   }

   // Ends the turn: the sessions send their batches, and what they sent
   // moves into the relays, every tag checked.
   void pump() {
      for (std::size_t from = 0; from < 2; ++from) {
         Side & s = sides_[from];
         Relay & relay = relays_[from];
         if (s.flushAsked) {
            s.flushAsked = false;
            s.session->flush();
         }
         if (s.out.empty()) continue;
         relay.splitter.feed(s.out.data(), s.out.size());
         s.out.clear();
         try {
            while (std::optional< Frame > frame = relay.splitter.next()) take(from, *frame);
         } catch (const WireError & e) {
            finding(s.local.name + " sent a frame the relay cannot cut: " + e.what());
         }
      }
   }

   // The relay's copies of the tags from `from`: one to check the sender's,
   // one to tag what it delivers. Both hellos have passed by then.
   void makeTaggers(std::size_t from) {
      Relay & relay = relays_[from];
      const Relay & back = relays_[1 - from];
      if (relay.verify) return;
      const auto secret = [](const Side & s) {
         return s.local.auth == AuthMode::key ? std::string_view(s.local.key) : std::string_view();
      };
      relay.verify =
         std::make_unique< FrameTagger >(secret(sides_[from]), relay.senderName, back.senderName,
                                         relay.senderNonce, back.senderNonce);
      relay.forge =
         std::make_unique< FrameTagger >(secret(sides_[1 - from]), relay.senderName,
                                         back.senderName, relay.senderNonce, back.senderNonce);
   }

   void take(std::size_t from, const Frame & frame) {
      Relay & relay = relays_[from];
      const auto type = static_cast< std::uint8_t >(frame.type);
      if (frame.type == FrameType::hello || frame.type == FrameType::auth) {
         if (frame.type == FrameType::hello) {
            PayloadReader r(frame.payload);
            r.u16();
            r.u8();
            relay.senderName = std::string(r.str());
            relay.senderNonce = std::string(r.raw(nonceBytes));
         }
         relay.queue.push_back({type, frame.payload, TagMode::none});
         return;
      }
      const Side & sender = sides_[from];
      makeTaggers(from);
      if (frame.payload.size() < tagBytes) finding(sender.local.name + " sent an untagged frame");
      const std::string_view payload =
         std::string_view(frame.payload).substr(0, frame.payload.size() - tagBytes);
      const std::string_view tag = std::string_view(frame.payload).substr(payload.size());
      if (relay.verify->next(type, payload) != tag && relay.checkTags) {
         finding(sender.local.name + " sent a " + frameTypeText(frame.type) +
                 " frame whose tag does not verify");
      }
      relay.queue.push_back({type, std::string(payload), relay.mode});
   }

   std::string encode(std::size_t from, const Item & item) {
      Relay & relay = relays_[from];
      std::string body(1, static_cast< char >(item.type));
      body += item.payload;
      switch (item.tag) {
         case TagMode::valid:
            makeTaggers(from);
            body += relay.forge->next(item.type, item.payload);
            break;
         case TagMode::none:
            if (item.type != static_cast< std::uint8_t >(FrameType::hello) &&
                item.type != static_cast< std::uint8_t >(FrameType::auth)) {
               relay.validTags = false;
            }
            break;
         case TagMode::bad:
            body += std::string(tagBytes, '\x5a');
            relay.validTags = false;
            break;
      }
      std::string frame(4, '\0');
      for (std::size_t i = 0; i < 4; ++i) {
         frame[i] = static_cast< char >(body.size() >> (24 - 8 * i));
      }
      return frame + body;
   }

   // Delivers up to `count` frames (all for 0) in chunks of `chunk` bytes
   // (whole for 0).
   void deliver(std::size_t from, std::uint8_t count, std::uint8_t chunk) {
      Relay & relay = relays_[from];
      std::string bytes;
      for (std::size_t n = count % 8; !relay.queue.empty() && (count % 8 == 0 || n > 0); --n) {
         bytes += encode(from, relay.queue.front());
         relay.queue.pop_front();
      }
      const std::size_t size = chunk % 32 == 0 ? bytes.size() : chunk % 32;
      for (std::size_t at = 0; at < bytes.size() && connected_; at += size) {
         receive(1 - from, bytes.substr(at, size));
      }
   }

   void flush() {
      for (int round = 0; round < 8 && connected_; ++round) {
         settle();
         pump();
         if (relays_[0].queue.empty() && relays_[1].queue.empty()) return;
         deliver(0, 0, 0);
         deliver(1, 0, 0);
      }
      settle();
   }

   void receive(std::size_t to, const std::string & bytes) {
      if (!connected_) return;
      Side & s = sides_[to];
      std::vector< std::string > before;
      for (const SwitchAgent::Records & r : s.agent->records()) before.push_back(dumpOf(*r.local));
      const Relay & relay = relays_[1 - to];
      std::string error;
      try {
         s.session->receive(bytes.data(), bytes.size(), now_);
      } catch (const WireError & e) {
         error = e.what();
      } catch (const std::exception & e) {
         finding(s.local.name + ": receive() raised something other than WireError: " + e.what());
      }
      for (std::size_t i = 0; i < before.size(); ++i) {
         if (dumpOf(*s.agent->records()[i].local) != before[i]) {
            finding(s.local.name + ": receive() changed the local record of '" +
                    s.agent->records()[i].plugin + "'" + (error.empty() ? "" : " and raised"));
         }
      }
      if (error.empty()) return;
      // A session the link has not chosen refuses what the other side sends.
      if (relay.faithful && relay.validTags && !keyMismatch_ &&
          s.session->state() != Session::State::authenticated) {
         finding(s.local.name + " refused a stream nobody touched: " + error);
      }
      close(error);
   }

   // A local record of `side`, or one nested in it, and how deep that is.
   std::pair< GenericConfig *, std::size_t > record(std::size_t side, Input & in) {
      const std::vector< SwitchAgent::Records > & records = sides_[side].agent->records();
      GenericConfig * at = records[in.u8() % records.size()].local.get();
      std::size_t depth = 0;
      // Down the nested records, as far as the input says and they go.
      for (std::uint8_t steps = in.u8() % 32; steps > 0; --steps, ++depth) {
         const std::uint8_t pick = in.u8();
         auto & map = (pick & 1) ? at->nestedGlobalConfigMap() : at->nestedIntfConfigMap();
         if (map.size() == 0) break;
         std::size_t n = (pick >> 1) % map.size();
         for (auto & it : map) {
            if (n-- == 0) {
               at = it.value().get();
               break;
            }
         }
      }
      return {at, depth};
   }

   // One to four changes in one turn: they travel as one batch.
   void localChanges(std::size_t side, Input & in) {
      for (int n = 1 + in.u8() % 4; n > 0; --n) localChange(side, in);
   }

   void localChange(std::size_t side, Input & in) {
      const auto [at, depth] = record(side, in);
      GenericConfig & r = *at;
      switch (in.u8() % 9) {
         case 0:
            r.paramNameIs(token(in));
            break;
         case 1:
         case 2: {
            const std::string attr = token(in);
            r.attrIs(attr, token(in));
            break;
         }
         case 3:
            r.attrDel(token(in));
            break;
         case 4: {
            const std::string collection = token(in);
            const std::string key = token(in);
            r.attrCollectionIs(CollectionConfig(collection, key), token(in));
            break;
         }
         case 5: {
            const std::string collection = token(in);
            r.attrCollectionDel(CollectionConfig(collection, token(in)));
            break;
         }
         case 6:
         case 7: {
            const Kiv::Name name(token(in));
            const bool global = in.u8() & 1;
            // A configuration file never gives one record a key in both
            // tables (the checker asserts it), nor nests past what its JSON
            // nesting limit allows (about 30 levels, within the wire's 32).
            if (global ? r.nestedIntfConfig(name) : r.nestedGlobalConfig(name)) break;
            if (depth >= 30) break;
            const Kiv::Ptr< GenericConfig > nested =
               global ? r.nestedGlobalConfigIs(name) : r.nestedIntfConfigIs(name);
            const std::string attr = token(in);
            nested->attrIs(attr, token(in));
            break;
         }
         case 8: {
            const Kiv::Name name(token(in));
            if (in.u8() & 1) {
               r.nestedGlobalConfigDel(name);
            } else {
               r.nestedIntfConfigDel(name);
            }
            break;
         }
      }
   }

   static TagMode tagMode(std::uint8_t b) { return static_cast< TagMode >(b % 3); }

   // Something changed on the way from A to B.
   void tampered() {
      relays_[0].faithful = false;
      const Session::State b = sides_[1].session->state();
      if (b == Session::State::awaitingHello || b == Session::State::awaitingProof) {
         relays_[1].checkTags = false;
      }
   }

   void insert(Item item, std::uint8_t where) {
      Relay & relay = relays_[0];
      tampered();
      relay.queue.insert(relay.queue.begin() + where % (relay.queue.size() + 1), std::move(item));
   }

   void injectFrame(Input & in) {
      const std::uint8_t type = in.u8();
      const TagMode tag = tagMode(in.u8());
      const std::uint8_t where = in.u8();
      insert({type, in.bytes(in.u8() % 48), tag}, where);
   }

   // A changes frame of one to three changes, the batch whole or to be
   // continued.
   void injectChanges(Input & in) {
      const std::uint8_t head = in.u8();
      FrameWriter w(FrameType::changes);
      w.u8(head & 1);
      for (int n = 1 + (head >> 1) % 3; n > 0; --n) writeOneChange(w, in);
      const TagMode tag = tagMode(in.u8());
      const std::uint8_t where = in.u8();
      const std::string frame = w.finish();
      insert({static_cast< std::uint8_t >(frame[4]), frame.substr(5), tag}, where);
   }

   static void writeOneChange(FrameWriter & w, Input & in) {
      const auto kind = static_cast< ChangeKind >(1 + in.u8() % 7);
      const std::string plugin = token(in);
      Path path;
      for (std::uint8_t depth = in.u8() % 4; depth > 0; --depth) {
         const auto table = (in.u8() & 1) ? Table::global : Table::intf;
         path.push_back({table, Kiv::Name(token(in))});
      }
      const std::string name = token(in);
      const std::string key = token(in);
      const std::string value = token(in);
      const Kiv::Ptr< GenericConfig > nested = Kiv::kivNew< GenericConfig >(Kiv::Name("nested"));
      nested->paramNameIs(token(in));
      for (std::uint8_t n = in.u8() % 3; n > 0; --n) {
         const std::string attr = token(in);
         nested->attrIs(attr, token(in));
      }
      if (in.u8() & 1) nested->nestedIntfConfigIs(Kiv::Name(token(in)))->attrIs("mtu", token(in));
      writeChange(w, kind, plugin, path, name, key, value, nested.get());
   }

   void tamper(Input & in) {
      Relay & relay = relays_[0];
      if (relay.queue.empty()) return;
      tampered();
      const auto at = relay.queue.begin() + in.u8() % relay.queue.size();
      switch (in.u8() % 6) {
         case 0:
            relay.queue.erase(at);
            break;
         case 1:
            relay.queue.insert(at, *at);
            break;
         case 2:
            if (!at->payload.empty()) {
               const std::size_t i = in.u8() % at->payload.size();
               at->payload[i] = static_cast< char >(at->payload[i] ^ (in.u8() | 1));
            }
            break;
         case 3:
            at->payload.resize(at->payload.size() * in.u8() / 256);
            break;
         case 4:
            at->type = in.u8();
            break;
         case 5:
            at->tag = tagMode(in.u8());
            break;
      }
   }

   // Activates a session that waited for it, or sends a keepalive.
   void prod(std::uint8_t b) {
      if (!connected_) return;
      Side & s = sides_[b & 1];
      if (s.session->state() == Session::State::authenticated && !s.active) {
         activate(s);
      } else {
         s.session->sendKeepalive();
      }
   }

   Side sides_[2];
   Relay relays_[2]; // [0]: A to B, [1]: B to A
   TagMode abMode_ = TagMode::valid, baMode_ = TagMode::valid;
   bool keyMismatch_ = false;
   bool connected_ = false;
   double now_ = 1.0;
};

void fuzzSession(Input in, std::uint8_t control) {
   Kiv::System::virtualTimeIs(0.0);
   Link link(control, in.u8());
   for (int steps = 0; steps < 96 && !in.empty(); ++steps) link.step(in);
   link.finish();
}

} // namespace

// A Change views the payload it was read from; a view that outlives a payload
// on the stack shows only with ASan's fake stacks.
extern "C" const char * __asan_default_options() { return "detect_stack_use_after_return=1"; }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t * data, std::size_t size) {
   if (size == 0) return 0;
   Kiv::activityManager();
   const std::int64_t liveBefore = Kiv::LiveCount::total();
   const std::map< std::string, std::int64_t > typesBefore = Kiv::LiveCount::snapshot();
   Input in(data + 1, size - 1);
   if (data[0] & 0x80) {
      fuzzDecoder(in, data[0]);
   } else {
      fuzzSession(in, data[0]);
   }
   MlagSim::runUntilQuiet(1'000'000);
   // The first run creates the process-wide objects (clock, trace handles);
   // a later run must give back everything it made.
   static bool warm = false;
   if (warm && Kiv::LiveCount::total() != liveBefore) {
      for (const auto & [type, count] : Kiv::LiveCount::snapshot()) {
         auto it = typesBefore.find(type);
         const std::int64_t was = it == typesBefore.end() ? 0 : it->second;
         if (count != was) std::cerr << "live " << type << ": " << was << " -> " << count << "\n";
      }
      finding("framework objects outlive the run");
   }
   warm = true;
   return 0;
}
