// Migration of a database, typically a legacy Jet file, into a new database
// of the embedded engine or into an ODBC data source: the work behind
// `qor migrate`.
//
// Into a database file: every user table (not system, hidden or attached)
// is carried over by qorDb::CloneTable with its fields, indexes, validation
// rules, display properties and rows; the other stored properties
// (Description, ...) are added after it, and stored queries whose SQL the
// source holds become query definitions. CloneTable's own failures are
// reported through the library's reporting (the current user interface).
// The target must not exist. The database is built under a temporary name
// in the target's folder and put in place only when complete (see
// staged_file.h): a migration that fails, whose target would hold a
// different number of rows than the source for any table, or that is
// killed, leaves nothing behind, neither a half-written database nor
// temporary files.
//
// Into an ODBC data source (a target "ODBC;DSN=...;UID=...;PWD=..."): each
// user table is created in the server's dialect (chosen by its product
// name, as qorDb.ODBCDialect "Auto" chooses) with its columns, defaults,
// NOT NULL, zero-length checks, primary key and indexes, the descriptions
// become comments where the server keeps them (PostgreSQL), and the rows
// go through one prepared INSERT per table, in one transaction per table;
// counters continue after the largest value copied. None of the tables may
// exist on the server. A migration that fails drops the tables it made and
// raises the error with a last sentence saying so, or naming the tables it
// could not drop.
//
// What cannot be carried over to either target is listed with the reason,
// never dropped silently.
#ifndef QOR_TOOLS_QOR_MIGRATE_H_
#define QOR_TOOLS_QOR_MIGRATE_H_

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace qor::tool {

struct MigrationReport {
  struct Table {
    std::string name;
    int64_t source_rows = 0;
    int64_t target_rows = 0;
  };
  std::vector<Table> tables;
  // What was not carried over, each as "what: why".
  std::vector<std::string> left_out;
  int64_t queries = 0;  // query definitions carried over
};

// Told as the rows are copied (at each table's start and end, and every
// 1000 rows): the table, the rows done in it, its row count, and the rows
// done and to do over all tables.
struct MigrationProgress {
  std::string table;
  int64_t table_done = 0;
  int64_t table_rows = 0;
  int64_t done = 0;
  int64_t total = 0;
};
using ProgressFn = std::function<void(const MigrationProgress&)>;

// Whether target names an ODBC data source rather than a database file.
bool IsServerTarget(const std::string& target);

// Copies source into target, a new database file or an ODBC data source.
// Raises qor::Error (the engine's DAO numbers: 3204 when the target file
// exists, 3010 when one of the tables exists on the server, 3151 and 3146
// for the server's refusals) after removing what it made.
MigrationReport Migrate(const std::string& source, const std::string& target,
                        const ProgressFn& progress = nullptr);

}  // namespace qor::tool

#endif  // QOR_TOOLS_QOR_MIGRATE_H_
