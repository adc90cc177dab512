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

// Switches the process to atomic counts for one test.
class ThreadSafePointers {
 public:
   ThreadSafePointers() { Kiv::enableThreadSafePointersIs(true); }
   ~ThreadSafePointers() { Kiv::enableThreadSafePointersIs(false); }
};

TEST(PtrTest, CopiesCountAndTheLastReferenceDeletes) {
   bool destroyed = false;
   Kiv::Ptr< Base > a = Kiv::kivNew< Base >(&destroyed);
   EXPECT_EQ(a->refCount(), 1u);
   {
      Kiv::Ptr< Base > b = a;
      Kiv::PtrConst< Base > view = b;
      EXPECT_EQ(a->refCount(), 3u);
      Kiv::Ptr< Base > moved = std::move(b);
      EXPECT_EQ(a->refCount(), 3u);
      EXPECT_FALSE(b);
      Kiv::Ptr< Base > & alias = a;
      a = alias; // self-assignment keeps the object
      EXPECT_EQ(a->refCount(), 3u);
   }
   EXPECT_EQ(a->refCount(), 1u);
   EXPECT_FALSE(destroyed);
   a = nullptr;
   EXPECT_TRUE(destroyed);
}

TEST(PtrTest, ConstructorMayTakeAndDropAReferenceToItself) {
   Kiv::Ptr< SelfReferencing > p = Kiv::kivNew< SelfReferencing >();
   EXPECT_EQ(p->refsSeen, 2u);
   EXPECT_EQ(p->refCount(), 1u);
   EXPECT_EQ(Kiv::LiveCount::count("KivPtrTest::SelfReferencing"), 1);
}

TEST(PtrTest, LiveCountIsPerTypeAndReturnsToZero) {
   const std::int64_t total = Kiv::LiveCount::total();
   {
      Kiv::Ptr< Base > b1 = Kiv::kivNew< Base >();
      Kiv::Ptr< Base > b2 = Kiv::kivNew< Base >();
      Kiv::Ptr< Base > d = Kiv::kivNew< Derived >();
      EXPECT_EQ(Kiv::LiveCount::count("KivPtrTest::Base"), 2);
      EXPECT_EQ(Kiv::LiveCount::count("KivPtrTest::Derived"), 1);
      EXPECT_EQ(Kiv::LiveCount::total(), total + 3);
      EXPECT_EQ(Kiv::LiveCount::snapshot().at("KivPtrTest::Derived"), 1);
   }
   EXPECT_EQ(Kiv::LiveCount::count("KivPtrTest::Base"), 0);
   EXPECT_EQ(Kiv::LiveCount::count("KivPtrTest::Derived"), 0);
   EXPECT_EQ(Kiv::LiveCount::total(), total);
   EXPECT_EQ(Kiv::LiveCount::count("KivPtrTest::NeverAllocated"), 0);
}

TEST(PtrTest, ThreadSafeCountsBehaveTheSame) {
   ThreadSafePointers atomic;
   ASSERT_TRUE(Kiv::enableThreadSafePointers());
   bool destroyed = false;
   {
      Kiv::Ptr< Base > a = Kiv::kivNew< Derived >(&destroyed);
      Kiv::Ptr< Base > b = a;
      EXPECT_EQ(a->refCount(), 2u);
      b = nullptr;
      EXPECT_EQ(a->refCount(), 1u);
      Kiv::Ptr< SelfReferencing > s = Kiv::kivNew< SelfReferencing >();
      EXPECT_EQ(s->refCount(), 1u);
      EXPECT_EQ(Kiv::LiveCount::count("KivPtrTest::Derived"), 1);
   }
   EXPECT_TRUE(destroyed);
   EXPECT_EQ(Kiv::LiveCount::count("KivPtrTest::Derived"), 0);
   EXPECT_EQ(Kiv::LiveCount::count("KivPtrTest::SelfReferencing"), 0);
}

TEST(PtrTest, ConversionsAndCastsShareTheObject) {
   Kiv::Ptr< Derived > d = Kiv::kivNew< Derived >();
   Kiv::Ptr< Base > b = d;
   EXPECT_TRUE(b == d);
   EXPECT_EQ(d->refCount(), 2u);
   EXPECT_EQ(Kiv::ptrCast< Derived >(b).get(), d.get());
   Kiv::Ptr< Base > plain = Kiv::kivNew< Base >();
   EXPECT_TRUE(Kiv::ptrCast< Derived >(plain) == nullptr);
   Kiv::Ptr< Base > taken(std::move(d));
   EXPECT_EQ(b->refCount(), 2u);
}

TEST(PtrTest, ValidPtrPassesAnObjectAndRefusesNull) {
   Kiv::Ptr< Base > p = Kiv::kivNew< Base >();
   EXPECT_EQ(Kiv::validPtr(p).get(), p.get());
   try {
      Kiv::validPtr(Kiv::Ptr< Base >());
      FAIL() << "a null ValidPtr was accepted";
   } catch (const Kiv::RangeException & e) {
      EXPECT_STREQ(e.what(), "null ValidPtr");
      EXPECT_EQ(e.id(), Kiv::ExceptionId::range);
   }
}

} // namespace KivPtrTest
