// The backend that tests and the automation host drive.
//
// Answers come from a first-in-first-out queue of values; every request is
// recorded as an event with the fields a real dialog would have been given
// (title, text, style, items, ...) and the answer it got. With the queue
// empty a request is answered as DefaultAnswers answers it. An answer of the
// wrong kind for its dialog (a text for a message box, say) is a script's
// mistake: the dialog gets the default answer and its event is marked as a
// mismatch.
//
// Answer kinds: a number for a message box (the result code), a menu (0 to
// 13) and a requester (6 or 7); a String or Null (Cancel) for the input box,
// the file, folder and rich-text dialogs; a number, an array of numbers or
// Null for a list (0-based positions in the order shown); a Date or Null for
// the calendar.

#ifndef QOR_UI_SCRIPTED_H_
#define QOR_UI_SCRIPTED_H_

#include <deque>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "qorsupport/frame/variant.h"
#include "qorsupport/ui/backend.h"
#include "qorsupport/ui/headless.h"

namespace qor::ui {

struct UiEvent {
  std::string kind;  // "MsgBox", "InputBox", "List", ...
  std::vector<std::pair<std::string, Variant>> fields;
  bool mismatch = false;

  // The field's value; Empty when the event has no such field.
  const Variant& Field(std::string_view name) const;
};

class ScriptedBackend : public Backend {
 public:
  void Queue(Variant answer);
  size_t PendingAnswers() const;
  void ClearAnswers();

  // The events recorded so far, oldest first.
  std::vector<UiEvent> Events() const;
  // The events recorded so far, and forgets them.
  std::vector<UiEvent> TakeEvents();

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
  int PixelsPerInch() override { return 96; }
  void ProcessEvents() override {}
  void Beep() override;

 private:
  // The next queued answer, or nullopt when the queue is empty.
  std::optional<Variant> Next();
  void Record(UiEvent event);
  // Answers a dialog whose answer is a whole number from low to high.
  int NumberAnswer(UiEvent event, int fallback, int low, int high);
  // Answers a dialog whose answer is a text or Null.
  std::optional<std::string> TextAnswer(UiEvent event, std::optional<std::string> fallback);

  mutable std::mutex mu_;
  std::deque<Variant> answers_;
  std::vector<UiEvent> events_;
  DefaultAnswers defaults_;
};

}  // namespace qor::ui

#endif  // QOR_UI_SCRIPTED_H_
