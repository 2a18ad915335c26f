// The pieces VB's operators (vb_operators.cc) and built-in functions
// (vb_functions.cc) share, internal to frame (never installed): the numeric
// kinds in VB's order of precision and how a result widens, the number in a
// value, exact Currency arithmetic, whole-number operands, texts and Like's
// matching, dates as whole days and seconds, and the cap on made texts.
// Each raises VB's error (13, 6, 5, 14) as the operation it serves would.

#ifndef QOR_FRAME_VB_KINDS_H_
#define QOR_FRAME_VB_KINDS_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "qorsupport/frame/variant.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"

namespace qor::vb {

// The numeric kinds in VB's order of precision.
enum Rank { kRByte = 1, kRInteger, kRLong, kRSingle, kRCurrency, kRDouble };

// Whole-number operands for \, Mod and the bitwise operators.
struct Whole {
  int64_t value;
  Rank rank;
};

// ---- Kinds of numbers ----------------------------------------------------------

// The rank a value takes in arithmetic; a text counts as a Double (after
// reading it as a number).
Rank RankOf(const Variant& v);
Rank Wider(Rank a, Rank b);
// The number in a value for arithmetic: texts must read as numbers (13).
double Number(const Variant& v);
// A whole-number result of the given rank, widening on overflow: Byte to
// Integer to Long to Double.
Variant WholeOf(double x, Rank rank);
Variant DoubleOf(double x);
Variant SingleOf(double x);
Variant CurrencyOf(double x);
Variant OfRank(double x, Rank rank);
Variant DateOf(double serial);
bool IsCurrency(const Variant& v);
// Exact sums and products of Currency values (ten-thousandths).
Variant CurrencyScaled(__int128 scaled);
Whole WholeOperand(const Variant& v);
Variant WholeResult(int64_t x, Rank rank);

// ---- Texts -------------------------------------------------------------------------

std::string Text(const Variant& v);
CompareMode ModeOf(const Variant& v);
// Case folding for Like: one character at a time.
char32_t Fold(char32_t c);
// A character of a range [a-z]: by the text order (so "ä" is within
// [a-z]), ASCII letters by their code without regard to case.
bool InRange(char32_t c, char32_t low, char32_t high);
// Like's matching of a whole text against a pattern, as code points.
bool Match(const std::u32string& t, const std::u32string& p);

// ---- Dates --------------------------------------------------------------------------

std::string Interval(std::string_view s);
int64_t DayNumber(Date d);
int64_t SecondOfDay(Date d);
Date FromDaySecond(int64_t day, int64_t second);
int DayOfWeekArg(const Variant& v);
int WeekArg(const Variant& v);

// Raises 14 ("Out of string space") for a text String or Space would make
// longer than 64 MB.
void CheckTextSize(int64_t bytes);

}  // namespace qor::vb

#endif  // QOR_FRAME_VB_KINDS_H_
