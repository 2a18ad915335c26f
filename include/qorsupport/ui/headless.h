// The backend for a process without a display.
//
// Each request is written to standard error (message boxes as their title
// and text) and answered as a user who accepts the default would answer: a
// message box with its default button, every form with Cancel, the menu
// with 0. DefaultAnswers holds those answers so that the scripted backend
// can fall back on exactly the same ones.

#ifndef QOR_UI_HEADLESS_H_
#define QOR_UI_HEADLESS_H_

#include <cstdio>
#include <memory>

#include "qorsupport/ui/backend.h"

namespace qor::ui {

// The answers of a user who accepts every default; writes nothing.
class DefaultAnswers : public Backend {
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
  // An estimate: an average character is half the font size wide.
  double TextWidthMm(const std::string& font, int size, const std::string& text) override;
  int PixelsPerInch() override { return 96; }
  void ProcessEvents() override {}
  void Beep() override {}
};

// DefaultAnswers that also writes each request to a stream (stderr).
class HeadlessBackend : public DefaultAnswers {
 public:
  explicit HeadlessBackend(FILE* out = stderr) : out_(out) {}

  int MsgBox(const MsgBoxRequest& request) override;
  std::optional<std::string> InputBox(const InputBoxRequest& request) override;
  ListAnswer List(const ListRequest& request) override;
  std::optional<double> Calendar(const CalendarRequest& request) override;
  int Menu(const MenuRequest& request) override;
  std::optional<int> Requester(const RequesterRequest& request) override;
  std::optional<std::string> FileDialog(const FileDialogRequest& request) override;
  std::optional<std::string> FolderDialog(const FolderDialogRequest& request) override;
  std::optional<std::string> RichText(const RichTextRequest& request) override;
  void Beep() override;

 private:
  void Write(const std::string& title, const std::string& text);
  FILE* out_;
};

}  // namespace qor::ui

#endif  // QOR_UI_HEADLESS_H_
