#include "qorsupport/frame/vb_format.h"

#include <gtest/gtest.h>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "testing/test_util.h"

namespace qor::vb {
namespace {

std::string F(const Variant& value, std::string_view format, int first_day = 1,
              int first_week = 1) {
  Variant result = Format(value, format, first_day, first_week);
  EXPECT_TRUE(result.IsString()) << format;
  return result.IsString() ? result.AsString() : "<not a string>";
}

// 7 March 2003, 14:05:09, a Friday.
Date Sample() { return Date{DateSerial(2003, 3, 7).serial + TimeSerial(14, 5, 9).serial}; }

TEST(VbFormatNumber, DigitPlaceholdersDecimalsAndGrouping) {
  EXPECT_EQ(F(5, "0.00"), "5.00");
  EXPECT_EQ(F(1234567.891, "#,##0.00"), "1,234,567.89");
  EXPECT_EQ(F(-1234.5, "#,##0.00"), "-1,234.50");
  EXPECT_EQ(F(999.999, "#,##0.00"), "1,000.00");  // rounding carries into a new group
  EXPECT_EQ(F(5, "000"), "005");
  EXPECT_EQ(F(1234, "00"), "1234");  // digits beyond the placeholders are kept
  EXPECT_EQ(F(0, "#"), "");
  EXPECT_EQ(F(0, "#,##0"), "0");
  EXPECT_EQ(F(5, "#.##"), "5.");  // the point stays, as VB shows it
  EXPECT_EQ(F(0.5, "#.00"), ".50");
  EXPECT_EQ(F(1.5, "0.0#"), "1.5");
  EXPECT_EQ(F(1.256, "0.0#"), "1.26");
  EXPECT_EQ(F(5.5, ".00"), "5.50");
  EXPECT_EQ(F(5551234567.0, "(000) 000-0000"), "(555) 123-4567");
  EXPECT_EQ(F(1234567, "#,##0,"), "1,235");  // a trailing comma divides by 1000
  EXPECT_EQ(F(12, "\\$0 \"units\""), "$12 units");
}

TEST(VbFormatNumber, RoundsHalfAwayFromZeroOnDecimalDigits) {
  EXPECT_EQ(F(2.5, "0"), "3");
  EXPECT_EQ(F(3.5, "0"), "4");
  EXPECT_EQ(F(-2.5, "0"), "-3");
  EXPECT_EQ(F(0.125, "0.00"), "0.13");
  EXPECT_EQ(F(1.005, "0.00"), "1.01");  // 1.005 read as its 15 decimal digits
  EXPECT_EQ(F(0.004, "0.00"), "0.00");
  EXPECT_EQ(F(0.005, "0.00"), "0.01");
  EXPECT_EQ(F(0.1f, "0.000000000"), "0.100000000");  // a Single has 7 digits
  EXPECT_EQ(F(CCur(Variant("12.345")), "0.00"), "12.35");
  EXPECT_EQ(F(Currency{INT64_MAX}, "#,##0.0000"),
            "922,337,203,685,477.5807");  // Currency keeps all its digits
}

TEST(VbFormatNumber, PercentAndScientific) {
  EXPECT_EQ(F(0.256, "0%"), "26%");
  EXPECT_EQ(F(0.5, "0.00%"), "50.00%");
  EXPECT_EQ(F(12345, "0.00E+00"), "1.23E+04");
  EXPECT_EQ(F(0.000123, "0.0E-00"), "1.2E-04");
  EXPECT_EQ(F(12345, "0.00e-00"), "1.23e04");
  EXPECT_EQ(F(9.999, "0.00E+00"), "1.00E+01");  // rounding moves the exponent
  EXPECT_EQ(F(0, "0.00E+00"), "0.00E+00");
}

TEST(VbFormatNumber, SectionsForNegativeZeroAndNull) {
  EXPECT_EQ(F(-5, "0;(0)"), "(5)");
  EXPECT_EQ(F(5, "0;(0)"), "5");
  EXPECT_EQ(F(0, "0.00;(0.00);\\z\\e\\r\\o"), "zero");
  EXPECT_EQ(F(-5, "0;;\"none\""), "-5");  // an empty section falls back to the first
  EXPECT_EQ(F(Variant::Null(), "0;-0;z;\"nil\""), "nil");
  EXPECT_TRUE(Format(Variant::Null(), "0.00").IsNull());
  EXPECT_TRUE(Format(Variant::Null()).IsNull());
}

TEST(VbFormatNumber, NamedFormats) {
  EXPECT_EQ(F(1234.5, "General Number"), "1234.5");
  EXPECT_EQ(F(1234.5, "Standard"), "1,234.50");
  EXPECT_EQ(F(1234.5, "fixed"), "1234.50");
  EXPECT_EQ(F(0.125, "Percent"), "12.50%");
  EXPECT_EQ(F(1234.5, "Scientific"), "1.23E+03");
  EXPECT_EQ(F(1234.567, "Currency"), "$1,234.57");
  EXPECT_EQ(F(-1234.567, "Currency"), "($1,234.57)");
  EXPECT_EQ(F(0, "Yes/No"), "No");
  EXPECT_EQ(F(-3, "Yes/No"), "Yes");
  EXPECT_EQ(F(true, "True/False"), "True");
  EXPECT_EQ(F("0", "On/Off"), "Off");
  EXPECT_EQ(F("maybe", "Yes/No"), "maybe");
}

TEST(VbFormatNumber, ValuesOfOtherKinds) {
  EXPECT_EQ(F("5", "0.00"), "5.00");
  EXPECT_EQ(F(" 1,234.5 ", "#,##0.0"), "1,234.5");
  EXPECT_EQ(F("abc", "0.00"), "abc");
  EXPECT_EQ(F(true, "0"), "-1");
  EXPECT_EQ(F(Variant(), "0.00"), "0.00");
  EXPECT_EQ(F(Date{37687}, "0"), "37687");
  EXPECT_EQ(F(5.5, ""), "5.5");
  EXPECT_EQ(F(Variant(), ""), "");
  EXPECT_EQ(F(Int16(12), "General Number"), "12");
  EXPECT_EQ(testing::ErrorNumberOf([] { Format(Variant::Nothing(), "0"); }), err::kTypeMismatch);
}

TEST(VbFormatDate, PartsAndClocks) {
  EXPECT_EQ(F(Sample(), "dd-mm-yyyy hh:nn:ss"), "07-03-2003 14:05:09");
  EXPECT_EQ(F(Sample(), "hh:nn:ss AM/PM"), "02:05:09 PM");
  EXPECT_EQ(F(Sample(), "h:nn am/pm"), "2:05 pm");
  EXPECT_EQ(F(Sample(), "h A/P"), "2 P");
  EXPECT_EQ(F(Sample(), "h AMPM"), "2 PM");
  EXPECT_EQ(F(Sample(), "mmmm d, yyyy"), "March 7, 2003");
  EXPECT_EQ(F(Sample(), "hh:mm"), "14:05");  // m after an hour is minutes
  EXPECT_EQ(F(Sample(), "m/d/yy h:m:s"), "3/7/03 14:5:9");
  EXPECT_EQ(F(Sample(), "ddd dddd mmm"), "Fri Friday Mar");
  EXPECT_EQ(F(Sample(), "q y"), "1 66");
  EXPECT_EQ(F(Sample(), "d \\o\\f mmmm \"at\" h"), "7 of March at 14");
  EXPECT_EQ(F(Sample(), "ddddd ttttt"), "3/7/2003 2:05:09 PM");
  EXPECT_EQ(F(Sample(), "dddddd"), "Friday, March 7, 2003");
  EXPECT_EQ(F(Sample(), "c"), "3/7/2003 2:05:09 PM");

  EXPECT_EQ(F(Date{0}, "hh:nn:ss AM/PM"), "12:00:00 AM");
  EXPECT_EQ(F(Date{0.5}, "hh:nn:ss AM/PM"), "12:00:00 PM");
  EXPECT_EQ(F(Date{0.5}, "hh:nn:ss"), "12:00:00");
}

TEST(VbFormatDate, NamedFormats) {
  EXPECT_EQ(F(Sample(), "Short Date"), "3/7/2003");
  EXPECT_EQ(F(Sample(), "Long Date"), "Friday, March 7, 2003");
  EXPECT_EQ(F(Sample(), "Medium Date"), "07-Mar-03");
  EXPECT_EQ(F(Sample(), "Long Time"), "2:05:09 PM");
  EXPECT_EQ(F(Sample(), "Medium Time"), "02:05 PM");
  EXPECT_EQ(F(Sample(), "Short Time"), "14:05");
  EXPECT_EQ(F(Sample(), "General Date"), "3/7/2003 2:05:09 PM");
  EXPECT_EQ(F(Date{DateSerial(2003, 3, 7).serial}, "General Date"), "3/7/2003");
}

TEST(VbFormatDate, WeekdayAndWeekOfYearFollowTheirArguments) {
  EXPECT_EQ(F(Sample(), "w"), "6");          // Sunday first
  EXPECT_EQ(F(Sample(), "w", 2), "5");       // Monday first
  EXPECT_EQ(F(Sample(), "ww"), "10");        // the week of 1 January is week 1
  EXPECT_EQ(F(Sample(), "ww", 2, 2), "10");  // ISO weeks
  EXPECT_EQ(F(Sample(), "ww", 2, 3), "9");   // first full week
  // 1 January 2005 is a Saturday: by the four-day rule it belongs to the
  // last week of 2004.
  EXPECT_EQ(WeekOfYear(DateSerial(2005, 1, 1), 2, 2), 53);
  EXPECT_EQ(WeekOfYear(DateSerial(2005, 1, 1), 1, 1), 1);
  EXPECT_EQ(WeekOfYear(DateSerial(2005, 1, 3), 2, 2), 1);
}

TEST(VbFormatDate, ValuesOfOtherKinds) {
  EXPECT_EQ(F(37687.5, "dd-mm-yyyy hh:nn"), "07-03-2003 12:00");
  EXPECT_EQ(F("3/7/2003 2:05 PM", "yyyy-mm-dd hh:nn"), "2003-03-07 14:05");
  EXPECT_EQ(F("abc", "yyyy"), "abc");
  EXPECT_TRUE(Format(Variant::Null(), "Short Date").IsNull());
  EXPECT_EQ(testing::ErrorNumberOf([] { Format(1e10, "dd"); }), err::kOverflow);
}

TEST(VbFormatText, PlaceholdersCaseAndFillDirection) {
  EXPECT_EQ(F("abc", ">"), "ABC");
  EXPECT_EQ(F("ÄBC", "<"), "äbc");
  EXPECT_EQ(F("12", "@@@@"), "  12");
  EXPECT_EQ(F("12", "!@@@@"), "12  ");
  EXPECT_EQ(F("12", "&&&&"), "12");
  EXPECT_EQ(F("12345", "@@@"), "12345");
  EXPECT_EQ(F("5551234", "@@@-@@@@"), "555-1234");
  EXPECT_EQ(F("é1", "@-@"), "é-1");
  EXPECT_EQ(F(42, "@@@@"), "  42");
}

}  // namespace
}  // namespace qor::vb
