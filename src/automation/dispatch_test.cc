#include "qorsupport/automation/dispatch.h"

#include <gtest/gtest.h>

#include "qorsupport/frame/error.h"
#include "testing/test_util.h"

namespace qor::automation {
namespace {

class Counter : public Object {
 public:
  std::string_view ClassName() const override { return "Counter"; }
  int32_t total = 0;
};

class DispatchTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ClassBuilder<Counter>(registry_, "Counter")
        .Method("Add", {Req("pAmount", VarType::kLong), Opt("pTimes", VarType::kInteger, Int16(1))},
                [](Counter& c, Args& a) {
                  c.total += a.Lng(0) * a.Int(1);
                  return Variant(c.total);
                })
        .Sub("Double", {Ref("pValue", VarType::kLong)},
             [](Counter&, Args& a) { a[0] = Variant(a.Lng(0) * 2); })
        .Method("Describe", {Opt("pWhat", VarType::kVariant)},
                [](Counter&, Args& a) { return Variant(a[0].IsMissing() ? "missing" : "given"); })
        .Property(
            "Total", VarType::kLong, [](Counter& c) { return Variant(c.total); },
            [](Counter& c, const Variant& v) { c.total = v.NumericValue(); });
  }
  Registry registry_;
};

TEST_F(DispatchTest, CreatesByNameWithoutCase) {
  EXPECT_EQ(registry_.Create("counter")->ClassName(), "Counter");
  EXPECT_EQ(registry_.Create("qorSupport.Counter")->ClassName(), "Counter");
  EXPECT_EQ(testing::ErrorNumberOf([&] { registry_.Create("Nope"); }), err::kCannotCreate);
}

TEST_F(DispatchTest, ConvertsArgumentsAndAppliesDefaults) {
  ObjectRef c = registry_.Create("Counter");
  std::vector<Variant> args{Variant("5")};
  EXPECT_EQ(registry_.Call(*c, "ADD", args), Variant(5));
  args = {Variant(2.5), Variant::Missing()};  // 2.5 rounds to 2
  EXPECT_EQ(registry_.Call(*c, "add", args), Variant(7));
  args = {Variant(1), Variant(3)};
  EXPECT_EQ(registry_.Call(*c, "Add", args), Variant(10));
  args = {};
  EXPECT_EQ(registry_.Call(*c, "Describe", args), Variant("missing"));
}

TEST_F(DispatchTest, ByReferenceArgumentsComeBack) {
  ObjectRef c = registry_.Create("Counter");
  std::vector<Variant> args{Variant("21")};
  EXPECT_TRUE(registry_.Call(*c, "Double", args).IsEmpty());
  EXPECT_EQ(args[0], Variant(42));
}

TEST_F(DispatchTest, Faults) {
  ObjectRef c = registry_.Create("Counter");
  std::vector<Variant> none, three{Variant(1), Variant(1), Variant(1)}, text{Variant("x")},
      null{Variant::Null()}, missing{Variant::Missing()}, big{Variant(1e10)};
  EXPECT_EQ(testing::ErrorNumberOf([&] { registry_.Call(*c, "Nope", none); }), err::kNoSuchMember);
  EXPECT_EQ(testing::ErrorNumberOf([&] { registry_.Call(*c, "Add", none); }), err::kWrongArgCount);
  EXPECT_EQ(testing::ErrorNumberOf([&] { registry_.Call(*c, "Add", three); }), err::kWrongArgCount);
  EXPECT_EQ(testing::ErrorNumberOf([&] { registry_.Call(*c, "Add", missing); }),
            err::kArgNotOptional);
  EXPECT_EQ(testing::ErrorNumberOf([&] { registry_.Call(*c, "Add", text); }), err::kTypeMismatch);
  EXPECT_EQ(testing::ErrorNumberOf([&] { registry_.Call(*c, "Add", null); }), err::kInvalidNull);
  EXPECT_EQ(testing::ErrorNumberOf([&] { registry_.Call(*c, "Add", big); }), err::kOverflow);
  EXPECT_EQ(testing::ErrorNumberOf([&] { registry_.Set(*c, "Nope", none, Variant(1)); }),
            err::kNoSuchMember);
  EXPECT_EQ(testing::ErrorNumberOf([&] { registry_.Get(*c, "Double", none); }), err::kNoSuchMember);
}

TEST_F(DispatchTest, Properties) {
  ObjectRef c = registry_.Create("Counter");
  std::vector<Variant> none;
  registry_.Set(*c, "total", none, Variant("12"));
  EXPECT_EQ(registry_.Get(*c, "TOTAL", none), Variant(12));
  EXPECT_EQ(registry_.Call(*c, "Total", none), Variant(12));
}

TEST(GlobalRegistry, HasTheFoundationClasses) {
  Registry& r = Registry::Global();
  for (const char* name : {"qorApp", "qorForms", "qorProcs"}) {
    EXPECT_NE(r.Create(name), nullptr) << name;
  }
  EXPECT_NE(r.FindClass("qorExportGlobals"), nullptr);
  EXPECT_EQ(testing::ErrorNumberOf([&] { r.Create("qorExportGlobals"); }), err::kCannotCreate);
}

}  // namespace
}  // namespace qor::automation
