#include "qorsupport/frame/vb_format.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"

namespace qor::vb {

namespace {

char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (Lower(a[i]) != Lower(b[i])) return false;
  }
  return true;
}

bool StartsWithNoCase(std::string_view s, size_t at, std::string_view prefix) {
  return s.size() - at >= prefix.size() && EqualsNoCase(s.substr(at, prefix.size()), prefix);
}

// The length of the UTF-8 character starting with byte c.
size_t Utf8Length(char c) {
  auto u = static_cast<unsigned char>(c);
  return u < 0x80 ? 1 : u >= 0xF0 ? 4 : u >= 0xE0 ? 3 : u >= 0xC0 ? 2 : 1;
}

// Reads a literal at pattern[*i] ("quoted text" or \x) into out and moves *i
// past it; false when there is none there.
bool ReadLiteral(std::string_view pattern, size_t* i, std::string* out) {
  char c = pattern[*i];
  if (c == '"') {
    size_t end = pattern.find('"', *i + 1);
    if (end == std::string_view::npos) end = pattern.size();
    out->append(pattern.substr(*i + 1, end - *i - 1));
    *i = end == pattern.size() ? end : end + 1;
    return true;
  }
  if (c == '\\') {
    if (*i + 1 < pattern.size()) {
      size_t len = std::min(Utf8Length(pattern[*i + 1]), pattern.size() - *i - 1);
      out->append(pattern.substr(*i + 1, len));
      *i += 1 + len;
    } else {
      *i += 1;
    }
    return true;
  }
  return false;
}

// The sections of a pattern, split on ";" outside literals.
std::vector<std::string> SplitSections(std::string_view format) {
  std::vector<std::string> sections(1);
  for (size_t i = 0; i < format.size();) {
    size_t start = i;
    std::string ignored;
    if (ReadLiteral(format, &i, &ignored)) {
      sections.back().append(format.substr(start, i - start));
    } else if (format[i] == ';') {
      sections.emplace_back();
      ++i;
    } else {
      sections.back() += format[i++];
    }
  }
  return sections;
}

enum class Kind { kNumber, kDate, kText };

bool IsDateLetter(char c) {
  return std::string_view("dwmqyhnsct").find(Lower(c)) != std::string_view::npos;
}

bool IsAmPmAt(std::string_view s, size_t i) {
  return StartsWithNoCase(s, i, "am/pm") || StartsWithNoCase(s, i, "a/p") ||
         StartsWithNoCase(s, i, "ampm");
}

Kind Classify(std::string_view pattern) {
  bool date = false, text = false;
  for (size_t i = 0; i < pattern.size();) {
    std::string ignored;
    if (ReadLiteral(pattern, &i, &ignored)) continue;
    char c = pattern[i];
    if (c == '0' || c == '#') return Kind::kNumber;
    if (IsDateLetter(c) || IsAmPmAt(pattern, i)) date = true;
    if (std::string_view("@&<>!").find(c) != std::string_view::npos) text = true;
    ++i;
  }
  return date ? Kind::kDate : text ? Kind::kText : Kind::kNumber;
}

// ---- Numbers -----------------------------------------------------------------

// A non-negative number as decimal digits: value = 0.digits * 10^exp, the
// digits without leading or trailing zeros; no digits for zero.
struct Decimal {
  std::string digits;
  int exp = 0;
};

void StripTrailingZeros(Decimal* d) {
  while (!d->digits.empty() && d->digits.back() == '0') d->digits.pop_back();
  if (d->digits.empty()) d->exp = 0;
}

// A non-negative number to the given significant digits: 15 for a Double,
// 7 for a Single, the precision VB gives them.
Decimal DecimalOf(double x, int significant) {
  Decimal d;
  if (x == 0 || !std::isfinite(x)) return d;
  char buffer[48];
  std::snprintf(buffer, sizeof(buffer), "%.*e", significant - 1, x);
  d.digits = buffer[0];
  d.digits.append(buffer + 2, significant - 1);
  d.exp = std::atoi(buffer + significant + 2) + 1;
  StripTrailingZeros(&d);
  return d;
}

Decimal DecimalOf(Currency c) {
  Decimal d;
  uint64_t magnitude = c.scaled < 0 ? 0 - static_cast<uint64_t>(c.scaled) : c.scaled;
  if (magnitude == 0) return d;
  d.digits = std::to_string(magnitude);
  d.exp = static_cast<int>(d.digits.size()) - 4;
  StripTrailingZeros(&d);
  return d;
}

// Multiplies by 10^power.
void Shift(Decimal* d, int power) {
  if (!d->digits.empty()) d->exp += power;
}

// Rounds to the given number of decimals, half away from zero.
void RoundTo(Decimal* d, int decimals) {
  if (d->digits.empty()) return;
  int keep = d->exp + decimals;
  if (keep < 0) {
    *d = Decimal();
    return;
  }
  if (keep >= static_cast<int>(d->digits.size())) return;
  bool up = d->digits[keep] >= '5';
  d->digits.resize(keep);
  if (up) {
    int i = keep - 1;
    while (i >= 0 && d->digits[i] == '9') d->digits[i--] = '0';
    if (i >= 0) {
      ++d->digits[i];
    } else {
      d->digits.insert(d->digits.begin(), '1');
      ++d->exp;
    }
  }
  StripTrailingZeros(d);
}

std::string IntegerDigits(const Decimal& d) {
  if (d.exp <= 0) return "";
  std::string out = d.digits.substr(0, std::min<size_t>(d.exp, d.digits.size()));
  out.resize(d.exp, '0');
  return out;
}

std::string FractionDigits(const Decimal& d) {
  if (d.digits.empty()) return "";
  if (d.exp >= 0) {
    return static_cast<size_t>(d.exp) < d.digits.size() ? d.digits.substr(d.exp) : "";
  }
  return std::string(-d.exp, '0') + d.digits;
}

std::string Grouped(const std::string& digits) {
  std::string out;
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) out += ',';
    out += digits[i];
  }
  return out;
}

// One section of a number pattern, parsed.
struct NumberPattern {
  enum class ItemType { kLiteral, kIntDigit, kPoint, kFracDigit, kExponent };
  struct Item {
    ItemType type;
    std::string text;  // a literal's text; "E+", "e-", ... for the exponent
  };
  std::vector<Item> items;
  int int_placeholders = 0;
  int int_zeros = 0;
  int frac_zeros = 0;  // decimals always shown (up to the last 0)
  int frac_max = 0;    // decimals shown at most
  bool grouping = false;
  int scale_thousands = 0;
  int percent = 0;
  bool scientific = false;
  int exp_zeros = 0;
};

bool IsDigitPlaceholder(char c) { return c == '0' || c == '#'; }

NumberPattern ParseNumberPattern(std::string_view s) {
  using ItemType = NumberPattern::ItemType;
  NumberPattern p;
  bool after_point = false;
  auto literal = [&p](std::string text) {
    if (!p.items.empty() && p.items.back().type == ItemType::kLiteral) {
      p.items.back().text += text;
    } else {
      p.items.push_back({ItemType::kLiteral, std::move(text)});
    }
  };
  for (size_t i = 0; i < s.size();) {
    std::string text;
    if (ReadLiteral(s, &i, &text)) {
      literal(text);
      continue;
    }
    char c = s[i];
    if (IsDigitPlaceholder(c)) {
      if (p.scientific) {
        if (c == '0') ++p.exp_zeros;
      } else if (after_point) {
        ++p.frac_max;
        if (c == '0') p.frac_zeros = p.frac_max;
        p.items.push_back({ItemType::kFracDigit, ""});
      } else {
        ++p.int_placeholders;
        if (c == '0') ++p.int_zeros;
        p.items.push_back({ItemType::kIntDigit, ""});
      }
      ++i;
    } else if (c == '.' && !after_point && !p.scientific) {
      after_point = true;
      p.items.push_back({ItemType::kPoint, ""});
      ++i;
    } else if (c == ',' && !p.scientific) {
      size_t end = s.find_first_not_of(',', i);
      bool digit_before = p.int_placeholders + p.frac_max > 0;
      bool digit_after = end != std::string_view::npos && IsDigitPlaceholder(s[end]);
      if (digit_after && !after_point) {
        p.grouping = true;
      } else if (digit_before && !digit_after) {
        p.scale_thousands += static_cast<int>((end == std::string_view::npos ? s.size() : end) - i);
      } else if (!digit_before && !digit_after) {
        literal(std::string(s.substr(i, end - i)));
      }
      i = end == std::string_view::npos ? s.size() : end;
    } else if ((c == 'E' || c == 'e') && i + 1 < s.size() && (s[i + 1] == '+' || s[i + 1] == '-') &&
               !p.scientific && p.int_placeholders + p.frac_max > 0) {
      p.scientific = true;
      p.items.push_back({ItemType::kExponent, std::string(s.substr(i, 2))});
      i += 2;
    } else {
      if (c == '%') ++p.percent;
      size_t len = std::min(Utf8Length(c), s.size() - i);
      literal(std::string(s.substr(i, len)));
      i += len;
    }
  }
  return p;
}

// Formats a non-negative number held as decimal digits by one section.
std::string FormatDecimal(Decimal d, std::string_view section) {
  using ItemType = NumberPattern::ItemType;
  NumberPattern p = ParseNumberPattern(section);
  Shift(&d, 2 * p.percent - 3 * p.scale_thousands);
  int exponent = 0;
  if (p.scientific) {
    int int_digits = std::max(1, p.int_placeholders);
    if (!d.digits.empty()) {
      exponent = d.exp - int_digits;
      d.exp = int_digits;
      RoundTo(&d, p.frac_max);
      if (d.exp > int_digits) {
        ++exponent;
        d.exp = int_digits;
      }
    }
  } else {
    RoundTo(&d, p.frac_max);
  }
  std::string int_text = IntegerDigits(d);
  if (static_cast<int>(int_text.size()) < p.int_zeros) {
    int_text.insert(0, p.int_zeros - int_text.size(), '0');
  }
  if (p.grouping) int_text = Grouped(int_text);
  std::string frac_text = FractionDigits(d).substr(0, p.frac_max);
  if (static_cast<int>(frac_text.size()) < p.frac_zeros) frac_text.resize(p.frac_zeros, '0');

  // Integer digits fill their placeholders from the right; digits beyond
  // them go in front of the first. Grouped digits are shown as one run.
  std::vector<std::string> int_fill(p.int_placeholders);
  if (p.int_placeholders > 0) {
    size_t take = p.grouping ? 0 : std::min<size_t>(int_text.size(), p.int_placeholders - 1);
    for (size_t k = 0; k < take; ++k) {
      int_fill[p.int_placeholders - 1 - k] = int_text[int_text.size() - 1 - k];
    }
    int_fill[0] = int_text.substr(0, int_text.size() - take);
  }
  std::string out;
  int int_index = 0;
  size_t frac_index = 0;
  // Without integer placeholders the integer digits stand before the first
  // placeholder of any other kind, or at the end.
  bool int_pending = p.int_placeholders == 0;
  for (const NumberPattern::Item& item : p.items) {
    if (int_pending && item.type != ItemType::kLiteral) {
      out += int_text;
      int_pending = false;
    }
    switch (item.type) {
      case ItemType::kLiteral:
        out += item.text;
        break;
      case ItemType::kIntDigit:
        out += int_fill[int_index++];
        break;
      case ItemType::kPoint:
        out += '.';
        break;
      case ItemType::kFracDigit:
        if (frac_index < frac_text.size()) out += frac_text[frac_index++];
        break;
      case ItemType::kExponent: {
        out += item.text[0];
        if (exponent < 0) {
          out += '-';
        } else if (item.text[1] == '+') {
          out += '+';
        }
        std::string digits = std::to_string(std::abs(exponent));
        if (static_cast<int>(digits.size()) < p.exp_zeros) {
          digits.insert(0, p.exp_zeros - digits.size(), '0');
        }
        out += digits;
        break;
      }
    }
  }
  if (int_pending) out += int_text;
  return out;
}

// A number by a pattern of up to four sections.
std::string FormatNumber(const Variant& number, const std::vector<std::string>& sections) {
  double value = number.NumericValue();
  Decimal magnitude = number.type() == VarType::kCurrency ? DecimalOf(number.AsCurrency())
                      : number.type() == VarType::kSingle ? DecimalOf(std::fabs(value), 7)
                                                          : DecimalOf(std::fabs(value), 15);
  if (value < 0 && sections.size() >= 2 && !sections[1].empty()) {
    return FormatDecimal(magnitude, sections[1]);
  }
  if (value == 0 && sections.size() >= 3 && !sections[2].empty()) {
    return FormatDecimal(magnitude, sections[2]);
  }
  std::string text = FormatDecimal(magnitude, sections[0]);
  return value < 0 ? "-" + text : text;
}

// ---- Dates -------------------------------------------------------------------

std::string TwoDigits(int n) {
  char buffer[16];
  std::snprintf(buffer, sizeof(buffer), "%02d", n);
  return buffer;
}

int DayOfYear(const DateParts& parts) {
  return static_cast<int>(std::floor(DateSerial(parts.year, parts.month, parts.day).serial) -
                          DateSerial(parts.year, 1, 1).serial) +
         1;
}

// The first day of week 1 of a year.
double FirstWeekStart(int year, int first_day, int first_week) {
  double jan1 = DateSerial(year, 1, 1).serial;
  int wd = Weekday(Date{jan1}, first_day);
  if (first_week == 2) return wd <= 4 ? jan1 - (wd - 1) : jan1 + (8 - wd);
  if (first_week == 3) return wd == 1 ? jan1 : jan1 + (8 - wd);
  return jan1 - (wd - 1);
}

bool HasAmPm(std::string_view section) {
  for (size_t i = 0; i < section.size();) {
    std::string ignored;
    if (ReadLiteral(section, &i, &ignored)) continue;
    if (IsAmPmAt(section, i)) return true;
    ++i;
  }
  return false;
}

std::string FormatDate(Date date, std::string_view section, int first_day, int first_week) {
  DateParts t = SplitDate(date);
  bool twelve_hour = HasAmPm(section);
  int hour12 = t.hour % 12 == 0 ? 12 : t.hour % 12;
  int shown_hour = twelve_hour ? hour12 : t.hour;
  std::string out;
  bool after_hour = false;  // an m or mm here means minutes
  for (size_t i = 0; i < section.size();) {
    if (ReadLiteral(section, &i, &out)) continue;
    char c = Lower(section[i]);
    size_t run = 1;
    while (i + run < section.size() && Lower(section[i + run]) == c) ++run;
    bool was_after_hour = after_hour;
    if (IsDateLetter(c) && c != 't') after_hour = false;
    if (StartsWithNoCase(section, i, "am/pm") || StartsWithNoCase(section, i, "a/p")) {
      bool am = t.hour < 12;
      bool full = StartsWithNoCase(section, i, "am/pm");
      std::string_view shown = section.substr(am ? i : i + (full ? 3 : 2), full ? 2 : 1);
      out += shown;
      i += full ? 5 : 3;
      continue;
    }
    if (StartsWithNoCase(section, i, "ampm")) {
      out += t.hour < 12 ? "AM" : "PM";
      i += 4;
      continue;
    }
    switch (c) {
      case 'c':
        out += DateText(date);
        break;
      case 'd':
        if (run == 1) out += std::to_string(t.day);
        if (run == 2) out += TwoDigits(t.day);
        if (run == 3) out += WeekdayName(Weekday(date), true);
        if (run == 4) out += WeekdayName(Weekday(date));
        if (run == 5) out += FormatDate(date, "m/d/yyyy", first_day, first_week);
        if (run >= 6) out += FormatDate(date, "dddd, mmmm d, yyyy", first_day, first_week);
        break;
      case 'w':
        out += std::to_string(run == 1 ? Weekday(date, first_day == 0 ? 1 : first_day)
                                       : WeekOfYear(date, first_day, first_week));
        break;
      case 'm':
        if (was_after_hour && run <= 2) {
          out += run == 1 ? std::to_string(t.minute) : TwoDigits(t.minute);
        } else if (run <= 2) {
          out += run == 1 ? std::to_string(t.month) : TwoDigits(t.month);
        } else {
          out += MonthName(t.month, run == 3);
        }
        break;
      case 'q':
        out += std::to_string((t.month - 1) / 3 + 1);
        break;
      case 'y':
        if (run == 1) out += std::to_string(DayOfYear(t));
        if (run == 2) out += TwoDigits(t.year % 100);
        if (run >= 3) out += std::to_string(t.year);
        break;
      case 'h':
        out += run == 1 ? std::to_string(shown_hour) : TwoDigits(shown_hour);
        after_hour = true;
        break;
      case 'n':
        out += run == 1 ? std::to_string(t.minute) : TwoDigits(t.minute);
        break;
      case 's':
        out += run == 1 ? std::to_string(t.second) : TwoDigits(t.second);
        break;
      case 't':
        if (run >= 5) {
          out += FormatDate(date, "h:nn:ss AM/PM", first_day, first_week);
        } else {
          out.append(section.substr(i, run));
        }
        break;
      default: {
        size_t len = std::min(Utf8Length(section[i]), section.size() - i);
        out.append(section.substr(i, len));
        i += len;
        continue;
      }
    }
    i += run;
  }
  return out;
}

// ---- Text --------------------------------------------------------------------

std::string FormatText(std::string_view text, std::string_view section) {
  bool left_to_right = false;
  int case_change = 0;  // -1 lower, 1 upper
  size_t placeholders = 0;
  for (size_t i = 0; i < section.size();) {
    std::string ignored;
    if (ReadLiteral(section, &i, &ignored)) continue;
    char c = section[i++];
    if (c == '!') left_to_right = true;
    if (c == '<') case_change = -1;
    if (c == '>') case_change = 1;
    if (c == '@' || c == '&') ++placeholders;
  }
  std::string source(text);
  if (case_change < 0) source = LCase(source);
  if (case_change > 0) source = UCase(source);
  std::u32string chars = ToUtf32(source);
  // Characters beyond the placeholders go first (right to left filling) or
  // last (left to right).
  size_t extra = chars.size() > placeholders ? chars.size() - placeholders : 0;
  size_t next = left_to_right ? 0 : extra;
  size_t missing = placeholders > chars.size() ? placeholders - chars.size() : 0;
  size_t seen = 0;
  std::string out;
  if (!left_to_right) out += ToUtf8(chars.substr(0, extra));
  for (size_t i = 0; i < section.size();) {
    if (ReadLiteral(section, &i, &out)) continue;
    char c = section[i];
    if (c == '@' || c == '&') {
      bool filled = left_to_right ? next < chars.size() : seen >= missing;
      if (filled) {
        AppendUtf8(chars[next++], &out);
      } else if (c == '@') {
        out += ' ';
      }
      ++seen;
      ++i;
    } else if (c == '!' || c == '<' || c == '>') {
      ++i;
    } else {
      size_t len = std::min(Utf8Length(c), section.size() - i);
      out.append(section.substr(i, len));
      i += len;
    }
  }
  if (left_to_right && next < chars.size()) out += ToUtf8(chars.substr(next));
  return out;
}

// ---- Named formats -----------------------------------------------------------

struct NamedFormat {
  std::string_view name;
  std::string_view pattern;
};

constexpr NamedFormat kNamedFormats[] = {
    {"Currency", "$#,##0.00;($#,##0.00)"},
    {"Fixed", "0.00"},
    {"Standard", "#,##0.00"},
    {"Percent", "0.00%"},
    {"Scientific", "0.00E+00"},
    {"Long Date", "dddd, mmmm d, yyyy"},
    {"Medium Date", "dd-mmm-yy"},
    {"Short Date", "m/d/yyyy"},
    {"Long Time", "h:nn:ss AM/PM"},
    {"Medium Time", "hh:nn AM/PM"},
    {"Short Time", "hh:nn"},
};

struct ChoiceFormat {
  std::string_view name;
  std::string_view yes;
  std::string_view no;
};

constexpr ChoiceFormat kChoiceFormats[] = {
    {"Yes/No", "Yes", "No"}, {"True/False", "True", "False"}, {"On/Off", "On", "Off"}};

// The value as a number for a number pattern; Empty when it is a text that
// does not read as one.
Variant AsNumber(const Variant& value) {
  if (value.IsString()) {
    if (auto n = ParseNumber(value.AsString())) return Variant(*n);
    Date d;
    if (ParseDate(value.AsString(), &d)) return Variant(d.serial);
    return Variant();
  }
  if (value.IsDate()) return Variant(value.AsDate().serial);
  if (value.IsBoolean()) return Variant(static_cast<int16_t>(value.AsBoolean() ? -1 : 0));
  if (value.IsEmpty()) return Variant(int16_t{0});
  return value;
}

// The value as a date for a date pattern; false for a text that is neither
// a date nor a number.
bool AsDate(const Variant& value, Date* out) {
  if (value.IsDate()) {
    *out = value.AsDate();
    return true;
  }
  if (value.IsString()) {
    if (ParseDate(value.AsString(), out)) return true;
    auto n = ParseNumber(value.AsString());
    if (!n) return false;
    *out = CDate(Variant(*n));
    return true;
  }
  *out = CDate(AsNumber(value));
  return true;
}

}  // namespace

int WeekOfYear(Date d, int first_day, int first_week) {
  if (first_day == 0) first_day = 1;
  double day = std::floor(d.serial);
  int year = SplitDate(d).year;
  double start = FirstWeekStart(year, first_day, first_week);
  if (day < start && year > 100) start = FirstWeekStart(year - 1, first_day, first_week);
  return static_cast<int>(std::floor((day - start) / 7)) + 1;
}

Variant Format(const Variant& value, std::string_view format, int first_day, int first_week) {
  if (value.IsObject() || value.IsArray() || value.IsRecord()) Raise(err::kTypeMismatch);
  if (format.empty()) {
    if (value.IsNull()) return value;
    return Variant(CStr(value));
  }
  for (const ChoiceFormat& choice : kChoiceFormats) {
    if (!EqualsNoCase(format, choice.name)) continue;
    if (value.IsNull()) return value;
    Variant number = AsNumber(value);
    if (number.IsEmpty()) return Variant(CStr(value));
    return Variant(std::string(number.NumericValue() != 0 ? choice.yes : choice.no));
  }
  if (EqualsNoCase(format, "General Number")) {
    if (value.IsNull()) return value;
    Variant number = AsNumber(value);
    return Variant(CStr(number.IsEmpty() ? value : number));
  }
  if (EqualsNoCase(format, "General Date")) {
    Date d;
    if (value.IsNull()) return value;
    if (!AsDate(value, &d)) return Variant(CStr(value));
    return Variant(DateText(d));
  }
  for (const NamedFormat& named : kNamedFormats) {
    if (EqualsNoCase(format, named.name)) {
      format = named.pattern;
      break;
    }
  }
  std::vector<std::string> sections = SplitSections(format);
  switch (Classify(sections[0])) {
    case Kind::kNumber: {
      if (value.IsNull()) {
        if (sections.size() < 4) return value;
        return Variant(FormatDecimal(Decimal(), sections[3]));
      }
      Variant number = AsNumber(value);
      if (number.IsEmpty()) return value;
      return Variant(FormatNumber(number, sections));
    }
    case Kind::kDate: {
      if (value.IsNull()) return value;
      Date d;
      if (!AsDate(value, &d)) return Variant(value.AsString());
      return Variant(FormatDate(d, sections[0], first_day, first_week));
    }
    case Kind::kText:
      if (value.IsNull()) return value;
      return Variant(FormatText(CStr(value), sections[0]));
  }
  return value;
}

}  // namespace qor::vb
