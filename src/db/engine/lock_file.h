// Record, table and database locks between connections, kept as byte-range
// locks on a lock file beside the database (name.ldb, as Jet keeps one).
//
// Locks are open-file-description locks (F_OFD_SETLK): they belong to the
// LockFile object, so two connections in one process lock against each
// other just as two processes do, and the system releases them when a
// process ends, however it ends. Every attempt fails at once instead of
// waiting.
#ifndef QOR_DB_ENGINE_LOCK_FILE_H_
#define QOR_DB_ENGINE_LOCK_FILE_H_

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace qor::dao {

class LockFile {
 public:
  // Opens (creating) the lock file of the database at db_path. A lock file
  // that cannot be made (a read-only folder) leaves the object inactive:
  // every lock then succeeds, as nobody can write anyway.
  explicit LockFile(const std::string& db_path);
  ~LockFile();
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;

  // The database as a whole: shared by every connection, exclusive for an
  // exclusive open. False when another connection's lock is in the way.
  bool LockDatabase(bool exclusive);

  // A record of a table, by the table's name and the row's key.
  bool LockRecord(std::string_view table, int64_t key);
  void UnlockRecord(std::string_view table, int64_t key);

  // A whole table: shared (no writes by others while held: dbDenyWrite) or
  // exclusive (dbDenyRead). TableInUse tests whether another connection
  // holds the table in a way that forbids writing (mode shared) or reading.
  bool LockTable(std::string_view table, bool exclusive);
  void UnlockTable(std::string_view table);
  bool TableFree(std::string_view table, bool for_write);

  // The path of the lock file of db_path.
  static std::string PathFor(const std::string& db_path);

  // Whether any connection (of this or another process) has the database
  // at db_path open. A file that must not be deleted while in use (the
  // system would let it go) is tested with this first.
  static bool InUse(const std::string& db_path);

 private:
  bool SetLock(int64_t offset, int64_t length, short type);
  bool TestLock(int64_t offset, int64_t length, short type);

  int fd_ = -1;
  // This connection holds the database exclusively: no other connection
  // is in, so no other lock can be in the way and tests need no system call.
  bool exclusive_ = false;
  std::string path_;
};

}  // namespace qor::dao

#endif  // QOR_DB_ENGINE_LOCK_FILE_H_
