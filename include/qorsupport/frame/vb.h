// The VB-style operations on values, in one place.
//
// The library's rules are written in terms of the VB runtime: IsNumeric,
// Val, CStr, CLng, CDate, IsDate, variant comparison, Int and Fix, Trim and
// UCase. This module is that runtime, for the US English locale the library
// runs in (decimal point ".", thousands separator ",", dates month first).
//
// Conversions raise the VB error numbers: 13 (type mismatch) for a value of
// the wrong kind or a text that does not convert, 6 (overflow) for a number
// out of the target's range, 94 (invalid use of Null) for Null. Integer
// conversions round half to even, as VB's do.
//
// Texts are UTF-8; every length and position counts characters (code
// points), not bytes. Date operations live in vb_date.h; Format in
// vb_format.h.

#ifndef QOR_FRAME_VB_H_
#define QOR_FRAME_VB_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qorsupport/frame/variant.h"

namespace qor::vb {

// ---- Tests -----------------------------------------------------------------

// IsNumeric: Empty, Booleans and numbers are numeric; a string is when it
// reads as a number (spaces around it, a sign, "$", thousands separators, a
// decimal point, an exponent, &H and &O prefixes); dates, Null, objects and
// arrays are not.
bool IsNumeric(const Variant& v);

// IsDate: a Date, or a string that reads as a date or time.
bool IsDate(const Variant& v);

// The number a string reads as under IsNumeric's rules; nullopt when it does
// not read as one.
std::optional<double> ParseNumber(std::string_view text);

// Val: the leading number of a text. White space anywhere is skipped; the
// parse reads a sign, digits, one decimal point and an exponent, or an &H or
// &O number, from the left and stops at the first other character. 0 when
// there is no number.
double Val(std::string_view text);

// ---- Conversions -------------------------------------------------------------

std::string CStr(const Variant& v);
// The text the & operator joins for a value: "" for Null, Empty and a missing
// argument, else CStr. Objects and arrays raise 13, as with &.
std::string ConcatText(const Variant& v);
// The bytes a binary value holds: the elements of an array of bytes (each
// converted with CByte), or CStr of any other value.
std::string BytesOf(const Variant& v);
double CDbl(const Variant& v);
float CSng(const Variant& v);
int32_t CLng(const Variant& v);
int16_t CInt(const Variant& v);
uint8_t CByte(const Variant& v);
Currency CCur(const Variant& v);
bool CBool(const Variant& v);
Date CDate(const Variant& v);

// Converts to the given kind (kVariant returns the value unchanged).
Variant ConvertTo(const Variant& v, VarType type);

// Round half to even, as VB's integer conversions and CInt/CLng round.
double RoundHalfEven(double x);

// The text VB gives a Double (15 significant digits) or a Single (7).
std::string DoubleText(double x);
std::string SingleText(float x);
std::string CurrencyText(Currency c);
std::string BoolText(bool b);

// ---- Arithmetic --------------------------------------------------------------

// Int rounds down, Fix towards zero. Null gives Null; a number keeps its
// kind; a string gives a Double; Empty gives Integer 0.
Variant Int(const Variant& v);
Variant Fix(const Variant& v);
// Rnd: the next number of a uniform generator in [0, 1), seeded once per
// process from the system's entropy source.
double Rnd();

// ---- Comparison --------------------------------------------------------------

enum class CompareMode { kBinary, kText };

// VB's comparison of two variants: -1, 0 or 1; nullopt when either is Null.
// Numbers (Booleans, dates and Empty among them) compare numerically; strings
// by character code (kBinary) or without regard to case (kText); Empty
// against a string is the zero-length string; a number is less than a
// string. Objects and arrays raise 13.
std::optional<int> Compare(const Variant& a, const Variant& b,
                           CompareMode mode = CompareMode::kBinary);

// StrComp of two texts: -1, 0 or 1.
int StrComp(std::string_view a, std::string_view b, CompareMode mode = CompareMode::kBinary);

// The order of CompareMode::kText: a function giving <0, 0 or >0. By default
// texts compare by their lower-case forms (code point order); the database
// engine installs Jet's general sort order (without regard to case, accents
// significant, accented letters beside their base letter) when it is loaded.
using TextCollation = int (*)(std::string_view a, std::string_view b);
void SetTextCollation(TextCollation collation);

// ---- Strings ----------------------------------------------------------------

// Trim, LTrim, RTrim remove spaces (only the space character).
std::string Trim(std::string_view s);
std::string LTrim(std::string_view s);
std::string RTrim(std::string_view s);
std::string UCase(std::string_view s);
std::string LCase(std::string_view s);
// Length in characters.
int64_t Len(std::string_view s);
// Left, Right and Mid by character; a negative length raises 5.
std::string Left(std::string_view s, int64_t length);
std::string Right(std::string_view s, int64_t length);
// start is 1-based; length < 0 means to the end.
std::string Mid(std::string_view s, int64_t start, int64_t length = -1);
// 1-based character position of find in s at or after start, 0 if absent.
int64_t InStr(int64_t start, std::string_view s, std::string_view find,
              CompareMode mode = CompareMode::kBinary);
std::string Replace(std::string_view s, std::string_view find, std::string_view with);
std::string Space(int64_t count);

// The code points of a UTF-8 text and back. Invalid bytes decode as
// U+FFFD, one per byte.
std::u32string ToUtf32(std::string_view s);
std::string ToUtf8(std::u32string_view s);
void AppendUtf8(char32_t c, std::string* out);

}  // namespace qor::vb

#endif  // QOR_FRAME_VB_H_
