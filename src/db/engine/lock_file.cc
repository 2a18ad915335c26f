#include "db/engine/lock_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <functional>

#include "qorsupport/frame/vb.h"

namespace qor::dao {

namespace {

// The lock file's byte ranges: the database at 0, tables and records
// hashed into separate halves of a large range (the file stays empty;
// locks beyond its end are allowed).
constexpr int64_t kDatabaseByte = 0;
constexpr int64_t kTableBase = int64_t{1} << 32;
constexpr int64_t kRecordBase = int64_t{1} << 40;
constexpr int64_t kSpan = int64_t{1} << 30;

uint64_t Hash(std::string_view table, int64_t key) {
  uint64_t h = 1469598103934665603ull;  // FNV-1a over the upper-cased name and the key
  for (char c : vb::UCase(table)) h = (h ^ static_cast<unsigned char>(c)) * 1099511628211ull;
  for (int i = 0; i < 8; ++i)
    h = (h ^ ((static_cast<uint64_t>(key) >> (8 * i)) & 0xff)) * 1099511628211ull;
  return h;
}

int64_t TableOffset(std::string_view table) {
  return kTableBase + static_cast<int64_t>(Hash(table, -1) % static_cast<uint64_t>(kSpan));
}

int64_t RecordOffset(std::string_view table, int64_t key) {
  return kRecordBase + static_cast<int64_t>(Hash(table, key) % static_cast<uint64_t>(kSpan));
}

// A lock request for one range.
struct flock Range(short type, int64_t offset, int64_t length) {
  struct flock fl = {};
  fl.l_type = type;
  fl.l_whence = SEEK_SET;
  fl.l_start = offset;
  fl.l_len = length;
  return fl;
}

// Whether fd could take the lock, i.e. no other open file holds one in the
// way.
bool Free(int fd, short type, int64_t offset, int64_t length) {
  struct flock fl = Range(type, offset, length);
  if (::fcntl(fd, F_OFD_GETLK, &fl) != 0) return true;
  return fl.l_type == F_UNLCK;
}

}  // namespace

std::string LockFile::PathFor(const std::string& db_path) {
  std::string base = db_path;
  size_t slash = base.find_last_of('/');
  size_t dot = base.find_last_of('.');
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash)) base.resize(dot);
  return base + ".ldb";
}

LockFile::LockFile(const std::string& db_path) : path_(PathFor(db_path)) {
  fd_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
}

LockFile::~LockFile() {
  // The file itself stays: removing it could split connections that open
  // it at this moment between two files.
  if (fd_ >= 0) ::close(fd_);
}

bool LockFile::InUse(const std::string& db_path) {
  int fd = ::open(PathFor(db_path).c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0) return false;
  bool in_use = !Free(fd, F_WRLCK, kDatabaseByte, 1);
  ::close(fd);
  return in_use;
}

bool LockFile::SetLock(int64_t offset, int64_t length, short type) {
  if (fd_ < 0) return true;
  struct flock fl = Range(type, offset, length);
  return ::fcntl(fd_, F_OFD_SETLK, &fl) == 0;
}

bool LockFile::TestLock(int64_t offset, int64_t length, short type) {
  return fd_ < 0 || exclusive_ || Free(fd_, type, offset, length);
}

bool LockFile::LockDatabase(bool exclusive) {
  bool locked = SetLock(kDatabaseByte, 1, exclusive ? F_WRLCK : F_RDLCK);
  exclusive_ = locked && exclusive && fd_ >= 0;
  return locked;
}

bool LockFile::LockRecord(std::string_view table, int64_t key) {
  return SetLock(RecordOffset(table, key), 1, F_WRLCK);
}

void LockFile::UnlockRecord(std::string_view table, int64_t key) {
  SetLock(RecordOffset(table, key), 1, F_UNLCK);
}

bool LockFile::LockTable(std::string_view table, bool exclusive) {
  return SetLock(TableOffset(table), 1, exclusive ? F_WRLCK : F_RDLCK);
}

void LockFile::UnlockTable(std::string_view table) { SetLock(TableOffset(table), 1, F_UNLCK); }

bool LockFile::TableFree(std::string_view table, bool for_write) {
  // A writer is kept out by any lock of another; a reader only by an
  // exclusive one.
  return TestLock(TableOffset(table), 1, for_write ? F_WRLCK : F_RDLCK);
}

}  // namespace qor::dao
