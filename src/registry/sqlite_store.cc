#include "registry/sqlite_store.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "registry/codepage.h"

namespace qor::registry {
namespace {

constexpr int64_t kRootRow = 1;
constexpr int kRootCount = 6;  // 0x80000000 .. 0x80000005
constexpr int kCurrentUserIndex = 1;
constexpr int32_t kIoFailed = 1016;

constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS reg_key("
    "  id INTEGER PRIMARY KEY AUTOINCREMENT,"
    "  parent INTEGER,"
    "  name BLOB NOT NULL,"
    "  fold BLOB NOT NULL,"
    "  UNIQUE(parent, fold));"
    "CREATE TABLE IF NOT EXISTS reg_value("
    "  id INTEGER PRIMARY KEY AUTOINCREMENT,"
    "  key INTEGER NOT NULL,"
    "  name BLOB NOT NULL,"
    "  fold BLOB NOT NULL,"
    "  type INTEGER NOT NULL,"
    "  data BLOB NOT NULL,"
    "  UNIQUE(key, fold));"
    "INSERT OR IGNORE INTO reg_key(id, parent, name, fold) VALUES (1, NULL, x'', x'');";

// A failure inside a call, carrying the platform code it becomes.
struct Failure {
  int32_t code;
};

int32_t CodeOf(int sqlite_rc) {
  switch (sqlite_rc & 0xFF) {
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
    case SQLITE_CANTOPEN:
      return kAccessDenied;
    case SQLITE_NOMEM:
      return kOutOfMemory;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return kBusy;
    case SQLITE_IOERR:
    case SQLITE_FULL:
      return kIoFailed;
    default:
      return kBadDb;
  }
}

[[noreturn]] void Fail(int32_t code) { throw Failure{code}; }

// The prepared statements of each connection, kept so that a call does not
// parse its SQL again. A statement is lent to one Stmt at a time; a second
// Stmt of the same text meanwhile gets one of its own.
class StatementCache {
 public:
  // A statement for sql, prepared on first use; *cached tells whether it
  // must go back through Return (else the caller finalizes it).
  sqlite3_stmt* Take(sqlite3* db, const char* sql, bool* cached) {
    std::lock_guard<std::mutex> lock(mu_);
    Entry& e = statements_[db][sql];
    *cached = !e.lent;
    if (e.lent || !e.stmt) {
      sqlite3_stmt* stmt = nullptr;
      int rc =
          sqlite3_prepare_v3(db, sql, -1, e.lent ? 0 : SQLITE_PREPARE_PERSISTENT, &stmt, nullptr);
      if (rc != SQLITE_OK) {
        sqlite3_finalize(stmt);
        Fail(CodeOf(rc));
      }
      if (e.lent) return stmt;
      e.stmt = stmt;
    }
    e.lent = true;
    return e.stmt;
  }
  void Return(sqlite3* db, const char* sql) {
    std::lock_guard<std::mutex> lock(mu_);
    Entry& e = statements_[db][sql];
    sqlite3_reset(e.stmt);
    sqlite3_clear_bindings(e.stmt);
    e.lent = false;
  }
  // Finalizes a connection's statements before it closes.
  void Forget(sqlite3* db) {
    std::lock_guard<std::mutex> lock(mu_);
    for (auto& [sql, e] : statements_[db]) sqlite3_finalize(e.stmt);
    statements_.erase(db);
  }

 private:
  struct Entry {
    sqlite3_stmt* stmt = nullptr;
    bool lent = false;
  };
  std::mutex mu_;
  std::map<sqlite3*, std::map<std::string, Entry, std::less<>>> statements_;
};

StatementCache& Statements() {
  static StatementCache* cache = new StatementCache;
  return *cache;
}

class Stmt {
 public:
  Stmt(sqlite3* db, const char* sql) : db_(db), sql_(sql) {
    stmt_ = Statements().Take(db, sql, &cached_);
  }
  ~Stmt() {
    if (cached_) {
      Statements().Return(db_, sql_);
    } else {
      sqlite3_finalize(stmt_);
    }
  }
  Stmt(const Stmt&) = delete;
  Stmt& operator=(const Stmt&) = delete;

  Stmt& Bind(int i, int64_t v) {
    sqlite3_bind_int64(stmt_, i, v);
    return *this;
  }
  Stmt& Bind(int i, std::string_view v) {
    sqlite3_bind_blob(stmt_, i, v.empty() ? "" : v.data(), static_cast<int>(v.size()),
                      SQLITE_TRANSIENT);
    return *this;
  }
  // True for a row, false at the end.
  bool Step() {
    int rc = sqlite3_step(stmt_);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    Fail(CodeOf(rc));
  }
  int64_t Int(int col) { return sqlite3_column_int64(stmt_, col); }
  std::string Blob(int col) {
    const void* p = sqlite3_column_blob(stmt_, col);
    int n = sqlite3_column_bytes(stmt_, col);
    return p ? std::string(static_cast<const char*>(p), n) : std::string();
  }

 private:
  sqlite3* db_;
  const char* sql_;
  sqlite3_stmt* stmt_ = nullptr;
  bool cached_ = false;
};

// Runs one statement of the cache to its end.
void Exec(sqlite3* db, const char* sql) {
  Stmt stmt(db, sql);
  while (stmt.Step()) {
  }
}

int RootIndex(HKey key) {
  uint32_t u = static_cast<uint32_t>(key);
  if (u < 0x80000000u || u > 0x80000005u || u == 0x80000004u) return -1;
  return static_cast<int>(u - 0x80000000u);
}

// Splits a key path at "\" as the platform does: runs of "\" and a
// trailing one are passed over, a leading one is a bad path, a path longer
// than the "A" calls convert (260 characters) is too much data, a component
// longer than the key name limit an invalid parameter. The tree delete has
// neither limit here: it meets a component that is too long only when the
// keys before it exist (see DeleteTree).
int32_t SplitPath(std::string_view path, std::vector<std::string_view>* parts,
                  bool limit_length = true) {
  parts->clear();
  if (limit_length && path.size() > kMaxPathLength) return kMoreData;
  if (!path.empty() && path.front() == '\\') return kBadPathname;
  size_t start = 0;
  while (start < path.size()) {
    size_t end = std::min(path.find('\\', start), path.size());
    std::string_view part = path.substr(start, end - start);
    if (limit_length && part.size() > kMaxKeyNameLength) return kInvalidParameter;
    if (!part.empty()) parts->push_back(part);
    start = end + 1;
  }
  return kSuccess;
}

// The child row of a key by name; 0 when there is none.
int64_t FindChild(sqlite3* db, int64_t parent, std::string_view name) {
  Stmt q(db, "SELECT id FROM reg_key WHERE parent = ? AND fold = ?");
  q.Bind(1, parent).Bind(2, FoldCase(name));
  return q.Step() ? q.Int(0) : 0;
}

bool KeyExists(sqlite3* db, int64_t id) {
  Stmt q(db, "SELECT 1 FROM reg_key WHERE id = ?");
  q.Bind(1, id);
  return q.Step();
}

// Resolves a path below a key row; 0 when a component is missing.
int64_t Walk(sqlite3* db, int64_t id, const std::vector<std::string_view>& parts) {
  for (std::string_view part : parts) {
    id = FindChild(db, id, part);
    if (id == 0) return 0;
  }
  return id;
}

void DeleteSubtree(sqlite3* db, int64_t id, bool keep_top) {
  static constexpr const char* kValues =
      "WITH RECURSIVE tree(id) AS (SELECT ?1 UNION ALL "
      "SELECT k.id FROM reg_key k JOIN tree ON k.parent = tree.id) "
      "DELETE FROM reg_value WHERE key IN tree";
  static constexpr const char* kKeys =
      "WITH RECURSIVE tree(id) AS (SELECT ?1 UNION ALL "
      "SELECT k.id FROM reg_key k JOIN tree ON k.parent = tree.id) "
      "DELETE FROM reg_key WHERE id IN tree AND (?2 = 0 OR id <> ?1)";
  Stmt(db, kValues).Bind(1, id).Step();
  Stmt(db, kKeys).Bind(1, id).Bind(2, int64_t{keep_top}).Step();
}

}  // namespace

// One call's transaction on one root file: read calls take a snapshot,
// changing calls take the write lock at once. Rolled back unless committed.
// Inside a batch the call is a savepoint of the batch's transaction on the
// root, which the session opens when the batch first meets the root.
class SqliteStore::Session {
 public:
  Session(SqliteStore* store, sqlite3* db, int root, bool write) : db_(db) {
    if (!db_) return;
    if (!store->batch_) {
      Exec(db_, write ? "BEGIN IMMEDIATE" : "BEGIN");
      return;
    }
    if (!store->batch_roots_.count(root)) {
      Exec(db_, "BEGIN IMMEDIATE");
      store->batch_roots_.insert(root);
    }
    // A read changes nothing there is to undo.
    if (!write) {
      done_ = true;
      return;
    }
    savepoint_ = true;
    Exec(db_, "SAVEPOINT qor_call");
  }
  ~Session() {
    // The listings stay: one made before this call is dropped by the change
    // count its changes moved, one made after reads the data as it is.
    if (!db_ || done_) return;
    sqlite3_exec(db_, savepoint_ ? "ROLLBACK TO qor_call; RELEASE qor_call" : "ROLLBACK", nullptr,
                 nullptr, nullptr);
  }
  void Commit() {
    if (db_ && !done_) Exec(db_, savepoint_ ? "RELEASE qor_call" : "COMMIT");
    done_ = true;
  }

 private:
  sqlite3* db_;
  bool savepoint_ = false;
  bool done_ = false;
};

// The state of one call on a key.
struct SqliteStore::Call {
  Target target;
  sqlite3* db = nullptr;  // null for a root without a file
  std::optional<Session> session;
};

SqliteStore::Locations SqliteStore::DefaultLocations() {
  Locations loc;
  if (const char* dir = std::getenv("QOR_REGISTRY_DIR"); dir && *dir) {
    loc.current_user = loc.system = dir;
    return loc;
  }
  std::filesystem::path config;
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg) {
    config = xdg;
  } else if (const char* home = std::getenv("HOME"); home && *home) {
    config = std::filesystem::path(home) / ".config";
  } else {
    config = "/tmp";
  }
  loc.current_user = config / "qorSupport" / "registry";
  loc.system = "/var/lib/qorSupport/registry";
  return loc;
}

SqliteStore::SqliteStore(Locations locations) : locations_(std::move(locations)) {}

SqliteStore::~SqliteStore() {
  for (auto& [root, db] : connections_) {
    Statements().Forget(db);
    sqlite3_close_v2(db);
  }
}

std::filesystem::path SqliteStore::FileOf(HKey root) const {
  int index = RootIndex(root);
  if (index < 0) return {};
  const auto& dir = index == kCurrentUserIndex ? locations_.current_user : locations_.system;
  return dir / (std::string(RootName(root)) + ".db");
}

sqlite3* SqliteStore::Connection(int root, bool create, int32_t* error) {
  *error = kSuccess;
  auto it = connections_.find(root);
  if (it != connections_.end()) return it->second;
  HKey root_key = static_cast<HKey>(0x80000000u + root);
  std::filesystem::path file = FileOf(root_key);
  bool private_file = root == kCurrentUserIndex;
  std::error_code ec;
  if (!std::filesystem::exists(file, ec)) {
    if (!create) return nullptr;
    // Only what is made here gets a mode; a folder that exists keeps its
    // own (a shared folder stays shared).
    bool made = std::filesystem::create_directories(file.parent_path(), ec);
    if (made && private_file) ::chmod(file.parent_path().c_str(), 0700);
    // Made here with its mode, before SQLite sees it; the journal files
    // SQLite adds take the same mode. A file made meanwhile by another
    // process is left as it is.
    int fd =
        ::open(file.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, private_file ? 0600 : 0644);
    if (fd < 0 && errno == EEXIST) fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
      *error = kAccessDenied;
      return nullptr;
    }
    ::close(fd);
  }
  sqlite3* db = nullptr;
  int rc =
      sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX, nullptr);
  if (rc != SQLITE_OK) {
    sqlite3_close_v2(db);
    db = nullptr;
    rc = sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_FULLMUTEX, nullptr);
    if (rc != SQLITE_OK) {
      sqlite3_close_v2(db);
      *error = CodeOf(rc);
      return nullptr;
    }
  }
  sqlite3_busy_timeout(db, 30000);
  if (!sqlite3_db_readonly(db, "main")) {
    rc = sqlite3_exec(db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;", nullptr, nullptr,
                      nullptr);
    // The schema is made under the write lock only when it is missing, so
    // that opening a store never waits for another process's long batch.
    int tables = 0;
    if (rc == SQLITE_OK) {
      rc = sqlite3_exec(
          db, "SELECT count(*) FROM sqlite_master WHERE name IN ('reg_key', 'reg_value')",
          [](void* out, int, char** row, char**) {
            *static_cast<int*>(out) = row[0] ? std::atoi(row[0]) : 0;
            return 0;
          },
          &tables, nullptr);
    }
    if (rc == SQLITE_OK && tables < 2) {
      rc = sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
      if (rc == SQLITE_OK) rc = sqlite3_exec(db, kSchema, nullptr, nullptr, nullptr);
      if (rc == SQLITE_OK) rc = sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    }
    if (rc != SQLITE_OK) {
      *error = CodeOf(rc);
      sqlite3_close_v2(db);
      return nullptr;
    }
  }
  connections_[root] = db;
  return db;
}

int32_t SqliteStore::Resolve(HKey key, Target* target) {
  int root = RootIndex(key);
  if (root >= 0) {
    *target = Target{root, kRootRow};
    return kSuccess;
  }
  auto it = handles_.find(key);
  if (it == handles_.end()) return kInvalidHandle;
  *target = it->second;
  return kSuccess;
}

HKey SqliteStore::NewHandle(const Target& target) {
  HKey h = next_handle_;
  next_handle_ = next_handle_ >= 0x7FFFFFF0 ? 0x100 : next_handle_ + 4;
  handles_[h] = target;
  return h;
}

// Each call below: resolve the handle, open the root's connection, run the
// work in a session, and turn a failure into its code.
template <typename Work>
static int32_t Guarded(Work&& work) {
  try {
    return work();
  } catch (const Failure& f) {
    return f.code;
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  }
}

// Starts a call on a key: resolves the handle and, when the root has a file
// (or create asks for one), opens a session on it and checks that the key
// still exists. call->db stays null for a root without a file.
int32_t SqliteStore::Begin(HKey key, bool write, bool create, Call* call) {
  if (int32_t rc = Resolve(key, &call->target); rc != kSuccess) return rc;
  int32_t error;
  call->db = Connection(call->target.root, create, &error);
  if (!call->db) {
    if (error != kSuccess) return error;
    return call->target.id == kRootRow ? kSuccess : kKeyDeleted;
  }
  call->session.emplace(this, call->db, call->target.root, write);
  return KeyExists(call->db, call->target.id) ? kSuccess : kKeyDeleted;
}

namespace {

// Copies data out as the platform does: with no buffer only the size,
// kMoreData (and the size needed) when it does not fit.
int32_t CopyOut(const std::string& bytes, uint8_t* data, uint32_t* size) {
  uint32_t needed = static_cast<uint32_t>(bytes.size());
  if (data) {
    if (*size < needed) {
      *size = needed;
      return kMoreData;
    }
    if (needed) std::memcpy(data, bytes.data(), needed);
  }
  if (size) *size = needed;
  return kSuccess;
}

}  // namespace

int32_t SqliteStore::OpenKey(HKey key, std::string_view path, HKey* result) {
  std::lock_guard<std::mutex> lock(mu_);
  return Guarded([&] {
    *result = 0;
    std::vector<std::string_view> parts;
    Call c;
    if (int32_t rc = Begin(key, false, false, &c); rc != kSuccess) return rc;
    if (int32_t rc = SplitPath(path, &parts); rc != kSuccess) return rc;
    int64_t id = parts.empty() ? c.target.id : c.db ? Walk(c.db, c.target.id, parts) : 0;
    if (id == 0) return kFileNotFound;
    *result = NewHandle(Target{c.target.root, id});
    return kSuccess;
  });
}

int32_t SqliteStore::CreateKey(HKey key, std::string_view path, HKey* result) {
  std::lock_guard<std::mutex> lock(mu_);
  return Guarded([&] {
    *result = 0;
    std::vector<std::string_view> parts;
    if (int32_t rc = SplitPath(path, &parts); rc != kSuccess) {
      Target t;
      return Resolve(key, &t) != kSuccess ? kInvalidHandle : rc;
    }
    Call c;
    if (int32_t rc = Begin(key, true, true, &c); rc != kSuccess) return rc;
    int64_t id = c.target.id;
    for (std::string_view part : parts) {
      int64_t child = FindChild(c.db, id, part);
      if (child == 0) {
        Stmt ins(c.db, "INSERT INTO reg_key(parent, name, fold) VALUES (?, ?, ?)");
        ins.Bind(1, id).Bind(2, part).Bind(3, FoldCase(part)).Step();
        child = sqlite3_last_insert_rowid(c.db);
      }
      id = child;
    }
    c.session->Commit();
    *result = NewHandle(Target{c.target.root, id});
    return kSuccess;
  });
}

int32_t SqliteStore::CloseKey(HKey key) {
  std::lock_guard<std::mutex> lock(mu_);
  if (RootIndex(key) >= 0) return kSuccess;
  return handles_.erase(key) ? kSuccess : kInvalidHandle;
}

int32_t SqliteStore::QueryValue(HKey key, std::string_view name, uint32_t* type, uint8_t* data,
                                uint32_t* size) {
  std::lock_guard<std::mutex> lock(mu_);
  return Guarded([&] {
    Call c;
    if (int32_t rc = Begin(key, false, false, &c); rc != kSuccess) return rc;
    if (data && !size) return kInvalidParameter;
    std::optional<Stmt> q;
    if (c.db) {
      q.emplace(c.db, "SELECT type, data FROM reg_value WHERE key = ? AND fold = ?");
      q->Bind(1, c.target.id).Bind(2, FoldCase(name));
    }
    if (!q || !q->Step()) {
      if (type) *type = kRegNone;
      return kFileNotFound;
    }
    if (type) *type = static_cast<uint32_t>(q->Int(0));
    return CopyOut(q->Blob(1), data, size);
  });
}

int32_t SqliteStore::SetValue(HKey key, std::string_view name, uint32_t type, const uint8_t* data,
                              uint32_t size) {
  std::lock_guard<std::mutex> lock(mu_);
  return Guarded([&] {
    Target t;
    if (int32_t rc = Resolve(key, &t); rc != kSuccess) return rc;
    if (name.size() > kMaxValueNameLength || (!data && size)) return kInvalidParameter;
    Call c;
    if (int32_t rc = Begin(key, true, true, &c); rc != kSuccess) return rc;
    // A string whose count left out its terminating NUL gets it counted,
    // as the platform does.
    bool text = type == kRegSz || type == kRegExpandSz || type == kRegMultiSz;
    if (text && data && size && data[size - 1] && !data[size]) ++size;
    std::string_view bytes(reinterpret_cast<const char*>(data), data ? size : 0);
    Stmt up(c.db,
            "INSERT INTO reg_value(key, name, fold, type, data) VALUES (?1, ?2, ?3, ?4, ?5) "
            "ON CONFLICT(key, fold) DO UPDATE SET type = ?4, data = ?5");
    up.Bind(1, c.target.id).Bind(2, name).Bind(3, FoldCase(name)).Bind(4, type).Bind(5, bytes);
    up.Step();
    c.session->Commit();
    return kSuccess;
  });
}

int32_t SqliteStore::DeleteValue(HKey key, std::string_view name) {
  std::lock_guard<std::mutex> lock(mu_);
  return Guarded([&] {
    Call c;
    if (int32_t rc = Begin(key, true, false, &c); rc != kSuccess) return rc;
    if (!c.db) return kFileNotFound;
    Stmt del(c.db, "DELETE FROM reg_value WHERE key = ? AND fold = ?");
    del.Bind(1, c.target.id).Bind(2, FoldCase(name)).Step();
    if (sqlite3_changes(c.db) == 0) return kFileNotFound;
    c.session->Commit();
    return kSuccess;
  });
}

int32_t SqliteStore::DeleteKey(HKey key, std::string_view path) {
  std::lock_guard<std::mutex> lock(mu_);
  return Guarded([&] {
    std::vector<std::string_view> parts;
    Call c;
    if (int32_t rc = Begin(key, true, false, &c); rc != kSuccess) return rc;
    if (int32_t rc = SplitPath(path, &parts); rc != kSuccess) return rc;
    if (!c.db) return parts.empty() ? kAccessDenied : kFileNotFound;
    int64_t id = Walk(c.db, c.target.id, parts);
    if (id == 0) return kFileNotFound;
    if (id == kRootRow) return kAccessDenied;
    Stmt sub(c.db, "SELECT 1 FROM reg_key WHERE parent = ? LIMIT 1");
    if (sub.Bind(1, id).Step()) return kAccessDenied;
    DeleteSubtree(c.db, id, false);
    c.session->Commit();
    return kSuccess;
  });
}

const SqliteStore::Listing& SqliteStore::ListOf(const Call& c, bool keys) {
  // The listing is valid while the file holds the same version (no change
  // by another connection) and this connection changed nothing.
  unsigned int version = 0;
  sqlite3_file_control(c.db, "main", SQLITE_FCNTL_DATA_VERSION, &version);
  int64_t changes = sqlite3_total_changes64(c.db);
  Listing& l = keys ? key_listing_ : value_listing_;
  if (l.root == c.target.root && l.key == c.target.id && l.version == version &&
      l.changes == changes && l.db == c.db) {
    return l;
  }
  l = Listing{};
  Stmt q(c.db, keys ? "SELECT name, 0, x'' FROM reg_key WHERE parent = ? ORDER BY fold, id"
                    : "SELECT name, type, data FROM reg_value WHERE key = ? ORDER BY id");
  q.Bind(1, c.target.id);
  while (q.Step())
    l.rows.push_back(Listing::Row{q.Blob(0), static_cast<uint32_t>(q.Int(1)), q.Blob(2)});
  l.db = c.db;
  l.root = c.target.root;
  l.key = c.target.id;
  l.version = version;
  l.changes = changes;
  return l;
}

int32_t SqliteStore::EnumKey(HKey key, uint32_t index, char* name, uint32_t size) {
  std::lock_guard<std::mutex> lock(mu_);
  return Guarded([&] {
    Call c;
    if (int32_t rc = Begin(key, false, false, &c); rc != kSuccess) return rc;
    if (!c.db) return kNoMoreItems;
    const Listing& keys = ListOf(c, true);
    if (index >= keys.rows.size()) return kNoMoreItems;
    const std::string& found = keys.rows[index].name;
    if (!name || found.size() + 1 > size) return kMoreData;
    std::memcpy(name, found.c_str(), found.size() + 1);
    return kSuccess;
  });
}

int32_t SqliteStore::EnumValue(HKey key, uint32_t index, char* name, uint32_t* name_size,
                               uint32_t* type, uint8_t* data, uint32_t* data_size) {
  std::lock_guard<std::mutex> lock(mu_);
  return Guarded([&] {
    Call c;
    if (int32_t rc = Begin(key, false, false, &c); rc != kSuccess) return rc;
    if (!name || !name_size || (data && !data_size)) return kInvalidParameter;
    if (!c.db) return kNoMoreItems;
    const Listing& values = ListOf(c, false);
    if (index >= values.rows.size()) return kNoMoreItems;
    const Listing::Row& row = values.rows[index];
    if (row.name.size() + 1 > *name_size) return kMoreData;
    std::memcpy(name, row.name.c_str(), row.name.size() + 1);
    *name_size = static_cast<uint32_t>(row.name.size());
    if (type) *type = row.type;
    return CopyOut(row.data, data, data_size);
  });
}

int32_t SqliteStore::DeleteTree(HKey key, std::string_view path) {
  std::lock_guard<std::mutex> lock(mu_);
  return Guarded([&] {
    std::vector<std::string_view> parts;
    Call c;
    if (int32_t rc = Begin(key, true, false, &c); rc != kSuccess) return rc;
    if (int32_t rc = SplitPath(path, &parts, false); rc != kSuccess) return rc;
    // A component that is too long is met only when the keys before it
    // exist; a missing key before it is reported first.
    int64_t id = c.target.id;
    for (std::string_view part : parts) {
      if (part.size() > kMaxKeyNameLength) return kInvalidParameter;
      if (!c.db || (id = FindChild(c.db, id, part)) == 0) return kFileNotFound;
    }
    if (!c.db) return kSuccess;
    // An empty path empties the key itself; a root is never deleted.
    DeleteSubtree(c.db, id, parts.empty() || id == kRootRow);
    c.session->Commit();
    return kSuccess;
  });
}

int32_t SqliteStore::BeginBatch() {
  std::lock_guard<std::mutex> lock(mu_);
  if (batch_) return kBusy;
  batch_ = true;
  batch_roots_.clear();
  return kSuccess;
}

int32_t SqliteStore::EndBatch(bool commit) {
  std::lock_guard<std::mutex> lock(mu_);
  if (!batch_) return kInvalidParameter;
  int32_t result = kSuccess;
  for (int root : batch_roots_) {
    sqlite3* db = connections_[root];
    int rc = SQLITE_OK;
    if (commit && result == kSuccess) rc = sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    if (!commit || result != kSuccess || rc != SQLITE_OK) {
      if (rc != SQLITE_OK) result = CodeOf(rc);
      sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
    }
  }
  batch_ = false;
  batch_roots_.clear();
  ForgetListings();  // a rolled-back batch leaves no trace in the data version
  return result;
}

std::string_view RootName(HKey root) {
  switch (RootIndex(root)) {
    case 0:
      return "HKEY_CLASSES_ROOT";
    case 1:
      return "HKEY_CURRENT_USER";
    case 2:
      return "HKEY_LOCAL_MACHINE";
    case 3:
      return "HKEY_USERS";
    case 5:
      return "HKEY_CURRENT_CONFIG";
    default:
      return "";
  }
}

std::shared_ptr<RegistryStore> DefaultStore() {
  static std::mutex mu;
  static std::shared_ptr<SqliteStore> store;
  static std::string dir_of_store;
  std::lock_guard<std::mutex> lock(mu);
  const char* env = std::getenv("QOR_REGISTRY_DIR");
  std::string dir = env ? env : "";
  if (!store || dir != dir_of_store) {
    store = std::make_shared<SqliteStore>(SqliteStore::DefaultLocations());
    dir_of_store = dir;
  }
  return store;
}

}  // namespace qor::registry
