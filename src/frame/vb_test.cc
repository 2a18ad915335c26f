#include "qorsupport/frame/vb.h"

#include <gtest/gtest.h>

#include <cmath>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb_date.h"
#include "testing/test_util.h"

namespace qor::vb {
namespace {

TEST(VbNumeric, IsNumericAcceptsWhatVbAccepts) {
  EXPECT_TRUE(IsNumeric(Variant()));  // Empty
  EXPECT_TRUE(IsNumeric(Variant(true)));
  EXPECT_TRUE(IsNumeric(Variant(0.5)));
  EXPECT_TRUE(IsNumeric(Variant(" 12 ")));
  EXPECT_TRUE(IsNumeric(Variant("1,234")));
  EXPECT_TRUE(IsNumeric(Variant("-1.5e3")));
  EXPECT_TRUE(IsNumeric(Variant("$12.50")));
  EXPECT_TRUE(IsNumeric(Variant("&HFF")));
  EXPECT_TRUE(IsNumeric(Variant(".5")));
  EXPECT_TRUE(IsNumeric(Variant("(12)")));

  EXPECT_FALSE(IsNumeric(Variant("12abc")));
  EXPECT_FALSE(IsNumeric(Variant("")));
  EXPECT_FALSE(IsNumeric(Variant("   ")));
  EXPECT_FALSE(IsNumeric(Variant(".")));
  EXPECT_FALSE(IsNumeric(Variant("1e")));
  EXPECT_FALSE(IsNumeric(Variant(",1")));
  EXPECT_FALSE(IsNumeric(Variant::Null()));
  EXPECT_FALSE(IsNumeric(Variant(Date{37687})));
  EXPECT_FALSE(IsNumeric(Variant::Nothing()));
}

TEST(VbNumeric, ValReadsTheLeadingNumber) {
  EXPECT_EQ(Val("12abc"), 12);
  EXPECT_EQ(Val("  -12.5e2xyz"), -1250);
  EXPECT_EQ(Val(" 1 2 3"), 123);  // blanks are skipped anywhere
  EXPECT_EQ(Val("1,234"), 1);     // stops at the separator
  EXPECT_EQ(Val("abc"), 0);
  EXPECT_EQ(Val(""), 0);
  EXPECT_EQ(Val("1.2.3"), 1.2);
  EXPECT_EQ(Val("&H10"), 16);
  EXPECT_EQ(Val("&HFFFF"), -1);
  EXPECT_EQ(Val("3e"), 3);
  EXPECT_EQ(Val("-"), 0);
}

TEST(VbConvert, IntegerConversionsRoundHalfToEvenAndCheckRange) {
  EXPECT_EQ(CInt(Variant(2.5)), 2);
  EXPECT_EQ(CInt(Variant(3.5)), 4);
  EXPECT_EQ(CInt(Variant(-2.5)), -2);
  EXPECT_EQ(CLng(Variant("1,234.5")), 1234);
  EXPECT_EQ(CLng(Variant(true)), -1);
  EXPECT_EQ(CLng(Variant()), 0);
  EXPECT_EQ(testing::ErrorNumberOf([] { CInt(Variant(32767.5)); }), err::kOverflow);
  EXPECT_EQ(testing::ErrorNumberOf([] { CByte(Variant(-1)); }), err::kOverflow);
  EXPECT_EQ(testing::ErrorNumberOf([] { CLng(Variant("abc")); }), err::kTypeMismatch);
  EXPECT_EQ(testing::ErrorNumberOf([] { CLng(Variant::Null()); }), err::kInvalidNull);
  EXPECT_EQ(testing::ErrorNumberOf([] { CDbl(Variant::Nothing()); }), err::kTypeMismatch);
}

TEST(VbConvert, TextOfValues) {
  EXPECT_EQ(CStr(Variant()), "");
  EXPECT_EQ(CStr(Variant(true)), "True");
  EXPECT_EQ(CStr(Int16(-5)), "-5");
  EXPECT_EQ(CStr(Variant(0.1 + 0.2)), "0.3");
  EXPECT_EQ(CStr(Variant(1.0 / 3)), "0.333333333333333");
  EXPECT_EQ(CStr(Variant(1e15)), "1E+15");
  EXPECT_EQ(CStr(Variant(123456789012345.0)), "123456789012345");
  EXPECT_EQ(CStr(Variant(1.5e-5)), "1.5E-05");
  EXPECT_EQ(CStr(Variant(1.1f)), "1.1");
  EXPECT_EQ(CStr(Variant(-0.0)), "0");
  EXPECT_EQ(CStr(Variant(Currency{123400})), "12.34");
  EXPECT_EQ(CStr(Variant(Currency{-50000})), "-5");
  EXPECT_EQ(testing::ErrorNumberOf([] { CStr(Variant::Null()); }), err::kInvalidNull);
}

TEST(VbConvert, BooleanConversion) {
  EXPECT_TRUE(CBool(Variant(" true ")));
  EXPECT_FALSE(CBool(Variant("FALSE")));
  EXPECT_TRUE(CBool(Variant("-3")));
  EXPECT_FALSE(CBool(Variant("0")));
  EXPECT_FALSE(CBool(Variant()));
  EXPECT_EQ(testing::ErrorNumberOf([] { CBool(Variant("yes")); }), err::kTypeMismatch);
}

TEST(VbDate, ConversionAndText) {
  Date d = CDate(Variant("3/7/2003 2:05:09 PM"));
  DateParts p = SplitDate(d);
  EXPECT_EQ(p.year, 2003);
  EXPECT_EQ(p.month, 3);
  EXPECT_EQ(p.day, 7);
  EXPECT_EQ(p.hour, 14);
  EXPECT_EQ(p.minute, 5);
  EXPECT_EQ(p.second, 9);
  EXPECT_EQ(DateText(d), "3/7/2003 2:05:09 PM");
  EXPECT_EQ(std::trunc(d.serial), 37687);
  EXPECT_EQ(DateText(Date{0}), "12:00:00 AM");
  EXPECT_EQ(DateText(Date{0.5}), "12:00:00 PM");
  EXPECT_EQ(DateText(Date{1}), "12/31/1899");
  // Negative serials keep the time as a positive fraction.
  EXPECT_EQ(DateText(Date{-1.25}), "12/29/1899 6:00:00 AM");
}

TEST(VbDate, ReadsTheUsualForms) {
  auto text = [](const char* s) { return DateText(CDate(Variant(s))); };
  EXPECT_EQ(text("2003-03-07"), "3/7/2003");
  EXPECT_EQ(text("7 March 2003"), "3/7/2003");
  EXPECT_EQ(text("Mar 7, 2003"), "3/7/2003");
  EXPECT_EQ(text("Friday, March 7, 2003"), "3/7/2003");
  EXPECT_EQ(text("3/7/29"), "3/7/2029");
  EXPECT_EQ(text("3/7/30"), "3/7/1930");
  EXPECT_EQ(text("13/7/2003"), "7/13/2003");  // day first when the month cannot be
  EXPECT_EQ(text("14:30"), "2:30:00 PM");
  EXPECT_EQ(text("12:00 AM"), "12:00:00 AM");
  EXPECT_EQ(text("1/1/100"), "1/1/100");
  EXPECT_EQ(text("12/31/9999 23:59:59"), "12/31/9999 11:59:59 PM");
}

TEST(VbDate, RejectsWhatIsNotADate) {
  for (const char* s : {"", "abc", "2/30/2003", "1/1/10000", "12", "25:00", "13:00 PM",
                        "3/7/2003 foo", "1/1/99 1:2:3:4"}) {
    EXPECT_FALSE(IsDate(Variant(s))) << s;
  }
  EXPECT_TRUE(IsDate(Variant(Date{5})));
  EXPECT_FALSE(IsDate(Variant(5)));
  EXPECT_EQ(testing::ErrorNumberOf([] { CDate(Variant("abc")); }), err::kTypeMismatch);
  EXPECT_EQ(testing::ErrorNumberOf([] { CDate(Variant(3e6)); }), err::kOverflow);
}

TEST(VbDate, SerialArithmetic) {
  EXPECT_EQ(DateText(DateSerial(2003, 13, 1)), "1/1/2004");
  EXPECT_EQ(DateText(DateSerial(2004, 3, 0)), "2/29/2004");
  EXPECT_EQ(DateText(DateSerial(2003, 1, -1)), "12/30/2002");
  EXPECT_EQ(Weekday(CDate(Variant("3/7/2003"))), 6);     // a Friday
  EXPECT_EQ(Weekday(CDate(Variant("3/7/2003")), 2), 5);  // Monday first
  EXPECT_EQ(DaysInMonth(1900, 2), 28);
  EXPECT_EQ(DaysInMonth(2000, 2), 29);
}

TEST(VbCompare, VariantComparisonRules) {
  EXPECT_EQ(Compare(Variant(2), Variant(10.0)), -1);
  EXPECT_EQ(Compare(Variant("2"), Variant("10")), 1);  // text by character code
  EXPECT_EQ(Compare(Variant("a"), Variant("B")), 1);
  EXPECT_EQ(Compare(Variant("a"), Variant("B"), CompareMode::kText), -1);
  EXPECT_EQ(Compare(Variant(), Variant(0)), 0);
  EXPECT_EQ(Compare(Variant(), Variant("")), 0);
  EXPECT_EQ(Compare(Variant(5), Variant("1")), -1);  // a number is less than a text
  EXPECT_EQ(Compare(Variant(true), Variant(-1)), 0);
  EXPECT_FALSE(Compare(Variant::Null(), Variant(1)).has_value());
  EXPECT_EQ(testing::ErrorNumberOf([] { Compare(Variant::Nothing(), Variant(1)); }),
            err::kTypeMismatch);
}

TEST(VbArithmetic, IntAndFix) {
  EXPECT_EQ(Int(Variant(-2.5)), Variant(-3.0));
  EXPECT_EQ(Fix(Variant(-2.5)), Variant(-2.0));
  EXPECT_EQ(Int(Variant("7.9")), Variant(7.0));
  EXPECT_TRUE(Int(Variant::Null()).IsNull());
  EXPECT_EQ(Int(Variant(Date{1.75})), Variant(Date{1}));
}

TEST(VbStrings, CountCharactersNotBytes) {
  EXPECT_EQ(Len("héllo"), 5);
  EXPECT_EQ(Left("héllo", 2), "hé");
  EXPECT_EQ(Right("héllo", 4), "éllo");
  EXPECT_EQ(Mid("héllo", 2, 3), "éll");
  EXPECT_EQ(Mid("héllo", 9), "");
  EXPECT_EQ(InStr(1, "héllo", "l"), 3);
  EXPECT_EQ(InStr(1, "HÉLLO", "él", CompareMode::kText), 2);
  EXPECT_EQ(UCase("é"), "É");
  EXPECT_EQ(LCase("ÀB"), "àb");
  EXPECT_EQ(Trim("  a b \t "), "a b \t");  // only spaces are trimmed
}

}  // namespace
}  // namespace qor::vb
