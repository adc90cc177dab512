#include "kiv/HashMap.h"

#include <gtest/gtest.h>

#include "kiv/String.h"

namespace {

using Map = Kiv::HashMap< Kiv::String, int >;

std::vector< std::string > keys(Map & m) {
   std::vector< std::string > out;
   for (auto & it : m) out.push_back(it.key().stdString());
   return out;
}

TEST(HashMapTest, IteratesInInsertionOrderAndOverwritesInPlace) {
   Map m;
   for (const char * k : {"c", "a", "b"}) m.insert(k, 1);
   m.insert("a", 7);
   EXPECT_EQ(keys(m), (std::vector< std::string >{"c", "a", "b"}));
   EXPECT_EQ(*m.get("a"), 7);
   m.erase("a");
   m.insert("a", 8);
   EXPECT_EQ(keys(m), (std::vector< std::string >{"c", "b", "a"}));
}

} // namespace
