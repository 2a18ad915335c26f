// VB's operators, Round and the date arithmetic of vb_functions.h, with
// VB's result kinds, widening and three-valued logic.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "frame/vb_kinds.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/frame/vb_format.h"
#include "qorsupport/frame/vb_functions.h"

namespace qor::vb {

// ---- Operators ---------------------------------------------------------------------

Variant Add(const Variant& a, const Variant& b) {
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  if (a.IsString() && b.IsString()) return Variant(a.AsString() + b.AsString());
  if (a.IsString() && b.IsEmpty()) return a;
  if (b.IsString() && a.IsEmpty()) return b;
  if (a.IsDate() || b.IsDate()) return DateOf(Number(a) + Number(b));
  if (IsCurrency(a) && IsCurrency(b)) {
    return CurrencyScaled(static_cast<__int128>(a.AsCurrency().scaled) + b.AsCurrency().scaled);
  }
  Rank rank = Wider(RankOf(a), RankOf(b));
  return OfRank(Number(a) + Number(b), rank);
}

Variant Subtract(const Variant& a, const Variant& b) {
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  if (a.IsDate() && b.IsDate()) return DoubleOf(a.NumericValue() - b.NumericValue());
  if (a.IsDate() || b.IsDate()) return DateOf(Number(a) - Number(b));
  if (IsCurrency(a) && IsCurrency(b)) {
    return CurrencyScaled(static_cast<__int128>(a.AsCurrency().scaled) - b.AsCurrency().scaled);
  }
  Rank rank = Wider(RankOf(a), RankOf(b));
  return OfRank(Number(a) - Number(b), rank);
}

Variant Multiply(const Variant& a, const Variant& b) {
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  if (IsCurrency(a) && IsCurrency(b)) {
    __int128 p = static_cast<__int128>(a.AsCurrency().scaled) * b.AsCurrency().scaled;
    __int128 q = p / Currency::kScale, r = p % Currency::kScale;
    __int128 twice = (r < 0 ? -r : r) * 2;
    if (twice > Currency::kScale || (twice == Currency::kScale && (q % 2 != 0)))
      q += p < 0 ? -1 : 1;
    return CurrencyScaled(q);
  }
  Rank rank = Wider(RankOf(a), RankOf(b));
  return OfRank(Number(a) * Number(b), rank);
}

Variant Divide(const Variant& a, const Variant& b) {
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  double y = Number(b);
  double x = Number(a);
  if (y == 0) Raise(11);
  auto narrow = [](const Variant& v) {
    VarType t = v.type();
    return t == VarType::kByte || t == VarType::kInteger || t == VarType::kSingle ||
           t == VarType::kBoolean || t == VarType::kEmpty;
  };
  if (narrow(a) && narrow(b)) return SingleOf(x / y);
  return DoubleOf(x / y);
}

Variant IntDivide(const Variant& a, const Variant& b) {
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  Whole x = WholeOperand(a), y = WholeOperand(b);
  if (y.value == 0) Raise(11);
  Rank rank = std::max(x.rank, y.rank);
  int64_t q = x.value / y.value;
  return WholeOf(static_cast<double>(q), rank);
}

Variant Modulo(const Variant& a, const Variant& b) {
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  Whole x = WholeOperand(a), y = WholeOperand(b);
  if (y.value == 0) Raise(11);
  Rank rank = std::max(x.rank, y.rank);
  return WholeResult(x.value % y.value, rank);
}

Variant Power(const Variant& a, const Variant& b) {
  if (a.IsNull() || b.IsNull()) return Variant::Null();
  double x = Number(a), y = Number(b);
  if (x < 0 && y != std::trunc(y)) Raise(err::kInvalidCall);
  if (x == 0 && y < 0) Raise(err::kInvalidCall);
  return DoubleOf(std::pow(x, y));
}

Variant Negate(const Variant& a) {
  switch (a.type()) {
    case VarType::kNull:
      return a;
    case VarType::kEmpty:
      return Variant(int16_t{0});
    case VarType::kBoolean:
    case VarType::kByte:
    case VarType::kInteger:
    case VarType::kLong:
      return WholeOf(-Number(a), a.type() == VarType::kLong ? kRLong : kRInteger);
    case VarType::kSingle:
      return Variant(-static_cast<float>(a.NumericValue()));
    case VarType::kCurrency:
      return CurrencyScaled(-static_cast<__int128>(a.AsCurrency().scaled));
    case VarType::kDate:
      return DateOf(-a.NumericValue());
    default:
      return DoubleOf(-Number(a));
  }
}

Variant Concat(const Variant& a, const Variant& b) {
  if (a.IsNull() && b.IsNull()) return Variant::Null();
  return Variant(ConcatText(a) + ConcatText(b));
}

Variant Not(const Variant& a) {
  switch (a.type()) {
    case VarType::kNull:
      return a;
    case VarType::kBoolean:
      return Variant(!a.AsBoolean());
    default: {
      Whole w = WholeOperand(a);
      return WholeResult(~w.value, w.rank);
    }
  }
}

namespace {

// The bitwise operators: f on two whole numbers, with VB's Null rules given
// by null_left(b) and null_right(a) (nullopt: Null).
template <typename F>
Variant Bitwise(const Variant& a, const Variant& b, F f, bool null_absorbs_zero,
                bool null_absorbs_all_ones) {
  if (a.IsNull() && b.IsNull()) return Variant::Null();
  if (a.IsNull() || b.IsNull()) {
    const Variant& other = a.IsNull() ? b : a;
    Whole w = WholeOperand(other);
    if (null_absorbs_zero && w.value == 0) return other.IsBoolean() ? Variant(false) : other;
    if (null_absorbs_all_ones && w.value == -1) return other.IsBoolean() ? Variant(true) : other;
    return Variant::Null();
  }
  if (a.IsBoolean() && b.IsBoolean()) {
    return Variant(f(a.AsBoolean() ? -1 : 0, b.AsBoolean() ? -1 : 0) != 0);
  }
  Whole x = WholeOperand(a), y = WholeOperand(b);
  return WholeResult(f(x.value, y.value), std::max(x.rank, y.rank));
}

}  // namespace

Variant And(const Variant& a, const Variant& b) {
  return Bitwise(
      a, b, [](int64_t x, int64_t y) { return x & y; }, true, false);
}
Variant Or(const Variant& a, const Variant& b) {
  return Bitwise(
      a, b, [](int64_t x, int64_t y) { return x | y; }, false, true);
}
Variant Xor(const Variant& a, const Variant& b) {
  return Bitwise(
      a, b, [](int64_t x, int64_t y) { return x ^ y; }, false, false);
}
Variant Eqv(const Variant& a, const Variant& b) {
  return Bitwise(
      a, b, [](int64_t x, int64_t y) { return ~(x ^ y); }, false, false);
}
Variant Imp(const Variant& a, const Variant& b) {
  // Imp is (Not a) Or b.
  if (a.IsNull() || b.IsNull()) return Or(Not(a), b);
  return Bitwise(
      a, b, [](int64_t x, int64_t y) { return ~x | y; }, false, false);
}

Variant CompareValues(CompareOp op, const Variant& a, const Variant& b, CompareMode mode) {
  std::optional<int> c = Compare(a, b, mode);
  if (!c) return Variant::Null();
  switch (op) {
    case CompareOp::kEqual:
      return Variant(*c == 0);
    case CompareOp::kNotEqual:
      return Variant(*c != 0);
    case CompareOp::kLess:
      return Variant(*c < 0);
    case CompareOp::kLessEqual:
      return Variant(*c <= 0);
    case CompareOp::kGreater:
      return Variant(*c > 0);
    case CompareOp::kGreaterEqual:
      return Variant(*c >= 0);
  }
  return Variant::Null();
}

bool Like(std::string_view text, std::string_view pattern) {
  return Match(ToUtf32(text), ToUtf32(pattern));
}

Variant LikeValues(const Variant& text, const Variant& pattern) {
  if (text.IsNull() || pattern.IsNull()) return Variant::Null();
  return Variant(Like(CStr(text), CStr(pattern)));
}

// ---- Functions ---------------------------------------------------------------------

Variant Round(const Variant& value, int digits) {
  if (digits < 0 || digits > 22) Raise(err::kInvalidCall);
  auto round = [digits](double x) {
    if (digits == 0) return RoundHalfEven(x);
    double scale = std::pow(10.0, digits);
    double scaled = x * scale;
    if (std::isinf(scaled)) return x;
    return RoundHalfEven(scaled) / scale;
  };
  switch (value.type()) {
    case VarType::kNull:
      return value;
    case VarType::kEmpty:
      return Variant(int16_t{0});
    case VarType::kBoolean:
      return Variant(static_cast<int16_t>(value.AsBoolean() ? -1 : 0));
    case VarType::kByte:
    case VarType::kInteger:
    case VarType::kLong:
      return value;
    case VarType::kSingle:
      return Variant(static_cast<float>(round(value.NumericValue())));
    case VarType::kCurrency: {
      if (digits >= 4) return value;
      int64_t unit = 1;
      for (int i = digits; i < 4; ++i) unit *= 10;
      int64_t s = value.AsCurrency().scaled;
      int64_t q = s / unit, r = s % unit;
      int64_t twice = (r < 0 ? -r : r) * 2;
      if (twice > unit || (twice == unit && q % 2 != 0)) q += s < 0 ? -1 : 1;
      return Variant(Currency{q * unit});
    }
    case VarType::kDate:
      return DateOf(round(value.NumericValue()));
    default:
      return DoubleOf(round(Number(value)));
  }
}

Date DateAdd(std::string_view interval, double number, Date date) {
  std::string u = Interval(interval);
  if (std::isnan(number) || std::fabs(number) > 1e10) Raise(err::kInvalidCall);
  int64_t n = static_cast<int64_t>(std::trunc(number));
  DateParts p = SplitDate(date);
  int64_t day = DayNumber(date);
  int64_t second = SecondOfDay(date);
  auto with_months = [&](int64_t months) {
    int64_t total = static_cast<int64_t>(p.year) * 12 + (p.month - 1) + months;
    if (total < 100 * 12 || total > 9999 * 12 + 11) Raise(err::kInvalidCall);
    int year = static_cast<int>(total / 12), month = static_cast<int>(total % 12) + 1;
    DateParts q{year, month, std::min(p.day, DaysInMonth(year, month)), 0, 0, 0};
    Date base;
    MakeDate(q, &base);
    return FromDaySecond(static_cast<int64_t>(base.serial), second);
  };
  if (u == "yyyy") return with_months(12 * n);
  if (u == "q") return with_months(3 * n);
  if (u == "m") return with_months(n);
  if (u == "d" || u == "y" || u == "w") return FromDaySecond(day + n, second);
  if (u == "ww") return FromDaySecond(day + 7 * n, second);
  if (u == "h") return FromDaySecond(day, second + 3600 * n);
  if (u == "n") return FromDaySecond(day, second + 60 * n);
  if (u == "s") return FromDaySecond(day, second + n);
  Raise(err::kInvalidCall);
}

int32_t DateDiff(std::string_view interval, Date a, Date b, int first_day_of_week,
                 int first_week_of_year) {
  (void)first_week_of_year;
  std::string u = Interval(interval);
  DateParts pa = SplitDate(a), pb = SplitDate(b);
  int64_t da = DayNumber(a), db = DayNumber(b);
  int64_t out;
  if (u == "yyyy") {
    out = pb.year - pa.year;
  } else if (u == "q") {
    out = (pb.year * 4 + (pb.month - 1) / 3) - (pa.year * 4 + (pa.month - 1) / 3);
  } else if (u == "m") {
    out = (pb.year * 12 + pb.month) - (pa.year * 12 + pa.month);
  } else if (u == "d" || u == "y") {
    out = db - da;
  } else if (u == "w") {
    out = (db - da) / 7;
  } else if (u == "ww") {
    // The first days of the week between the two dates.
    auto week_start = [&](int64_t day) {
      int64_t sunday_based = ((day - 1) % 7 + 7) % 7;  // day 1 (1899-12-31) was a Sunday
      int64_t offset = ((sunday_based - (first_day_of_week - 1)) % 7 + 7) % 7;
      return day - offset;
    };
    out = (week_start(db) - week_start(da)) / 7;
  } else if (u == "h") {
    out = (db * 24 + pb.hour) - (da * 24 + pa.hour);
  } else if (u == "n") {
    out = (db * 1440 + pb.hour * 60 + pb.minute) - (da * 1440 + pa.hour * 60 + pa.minute);
  } else if (u == "s") {
    out = (db * 86400 + SecondOfDay(b)) - (da * 86400 + SecondOfDay(a));
  } else {
    Raise(err::kInvalidCall);
  }
  if (out < std::numeric_limits<int32_t>::min() || out > std::numeric_limits<int32_t>::max()) {
    Raise(err::kOverflow);
  }
  return static_cast<int32_t>(out);
}

int32_t DatePart(std::string_view interval, Date date, int first_day_of_week,
                 int first_week_of_year) {
  std::string u = Interval(interval);
  DateParts p = SplitDate(date);
  if (u == "yyyy") return p.year;
  if (u == "q") return (p.month - 1) / 3 + 1;
  if (u == "m") return p.month;
  if (u == "d") return p.day;
  if (u == "w") return Weekday(date, first_day_of_week);
  if (u == "ww") return WeekOfYear(date, first_day_of_week, first_week_of_year);
  if (u == "h") return p.hour;
  if (u == "n") return p.minute;
  if (u == "s") return p.second;
  if (u == "y") {
    Date first;
    MakeDate(DateParts{p.year, 1, 1, 0, 0, 0}, &first);
    return static_cast<int32_t>(DayNumber(date) - static_cast<int64_t>(first.serial) + 1);
  }
  Raise(err::kInvalidCall);
}

}  // namespace qor::vb
