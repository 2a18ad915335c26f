// Documents on Linux: "open" starts the application that xdg_mime.h chooses
// for the document, "print" submits it to the default CUPS destination.

#include <unistd.h>

#include <filesystem>

#include "qorsupport/shell/platform.h"
#include "shell/cups_client.h"
#include "shell/desktop_entry.h"
#include "shell/xdg_mime.h"

namespace qor::shell {

namespace {

namespace fs = std::filesystem;

// kShellOk, or why the document at path cannot be handed over.
int CheckDocument(const fs::path& path) {
  std::error_code ec;
  if (path.empty()) return kShellFileNotFound;
  if (!fs::exists(path, ec)) {
    fs::path folder = path.parent_path();
    return folder.empty() || fs::is_directory(folder, ec) ? kShellFileNotFound : kShellPathNotFound;
  }
  if (access(path.c_str(), R_OK) != 0) return kShellAccessDenied;
  return kShellOk;
}

class XdgShell : public DocumentShell {
 public:
  int Execute(const std::string& verb, const std::string& document) override {
    std::error_code ec;
    fs::path path = fs::absolute(document, ec);
    if (ec) return kShellFileNotFound;
    int check = CheckDocument(document.empty() ? fs::path() : path);
    if (check != kShellOk) return check;
    if (verb == "open") return Open(path.lexically_normal().string());
    if (verb == "print") return Print(path.string());
    return kShellNoAssociation;
  }

 private:
  static int Open(const std::string& path) {
    std::optional<DesktopEntry> app = DefaultApplication(MimeTypeOf(path));
    if (!app) return kShellNoAssociation;
    std::optional<std::vector<std::string>> argv = ExpandExec(*app, path);
    if (!argv) return kShellAssocIncomplete;
    return PosixProcessLauncher().Run(*argv, false) == 0 ? kShellOk : kShellAssocIncomplete;
  }

  static int Print(const std::string& path) {
    switch (CupsPrintFile(path, fs::path(path).filename().string())) {
      case CupsPrintResult::kPrinted:
        return kShellOk;
      case CupsPrintResult::kNoPrinter:
      case CupsPrintResult::kUnsupported:
        return kShellNoAssociation;
      case CupsPrintResult::kRefused:
        break;
    }
    return kShellAccessDenied;
  }
};

}  // namespace

DocumentShell& XdgDocumentShell() {
  static XdgShell shell;
  return shell;
}

}  // namespace qor::shell
