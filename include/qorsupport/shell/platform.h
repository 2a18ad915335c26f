// The platform facilities behind qorWinAPI, each a small interface.
//
// qorWinAPI's methods are the library's logic (what to return, what to
// report); what they ask of the operating system goes through these
// interfaces, so that each facility can be replaced on its own (a test that
// injects a fault, a later Windows build mapping them one to one onto
// Win32). The Linux implementations live in files of their own:
// process_posix.cc, documents_xdg.cc, file_copy_posix.cc,
// error_texts_posix.cc and drives_mntent.cc.

#ifndef QOR_SHELL_PLATFORM_H_
#define QOR_SHELL_PLATFORM_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qor::shell {

// Starting programs.
class ProcessLauncher {
 public:
  virtual ~ProcessLauncher() = default;
  // Starts argv[0] with the arguments argv, never through a shell. A name
  // without "/" is searched on PATH. Returns -1 when the program cannot be
  // started (empty argv, a NUL character in an argument, not found, not
  // executable). With wait: blocks until the program ends and returns its
  // exit code, or 128 + the signal number for a program ended by a signal.
  // Without wait: returns 0 at once; the program is reaped when it ends, so
  // it never stays behind as a zombie. The child gets the caller's standard
  // input, output and error and no other descriptor.
  virtual int32_t Run(const std::vector<std::string>& argv, bool wait) = 0;
};

// ShellExecute's small numbers for a failed hand-over; any value above 32
// means success.
inline constexpr int kShellOk = 42;
inline constexpr int kShellFileNotFound = 2;
inline constexpr int kShellPathNotFound = 3;
inline constexpr int kShellAccessDenied = 5;      // the file cannot be read; a job refused
inline constexpr int kShellAssocIncomplete = 27;  // the application cannot be started
inline constexpr int kShellNoAssociation = 31;    // no application, or no printer

// Handing documents to the applications that handle them.
class DocumentShell {
 public:
  virtual ~DocumentShell() = default;
  // Opens ("open") or prints ("print") the document at path (relative to the
  // current folder). Never waits for the application. Returns kShellOk, or
  // one of the numbers above; another verb gives kShellNoAssociation.
  virtual int Execute(const std::string& verb, const std::string& path) = 0;
};

// Copying files.
class FileCopier {
 public:
  virtual ~FileCopier() = default;
  // Copies source over dest (replacing it), together with source's
  // permission bits. An existing dest that its owner may not write is left
  // alone and the copy fails, as a read-only destination does on Windows.
  // The copy is written beside dest and renamed into place, so dest is
  // either the old file or the whole new one.
  virtual bool Copy(const std::string& source, const std::string& dest) = 0;
  // Gives path "normal attributes": writable by its owner.
  virtual bool MakeOwnerWritable(const std::string& path) = 0;
};

// The operating system's texts for its error numbers.
class ErrorTexts {
 public:
  virtual ~ErrorTexts() = default;
  // The text of the number, or nullopt when the system has none for it.
  virtual std::optional<std::string> Lookup(int32_t number) = 0;
};

// The roots of the mounted file systems.
class DriveTable {
 public:
  virtual ~DriveTable() = default;
  // The mount points in the order of the mount table, without repeats.
  virtual std::vector<std::string> Roots() = 0;
};

// The Linux implementations (process-wide objects, safe to share).
ProcessLauncher& PosixProcessLauncher();
DocumentShell& XdgDocumentShell();
FileCopier& PosixFileCopier();
ErrorTexts& PosixErrorTexts();
DriveTable& MountTable();

}  // namespace qor::shell

#endif  // QOR_SHELL_PLATFORM_H_
