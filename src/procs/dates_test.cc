#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/procs/procs.h"
#include "qorsupport/ui/backend.h"
#include "testing/test_util.h"

namespace qor {
namespace {

// A date and time; before 1899-12-30 the time is a positive fraction of a
// negative day number, as OLE dates keep it.
Variant D(int y, int m, int d, int h = 0, int n = 0, int s = 0) {
  double day = vb::DateSerial(y, m, d).serial;
  double time = vb::TimeSerial(h, n, s).serial;
  return Variant(Date{day < 0 ? day - time : day + time});
}

TEST(ProcsDates, WhereDateIsMonthDayYearWithThe1980CutOff) {
  qorProcs p;
  EXPECT_EQ(p.WhereDate(D(2003, 3, 7)), "3/7/2003");
  EXPECT_EQ(p.WhereDate(D(2003, 12, 25, 23, 59, 59)), "12/25/2003");  // the time is dropped
  EXPECT_EQ(p.WhereDate(D(1975, 3, 7)), "3/7/2075");
  EXPECT_EQ(p.WhereDate(D(1979, 12, 31)), "12/31/2079");
  EXPECT_EQ(p.WhereDate(D(1980, 1, 1)), "1/1/1980");
  EXPECT_EQ(p.WhereDate("12/25/2003"), "12/25/2003");
  EXPECT_EQ(p.WhereDate("March 7, 2003 14:00"), "3/7/2003");
  EXPECT_EQ(p.WhereDate("not a date"), "");
  EXPECT_EQ(p.WhereDate(37687.0), "");  // a number is not a date to the date test
  EXPECT_EQ(p.WhereDate(Variant::Null()), "");
  EXPECT_EQ(p.WhereDate("2/30/2003"), "");

  EXPECT_EQ(p.WhereDateString(D(2003, 3, 7)).AsString(), "#3/7/2003#");
  EXPECT_EQ(p.WhereDateString("nonsense").AsString(), "##");
}

TEST(ProcsDates, WhereDateTimestampAddsTheTwelveHourTime) {
  qorProcs p;
  EXPECT_EQ(p.WhereDateTimestamp(D(2003, 3, 7, 14, 5, 9)).AsString(), "#3/7/2003 02:05:09 PM#");
  EXPECT_EQ(p.WhereDateTimestamp(D(2003, 3, 7)).AsString(), "#3/7/2003 12:00:00 AM#");
  EXPECT_EQ(p.WhereDateTimestamp(D(1975, 3, 7, 0, 30)).AsString(), "#3/7/2075 12:30:00 AM#");
  EXPECT_EQ(p.WhereDateTimestamp("3/7/2003 9:15:00 AM").AsString(), "#3/7/2003 09:15:00 AM#");
  EXPECT_EQ(p.WhereDateTimestamp(Variant::Null()).AsString(), "# #");
}

TEST(ProcsDates, MondayOfTheWeekKeepsTheTime) {
  qorProcs p;
  EXPECT_EQ(p.DateOfMondayInWeek(D(2003, 3, 9)), D(2003, 3, 3));  // Sunday: six days back
  EXPECT_EQ(p.DateOfMondayInWeek(D(2003, 3, 3)), D(2003, 3, 3));
  EXPECT_EQ(p.DateOfMondayInWeek(D(2003, 3, 5, 10, 30)), D(2003, 3, 3, 10, 30));
  EXPECT_EQ(p.DateOfMondayInWeek("3/5/2003"), D(2003, 3, 3));
  EXPECT_EQ(p.DateOfMondayInWeek(D(2005, 1, 1)), D(2004, 12, 27));
  // Across the day numbers' zero (1899-12-30), where the time is kept as a
  // positive fraction of a negative day.
  EXPECT_EQ(p.DateOfMondayInWeek(D(1899, 12, 31, 6)), D(1899, 12, 25, 6));
  EXPECT_TRUE(p.DateOfMondayInWeek("garbage").IsNull());
  EXPECT_TRUE(p.DateOfMondayInWeek(Variant::Null()).IsNull());

  Variant monday = p.DateOfMondayThisWeek();
  ASSERT_TRUE(monday.IsDate());
  EXPECT_EQ(vb::Weekday(monday.AsDate(), 2), 1);
  double days_back = vb::Today().serial - monday.AsDate().serial;
  EXPECT_GE(days_back, 0);
  EXPECT_LE(days_back, 6);
}

TEST(ProcsDates, DayNameMatchesWholeNumbersOneToSeven) {
  qorProcs p;
  EXPECT_EQ(p.DayName(Long(7), true), "Sunday");
  EXPECT_EQ(p.DayName(Long(7)), "Su");
  EXPECT_EQ(p.DayName(Int16(4)), "Th");
  EXPECT_EQ(p.DayName(1.0, true), "Monday");
  EXPECT_EQ(p.DayName("6"), "Sa");
  EXPECT_EQ(p.DayName(Long(3), false, Long(99)), "W");  // the index is ignored
  for (const Variant& other :
       {Long(0), Long(8), Variant(2.5), Variant::Null(), Variant("x"), Variant(), Variant(true)}) {
    EXPECT_EQ(p.DayName(other, true), "");
    EXPECT_EQ(p.DayName(other, false), "");
  }
}

TEST(ProcsDates, WeekNumberOfMonthCountsFromTheFirstMonday) {
  qorProcs p;
  Variant one = Long(1), two = Long(2), four = Long(4), five = Long(5);
  // March 2003 starts on a Saturday; its first Monday is the 3rd.
  for (int day = 3; day <= 9; ++day) EXPECT_TRUE(p.IsItWeekNumOfMonth(one, D(2003, 3, day))) << day;
  EXPECT_FALSE(p.IsItWeekNumOfMonth(one, D(2003, 3, 10)));
  EXPECT_TRUE(p.IsItWeekNumOfMonth(two, D(2003, 3, 10, 18)));
  // 1 and 2 March lie in the last week of February (whose Monday is the 24th).
  EXPECT_FALSE(p.IsItWeekNumOfMonth(one, D(2003, 3, 2)));
  EXPECT_TRUE(p.IsItWeekNumOfMonth(four, D(2003, 3, 1)));
  // Across a year end: 1 January 2005 is in the fourth week of December 2004.
  EXPECT_TRUE(p.IsItWeekNumOfMonth(four, D(2005, 1, 1)));
  EXPECT_FALSE(p.IsItWeekNumOfMonth(five, D(2005, 1, 1)));
  EXPECT_TRUE(p.IsItWeekNumOfMonth(one, D(2005, 1, 3)));
  // A month that starts on a Monday.
  EXPECT_TRUE(p.IsItWeekNumOfMonth(one, D(2003, 9, 1)));
  EXPECT_TRUE(p.IsItWeekNumOfMonth(five, D(2003, 9, 29)));
  Variant text_week("2");
  EXPECT_TRUE(p.IsItWeekNumOfMonth(text_week, "3/12/2003"));
  EXPECT_EQ(text_week, Variant("2"));  // not changed

  Variant bad("abc");
  EXPECT_FALSE(p.IsItWeekNumOfMonth(bad, "not a date"));
  EXPECT_EQ(testing::ErrorNumberOf([&] { p.IsItWeekNumOfMonth(bad, D(2003, 3, 3)); }),
            err::kTypeMismatch);
}

TEST(ProcsDates, CVDateConvertsOrGivesNull) {
  qorProcs p;
  EXPECT_TRUE(p.qorCVDate("").IsNull());
  EXPECT_TRUE(p.qorCVDate(Variant::Null()).IsNull());
  EXPECT_TRUE(p.qorCVDate("13/45/2003").IsNull());
  EXPECT_EQ(p.qorCVDate("3/7/2003 2:05 PM"), D(2003, 3, 7, 14, 5));
  EXPECT_EQ(p.qorCVDate(D(1999, 1, 2)), D(1999, 1, 2));
}

// A scripted backend that counts how often pending events are processed.
class CountingBackend : public ui::ScriptedBackend {
 public:
  void ProcessEvents() override { ++calls; }
  int calls = 0;
};

TEST(ProcsDates, DelayWaitsWhileProcessingEvents) {
  if (vb::Timer() > 86400 - 5) GTEST_SKIP() << "too close to midnight, where Delay never ends";
  auto backend = std::make_shared<CountingBackend>();
  ui::ScopedBackend scope(backend);
  qorProcs p;
  int32_t tenths = 3;
  auto start = std::chrono::steady_clock::now();
  p.Delay(tenths);
  double waited = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_GE(waited, 0.25);
  EXPECT_LT(waited, 3.0);
  EXPECT_GT(backend->calls, 0);
  EXPECT_EQ(tenths, 3);

  int32_t none = -10;
  start = std::chrono::steady_clock::now();
  p.Delay(none);
  waited = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_LT(waited, 0.1);
}

}  // namespace
}  // namespace qor
