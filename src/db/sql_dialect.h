// The SQL that CreateODBCTables sends to a server, by dialect.
//
// The default dialect is the Oracle-type one (VARCHAR2, CLOB, CHAR, NUMBER,
// FLOAT, DATE) with its fixed rules: the mapping table of DAO type codes,
// defaults inserted as stored (texts between single quotes, unescaped),
// nothing special for counters, dates without a default, and an unquoted
// DROP TABLE before each CREATE.
//
// The other dialects are chosen by the caller (qorDb.ODBCDialect) to deploy
// the template tables on that server for real: each DAO type gets the
// server's own type, counters its identity column, text defaults are
// escaped and Jet's literals ("text", True, Now()) are written as the server
// reads them, the DROP is "DROP TABLE IF EXISTS" with the quoted name, and
// the indexes of the structure table are created too.
#ifndef QOR_DB_SQL_DIALECT_H_
#define QOR_DB_SQL_DIALECT_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/variant.h"

namespace qor::db {

enum class Dialect { kOracle, kPostgreSQL, kSQLite, kMySQL, kSQLServer };

// The dialect of a name, without regard to case: "Oracle" (also blank),
// "PostgreSQL" ("Postgres"), "SQLite", "MySQL" ("MariaDB"), "SQLServer"
// ("SQL Server", "MSSQL"); nullopt for any other name.
std::optional<Dialect> DialectNamed(std::string_view name);
std::string DialectName(Dialect dialect);
// The dialect for a server's product name (SQL_DBMS_NAME); Oracle for one
// it does not know.
Dialect DialectOfServer(std::string_view dbms_name);

// One FIELD row of the structure table.
struct Column {
  std::string name;  // as it goes to the server (trimmed, upper case)
  Variant type;      // ObjDataType
  Variant size;      // ObjLen
  Variant default_value;
  bool required = false;
  bool counter = false;
};

// The column's type with its size ("VARCHAR2(40)"), or nullopt for a type
// code the dialect has no type for.
std::optional<std::string> ColumnType(Dialect dialect, const Column& column);
// " DEFAULT ..." or "" (no default, or none for the type). The Boolean
// default of a text that is not a Boolean raises error 13.
std::string DefaultClause(Dialect dialect, const Column& column);

// A name between the dialect's identifier quotes.
std::string Quoted(Dialect dialect, std::string_view name);
// The statement that removes an old table before it is created again.
std::string DropTableStatement(Dialect dialect, std::string_view table);
// The statement that creates an index of the structure table (dialects
// other than the Oracle type, which creates none): its name is the table's
// and the index's joined by "_", since some servers keep one name space
// of indexes for all tables.
std::string CreateIndexStatement(Dialect dialect, std::string_view table, std::string_view index,
                                 const std::vector<std::string>& fields);

}  // namespace qor::db

#endif  // QOR_DB_SQL_DIALECT_H_
