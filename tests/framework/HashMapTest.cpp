#include "kiv/HashMap.h"

#include <gtest/gtest.h>

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

using Map = Kiv::HashMap< Kiv::String, int >;

std::vector< std::string > keys(Map & m) {
   std::vector< std::string > out;
   for (auto & it : m) out.push_back(it.key().stdString());
   return out;
}

Map lettered(const char * letters) {
   Map m;
   for (const char * c = letters; *c; ++c) m.insert(Kiv::String(c, 1), *c - 'a');
   return m;
}

// Order, overwrites and changes while iterating: the model test below.
TEST(HashMapTest, GetOrInsertMakesAValueOnlyForAnAbsentKeyAndClearStartsAfresh) {
   // Past the small-map limit, so that the index is in use too.
   Map m = lettered("abcdefghijk");
   int made = 0;
   EXPECT_EQ(m.getOrInsert("c", [&] { return ++made; }), std::pair(m.get("c"), false));
   EXPECT_EQ(*m.get("c"), 2);
   auto [fresh, inserted] = m.getOrInsert("z", [&] { return ++made; });
   EXPECT_TRUE(inserted);
   EXPECT_EQ(*fresh, 1);
   // A value that cannot be made leaves the map as it was.
   EXPECT_THROW(m.getOrInsert("y", []() -> int { throw std::runtime_error("no"); }),
                std::runtime_error);
   EXPECT_EQ(keys(m).size(), 12u);
   EXPECT_EQ(keys(m).back(), "z");
   auto it = m.find("z");
   ++it;
   ++it; // stays at the end
   EXPECT_FALSE(it.valid());
   m.clear(); // the emptied map drops its storage on the next insertion
   EXPECT_EQ(m.get("a"), nullptr);
   m.insert("z", 1);
   EXPECT_EQ(keys(m), (std::vector< std::string >{"z"}));
}

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
   for (int i = 0; i < 40; ++i) EXPECT_FALSE(m.contains(i)) << i;
   for (int key : expected) EXPECT_TRUE(m.contains(key)) << key;
   EXPECT_EQ(Kiv::LiveCount::count("(anonymous namespace)::Hostile"), 0);

   // Through an iterator: keys added by destructors are visited and erased too.
   for (int i = 0; i < 8; ++i) m.insert(2000 + i, Kiv::kivNew< Hostile >(&m, -1, 3000 + i));
   m.clear();
   EXPECT_TRUE(m.empty());
   EXPECT_EQ(Kiv::LiveCount::count("(anonymous namespace)::Hostile"), 0);
}

TEST(HashMapTest, CopiesHoldOnlyTheLiveEntriesInOrder) {
   // Below and above the small-map limit, with a live iterator on the source
   // so that its erased slots are kept.
   for (const char * letters : {"ab", "abcdef", "abcdefghijklmnopqrst"}) {
      SCOPED_TRACE(letters);
      Map source = lettered(letters), assigned = lettered("xyz");
      auto it = source.begin();
      std::vector< std::string > expected;
      for (const char * c = letters; *c; ++c) {
         if ((*c - 'a') % 2 == 0) {
            source.erase(Kiv::String(c, 1));
         } else {
            expected.push_back(std::string(1, *c));
         }
      }
      Map copy(source);
      assigned = source;
      for (Map * m : {&copy, &assigned}) {
         EXPECT_EQ(keys(*m), expected);
         EXPECT_EQ(m->size(), expected.size());
         EXPECT_FALSE(m->contains("a"));
         EXPECT_FALSE(m->contains("x"));
         EXPECT_EQ(*m->get("b"), 1);
         m->insert("b", 100);
      }
      EXPECT_EQ(*source.get("b"), 1);
   }
}

// A value whose move may throw, so growing storage copies it; copies fail
// on demand.
struct Fragile {
   Fragile() = default;
   explicit Fragile(int v) : value(v) {}
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
      ASSERT_EQ(m.size(), static_cast< std::size_t >(size));
      int expected = 0;
      for (auto & it : m) {
         EXPECT_EQ(it.key(), expected);
         EXPECT_EQ(it.value().value, 10 + expected++);
      }
      EXPECT_TRUE(m.insert(size, Fragile(1)).second);
      EXPECT_EQ(m.get(0)->value, 10);
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
      for (std::size_t i = 0; i < seq.size(); ++i) {
         if (seq[i].live && seq[i].key == key) return i;
      }
      return seq.size();
   }
   void insert(int key, int value) {
      const std::size_t at = find(key);
      if (at < seq.size()) {
         seq[at].value = value;
      } else {
         seq.push_back({key, value, true});
      }
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
   for (int k = 0; k < 64; ++k) {
      const int * v = m.get(k);
      const std::size_t at = model.find(k);
      ASSERT_EQ(v != nullptr, at < model.seq.size()) << "key " << k;
      if (v) {
         ASSERT_EQ(*v, model.seq[at].value) << "key " << k;
      }
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
      if (kind < 4) {
         const int key = pick(64), value = pick(1000);
         m.insert(key, value);
         model.insert(key, value);
      } else if (kind < 6) {
         const int key = pick(64);
         EXPECT_EQ(m.erase(key), model.erase(key));
      } else if (kind < 7) {
         // The lookup hints only read, whatever the map's state.
         const int key = pick(64);
         m.prefetchBucket(key);
         m.prefetchSlot(key);
         expectSameContents(m, model);
      } else {
         // One walk, changing the map under the iterator.
         auto it = pick(3) == 0 ? m.find(pick(64)) : m.begin();
         std::size_t pos = it.valid() ? model.find(it.key()) : model.seq.size();
         for (int step = 0; step < 40; ++step) {
            pos = model.settle(pos);
            ASSERT_EQ(it.valid(), pos < model.seq.size()) << "op " << op << " step " << step;
            if (!it.valid()) break;
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
