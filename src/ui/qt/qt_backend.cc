#include "qorsupport/ui/qt/qt_backend.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QApplication>
#include <QFont>
#include <QFontMetricsF>
#include <QScreen>
#include <cstdlib>
#include <cstring>
#include <string>

#include "qorsupport/frame/report.h"
#include "ui/qt/qt_dialogs.h"
#include "ui/qt/rich_text_form.h"

namespace qor::ui {

namespace {

std::string Env(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

bool UnixSocketAccepts(const std::string& path, bool abstract) {
  int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  size_t offset = abstract ? 1 : 0;
  if (path.size() + offset >= sizeof(address.sun_path)) {
    ::close(fd);
    return false;
  }
  std::memcpy(address.sun_path + offset, path.data(), path.size());
  socklen_t length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + offset + path.size());
  bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&address), length) == 0;
  ::close(fd);
  return ok;
}

// An X server named by DISPLAY (":0", "unix:0.0") answers on its socket; a
// display on another host is taken as reachable.
bool XDisplayReachable(const std::string& display) {
  size_t colon = display.rfind(':');
  if (colon == std::string::npos) return false;
  std::string host = display.substr(0, colon);
  if (!host.empty() && host != "unix") return true;
  std::string number = display.substr(colon + 1);
  number = number.substr(0, number.find('.'));
  if (number.empty()) return false;
  std::string path = "/tmp/.X11-unix/X" + number;
  return UnixSocketAccepts(path, true) || UnixSocketAccepts(path, false);
}

bool WaylandReachable(const std::string& display) {
  if (display.empty()) return false;
  std::string path = display[0] == '/' ? display : Env("XDG_RUNTIME_DIR") + "/" + display;
  return UnixSocketAccepts(path, false);
}

// Shows the request's dialog modally and reads its answer; without a
// widget application, answers as a user accepting the default would.
template <typename Dialog, typename Request, typename Fallback>
auto Ask(const Request& request, Fallback fallback) -> decltype(fallback()) {
  if (!EnsureQtApplication()) return fallback();
  Dialog dialog(request);
  dialog.exec();
  return dialog.answer();
}

}  // namespace

bool EnsureQtApplication() {
  if (QCoreApplication* app = QCoreApplication::instance()) {
    return qobject_cast<QApplication*>(app) != nullptr;
  }
  static int argc = 1;
  static char name[] = "qor";
  static char* argv[] = {name, nullptr};
  new QApplication(argc, argv);  // lives until the process ends
  return true;
}

bool QtDisplayUsable() {
  if (QCoreApplication::instance())
    return qobject_cast<QApplication*>(QCoreApplication::instance());
  std::string platform = Env("QT_QPA_PLATFORM");
  platform = platform.substr(0, platform.find(':'));
  if (platform == "offscreen" || platform == "minimal" || platform == "vnc") {
    return Env("QOR_UI") == "qt";
  }
  if (platform.empty() || platform == "xcb") {
    if (XDisplayReachable(Env("DISPLAY"))) return true;
  }
  if (platform.empty() || platform.rfind("wayland", 0) == 0) {
    if (WaylandReachable(Env("WAYLAND_DISPLAY"))) return true;
  }
  // Another platform plugin (eglfs, linuxfb, ...) was chosen on purpose.
  return !platform.empty() && platform != "xcb" && platform.rfind("wayland", 0) != 0;
}

int QtBackend::MsgBox(const MsgBoxRequest& r) {
  return Ask<qt::MsgBoxDialog>(r, [&] { return defaults_.MsgBox(r); });
}

std::optional<std::string> QtBackend::InputBox(const InputBoxRequest& r) {
  return Ask<qt::InputDialog>(r, [&] { return defaults_.InputBox(r); });
}

ListAnswer QtBackend::List(const ListRequest& r) {
  return Ask<qt::ListDialog>(r, [&] { return defaults_.List(r); });
}

std::optional<double> QtBackend::Calendar(const CalendarRequest& r) {
  return Ask<qt::CalendarDialog>(r, [&] { return defaults_.Calendar(r); });
}

int QtBackend::Menu(const MenuRequest& r) {
  return Ask<qt::MenuDialog>(r, [&] { return defaults_.Menu(r); });
}

std::optional<int> QtBackend::Requester(const RequesterRequest& r) {
  return Ask<qt::RequesterDialog>(r, [&] { return defaults_.Requester(r); });
}

std::optional<std::string> QtBackend::FileDialog(const FileDialogRequest& r) {
  return Ask<qt::FileDialog>(r, [&] { return defaults_.FileDialog(r); });
}

std::optional<std::string> QtBackend::FolderDialog(const FolderDialogRequest& r) {
  return Ask<qt::FolderDialog>(r, [&] { return defaults_.FolderDialog(r); });
}

std::optional<std::string> QtBackend::RichText(const RichTextRequest& request) {
  if (!EnsureQtApplication()) return defaults_.RichText(request);
  qt::RichTextDialog dialog(request);
  if (!dialog.load_error().empty()) ShowError(Variant(dialog.load_error()));
  dialog.exec();
  return dialog.answer();
}

double QtBackend::TextWidthMm(const std::string& font, int size, const std::string& text) {
  if (!EnsureQtApplication()) return defaults_.TextWidthMm(font, size, text);
  QFont qfont(qt::ToQ(font));
  if (size > 0) qfont.setPointSize(size);
  QFontMetricsF metrics(qfont);
  const double pixels = metrics.horizontalAdvance(qt::ToQ(text));
  QScreen* screen = QGuiApplication::primaryScreen();
  const double dpi = screen ? screen->logicalDotsPerInchX() : 96.0;
  return pixels / dpi * 25.4;
}

int QtBackend::PixelsPerInch() {
  if (!EnsureQtApplication()) return defaults_.PixelsPerInch();
  QScreen* screen = QGuiApplication::primaryScreen();
  return screen ? static_cast<int>(screen->logicalDotsPerInchX() + 0.5) : 96;
}

void QtBackend::ProcessEvents() {
  if (QCoreApplication::instance()) QCoreApplication::processEvents();
}

void QtBackend::Beep() {
  if (EnsureQtApplication()) QApplication::beep();
}

std::shared_ptr<Backend> MakeQtBackend() {
  if (!QtDisplayUsable()) return nullptr;
  return std::make_shared<QtBackend>();
}

void RegisterQtBackend() { RegisterBackendMaker("qt", &MakeQtBackend); }

namespace {

// Loading the library makes the backend selectable.
[[maybe_unused]] const bool kRegistered = (RegisterQtBackend(), true);

}  // namespace

}  // namespace qor::ui
