// The SQLite backend: one database per file.
//
// The file is an ordinary SQLite database. What DAO keeps and SQLite lacks
// (type codes, sizes, attributes, Required, AllowZeroLength, defaults,
// validation rules, index properties, stored queries, user-defined
// properties, counter seeds) lives in catalog tables in the same file,
// named MSys* and shown as system tables:
//   MSysObjects      tables and stored queries
//   MSysColumns      fields
//   MSysIndexes      indexes and their fields
//   MSysProperties   user-defined properties of every object
// The catalog's rules are kept by triggers and unique indexes that the
// backend writes for each table, so they hold for any writer on any
// connection. Texts compare in Jet's sort order (the collation qor_jet,
// jet_collation.h); dates are stored as "yyyy-mm-dd hh:nn:ss" texts;
// Booleans as -1 and 0.
//
// Files are opened in WAL mode so that readers never block writers; a
// writer that meets another connection's open transaction fails at once
// with 3218. Record and table locks live in the lock file (lock_file.h).
// Tables that other tools created without the catalog are shown with types
// taken from their declared column types.
#ifndef QOR_DB_ENGINE_SQLITE_SQLITE_BACKEND_H_
#define QOR_DB_ENGINE_SQLITE_SQLITE_BACKEND_H_

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "db/engine/lock_file.h"
#include "db/engine/sqlite/sqlite_db.h"
#include "qorsupport/db/engine/backend.h"

namespace qor::dao::sqlite {

class SqliteBackend : public Backend {
 public:
  // Opens an existing database file; raises 3024 (missing), 3343 (not a
  // database), 3044 (bad path), 3045 (opened exclusively elsewhere).
  static std::unique_ptr<SqliteBackend> Open(const OpenRequest& request);
  // Creates a new database file; raises 3204 when the file exists.
  static std::unique_ptr<SqliteBackend> Create(const std::string& path, std::string_view locale);
  // Deletes the database file at path with the files kept beside it (the
  // store's journal, write-ahead log and shared memory, and the lock file).
  // Returns whether the database file is gone (also when it was not there);
  // raises nothing. No connection may have it open.
  static bool RemoveFiles(const std::string& path);

  ~SqliteBackend() override;

  const std::string& name() const override { return path_; }
  bool read_only() const override { return read_only_; }
  std::string connect() const override { return ""; }

  std::vector<TableInfo> ReadTables() override;
  std::vector<QueryInfo> ReadQueries() override;
  std::vector<PropertyInfo> ReadDatabaseProperties() override;
  TableInfo ReadTable(std::string_view table) override { return Table(table); }
  int64_t CatalogVersion() override;

  void CreateTable(const TableInfo& table) override;
  void DropTable(std::string_view table) override;
  void UpdateTable(std::string_view old_name, const TableInfo& table) override;
  void AddField(std::string_view table, const FieldInfo& field) override;
  void DropField(std::string_view table, std::string_view field) override;
  void UpdateField(std::string_view table, std::string_view old_name,
                   const FieldInfo& field) override;
  void CreateIndex(std::string_view table, const IndexInfo& index) override;
  void DropIndex(std::string_view table, std::string_view index) override;
  void SaveQuery(const QueryInfo& query) override;
  void DropQuery(std::string_view query) override;
  void SaveProperty(const ObjectKey& owner, const PropertyInfo& property) override;
  void RemoveProperty(const ObjectKey& owner, std::string_view name) override;

  int64_t Execute(std::string_view sql, int32_t options) override;
  std::unique_ptr<Cursor> OpenTable(std::string_view table, int type, int32_t options) override;
  std::unique_ptr<Cursor> OpenQuery(std::string_view sql, int type, int32_t options) override;

  void Idle() override;
  void Close() override;

  Variant Evaluate(std::string_view expression, int type) override;
  void BeginTrans() override;
  void CommitTrans() override;
  void Rollback() override;

  // A set-based copy of rows from a table of another file of the engine
  // (or of this one): AttachCopySource makes the file at source_path
  // readable on this connection (outside any transaction); false when it
  // cannot be, or this database is read-only or in a transaction.
  // DetachCopySource ends that, outside any transaction.
  bool AttachCopySource(const std::string& source_path);
  void DetachCopySource();
  // Copies every row of source_table of the attached source into
  // dest_table, by one INSERT ... SELECT per chunk of rows, all in one
  // savepoint (inside the caller's transaction, or a transaction of its
  // own): columns[i] of the source goes to columns[i] of the destination as
  // it is stored, and every rule of the destination (its triggers and
  // indexes) holds for each row. Calls progress with the rows copied after
  // each chunk. Returns the rows copied, or -1 when a row fails a rule (or
  // nothing is attached): then nothing was copied, and the caller copies
  // row by row to learn which row and why.
  int64_t CopyRows(std::string_view source_table, std::string_view dest_table,
                   const std::vector<std::string>& columns,
                   const std::function<void(int64_t)>& progress);

  // Whether BeginTrans opened a transaction that is still open.
  bool in_transaction() const { return in_transaction_; }

  // For cursors.
  Db& db() { return *db_; }
  LockFile* locks() { return locks_.get(); }
  // The table's description from the catalog; raises 3078 when it has none.
  // The reference holds until the catalog changes; SharedTable's pointer for
  // as long as it is kept.
  const TableInfo& Table(std::string_view name);
  std::shared_ptr<const TableInfo> SharedTable(std::string_view name);
  // The same without a look at the file when nothing was committed to it
  // (by any connection) since this connection's last transaction began. The
  // description may be stale then: whoever uses it must call
  // CatalogCurrent() while its next statement on the file is running.
  std::shared_ptr<const TableInfo> TableFromCache(std::string_view name);
  // Whether the catalog is still the one the cached descriptions were read
  // from. Cheap (no statement) unless something was committed since; call
  // it while a statement is active or right after it ran, so that it sees
  // what that statement saw.
  bool CatalogCurrent();
  void CheckWritable() const;

 private:
  SqliteBackend(std::string path, std::unique_ptr<Db> db, bool read_only);
  void Prepare(bool create);
  void EnsureCatalog();
  TableInfo Describe(const std::string& table, bool in_catalog);
  // Writes the triggers and SQLite indexes that keep the table's rules.
  void WriteRules(const TableInfo& table);
  void DropRules(std::string_view table);
  void Touch();               // after a schema change: forget the cached catalog
  void UndoCopy(bool begun);  // rolls CopyRows' savepoint back when begun
  void BumpCatalogVersion();
  // Runs fn in a savepoint: all of it or nothing.
  void Atomically(const std::function<void()>& fn);

  std::string path_;
  std::unique_ptr<Db> db_;
  std::unique_ptr<LockFile> locks_;
  bool read_only_;
  bool in_transaction_ = false;
  std::string copy_schema_;  // where AttachCopySource made the source readable
  bool user_sql_ = false;    // the user's SQL is being prepared or run: the catalog is read-only
  // SQLite's data version of the file as of this connection's last
  // transaction (it changes with every commit by any connection);
  // seen_data_version_ is its value when the catalog version was last found
  // equal to cached_version_.
  uint32_t DataVersion();
  int64_t cached_version_ = -1;  // the catalog version table_cache_ was read at
  uint32_t seen_data_version_ = 0;
  bool seen_valid_ = false;  // seen_data_version_ holds; false after Execute
  std::map<std::string, std::shared_ptr<const TableInfo>> table_cache_;  // by upper-case name
  bool cache_valid_ = false;
  bool cache_complete_ = false;  // table_cache_ holds every table (ReadTables filled it)
};

// The provider DBEngine uses for SQLite files.
class SqliteProvider : public BackendProvider {
 public:
  bool Accepts(const OpenRequest& request, std::string_view header) const override;
  std::unique_ptr<Backend> Open(const OpenRequest& request) override;
};

}  // namespace qor::dao::sqlite

#endif  // QOR_DB_ENGINE_SQLITE_SQLITE_BACKEND_H_
