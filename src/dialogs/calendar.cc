// qorForms.CalendarForm: picking a date on a month calendar.

#include <cmath>

#include "qorsupport/dialogs/forms.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/ui/backend.h"

namespace qor {

CalendarOutcome ShowCalendarForm(const Variant& initial_date, const std::string& title) {
  CalendarOutcome outcome;
  ui::CalendarRequest request;
  // Loading the form: the calendar shows today or the initial date; a value
  // that is no date fails here, before anything is shown.
  const Variant initial = initial_date.IsMissing() ? Variant() : initial_date;
  request.initial = IsBlank(initial, true) ? vb::Today().serial : vb::CDate(initial).serial;
  request.title = IsNotBlank(Variant(title), false) ? "  " + title : "Calendar Form";

  std::optional<double> chosen = ui::Current().Calendar(request);
  if (chosen) {
    outcome.ok = true;
    outcome.result = Variant(Date{std::floor(*chosen)});
  } else if (IsNotBlank(initial, false)) {
    outcome.result = Variant(vb::CDate(initial));
  }
  return outcome;
}

Variant qorForms::CalendarForm(const Variant& initial_date, const std::string& title) {
  return ShowCalendarForm(initial_date, title).result;
}

}  // namespace qor
