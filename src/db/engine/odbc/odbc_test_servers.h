// Servers for the ODBC tests: a PostgreSQL server started in a temporary
// data folder on loopback, and the data sources that reach it and the
// SQLite ODBC driver.
#ifndef QOR_DB_ENGINE_ODBC_ODBC_TEST_SERVERS_H_
#define QOR_DB_ENGINE_ODBC_ODBC_TEST_SERVERS_H_

#include <string>

#include "db/engine/odbc/odbc_config.h"
#include "testing/test_util.h"

namespace qor::dao::odbc::testing {

// A PostgreSQL server of its own: initdb into a temporary folder, started
// with pg_ctl on 127.0.0.1 and a free port, run as an unprivileged user
// (the tests may run as root), password authentication over TCP for the
// user kUser. Stopped and removed when the object goes.
class PostgresServer {
 public:
  static constexpr const char* kUser = "qor";
  static constexpr const char* kPassword = "s3cret";

  PostgresServer();
  ~PostgresServer();
  PostgresServer(const PostgresServer&) = delete;
  PostgresServer& operator=(const PostgresServer&) = delete;

  // Whether the server runs; why not, when it does not.
  bool running() const { return running_; }
  const std::string& failure() const { return failure_; }
  int port() const { return port_; }

  // A psqlODBC data source for the server's database "postgres" (the user
  // and password are given in the connect string).
  DataSource Source(const std::string& name) const;

  // Stops the server (as a crash would: immediately).
  void Stop();

 private:
  // Runs a shell command line as the unprivileged user; true on status 0.
  bool Run(const std::string& command);

  qor::testing::TempDir dir_;
  std::string bin_;
  int port_ = 0;
  bool running_ = false;
  std::string failure_;
};

// A port on 127.0.0.1 that nothing listens on at the moment of the call.
int FreePort();

}  // namespace qor::dao::odbc::testing

#endif  // QOR_DB_ENGINE_ODBC_ODBC_TEST_SERVERS_H_
