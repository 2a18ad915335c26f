#include "qorsupport/frame/globals.h"

#include <gtest/gtest.h>

#include <thread>

#include "qorsupport/frame/app.h"
#include "qorsupport/frame/error.h"

namespace qor {
namespace {

struct Nameless : Object {
  std::string_view ClassName() const override { return "Nameless"; }
};

TEST(Blank, TheBlankValues) {
  for (bool trim : {true, false}) {
    EXPECT_TRUE(IsBlank(Variant(), trim));
    EXPECT_TRUE(IsBlank(Variant::Null(), trim));
    EXPECT_TRUE(IsBlank(Variant(false), trim));
    EXPECT_TRUE(IsBlank(Variant(0), trim));
    EXPECT_TRUE(IsBlank(Variant(0.0), trim));
    EXPECT_TRUE(IsBlank(Variant(""), trim));
    EXPECT_FALSE(IsBlank(Variant(true), trim));
    EXPECT_FALSE(IsBlank(Variant(1), trim));
    EXPECT_FALSE(IsBlank(Variant(10), trim));
    EXPECT_FALSE(IsBlank(Variant(-1), trim));
    EXPECT_FALSE(IsBlank(Variant("0"), trim));
    EXPECT_FALSE(IsBlank(Variant(Date{0}), trim));
  }
  EXPECT_TRUE(IsBlank(Variant("   "), true));
  EXPECT_FALSE(IsBlank(Variant("   "), false));
  EXPECT_TRUE(IsNotBlank(Variant("   "), false));
  // A value without a text form counts as blank.
  EXPECT_TRUE(IsBlank(Variant(ObjectRef(std::make_shared<Nameless>())), true));
  EXPECT_TRUE(IsBlank(Variant(Array(VarType::kLong, {{0, 3}})), false));
  EXPECT_TRUE(IsBlank(Variant(Currency{0}), false));
}

TEST(Blank, TrimUpperAndLower) {
  EXPECT_EQ(TrimUpper(Variant("  ab ")), Variant("AB"));
  EXPECT_EQ(TrimLower(Variant(" AbC ")), Variant("abc"));
  EXPECT_TRUE(TrimUpper(Variant("   ")).IsNull());
  EXPECT_TRUE(TrimUpper(Variant("")).IsNull());
  EXPECT_TRUE(TrimUpper(Variant::Null()).IsNull());
  EXPECT_EQ(TrimUpper(Variant(0)), Variant("0"));
  EXPECT_EQ(TrimUpper(Variant(12.5)), Variant("12.5"));
  EXPECT_THROW(TrimUpper(Variant(ObjectRef(std::make_shared<Nameless>()))), Error);
}

TEST(Values, NumOrZeroParsesTheText) {
  EXPECT_EQ(NumOrZero(Variant("12abc")), 0);
  EXPECT_EQ(NumOrZero(Variant(" 12 ")), 12);
  EXPECT_EQ(NumOrZero(Variant::Null()), 0);
  EXPECT_EQ(NumOrZero(Variant("1,234")), 1);  // numeric, but Val stops at the comma
  EXPECT_EQ(NumOrZero(Variant(2.5)), 2.5);
  EXPECT_EQ(NumOrZero(Variant(true)), 0);  // the text "True" has no number
  EXPECT_EQ(NumOrZero(Variant(Date{5})), 0);
}

TEST(Values, IsTrue) {
  EXPECT_TRUE(IsTrue(Variant(" true ")));
  EXPECT_TRUE(IsTrue(Variant("2")));
  EXPECT_TRUE(IsTrue(Variant(-1)));
  EXPECT_TRUE(IsTrue(Variant(true)));
  EXPECT_TRUE(IsTrue(Variant("3 apples")));
  EXPECT_FALSE(IsTrue(Variant("False")));
  EXPECT_FALSE(IsTrue(Variant("abc")));
  EXPECT_FALSE(IsTrue(Variant::Null()));
  EXPECT_FALSE(IsTrue(Variant(Date{1})));
  EXPECT_FALSE(IsTrue(Variant()));
  EXPECT_FALSE(IsTrue(Variant("0")));
}

TEST(Values, FlagIsSet) {
  EXPECT_FALSE(FlagIsSet(0, 16));
  EXPECT_FALSE(FlagIsSet(17, 0));
  EXPECT_FALSE(FlagIsSet(2, 1));
  EXPECT_TRUE(FlagIsSet(17, 16));
  EXPECT_TRUE(FlagIsSet(-1, INT32_MIN));
}

TEST(Values, RaiseErrorRaises999) {
  try {
    RaiseError("Global", "Un-Initialised qorList");
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 999);
    EXPECT_EQ(e.source(), "Global");
    EXPECT_EQ(e.description(), "Un-Initialised qorList");
  }
}

TEST(AppName, DefaultsAndPerThreadState) {
  StoreAppName(Variant(""));
  EXPECT_EQ(GetAppName(), "Unknown Application");
  StoreAppName(Variant("   "));
  EXPECT_EQ(GetAppName(), "Unknown Application");
  StoreAppName(Variant(" Payroll "));
  EXPECT_EQ(GetAppName(), " Payroll ");  // stored untrimmed
  EXPECT_THROW(StoreAppName(Variant::Null()), Error);

  qorApp one, two;
  one.SetAppName("Ledger");
  EXPECT_EQ(two.AppName(), "Ledger");
  two.SetAppPath("/opt/ledger");
  EXPECT_EQ(one.AppPath(), "/opt/ledger");

  std::string other_thread_name, other_thread_path;
  std::thread([&] {
    other_thread_name = GetAppName();
    other_thread_path = qorApp().AppPath();
  }).join();
  EXPECT_EQ(other_thread_name, "Unknown Application");
  EXPECT_EQ(other_thread_path, "");
  EXPECT_EQ(GetAppName(), "Ledger");
  StoreAppName(Variant(""));
  SetStoredAppPath("");
}

}  // namespace
}  // namespace qor
