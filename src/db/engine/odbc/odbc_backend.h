// The ODBC backend: a server database reached through unixODBC.
//
// DBEngine.OpenDatabase opens one when the connect string starts with
// "ODBC" ("ODBC;UID=u;PWD=p;DSN=d"). The keywords after "ODBC;" go to the
// driver manager unchanged (DSN, DRIVER, UID, PWD, DATABASE, ...); without
// DSN, DRIVER or FILEDSN among them the database's name is taken as the DSN.
// The driver is never allowed to prompt, and the login and connection
// timeouts are set (LoginTimeout below), so that a server that is down or
// does not answer ends in an error rather than a hang.
//
// What the backend offers:
// - statements go to the server as they are written, in the server's own
//   dialect (there is no Jet SQL translation on this path), with or without
//   the kSQLPassThrough option;
// - recordsets are read-only snapshots of a table or a query's rows, read
//   in full when opened;
// - the table definitions, with their fields (type, size, Required,
//   DefaultValue) and indexes, come from the ODBC catalog functions
//   (SQLTables, SQLColumns, SQLStatistics, SQLPrimaryKeys);
// - tables are dropped through TableDefs.Delete; other schema changes
//   through the object model, stored queries, user-defined properties and
//   FindFirst raise 3251, as DAO does for an ODBC database;
// - transactions switch the connection's auto-commit off until they end.
//
// Failures raise qor::Error: 3151 "ODBC--connection to 'd' failed." for a
// connection, 3146 "ODBC--call failed." for anything else, each followed by
// the driver's own messages with their SQLSTATE, as "[unixODBC][Driver
// Manager]Data source name not found ... (IM002)".
#ifndef QOR_DB_ENGINE_ODBC_ODBC_BACKEND_H_
#define QOR_DB_ENGINE_ODBC_ODBC_BACKEND_H_

#include <memory>
#include <string>

#include "qorsupport/db/engine/backend.h"

namespace qor::dao {

class Database;

namespace odbc {

// The seconds a connection attempt may take (DAO's DBEngine.LoginTimeout,
// 20 by default); also the connection timeout of later requests other than
// statements, which may run for 60 seconds. 0 waits without limit.
int LoginTimeout();
void SetLoginTimeout(int seconds);

// The server's product name (SQL_DBMS_NAME: "PostgreSQL", "SQLite",
// "MySQL", "Microsoft SQL Server", ...), or "" for a database that is not
// an ODBC one.
std::string DbmsName(Database& db);

// The provider DBEngine uses for "ODBC;..." connect strings.
class OdbcProvider : public BackendProvider {
 public:
  bool Accepts(const OpenRequest& request, std::string_view header) const override;
  std::unique_ptr<Backend> Open(const OpenRequest& request) override;
};

}  // namespace odbc
}  // namespace qor::dao

#endif  // QOR_DB_ENGINE_ODBC_ODBC_BACKEND_H_
