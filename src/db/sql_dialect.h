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

#include "qorsupport/frame/variant.h"

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
// The column as CREATE TABLE lists it: the quoted name, the type, the
// default and NOT NULL. A type the dialect has no name for is left out
// (see ColumnType).
std::string ColumnDefinition(Dialect dialect, const Column& column);

// A text between single quotes, a quote inside doubled (and, for MySQL, a
// backslash too).
std::string TextLiteral(Dialect dialect, std::string_view text);

// An index to create: its fields in order, each ascending unless marked in
// descending (which may be shorter than fields).
struct IndexDefinition {
  std::string name;
  std::vector<std::string> fields;
  std::vector<bool> descending;
  bool unique = false;
};

// The statement that creates an index (dialects other than the Oracle
// type, whose statements create none): its name is the table's and the
// index's joined by "_", since some servers keep one name space of indexes
// for all tables.
std::string CreateIndexStatement(Dialect dialect, std::string_view table,
                                 const IndexDefinition& index);

// The statement that stores text as the comment of a table (column empty)
// or of one of its columns, or "" for a dialect that keeps no comments
// that way (all but PostgreSQL).
std::string CommentStatement(Dialect dialect, std::string_view table, std::string_view column,
                             std::string_view text);

// The statement that sets the next value of a counter column past the
// largest value in the table, for a dialect whose identity columns do not
// follow the values written into them (PostgreSQL); "" for the others.
std::string ResetCounterStatement(Dialect dialect, std::string_view table, std::string_view column);

}  // namespace qor::db

#endif  // QOR_DB_SQL_DIALECT_H_
