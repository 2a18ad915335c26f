#include "staged_file.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "db/engine/lock_file.h"
#include "qorsupport/db/engine/dao.h"
#include "qorsupport/db/engine/engine.h"

namespace qor::tool {

namespace {

// Waits until the builder's end of the pipe on fd closes (by Dismiss, or
// by the builder's death) and removes files. Runs in the forked child:
// only async-signal-safe calls.
[[noreturn]] void Guard(int fd, const std::vector<const char*>& files) {
  for (int signal : {SIGINT, SIGQUIT, SIGHUP, SIGTERM, SIGPIPE}) ::signal(signal, SIG_IGN);
  for (int other = 0; other < 1024; ++other) {
    if (other != fd) ::close(other);
  }
  for (;;) {
    char byte = 0;
    ssize_t n = ::read(fd, &byte, 1);
    if (n == 0 || (n < 0 && errno != EINTR)) break;
  }
  for (const char* file : files) ::unlink(file);
  ::_exit(0);
}

}  // namespace

StagedDatabase::StagedDatabase(std::string target) : target_(std::move(target)) {
  if (::access(target_.c_str(), F_OK) == 0) dao::Fail(dao::e::kDatabaseExists);
  size_t slash = target_.find_last_of('/');
  std::string dir = slash == std::string::npos ? "" : target_.substr(0, slash + 1);
  std::string base = slash == std::string::npos ? target_ : target_.substr(slash + 1);
  if (!dir.empty() && ::access(dir.c_str(), F_OK) != 0) dao::Fail(dao::e::kInvalidPath, {target_});
  static std::atomic<int> serial{0};
  do {
    path_ = dir + "." + base + ".building-" + std::to_string(::getpid()) + "-" +
            std::to_string(++serial);
  } while (::access(path_.c_str(), F_OK) == 0);
  files_ = {path_, path_ + "-journal", path_ + "-wal", path_ + "-shm",
            dao::LockFile::PathFor(path_)};
  std::vector<const char*> names;
  for (const std::string& f : files_) names.push_back(f.c_str());
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) dao::Fail(dao::e::kNoPermission, {target_});
  guardian_ = ::fork();
  if (guardian_ == 0) Guard(ends[0], names);
  ::close(ends[0]);
  if (guardian_ < 0) {
    ::close(ends[1]);
    dao::Fail(dao::e::kNoPermission, {target_});
  }
  pipe_ = ends[1];
}

StagedDatabase::~StagedDatabase() { Dismiss(); }

void StagedDatabase::Dismiss() {
  if (pipe_ < 0) return;
  ::close(pipe_);
  pipe_ = -1;
  int status = 0;
  while (::waitpid(guardian_, &status, 0) < 0 && errno == EINTR) {
  }
}

void StagedDatabase::Publish() {
  // The file reaches the disk before its name does.
  int file = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  bool synced = file >= 0 && ::fsync(file) == 0;
  if (file >= 0) ::close(file);
  if (!synced) {
    Dismiss();
    dao::Fail(dao::e::kDiskIo);
  }
  // link() never replaces a name that exists: the target appears whole or
  // not at all, and a file made there meanwhile stays.
  bool linked = ::link(path_.c_str(), target_.c_str()) == 0;
  int error = errno;
  Dismiss();  // the temporary name goes; a linked target stays
  if (!linked) {
    if (error == EEXIST) dao::Fail(dao::e::kDatabaseExists);
    dao::Fail(dao::e::kNoPermission, {target_});
  }
  size_t slash = target_.find_last_of('/');
  std::string dir = slash == std::string::npos ? "." : target_.substr(0, slash + 1);
  int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd >= 0) {
    ::fsync(fd);
    ::close(fd);
  }
}

}  // namespace qor::tool
