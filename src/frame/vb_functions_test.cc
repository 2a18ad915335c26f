#include "qorsupport/frame/vb_functions.h"

#include <gtest/gtest.h>

#include <vector>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb_date.h"
#include "testing/test_util.h"

namespace qor::vb {
namespace {

using testing::ErrorNumberOf;

Variant D(int y, int m, int d, int h = 0, int n = 0, int s = 0) {
  Date out;
  EXPECT_TRUE(MakeDate(DateParts{y, m, d, h, n, s}, &out));
  return Variant(out);
}

Variant Call(std::string_view name, std::vector<Variant> args) { return CallFunction(name, args); }

TEST(VbOperators, AddJoinsTextsAndWidensNumbers) {
  EXPECT_EQ(Add("John", "Smith"), Variant("JohnSmith"));
  EXPECT_EQ(Add(Long(1), "2"), Variant(3.0));  // a number and a numeric text add
  EXPECT_EQ(ErrorNumberOf([] { Add(Long(1), "x"); }), err::kTypeMismatch);
  EXPECT_EQ(Add(Int16(32767), Int16(1)), Long(32768));  // widens instead of overflowing
  EXPECT_EQ(Add(Byte(200), Byte(100)), Int16(300));
  EXPECT_EQ(Add(Long(2147483647), Long(1)), Variant(2147483648.0));
  EXPECT_EQ(Add(Variant(1.5f), Long(1)), Variant(2.5));  // Single with Long: Double
  EXPECT_EQ(Add(Variant(Currency{15000}), Variant(Currency{1})), Variant(Currency{15001}));
  EXPECT_EQ(Add(Variant(true), Variant(true)), Int16(-2));
  EXPECT_TRUE(Add(Variant::Null(), Long(1)).IsNull());
  EXPECT_EQ(Add(D(2003, 3, 7), Long(30)), D(2003, 4, 6));
  EXPECT_EQ(Subtract(D(2003, 3, 9), D(2003, 3, 7)), Variant(2.0));
  EXPECT_EQ(Subtract(D(2003, 3, 9), Long(2)), D(2003, 3, 7));
}

TEST(VbOperators, DivisionAndItsZeroDivisor) {
  EXPECT_EQ(Divide(Long(5), Long(2)), Variant(2.5));
  EXPECT_EQ(Divide(Int16(5), Int16(2)), Variant(2.5f));
  for (const Variant& zero : {Long(0), Variant(0.0), Variant("0"), Variant(" 0.0 "), Variant(false),
                              Variant(), Variant(Currency{0})}) {
    EXPECT_EQ(ErrorNumberOf([&] { Divide(Long(5), zero); }), 11);
    EXPECT_EQ(ErrorNumberOf([&] { IntDivide(Long(5), zero); }), 11);
    EXPECT_EQ(ErrorNumberOf([&] { Modulo(Long(5), zero); }), 11);
  }
  EXPECT_EQ(IntDivide(Long(5), Long(2)), Long(2));
  EXPECT_EQ(IntDivide(Int16(7), Int16(2)), Int16(3));
  EXPECT_EQ(IntDivide(Variant(7.5), Long(2)), Long(4));  // 7.5 rounds to 8
  EXPECT_EQ(Modulo(Long(-7), Long(3)), Long(-1));
  EXPECT_EQ(Modulo(Variant(10.5), Long(4)), Long(2));  // 10.5 rounds to 10
  EXPECT_EQ(Power(Long(2), Long(10)), Variant(1024.0));
  EXPECT_EQ(ErrorNumberOf([] { Power(Long(-8), Variant(1.0 / 3)); }), err::kInvalidCall);
  EXPECT_EQ(Negate(Int16(-32768)), Long(32768));
  EXPECT_EQ(Negate(Variant("2")), Variant(-2.0));
}

TEST(VbOperators, ConcatAndLogic) {
  EXPECT_EQ(Concat("x", D(2003, 3, 7)), Variant("x3/7/2003"));
  EXPECT_EQ(Concat(Variant::Null(), Long(5)), Variant("5"));
  EXPECT_TRUE(Concat(Variant::Null(), Variant::Null()).IsNull());
  EXPECT_EQ(Not(Variant(true)), Variant(false));
  EXPECT_EQ(Not(Long(0)), Long(-1));
  EXPECT_EQ(Not(Long(1)), Long(-2));
  EXPECT_EQ(Not(Byte(0)), Byte(255));
  EXPECT_EQ(And(Long(3), Long(5)), Long(1));
  EXPECT_EQ(Or(Long(3), Long(5)), Long(7));
  EXPECT_EQ(Xor(Variant(true), Variant(false)), Variant(true));
  EXPECT_EQ(Eqv(Long(-1), Long(0)), Long(0));
  EXPECT_EQ(Imp(Variant(false), Variant(false)), Variant(true));
  // Three-valued logic.
  EXPECT_EQ(And(Variant::Null(), Variant(false)), Variant(false));
  EXPECT_TRUE(And(Variant::Null(), Variant(true)).IsNull());
  EXPECT_EQ(Or(Variant::Null(), Variant(true)), Variant(true));
  EXPECT_TRUE(Or(Variant::Null(), Variant(false)).IsNull());
  EXPECT_TRUE(Imp(Variant(true), Variant::Null()).IsNull());
  EXPECT_EQ(Imp(Variant(false), Variant::Null()), Variant(true));
  EXPECT_EQ(Imp(Variant::Null(), Variant(true)), Variant(true));
  EXPECT_TRUE(Xor(Variant::Null(), Variant(true)).IsNull());
}

TEST(VbOperators, ComparisonsAndLike) {
  EXPECT_EQ(CompareValues(CompareOp::kEqual, "a", "A"), Variant(true));
  EXPECT_EQ(CompareValues(CompareOp::kEqual, "a", "A", CompareMode::kBinary), Variant(false));
  EXPECT_EQ(CompareValues(CompareOp::kLess, Long(2), Variant(2.5)), Variant(true));
  EXPECT_TRUE(CompareValues(CompareOp::kLess, Variant::Null(), Long(1)).IsNull());
  EXPECT_TRUE(Like("Apple", "a*"));
  EXPECT_TRUE(Like("Apple", "?PPL?"));
  EXPECT_FALSE(Like("Apple", "?PPL"));
  EXPECT_TRUE(Like("A1B", "A#B"));
  EXPECT_TRUE(Like("b", "[a-c]"));
  EXPECT_FALSE(Like("b", "[!a-c]"));
  EXPECT_TRUE(Like("a*b", "a[*]b"));
  EXPECT_FALSE(Like("abc", "[abc"));
  EXPECT_TRUE(Like("Ärger", "ä*"));
  EXPECT_TRUE(Like("aaaaaaaaaaaaaaaaaaaaaaaaaaaaaab", "*a*a*a*a*a*a*a*a*b"));
  EXPECT_FALSE(Like(std::string(5000, 'a'), "*a*a*a*a*a*a*a*a*b"));  // no exponential blow-up
  EXPECT_TRUE(LikeValues(Variant::Null(), "*").IsNull());
}

TEST(VbFunctions, Conversions) {
  EXPECT_EQ(Call("CCur", {Variant(1.23456)}), Variant(Currency{12346}));
  EXPECT_EQ(Call("CInt", {Variant(2.5)}), Int16(2));
  EXPECT_EQ(Call("CByte", {Variant(3.5)}), Byte(4));
  EXPECT_EQ(Call("CBool", {Variant("0")}), Variant(false));
  EXPECT_EQ(Call("CBool", {Long(7)}), Variant(true));
  EXPECT_EQ(Call("CStr", {D(2003, 3, 7)}), Variant("3/7/2003"));
  EXPECT_EQ(Call("CDate", {Variant("3/7/2003")}), D(2003, 3, 7));
  EXPECT_TRUE(Call("CVDate", {Variant::Null()}).IsNull());
  EXPECT_EQ(ErrorNumberOf([] { Call("CStr", {Variant::Null()}); }), err::kInvalidNull);
  EXPECT_EQ(Call("CVar", {Long(3)}), Long(3));
}

TEST(VbFunctions, Texts) {
  EXPECT_EQ(Call("Left", {"abc", Long(2)}), Variant("ab"));
  EXPECT_EQ(Call("Right$", {"abc", Long(2)}), Variant("bc"));
  EXPECT_EQ(Call("Mid", {"abcdef", Long(2), Long(3)}), Variant("bcd"));
  EXPECT_TRUE(Call("Left", {Variant::Null(), Long(2)}).IsNull());
  EXPECT_EQ(Call("Asc", {"A"}), Int16(65));
  EXPECT_EQ(Call("Chr", {Long(228)}), Variant("ä"));
  EXPECT_EQ(Call("Hex", {Long(255)}), Variant("FF"));
  EXPECT_EQ(Call("Hex", {Int16(-1)}), Variant("FFFF"));
  EXPECT_EQ(Call("Hex", {Long(-1)}), Variant("FFFFFFFF"));
  EXPECT_EQ(Call("Oct", {Long(8)}), Variant("10"));
  EXPECT_EQ(Call("Str", {Long(5)}), Variant(" 5"));
  EXPECT_EQ(Call("Str", {Long(-5)}), Variant("-5"));
  EXPECT_EQ(Call("Val", {"12abc"}), Variant(12.0));
  EXPECT_EQ(Call("String", {Long(3), "xy"}), Variant("xxx"));
  EXPECT_EQ(Call("String", {Long(2), Long(65)}), Variant("AA"));
  EXPECT_EQ(Call("Space", {Long(2)}), Variant("  "));
  EXPECT_EQ(Call("Len", {"äbc"}), Long(3));
  EXPECT_EQ(Call("InStr", {"abcb", "B"}), Long(2));  // Jet compares as text
  EXPECT_EQ(Call("InStr", {Long(3), "abcb", "b"}), Long(4));
  EXPECT_EQ(Call("InStr", {Long(1), "abcb", "B", Long(0)}), Long(0));  // binary
  EXPECT_EQ(Call("InStrRev", {"abcb", "b"}), Long(4));
  EXPECT_EQ(Call("InStrRev", {"abcb", "b", Long(3)}), Long(2));
  EXPECT_EQ(Call("Replace", {"aXbx", "x", "-"}), Variant("a-b-"));
  EXPECT_EQ(Call("Replace", {"aXbx", "x", "-", Long(1), Long(-1), Long(0)}), Variant("aXb-"));
  EXPECT_EQ(Call("Replace", {"abcabc", "b", "", Long(3)}), Variant("cac"));
  EXPECT_EQ(Call("StrComp", {"a", "B"}), Int16(-1));
  EXPECT_EQ(Call("StrComp", {"a", "A", Long(0)}), Int16(1));
  EXPECT_EQ(Call("StrConv", {"hello wORLD", Long(3)}), Variant("Hello World"));
  EXPECT_EQ(Call("StrReverse", {"äbc"}), Variant("cbä"));
  EXPECT_EQ(Call("UCase", {"äb"}), Variant("ÄB"));
  EXPECT_EQ(Call("LCase", {"ÄÖÜ"}), Variant("äöü"));
  EXPECT_EQ(Call("Trim", {"  x  "}), Variant("x"));
  EXPECT_EQ(Call("Format", {Variant(1234.5), "#,##0.00"}), Variant("1,234.50"));
  EXPECT_EQ(Call("Format", {D(2003, 3, 7), "yyyy-mm-dd"}), Variant("2003-03-07"));
}

TEST(VbFunctions, Dates) {
  EXPECT_EQ(Call("DateSerial", {Long(2003), Long(14), Long(0)}), D(2004, 1, 31));
  EXPECT_EQ(Call("TimeSerial", {Long(14), Long(5), Long(9)}),
            Variant(Date{(14 * 3600 + 309) / 86400.0}));
  EXPECT_EQ(Call("DateValue", {"3/7/2003 2:05 PM"}), D(2003, 3, 7));
  EXPECT_EQ(Call("TimeValue", {"3/7/2003 6:00 AM"}), Variant(Date{0.25}));
  EXPECT_EQ(Call("DateAdd", {"m", Long(1), D(2003, 1, 31)}), D(2003, 2, 28));
  EXPECT_EQ(Call("DateAdd", {"yyyy", Long(-1), D(2004, 2, 29)}), D(2003, 2, 28));
  EXPECT_EQ(Call("DateAdd", {"h", Long(25), D(2003, 3, 7, 1)}), D(2003, 3, 8, 2));
  EXPECT_EQ(Call("DateAdd", {"d", Variant(1.9), D(2003, 3, 7)}), D(2003, 3, 8));
  EXPECT_EQ(Call("DateDiff", {"d", D(2003, 3, 7), D(2003, 3, 9)}), Long(2));
  EXPECT_EQ(Call("DateDiff", {"h", D(2003, 3, 7, 1, 59), D(2003, 3, 7, 2, 1)}), Long(1));
  EXPECT_EQ(Call("DateDiff", {"m", D(2003, 1, 31), D(2003, 2, 1)}), Long(1));
  // Weeks: Sundays between Saturday 8 March and Sunday 9 March 2003.
  EXPECT_EQ(Call("DateDiff", {"ww", D(2003, 3, 8), D(2003, 3, 9)}), Long(1));
  EXPECT_EQ(Call("DateDiff", {"ww", D(2003, 3, 8), D(2003, 3, 9), Long(2)}), Long(0));
  EXPECT_EQ(Call("DatePart", {"ww", D(2003, 1, 1)}), Int16(1));
  EXPECT_EQ(Call("DatePart", {"ww", D(2004, 12, 31), Long(2), Long(2)}), Int16(53));
  EXPECT_EQ(Call("DatePart", {"ww", D(2005, 1, 1), Long(2), Long(2)}), Int16(53));
  EXPECT_EQ(Call("DatePart", {"y", D(2003, 3, 1)}), Int16(60));
  EXPECT_EQ(Call("DatePart", {"w", D(2003, 3, 7), Long(2)}), Int16(5));
  EXPECT_EQ(Call("Year", {D(2003, 3, 7)}), Int16(2003));
  EXPECT_EQ(Call("Weekday", {D(2003, 3, 7)}), Int16(6));
  EXPECT_EQ(Call("WeekdayName", {Long(1)}), Variant("Sunday"));
  EXPECT_EQ(Call("WeekdayName", {Long(1), Variant(true), Long(2)}), Variant("Mon"));
  EXPECT_EQ(Call("MonthName", {Long(3)}), Variant("March"));
  EXPECT_EQ(Call("MonthName", {Long(3), Variant(true)}), Variant("Mar"));
  EXPECT_TRUE(Call("Year", {Variant::Null()}).IsNull());
}

TEST(VbFunctions, Math) {
  EXPECT_EQ(Call("Round", {Variant(2.5)}), Variant(2.0));
  EXPECT_EQ(Call("Round", {Variant(3.5)}), Variant(4.0));
  EXPECT_EQ(Call("Round", {Variant(0.125), Long(2)}), Variant(0.12));
  EXPECT_EQ(Call("Round", {Variant(Currency{12345}), Long(3)}), Variant(Currency{12340}));
  EXPECT_EQ(Call("Round", {Long(7)}), Long(7));
  EXPECT_EQ(Call("Abs", {Int16(-3)}), Int16(3));
  EXPECT_EQ(Call("Abs", {"-2.5"}), Variant(2.5));
  EXPECT_EQ(Call("Sgn", {Variant(-0.5)}), Int16(-1));
  EXPECT_EQ(Call("Int", {Variant(-2.5)}), Variant(-3.0));
  EXPECT_EQ(Call("Fix", {Variant(-2.5)}), Variant(-2.0));
  EXPECT_EQ(Call("Sqr", {Long(9)}), Variant(3.0));
  EXPECT_EQ(Call("Exp", {Long(0)}), Variant(1.0));
  EXPECT_EQ(Call("Log", {Long(1)}), Variant(0.0));
  EXPECT_EQ(ErrorNumberOf([] { Call("Log", {Long(0)}); }), err::kInvalidCall);
  EXPECT_EQ(ErrorNumberOf([] { Call("Sqr", {Long(-1)}); }), err::kInvalidCall);
  EXPECT_EQ(Call("Atn", {Long(0)}), Variant(0.0));
  EXPECT_EQ(Call("Sin", {Long(0)}), Variant(0.0));
  EXPECT_EQ(Call("Cos", {Long(0)}), Variant(1.0));
  EXPECT_EQ(Call("Tan", {Long(0)}), Variant(0.0));
  Variant r = Call("Rnd", {});
  EXPECT_EQ(r.type(), VarType::kSingle);
  EXPECT_GE(r.NumericValue(), 0);
  EXPECT_LT(r.NumericValue(), 1);
}

TEST(VbFunctions, ChoicesAndTests) {
  EXPECT_EQ(Call("IIf", {Variant(true), "a", "b"}), Variant("a"));
  EXPECT_EQ(Call("IIf", {Variant::Null(), "a", "b"}), Variant("b"));
  EXPECT_EQ(Call("Switch", {Variant(false), "a", Variant(true), "b"}), Variant("b"));
  EXPECT_TRUE(Call("Switch", {Variant(false), "a"}).IsNull());
  EXPECT_EQ(ErrorNumberOf([] {
              Call("Switch", {Variant(false), "a", Variant(true)});
            }),
            err::kInvalidCall);
  EXPECT_EQ(Call("Choose", {Long(2), "a", "b", "c"}), Variant("b"));
  EXPECT_TRUE(Call("Choose", {Long(4), "a", "b", "c"}).IsNull());
  EXPECT_EQ(Call("IsNull", {Variant::Null()}), Variant(true));
  EXPECT_EQ(Call("IsNumeric", {"1e3"}), Variant(true));
  EXPECT_EQ(Call("IsDate", {"3/7/2003"}), Variant(true));
  EXPECT_EQ(Call("Nz", {Variant::Null(), Long(0)}), Long(0));
  EXPECT_TRUE(Call("Nz", {Variant::Null()}).IsEmpty());
}

TEST(VbFunctions, FoundByNameWithTheirArity) {
  EXPECT_NE(FindFunction("left$"), nullptr);
  EXPECT_NE(FindFunction("DATEPART"), nullptr);
  EXPECT_EQ(FindFunction("Frobnicate"), nullptr);
  EXPECT_EQ(ErrorNumberOf([] { Call("Left", {"abc"}); }), err::kInvalidCall);
  EXPECT_EQ(ErrorNumberOf([] { Call("Frobnicate", {}); }), err::kTypeMismatch);
  for (const char* name :
       {"CBool",   "CByte",      "CInt",     "CLng",        "CSng",       "CDbl",      "CCur",
        "CDate",   "CVDate",     "CStr",     "CVar",        "Asc",        "Chr",       "Hex",
        "Oct",     "Format",     "Str",      "Val",         "String",     "Space",     "Left",
        "Right",   "Mid",        "Len",      "InStr",       "InStrRev",   "Replace",   "StrComp",
        "StrConv", "StrReverse", "LCase",    "UCase",       "Trim",       "LTrim",     "RTrim",
        "Date",    "Time",       "Now",      "DateSerial",  "TimeSerial", "DateValue", "TimeValue",
        "DateAdd", "DateDiff",   "DatePart", "Year",        "Month",      "Day",       "Hour",
        "Minute",  "Second",     "Weekday",  "WeekdayName", "MonthName",  "Abs",       "Atn",
        "Cos",     "Exp",        "Fix",      "Int",         "Log",        "Rnd",       "Round",
        "Sgn",     "Sin",        "Sqr",      "Tan",         "IIf",        "Switch",    "Choose",
        "IsNull",  "IsNumeric",  "IsDate"}) {
    EXPECT_NE(FindFunction(name), nullptr) << name;
  }
}

}  // namespace
}  // namespace qor::vb
