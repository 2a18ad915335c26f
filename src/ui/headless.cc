#include "qorsupport/ui/headless.h"

#include <string>

namespace qor::ui {

// ---- DefaultAnswers --------------------------------------------------------

int DefaultAnswers::MsgBox(const MsgBoxRequest& request) {
  return MsgBoxDefaultAnswer(request.style);
}

std::optional<std::string> DefaultAnswers::InputBox(const InputBoxRequest&) { return std::nullopt; }

ListAnswer DefaultAnswers::List(const ListRequest&) { return std::nullopt; }

std::optional<double> DefaultAnswers::Calendar(const CalendarRequest&) { return std::nullopt; }

int DefaultAnswers::Menu(const MenuRequest&) { return 0; }

std::optional<int> DefaultAnswers::Requester(const RequesterRequest&) { return std::nullopt; }

std::optional<std::string> DefaultAnswers::FileDialog(const FileDialogRequest&) {
  return std::nullopt;
}

std::optional<std::string> DefaultAnswers::FolderDialog(const FolderDialogRequest&) {
  return std::nullopt;
}

std::optional<std::string> DefaultAnswers::RichText(const RichTextRequest&) { return std::nullopt; }

double DefaultAnswers::TextWidthMm(const std::string&, int size, const std::string& text) {
  // A point is 0.3528 mm; an average character is about half the em wide.
  size_t characters = 0;
  for (char c : text) {
    if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) ++characters;
  }
  return static_cast<double>(characters) * size * 0.5 * 0.3528;
}

// ---- HeadlessBackend --------------------------------------------------------

void HeadlessBackend::Write(const std::string& title, const std::string& text) {
  if (!out_) return;
  std::string shown;
  shown.reserve(text.size());
  for (char c : text) {
    if (c != '\r') shown.push_back(c);
  }
  std::fprintf(out_, "[%s]\n%s\n", title.c_str(), shown.c_str());
  std::fflush(out_);
}

int HeadlessBackend::MsgBox(const MsgBoxRequest& request) {
  Write(request.title, request.text);
  return DefaultAnswers::MsgBox(request);
}

std::optional<std::string> HeadlessBackend::InputBox(const InputBoxRequest& request) {
  Write(request.title, request.prompt);
  return DefaultAnswers::InputBox(request);
}

ListAnswer HeadlessBackend::List(const ListRequest& request) {
  std::string text;
  for (const std::string& item : request.items) text += "  " + item + "\n";
  Write(request.title, text);
  return DefaultAnswers::List(request);
}

std::optional<double> HeadlessBackend::Calendar(const CalendarRequest& request) {
  Write(request.title, "(calendar)");
  return DefaultAnswers::Calendar(request);
}

int HeadlessBackend::Menu(const MenuRequest& request) {
  std::string text = request.headings[0] + "\n" + request.headings[1];
  for (const std::string& item : request.items) {
    if (!item.empty()) text += "\n  " + item;
  }
  Write(request.title, text);
  return DefaultAnswers::Menu(request);
}

std::optional<int> HeadlessBackend::Requester(const RequesterRequest& request) {
  Write(request.title, request.lines[0] + "\n" + request.lines[1] + "\n" + request.lines[2]);
  return DefaultAnswers::Requester(request);
}

std::optional<std::string> HeadlessBackend::FileDialog(const FileDialogRequest& request) {
  Write(request.title, "(file dialog)");
  return DefaultAnswers::FileDialog(request);
}

std::optional<std::string> HeadlessBackend::FolderDialog(const FolderDialogRequest& request) {
  Write(request.title, "(folder dialog)");
  return DefaultAnswers::FolderDialog(request);
}

std::optional<std::string> HeadlessBackend::RichText(const RichTextRequest& request) {
  Write(request.title, "(rich-text editor)");
  return DefaultAnswers::RichText(request);
}

void HeadlessBackend::Beep() {
  if (out_) {
    std::fputc('\a', out_);
    std::fflush(out_);
  }
}

namespace {

// Loading the library makes the backend selectable by name.
[[maybe_unused]] const bool kRegistered =
    (RegisterBackendMaker("headless", [] { return std::make_shared<HeadlessBackend>(); }), true);

}  // namespace

}  // namespace qor::ui
