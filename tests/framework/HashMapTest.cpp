#include "kiv/HashMap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "kiv/Ptr.h"
#include "kiv/Strep.h"
#include "kiv/String.h"

namespace {

TEST(HashMapTest, InsertTakesItsValueFromTheSameMap) {
   Kiv::HashMap< Kiv::String, Kiv::String > m;
   for (int i = 0; i < 40; ++i) m.insert(Kiv::format("k%d", i), Kiv::format("v%d", i));
   for (int i = 0; i < 39; ++i) m.erase(Kiv::format("k%d", i));
   m.insert("copy", *m.get("k39")); // compaction moves the source entry
   EXPECT_EQ(*m.get("copy"), "v39");
   m.insert("k39", *m.get("k39")); // overwrite with its own value
   EXPECT_EQ(*m.get("k39"), "v39");
}

// A value whose destruction changes the map that held it.
struct Hostile : Kiv::PtrInterface {
   using Map = Kiv::HashMap< int, Kiv::Ptr< Hostile > >;
   Hostile(Map * map, int eraseKey, int insertKey)
         : map_(map), eraseKey_(eraseKey), insertKey_(insertKey) {}
   ~Hostile() override {
      if (eraseKey_ >= 0) map_->erase(eraseKey_);
      if (insertKey_ >= 0) map_->insert(insertKey_, Kiv::Ptr< Hostile >());
   }
   Map * map_;
   int eraseKey_, insertKey_;
};

// Entities embed one map each, most holding a single entry.
static_assert(sizeof(Kiv::HashMap< Kiv::String, Kiv::Ptr< Hostile > >) <= 40);

TEST(HashMapTest, ValueDestructorMayEraseFromAndInsertIntoTheMap) {
   Hostile::Map m;
   // An even key's value erases its odd neighbour and adds a key when it
   // goes. Erased slots pile up until an addition, made from inside erase(),
   // compacts the map under it.
   for (int i = 0; i < 40; ++i) {
      m.insert(i, i % 2 == 0 ? Kiv::kivNew< Hostile >(&m, i + 1, 1000 + i) : nullptr);
   }
   std::vector< int > order, expected;
   for (int i = 0; i < 40; i += 2) {
      EXPECT_TRUE(m.erase(i));
      expected.push_back(1000 + i);
   }
   for (auto & it : m) order.push_back(it.key());
   EXPECT_EQ(order, expected);
   for (int key : expected) EXPECT_TRUE(m.contains(key)) << key;
   EXPECT_EQ(Kiv::LiveCount::count("(anonymous namespace)::Hostile"), 0);

   // Through an iterator: keys added by destructors are visited and erased too.
   for (int i = 0; i < 8; ++i) m.insert(2000 + i, Kiv::kivNew< Hostile >(&m, -1, 3000 + i));
   m.clear();
   EXPECT_TRUE(m.empty());
   EXPECT_EQ(Kiv::LiveCount::count("(anonymous namespace)::Hostile"), 0);
}

// A value whose move may throw, so growing storage copies it; copies fail
// on demand.
struct Fragile {
   explicit Fragile(int v = 0) : value(v) {}
   Fragile(const Fragile & o) : value(o.value) {
      if (failCopies) throw std::runtime_error("copy");
   }
   Fragile(Fragile && o) noexcept(false) : value(std::exchange(o.value, 0)) {}
   Fragile & operator=(const Fragile &) = default;
   Fragile & operator=(Fragile &&) = default;
   int value = 0;
   static inline bool failCopies = false;
};

TEST(HashMapTest, FailedGrowthLeavesTheMapAsItWas) {
   // Each size fills the storage exactly, so the next insertion must grow it.
   for (int size : {1, 2, 4, 16}) {
      SCOPED_TRACE(size);
      Kiv::HashMap< int, Fragile > m;
      for (int k = 0; k < size; ++k) m.insert(k, Fragile(k + 10));
      Fragile::failCopies = true;
      EXPECT_THROW(m.insert(size, Fragile(1)), std::runtime_error);
      EXPECT_THROW(m.getOrInsert(size, [] { return Fragile(1); }), std::runtime_error);
      Fragile::failCopies = false;
      EXPECT_FALSE(m.contains(size));
      EXPECT_EQ(m.size(), static_cast< std::size_t >(size));
      for (auto & it : m) EXPECT_EQ(it.value().value, it.key() + 10);
      EXPECT_TRUE(m.insert(size, Fragile(1)).second);
   }
}

// The model: entries in first-insertion order, erased ones marked dead; dead
// entries are dropped only between iterations, as the map may do.
struct Model {
   struct Entry {
      int key, value;
      bool live;
   };
   std::vector< Entry > seq;

   // The live entry of `key`; seq.size() when there is none.
   std::size_t find(int key) const {
      auto live = [&](const Entry & e) { return e.live && e.key == key; };
      return std::find_if(seq.begin(), seq.end(), live) - seq.begin();
   }
   void insert(int key, int value) {
      const std::size_t at = find(key);
      if (at == seq.size()) seq.push_back({key, 0, true});
      seq[at].value = value;
   }
   bool erase(int key) {
      const std::size_t at = find(key);
      if (at == seq.size()) return false;
      seq[at].live = false;
      return true;
   }
   std::size_t settle(std::size_t pos) const {
      while (pos < seq.size() && !seq[pos].live) ++pos;
      return pos;
   }
   void compact() {
      std::erase_if(seq, [](const Entry & e) { return !e.live; });
   }
};

void expectSameContents(Kiv::HashMap< int, int > & m, const Model & model) {
   std::vector< std::pair< int, int > > got, want;
   for (auto & it : m) got.emplace_back(it.key(), it.value());
   for (const Model::Entry & e : model.seq) {
      if (e.live) want.emplace_back(e.key, e.value);
   }
   ASSERT_EQ(got, want);
   ASSERT_EQ(m.size(), want.size());
   for (int k = 0; k < 64; ++k) { // values are never negative; -1 stands for absent
      const std::size_t at = model.find(k);
      ASSERT_EQ(m.get(k) ? *m.get(k) : -1, at < model.seq.size() ? model.seq[at].value : -1) << k;
   }
}

TEST(HashMapTest, RandomOperationsAgreeWithAModel) {
   const char * fixed = std::getenv("KIV_TEST_SEED");
   const unsigned seed =
      fixed ? static_cast< unsigned >(std::strtoul(fixed, nullptr, 10)) : std::random_device()();
   SCOPED_TRACE("KIV_TEST_SEED=" + std::to_string(seed));
   RecordProperty("seed", std::to_string(seed));
   std::mt19937 rng(seed);
   auto pick = [&](int n) { return static_cast< int >(rng() % static_cast< unsigned >(n)); };

   Kiv::HashMap< int, int > m;
   Model model;
   for (int op = 0; op < 3000; ++op) {
      const int kind = pick(10);
      if (kind < 2) {
         const int key = pick(64), value = pick(1000);
         m.insert(key, value);
         model.insert(key, value);
      } else if (kind < 4) {
         // Makes a value only for an absent key; nothing changes when making fails.
         const int key = pick(64), value = pick(1000);
         const bool absent = model.find(key) == model.seq.size(), fail = pick(4) == 0;
         auto make = [&] { return fail ? throw std::runtime_error("no") : value; };
         if (absent && fail) {
            EXPECT_THROW(m.getOrInsert(key, make), std::runtime_error);
         } else {
            const auto got = m.getOrInsert(key, make);
            EXPECT_EQ(got, std::pair(m.get(key), absent));
            if (absent) model.insert(key, value);
         }
      } else if (kind < 6) {
         const int key = pick(64);
         EXPECT_EQ(m.erase(key), model.erase(key));
      } else if (kind < 7) {
         // The lookup hints only read, whatever the map's state.
         const int key = pick(64);
         m.prefetchBucket(key);
         m.prefetchSlot(key);
         expectSameContents(m, model);
         if (pick(40) == 0) {
            m.clear();
            model.seq.clear();
         }
      } else {
         // One walk, changing the map under the iterator.
         auto it = pick(3) == 0 ? m.find(pick(64)) : m.begin();
         std::size_t pos = it.valid() ? model.find(it.key()) : model.seq.size();
         for (int step = 0; step < 40; ++step) {
            pos = model.settle(pos);
            ASSERT_EQ(it.valid(), pos < model.seq.size()) << "op " << op << " step " << step;
            if (!it.valid()) {
               ASSERT_FALSE((++it).valid()); // stays at the end
               break;
            }
            ASSERT_EQ(it.key(), model.seq[pos].key);
            ASSERT_EQ(it.value(), model.seq[pos].value);
            const int action = pick(8), key = pick(64), value = pick(1000);
            if (action == 0) {
               model.erase(it.key());
               m.erase(it);
            } else if (action == 1) {
               m.erase(key);
               model.erase(key);
            } else if (action == 2) {
               m.insert(key, value);
               model.insert(key, value);
            } else if (action == 3 && pick(4) == 0) {
               it.rewind();
               pos = 0;
               continue;
            } else if (action == 4) {
               // Copies hold only the live entries, in order, and apart.
               Kiv::HashMap< int, int > copy(m), assigned;
               assigned.insert(64, 0);
               assigned = m;
               for (auto * c : {&copy, &assigned}) {
                  expectSameContents(*c, model);
                  c->insert(key, -1);
               }
            }
            ++it;
            ++pos;
         }
      }
      if (kind >= 7) model.compact(); // no iterator is live any more
   }
   expectSameContents(m, model);
}

} // namespace
