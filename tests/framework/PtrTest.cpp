#include "kiv/Ptr.h"

#include <gtest/gtest.h>

#include "kiv/Exception.h"

namespace KivPtrTest {

struct Base : Kiv::PtrInterface {
   explicit Base(bool * destroyed = nullptr) : destroyed_(destroyed) {}
   ~Base() override {
      if (destroyed_) *destroyed_ = true;
   }
   bool * destroyed_;
};

struct Derived : Base {
   using Base::Base;
};

// Takes and drops a counted reference to itself while being constructed, as
// objects that register themselves with others do.
struct SelfReferencing : Kiv::PtrInterface {
   SelfReferencing() {
      Kiv::Ptr< SelfReferencing > self(this);
      refsSeen = refCount();
   }
   std::uint32_t refsSeen = 0;
};

// Copies, conversions and moves count; the last reference deletes. Run with
// plain and with atomic counts.
void expectCountingAndDeletion() {
   bool destroyed = false;
   Kiv::Ptr< Derived > d = Kiv::kivNew< Derived >(&destroyed);
   {
      Kiv::Ptr< Base > b = d;
      Kiv::PtrConst< Base > view = b;
      EXPECT_EQ(d->refCount(), 3u);
      Kiv::Ptr< Base > moved = std::move(b);
      EXPECT_FALSE(b);
      EXPECT_EQ(d->refCount(), 3u);
      Kiv::Ptr< Base > & alias = moved;
      moved = alias; // self-assignment keeps the object
      EXPECT_EQ(Kiv::ptrCast< Derived >(moved), d);
      EXPECT_EQ(d->refCount(), 3u);
   }
   EXPECT_EQ(d->refCount(), 1u);
   EXPECT_TRUE(Kiv::ptrCast< Derived >(Kiv::kivNew< Base >()) == nullptr);
   Kiv::Ptr< SelfReferencing > s = Kiv::kivNew< SelfReferencing >();
   EXPECT_EQ(s->refsSeen, 2u);
   EXPECT_EQ(s->refCount(), 1u);
   Kiv::Ptr< Base > taken(std::move(d));
   EXPECT_FALSE(destroyed);
   taken = nullptr;
   EXPECT_TRUE(destroyed);
   EXPECT_EQ(Kiv::LiveCount::count("KivPtrTest::Derived"), 0);
}

TEST(PtrTest, CopiesCountAndTheLastReferenceDeletes) {
   expectCountingAndDeletion();
   Kiv::enableThreadSafePointersIs(true);
   expectCountingAndDeletion();
   Kiv::enableThreadSafePointersIs(false);
}

TEST(PtrTest, ValidPtrPassesAnObjectAndRefusesNull) {
   Kiv::Ptr< Base > p = Kiv::kivNew< Base >();
   EXPECT_EQ(Kiv::validPtr(p), p);
   try {
      Kiv::validPtr(Kiv::Ptr< Base >());
      FAIL() << "a null ValidPtr was accepted";
   } catch (const Kiv::RangeException & e) {
      EXPECT_STREQ(e.what(), "null ValidPtr");
   }
}

} // namespace KivPtrTest
