// The requester, calendar and menu forms' logic, over the scripted backend.

#include <gtest/gtest.h>

#include "qorsupport/dialogs/forms.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "testing/test_util.h"

namespace qor {
namespace {

class FormDialogsTest : public ::testing::Test {
 protected:
  testing::ScriptedUi ui_;
  qorForms forms_;
};

std::string Line(const ui::UiEvent& e, int32_t i) {
  return e.Field("lines").AsArray().At({i}).AsString();
}

TEST_F(FormDialogsTest, RequesterDefaultsAndAnswers) {
  EXPECT_FALSE(forms_.Requester("Continue?"));  // closed: no answer
  ui_->Queue(Variant(6));
  EXPECT_TRUE(forms_.Requester("a", "", "c", "Go", "Stop", "Title", "Times", 14, "Mono", 9));
  ui_->Queue(Variant(7));
  EXPECT_FALSE(forms_.Requester("a", "", "", "", "No way"));
  ui_->Queue(Variant(7));  // there is no second button to press
  EXPECT_FALSE(forms_.Requester("a"));

  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 4u);
  const ui::UiEvent& d = events[0];
  EXPECT_EQ(d.Field("title"), Variant("  Request Form  "));
  EXPECT_EQ(d.Field("messageFont"), Variant("MS Sans Serif"));
  EXPECT_EQ(d.Field("messageFontSize"), Variant(10));
  EXPECT_EQ(d.Field("buttonFont"), Variant("Arial"));
  EXPECT_EQ(d.Field("buttonFontSize"), Variant(12));
  EXPECT_EQ(d.Field("yes"), Variant("Yes"));
  EXPECT_EQ(d.Field("no"), Variant(""));  // one button only
  EXPECT_EQ(Line(d, 0), "Continue?");
  EXPECT_EQ(Line(d, 1), "");
  EXPECT_EQ(d.Field("answer"), Variant::Null());
  const ui::UiEvent& g = events[1];
  EXPECT_EQ(g.Field("title"), Variant("Title"));
  EXPECT_EQ(g.Field("messageFont"), Variant("Times"));
  EXPECT_EQ(g.Field("buttonFontSize"), Variant(9));
  EXPECT_EQ(g.Field("no"), Variant("Stop"));
  EXPECT_EQ(Line(g, 2), "c");
  EXPECT_TRUE(events[3].mismatch);
  EXPECT_THROW(forms_.Requester("a", "", "", "", "", "", "", -1), Error);
}

TEST_F(FormDialogsTest, RequesterCutsLongLinesToTheWidth) {
  // The scripted backend measures a character as half the font size in
  // points: 10 pt gives 1.764 mm a character, so 141 characters fit 250 mm.
  std::string longest(141, 'x');
  std::string too_long = longest + "yz";
  ui_->Queue(Variant(6));
  forms_.Requester(too_long, longest, "\xC3\xA9" + std::string(200, 'e'));
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(Line(events[0], 0), longest);
  EXPECT_EQ(Line(events[0], 1), longest);
  // Characters, not bytes: the two-byte first character counts once.
  EXPECT_EQ(vb::Len(Line(events[0], 2)), 141);
  EXPECT_EQ(CutToWidth("abc", "x", 10, 0), "");
  EXPECT_EQ(CutToWidth("", "x", 10, 0), "");
}

TEST_F(FormDialogsTest, CalendarInitialDateTitleAndCancel) {
  const Date today = vb::Today();
  // No arguments: today shown, Null on Cancel.
  EXPECT_EQ(forms_.CalendarForm(), Variant::Null());
  // An initial date comes back on Cancel, as a date.
  EXPECT_EQ(forms_.CalendarForm(Variant("3/7/2003"), "Pick"), Variant(vb::DateSerial(2003, 3, 7)));
  // The chosen date on OK.
  ui_->Queue(Variant(vb::DateSerial(2024, 2, 29)));
  EXPECT_EQ(forms_.CalendarForm(Variant("3/7/2003")), Variant(vb::DateSerial(2024, 2, 29)));
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].Field("initial"), Variant(today));
  EXPECT_EQ(events[0].Field("title"), Variant("Calendar Form"));
  EXPECT_EQ(events[1].Field("title"), Variant("  Pick"));
  EXPECT_EQ(events[1].Field("initial"), Variant(vb::DateSerial(2003, 3, 7)));

  // An initial value that is no date: the conversion error, nothing shown.
  try {
    forms_.CalendarForm(Variant("not a date"));
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), err::kTypeMismatch);
  }
  EXPECT_TRUE(ui_->TakeEvents().empty());
  CalendarOutcome outcome = ShowCalendarForm(Variant::Missing(), "");
  EXPECT_FALSE(outcome.ok);
}

TEST_F(FormDialogsTest, MenuItemsHeadingsTitleAndKeys) {
  std::array<std::string, 13> labels;
  labels[0] = "Post";
  labels[1] = "Print";
  labels[4] = "Quit";
  labels[5] = "   ";  // blank: hidden
  ui_->Queue(Variant(5));
  EXPECT_EQ(forms_.MenuForm(labels, "Ledger", "", ""), 5);
  EXPECT_EQ(forms_.MenuForm(labels, "Ledger", "March", "Books"), 0);  // closed: 0
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 2u);
  const Array& items = events[0].Field("items").AsArray();
  ASSERT_EQ(items.ElementCount(), 13);
  EXPECT_EQ(items.At({4}), Variant("Quit"));
  EXPECT_EQ(items.At({5}), Variant(""));
  EXPECT_EQ(events[0].Field("title"), Variant("Menu Form"));
  EXPECT_EQ(events[0].Field("headings").AsArray().At({1}), Variant(""));
  EXPECT_EQ(events[1].Field("title"), Variant("  Books"));
  EXPECT_EQ(events[1].Field("headings").AsArray().At({1}), Variant("March"));

  // A menu of 13 blank items still shows (only its cancel button).
  EXPECT_EQ(forms_.MenuForm({}), 0);
  EXPECT_EQ(ui_->TakeEvents().size(), 1u);

  EXPECT_EQ(MenuKeyChoice(U'b'), 11);
  EXPECT_EQ(MenuKeyChoice(U'D'), 13);
  EXPECT_EQ(MenuKeyChoice(U'7'), 7);
  EXPECT_EQ(MenuKeyChoice(U'N'), 0);
  EXPECT_FALSE(MenuKeyChoice(U'0').has_value());
  EXPECT_FALSE(MenuKeyChoice(U'e').has_value());
}

}  // namespace
}  // namespace qor
