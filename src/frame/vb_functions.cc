#include "qorsupport/frame/vb_functions.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <vector>

#include "frame/vb_kinds.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/frame/vb_format.h"

namespace qor::vb {

namespace {

// ---- Argument helpers -----------------------------------------------------------------

const Variant& Arg(std::span<const Variant> a, size_t i) {
  static const Variant missing = Variant::Missing();
  return i < a.size() ? a[i] : missing;
}

bool AnyNull(std::span<const Variant> a) {
  for (const Variant& v : a) {
    if (v.IsNull()) return true;
  }
  return false;
}

Variant Bool(bool b) { return Variant(b); }

// Abs and Sgn keep kinds as Int and Fix do.
Variant AbsOf(const Variant& v) {
  switch (v.type()) {
    case VarType::kNull:
      return v;
    case VarType::kEmpty:
      return Variant(int16_t{0});
    case VarType::kBoolean:
      return Variant(static_cast<int16_t>(v.AsBoolean() ? 1 : 0));
    case VarType::kByte:
      return v;
    case VarType::kInteger:
    case VarType::kLong:
      return WholeOf(std::fabs(v.NumericValue()), RankOf(v));
    case VarType::kSingle:
      return Variant(std::fabs(static_cast<float>(v.NumericValue())));
    case VarType::kCurrency: {
      int64_t s = v.AsCurrency().scaled;
      if (s == std::numeric_limits<int64_t>::min()) Raise(err::kOverflow);
      return Variant(Currency{s < 0 ? -s : s});
    }
    case VarType::kDate:
      return DateOf(std::fabs(v.NumericValue()));
    default:
      return Variant(std::fabs(Number(v)));
  }
}

Variant MathOf(const Variant& v, double (*f)(double)) {
  if (v.IsNull()) return v;
  return DoubleOf(f(CDbl(v)));
}

std::string HexOrOct(const Variant& v, int radix) {
  int64_t x;
  bool sixteen = false;
  switch (v.type()) {
    case VarType::kByte:
    case VarType::kInteger:
    case VarType::kBoolean:
    case VarType::kEmpty:
      x = WholeOperand(v).value;
      sixteen = true;
      break;
    default:
      x = CLng(v);
  }
  uint64_t bits = sixteen ? static_cast<uint16_t>(x) : static_cast<uint32_t>(x);
  if (x >= 0) bits = static_cast<uint64_t>(x);
  char buf[32];
  std::snprintf(buf, sizeof buf, radix == 16 ? "%llX" : "%llo",
                static_cast<unsigned long long>(bits));
  return buf;
}

Variant NumberToString(const Variant& v) {
  if (v.IsNull()) return v;
  if (v.IsString()) {
    if (!ParseNumber(v.AsString())) Raise(err::kTypeMismatch);
    double x = CDbl(v);
    std::string s = DoubleText(x);
    return Variant(x >= 0 ? " " + s : s);
  }
  if (!v.IsNumber() && !v.IsBoolean() && !v.IsDate() && !v.IsEmpty()) Raise(err::kTypeMismatch);
  std::string s = v.IsBoolean() ? BoolText(v.AsBoolean()) : CStr(v.IsEmpty() ? Variant(0) : v);
  if (v.IsBoolean() || v.IsDate()) return Variant(s);
  return Variant(v.NumericValue() >= 0 ? " " + s : s);
}

std::string ProperCase(std::string_view s) {
  std::u32string text = ToUtf32(s);
  std::string out;
  bool start = true;
  for (char32_t c : text) {
    std::string one = ToUtf8(std::u32string(1, c));
    out += start ? UCase(one) : LCase(one);
    start = c == U' ' || c == U'\t' || c == U'\n' || c == U'\r' || c == U'\0';
  }
  return out;
}

// VB's Replace: find and replace from start, at most count times (-1 all).
std::string ReplaceText(std::string_view s, std::string_view find, std::string_view with,
                        int64_t start, int64_t count, CompareMode mode) {
  if (start < 1) Raise(err::kInvalidCall);
  if (count < -1) Raise(err::kInvalidCall);
  std::u32string text = ToUtf32(s);
  if (static_cast<size_t>(start - 1) > text.size()) return std::string();
  text = text.substr(static_cast<size_t>(start - 1));
  std::u32string needle = ToUtf32(find);
  if (needle.empty() || count == 0) return ToUtf8(text);
  std::u32string hay = mode == CompareMode::kText ? ToUtf32(LCase(ToUtf8(text))) : text;
  std::u32string key = mode == CompareMode::kText ? ToUtf32(LCase(find)) : needle;
  if (hay.size() != text.size() || key.size() != needle.size()) {
    hay = text;  // a case mapping changed lengths: compare as given
    key = needle;
  }
  std::u32string replacement = ToUtf32(with);
  std::u32string out;
  size_t pos = 0;
  int64_t done = 0;
  while (count < 0 || done < count) {
    size_t hit = hay.find(key, pos);
    if (hit == std::u32string::npos) break;
    out.append(text, pos, hit - pos);
    out += replacement;
    pos = hit + key.size();
    ++done;
  }
  out.append(text, pos, std::u32string::npos);
  return ToUtf8(out);
}

int64_t InStrRevText(std::string_view s, std::string_view find, int64_t start, CompareMode mode) {
  if (start == 0 || start < -1) Raise(err::kInvalidCall);
  std::u32string hay = ToUtf32(mode == CompareMode::kText ? LCase(s) : std::string(s));
  std::u32string needle = ToUtf32(mode == CompareMode::kText ? LCase(find) : std::string(find));
  int64_t n = static_cast<int64_t>(hay.size());
  if (start == -1) start = n;
  if (start > n) return 0;
  if (needle.empty()) return start;
  if (static_cast<int64_t>(needle.size()) > start) return 0;
  size_t from = static_cast<size_t>(start) - needle.size();
  size_t pos = hay.rfind(needle, from);
  return pos == std::u32string::npos ? 0 : static_cast<int64_t>(pos) + 1;
}

// ---- The function table ----------------------------------------------------------------

using Args = std::span<const Variant>;

Variant FnCBool(Args a) { return Bool(CBool(a[0])); }
Variant FnCByte(Args a) { return Variant(CByte(a[0])); }
Variant FnCInt(Args a) { return Variant(CInt(a[0])); }
Variant FnCLng(Args a) { return Variant(CLng(a[0])); }
Variant FnCSng(Args a) { return Variant(CSng(a[0])); }
Variant FnCDbl(Args a) { return Variant(CDbl(a[0])); }
Variant FnCCur(Args a) { return Variant(CCur(a[0])); }
Variant FnCDate(Args a) { return Variant(CDate(a[0])); }
Variant FnCVDate(Args a) { return a[0].IsNull() ? a[0] : Variant(CDate(a[0])); }
Variant FnCStr(Args a) { return Variant(CStr(a[0])); }
Variant FnCVar(Args a) { return a[0]; }

Variant FnAsc(Args a) {
  std::u32string s = ToUtf32(Text(a[0]));
  if (s.empty()) Raise(err::kInvalidCall);
  char32_t c = s[0];
  if (c > 0xFFFF) c = 0xD800 + ((c - 0x10000) >> 10);  // the high surrogate, as UTF-16 has it
  return Variant(static_cast<int16_t>(static_cast<uint16_t>(c)));
}

Variant FnChr(Args a) {
  int32_t code = CLng(a[0]);
  if (code < -32768 || code > 65535) Raise(err::kInvalidCall);
  if (code < 0) code += 65536;
  std::string out;
  AppendUtf8(static_cast<char32_t>(code), &out);
  return Variant(out);
}

Variant FnHex(Args a) { return a[0].IsNull() ? a[0] : Variant(HexOrOct(a[0], 16)); }
Variant FnOct(Args a) { return a[0].IsNull() ? a[0] : Variant(HexOrOct(a[0], 8)); }

Variant FnFormat(Args a) {
  std::string format = a.size() > 1 && !a[1].IsNull() ? Text(a[1]) : std::string();
  int first_day = a.size() > 2 ? DayOfWeekArg(a[2]) : 1;
  int first_week = a.size() > 3 ? WeekArg(a[3]) : 1;
  Variant out = Format(a[0], format, first_day, first_week);
  return out;
}

Variant FnStr(Args a) { return NumberToString(a[0]); }
Variant FnVal(Args a) {
  if (a[0].IsNull()) Raise(err::kInvalidNull);
  return Variant(Val(Text(a[0])));
}

Variant FnString(Args a) {
  if (AnyNull(a)) return Variant::Null();
  int32_t n = CLng(a[0]);
  if (n < 0) Raise(err::kInvalidCall);
  std::string one;
  if (a[1].IsString()) {
    std::u32string s = ToUtf32(a[1].AsString());
    if (s.empty()) Raise(err::kInvalidCall);
    AppendUtf8(s[0], &one);
  } else {
    int32_t code = CLng(a[1]);
    if (code < 0) code = (code % 256 + 256) % 256;
    AppendUtf8(static_cast<char32_t>(code > 255 ? code % 256 : code), &one);
  }
  CheckTextSize(static_cast<int64_t>(one.size()) * n);
  std::string out;
  out.reserve(one.size() * static_cast<size_t>(n));
  for (int32_t i = 0; i < n; ++i) out += one;
  return Variant(out);
}

Variant FnSpace(Args a) {
  int32_t n = CLng(a[0]);
  CheckTextSize(n);
  return Variant(Space(n));
}

Variant FnLeft(Args a) {
  if (a[0].IsNull()) return a[0];
  return Variant(Left(Text(a[0]), CLng(a[1])));
}
Variant FnRight(Args a) {
  if (a[0].IsNull()) return a[0];
  return Variant(Right(Text(a[0]), CLng(a[1])));
}
Variant FnMid(Args a) {
  if (a[0].IsNull()) return a[0];
  int64_t length = a.size() > 2 ? CLng(a[2]) : -1;
  if (a.size() > 2 && length < 0) Raise(err::kInvalidCall);
  return Variant(Mid(Text(a[0]), CLng(a[1]), length));
}
Variant FnLen(Args a) {
  if (a[0].IsNull()) return a[0];
  return Variant(static_cast<int32_t>(Len(Text(a[0]))));
}

Variant FnInStr(Args a) {
  // InStr([start,] s1, s2[, compare])
  size_t first = a.size() >= 3 ? 1 : 0;
  if (first == 1 && a[0].IsNull()) Raise(err::kInvalidNull);
  int64_t start = first == 1 ? CLng(a[0]) : 1;
  CompareMode mode = a.size() == 4 ? ModeOf(a[3]) : CompareMode::kText;
  if (a[first].IsNull() || a[first + 1].IsNull()) return Variant::Null();
  return Variant(static_cast<int32_t>(InStr(start, Text(a[first]), Text(a[first + 1]), mode)));
}

Variant FnInStrRev(Args a) {
  int64_t start = a.size() > 2 ? CLng(a[2]) : -1;
  CompareMode mode = a.size() > 3 ? ModeOf(a[3]) : CompareMode::kText;
  if (a[0].IsNull() || a[1].IsNull()) return Variant::Null();
  return Variant(static_cast<int32_t>(InStrRevText(Text(a[0]), Text(a[1]), start, mode)));
}

Variant FnReplace(Args a) {
  if (a[0].IsNull() || a[1].IsNull() || a[2].IsNull()) Raise(err::kInvalidNull);
  int64_t start = a.size() > 3 ? CLng(a[3]) : 1;
  int64_t count = a.size() > 4 ? CLng(a[4]) : -1;
  CompareMode mode = a.size() > 5 ? ModeOf(a[5]) : CompareMode::kText;
  return Variant(ReplaceText(Text(a[0]), Text(a[1]), Text(a[2]), start, count, mode));
}

Variant FnStrComp(Args a) {
  CompareMode mode = a.size() > 2 ? ModeOf(a[2]) : CompareMode::kText;
  if (a[0].IsNull() || a[1].IsNull()) return Variant::Null();
  return Variant(static_cast<int16_t>(StrComp(Text(a[0]), Text(a[1]), mode)));
}

Variant FnStrConv(Args a) {
  if (a[0].IsNull()) return a[0];
  int32_t conversion = CLng(a[1]);
  std::string s = Text(a[0]);
  switch (conversion & 3) {
    case 1:
      s = UCase(s);
      break;
    case 2:
      s = LCase(s);
      break;
    case 3:
      s = ProperCase(s);
      break;
    default:
      break;
  }
  if (conversion & ~(3 | 64 | 128)) Raise(err::kInvalidCall);
  return Variant(s);
}

Variant FnStrReverse(Args a) {
  if (a[0].IsNull()) Raise(err::kInvalidNull);
  std::u32string s = ToUtf32(Text(a[0]));
  std::reverse(s.begin(), s.end());
  return Variant(ToUtf8(s));
}

Variant FnLCase(Args a) { return a[0].IsNull() ? a[0] : Variant(LCase(Text(a[0]))); }
Variant FnUCase(Args a) { return a[0].IsNull() ? a[0] : Variant(UCase(Text(a[0]))); }
Variant FnTrim(Args a) { return a[0].IsNull() ? a[0] : Variant(Trim(Text(a[0]))); }
Variant FnLTrim(Args a) { return a[0].IsNull() ? a[0] : Variant(LTrim(Text(a[0]))); }
Variant FnRTrim(Args a) { return a[0].IsNull() ? a[0] : Variant(RTrim(Text(a[0]))); }

Variant FnDate(Args) { return Variant(Today()); }
Variant FnTime(Args) {
  Date now = Now();
  return Variant(Date{now.serial - std::floor(now.serial)});
}
Variant FnNow(Args) { return Variant(Now()); }

Variant FnDateSerial(Args a) {
  auto part = [](const Variant& v) {
    int32_t x = CLng(v);
    if (x < -32768 || x > 32767) Raise(err::kOverflow);
    return static_cast<int>(x);
  };
  return Variant(DateSerial(part(a[0]), part(a[1]), part(a[2])));
}

Variant FnTimeSerial(Args a) {
  auto part = [](const Variant& v) {
    int32_t x = CLng(v);
    if (x < -32768 || x > 32767) Raise(err::kOverflow);
    return static_cast<int>(x);
  };
  Date t = TimeSerial(part(a[0]), part(a[1]), part(a[2]));
  if (t.serial < kMinDateSerial || t.serial > kMaxDateSerial) Raise(err::kInvalidCall);
  return Variant(t);
}

Variant FnDateValue(Args a) {
  if (a[0].IsNull()) return a[0];
  Date d = CDate(a[0]);
  return Variant(Date{static_cast<double>(DayNumber(d))});
}

Variant FnTimeValue(Args a) {
  if (a[0].IsNull()) return a[0];
  Date d = CDate(a[0]);
  return Variant(Date{SecondOfDay(d) / 86400.0});
}

Variant FnDateAdd(Args a) {
  if (a[1].IsNull() || a[0].IsNull()) Raise(err::kInvalidNull);
  if (a[2].IsNull()) return a[2];
  return Variant(DateAdd(Text(a[0]), CDbl(a[1]), CDate(a[2])));
}

Variant FnDateDiff(Args a) {
  if (a[0].IsNull()) Raise(err::kInvalidNull);
  if (a[1].IsNull() || a[2].IsNull()) return Variant::Null();
  return Variant(
      DateDiff(Text(a[0]), CDate(a[1]), CDate(a[2]), DayOfWeekArg(Arg(a, 3)), WeekArg(Arg(a, 4))));
}

Variant FnDatePart(Args a) {
  if (a[0].IsNull()) Raise(err::kInvalidNull);
  if (a[1].IsNull()) return a[1];
  int32_t part = DatePart(Text(a[0]), CDate(a[1]), DayOfWeekArg(Arg(a, 2)), WeekArg(Arg(a, 3)));
  return Variant(static_cast<int16_t>(part));
}

template <int (*Part)(const DateParts&)>
Variant FnDatePiece(Args a) {
  if (a[0].IsNull()) return a[0];
  return Variant(static_cast<int16_t>(Part(SplitDate(CDate(a[0])))));
}
int YearOf(const DateParts& p) { return p.year; }
int MonthOf(const DateParts& p) { return p.month; }
int DayOf(const DateParts& p) { return p.day; }
int HourOf(const DateParts& p) { return p.hour; }
int MinuteOf(const DateParts& p) { return p.minute; }
int SecondOf(const DateParts& p) { return p.second; }

Variant FnWeekday(Args a) {
  if (a[0].IsNull()) return a[0];
  return Variant(static_cast<int16_t>(Weekday(CDate(a[0]), DayOfWeekArg(Arg(a, 1)))));
}

Variant FnWeekdayName(Args a) {
  if (a[0].IsNull()) Raise(err::kInvalidNull);
  int n = CLng(a[0]);
  bool abbreviate = a.size() > 1 && !a[1].IsNull() && CBool(a[1]);
  int first = DayOfWeekArg(Arg(a, 2));
  if (n < 1 || n > 7) Raise(err::kInvalidCall);
  int weekday = (n - 1 + first - 1) % 7 + 1;
  return Variant(std::string(WeekdayName(weekday, abbreviate)));
}

Variant FnMonthName(Args a) {
  if (a[0].IsNull()) Raise(err::kInvalidNull);
  bool abbreviate = a.size() > 1 && !a[1].IsNull() && CBool(a[1]);
  return Variant(std::string(MonthName(CLng(a[0]), abbreviate)));
}

Variant FnAbs(Args a) { return AbsOf(a[0]); }
Variant FnAtn(Args a) {
  return MathOf(a[0], [](double x) { return std::atan(x); });
}
Variant FnCos(Args a) {
  return MathOf(a[0], [](double x) { return std::cos(x); });
}
Variant FnSin(Args a) {
  return MathOf(a[0], [](double x) { return std::sin(x); });
}
Variant FnTan(Args a) {
  return MathOf(a[0], [](double x) { return std::tan(x); });
}
Variant FnExp(Args a) {
  if (a[0].IsNull()) return a[0];
  double x = CDbl(a[0]);
  if (x > 709.782712893384) Raise(err::kOverflow);
  return Variant(std::exp(x));
}
Variant FnLog(Args a) {
  if (a[0].IsNull()) return a[0];
  double x = CDbl(a[0]);
  if (x <= 0) Raise(err::kInvalidCall);
  return Variant(std::log(x));
}
Variant FnSqr(Args a) {
  if (a[0].IsNull()) return a[0];
  double x = CDbl(a[0]);
  if (x < 0) Raise(err::kInvalidCall);
  return Variant(std::sqrt(x));
}
Variant FnFix(Args a) { return Fix(a[0]); }
Variant FnInt(Args a) { return Int(a[0]); }
Variant FnRnd(Args a) {
  if (!a.empty() && a[0].IsNull()) Raise(err::kInvalidNull);
  return Variant(static_cast<float>(Rnd()));
}
Variant FnRound(Args a) {
  int digits = a.size() > 1 && !a[1].IsNull() ? CLng(a[1]) : 0;
  return Round(a[0], digits);
}
Variant FnSgn(Args a) {
  if (a[0].IsNull()) return a[0];
  double x = Number(a[0]);
  return Variant(static_cast<int16_t>(x > 0 ? 1 : x < 0 ? -1 : 0));
}

bool Truth(const Variant& v) { return !v.IsNull() && !v.IsEmpty() && CBool(v); }

Variant FnIIf(Args a) { return Truth(a[0]) ? a[1] : a[2]; }
Variant FnSwitch(Args a) {
  if (a.size() % 2 != 0) Raise(err::kInvalidCall);
  for (size_t i = 0; i + 1 < a.size(); i += 2) {
    if (Truth(a[i])) return a[i + 1];
  }
  return Variant::Null();
}
Variant FnChoose(Args a) {
  if (a[0].IsNull()) return a[0];
  double index = std::trunc(CDbl(a[0]));
  if (index < 1 || index > static_cast<double>(a.size() - 1)) return Variant::Null();
  return a[static_cast<size_t>(index)];
}
Variant FnIsNull(Args a) { return Bool(a[0].IsNull()); }
Variant FnIsNumeric(Args a) { return Bool(IsNumeric(a[0])); }
Variant FnIsDate(Args a) { return Bool(IsDate(a[0])); }
Variant FnIsEmpty(Args a) { return Bool(a[0].IsEmpty()); }
Variant FnNz(Args a) {
  if (!a[0].IsNull()) return a[0];
  return a.size() > 1 ? a[1] : Variant();
}

constexpr FunctionInfo kFunctions[] = {
    {"Abs", 1, 1, FnAbs},
    {"Asc", 1, 1, FnAsc},
    {"AscW", 1, 1, FnAsc},
    {"Atn", 1, 1, FnAtn},
    {"CBool", 1, 1, FnCBool},
    {"CByte", 1, 1, FnCByte},
    {"CCur", 1, 1, FnCCur},
    {"CDate", 1, 1, FnCDate},
    {"CDbl", 1, 1, FnCDbl},
    {"CInt", 1, 1, FnCInt},
    {"CLng", 1, 1, FnCLng},
    {"CSng", 1, 1, FnCSng},
    {"CStr", 1, 1, FnCStr},
    {"CVar", 1, 1, FnCVar},
    {"CVDate", 1, 1, FnCVDate},
    {"Choose", 2, -1, FnChoose},
    {"Chr", 1, 1, FnChr},
    {"ChrW", 1, 1, FnChr},
    {"Cos", 1, 1, FnCos},
    {"Date", 0, 0, FnDate},
    {"DateAdd", 3, 3, FnDateAdd},
    {"DateDiff", 3, 5, FnDateDiff},
    {"DatePart", 2, 4, FnDatePart},
    {"DateSerial", 3, 3, FnDateSerial},
    {"DateValue", 1, 1, FnDateValue},
    {"Day", 1, 1, FnDatePiece<DayOf>},
    {"Exp", 1, 1, FnExp},
    {"Fix", 1, 1, FnFix},
    {"Format", 1, 4, FnFormat},
    {"Hex", 1, 1, FnHex},
    {"Hour", 1, 1, FnDatePiece<HourOf>},
    {"IIf", 3, 3, FnIIf},
    {"InStr", 2, 4, FnInStr},
    {"InStrRev", 2, 4, FnInStrRev},
    {"Int", 1, 1, FnInt},
    {"IsDate", 1, 1, FnIsDate},
    {"IsEmpty", 1, 1, FnIsEmpty},
    {"IsNull", 1, 1, FnIsNull},
    {"IsNumeric", 1, 1, FnIsNumeric},
    {"LCase", 1, 1, FnLCase},
    {"Left", 2, 2, FnLeft},
    {"Len", 1, 1, FnLen},
    {"Log", 1, 1, FnLog},
    {"LTrim", 1, 1, FnLTrim},
    {"Mid", 2, 3, FnMid},
    {"Minute", 1, 1, FnDatePiece<MinuteOf>},
    {"Month", 1, 1, FnDatePiece<MonthOf>},
    {"MonthName", 1, 2, FnMonthName},
    {"Now", 0, 0, FnNow},
    {"Nz", 1, 2, FnNz},
    {"Oct", 1, 1, FnOct},
    {"Replace", 3, 6, FnReplace},
    {"Right", 2, 2, FnRight},
    {"Rnd", 0, 1, FnRnd},
    {"Round", 1, 2, FnRound},
    {"RTrim", 1, 1, FnRTrim},
    {"Second", 1, 1, FnDatePiece<SecondOf>},
    {"Sgn", 1, 1, FnSgn},
    {"Sin", 1, 1, FnSin},
    {"Space", 1, 1, FnSpace},
    {"Sqr", 1, 1, FnSqr},
    {"Str", 1, 1, FnStr},
    {"StrComp", 2, 3, FnStrComp},
    {"StrConv", 2, 3, FnStrConv},
    {"String", 2, 2, FnString},
    {"StrReverse", 1, 1, FnStrReverse},
    {"Switch", 2, -1, FnSwitch},
    {"Tan", 1, 1, FnTan},
    {"Time", 0, 0, FnTime},
    {"TimeSerial", 3, 3, FnTimeSerial},
    {"TimeValue", 1, 1, FnTimeValue},
    {"Trim", 1, 1, FnTrim},
    {"UCase", 1, 1, FnUCase},
    {"Val", 1, 1, FnVal},
    {"Weekday", 1, 2, FnWeekday},
    {"WeekdayName", 1, 3, FnWeekdayName},
    {"Year", 1, 1, FnDatePiece<YearOf>},
};

bool SameAscii(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i], y = b[i];
    if (x >= 'A' && x <= 'Z') x = static_cast<char>(x + 32);
    if (y >= 'A' && y <= 'Z') y = static_cast<char>(y + 32);
    if (x != y) return false;
  }
  return true;
}

}  // namespace

const FunctionInfo* FindFunction(std::string_view name) {
  if (!name.empty() && name.back() == '$') name.remove_suffix(1);
  for (const FunctionInfo& f : kFunctions) {
    if (SameAscii(f.name, name)) return &f;
  }
  return nullptr;
}

Variant CallFunction(std::string_view name, std::span<const Variant> args) {
  const FunctionInfo* f = FindFunction(name);
  if (!f) Raise(err::kTypeMismatch);
  int n = static_cast<int>(args.size());
  if (n < f->min_args || (f->max_args >= 0 && n > f->max_args)) Raise(err::kInvalidCall);
  return f->call(args);
}

}  // namespace qor::vb
