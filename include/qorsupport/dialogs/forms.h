// qorForms: the message boxes and small modal dialogs an application and the
// library itself show.
//
// MsgGrunt turns three message parts and three small codes into a message
// box titled with the application name and a title word; the fixed variants
// (MsgYN, AlertRetry, ...) are MsgGrunt with set codes and a reading of the
// result. None of these methods catches errors; AlertCritical always raises
// error 9999 once its box is closed. The boxes go to the current ui backend.
//
// The forms: Requester (a yes/no question with free captions, title and
// fonts, its lines cut to the form's width), InputForm, CalendarForm and
// MenuForm (13 numbered choices answered by click or key) and RichTextForm
// (the rich-text editor). Each is built, shown modally and read within the
// call; its logic lives in the file of its form (requester.cc, calendar.cc,
// menu.cc, rich_text.cc).

#ifndef QOR_DIALOGS_FORMS_H_
#define QOR_DIALOGS_FORMS_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "qorsupport/frame/variant.h"

namespace qor {

// The requester form's lines are cut, never wrapped, to this width in
// millimetres, measured in the message font.
inline constexpr double kRequesterLineWidthMm = 250;

// The line without as many trailing characters as it takes for its width in
// the font to be at most width_mm.
std::string CutToWidth(const std::string& line, const std::string& font, int size, double width_mm);

// The input box of InputForm; nullopt when the user cancelled.
std::optional<std::string> AskInput(const std::string& msg, const std::string& default_text);

// What the calendar form ended with: whether OK was pressed, and the value
// CalendarForm returns.
struct CalendarOutcome {
  bool ok = false;
  Variant result = Variant::Null();
};
// The calendar form of CalendarForm. An initial date that is no date
// raises the conversion error (13) before anything is shown.
CalendarOutcome ShowCalendarForm(const Variant& initial_date, const std::string& title);

// The menu form's key map: the choice of a typed key, or nullopt for a key
// outside the map. The key need not belong to a shown item.
std::optional<int> MenuKeyChoice(char32_t key);

class qorForms : public Object {
 public:
  std::string_view ClassName() const override { return "qorForms"; }

  // Stores the application name every title uses.
  void SetAppName(const Variant& app_name);

  // Shows pMsg1, then pMsg2 and pMsg3 each on a line of its own when not
  // zero-length; returns the box's result code.
  int16_t MsgGrunt(const std::string& msg1, const std::string& msg2 = "",
                   const std::string& msg3 = "", int16_t button_type = 0, int16_t icon_type = 0,
                   int16_t default_button = 0);

  bool MsgYN(const std::string& msg1, const std::string& msg2 = "", const std::string& msg3 = "");
  int16_t MsgYNCancel(const std::string& msg1, const std::string& msg2 = "",
                      const std::string& msg3 = "");
  bool MsgOkCancel(const std::string& msg1, const std::string& msg2 = "",
                   const std::string& msg3 = "");
  bool CheckOk(const std::string& msg1 = "");
  // True when the user chose Cancel.
  bool AlertCancel(const std::string& msg1, const std::string& msg2 = "",
                   const std::string& msg3 = "");
  // Shows a critical alert, then raises error 9999 "Unknown critical error".
  [[noreturn]] void AlertCritical(const std::string& msg1, const std::string& msg2 = "",
                                  const std::string& msg3 = "");
  bool AlertRetry(const std::string& msg1, const std::string& msg2 = "",
                  const std::string& msg3 = "");
  // Compares with OK although the box offers Retry and Cancel: always False.
  bool MsgRetry(const std::string& msg1, const std::string& msg2 = "",
                const std::string& msg3 = "");

  // Asks for one line of text, titled with the application name; the text
  // confirmed, or "" when cancelled.
  Variant InputForm(const std::string& msg, const std::string& default_text = "");

  // Asks a yes/no question in the library's own form: up to three lines,
  // free button captions ("Yes" when pMsgYes is blank; no second button
  // when pMsgNo is blank), title ("  Request Form  " when blank) and fonts
  // ("MS Sans Serif" 10 for the lines, "Arial" 12 for the buttons when
  // blank). True only when the yes button was pressed. A negative font size
  // raises error 5.
  bool Requester(const std::string& msg1, const std::string& msg2 = "",
                 const std::string& msg3 = "", const std::string& msg_yes = "",
                 const std::string& msg_no = "", const std::string& title_bar = "",
                 const std::string& msg_font = "", int16_t msg_font_size = 0,
                 const std::string& button_font = "", int16_t button_font_size = 0);

  // Lets the user pick a date, starting at pInitialDate (today when blank).
  // The chosen Date on OK; on Cancel the initial date converted to a Date,
  // or Null when none was given. An initial value that is no date raises
  // the conversion error.
  Variant CalendarForm(const Variant& initial_date = Variant::Missing(),
                       const std::string& title = "");

  // Shows up to 13 numbered choices (blank labels are hidden and keep their
  // numbers) under two headings; returns the choice 1 to 13, 0 for cancel.
  int16_t MenuForm(const std::array<std::string, 13>& labels, const std::string& heading1 = "",
                   const std::string& heading2 = "", const std::string& title_bar = "");

  // Lets the user edit rich text in the library's editor form. The form
  // opens with pTextRTF (RTF, or plain text; Null and Empty as no text) or,
  // when pFilenameToLoad is not blank, with that file's content (RTF, or
  // plain text for other files); a file that cannot be read is reported
  // with ShowError and the form opens with pTextRTF. The permissions enable
  // the toolbar's Open, Save, and Print and Preview buttons. The caption is
  // pTitleBar, "  RichText Edit Form" when blank. True when the user closed
  // the form with OK: pTextRTF then holds the edited text as RTF (a
  // String); otherwise False, and pTextRTF is left as it was. Errors are
  // caught and shown with ShowErrorBox; the result is then False.
  bool RichTextForm(Variant& text_rtf, const std::string& filename_to_load = "",
                    bool file_open_allow = false, bool file_save_allow = false,
                    bool print_allow = false, const std::string& title_bar = "");
};

// The caption of the rich-text editor form when no title is given.
inline constexpr char kRichTextDefaultTitle[] = "  RichText Edit Form";
// Files larger than this are not loaded into the rich-text editor form.
inline constexpr size_t kRichTextMaxFileBytes = 64u << 20;

}  // namespace qor

#endif  // QOR_DIALOGS_FORMS_H_
