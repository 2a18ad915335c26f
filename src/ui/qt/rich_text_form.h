// The rich-text editor form qorRichTextForm of the Qt backend.
//
// The form edits a QTextDocument in the rich-text box rtf01 under the
// toolbar tb01. The toolbar's actions and their buttons carry the button
// keys as object names: Open, Save, Print, Preview, Bold, UnderLine, Italic,
// JustLeft, JustRight, JustCentre. The toolbar also holds three drop-down
// lists: tbcbFontName (every font family the platform reports, in its
// order), tbcbFontSize (8 to 72 in steps of 2) and tbcbFontColour (the four
// colours of kFontColours). Below the box, the status line sbStatus tells
// the caret's line and column; cbOk and cbCancel close the form.
//
// The toolbar and the lists change the selection only (with no selection,
// the format of the text typed next), and follow it: whenever the selection
// or the text changes they show its attributes. A list whose attribute
// differs within the selection keeps what it showed; a font or size that
// the list lacks is shown as typed text. Open and Save ask for the file
// through qorWinAPI's GetFileName and report through ShowError, ShowMessage
// and ShowUnderConstruction, so they reach the current ui backend like any
// other request.
//
// Needs a QApplication (EnsureQtApplication in qt_backend.h).

#ifndef QOR_UI_QT_RICH_TEXT_FORM_H_
#define QOR_UI_QT_RICH_TEXT_FORM_H_

#include <QAction>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QTextCursor>
#include <QTextEdit>
#include <QToolBar>
#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "qorsupport/ui/backend.h"

namespace qor::ui::qt {

// The entries of the colour list, in order, with the colour each stands for
// as a 0x00BBGGRR value.
struct FontColour {
  const char* name;
  int32_t value;
};
inline constexpr std::array<FontColour, 4> kFontColours = {
    {{"Black", 0}, {"Blue", 0xff0000}, {"Red", 255}, {"Green", 65280}}};

// The status line for a caret: " Line " + line + ", Column " + column, both
// counted from 1. Lines are counted as the box shows them, as the platform's
// rich-text box counts them: each paragraph, line break and wrapped line
// starts one (paragraphs only, until the box has laid the text out); the
// column counts characters from the start of the caret's line.
QString CaretStatus(const QTextCursor& cursor);

class RichTextDialog : public QDialog {
 public:
  // The text handed in is RTF or plain text; the caption is the request's
  // title as given.
  explicit RichTextDialog(const RichTextRequest& request, QWidget* parent = nullptr);

  // The document as RTF once the form was closed with OK; nullopt after
  // Cancel, Escape or the close control.
  std::optional<std::string> answer() const;

  // Why the text handed in could not be shown, "" when it could. The form
  // then opens with an empty document.
  const std::string& load_error() const { return load_error_; }

  // Does what pressing the toolbar button with this key does, with the
  // button's state as it is now (a pressed Bold button makes the selection
  // bold). The zero-length key shows an empty message; other keys that are
  // no button's do nothing.
  void PressButton(const QString& key);

  QTextEdit* editor() const { return editor_; }

 private:
  QAction* AddButton(const char* key, const QString& caption, const QString& tip, bool checkable);
  QComboBox* AddList(const char* name, const QStringList& entries, bool editable);
  void MergeFormat(const QTextCharFormat& format);
  void Justify(const QString& key, Qt::Alignment alignment);
  void OpenFile();
  void SaveFile();
  // Shows the selection's attributes on the toolbar, the lists and the
  // status line.
  void Refresh();

  QToolBar* toolbar_;
  QTextEdit* editor_;
  QComboBox* font_name_;
  QComboBox* font_size_;
  QComboBox* font_colour_;
  QLabel* status_;
  std::function<std::string(bool save)> choose_file_;
  std::string load_error_;
};

}  // namespace qor::ui::qt

#endif  // QOR_UI_QT_RICH_TEXT_FORM_H_
