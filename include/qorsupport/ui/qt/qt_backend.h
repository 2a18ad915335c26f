// The Qt 6 Widgets backend of the ui seam.
//
// Every request is answered by a real modal dialog (qt_dialogs.h) shown
// with exec() on the caller's thread. The backend uses the program's own
// QApplication when it has one and creates one on first use otherwise; as
// with every Qt widget, requests must come from the thread that runs it.
//
// Selection: the library links this backend in its own library
// (qorsupport_qt), which registers the maker "qt" with
// ui::RegisterBackendMaker when it is loaded; RegisterQtBackend does the
// same explicitly. The maker declines (so that the headless backend
// answers and nothing waits for a user who cannot see the dialog) when no
// QApplication exists and either no display server can be reached or the
// Qt platform is one without a screen (offscreen, minimal) and QOR_UI does
// not ask for qt by name.
//
// RichText shows the editor form of rich_text_form.h; text handed in that
// cannot be shown is reported with ShowError before the form opens (empty).

#ifndef QOR_UI_QT_QT_BACKEND_H_
#define QOR_UI_QT_QT_BACKEND_H_

#include <memory>

#include "qorsupport/ui/backend.h"
#include "qorsupport/ui/headless.h"

namespace qor::ui {

// Creates the QApplication when the program has none; false when a
// QCoreApplication without widgets is running.
bool EnsureQtApplication();

// Whether a Qt window could be shown to a user right now (see above).
bool QtDisplayUsable();

class QtBackend : public Backend {
 public:
  int MsgBox(const MsgBoxRequest& request) override;
  std::optional<std::string> InputBox(const InputBoxRequest& request) override;
  ListAnswer List(const ListRequest& request) override;
  std::optional<double> Calendar(const CalendarRequest& request) override;
  int Menu(const MenuRequest& request) override;
  std::optional<int> Requester(const RequesterRequest& request) override;
  std::optional<std::string> FileDialog(const FileDialogRequest& request) override;
  std::optional<std::string> FolderDialog(const FolderDialogRequest& request) override;
  std::optional<std::string> RichText(const RichTextRequest& request) override;
  double TextWidthMm(const std::string& font, int size, const std::string& text) override;
  int PixelsPerInch() override;
  void ProcessEvents() override;
  void Beep() override;

 private:
  DefaultAnswers defaults_;
};

// A QtBackend when Qt can show windows (see above), else nullptr.
std::shared_ptr<Backend> MakeQtBackend();
// Registers MakeQtBackend as the maker "qt" (done on load as well).
void RegisterQtBackend();

}  // namespace qor::ui

#endif  // QOR_UI_QT_QT_BACKEND_H_
