// Data sources that a program defines for itself: the driver libraries that
// are installed, and an odbc.ini with odbcinst.ini in a folder of the
// program's choosing, which unixODBC reads instead of the system's files.
//
// The embedded default target (a SQLite file through the SQLite ODBC
// driver) and the tests' servers are reached through DSNs written here, so
// nothing outside the folder is changed.
#ifndef QOR_DB_ENGINE_ODBC_ODBC_CONFIG_H_
#define QOR_DB_ENGINE_ODBC_ODBC_CONFIG_H_

#include <string>
#include <utility>
#include <vector>

namespace qor::dao::odbc {

// The full path of an installed ODBC driver library ("libsqlite3odbc.so",
// "psqlodbca.so"), looked for in the folders Debian and other systems
// install drivers to; "" when it is not installed.
std::string FindDriver(const std::string& library);

// One data source: its name, the driver (a library path or a driver's name
// from odbcinst.ini) and its other keywords in order.
struct DataSource {
  std::string name;
  std::string driver;
  std::vector<std::pair<std::string, std::string>> keywords;
};

// Writes folder/odbc.ini with the sources and an empty folder/odbcinst.ini
// when there is none, then points this process's unixODBC at them
// (ODBCSYSINI=folder, ODBCINI=folder/odbc.ini) for the connections it opens
// from then on. Raises qor::Error 75 when the files cannot be written.
void UseDataSources(const std::string& folder, const std::vector<DataSource>& sources);

// The SQLite ODBC data source named name for the database file path.
DataSource SqliteDataSource(const std::string& name, const std::string& path);

}  // namespace qor::dao::odbc

#endif  // QOR_DB_ENGINE_ODBC_ODBC_CONFIG_H_
