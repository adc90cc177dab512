#include "RecordCodec.h"

#include <set>

#include "sim/RecordSync.h"

namespace MlagAgent::Peer {

namespace {

void writeRecord(FrameWriter & w, const GenericConfig & record) {
   w.str(record.paramName().view());
   w.u32(static_cast< std::uint32_t >(record.attrMap().size()));
   for (auto & it : record.attrMap()) {
      w.str(it.key().view());
      w.str(it.value().view());
   }
   w.u32(static_cast< std::uint32_t >(record.attrCollectionMap().size()));
   for (auto & it : record.attrCollectionMap()) {
      w.str(it.key().collection().view());
      w.str(it.key().key().view());
      w.str(it.value().view());
   }
   w.u32(static_cast< std::uint32_t >(record.nestedIntfConfigMap().size()));
   for (auto & it : record.nestedIntfConfigMap()) {
      w.str(it.key().view());
      writeRecord(w, *it.value());
   }
   w.u32(static_cast< std::uint32_t >(record.nestedGlobalConfigMap().size()));
   for (auto & it : record.nestedGlobalConfigMap()) {
      w.str(it.key().view());
      writeRecord(w, *it.value());
   }
}

// Reads one record; fills `into` unless it is null (validation only).
void readRecord(PayloadReader & r, GenericConfig * into, std::size_t depth) {
   if (depth > maxDepth) {
      throw WireError("nested configurations deeper than " + std::to_string(maxDepth));
   }
   const std::string_view paramName = r.str();
   if (into) into->paramNameIs(Kiv::String(paramName));
   for (std::uint32_t n = r.count(8); n > 0; --n) {
      const std::string_view attr = r.str();
      const std::string_view value = r.str();
      if (into) into->attrIs(Kiv::String(attr), Kiv::String(value));
   }
   for (std::uint32_t n = r.count(12); n > 0; --n) {
      const std::string_view collection = r.str();
      const std::string_view key = r.str();
      const std::string_view value = r.str();
      if (into) {
         into->attrCollectionIs(
            MlagP2p::ConfigCheck::CollectionConfig(Kiv::String(collection), Kiv::String(key)),
            Kiv::String(value));
      }
   }
   // A name is an interface's or a group's, never both: the checker relies on it.
   std::set< std::string_view > intfNames;
   for (Table table : {Table::intf, Table::global}) {
      for (std::uint32_t n = r.count(24); n > 0; --n) {
         const std::string_view text = r.str();
         if (table == Table::intf) {
            intfNames.insert(text);
         } else if (intfNames.count(text)) {
            throw WireError("the nested configuration '" + std::string(text) +
                            "' is both an interface's and a group's");
         }
         const Kiv::Name name(text);
         GenericConfig * nested = nullptr;
         if (into) {
            nested = table == Table::intf ? into->nestedIntfConfigIs(name).get()
                                          : into->nestedGlobalConfigIs(name).get();
         }
         readRecord(r, nested, depth + 1);
      }
   }
}

Kiv::Ptr< GenericConfig > nestedOf(GenericConfig & parent, const PathStep & step) {
   return step.table == Table::intf ? parent.nestedIntfConfig(step.name)
                                    : parent.nestedGlobalConfig(step.name);
}

} // namespace

void writeChange(FrameWriter & w, ChangeKind kind, std::string_view plugin, const Path & path,
                 std::string_view name, std::string_view key, std::string_view value,
                 const GenericConfig * nested) {
   w.u8(static_cast< std::uint8_t >(kind));
   w.str(plugin);
   w.u8(static_cast< std::uint8_t >(path.size()));
   for (const PathStep & step : path) {
      w.u8(static_cast< std::uint8_t >(step.table));
      w.str(step.name.view());
   }
   switch (kind) {
      case ChangeKind::paramName:
      case ChangeKind::attrDel:
         w.str(name);
         break;
      case ChangeKind::attrSet:
         w.str(name);
         w.str(value);
         break;
      case ChangeKind::collectionSet:
         w.str(name);
         w.str(key);
         w.str(value);
         break;
      case ChangeKind::collectionDel:
         w.str(name);
         w.str(key);
         break;
      case ChangeKind::nestedSet:
         writeRecord(w, *nested);
         break;
      case ChangeKind::nestedDel:
         break;
   }
}

std::string changeFrame(ChangeKind kind, std::string_view plugin, const Path & path,
                        std::string_view name, std::string_view key, std::string_view value,
                        const GenericConfig * nested) {
   FrameWriter w(FrameType::changes);
   w.u8(0);
   writeChange(w, kind, plugin, path, name, key, value, nested);
   return w.finish();
}

namespace {

Change readChange(PayloadReader & r) {
   Change c;
   const std::uint8_t kind = r.u8();
   if (kind < 1 || kind > static_cast< std::uint8_t >(ChangeKind::nestedDel)) {
      throw WireError("unknown change kind " + std::to_string(kind));
   }
   c.kind = static_cast< ChangeKind >(kind);
   c.plugin = r.str();
   const std::uint8_t depth = r.u8();
   if (depth > maxDepth) {
      throw WireError("nested configurations deeper than " + std::to_string(maxDepth));
   }
   for (std::uint8_t i = 0; i < depth; ++i) {
      const std::uint8_t table = r.u8();
      if (table > 1) throw WireError("unknown nested table " + std::to_string(table));
      c.path.push_back({static_cast< Table >(table), Kiv::Name(r.str())});
   }
   const bool nestedKind = c.kind == ChangeKind::nestedSet || c.kind == ChangeKind::nestedDel;
   if (nestedKind && c.path.empty()) throw WireError("a nested change without a path");
   switch (c.kind) {
      case ChangeKind::paramName:
      case ChangeKind::attrDel:
         c.name = r.str();
         break;
      case ChangeKind::attrSet:
         c.name = r.str();
         c.value = r.str();
         break;
      case ChangeKind::collectionSet:
         c.name = r.str();
         c.key = r.str();
         c.value = r.str();
         break;
      case ChangeKind::collectionDel:
         c.name = r.str();
         c.key = r.str();
         break;
      case ChangeKind::nestedSet: {
         const std::string_view before = r.remaining();
         readRecord(r, nullptr, depth);
         c.image = before.substr(0, before.size() - r.remaining().size());
         break;
      }
      case ChangeKind::nestedDel:
         break;
   }
   return c;
}

} // namespace

ChangeBatch readChanges(std::string_view payload) {
   PayloadReader r(payload);
   ChangeBatch batch;
   const std::uint8_t more = r.u8();
   if (more > 1) throw WireError("a changes frame with flags " + std::to_string(more));
   batch.more = more == 1;
   while (!r.remaining().empty()) batch.changes.push_back(readChange(r));
   return batch;
}

ChangeBatcher::ChangeBatcher(Emit emit, std::function< void() > flushSoon)
      : emit_(std::move(emit)), flushSoon_(std::move(flushSoon)) {}

void ChangeBatcher::add(ChangeKind kind, std::string_view plugin, const Path & path,
                        std::string_view name, std::string_view key, std::string_view value,
                        const GenericConfig * nested) {
   if (!turnOpen_) {
      turnOpen_ = true;
      flushSoon_();
   }
   if (!part_) {
      part_.emplace(FrameType::changes);
      part_->u8(0); // `more`, set when the part is sent
   }
   writeChange(*part_, kind, plugin, path, name, key, value, nested);
   ++added_;
   if (part_->size() >= batchBytes) emitPart(true);
}

void ChangeBatcher::flush() {
   if (!turnOpen_) return;
   turnOpen_ = false;
   // Even empty, the last part tells the receiver that the batch is whole.
   if (!part_) {
      part_.emplace(FrameType::changes);
      part_->u8(0);
   }
   emitPart(false);
}

void ChangeBatcher::emitPart(bool more) {
   std::string frame = part_->finish();
   part_.reset();
   frame[5] = static_cast< char >(more ? 1 : 0);
   emit_(std::move(frame));
}

void applyChange(const Change & c, GenericConfig & root) {
   const bool nestedKind = c.kind == ChangeKind::nestedSet || c.kind == ChangeKind::nestedDel;
   const std::size_t walk = c.path.size() - (nestedKind ? 1 : 0);
   Kiv::Ptr< GenericConfig > at(&root);
   for (std::size_t i = 0; i < walk; ++i) {
      at = nestedOf(*at, c.path[i]);
      if (!at) {
         throw WireError("a change under the nested configuration '" + c.path[i].name.stdString() +
                         "', which was never sent");
      }
   }
   using MlagP2p::ConfigCheck::CollectionConfig;
   switch (c.kind) {
      case ChangeKind::paramName:
         at->paramNameIs(Kiv::String(c.name));
         return;
      case ChangeKind::attrSet:
         at->attrIs(Kiv::String(c.name), Kiv::String(c.value));
         return;
      case ChangeKind::attrDel:
         at->attrDel(Kiv::String(c.name));
         return;
      case ChangeKind::collectionSet:
         at->attrCollectionIs(CollectionConfig(Kiv::String(c.name), Kiv::String(c.key)),
                              Kiv::String(c.value));
         return;
      case ChangeKind::collectionDel:
         at->attrCollectionDel(CollectionConfig(Kiv::String(c.name), Kiv::String(c.key)));
         return;
      case ChangeKind::nestedSet:
         break;
      case ChangeKind::nestedDel: {
         const PathStep & step = c.path.back();
         if (step.table == Table::intf) {
            at->nestedIntfConfigDel(step.name);
         } else {
            at->nestedGlobalConfigDel(step.name);
         }
         return;
      }
   }
   const PathStep & step = c.path.back();
   PayloadReader image(c.image);
   if (Kiv::Ptr< GenericConfig > present = nestedOf(*at, step)) {
      // Sent again whole: bring the copy here to it, changing only what differs.
      auto fresh = Kiv::kivNew< GenericConfig >(step.name);
      readRecord(image, fresh.get(), c.path.size());
      MlagSim::syncRecord(*fresh, *present);
      return;
   }
   const Kiv::Name & name = step.name;
   if (step.table == Table::intf ? bool(at->nestedGlobalConfig(name))
                                 : bool(at->nestedIntfConfig(name))) {
      throw WireError("the nested configuration '" + name.stdString() +
                      "' is both an interface's and a group's");
   }
   // Announced only once filled, so the peer's reactors meet the whole record.
   at->hasNotificationActiveIs(false);
   Kiv::Ptr< GenericConfig > added = step.table == Table::intf
                                        ? at->nestedIntfConfigIs(step.name)
                                        : at->nestedGlobalConfigIs(step.name);
   readRecord(image, added.get(), c.path.size());
   at->hasNotificationActiveIs(true);
   if (step.table == Table::intf) {
      at->nestedIntfConfigNotify(step.name);
   } else {
      at->nestedGlobalConfigNotify(step.name);
   }
}

} // namespace MlagAgent::Peer
