// Copying files on Linux: into a temporary file beside the destination,
// then renamed over it.

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "qorsupport/shell/platform.h"

namespace qor::shell {

namespace {

// Closes a descriptor when it goes out of scope.
class Fd {
 public:
  explicit Fd(int fd) : fd_(fd) {}
  ~Fd() {
    if (fd_ >= 0) close(fd_);
  }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  int get() const { return fd_; }
  int release() {
    int fd = fd_;
    fd_ = -1;
    return fd;
  }

 private:
  int fd_;
};

bool WriteAll(int fd, const char* data, size_t size) {
  while (size > 0) {
    ssize_t n = write(fd, data, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

bool CopyContent(int in, int out) {
  char buffer[1 << 16];
  while (true) {
    ssize_t n = read(in, buffer, sizeof(buffer));
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (n == 0) return true;
    if (!WriteAll(out, buffer, static_cast<size_t>(n))) return false;
  }
}

class PosixCopier : public FileCopier {
 public:
  bool Copy(const std::string& source, const std::string& dest) override {
    if (source.empty() || dest.empty()) return false;
    Fd in(open(source.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat st;
    if (in.get() < 0 || fstat(in.get(), &st) != 0 || !S_ISREG(st.st_mode)) return false;
    struct stat old;
    if (stat(dest.c_str(), &old) == 0 && (!S_ISREG(old.st_mode) || (old.st_mode & S_IWUSR) == 0)) {
      return false;
    }
    std::filesystem::path folder = std::filesystem::path(dest).parent_path();
    std::string temp = (folder.empty() ? std::string(".") : folder.string()) + "/.qor-copy-XXXXXX";
    Fd out(mkostemp(temp.data(), O_CLOEXEC));
    if (out.get() < 0) return false;
    bool ok = CopyContent(in.get(), out.get()) && fchmod(out.get(), st.st_mode & 07777) == 0 &&
              fdatasync(out.get()) == 0;
    ok = close(out.release()) == 0 && ok;
    if (ok && rename(temp.c_str(), dest.c_str()) == 0) return true;
    unlink(temp.c_str());
    return false;
  }

  bool MakeOwnerWritable(const std::string& path) override {
    struct stat st;
    if (path.empty() || stat(path.c_str(), &st) != 0) return false;
    return chmod(path.c_str(), (st.st_mode & 07777) | S_IWUSR) == 0;
  }
};

}  // namespace

FileCopier& PosixFileCopier() {
  static PosixCopier copier;
  return copier;
}

}  // namespace qor::shell
