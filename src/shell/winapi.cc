#include "qorsupport/shell/winapi.h"

#include <cmath>
#include <limits>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/ui/backend.h"
#include "shell/command_line.h"

namespace qor {

qorWinAPI::Platform qorWinAPI::LinuxPlatform() {
  return {&shell::PosixProcessLauncher(), &shell::XdgDocumentShell(), &shell::PosixFileCopier(),
          &shell::PosixErrorTexts(), &shell::MountTable()};
}

std::string qorWinAPI::SwabString(const std::string& s) { return CutAtNul(s); }

Variant qorWinAPI::GetSysErrorMsg(int32_t err) {
  std::optional<std::string> text = platform_.error_texts->Lookup(err);
  if (!text) {
    ShowError(Variant("FormatMessage Error: " + std::to_string(err)));
    return Variant::Null();
  }
  return Variant(SwabString(*text));
}

int32_t qorWinAPI::ExecCmd(const std::string& cmd_line, bool wait_flag) {
  if (cmd_line.find('\0') != std::string::npos) return -1;
  return platform_.processes->Run(shell::SplitCommandLine(cmd_line), wait_flag);
}

bool qorWinAPI::ExecDoc(const std::string& doc_path, int16_t /*mode*/, bool print_flag,
                        bool wait_flag, bool verbose) {
  int result = platform_.documents->Execute(print_flag ? "print" : "open", doc_path);
  if (result > 32) {
    if (wait_flag) {
      ShowMessage(Variant("Click Ok to continue"),
                  Variant("(Please wait until the external operation has"),
                  Variant("completed - File saved or Printing finished)"));
    }
  } else if (verbose) {
    ShowError(Variant("Error trying to ShellExecute " + std::to_string(result)));
  }
  return false;
}

bool qorWinAPI::CopyFile(const std::string& source, const std::string& dest, bool force_rw_attr) {
  bool copied = false;
  try {
    copied = platform_.files->Copy(source, dest);
  } catch (...) {
    copied = false;
  }
  if (force_rw_attr) {
    try {
      platform_.files->MakeOwnerWritable(dest);
    } catch (...) {
    }
  }
  return copied;
}

std::string qorWinAPI::GetValidDrives() {
  std::string result;
  for (const std::string& root : platform_.drives->Roots()) {
    if (!result.empty()) result += ";";
    result += root;
  }
  return result;
}

int32_t qorWinAPI::ConvertPixelsToTwips(int32_t& pixels, bool& direction) {
  (void)direction;  // both directions have the one density of the backend
  int per_inch = ui::Current().PixelsPerInch();
  if (per_inch == 0) Raise(11);
  double twips = vb::RoundHalfEven(1440.0 / per_inch * pixels);
  if (!(std::fabs(twips) <= std::numeric_limits<int32_t>::max())) Raise(err::kOverflow);
  return static_cast<int32_t>(twips);
}

}  // namespace qor
