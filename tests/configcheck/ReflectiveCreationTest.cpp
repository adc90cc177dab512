// Creation of the checker's objects through the type registry, as an agent
// that only knows type names and argument lists does it, and the refusal of
// argument lists that do not fit.
#include "MlagConfigCheckSm.h"

#include "CheckerFixture.h"
#include "kiv/Exception.h"
#include "kiv/Type.h"

namespace {

using namespace CheckerTest;

using Args = std::vector< Kiv::GenericValue >;

Kiv::Ptr< Kiv::KivType > registered(const char * name) {
   Kiv::Ptr< Kiv::KivType > type = Kiv::typeNode(name);
   EXPECT_TRUE(type) << name;
   return type;
}

// The text of the type error raised by `create`; empty when none is raised.
std::string typeError(const Kiv::KivType & type, const Args & args) {
   try {
      type.create(args);
   } catch (const Kiv::TypeException & e) {
      return e.what();
   }
   return "";
}

TEST(ReflectiveCreationTest, ADescriptorIsCreatedFromItsName) {
   auto type = registered("Mlag::ConfigCheck::ConfigCheckDesc");
   auto desc = Kiv::ptrCast< ConfigCheckDesc >(type->create({Kiv::Value::string("lacp")}));
   ASSERT_TRUE(desc);
   EXPECT_EQ(desc->name(), "lacp");
   EXPECT_FALSE(desc->mlagInterfacesOnly());
   EXPECT_EQ(desc->attrNameMap().size(), 0u);
   const Args none;
   const Args two = {Kiv::Value::string("a"), Kiv::Value::string("b")};
   for (const Args * args : {&none, &two}) {
      EXPECT_EQ(typeError(*type, *args), "ConfigCheckDesc takes one argument, its name");
   }
}

TEST(ReflectiveCreationTest, AContainerIsCreatedFromItsName) {
   auto type = registered("Mlag::ConfigCheck::SmContainer");
   auto container = Kiv::ptrCast< SmContainer >(type->create({Kiv::Value::string("lacp")}));
   ASSERT_TRUE(container);
   EXPECT_EQ(container->name(), "lacp");
   EXPECT_FALSE(container->configCheckSm());
   EXPECT_EQ(typeError(*type, {}), "SmContainer takes 1 arguments, given 0");
}

// A top level needs exactly its seven constructor arguments, each of the
// type its position requires; nothing is built from any other list.
class TopLevelArgumentsTest : public CheckerTestBase {
 protected:
   void dropAll() override { args.clear(); }
   Args sevenArguments() {
      return {Kiv::GenericValue::object(resultsDir()),
              Kiv::Value::string("lacp"),
              Kiv::GenericValue::object(Kiv::kivNew< Kiv::DynamicEntity >(Kiv::Name("lacp"))),
              Kiv::GenericValue::object(Kiv::kivNew< GenericConfig >(Kiv::Name("local"))),
              Kiv::GenericValue::object(Kiv::kivNew< GenericConfig >(Kiv::Name("peer"))),
              Kiv::GenericValue::object(lacpDesc()),
              Kiv::GenericValue::object(mlagConfig({}))};
   }
   Args args;
};

TEST_F(TopLevelArgumentsTest, AnyOtherArgumentCountIsRefused) {
   const auto & type = MlagConfigCheckSm::kivType();
   args = sevenArguments();
   args.pop_back();
   EXPECT_EQ(typeError(type, args), "MlagConfigCheckSm takes 7 arguments, given 6");
   args = sevenArguments();
   args.push_back(Kiv::Value::string("extra"));
   EXPECT_EQ(typeError(type, args), "MlagConfigCheckSm takes 7 arguments, given 8");
   EXPECT_EQ(Kiv::LiveCount::count("Mlag::ConfigCheck::MlagConfigCheckSm"), 0);
}

TEST_F(TopLevelArgumentsTest, AnArgumentOfTheWrongTypeIsNamedByPosition) {
   const auto & type = MlagConfigCheckSm::kivType();
   const auto wrong = Kiv::GenericValue::object(Kiv::kivNew< Kiv::Clock >(Kiv::Name("clock")));
   // Every object position: the results directory, the configuration, both
   // records, the descriptor and the MLAG configuration.
   for (std::size_t position : {0u, 3u, 4u, 5u, 6u}) {
      args = sevenArguments();
      args[position] = wrong;
      EXPECT_EQ(typeError(type, args),
                "argument " + std::to_string(position + 1) + " has the wrong type");
   }
   // A missing object is no type error: the null reaches the factory, which
   // refuses a null results directory.
   args = sevenArguments();
   args[0] = Kiv::GenericValue();
   EXPECT_THROW(type.create(args), Kiv::RangeException);
   EXPECT_EQ(Kiv::LiveCount::count("Mlag::ConfigCheck::MlagConfigCheckSm"), 0);
}

} // namespace
