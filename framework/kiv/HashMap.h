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

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>

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
         return pos_ < map_->size_;
      }
      const K & key() {
         settle();
         assert(pos_ < map_->size_ && "iterator at end");
         return map_->slots_[pos_].key;
      }
      ValueRef value() {
         settle();
         assert(pos_ < map_->size_ && "iterator at end");
         return map_->slots_[pos_].value;
      }
      // Moves to the next entry. An iterator whose entry was erased under it
      // already stands before the next one, so it only settles there.
      IteratorT & operator++() {
         if (pos_ < map_->size_ && map_->slots_[pos_].live) ++pos_;
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
         while (pos_ < map_->size_ && !map_->slots_[pos_].live) ++pos_;
      }
      MapT * map_;
      std::size_t pos_;
   };
   using Iterator = IteratorT< false >;
   using ConstIterator = IteratorT< true >;

   HashMap() = default;
   // Delegating makes the destructor release what a throwing insert left.
   HashMap(const HashMap & o) : HashMap() {
      for (std::size_t pos = 0; pos < o.size_; ++pos) {
         if (o.slots_[pos].live) insert(o.slots_[pos].key, o.slots_[pos].value);
      }
   }
   HashMap & operator=(const HashMap & o) {
      if (this != &o) {
         HashMap copy(o);
         clear();
         for (std::size_t pos = 0; pos < copy.size_; ++pos) {
            if (copy.slots_[pos].live) insert(copy.slots_[pos].key, copy.slots_[pos].value);
         }
      }
      return *this;
   }
   ~HashMap() {
      assert(iterators_ == 0 && "map destroyed while an iterator is live");
      releaseSlots();
   }

   std::size_t size() const noexcept { return live_; }
   bool empty() const noexcept { return live_ == 0; }

   Iterator begin() { return Iterator(this, 0); }
   ConstIterator begin() const { return ConstIterator(this, 0); }
   typename Iterator::End end() { return {}; }
   typename ConstIterator::End end() const { return {}; }
   // An iterator on `key`, or at the end when the key is absent.
   Iterator find(const K & key) {
      std::size_t pos = lookup(key, hashOf(key));
      return Iterator(this, pos == npos ? size_ : pos);
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

   // Hints for a caller about to look up many keys of a map far larger than
   // the cache: each starts loading what a lookup of `key` reads, so that
   // the misses of many lookups overlap instead of following one another.
   // Neither changes anything. The bucket comes first; the slot it names
   // can be asked for only once the bucket has had time to arrive, since
   // prefetchSlot reads it.
   void prefetchBucket(const K & key) const {
      if (index_) __builtin_prefetch(&index_[bucketOf(hashOf(key))]);
   }
   void prefetchSlot(const K & key) const {
      if (!index_) return;
      // The slots of the run of taken buckets that a lookup compares before
      // it finds its key or an empty bucket; long runs are rare, so the
      // first few stand for all. A slot may straddle two lines, and its
      // hash is read first.
      const std::size_t mask = this->mask();
      std::size_t b = bucketOf(hashOf(key));
      for (int n = 0; n < 4 && index_[b] != 0; ++n, b = (b + 1) & mask) {
         const Slot & s = slots_[index_[b] - 1];
         __builtin_prefetch(&s.hash);
         __builtin_prefetch(&s.key);
      }
   }

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
      if (it.pos_ < size_ && slots_[it.pos_].live) eraseAt(it.pos_);
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

   static std::uint32_t hashOf(const K & key) { return static_cast< std::uint32_t >(Hash()(key)); }
   // Bucket count - 1; only meaningful while the index exists.
   std::size_t mask() const { return ~std::uint32_t(0) >> shift_; }
   std::size_t bucketOf(std::uint32_t h) const { return std::uint32_t(h * 2654435769u) >> shift_; }

   std::size_t lookup(const K & key, std::uint32_t h) const {
      if (!index_) {
         for (std::size_t pos = 0; pos < size_; ++pos) {
            const Slot & s = slots_[pos];
            if (s.live && s.hash == h && s.key == key) return pos;
         }
         return npos;
      }
      const std::size_t mask = this->mask();
      for (std::size_t b = bucketOf(h);; b = (b + 1) & mask) {
         std::uint32_t entry = index_[b];
         if (entry == 0) return npos;
         const Slot & s = slots_[entry - 1];
         if (s.hash == h && s.key == key) return entry - 1;
      }
   }

   // Stores a new live entry last in iteration order; returns its value.
   V * append(Slot && fresh) {
      maybeCompact();
      if (size_ == capacity_) relocate(capacity_ == 0 ? 1 : capacity_ * 2, false);
      const std::uint32_t h = fresh.hash;
      std::construct_at(slots_ + size_, std::move(fresh));
      ++size_;
      ++live_;
      indexAdd(size_ - 1, h);
      return &slots_[size_ - 1].value;
   }

   void indexAdd(std::size_t pos, std::uint32_t h) {
      if (!index_) {
         if (size_ > linearLimit) rebuildIndex(4 * linearLimit);
         return; // a small map is searched without an index
      }
      const std::size_t n = mask() + 1;
      if ((live_ + 1) * 2 > n) {
         rebuildIndex(n * 2);
         return; // the rebuild indexed every live slot, `pos` included
      }
      std::size_t b = bucketOf(h);
      while (index_[b] != 0) b = (b + 1) & (n - 1);
      index_[b] = static_cast< std::uint32_t >(pos + 1);
   }

   // Linear probing with backward-shift deletion: no tombstones in the index.
   void indexRemove(std::size_t pos) {
      if (!index_) return;
      const std::size_t mask = this->mask();
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

   void rebuildIndex(std::size_t count) {
      std::uint32_t shift = 32;
      for (std::size_t n = count; n > 1; n >>= 1) --shift;
      if (index_ && shift == shift_) {
         std::fill_n(index_.get(), count, std::uint32_t(0));
      } else {
         index_ = std::make_unique< std::uint32_t[] >(count);
         shift_ = shift;
      }
      for (std::size_t pos = 0; pos < size_; ++pos) {
         if (!slots_[pos].live) continue;
         std::size_t b = bucketOf(slots_[pos].hash);
         while (index_[b] != 0) b = (b + 1) & (count - 1);
         index_[b] = static_cast< std::uint32_t >(pos + 1);
      }
   }

   void eraseAt(std::size_t pos) {
      indexRemove(pos);
      Slot & s = slots_[pos];
      s.live = false;
      --live_;
      // Destroy the key and value only after the bookkeeping: their
      // destructors may use this map again.
      [[maybe_unused]] K deadKey = std::move(s.key);
      [[maybe_unused]] V deadValue = std::move(s.value);
      s.key = K{};
      s.value = V{};
   }

   // Drops erased slots when no iterator can still stand on one.
   void maybeCompact() {
      const std::uint32_t dead = size_ - live_;
      if (iterators_ != 0 || dead == 0) return;
      if (live_ == 0) {
         std::destroy_n(slots_, size_);
         size_ = 0;
      } else if (dead < 16 || dead < live_) {
         return;
      } else {
         relocate(live_ * 2, true);
      }
      if (index_) rebuildIndex(mask() + 1);
   }

   // Moves the slots into a new array of `capacity`, leaving out erased ones
   // when `dropErased`. Slots whose move may throw are copied, so that a
   // failure leaves the map as it was.
   void relocate(std::uint32_t capacity, bool dropErased) {
      std::allocator< Slot > alloc;
      Slot * moved = alloc.allocate(capacity);
      std::uint32_t count = 0;
      try {
         for (std::uint32_t pos = 0; pos < size_; ++pos) {
            if (dropErased && !slots_[pos].live) continue;
            std::construct_at(moved + count, std::move_if_noexcept(slots_[pos]));
            ++count;
         }
      } catch (...) {
         std::destroy_n(moved, count);
         alloc.deallocate(moved, capacity);
         throw;
      }
      releaseSlots();
      slots_ = moved;
      size_ = count;
      capacity_ = capacity;
   }

   void releaseSlots() noexcept {
      if (slots_ == nullptr) return;
      std::destroy_n(slots_, size_);
      std::allocator< Slot >().deallocate(slots_, capacity_);
   }

   // An owned array and a derived bucket count instead of two std::vectors:
   // tens of thousands of one-entry maps sit inside entities, and this keeps
   // each map at 40 bytes.
   Slot * slots_ = nullptr;                   // insertion order; erased slots stay until compaction
   std::unique_ptr< std::uint32_t[] > index_; // bucket -> slot position + 1; 0 = empty
   // Counts fit 32 bits: the index stores slot positions in 32 bits too.
   std::uint32_t size_ = 0;     // slots in use, erased ones included
   std::uint32_t capacity_ = 0; // grows by doubling from one
   std::uint32_t shift_ = 32;   // 32 - log2(index buckets), once the index exists
   std::uint32_t live_ = 0;
   mutable std::uint32_t iterators_ = 0; // live iterators; compaction waits for zero
};

// Collections of counted objects keyed by a string or a name, and collections
// of key/value nodes: both are this map (the names follow the framework's).
template < class K, class V, class Hash = std::hash< K > >
using HashMap2018 = HashMap< K, V, Hash >;

} // namespace Kiv
