#include "qorsupport/frame/vb_date.h"

#include <sys/time.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <vector>

#include "qorsupport/frame/error.h"

namespace qor::vb {

namespace {

// Days from 1970-01-01 to a civil date (proleptic Gregorian), after
// Howard Hinnant's well-known algorithm.
int64_t DaysFromCivil(int64_t y, int m, int d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t yoe = y - era * 400;
  const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

void CivilFromDays(int64_t z, int* year, int* month, int* day) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const int64_t doe = z - era * 146097;
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const int64_t mp = (5 * doy + 2) / 153;
  *day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  *month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  *year = static_cast<int>(yoe + era * 400 + (*month <= 2));
}

const int64_t kEpochOffset = DaysFromCivil(1899, 12, 30);

// The serial of a day number (days since 1899-12-30) and a time fraction.
double Compose(int64_t days, double time_fraction) {
  return days >= 0 ? static_cast<double>(days) + time_fraction
                   : static_cast<double>(days) - time_fraction;
}

constexpr std::string_view kMonths[] = {"January",   "February", "March",    "April",
                                        "May",       "June",     "July",     "August",
                                        "September", "October",  "November", "December"};
constexpr std::string_view kMonthsShort[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::string_view kWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                          "Thursday", "Friday", "Saturday"};
constexpr std::string_view kWeekdaysShort[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

bool EqualsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

// Month number of a month name (full, or three or more of its first
// letters), 0 when the word is none.
int MonthOfWord(std::string_view word) {
  if (word.size() < 3) return 0;
  for (int m = 0; m < 12; ++m) {
    if (word.size() <= kMonths[m].size() && EqualsNoCase(word, kMonths[m].substr(0, word.size()))) {
      return m + 1;
    }
  }
  return 0;
}

bool IsWeekdayWord(std::string_view word) {
  if (word.size() < 3) return false;
  for (std::string_view name : kWeekdays) {
    if (word.size() <= name.size() && EqualsNoCase(word, name.substr(0, word.size()))) return true;
  }
  return false;
}

struct Token {
  enum Kind { kNumber, kWord, kColon } kind = kNumber;
  int value = 0;
  int digits = 0;
  std::string text;
};

bool Tokenize(std::string_view s, std::vector<Token>* tokens) {
  size_t i = 0;
  while (i < s.size()) {
    char c = s[i];
    if (std::isdigit(static_cast<unsigned char>(c))) {
      Token t;
      t.kind = Token::kNumber;
      while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) {
        if (t.digits >= 9) return false;
        t.value = t.value * 10 + (s[i] - '0');
        ++t.digits;
        ++i;
      }
      tokens->push_back(t);
    } else if (std::isalpha(static_cast<unsigned char>(c))) {
      Token t;
      t.kind = Token::kWord;
      while (i < s.size() && std::isalpha(static_cast<unsigned char>(s[i])))
        t.text.push_back(s[i++]);
      tokens->push_back(t);
    } else if (c == ':') {
      Token t;
      t.kind = Token::kColon;
      tokens->push_back(t);
      ++i;
    } else if (c == '/' || c == '-' || c == '.' || c == ',' || c == ' ' || c == '\t') {
      ++i;
    } else {
      return false;
    }
  }
  return true;
}

int ExpandYear(const Token& t) {
  if (t.digits <= 2) return t.value < 30 ? 2000 + t.value : 1900 + t.value;
  return t.value;
}

bool LooksLikeYear(const Token& t) { return t.digits >= 3 || t.value > 31; }

}  // namespace

bool IsLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month == 2 && IsLeapYear(year)) return 29;
  return kDays[(month - 1) % 12];
}

DateParts SplitDate(Date d) {
  double serial = d.serial;
  int64_t days = static_cast<int64_t>(std::trunc(serial));
  double frac = std::fabs(serial - static_cast<double>(days));
  int64_t seconds = static_cast<int64_t>(std::llround(frac * 86400.0));
  if (seconds >= 86400) {
    seconds -= 86400;
    days += 1;
  }
  DateParts p;
  CivilFromDays(days + kEpochOffset, &p.year, &p.month, &p.day);
  p.hour = static_cast<int>(seconds / 3600);
  p.minute = static_cast<int>((seconds / 60) % 60);
  p.second = static_cast<int>(seconds % 60);
  return p;
}

bool MakeDate(const DateParts& p, Date* out) {
  if (p.year < 100 || p.year > 9999 || p.month < 1 || p.month > 12 || p.day < 1 ||
      p.day > DaysInMonth(p.year, p.month) || p.hour < 0 || p.hour > 23 || p.minute < 0 ||
      p.minute > 59 || p.second < 0 || p.second > 59) {
    return false;
  }
  int64_t days = DaysFromCivil(p.year, p.month, p.day) - kEpochOffset;
  double time = (p.hour * 3600 + p.minute * 60 + p.second) / 86400.0;
  out->serial = Compose(days, time);
  return true;
}

Date DateSerial(int year, int month, int day) {
  // Years 0-29 and 30-99 are taken as VB takes two-digit years.
  if (year >= 0 && year < 30)
    year += 2000;
  else if (year >= 30 && year < 100)
    year += 1900;
  int64_t m0 = static_cast<int64_t>(year) * 12 + (month - 1);
  int64_t y = m0 >= 0 ? m0 / 12 : (m0 - 11) / 12;
  int m = static_cast<int>(m0 - y * 12) + 1;
  int64_t days = DaysFromCivil(y, m, 1) - kEpochOffset + (day - 1);
  if (days < kMinDateSerial || days > kMaxDateSerial) Raise(err::kInvalidCall);
  return Date{static_cast<double>(days)};
}

Date TimeSerial(int hour, int minute, int second) {
  double total = hour * 3600.0 + minute * 60.0 + second;
  // A negative time counts back from midnight of day 0.
  double serial = total / 86400.0;
  if (serial < 0) {
    double days = std::floor(serial);
    return Date{Compose(static_cast<int64_t>(days), serial - days)};
  }
  return Date{serial};
}

int Weekday(Date d, int first_day) {
  DateParts p = SplitDate(d);
  int64_t days = DaysFromCivil(p.year, p.month, p.day);           // 1970-01-01 was a Thursday
  int sunday_based = static_cast<int>(((days + 4) % 7 + 7) % 7);  // 0 = Sunday
  if (first_day < 1 || first_day > 7) first_day = 1;
  return ((sunday_based - (first_day - 1)) % 7 + 7) % 7 + 1;
}

bool ParseDate(std::string_view text, Date* out) {
  std::vector<Token> tokens;
  if (!Tokenize(text, &tokens) || tokens.empty()) return false;

  // Pick out the time: h:nn[:ss] and an AM/PM word, or a number followed by
  // AM/PM.
  bool has_time = false;
  int hour = 0, minute = 0, second = 0;
  std::vector<Token> rest;
  for (size_t i = 0; i < tokens.size(); ++i) {
    const Token& t = tokens[i];
    bool colon_follows = i + 2 < tokens.size() && tokens[i + 1].kind == Token::kColon &&
                         tokens[i + 2].kind == Token::kNumber;
    bool ampm_follows =
        i + 1 < tokens.size() && tokens[i + 1].kind == Token::kWord &&
        (EqualsNoCase(tokens[i + 1].text, "AM") || EqualsNoCase(tokens[i + 1].text, "PM") ||
         EqualsNoCase(tokens[i + 1].text, "A") || EqualsNoCase(tokens[i + 1].text, "P"));
    if (t.kind == Token::kNumber && !has_time && (colon_follows || ampm_follows)) {
      has_time = true;
      hour = t.value;
      size_t j = i + 1;
      if (colon_follows) {
        minute = tokens[i + 2].value;
        j = i + 3;
        if (j + 1 < tokens.size() && tokens[j].kind == Token::kColon &&
            tokens[j + 1].kind == Token::kNumber) {
          second = tokens[j + 1].value;
          j += 2;
        }
      }
      if (j < tokens.size() && tokens[j].kind == Token::kWord) {
        std::string_view w = tokens[j].text;
        bool am = EqualsNoCase(w, "AM") || EqualsNoCase(w, "A");
        bool pm = EqualsNoCase(w, "PM") || EqualsNoCase(w, "P");
        if (am || pm) {
          if (hour < 1 || hour > 12) return false;
          if (am && hour == 12) hour = 0;
          if (pm && hour != 12) hour += 12;
          ++j;
        }
      }
      i = j - 1;
      continue;
    }
    if (t.kind == Token::kColon) return false;
    rest.push_back(t);
  }
  if (hour > 23 || minute > 59 || second > 59) return false;

  int month_word = 0;
  std::vector<Token> numbers;
  for (const Token& t : rest) {
    if (t.kind == Token::kNumber) {
      numbers.push_back(t);
    } else if (int m = MonthOfWord(t.text)) {
      if (month_word) return false;
      month_word = m;
    } else if (!IsWeekdayWord(t.text)) {
      return false;
    }
  }

  DateParts p;
  p.hour = hour;
  p.minute = minute;
  p.second = second;
  if (numbers.empty() && !month_word) {
    if (!has_time) return false;
    Date d;
    p.year = 1899;
    p.month = 12;
    p.day = 30;
    if (!MakeDate(p, &d)) return false;
    *out = d;
    return true;
  }
  DateParts today = SplitDate(Today());
  if (month_word) {
    p.month = month_word;
    if (numbers.size() == 2) {
      if (LooksLikeYear(numbers[0])) {
        p.year = ExpandYear(numbers[0]);
        p.day = numbers[1].value;
      } else {
        p.day = numbers[0].value;
        p.year = ExpandYear(numbers[1]);
      }
    } else if (numbers.size() == 1) {
      if (LooksLikeYear(numbers[0])) {
        p.year = ExpandYear(numbers[0]);
        p.day = 1;
      } else {
        p.day = numbers[0].value;
        p.year = today.year;
      }
    } else {
      return false;
    }
  } else if (numbers.size() == 3) {
    if (LooksLikeYear(numbers[0])) {
      p.year = ExpandYear(numbers[0]);
      p.month = numbers[1].value;
      p.day = numbers[2].value;
    } else {
      p.month = numbers[0].value;
      p.day = numbers[1].value;
      p.year = ExpandYear(numbers[2]);
      if (p.month > 12 && p.day <= 12) std::swap(p.month, p.day);
    }
  } else if (numbers.size() == 2) {
    if (LooksLikeYear(numbers[1])) {
      p.month = numbers[0].value;
      p.day = 1;
      p.year = ExpandYear(numbers[1]);
    } else if (LooksLikeYear(numbers[0])) {
      p.year = ExpandYear(numbers[0]);
      p.month = numbers[1].value;
      p.day = 1;
    } else {
      p.month = numbers[0].value;
      p.day = numbers[1].value;
      p.year = today.year;
      if (p.month > 12 && p.day <= 12) std::swap(p.month, p.day);
    }
  } else {
    return false;
  }
  return MakeDate(p, out);
}

std::string DateText(Date d) {
  DateParts p = SplitDate(d);
  double serial = d.serial;
  bool has_date = std::trunc(serial) != 0;
  bool has_time = p.hour != 0 || p.minute != 0 || p.second != 0;
  char buffer[64];
  std::string out;
  if (has_date || !has_time) {
    if (has_date) {
      std::snprintf(buffer, sizeof(buffer), "%d/%d/%d", p.month, p.day, p.year);
      out = buffer;
    }
  }
  if (has_time || !has_date) {
    int h12 = p.hour % 12 == 0 ? 12 : p.hour % 12;
    std::snprintf(buffer, sizeof(buffer), "%d:%02d:%02d %s", h12, p.minute, p.second,
                  p.hour < 12 ? "AM" : "PM");
    if (!out.empty()) out += " ";
    out += buffer;
  }
  return out;
}

std::string_view MonthName(int month, bool abbreviate) {
  if (month < 1 || month > 12) Raise(err::kInvalidCall);
  return abbreviate ? kMonthsShort[month - 1] : kMonths[month - 1];
}

std::string_view WeekdayName(int weekday, bool abbreviate) {
  if (weekday < 1 || weekday > 7) Raise(err::kInvalidCall);
  return abbreviate ? kWeekdaysShort[weekday - 1] : kWeekdays[weekday - 1];
}

Date Now() {
  struct timeval tv;
  gettimeofday(&tv, nullptr);
  struct tm local;
  time_t seconds = tv.tv_sec;
  localtime_r(&seconds, &local);
  DateParts p{local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
              local.tm_hour,        local.tm_min,     local.tm_sec};
  Date d;
  MakeDate(p, &d);
  return d;
}

Date Today() { return Date{std::trunc(Now().serial)}; }

double Timer() {
  struct timeval tv;
  gettimeofday(&tv, nullptr);
  struct tm local;
  time_t seconds = tv.tv_sec;
  localtime_r(&seconds, &local);
  return local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec + tv.tv_usec / 1e6;
}

}  // namespace qor::vb
