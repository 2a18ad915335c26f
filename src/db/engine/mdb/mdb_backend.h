// The legacy Jet backend: real Jet 3 and Jet 4 (.mdb) files, read-only,
// through libmdb.
//
// DBEngine.OpenDatabase picks it for a file whose first page carries the
// Jet signature with version 3 or 4. What the file holds is shown as DAO
// shows it:
// - TableDefs: user, system and attached tables with their Attributes
//   (dbSystemObject, dbHiddenObject, dbAttachedTable);
// - Fields: DAO type codes, sizes (Text in characters), attributes (fixed,
//   variable, auto-increment), Required, AllowZeroLength, DefaultValue,
//   ValidationRule and ValidationText from the stored properties; the other
//   stored properties (Description, Caption, Format, DecimalPlaces,
//   InputMask, ...) as user-defined properties;
// - Indexes: fields with their order, Primary, Unique, IgnoreNulls;
// - QueryDefs: the stored queries, with SQL rebuilt from MSysQueries for
//   select queries;
// - recordsets over every row of a table (also "SELECT * FROM table"),
//   with every type: numbers, currency, dates, Booleans, text and memo as
//   strings, binary and OLE values as Byte arrays, GUIDs as "{...}" text.
// FindFirst/FindNext/... take Jet criteria, evaluated as the SQLite
// backend evaluates them. Every write (tables, fields, indexes, queries,
// properties, rows, Execute) raises 3027; other statements raise 3251.
//
// Bad files give DAO errors, never a fault: 3343 for a file that is not a
// Jet 3/4 database (ACE files included), 3031 for a database password not
// given (or given wrongly) as ";PWD=..." in the connect string, 3049 for a
// truncated or damaged file.
#ifndef QOR_DB_ENGINE_MDB_MDB_BACKEND_H_
#define QOR_DB_ENGINE_MDB_MDB_BACKEND_H_

#include <memory>
#include <string_view>

#include "qorsupport/db/engine/backend.h"

namespace qor::dao::mdb {

class MdbProvider : public BackendProvider {
 public:
  bool Accepts(const OpenRequest& request, std::string_view header) const override;
  std::unique_ptr<Backend> Open(const OpenRequest& request) override;
};

}  // namespace qor::dao::mdb

#endif  // QOR_DB_ENGINE_MDB_MDB_BACKEND_H_
