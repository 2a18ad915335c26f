// qorWinAPI: thin, careful wrappers over the operating system for client
// applications: start a program and optionally wait for it, open or print a
// document through its application, copy a file, list the mounted roots,
// turn a system error number into its text, convert screen pixels to twips,
// and cut a text at its first NUL character. (The file and folder
// requesters of the class are in requesters.h.)
//
// Each facility is reached through its interface in platform.h; the
// default constructor uses the Linux implementations. Only ExecDoc (with
// Verbose) and GetSysErrorMsg (always) report; the other methods signal
// failure through their result.
//
// Linux meanings: the show code (ExecDoc's pMode) has no counterpart and is
// ignored; a "drive" is the mount point of a real file system; system error
// numbers are errno values; "normal attributes" is writable by the owner.

#ifndef QOR_SHELL_WINAPI_H_
#define QOR_SHELL_WINAPI_H_

#include <cstdint>
#include <string>

#include "qorsupport/frame/variant.h"
#include "qorsupport/shell/platform.h"

namespace qor {

class qorWinAPI : public Object {
 public:
  // The facilities the methods use.
  struct Platform {
    shell::ProcessLauncher* processes;
    shell::DocumentShell* documents;
    shell::FileCopier* files;
    shell::ErrorTexts* error_texts;
    shell::DriveTable* drives;
  };
  // The Linux facilities.
  static Platform LinuxPlatform();

  qorWinAPI() : qorWinAPI(LinuxPlatform()) {}
  explicit qorWinAPI(Platform platform) : platform_(platform) {}

  std::string_view ClassName() const override { return "qorWinAPI"; }

  // The text before the first NUL character; the whole text when it has none.
  std::string SwabString(const std::string& s);

  // The system's text for an errno number. For a number without a text,
  // always shows "FormatMessage Error: " + the number and returns Null.
  Variant GetSysErrorMsg(int32_t err);

  // Starts the program of the command line (split by the Windows rules of
  // command_line.h, searched on PATH, never through a shell). -1 when it
  // cannot be started (also for an empty line or one with a NUL
  // character); with pWaitFlag the program's exit code (128 + the signal
  // for a program ended by a signal), else 0 at once.
  int32_t ExecCmd(const std::string& cmd_line, bool wait_flag = false);

  // Opens the document with its application, or prints it (pPrintFlag) on
  // the default printer; never waits for the application. After a
  // successful hand-over with pWaitFlag, shows the three-line "Click Ok to
  // continue" message and returns when it is acknowledged. A failed
  // hand-over is reported with Verbose as "Error trying to ShellExecute "
  // + its number (2 no such file, 3 no such folder, 5 not readable or the
  // job was refused, 27 the application cannot be started, 31 no
  // application for the type or no printer). Always False. pMode, the show
  // code, means nothing on Linux.
  bool ExecDoc(const std::string& doc_path, int16_t mode = 1, bool print_flag = false,
               bool wait_flag = false, bool verbose = false);

  // Copies pSource over pDest; True when the copy succeeded. Then, with
  // pForceRWAttr, makes pDest writable by its owner whether or not the copy
  // worked. Never reports, never raises.
  bool CopyFile(const std::string& source, const std::string& dest, bool force_rw_attr = false);

  // The mount points of the real file systems joined by ";" ("/;/home").
  std::string GetValidDrives();

  // pPixels in twips at the screen's density (vertical when pDirection is
  // True): 1440 / pixels-per-inch * pPixels rounded half to even. A density
  // of 0 raises error 11, a result beyond 32 bits error 6.
  int32_t ConvertPixelsToTwips(int32_t& pixels, bool& direction);

 private:
  Platform platform_;
};

}  // namespace qor

#endif  // QOR_SHELL_WINAPI_H_
