// The seam between the engine's object model and the stores it runs on.
//
// The object model (engine.h) is the same for every kind of database; what
// differs is a Backend: SQLite files (sqlite_backend.h), ODBC data sources
// (odbc_backend.h), later read-only legacy Jet files. A Backend keeps the catalog
// (tables, fields, indexes, stored queries, user-defined properties), runs
// statements and opens Cursors, the row sources behind recordsets.
//
// Contracts every backend keeps:
// - failures raise qor::Error with DAO's numbers and texts (dao.h);
// - names are matched without regard to case;
// - a Jet SQL text is translated by the backend (jet_sql.h for SQLite), and
//   handed over unchanged with the kSQLPassThrough option;
// - the rules of the catalog (Required, AllowZeroLength, sizes, validation
//   rules, unique indexes, counters) hold for every writer, not only for
//   writes made through a Cursor;
// - a record or table that another connection holds locked fails at once
//   with 3260 or 3218 (never a hidden wait).
#ifndef QOR_DB_ENGINE_BACKEND_H_
#define QOR_DB_ENGINE_BACKEND_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qorsupport/db/engine/dao.h"
#include "qorsupport/frame/variant.h"

namespace qor::dao {

// Which object a user-defined property belongs to.
struct ObjectKey {
  enum class Kind { kDatabase, kTable, kField, kIndex, kQuery };
  Kind kind = Kind::kDatabase;
  std::string table;  // the table or query
  std::string name;   // the field or index
};

// A position in a cursor's rows, stable while the row exists.
using Bookmark = int64_t;

// The rows behind a recordset, with a current row. Positioning methods
// return false, leaving the current row as it was, when there is no such
// row.
class Cursor {
 public:
  virtual ~Cursor() = default;

  virtual const std::vector<FieldInfo>& fields() const = 0;
  virtual bool updatable() const = 0;

  virtual bool First() = 0;
  virtual bool Last() = 0;
  virtual bool Next() = 0;
  virtual bool Previous() = 0;
  virtual bool GoTo(Bookmark bookmark) = 0;

  enum class Direction { kFirst, kLast, kNext, kPrevious };
  // Moves to the first (last, next after, previous before the current row)
  // row that satisfies a Jet criterion; raises 3077 for a bad criterion.
  virtual bool Find(std::string_view criteria, Direction direction) = 0;

  // The current row's values, in field order; raises 3021 without one,
  // 3167 when it was deleted.
  virtual const std::vector<Variant>& Row() = 0;
  virtual Bookmark CurrentBookmark() const = 0;
  // The number of rows.
  virtual int64_t Count() = 0;

  // Writes. values holds one entry per field; nullopt leaves a field out
  // (its default applies on insert, its value stays on update).
  virtual Bookmark Insert(const std::vector<std::optional<Variant>>& values) = 0;
  virtual void Update(const std::vector<std::optional<Variant>>& values) = 0;
  virtual void Delete() = 0;

  // Locks the current row against Lock by other connections (raises 3260
  // when another holds it), and releases it.
  virtual void LockRow() = 0;
  virtual void UnlockRow() = 0;
  // Reads the current row again; false when it is gone.
  virtual bool Reload() = 0;
};

class Backend {
 public:
  virtual ~Backend() = default;

  virtual const std::string& name() const = 0;
  virtual bool read_only() const = 0;
  virtual std::string connect() const = 0;

  // The catalog as it is now.
  virtual std::vector<TableInfo> ReadTables() = 0;
  virtual std::vector<QueryInfo> ReadQueries() = 0;
  virtual std::vector<PropertyInfo> ReadDatabaseProperties() = 0;
  // One table's description; raises 3078 when there is no such table.
  virtual TableInfo ReadTable(std::string_view table) = 0;
  // A number that changes whenever any connection changes the catalog.
  virtual int64_t CatalogVersion() = 0;

  virtual void CreateTable(const TableInfo& table) = 0;
  virtual void DropTable(std::string_view table) = 0;
  // Table-level properties: Name (renaming from old_name), Attributes,
  // ValidationRule and ValidationText.
  virtual void UpdateTable(std::string_view old_name, const TableInfo& table) = 0;
  virtual void AddField(std::string_view table, const FieldInfo& field) = 0;
  virtual void DropField(std::string_view table, std::string_view field) = 0;
  // Built-in properties of a field (renaming from old_name).
  virtual void UpdateField(std::string_view table, std::string_view old_name,
                           const FieldInfo& field) = 0;
  virtual void CreateIndex(std::string_view table, const IndexInfo& index) = 0;
  virtual void DropIndex(std::string_view table, std::string_view index) = 0;
  virtual void SaveQuery(const QueryInfo& query) = 0;  // creates or replaces
  virtual void DropQuery(std::string_view query) = 0;

  // User-defined properties (saved: added or replaced; removed).
  virtual void SaveProperty(const ObjectKey& owner, const PropertyInfo& property) = 0;
  virtual void RemoveProperty(const ObjectKey& owner, std::string_view name) = 0;

  // Runs an action statement; the number of records affected.
  virtual int64_t Execute(std::string_view sql, int32_t options) = 0;

  // A cursor over a table (by name) or the rows of a SELECT statement.
  virtual std::unique_ptr<Cursor> OpenTable(std::string_view table, int type, int32_t options) = 0;
  virtual std::unique_ptr<Cursor> OpenQuery(std::string_view sql, int type, int32_t options) = 0;

  // The value of a Jet expression (a default value) as a field of the
  // given type stores it.
  virtual Variant Evaluate(std::string_view expression, int type) = 0;

  // A transaction over everything done on this connection until it ends.
  // Raises 3219 for a transaction already (or not) begun.
  virtual void BeginTrans() = 0;
  virtual void CommitTrans() = 0;
  virtual void Rollback() = 0;

  // Finishes pending work and refreshes the view of other connections'
  // changes.
  virtual void Idle() = 0;
  virtual void Close() = 0;
};

// How DBEngine.OpenDatabase was asked to open a database.
struct OpenRequest {
  std::string name;
  std::string connect;
  bool exclusive = false;
  bool read_only = false;
};

// A kind of database. DBEngine asks each registered provider in turn.
class BackendProvider {
 public:
  virtual ~BackendProvider() = default;
  // Whether this provider opens the request; header holds the file's
  // first bytes (empty when there is no such file).
  virtual bool Accepts(const OpenRequest& request, std::string_view header) const = 0;
  virtual std::unique_ptr<Backend> Open(const OpenRequest& request) = 0;
};

// Adds a provider, asked before the ones added earlier. The ODBC and
// SQLite providers are always there.
void RegisterBackendProvider(std::shared_ptr<BackendProvider> provider);
std::vector<std::shared_ptr<BackendProvider>> BackendProviders();

}  // namespace qor::dao

#endif  // QOR_DB_ENGINE_BACKEND_H_
