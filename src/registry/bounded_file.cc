#include "registry/bounded_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

namespace qor::registry {
namespace {

FileIdentity IdentityOf(const struct stat& st) {
  return FileIdentity{static_cast<uint64_t>(st.st_dev), static_cast<uint64_t>(st.st_ino),
                      static_cast<int64_t>(st.st_size),
                      static_cast<int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec};
}

FileError Refused(int32_t number, const std::filesystem::path& path, const std::string& why) {
  return FileError{number, path.string() + ": " + why};
}

FileError FromErrno(int error, const std::filesystem::path& path) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return Refused(53, path, "file not found");
    case EACCES:
    case EPERM:
      return Refused(70, path, "permission denied");
    default:
      return Refused(75, path, std::strerror(error));
  }
}

FileError NotRegular(const std::filesystem::path& path) {
  return Refused(54, path, "not a regular file");
}

// The length of the longest line (a run of bytes without CR or LF).
size_t LongestLine(std::string_view bytes) {
  size_t longest = 0;
  size_t start = 0;
  while (start <= bytes.size()) {
    size_t end = bytes.find_first_of("\r\n", start);
    if (end == std::string_view::npos) end = bytes.size();
    longest = std::max(longest, end - start);
    start = end + 1;
  }
  return longest;
}

class Fd {
 public:
  explicit Fd(int fd) : fd_(fd) {}
  ~Fd() {
    if (fd_ >= 0) ::close(fd_);
  }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

bool WriteAll(int fd, std::string_view text) {
  size_t done = 0;
  while (done < text.size()) {
    ssize_t n = ::pwrite(fd, text.data() + done, text.size() - done, static_cast<off_t>(done));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return true;
}

std::string TempPrefix(const std::filesystem::path& path) {
  return path.filename().string() + ".qor-";
}

// Removes the names a killed writer left beside the file.
void RemoveStaleTemps(const std::filesystem::path& path) {
  std::string prefix = TempPrefix(path);
  DIR* dir = ::opendir(path.parent_path().c_str());
  if (!dir) return;
  while (const dirent* e = ::readdir(dir)) {
    std::string_view name = e->d_name;
    if (name.size() == prefix.size() + 6 && name.substr(0, prefix.size()) == prefix) {
      ::unlinkat(::dirfd(dir), e->d_name, 0);
    }
  }
  ::closedir(dir);
}

// The file rewritten where it is, for a file whose owner a new file could
// not keep.
FileError RewriteInPlace(const std::filesystem::path& path, std::string_view text) {
  Fd fd(::open(path.c_str(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC));
  if (fd.get() < 0) return FromErrno(errno, path);
  if (!WriteAll(fd.get(), text) || ::ftruncate(fd.get(), static_cast<off_t>(text.size())) != 0 ||
      ::fsync(fd.get()) != 0) {
    return FromErrno(errno, path);
  }
  return {};
}

void SyncFolder(const std::filesystem::path& folder) {
  Fd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd.get() >= 0) ::fsync(fd.get());
}

}  // namespace

FileError StatFile(const std::filesystem::path& path, FileIdentity* identity) {
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) return FromErrno(errno, path);
  if (!S_ISREG(st.st_mode)) return NotRegular(path);
  *identity = IdentityOf(st);
  return {};
}

FileError ReadBoundedFile(const std::filesystem::path& path, std::string* bytes,
                          FileIdentity* identity) {
  bytes->clear();
  // O_NONBLOCK: opening a FIFO without a writer must not wait.
  Fd fd(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (fd.get() < 0) return FromErrno(errno, path);
  struct stat st;
  if (::fstat(fd.get(), &st) != 0) return FromErrno(errno, path);
  if (!S_ISREG(st.st_mode)) return NotRegular(path);
  if (static_cast<uint64_t>(st.st_size) > kMaxTextFileSize) {
    return Refused(7, path, "larger than 64 MB");
  }
  // The file may grow while it is read: read no more than the cap and one.
  bytes->resize(static_cast<size_t>(st.st_size) + 1);
  size_t done = 0;
  for (;;) {
    if (done == bytes->size()) {
      if (bytes->size() > kMaxTextFileSize) return Refused(7, path, "larger than 64 MB");
      bytes->resize(std::min(bytes->size() * 2, kMaxTextFileSize + 1));
    }
    ssize_t n = ::read(fd.get(), bytes->data() + done, bytes->size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return FromErrno(errno, path);
    if (n == 0) break;
    done += static_cast<size_t>(n);
  }
  bytes->resize(done);
  if (LongestLine(*bytes) > kMaxTextLineLength) {
    bytes->clear();
    return Refused(7, path, "has a line longer than 1 MB");
  }
  if (identity) *identity = IdentityOf(st);
  return {};
}

std::filesystem::path FollowLinks(const std::filesystem::path& path) {
  std::filesystem::path at = path;
  for (int hops = 0; hops < 40; ++hops) {
    char target[PATH_MAX];
    ssize_t n = ::readlink(at.c_str(), target, sizeof target - 1);
    if (n < 0) break;
    target[n] = '\0';
    std::filesystem::path next(target);
    at = next.is_absolute() ? next : at.parent_path() / next;
  }
  return at.lexically_normal();
}

FileError ReplaceFileText(const std::filesystem::path& path, std::string_view text) {
  std::filesystem::path folder = path.parent_path();
  RemoveStaleTemps(path);
  struct stat old;
  bool exists = ::lstat(path.c_str(), &old) == 0;
  if (exists && !S_ISREG(old.st_mode)) return NotRegular(path);
  mode_t mode;
  if (exists) {
    mode = old.st_mode & 07777;
  } else {
    mode_t mask = ::umask(0);
    ::umask(mask);
    mode = 0666 & ~mask;
  }
  // An unnamed file first, so that a kill before the rename leaves nothing;
  // a named one where the file system has no unnamed files (or /proc, which
  // names it, is missing).
  std::string temp;
  int raw = ::access("/proc/self/fd", F_OK) == 0
                ? ::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600)
                : -1;
  if (raw < 0) {
    temp = (folder / (TempPrefix(path) + "XXXXXX")).string();
    raw = ::mkostemp(temp.data(), O_CLOEXEC);
    if (raw < 0) return FromErrno(errno, path);
  }
  Fd fd(raw);
  auto failed = [&](int error) {
    if (!temp.empty()) ::unlink(temp.c_str());
    return FromErrno(error, path);
  };
  if (exists && (old.st_uid != ::geteuid() || old.st_gid != ::getegid()) &&
      ::fchown(fd.get(), old.st_uid, old.st_gid) != 0) {
    if (!temp.empty()) ::unlink(temp.c_str());
    return RewriteInPlace(path, text);
  }
  if (::fchmod(fd.get(), mode) != 0 || !WriteAll(fd.get(), text) || ::fsync(fd.get()) != 0) {
    return failed(errno);
  }
  if (temp.empty()) {
    // Name the unnamed file, then move it over.
    temp = (folder / (TempPrefix(path) + "XXXXXX")).string();
    std::string proc = "/proc/self/fd/" + std::to_string(fd.get());
    unsigned mix = static_cast<unsigned>(::getpid()) * 2654435761u ^ static_cast<unsigned>(raw);
    for (int attempt = 0;; ++attempt) {
      char suffix[16];
      std::snprintf(suffix, sizeof suffix, "%06x", (mix + attempt * 40503u) & 0xFFFFFFu);
      std::string name = temp.substr(0, temp.size() - 6) + suffix;
      if (::linkat(AT_FDCWD, proc.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
        temp = name;
        break;
      }
      if (errno != EEXIST || attempt > 100) {
        temp.clear();
        return failed(errno);
      }
    }
  }
  if (::rename(temp.c_str(), path.c_str()) != 0) return failed(errno);
  SyncFolder(folder);
  return {};
}

FolderLock::FolderLock(const std::filesystem::path& folder) {
  fd_ = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd_ < 0) return;
  while (::flock(fd_, LOCK_EX) != 0) {
    if (errno != EINTR) {
      ::close(fd_);
      fd_ = -1;
      return;
    }
  }
}

FolderLock::~FolderLock() {
  if (fd_ >= 0) ::close(fd_);
}

}  // namespace qor::registry
