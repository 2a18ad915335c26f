// The user-interface seam.
//
// Every modal request the library makes of a user goes through one
// ui::Backend: message boxes, the input box, the list, calendar, menu,
// requester and rich-text forms, the file and folder dialogs, plus the
// screen density, pending-event processing and the beep. The forms' logic
// (what to ask, how to read the answer) lives in dialogs/; a backend only
// puts the request in front of a user and returns what the user did.
//
// Backends: qt (real widgets), headless (no display: answers as if the user
// pressed the default button, Cancel for forms) and scripted (answers from a
// queue and records every request, for tests and the automation host).
//
// The current backend is process-wide. Current() picks one on first use:
// QOR_UI=qt|headless|scripted when set, else qt when it is linked in and a
// display is available, else headless. Requests are made on the caller's
// thread and block until answered.

#ifndef QOR_UI_BACKEND_H_
#define QOR_UI_BACKEND_H_

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qor::ui {

// Result codes of a message box.
inline constexpr int kIdOk = 1;
inline constexpr int kIdCancel = 2;
inline constexpr int kIdAbort = 3;
inline constexpr int kIdRetry = 4;
inline constexpr int kIdIgnore = 5;
inline constexpr int kIdYes = 6;
inline constexpr int kIdNo = 7;

// A message box: the style is the platform's flag word (buttons in the low
// nibble, icon in 0xF0, default button in 0xF00).
struct MsgBoxRequest {
  std::string title;
  std::string text;
  int style = 0;
};

// The buttons of a style, in display order, as result codes.
std::vector<int> MsgBoxButtons(int style);
// The result code of the default button of a style.
int MsgBoxDefaultAnswer(int style);
// The result code of closing the box (Escape or the close control): Cancel
// where there is a Cancel button, OK for an OK-only box, else none.
std::optional<int> MsgBoxCloseAnswer(int style);

struct InputBoxRequest {
  std::string title;
  std::string prompt;
  std::string default_text;
};

struct ListRequest {
  std::string title;
  std::vector<std::string> items;  // display texts in the order shown
  bool multi = false;
  bool modal = true;
  std::string font_name;  // "" for the form's own font
  int width = 338;        // list size in pixels
  int height = 500;
};

// The chosen positions (0-based, in the order shown); nullopt for Cancel.
using ListAnswer = std::optional<std::vector<int>>;

struct CalendarRequest {
  std::string title;   // the caption shown
  double initial = 0;  // the date shown first (OLE serial)
};

struct MenuRequest {
  std::string title;
  std::array<std::string, 2> headings;  // "" when not shown
  std::array<std::string, 13> items;    // "" when unused
  // The keys that choose: a typed key's choice (0 for none). A key outside
  // the map does nothing; it need not belong to a shown item.
  std::map<char32_t, int> keys;
};

struct RequesterRequest {
  std::string title;
  std::array<std::string, 3> lines;  // as shown, after cutting
  std::string yes;
  std::string no;  // "" when there is no second button
  std::string message_font;
  int message_font_size = 10;
  std::string button_font;
  int button_font_size = 12;
};

struct FileDialogRequest {
  std::string title;
  std::string filter;       // "Text (*.txt)\0*.txt\0..." as built, or ""
  std::string initial_dir;  // "" for none
  std::string default_name;
  int32_t flags = 0;  // the option bits
  bool save = false;
};

struct FolderDialogRequest {
  std::string title;
};

struct RichTextRequest {
  std::string title;
  std::string text;  // the rich text handed in
  bool open = false;
  bool save = false;
  bool print = false;
  // Asks the user for the file to open (save false) or to save to (true)
  // and gives its path, or "" when the user cancels. The form calls it for
  // its Open and Save buttons; unset, those buttons do nothing.
  std::function<std::string(bool save)> choose_file;
};

class Backend {
 public:
  virtual ~Backend() = default;

  virtual int MsgBox(const MsgBoxRequest& request) = 0;
  // nullopt for Cancel.
  virtual std::optional<std::string> InputBox(const InputBoxRequest& request) = 0;
  virtual ListAnswer List(const ListRequest& request) = 0;
  // The chosen date (OLE serial), nullopt for Cancel.
  virtual std::optional<double> Calendar(const CalendarRequest& request) = 0;
  // The chosen row 1 to 13, or 0 when the menu was left without a choice.
  virtual int Menu(const MenuRequest& request) = 0;
  // 6 (yes) or 7 (no); nullopt when the window was closed.
  virtual std::optional<int> Requester(const RequesterRequest& request) = 0;
  virtual std::optional<std::string> FileDialog(const FileDialogRequest& request) = 0;
  virtual std::optional<std::string> FolderDialog(const FolderDialogRequest& request) = 0;
  // The edited rich text, nullopt for Cancel.
  virtual std::optional<std::string> RichText(const RichTextRequest& request) = 0;

  // The width of a text in millimetres, in the given font.
  virtual double TextWidthMm(const std::string& font, int size, const std::string& text) = 0;
  virtual int PixelsPerInch() = 0;
  virtual void ProcessEvents() = 0;
  virtual void Beep() = 0;
};

// The backend every request goes to (chosen on first use, see above).
Backend& Current();
// Replaces the current backend; returns the previous one. Not for use while a
// request is being answered.
std::shared_ptr<Backend> SetCurrent(std::shared_ptr<Backend> backend);

// Makes a backend by name ("qt", "headless", "scripted"); nullptr when the
// name is unknown or that backend is not available in this build or
// environment.
std::shared_ptr<Backend> MakeBackend(const std::string& name);

// Each backend registers its maker here when its library is loaded (the
// headless and scripted backends with the library itself, qt from its own
// library), so that the seam finds them without depending on them.
using BackendMaker = std::function<std::shared_ptr<Backend>()>;
void RegisterBackendMaker(const std::string& name, BackendMaker maker);

// Restores the current backend when it goes out of scope (tests).
class ScopedBackend {
 public:
  explicit ScopedBackend(std::shared_ptr<Backend> backend)
      : previous_(SetCurrent(std::move(backend))) {}
  ~ScopedBackend() { SetCurrent(std::move(previous_)); }
  ScopedBackend(const ScopedBackend&) = delete;
  ScopedBackend& operator=(const ScopedBackend&) = delete;

 private:
  std::shared_ptr<Backend> previous_;
};

}  // namespace qor::ui

#endif  // QOR_UI_BACKEND_H_
