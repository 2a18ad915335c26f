// VB's operators and built-in functions on variants.
//
// The database engine evaluates Jet expressions with these, and C++ code
// calls the same ones, so that a query and a program always agree. They
// follow the VB runtime of vb.h (US English locale; the errors 5, 6, 11, 13
// and 94):
//
// - Operators take and give variants with VB's result kinds: Null
//   propagates (except where the logical operators and & say otherwise),
//   Byte, Integer and Long results that overflow widen to Integer, Long and
//   Double, and any zero divisor of /, \ and Mod raises 11 (a text that
//   reads as zero, False and Empty included).
// - Functions are also found by name (FindFunction, CallFunction) with
//   their VB arities, as the engine calls them. Names are matched without
//   regard to case; a trailing "$" (Left$) names the same function.
//
// Texts compare as CompareMode::kText compares them (vb.h): Jet's general
// sort order once the database engine is loaded.

#ifndef QOR_FRAME_VB_FUNCTIONS_H_
#define QOR_FRAME_VB_FUNCTIONS_H_

#include <span>
#include <string>
#include <string_view>

#include "qorsupport/frame/variant.h"
#include "qorsupport/frame/vb.h"

namespace qor::vb {

// ---- Arithmetic --------------------------------------------------------------

// +: two texts join; a text and a number add (the text read as a Double,
// else 13); a Date plus a number is a Date; numbers give the more precise
// kind (Byte < Integer < Long < Single < Currency < Double, Single with
// Long a Double); Boolean and Empty count as Integer.
Variant Add(const Variant& a, const Variant& b);
// -: as + without joining texts; Date - Date is a Double, Date - number a
// Date.
Variant Subtract(const Variant& a, const Variant& b);
Variant Multiply(const Variant& a, const Variant& b);
// /: a Double; a Single when both are Byte, Integer or Single.
Variant Divide(const Variant& a, const Variant& b);
// \ and Mod: both sides rounded to whole numbers (half to even); the result
// is a Byte, Integer or Long, the kind of the wider side (Long for any
// other kind). Mod takes the sign of the dividend.
Variant IntDivide(const Variant& a, const Variant& b);
Variant Modulo(const Variant& a, const Variant& b);
// ^: a Double. A negative base with a fractional exponent, or zero to a
// negative power, raises 5.
Variant Power(const Variant& a, const Variant& b);
Variant Negate(const Variant& a);
// &: the texts of both joined, Null as ""; Null & Null is Null.
Variant Concat(const Variant& a, const Variant& b);

// ---- Logic -------------------------------------------------------------------

// Not, And, Or, Xor, Eqv, Imp: on two Booleans a Boolean; otherwise bitwise
// on whole numbers (Byte, Integer or Long as for \). Null follows VB's
// three-valued rules (False And Null is False, True Or Null is True, ...).
Variant Not(const Variant& a);
Variant And(const Variant& a, const Variant& b);
Variant Or(const Variant& a, const Variant& b);
Variant Xor(const Variant& a, const Variant& b);
Variant Eqv(const Variant& a, const Variant& b);
Variant Imp(const Variant& a, const Variant& b);

// ---- Comparison ----------------------------------------------------------------

enum class CompareOp { kEqual, kNotEqual, kLess, kLessEqual, kGreater, kGreaterEqual };

// a op b by Compare (vb.h): a Boolean, or Null when either side is Null.
Variant CompareValues(CompareOp op, const Variant& a, const Variant& b,
                      CompareMode mode = CompareMode::kText);

// Jet's Like: * any run of characters, ? one character, # one digit,
// [abc], [a-z] and [!a-z] character lists; letters match without regard to
// case, and a range holds the characters the text order (kText) puts
// between its ends ("ä" is in [a-z]). A malformed list ("[a") matches
// nothing.
bool Like(std::string_view text, std::string_view pattern);
// Like on values: a Boolean, Null when either is Null.
Variant LikeValues(const Variant& text, const Variant& pattern);

// ---- Functions -------------------------------------------------------------------

// Round half to even at digits decimals (0 to 22); the value keeps its
// numeric kind (a text gives a Double, a Boolean an Integer).
Variant Round(const Variant& value, int digits = 0);

// Dates by interval: "yyyy" year, "q" quarter, "m" month, "y" day of year,
// "d" day, "w" weekday, "ww" week, "h" hour, "n" minute, "s" second (raise 5
// for any other). first_day_of_week and first_week_of_year as Format takes
// them (vb_format.h).
Date DateAdd(std::string_view interval, double number, Date date);
int32_t DateDiff(std::string_view interval, Date a, Date b, int first_day_of_week = 1,
                 int first_week_of_year = 1);
int32_t DatePart(std::string_view interval, Date date, int first_day_of_week = 1,
                 int first_week_of_year = 1);

// A built-in function: VB's name, its arity (max_args -1: any number) and
// its implementation on evaluated arguments (missing optional ones are not
// passed).
struct FunctionInfo {
  std::string_view name;
  int min_args;
  int max_args;
  Variant (*call)(std::span<const Variant> args);
};

// The function of that name (also with a trailing "$"); nullptr when there
// is none. Known: CBool CByte CInt CLng CSng CDbl CCur CDate CVDate CStr
// CVar; Asc AscW Chr ChrW Hex Oct Format Str Val String Space Left Right Mid
// Len InStr InStrRev Replace StrComp StrConv StrReverse LCase UCase Trim
// LTrim RTrim; Date Time Now DateSerial TimeSerial DateValue TimeValue
// DateAdd DateDiff DatePart Year Month Day Hour Minute Second Weekday
// WeekdayName MonthName; Abs Atn Cos Exp Fix Int Log Rnd Round Sgn Sin Sqr
// Tan; IIf Switch Choose IsNull IsNumeric IsDate IsEmpty Nz.
const FunctionInfo* FindFunction(std::string_view name);

// Calls a function by name; raises 5 for a wrong number of arguments and
// 13 for an unknown name. String and Space raise 14 (out of string space)
// for a text longer than 64 MB.
Variant CallFunction(std::string_view name, std::span<const Variant> args);

}  // namespace qor::vb

#endif  // QOR_FRAME_VB_FUNCTIONS_H_
