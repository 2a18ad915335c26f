// VB's Format function, for the US English locale of vb.h.
//
// Format(value, format) turns a number, date, Boolean or text into text by a
// pattern, as the VB runtime does:
//
// - Named formats, matched without regard to case: "General Number",
//   "Currency", "Fixed", "Standard", "Percent", "Scientific", "Yes/No",
//   "True/False", "On/Off", "General Date", "Long Date", "Medium Date",
//   "Short Date", "Long Time", "Medium Time", "Short Time".
// - Number patterns: 0 and # digit placeholders, "." decimal point, ","
//   thousands separator (between placeholders) or scaling by 1000 (right
//   after the last integer placeholder), "%" (times 100), E+ E- e+ e-
//   scientific notation, and up to four sections separated by ";" for
//   positive, negative, zero and Null values. Rounding is half away from zero
//   on the value's significant decimal digits (15 for a Double, 7 for a
//   Single, all four decimals of a Currency). A negative value formatted by
//   the first section gets a leading "-" (so -0.4 by "0" gives "-0", as VB).
// - Date patterns: d dd ddd dddd ddddd dddddd, w ww, m mm mmm mmmm (m and mm
//   right after an hour are minutes), q, y yy yyyy, h hh, n nn, s ss, ttttt,
//   c, AM/PM am/pm A/P a/p AMPM (12-hour clock), "/" and ":".
// - Text patterns: @ (a character or a space), & (a character or nothing),
//   < (lower case), > (upper case), ! (fill from the left).
// - Literals anywhere: "quoted text" and `\x`; other characters that are no
//   placeholder of the pattern's kind are copied.
//
// Which kind a pattern is follows from its placeholders: a digit placeholder
// makes a number pattern, else a date placeholder a date pattern, else @ or &
// a text pattern. A number is formatted by a date pattern as the date of its
// serial; a date by a number pattern as its serial; a text that reads as the
// pattern's kind is converted first, and any other text is returned as it is
// (through a text pattern's case and placeholders when it is one).
//
// An empty format gives CStr's text (Empty gives ""). Null gives Null unless
// a number pattern has a fourth section. A date pattern applied to a number
// outside the date range raises 6; an object or array raises 13.

#ifndef QOR_FRAME_VB_FORMAT_H_
#define QOR_FRAME_VB_FORMAT_H_

#include <string>
#include <string_view>

#include "qorsupport/frame/variant.h"

namespace qor::vb {

// VB's FirstDayOfWeek (1 vbSunday ... 7 vbSaturday; 0 means Sunday) and
// FirstWeekOfYear (1 the week of 1 January, 2 the first week with four days,
// 3 the first full week; 0 means 1) arguments; they matter to w and ww.
Variant Format(const Variant& value, std::string_view format = {}, int first_day_of_week = 1,
               int first_week_of_year = 1);

// The week of the year of a date, as DatePart("ww") counts it.
int WeekOfYear(Date d, int first_day_of_week = 1, int first_week_of_year = 1);

}  // namespace qor::vb

#endif  // QOR_FRAME_VB_FORMAT_H_
