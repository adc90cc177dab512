#include "kiv/DynamicEntity.h"

#include <gtest/gtest.h>

#include "kiv/Exception.h"

namespace {

std::int64_t liveTypes() { return Kiv::LiveCount::count("Kiv::KivType"); }

std::vector< std::string > attrNames(const Kiv::KivType & type) {
   std::vector< std::string > names;
   for (const Kiv::KivAttr & a : type.attrs()) names.push_back(a.name.stdString());
   return names;
}

// Members of one collection that declare the same attributes in the same
// order share one type; a member that declares more moves to a type of its
// own and leaves its siblings' attributes as they were.
TEST(DynamicEntityTest, AlikeMembersShareATypeAndADivergingOneGetsItsOwn) {
   const std::int64_t before = liveTypes();
   {
      auto top = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("lacp"));
      auto a = top->entityMemberIs("intfConfig", "Port-Channel1");
      auto b = top->entityMemberIs("intfConfig", "Port-Channel2");
      for (const auto & member : {a, b}) {
         member->valueIs("mode", Kiv::Value::string("active"));
         member->valueIs("rate", Kiv::Value::integer(30));
      }
      EXPECT_EQ(&a->kivType(), &b->kivType());
      b->valueIs("timeout", Kiv::Value::boolean(true));
      b->memberIs("vlans", "10", Kiv::Value::integer(10));
      EXPECT_EQ(attrNames(a->kivType()), (std::vector< std::string >{"mode", "rate"}));
      EXPECT_EQ(attrNames(b->kivType()),
                (std::vector< std::string >{"mode", "rate", "timeout", "vlans"}));
      EXPECT_TRUE(b->kivType().attr("vlans")->collection);
      EXPECT_EQ(b->kivType().attr("timeout")->id, 3u);
      // Both keep their values through the change of type.
      EXPECT_EQ(a->value("rate"), Kiv::Value::integer(30));
      EXPECT_EQ(b->value("mode"), Kiv::Value::string("active"));
      EXPECT_EQ(b->memberCount("vlans"), 1u);

      // The same attribute with the other shape is still refused.
      EXPECT_THROW(a->memberIs("rate", "x", Kiv::Value()), Kiv::TypeException);
      // Declared in another order: another type, with ids in that order.
      auto c = top->entityMemberIs("intfConfig", "Port-Channel3");
      c->valueIs("rate", Kiv::Value::integer(30));
      c->valueIs("mode", Kiv::Value::string("active"));
      EXPECT_EQ(c->kivType().attr("mode")->id, 2u);
      EXPECT_EQ(c->value("mode"), Kiv::Value::string("active"));

      // One name in both shapes from one type: two types, the first one shared.
      auto scalar = top->entityMemberIs("intfConfig", "Port-Channel4");
      auto collection = top->entityMemberIs("intfConfig", "Port-Channel5");
      auto scalarToo = top->entityMemberIs("intfConfig", "Port-Channel6");
      scalar->valueIs("x", Kiv::Value::integer(1));
      collection->memberIs("x", "k", Kiv::Value::integer(2));
      scalarToo->valueIs("x", Kiv::Value::integer(3));
      EXPECT_FALSE(scalar->kivType().attr("x")->collection);
      EXPECT_TRUE(collection->kivType().attr("x")->collection);
      EXPECT_EQ(&scalar->kivType(), &scalarToo->kivType());
      EXPECT_EQ(collection->member("x", "k").value(), Kiv::Value::integer(2));
   }
   // Types live as long as the entities that use them.
   EXPECT_EQ(liveTypes(), before);
}

TEST(DynamicEntityTest, ATypeNoEntityUsesIsFreedAndBuiltAgainWhenNeeded) {
   auto top = Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("lacp"));
   auto a = top->entityMemberIs("intfConfig", "Port-Channel1");
   a->valueIs("mode", Kiv::Value::string("active"));
   const std::int64_t withOne = liveTypes();
   a->valueIs("rate", Kiv::Value::integer(1));
   top->memberDel("intfConfig", "Port-Channel1");
   a = nullptr;
   EXPECT_LT(liveTypes(), withOne);
   // A new member walks the chain again from the collection's empty type.
   auto b = top->entityMemberIs("intfConfig", "Port-Channel2");
   b->valueIs("mode", Kiv::Value::string("passive"));
   b->valueIs("rate", Kiv::Value::integer(2));
   EXPECT_EQ(attrNames(b->kivType()), (std::vector< std::string >{"mode", "rate"}));
}

TEST(DynamicEntityTest, ValuesOfEveryKindReadBackAndCompare) {
   auto fields = Kiv::kivNew< Kiv::StructValue >("Mlag::ReloadDelay");
   fields->fieldIs("seconds", Kiv::Value::integer(300));
   const Kiv::Value values[] = {Kiv::Value(), Kiv::Value::string("x"), Kiv::Value::integer(7),
                                Kiv::Value::boolean(true), Kiv::Value::structured(fields)};
   for (std::size_t i = 0; i < std::size(values); ++i) {
      EXPECT_EQ(static_cast< std::size_t >(values[i].kind()), i);
      for (std::size_t j = 0; j < std::size(values); ++j) {
         EXPECT_EQ(values[i] == values[j], i == j) << i << " " << j;
      }
   }
   // Reads of another kind: no text, booleans as numbers and back.
   EXPECT_EQ(values[2].stringValue(), "");
   EXPECT_EQ(values[3].integerValue(), 1);
   EXPECT_TRUE(values[2].booleanValue());
   EXPECT_FALSE(values[1].structValue());
   // A structured value equals another of the same type and fields.
   auto same = Kiv::kivNew< Kiv::StructValue >("Mlag::ReloadDelay");
   same->fieldIs("seconds", Kiv::Value::integer(300));
   EXPECT_EQ(Kiv::Value::structured(same), values[4]);
   // Integers and booleans of one number are still distinct kinds.
   EXPECT_FALSE(Kiv::Value::integer(1) == Kiv::Value::boolean(true));
   EXPECT_TRUE(Kiv::Value::structured(nullptr).isNone());
}

} // namespace
