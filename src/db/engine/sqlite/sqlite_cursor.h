// The SQLite backend's cursors (internal).
//
// A table cursor reads a table one row at a time by its rowid, never the
// whole table: opening costs a catalog lookup, moving and FindFirst one
// indexed query each. A query cursor runs a SELECT once and keeps its rows;
// when the SELECT reads a single table it keeps each row's rowid too, so
// that its rows can be edited.
#ifndef QOR_DB_ENGINE_SQLITE_SQLITE_CURSOR_H_
#define QOR_DB_ENGINE_SQLITE_SQLITE_CURSOR_H_

#include <memory>
#include <string>
#include <vector>

#include "qorsupport/db/engine/backend.h"

namespace qor::dao::sqlite {

class SqliteBackend;

std::unique_ptr<Cursor> MakeTableCursor(SqliteBackend* backend,
                                        std::shared_ptr<const TableInfo> table, bool writable,
                                        int32_t options);
// base_table: the table whose rows the query returns one for one, or empty
// for a read-only result. column_types: the DAO type of each result column
// as the translator typed it (0: the field's type, or as stored); empty
// when not known. A row whose computed value failed raises that error when
// it is read.
std::unique_ptr<Cursor> MakeQueryCursor(SqliteBackend* backend, const std::string& sql,
                                        const std::string& base_table,
                                        const std::vector<int>& column_types = {});

}  // namespace qor::dao::sqlite

#endif  // QOR_DB_ENGINE_SQLITE_SQLITE_CURSOR_H_
