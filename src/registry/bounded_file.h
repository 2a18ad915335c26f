// Reading and replacing the text files of the registry layer (INI files,
// export files) when they may come from anyone.
//
// ReadBoundedFile reads a whole regular file and nothing else: a FIFO, a
// device or a folder is refused at once, without waiting for a writer, and
// a file past kMaxTextFileSize bytes or with a line of more than
// kMaxTextLineLength bytes is refused before it is held in memory. A refusal
// is a VB error number with a description naming the file, so the callers
// can raise or report it as it is.
//
// ReplaceFileText writes a file's new content so that a reader sees the old
// or the new text and a crash or a kill never leaves it half written: it is written
// into an unnamed file in the same folder, flushed, named and renamed over
// the old one. The file keeps its owner and mode; where the owner cannot be
// kept (another user's file in a folder we may write), the file is
// rewritten in place instead. A name left by a killed writer (FILE.qor-XXXXXX)
// is removed by the next replacement.

#ifndef QOR_REGISTRY_BOUNDED_FILE_H_
#define QOR_REGISTRY_BOUNDED_FILE_H_

#include <cstdint>
#include <filesystem>
#include <string>

namespace qor::registry {

inline constexpr size_t kMaxTextFileSize = size_t{64} << 20;
inline constexpr size_t kMaxTextLineLength = size_t{1} << 20;

// What tells one version of a file from another: device, inode, size and
// modification time in nanoseconds.
struct FileIdentity {
  uint64_t device = 0;
  uint64_t inode = 0;
  int64_t size = -1;
  int64_t mtime_ns = 0;
  bool operator==(const FileIdentity&) const = default;
};

// A refusal: a VB error number (error.h) and its description; number 0
// when there is none.
struct FileError {
  int32_t number = 0;
  std::string description;
  explicit operator bool() const { return number != 0; }
};

// The identity of the file at path, following symbolic links; a
// non-regular file or a failed stat gives a FileError (53 for a missing
// file).
FileError StatFile(const std::filesystem::path& path, FileIdentity* identity);

// Reads the whole file into *bytes (and its identity, when asked). Errors:
// 53 missing, 70 not permitted, 54 not a regular file, 7 past the size or
// line cap, 75 any other failure.
FileError ReadBoundedFile(const std::filesystem::path& path, std::string* bytes,
                          FileIdentity* identity = nullptr);

// The path with its symbolic links followed (up to 40), so that a change
// goes to the file a link names; a dangling link gives the path it names.
std::filesystem::path FollowLinks(const std::filesystem::path& path);

// Replaces (or makes, with 0666 less the umask) the file at path, which is
// no symbolic link, with text as described above. Returns an error 75 or 70
// when the file could not be written; the old file is then untouched.
FileError ReplaceFileText(const std::filesystem::path& path, std::string_view text);

// An exclusive advisory lock (flock) on a folder, held while the object
// lives; every writer of the files in it takes the same lock, so a read,
// change and replace is never interleaved with another's.
class FolderLock {
 public:
  explicit FolderLock(const std::filesystem::path& folder);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;
  bool locked() const { return fd_ >= 0; }

 private:
  int fd_ = -1;
};

}  // namespace qor::registry

#endif  // QOR_REGISTRY_BOUNDED_FILE_H_
