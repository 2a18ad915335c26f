// The Qt 6 Widgets forms that answer the ui backend's requests.
//
// One class per request kind, each built from its request and read back
// with answer() once it has been closed. The widgets carry the control
// names of the library's forms as object names (List1, cbOk, cal01, cb01,
// tHeading1, ...) so that tests and accessibility tools find them. The
// QtBackend shows each modally with exec(); the gallery and the tests may
// also show them without a modal loop.
//
// Every class needs a QApplication (EnsureQtApplication in qt_backend.h).

#ifndef QOR_UI_QT_QT_DIALOGS_H_
#define QOR_UI_QT_QT_DIALOGS_H_

#include <QCalendarWidget>
#include <QDate>
#include <QDialog>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QStringList>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "qorsupport/ui/backend.h"

namespace qor::ui::qt {

QString ToQ(const std::string& s);
std::string FromQ(const QString& s);

// Dates: the OLE day number (its whole part) and back.
QDate DateOfSerial(double serial);
double SerialOfDate(const QDate& date);

// An OK (cbOk, the default button) and a Cancel button (cbCancel) at the
// right of a row, wired to the dialog's accept and reject.
QHBoxLayout* OkCancelRow(QDialog* dialog, const QString& ok_caption = "&OK");

// The object name of a message-box button by its result code ("cbOk").
QString ButtonName(int code);

// The message box of a style: exactly its buttons, its icon and its
// default button. Escape and the close control give Cancel where there is a
// Cancel button, OK for an OK-only box, and do nothing otherwise.
class MsgBoxDialog : public QMessageBox {
 public:
  explicit MsgBoxDialog(const MsgBoxRequest& request, QWidget* parent = nullptr);
  // The code of the button pressed, or of closing the box.
  int answer() const;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  std::optional<int> close_answer_;
};

// The input box: lblPrompt, txtAnswer, cbOk, cbCancel.
class InputDialog : public QDialog {
 public:
  explicit InputDialog(const InputBoxRequest& request, QWidget* parent = nullptr);
  std::optional<std::string> answer() const;

 private:
  QLineEdit* edit_;
};

// The list form qorListForm: List1, cbOk, cbCancel (cbPrint is kept
// hidden). A click or Enter on an entry records it, a double-click also
// closes the form; multiple choice toggles entries by click.
class ListDialog : public QDialog {
 public:
  explicit ListDialog(const ListRequest& request, QWidget* parent = nullptr);
  ListAnswer answer() const;
  QListWidget* list() const { return list_; }

 private:
  QListWidget* list_;
};

// The calendar form qorCalendarForm: cal01, cbOk, cbCancel.
class CalendarDialog : public QDialog {
 public:
  explicit CalendarDialog(const CalendarRequest& request, QWidget* parent = nullptr);
  std::optional<double> answer() const;
  QCalendarWidget* calendar() const { return calendar_; }

 private:
  QCalendarWidget* calendar_;
};

// The menu form qorMenuForm: tHeading1, tHeading2, cb01..cb13 with the text
// boxes t01..t13, cbCancel. Keys 1-9, A-D and N answer as the key map says,
// whether or not the row is shown.
class MenuDialog : public QDialog {
 public:
  explicit MenuDialog(const MenuRequest& request, QWidget* parent = nullptr);
  int answer() const { return choice_; }

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void Choose(int choice);
  std::map<char32_t, int> keys_;
  int choice_ = 0;
};

// The requester form qorRequesterForm: lblMsg1..lblMsg3 in the message
// font, the buttons cbYes and (with a no caption) cbNo in the button font.
class RequesterDialog : public QDialog {
 public:
  explicit RequesterDialog(const RequesterRequest& request, QWidget* parent = nullptr);
  std::optional<int> answer() const { return answer_; }

 private:
  std::optional<int> answer_;
};

// The name filters of a filter text ("Text (*.txt;*.log)\0*.txt;*.log\0\0"
// gives "Text (*.txt *.log)"); pairs end at the first empty name.
QStringList QtNameFilters(const std::string& filter);
// The folder itself when it exists, else its nearest existing ancestor,
// else "" (the dialog's own choice).
QString ExistingFolder(const std::string& folder);

// The file dialog (qorFileDialog): title, filters, starting folder; the
// file must exist when the flags ask so (0x1000), else any name may be
// given, as for saving.
class FileDialog : public QFileDialog {
 public:
  explicit FileDialog(const FileDialogRequest& request, QWidget* parent = nullptr);
  std::optional<std::string> answer() const;
};

// The folder dialog (qorFolderDialog): folders only.
class FolderDialog : public QFileDialog {
 public:
  explicit FolderDialog(const FolderDialogRequest& request, QWidget* parent = nullptr);
  std::optional<std::string> answer() const;
};

}  // namespace qor::ui::qt

#endif  // QOR_UI_QT_QT_DIALOGS_H_
