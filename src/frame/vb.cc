#include "qorsupport/frame/vb.h"

#include <locale.h>
#include <wctype.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb_date.h"

namespace qor::vb {

namespace {

bool IsBlankChar(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Reads &H (hex) or &O (octal) numbers; VB gives them 16-bit or 32-bit
// two's-complement values.
std::optional<double> ParseRadix(std::string_view digits, int radix) {
  if (digits.empty() || digits.size() > (radix == 16 ? 8u : 11u)) return std::nullopt;
  uint64_t value = 0;
  for (char c : digits) {
    int d;
    if (c >= '0' && c <= '9') {
      d = c - '0';
    } else if (radix == 16 && c >= 'a' && c <= 'f') {
      d = c - 'a' + 10;
    } else if (radix == 16 && c >= 'A' && c <= 'F') {
      d = c - 'A' + 10;
    } else {
      return std::nullopt;
    }
    if (d >= radix) return std::nullopt;
    value = value * radix + d;
  }
  if (value > 0xFFFFFFFFull) return std::nullopt;
  if (value <= 0xFFFF && digits.size() <= (radix == 16 ? 4u : 6u)) {
    return static_cast<double>(static_cast<int16_t>(value));
  }
  return static_cast<double>(static_cast<int32_t>(static_cast<uint32_t>(value)));
}

double CheckedRange(double x, double low, double high) {
  if (std::isnan(x) || x < low || x > high) Raise(err::kOverflow);
  return x;
}

locale_t Utf8Locale() {
  static locale_t loc = [] {
    locale_t l = newlocale(LC_CTYPE_MASK, "C.UTF-8", static_cast<locale_t>(0));
    return l;
  }();
  return loc;
}

std::string MapCase(std::string_view s, bool upper) {
  std::string out;
  out.reserve(s.size());
  locale_t loc = Utf8Locale();
  for (char32_t c : ToUtf32(s)) {
    char32_t mapped = c;
    if (c < 0x80) {
      if (upper && c >= 'a' && c <= 'z') mapped = c - 32;
      if (!upper && c >= 'A' && c <= 'Z') mapped = c + 32;
    } else if (loc) {
      mapped =
          upper ? towupper_l(static_cast<wint_t>(c), loc) : towlower_l(static_cast<wint_t>(c), loc);
    }
    AppendUtf8(mapped, &out);
  }
  return out;
}

// Byte offset of the character at 0-based position pos (or s.size()).
size_t ByteOffset(std::string_view s, int64_t pos) {
  size_t i = 0;
  while (pos > 0 && i < s.size()) {
    ++i;
    while (i < s.size() && (static_cast<unsigned char>(s[i]) & 0xC0) == 0x80) ++i;
    --pos;
  }
  return i;
}

}  // namespace

// ---- UTF-8 ---------------------------------------------------------------------

void AppendUtf8(char32_t c, std::string* out) {
  if (c < 0x80) {
    out->push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out->push_back(static_cast<char>(0xC0 | (c >> 6)));
    out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    out->push_back(static_cast<char>(0xE0 | (c >> 12)));
    out->push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out->push_back(static_cast<char>(0xF0 | (c >> 18)));
    out->push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

std::u32string ToUtf32(std::string_view s) {
  std::u32string out;
  out.reserve(s.size());
  size_t i = 0;
  while (i < s.size()) {
    unsigned char b = static_cast<unsigned char>(s[i]);
    int extra;
    if (b < 0x80) {
      extra = 0;
    } else if ((b >> 5) == 6) {
      extra = 1;
    } else if ((b >> 4) == 14) {
      extra = 2;
    } else if ((b >> 3) == 30) {
      extra = 3;
    } else {
      out.push_back(0xFFFD);
      ++i;
      continue;
    }
    char32_t c = extra == 0 ? b : (b & (0x3F >> extra));
    bool ok = true;
    for (int k = 1; k <= extra; ++k) {
      if (i + k >= s.size() || (static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) {
        ok = false;
        break;
      }
      c = (c << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
    }
    if (!ok) {
      out.push_back(0xFFFD);
      ++i;
      continue;
    }
    out.push_back(c);
    i += extra + 1;
  }
  return out;
}

std::string ToUtf8(std::u32string_view s) {
  std::string out;
  out.reserve(s.size());
  for (char32_t c : s) AppendUtf8(c, &out);
  return out;
}

// ---- Tests ---------------------------------------------------------------------

std::optional<double> ParseNumber(std::string_view text) {
  size_t b = 0, e = text.size();
  while (b < e && IsBlankChar(text[b])) ++b;
  while (e > b && IsBlankChar(text[e - 1])) --e;
  std::string_view s = text.substr(b, e - b);
  if (s.empty()) return std::nullopt;

  if (s.size() > 2 && s[0] == '&' && (s[1] == 'H' || s[1] == 'h'))
    return ParseRadix(s.substr(2), 16);
  if (s.size() > 2 && s[0] == '&' && (s[1] == 'O' || s[1] == 'o'))
    return ParseRadix(s.substr(2), 8);

  bool negative = false;
  bool parens = false;
  size_t i = 0;
  auto skip_blanks = [&] {
    while (i < s.size() && s[i] == ' ') ++i;
  };
  if (s[i] == '(') {
    parens = true;
    negative = true;
    ++i;
    skip_blanks();
  }
  if (i < s.size() && s[i] == '$') {
    ++i;
    skip_blanks();
  }
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) {
    if (parens) return std::nullopt;
    negative = s[i] == '-';
    ++i;
    skip_blanks();
  }
  if (i < s.size() && s[i] == '$') {
    ++i;
    skip_blanks();
  }

  std::string digits;
  bool any_digit = false;
  while (i < s.size() && (IsDigit(s[i]) || (s[i] == ',' && any_digit))) {
    if (s[i] != ',') {
      digits.push_back(s[i]);
      any_digit = true;
    }
    ++i;
  }
  if (i < s.size() && s[i] == '.') {
    digits.push_back('.');
    ++i;
    while (i < s.size() && IsDigit(s[i])) {
      digits.push_back(s[i]);
      any_digit = true;
      ++i;
    }
  }
  if (!any_digit) return std::nullopt;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E' || s[i] == 'd' || s[i] == 'D')) {
    size_t j = i + 1;
    std::string exponent = "e";
    if (j < s.size() && (s[j] == '+' || s[j] == '-')) exponent.push_back(s[j++]);
    size_t start = j;
    while (j < s.size() && IsDigit(s[j])) exponent.push_back(s[j++]);
    if (j == start) return std::nullopt;
    digits += exponent;
    i = j;
  }
  if (parens) {
    skip_blanks();
    if (i >= s.size() || s[i] != ')') return std::nullopt;
    ++i;
  }
  if (i != s.size()) return std::nullopt;
  double value = std::strtod(digits.c_str(), nullptr);
  if (std::isinf(value)) return std::nullopt;
  return negative ? -value : value;
}

bool IsNumeric(const Variant& v) {
  switch (v.type()) {
    case VarType::kEmpty:
    case VarType::kBoolean:
      return true;
    case VarType::kString:
      return ParseNumber(v.AsString()).has_value();
    default:
      return v.IsNumber();
  }
}

bool IsDate(const Variant& v) {
  if (v.IsDate()) return true;
  if (!v.IsString()) return false;
  Date d;
  return ParseDate(v.AsString(), &d);
}

double Val(std::string_view text) {
  // Blanks are skipped wherever they stand, so work on the text without them.
  std::string s;
  s.reserve(text.size());
  for (char c : text) {
    if (!IsBlankChar(c)) s.push_back(c);
  }
  size_t i = 0;
  if (s.size() >= 2 && s[0] == '&' && (s[1] == 'H' || s[1] == 'h' || s[1] == 'O' || s[1] == 'o')) {
    int radix = (s[1] == 'H' || s[1] == 'h') ? 16 : 8;
    size_t j = 2;
    while (j < s.size() && (radix == 16 ? std::isxdigit(static_cast<unsigned char>(s[j])) != 0
                                        : (s[j] >= '0' && s[j] <= '7'))) {
      ++j;
    }
    std::optional<double> v = ParseRadix(std::string_view(s).substr(2, j - 2), radix);
    return v.value_or(0);
  }
  std::string number;
  if (i < s.size() && (s[i] == '+' || s[i] == '-')) number.push_back(s[i++]);
  bool any_digit = false;
  while (i < s.size() && IsDigit(s[i])) {
    number.push_back(s[i++]);
    any_digit = true;
  }
  if (i < s.size() && s[i] == '.') {
    number.push_back(s[i++]);
    while (i < s.size() && IsDigit(s[i])) {
      number.push_back(s[i++]);
      any_digit = true;
    }
  }
  if (!any_digit) return 0;
  if (i < s.size() && (s[i] == 'e' || s[i] == 'E' || s[i] == 'd' || s[i] == 'D')) {
    size_t j = i + 1;
    std::string exponent = "e";
    if (j < s.size() && (s[j] == '+' || s[j] == '-')) exponent.push_back(s[j++]);
    size_t start = j;
    while (j < s.size() && IsDigit(s[j])) exponent.push_back(s[j++]);
    if (j > start) number += exponent;
  }
  double value = std::strtod(number.c_str(), nullptr);
  if (std::isinf(value)) Raise(err::kOverflow);
  return value;
}

// ---- Texts of numbers ------------------------------------------------------------

namespace {

// Turns printf's %G output into VB's: "1E+15", "1.5E-05", no "+" loss.
std::string GeneralText(double x, int precision) {
  if (x == 0) return "0";
  char buffer[64];
  std::snprintf(buffer, sizeof(buffer), "%.*G", precision, x);
  return buffer;
}

}  // namespace

std::string DoubleText(double x) { return GeneralText(x, 15); }
std::string SingleText(float x) { return GeneralText(static_cast<double>(x), 7); }

std::string CurrencyText(Currency c) {
  const uint64_t magnitude =
      c.scaled < 0 ? 0 - static_cast<uint64_t>(c.scaled) : static_cast<uint64_t>(c.scaled);
  char buffer[48];
  std::snprintf(buffer, sizeof(buffer), "%s%llu.%04llu", c.scaled < 0 ? "-" : "",
                static_cast<unsigned long long>(magnitude / Currency::kScale),
                static_cast<unsigned long long>(magnitude % Currency::kScale));
  // Drop the zeros after the decimal point, and the point itself when bare.
  std::string text(buffer);
  while (text.back() == '0') text.pop_back();
  if (text.back() == '.') text.pop_back();
  return text;
}

std::string BoolText(bool b) { return b ? "True" : "False"; }

// ---- Conversions -------------------------------------------------------------

std::string ConcatText(const Variant& v) {
  return v.IsNull() || v.IsMissing() ? std::string() : CStr(v);
}

std::string BytesOf(const Variant& v) {
  if (!v.IsArray()) return CStr(v);
  std::string bytes;
  for (const Variant& b : v.AsArray().elements()) bytes += static_cast<char>(CByte(b));
  return bytes;
}

std::string CStr(const Variant& v) {
  switch (v.type()) {
    case VarType::kEmpty:
      return std::string();
    case VarType::kNull:
      Raise(err::kInvalidNull);
    case VarType::kBoolean:
      return BoolText(v.AsBoolean());
    case VarType::kByte:
    case VarType::kInteger:
    case VarType::kLong:
      return std::to_string(static_cast<int64_t>(v.NumericValue()));
    case VarType::kSingle:
      return SingleText(static_cast<float>(v.NumericValue()));
    case VarType::kDouble:
      return DoubleText(v.NumericValue());
    case VarType::kCurrency:
      return CurrencyText(v.AsCurrency());
    case VarType::kDate:
      return DateText(v.AsDate());
    case VarType::kString:
      return v.AsString();
    default:
      Raise(err::kTypeMismatch);
  }
}

double CDbl(const Variant& v) {
  switch (v.type()) {
    case VarType::kNull:
      Raise(err::kInvalidNull);
    case VarType::kString: {
      std::optional<double> n = ParseNumber(v.AsString());
      if (!n) Raise(err::kTypeMismatch);
      return *n;
    }
    case VarType::kEmpty:
    case VarType::kBoolean:
    case VarType::kDate:
      return v.NumericValue();
    default:
      if (v.IsNumber()) return v.NumericValue();
      Raise(err::kTypeMismatch);
  }
}

float CSng(const Variant& v) {
  double x = CDbl(v);
  CheckedRange(std::fabs(x), 0, std::numeric_limits<float>::max());
  return static_cast<float>(x);
}

double RoundHalfEven(double x) {
  double r = std::round(x);
  if (std::fabs(x - std::trunc(x)) == 0.5) r = 2.0 * std::round(x / 2.0);
  return r;
}

int32_t CLng(const Variant& v) {
  double x = RoundHalfEven(CDbl(v));
  return static_cast<int32_t>(CheckedRange(x, -2147483648.0, 2147483647.0));
}

int16_t CInt(const Variant& v) {
  double x = RoundHalfEven(CDbl(v));
  return static_cast<int16_t>(CheckedRange(x, -32768.0, 32767.0));
}

uint8_t CByte(const Variant& v) {
  double x = RoundHalfEven(CDbl(v));
  return static_cast<uint8_t>(CheckedRange(x, 0.0, 255.0));
}

Currency CCur(const Variant& v) {
  if (v.type() == VarType::kCurrency) return v.AsCurrency();
  double x = RoundHalfEven(CDbl(v) * Currency::kScale);
  CheckedRange(x, -9.2233720368547758e18, 9.2233720368547748e18);
  return Currency{static_cast<int64_t>(x)};
}

bool CBool(const Variant& v) {
  switch (v.type()) {
    case VarType::kNull:
      Raise(err::kInvalidNull);
    case VarType::kBoolean:
      return v.AsBoolean();
    case VarType::kString: {
      std::string t = UCase(Trim(v.AsString()));
      if (t == "TRUE") return true;
      if (t == "FALSE") return false;
      std::optional<double> n = ParseNumber(t);
      if (!n) Raise(err::kTypeMismatch);
      return *n != 0;
    }
    case VarType::kEmpty:
    case VarType::kDate:
      return v.NumericValue() != 0;
    default:
      if (v.IsNumber()) return v.NumericValue() != 0;
      Raise(err::kTypeMismatch);
  }
}

Date CDate(const Variant& v) {
  switch (v.type()) {
    case VarType::kNull:
      Raise(err::kInvalidNull);
    case VarType::kDate:
      return v.AsDate();
    case VarType::kString: {
      Date d;
      if (!ParseDate(v.AsString(), &d)) Raise(err::kTypeMismatch);
      return d;
    }
    case VarType::kEmpty:
    case VarType::kBoolean:
      return Date{v.NumericValue()};
    default:
      if (!v.IsNumber()) Raise(err::kTypeMismatch);
      return Date{CheckedRange(v.NumericValue(), kMinDateSerial, kMaxDateSerial)};
  }
}

Variant ConvertTo(const Variant& v, VarType type) {
  switch (type) {
    case VarType::kBoolean:
      return Variant(CBool(v));
    case VarType::kByte:
      return Variant(CByte(v));
    case VarType::kInteger:
      return Variant(CInt(v));
    case VarType::kLong:
      return Variant(CLng(v));
    case VarType::kSingle:
      return Variant(CSng(v));
    case VarType::kDouble:
      return Variant(CDbl(v));
    case VarType::kCurrency:
      return Variant(CCur(v));
    case VarType::kDate:
      return Variant(CDate(v));
    case VarType::kString:
      return Variant(CStr(v));
    case VarType::kObject:
      if (!v.IsObject()) Raise(err::kTypeMismatch);
      return v;
    default:
      return v;
  }
}

// ---- Arithmetic --------------------------------------------------------------

namespace {

Variant RoundKeepingKind(const Variant& v, double (*op)(double)) {
  switch (v.type()) {
    case VarType::kNull:
      return Variant::Null();
    case VarType::kEmpty:
      return Variant(int16_t{0});
    case VarType::kBoolean:
      return Variant(static_cast<int16_t>(v.AsBoolean() ? -1 : 0));
    case VarType::kByte:
    case VarType::kInteger:
    case VarType::kLong:
      return v;
    case VarType::kSingle:
      return Variant(static_cast<float>(op(v.NumericValue())));
    case VarType::kDouble:
      return Variant(op(v.NumericValue()));
    case VarType::kCurrency:
      return Variant(Currency{static_cast<int64_t>(op(v.NumericValue())) * Currency::kScale});
    case VarType::kDate:
      return Variant(Date{op(v.NumericValue())});
    case VarType::kString:
      return Variant(op(CDbl(v)));
    default:
      Raise(err::kTypeMismatch);
  }
}

double Floor(double x) { return std::floor(x); }
double Trunc(double x) { return std::trunc(x); }

}  // namespace

Variant Int(const Variant& v) { return RoundKeepingKind(v, &Floor); }
Variant Fix(const Variant& v) { return RoundKeepingKind(v, &Trunc); }

double Rnd() {
  static std::mt19937_64 generator{std::random_device{}()};
  return std::uniform_real_distribution<double>(0.0, 1.0)(generator);
}

// ---- Comparison --------------------------------------------------------------

namespace {

int LowerCaseOrder(std::string_view a, std::string_view b) { return LCase(a).compare(LCase(b)); }

std::atomic<TextCollation> text_collation{&LowerCaseOrder};

}  // namespace

void SetTextCollation(TextCollation collation) {
  text_collation.store(collation ? collation : &LowerCaseOrder);
}

int StrComp(std::string_view a, std::string_view b, CompareMode mode) {
  if (mode == CompareMode::kText) {
    int c = text_collation.load(std::memory_order_relaxed)(a, b);
    return c < 0 ? -1 : c > 0 ? 1 : 0;
  }
  // UTF-8 byte order is code point order.
  int c = a.compare(b);
  return c < 0 ? -1 : c > 0 ? 1 : 0;
}

std::optional<int> Compare(const Variant& a, const Variant& b, CompareMode mode) {
  if (a.IsNull() || b.IsNull()) return std::nullopt;
  auto numeric_like = [](const Variant& v) {
    return v.IsNumber() || v.IsBoolean() || v.IsDate() || v.IsEmpty();
  };
  if (a.IsString() || b.IsString()) {
    if (a.IsString() && b.IsString()) return StrComp(a.AsString(), b.AsString(), mode);
    const Variant& other = a.IsString() ? b : a;
    if (other.IsEmpty()) {
      return StrComp(a.IsString() ? a.AsString() : "", b.IsString() ? b.AsString() : "", mode);
    }
    if (!numeric_like(other)) Raise(err::kTypeMismatch);
    return a.IsString() ? 1 : -1;  // a number is less than a string
  }
  if (!numeric_like(a) || !numeric_like(b)) Raise(err::kTypeMismatch);
  if (a.type() == VarType::kCurrency && b.type() == VarType::kCurrency) {
    int64_t x = a.AsCurrency().scaled, y = b.AsCurrency().scaled;
    return x < y ? -1 : x > y ? 1 : 0;
  }
  double x = a.NumericValue(), y = b.NumericValue();
  return x < y ? -1 : x > y ? 1 : 0;
}

// ---- Strings -----------------------------------------------------------------

std::string LTrim(std::string_view s) {
  size_t b = 0;
  while (b < s.size() && s[b] == ' ') ++b;
  return std::string(s.substr(b));
}

std::string RTrim(std::string_view s) {
  size_t e = s.size();
  while (e > 0 && s[e - 1] == ' ') --e;
  return std::string(s.substr(0, e));
}

std::string Trim(std::string_view s) { return LTrim(RTrim(s)); }
std::string UCase(std::string_view s) { return MapCase(s, true); }
std::string LCase(std::string_view s) { return MapCase(s, false); }

int64_t Len(std::string_view s) {
  int64_t n = 0;
  for (char c : s) {
    if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) ++n;
  }
  return n;
}

std::string Left(std::string_view s, int64_t length) {
  if (length < 0) Raise(err::kInvalidCall);
  return std::string(s.substr(0, ByteOffset(s, length)));
}

std::string Right(std::string_view s, int64_t length) {
  if (length < 0) Raise(err::kInvalidCall);
  int64_t n = Len(s);
  if (length >= n) return std::string(s);
  return std::string(s.substr(ByteOffset(s, n - length)));
}

std::string Mid(std::string_view s, int64_t start, int64_t length) {
  if (start < 1) Raise(err::kInvalidCall);
  size_t b = ByteOffset(s, start - 1);
  std::string_view rest = s.substr(b);
  if (length < 0) return std::string(rest);
  return std::string(rest.substr(0, ByteOffset(rest, length)));
}

int64_t InStr(int64_t start, std::string_view s, std::string_view find, CompareMode mode) {
  if (start < 1) Raise(err::kInvalidCall);
  std::u32string hay = ToUtf32(mode == CompareMode::kText ? LCase(s) : std::string(s));
  std::u32string needle = ToUtf32(mode == CompareMode::kText ? LCase(find) : std::string(find));
  if (static_cast<size_t>(start - 1) > hay.size()) return 0;
  if (needle.empty()) return start;
  size_t pos = hay.find(needle, static_cast<size_t>(start - 1));
  return pos == std::u32string::npos ? 0 : static_cast<int64_t>(pos) + 1;
}

std::string Replace(std::string_view s, std::string_view find, std::string_view with) {
  if (find.empty()) return std::string(s);
  std::string out;
  size_t pos = 0;
  while (true) {
    size_t hit = s.find(find, pos);
    if (hit == std::string_view::npos) break;
    out.append(s.substr(pos, hit - pos));
    out.append(with);
    pos = hit + find.size();
  }
  out.append(s.substr(pos));
  return out;
}

std::string Space(int64_t count) {
  if (count < 0) Raise(err::kInvalidCall);
  return std::string(static_cast<size_t>(count), ' ');
}

}  // namespace qor::vb
