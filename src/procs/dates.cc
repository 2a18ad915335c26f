// The date procedures of qorProcs: Jet SQL date literals, weeks that start
// on Monday, a safe date conversion and the busy-wait delay.

#include <cmath>
#include <string>
#include <thread>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/frame/vb_format.h"
#include "qorsupport/procs/procs.h"
#include "qorsupport/ui/backend.h"

namespace qor {

namespace {

constexpr int kMonday = 2;  // VB's vbMonday as the first day of the week

// The day number of a date (days since 1899-12-30), without its time.
double DayOf(Date d) { return std::trunc(d.serial); }

// The time of day of a date, as a fraction of a day.
double TimeOf(Date d) { return std::fabs(d.serial - DayOf(d)); }

// A date moved by whole days, its time of day kept.
Date AddDays(Date d, double days) {
  double day = DayOf(d) + days;
  double time = TimeOf(d);
  return Date{day >= 0 ? day + time : day - time};
}

}  // namespace

std::string qorProcs::WhereDate(const Variant& pDate) {
  if (!vb::IsDate(pDate)) return std::string();
  vb::DateParts parts = vb::SplitDate(Date{DayOf(vb::CDate(pDate))});
  int year = parts.year < 1980 ? parts.year + 100 : parts.year;
  return std::to_string(parts.month) + "/" + std::to_string(parts.day) + "/" + std::to_string(year);
}

Variant qorProcs::WhereDateString(const Variant& pDate) {
  return Variant("#" + WhereDate(pDate) + "#");
}

Variant qorProcs::WhereDateTimestamp(const Variant& pTimeStamp) {
  Variant day, time;
  if (vb::IsDate(pTimeStamp)) {
    Date d = vb::CDate(pTimeStamp);
    day = Variant(Date{DayOf(d)});
    time = Variant(Date{TimeOf(d)});
  } else if (vb::IsNumeric(pTimeStamp)) {
    double serial = vb::CDbl(pTimeStamp);
    day = Variant(std::trunc(serial));
    time = Variant(Date{std::fabs(serial - std::trunc(serial))});
  }
  std::string time_text =
      time.IsEmpty() ? std::string() : vb::Format(time, "hh:nn:ss AM/PM", 1, 1).AsString();
  return Variant("#" + WhereDate(day) + " " + time_text + "#");
}

Variant qorProcs::DateOfMondayInWeek(const Variant& pDateInWeek) {
  try {
    Date d = vb::CDate(pDateInWeek);
    return Variant(AddDays(d, -(vb::Weekday(d, kMonday) - 1)));
  } catch (const Error&) {
    return Variant::Null();
  }
}

Variant qorProcs::DateOfMondayThisWeek() { return DateOfMondayInWeek(Variant(vb::Today())); }

std::string qorProcs::DayName(const Variant& pDay, bool pLongVersion, const Variant& /*pIndex*/) {
  static constexpr std::string_view kShort[] = {"M", "T", "W", "Th", "F", "Sa", "Su"};
  static constexpr std::string_view kLong[] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                               "Friday", "Saturday", "Sunday"};
  if (!pDay.IsDate() && !vb::IsNumeric(pDay)) return std::string();
  double n = pDay.IsDate() ? pDay.AsDate().serial : vb::CDbl(pDay);
  if (n != std::floor(n) || n < 1 || n > 7) return std::string();
  int index = static_cast<int>(n) - 1;
  return std::string(pLongVersion ? kLong[index] : kShort[index]);
}

bool qorProcs::IsItWeekNumOfMonth(Variant& pWeekNum, const Variant& pDate) {
  if (!vb::IsDate(pDate)) return false;
  double week = vb::CDbl(pWeekNum);
  Date day{DayOf(vb::CDate(pDate))};
  Date monday = AddDays(day, -(vb::Weekday(day, kMonday) - 1));
  vb::DateParts parts = vb::SplitDate(monday);
  Date first_monday = vb::DateSerial(parts.year, parts.month, 1);
  while (vb::Weekday(first_monday, kMonday) != 1) first_monday = AddDays(first_monday, 1);
  return first_monday.serial + (week - 1) * 7 == monday.serial;
}

Variant qorProcs::qorCVDate(const Variant& pVar) {
  if (pVar.IsNull() || !vb::IsDate(pVar)) return Variant::Null();
  return Variant(vb::CDate(pVar));
}

void qorProcs::Delay(int32_t& pTenths) {
  // The clock is read as VB's single-precision Timer and never unwrapped.
  float start = static_cast<float>(vb::Timer());
  double target = start + pTenths / 10.0;
  while (static_cast<float>(vb::Timer()) <= target) {
    ui::Current().ProcessEvents();
    std::this_thread::yield();  // a busy wait, but polite to other threads
  }
}

}  // namespace qor
