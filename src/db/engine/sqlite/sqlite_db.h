// A SQLite connection for the engine: prepared statements kept for reuse,
// values bound and read by DAO type, and SQLite's failures turned into DAO
// errors. Internal to the SQLite backend.
#ifndef QOR_DB_ENGINE_SQLITE_SQLITE_DB_H_
#define QOR_DB_ENGINE_SQLITE_SQLITE_DB_H_

#include <sqlite3.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qorsupport/db/engine/dao.h"
#include "qorsupport/frame/variant.h"

namespace qor::dao::sqlite {

// A prepared statement, reset when the Stmt goes.
class Stmt {
 public:
  Stmt(sqlite3* db, sqlite3_stmt* stmt, bool owned) : db_(db), stmt_(stmt), owned_(owned) {}
  ~Stmt();
  Stmt(const Stmt&) = delete;
  Stmt& operator=(const Stmt&) = delete;

  Stmt& Bind(int index, const Variant& value);  // 1-based; a plain value
  Stmt& BindText(int index, std::string_view text);
  Stmt& BindInt(int index, int64_t value);
  Stmt& BindNull(int index);
  // Binds a value to be stored in a field of the given DAO type; raises
  // 3421 (conversion) or 3349 (overflow) when it does not fit.
  Stmt& BindAs(int index, const Variant& value, int type);

  // Steps once: true when a row is there. Failures raise DAO errors.
  bool Step();
  void Run() {
    while (Step()) {
    }
  }
  void Reset();

  int Columns() const { return sqlite3_column_count(stmt_); }
  bool IsNull(int col) const { return sqlite3_column_type(stmt_, col) == SQLITE_NULL; }
  int64_t Int(int col) const { return sqlite3_column_int64(stmt_, col); }
  std::string Text(int col) const;
  // The column as a value of the DAO type (0: by its stored kind).
  Variant Value(int col, int type) const;
  sqlite3_stmt* raw() const { return stmt_; }

 private:
  sqlite3* db_;
  sqlite3_stmt* stmt_;
  bool owned_;
};

class Db {
 public:
  // Opens path; flags as for sqlite3_open_v2. Raises DAO errors.
  Db(const std::string& path, int flags);
  ~Db();
  Db(const Db&) = delete;
  Db& operator=(const Db&) = delete;

  // A statement from the cache (prepared on first use). Only one Stmt per
  // SQL text may be alive at a time.
  std::unique_ptr<Stmt> Prepare(const std::string& sql);
  // A statement prepared for this use only.
  std::unique_ptr<Stmt> PrepareOnce(const std::string& sql);
  // Runs statements without results.
  void Exec(const std::string& sql);
  int64_t Changes() const { return sqlite3_changes64(db_); }
  int64_t LastRowid() const { return sqlite3_last_insert_rowid(db_); }
  sqlite3* raw() const { return db_; }
  // Drops the prepared statements (after a schema change).
  void ClearCache();

  // Raises the DAO error for SQLite's result code rc and message.
  [[noreturn]] static void RaiseFor(int rc, const std::string& message, sqlite3* db);

 private:
  sqlite3* db_ = nullptr;
  std::map<std::string, sqlite3_stmt*> cache_;
};

// Dates as the engine stores them: "yyyy-mm-dd hh:nn:ss".
std::string DateToIso(Date d);
bool IsoToDate(std::string_view text, Date* out);

// The SQLite column type for a DAO field type.
std::string ColumnType(int type);

}  // namespace qor::dao::sqlite

#endif  // QOR_DB_ENGINE_SQLITE_SQLITE_DB_H_
