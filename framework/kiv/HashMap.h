// Kiv::HashMap: a hash map that iterates in insertion order and stays safe
// to iterate while it is being changed.
//
//   Kiv::HashMap< Kiv::String, Kiv::String > m;
//   m.insert("mtu", "9000");
//   for (auto it = m.begin(); it.valid(); ++it) {
//      if (it.value().empty()) m.erase(it);   // the iterator stays usable
//   }
//
// Guarantees, relied on by the backlog scheduler and the deletion loops:
// - Iteration order is the order of first insertion (a key erased and
//   inserted again goes last) and does not change while entries are erased.
// - Erasing the current entry through the iterator, erasing other entries,
//   and inserting entries while iterators are live never invalidates an
//   iterator. Entries inserted during an iteration are visited by it.
// - An erased entry's key and value are destroyed by the time erase()
//   returns, after the map's own bookkeeping is done, so a value destructor
//   may safely use the map again.
// - References returned by value() are valid until the next insertion.
// Storage of erased entries is reclaimed only when no iterator is live.
#pragma once

#include <cassert>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <utility>
#include <vector>

namespace Kiv {

template < class K, class V, class Hash = std::hash< K > >
class HashMap {
   struct Slot {
      K key{};
      V value{};
      std::uint32_t hash = 0;
      bool live = false;
   };

 public:
   // Iterates a map; a ConstIterator gives read-only values.
   template < bool Const >
   class IteratorT {
      using MapT = std::conditional_t< Const, const HashMap, HashMap >;
      using ValueRef = std::conditional_t< Const, const V &, V & >;

    public:
      IteratorT(const IteratorT & o) : map_(o.map_), pos_(o.pos_) { ++map_->iterators_; }
      IteratorT & operator=(const IteratorT & o) {
         if (this != &o) {
            --map_->iterators_;
            map_ = o.map_;
            pos_ = o.pos_;
            ++map_->iterators_;
         }
         return *this;
      }
      ~IteratorT() { --map_->iterators_; }

      // True while the iterator stands on an entry.
      bool valid() {
         settle();
         return pos_ < map_->slots_.size();
      }
      const K & key() {
         settle();
         assert(pos_ < map_->slots_.size() && "iterator at end");
         return map_->slots_[pos_].key;
      }
      ValueRef value() {
         settle();
         assert(pos_ < map_->slots_.size() && "iterator at end");
         return map_->slots_[pos_].value;
      }
      // After the current entry was erased, the next live entry already is
      // its successor, so only a live current entry is stepped over.
      // Moves to the next entry. An iterator whose entry was erased under it
      // already stands before the next one, so it only settles there.
      IteratorT & operator++() {
         if (pos_ < map_->slots_.size() && map_->slots_[pos_].live) ++pos_;
         settle();
         return *this;
      }
      // Moves back to the first entry (wrap-around).
      void rewind() {
         pos_ = 0;
         settle();
      }

      // Range-for support: `for (auto & it : map) { it.key(); map.erase(it); }`.
      struct End {};
      bool operator!=(End) { return valid(); }
      IteratorT & operator*() { return *this; }

    private:
      friend class HashMap;
      IteratorT(MapT * map, std::size_t pos) : map_(map), pos_(pos) {
         ++map_->iterators_;
         settle();
      }
      void settle() {
         while (pos_ < map_->slots_.size() && !map_->slots_[pos_].live) ++pos_;
      }
      MapT * map_;
      std::size_t pos_;
   };
   using Iterator = IteratorT< false >;
   using ConstIterator = IteratorT< true >;

   HashMap() = default;
   HashMap(const HashMap & o) {
      for (const Slot & s : o.slots_) {
         if (s.live) insert(s.key, s.value);
      }
   }
   HashMap & operator=(const HashMap & o) {
      if (this != &o) {
         HashMap copy(o);
         clear();
         for (const Slot & s : copy.slots_) {
            if (s.live) insert(s.key, s.value);
         }
      }
      return *this;
   }
   ~HashMap() { assert(iterators_ == 0 && "map destroyed while an iterator is live"); }

   std::size_t size() const noexcept { return live_; }
   bool empty() const noexcept { return live_ == 0; }

   Iterator begin() { return Iterator(this, 0); }
   ConstIterator begin() const { return ConstIterator(this, 0); }
   typename Iterator::End end() { return {}; }
   typename ConstIterator::End end() const { return {}; }
   // An iterator on `key`, or at the end when the key is absent.
   Iterator find(const K & key) {
      std::size_t pos = lookup(key, hashOf(key));
      return Iterator(this, pos == npos ? slots_.size() : pos);
   }

   const V * get(const K & key) const {
      std::size_t pos = lookup(key, hashOf(key));
      return pos == npos ? nullptr : &slots_[pos].value;
   }
   V * get(const K & key) {
      std::size_t pos = lookup(key, hashOf(key));
      return pos == npos ? nullptr : &slots_[pos].value;
   }
   bool contains(const K & key) const { return get(key) != nullptr; }

   // Inserts `key` -> `value`, or overwrites the value in place (the entry
   // keeps its position). Returns the stored value and whether the key is new.
   template < class VV >
   std::pair< V *, bool > insert(const K & key, VV && value) {
      std::uint32_t h = hashOf(key);
      std::size_t pos = lookup(key, h);
      // `value` may refer into this map: take it before anything moves.
      Slot fresh{key, std::forward< VV >(value), h, true};
      if (pos != npos) {
         [[maybe_unused]] V old = std::move(slots_[pos].value);
         slots_[pos].value = std::move(fresh.value);
         return {&slots_[pos].value, false};
      }
      return {append(std::move(fresh)), true};
   }

   // The value under `key`; when absent, inserts `make()` first (one lookup
   // either way). Nothing changes when `make` throws. Returns the stored
   // value and whether it was inserted.
   template < class F >
   std::pair< V *, bool > getOrInsert(const K & key, F && make) {
      std::uint32_t h = hashOf(key);
      std::size_t pos = lookup(key, h);
      if (pos != npos) return {&slots_[pos].value, false};
      return {append(Slot{key, make(), h, true}), true};
   }

   // Removes `key`; returns whether it was present.
   bool erase(const K & key) {
      std::size_t pos = lookup(key, hashOf(key));
      if (pos == npos) return false;
      eraseAt(pos);
      return true;
   }
   // Removes the entry the iterator stands on (nothing when that entry is
   // already gone); the iterator stays usable and advances past it.
   void erase(Iterator & it) {
      if (it.pos_ < slots_.size() && slots_[it.pos_].live) eraseAt(it.pos_);
   }
   // Walks the map from its beginning and removes every entry.
   void clear() {
      for (Iterator it = begin(); it.valid(); ++it) erase(it);
   }

 private:
   static constexpr std::size_t npos = ~std::size_t(0);
   // Maps of up to this many slots have no index and are searched in order:
   // most maps here hold one or a few entries.
   static constexpr std::size_t linearLimit = 8;

   static std::uint32_t hashOf(const K & key) {
      return static_cast< std::uint32_t >(Hash()(key));
   }
   std::size_t bucketOf(std::uint32_t h) const {
      return (std::uint32_t(h * 2654435769u) >> shift_) & (index_.size() - 1);
   }

   std::size_t lookup(const K & key, std::uint32_t h) const {
      if (index_.empty()) {
         for (std::size_t pos = 0; pos < slots_.size(); ++pos) {
            const Slot & s = slots_[pos];
            if (s.live && s.hash == h && s.key == key) return pos;
         }
         return npos;
      }
      for (std::size_t b = bucketOf(h);; b = (b + 1) & (index_.size() - 1)) {
         std::uint32_t entry = index_[b];
         if (entry == 0) return npos;
         const Slot & s = slots_[entry - 1];
         if (s.hash == h && s.key == key) return entry - 1;
      }
   }

   // Stores a new live entry last in iteration order; returns its value.
   V * append(Slot && fresh) {
      maybeCompact();
      const std::uint32_t h = fresh.hash;
      slots_.push_back(std::move(fresh));
      ++live_;
      indexAdd(slots_.size() - 1, h);
      return &slots_.back().value;
   }

   void indexAdd(std::size_t pos, std::uint32_t h) {
      if (index_.empty()) {
         if (slots_.size() > linearLimit) rebuildIndex(4 * linearLimit);
         return; // a small map is searched without an index
      }
      if ((live_ + 1) * 2 > index_.size()) {
         rebuildIndex(index_.size() * 2);
         return; // the rebuild indexed every live slot, `pos` included
      }
      std::size_t b = bucketOf(h);
      while (index_[b] != 0) b = (b + 1) & (index_.size() - 1);
      index_[b] = static_cast< std::uint32_t >(pos + 1);
   }

   // Linear probing with backward-shift deletion: no tombstones in the index.
   void indexRemove(std::size_t pos) {
      if (index_.empty()) return;
      std::size_t mask = index_.size() - 1;
      std::size_t b = bucketOf(slots_[pos].hash);
      while (index_[b] != pos + 1) b = (b + 1) & mask;
      std::size_t hole = b;
      for (std::size_t next = (hole + 1) & mask; index_[next] != 0; next = (next + 1) & mask) {
         std::size_t home = bucketOf(slots_[index_[next] - 1].hash);
         // Move the entry into the hole unless its home lies cyclically in (hole, next].
         bool stays = hole <= next ? (home > hole && home <= next) : (home > hole || home <= next);
         if (!stays) {
            index_[hole] = index_[next];
            hole = next;
         }
      }
      index_[hole] = 0;
   }

   void rebuildIndex(std::size_t buckets) {
      index_.assign(buckets, 0);
      shift_ = 32;
      for (std::size_t n = buckets; n > 1; n >>= 1) --shift_;
      for (std::size_t pos = 0; pos < slots_.size(); ++pos) {
         if (!slots_[pos].live) continue;
         std::size_t b = bucketOf(slots_[pos].hash);
         while (index_[b] != 0) b = (b + 1) & (buckets - 1);
         index_[b] = static_cast< std::uint32_t >(pos + 1);
      }
   }

   void eraseAt(std::size_t pos) {
      indexRemove(pos);
      Slot & s = slots_[pos];
      s.live = false;
      --live_;
      ++dead_;
      // Destroy the key and value only after the bookkeeping: their
      // destructors may use this map again.
      [[maybe_unused]] K deadKey = std::move(s.key);
      [[maybe_unused]] V deadValue = std::move(s.value);
      s.key = K{};
      s.value = V{};
   }

   // Drops erased slots when no iterator can still stand on one.
   void maybeCompact() {
      if (iterators_ != 0 || dead_ == 0) return;
      if (live_ == 0) {
         slots_.clear();
      } else if (dead_ < 16 || dead_ < live_) {
         return;
      } else {
         std::vector< Slot > kept;
         kept.reserve(live_ * 2);
         for (Slot & s : slots_) {
            if (s.live) kept.push_back(std::move(s));
         }
         slots_.swap(kept);
      }
      dead_ = 0;
      if (!index_.empty()) rebuildIndex(index_.size());
   }

   std::vector< Slot > slots_;          // insertion order; erased slots stay until compaction
   std::vector< std::uint32_t > index_; // bucket -> slot position + 1; 0 = empty
   // Counts fit 32 bits: the index stores slot positions in 32 bits too.
   std::uint32_t shift_ = 28;
   std::uint32_t live_ = 0;
   std::uint32_t dead_ = 0;
   mutable std::uint32_t iterators_ = 0; // live iterators; compaction waits for zero
};

// Collections of counted objects keyed by a string or a name, and collections
// of key/value nodes: both are this map (the names follow the framework's).
template < class K, class V, class Hash = std::hash< K > >
using HashMap2018 = HashMap< K, V, Hash >;

} // namespace Kiv
