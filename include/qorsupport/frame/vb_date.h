// Dates as VB keeps them.
//
// A date is an OLE automation date (Date in variant.h): the number of days
// since 1899-12-30 with the time of day as the fraction. The valid range is
// the VB one, 1 January 100 to 31 December 9999; anything outside it is an
// overflow (6) where a number is converted and not a date where a text is.
//
// Texts read as dates the way VB's CDate reads them in the US English locale
// (month before day, two-digit years 30-99 in the 1900s and 00-29 in the
// 2000s, month names and their three-letter forms, ISO year-first dates,
// a time with or without seconds and AM/PM).

#ifndef QOR_FRAME_VB_DATE_H_
#define QOR_FRAME_VB_DATE_H_

#include <string>
#include <string_view>

#include "qorsupport/frame/variant.h"

namespace qor::vb {

inline constexpr double kMinDateSerial = -657434.0;      // 100-01-01
inline constexpr double kMaxDateSerial = 2958465.99999;  // 9999-12-31 23:59:59

struct DateParts {
  int year = 1899;
  int month = 12;
  int day = 30;
  int hour = 0;
  int minute = 0;
  int second = 0;
};

// The calendar parts of a date, the time rounded to the second.
DateParts SplitDate(Date d);

// The date of exact parts; false when a part is out of its range (month
// 1-12, day within the month, hour 0-23, minute and second 0-59, year
// 100-9999).
bool MakeDate(const DateParts& parts, Date* out);

// DateSerial and TimeSerial: parts out of range carry over (month 13 is
// January of the next year, day 0 the last day of the month before). A
// result outside the valid range raises 5.
Date DateSerial(int year, int month, int day);
Date TimeSerial(int hour, int minute, int second);

// Weekday: 1 is Sunday with first_day 1 (vbSunday), as VB counts.
int Weekday(Date d, int first_day = 1);
int DaysInMonth(int year, int month);
bool IsLeapYear(int year);

// Reads a text as a date; false when it is not one.
bool ParseDate(std::string_view text, Date* out);

// The text of a date as CStr gives it: "3/7/2003", "2:05:09 PM", or both
// joined by a space; the day number 0 with no time is "12:00:00 AM".
std::string DateText(Date d);

// The names of months and weekdays in the US English locale (1-based).
std::string_view MonthName(int month, bool abbreviate = false);
std::string_view WeekdayName(int weekday, bool abbreviate = false);

// The current local date and time, and today at midnight.
Date Now();
Date Today();
// Seconds since midnight, as VB's Timer.
double Timer();

}  // namespace qor::vb

#endif  // QOR_FRAME_VB_DATE_H_
