// The pieces VB's operators and built-in functions share (vb_kinds.h).

#include "frame/vb_kinds.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/frame/vb_functions.h"

namespace qor::vb {

// ---- Kinds of numbers ----------------------------------------------------------

// The rank a value takes in arithmetic; a text counts as a Double (after
// reading it as a number).
Rank RankOf(const Variant& v) {
  switch (v.type()) {
    case VarType::kByte:
      return kRByte;
    case VarType::kEmpty:
    case VarType::kBoolean:
    case VarType::kInteger:
      return kRInteger;
    case VarType::kLong:
      return kRLong;
    case VarType::kSingle:
      return kRSingle;
    case VarType::kCurrency:
      return kRCurrency;
    default:
      return kRDouble;
  }
}

Rank Wider(Rank a, Rank b) {
  if ((a == kRSingle && b == kRLong) || (a == kRLong && b == kRSingle)) return kRDouble;
  return std::max(a, b);
}

// The number in a value for arithmetic: texts must read as numbers (13).
double Number(const Variant& v) {
  if (v.IsString()) return CDbl(v);
  if (v.IsEmpty()) return 0;
  if (v.IsNumber() || v.IsBoolean() || v.IsDate()) return v.NumericValue();
  Raise(err::kTypeMismatch);
}

// A whole-number result of the given rank, widening on overflow: Byte to
// Integer to Long to Double.
Variant WholeOf(double x, Rank rank) {
  if (rank == kRByte && x >= 0 && x <= 255) return Variant(static_cast<uint8_t>(x));
  if (rank <= kRInteger && x >= -32768 && x <= 32767) return Variant(static_cast<int16_t>(x));
  if (rank <= kRLong && x >= -2147483648.0 && x <= 2147483647.0) {
    return Variant(static_cast<int32_t>(x));
  }
  if (std::isinf(x) || std::isnan(x)) Raise(err::kOverflow);
  return Variant(x);
}

Variant DoubleOf(double x) {
  if (std::isinf(x) || std::isnan(x)) Raise(err::kOverflow);
  return Variant(x);
}

Variant SingleOf(double x) {
  if (std::isnan(x) || std::isinf(x)) Raise(err::kOverflow);
  if (std::fabs(x) > std::numeric_limits<float>::max()) return Variant(x);  // widens
  return Variant(static_cast<float>(x));
}

Variant CurrencyOf(double x) { return Variant(CCur(Variant(x))); }

Variant OfRank(double x, Rank rank) {
  switch (rank) {
    case kRByte:
    case kRInteger:
    case kRLong:
      return WholeOf(x, rank);
    case kRSingle:
      return SingleOf(x);
    case kRCurrency:
      return CurrencyOf(x);
    default:
      return DoubleOf(x);
  }
}

Variant DateOf(double serial) {
  if (std::isnan(serial) || serial < kMinDateSerial || serial > kMaxDateSerial + 1) {
    Raise(err::kOverflow);
  }
  return Variant(Date{serial});
}

bool IsCurrency(const Variant& v) { return v.type() == VarType::kCurrency; }

// Exact sums and products of Currency values (ten-thousandths).
Variant CurrencyScaled(__int128 scaled) {
  if (scaled > std::numeric_limits<int64_t>::max() ||
      scaled < std::numeric_limits<int64_t>::min()) {
    Raise(err::kOverflow);
  }
  return Variant(Currency{static_cast<int64_t>(scaled)});
}

Whole WholeOperand(const Variant& v) {
  switch (v.type()) {
    case VarType::kEmpty:
      return {0, kRInteger};
    case VarType::kBoolean:
      return {v.AsBoolean() ? -1 : 0, kRInteger};
    case VarType::kByte:
      return {static_cast<int64_t>(v.NumericValue()), kRByte};
    case VarType::kInteger:
      return {static_cast<int64_t>(v.NumericValue()), kRInteger};
    case VarType::kLong:
      return {static_cast<int64_t>(v.NumericValue()), kRLong};
    default:
      return {CLng(v), kRLong};
  }
}

Variant WholeResult(int64_t x, Rank rank) {
  if (rank == kRByte) return Variant(static_cast<uint8_t>(x & 0xFF));
  if (rank == kRInteger) return Variant(static_cast<int16_t>(x));
  return Variant(static_cast<int32_t>(x));
}

// ---- Texts -------------------------------------------------------------------------

std::string Text(const Variant& v) { return CStr(v); }

CompareMode ModeOf(const Variant& v) {
  if (v.IsMissing()) return CompareMode::kText;
  int32_t m = CLng(v);
  if (m == 0) return CompareMode::kBinary;
  if (m == 1 || m == 2 || m == -1) return CompareMode::kText;
  Raise(err::kInvalidCall);
}

// Case folding for Like: one character at a time.
char32_t Fold(char32_t c) {
  if (c < 0x80) return (c >= U'A' && c <= U'Z') ? c + 0x20 : c;
  std::u32string one(1, c);
  std::u32string lower = ToUtf32(LCase(ToUtf8(one)));
  return lower.size() == 1 ? lower[0] : c;
}

// A character of a range [a-z]: by the text order (so "ä" is within
// [a-z]), ASCII letters by their code without regard to case.
bool InRange(char32_t c, char32_t low, char32_t high) {
  if (c < 0x80 && low < 0x80 && high < 0x80) {
    char32_t f = Fold(c);
    return f >= Fold(low) && f <= Fold(high);
  }
  std::string x = ToUtf8(std::u32string(1, c));
  return StrComp(x, ToUtf8(std::u32string(1, low)), CompareMode::kText) >= 0 &&
         StrComp(x, ToUtf8(std::u32string(1, high)), CompareMode::kText) <= 0;
}

bool Match(const std::u32string& t, const std::u32string& p) {
  // Iterative matching with backtracking to the last "*": linear in most
  // patterns, never recursive.
  size_t ti = 0, pi = 0;
  size_t star_p = std::u32string::npos, star_t = 0;
  while (ti < t.size() || pi < p.size()) {
    if (pi < p.size()) {
      char32_t c = p[pi];
      if (c == U'*') {
        while (pi < p.size() && p[pi] == U'*') ++pi;
        star_p = pi;
        star_t = ti;
        continue;
      }
      if (ti < t.size()) {
        bool ok = false;
        size_t next = pi + 1;
        if (c == U'?') {
          ok = true;
        } else if (c == U'#') {
          ok = t[ti] >= U'0' && t[ti] <= U'9';
        } else if (c == U'[') {
          size_t end = p.find(U']', pi + 1);
          if (end == std::u32string::npos) return false;
          size_t k = pi + 1;
          bool negate = k < end && p[k] == U'!';
          if (negate) ++k;
          bool found = false;
          char32_t ch = Fold(t[ti]);
          for (; k < end; ++k) {
            if (k + 2 < end && p[k + 1] == U'-') {
              if (InRange(t[ti], p[k], p[k + 2])) found = true;
              k += 2;
            } else if (Fold(p[k]) == ch) {
              found = true;
            }
          }
          ok = found != negate;
          next = end + 1;
        } else {
          ok = Fold(c) == Fold(t[ti]);
        }
        if (ok) {
          ++ti;
          pi = next;
          continue;
        }
      }
    }
    if (star_p == std::u32string::npos || star_t >= t.size()) return false;
    ti = ++star_t;
    pi = star_p;
  }
  return true;
}

// ---- Dates --------------------------------------------------------------------------

std::string Interval(std::string_view s) { return LCase(Trim(s)); }

int64_t DayNumber(Date d) {
  DateParts p = SplitDate(d);
  Date day;
  DateParts only{p.year, p.month, p.day, 0, 0, 0};
  MakeDate(only, &day);
  return static_cast<int64_t>(day.serial);
}

int64_t SecondOfDay(Date d) {
  DateParts p = SplitDate(d);
  return p.hour * 3600 + p.minute * 60 + p.second;
}

Date FromDaySecond(int64_t day, int64_t second) {
  day += second >= 0 ? second / 86400 : -((-second + 86399) / 86400);
  second = ((second % 86400) + 86400) % 86400;
  if (day < kMinDateSerial || day > kMaxDateSerial) Raise(err::kInvalidCall);
  double time = static_cast<double>(second) / 86400.0;
  return Date{day >= 0 ? static_cast<double>(day) + time : static_cast<double>(day) - time};
}

int DayOfWeekArg(const Variant& v) {
  if (v.IsMissing()) return 1;
  int d = CLng(v);
  if (d == 0) return 1;  // vbUseSystemDayOfWeek: Sunday in the US locale
  if (d < 0 || d > 7) Raise(err::kInvalidCall);
  return d;
}

int WeekArg(const Variant& v) {
  if (v.IsMissing()) return 1;
  int w = CLng(v);
  if (w == 0) return 1;
  if (w < 0 || w > 3) Raise(err::kInvalidCall);
  return w;
}

// The longest text String and Space make (VB's 14, "Out of string space",
// beyond).
constexpr int64_t kMaxTextBytes = int64_t{1} << 26;

void CheckTextSize(int64_t bytes) {
  if (bytes > kMaxTextBytes) Raise(14);
}

}  // namespace qor::vb
