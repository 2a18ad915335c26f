// qor deploy as a user runs it: the example application database deployed
// to the embedded SQLite target and to a PostgreSQL server, and the ways it
// fails.

#include <gtest/gtest.h>

#include "db/engine/odbc/odbc_config.h"
#include "db/engine/odbc/odbc_test_servers.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/vb.h"
#include "testing/test_util.h"

namespace qor::tool {
namespace {

using testing::QorBinary;
using testing::RunProgram;
using testing::TempDir;

std::vector<std::string> TableNames(const std::string& dsn, const std::string& login = "") {
  auto db = dao::DBEngine::Get()->OpenDatabase(dsn, Variant(dao::kDriverNoPrompt), Variant(false),
                                               Variant("ODBC" + login + ";DSN=" + dsn));
  std::vector<std::string> names;
  for (const auto& table : db->GetTableDefs()->items()) {
    if (!(table->Attributes() & dao::kSystemObject)) names.push_back(table->Name());
  }
  db->Close();
  std::sort(names.begin(), names.end());
  return names;
}

TEST(DeployCliTest, ExampleToTheEmbeddedTargetAndToPostgres) {
  TempDir dir;
  std::string target = dir.File("deployed.sqlite");
  auto run = RunProgram(
      {QorBinary(), "deploy", "--target", target, "--example", dir.File("example.mdb")}, "");
  ASSERT_EQ(run.status, 0) << run.out << run.err;
  EXPECT_NE(run.out.find("built the example application database"), std::string::npos);
  EXPECT_NE(
      run.out.find("table COUNTRIES (rows marked DATA)\n  CODE       dbText(2)      NOT NULL"),
      std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find("  index ORDERS_BYCUSTOMER (CUSTNO, PLACED)"), std::string::npos);
  // The last CREATE statement is shown in a message box (standard error).
  EXPECT_NE(run.err.find("CREATE TABLE \"ORDERS\"("), std::string::npos) << run.err;

  // The tables are in the file (besides SQLite's own), the local Settings
  // table is not.
  dao::odbc::UseDataSources(dir.path().string(), {dao::odbc::SqliteDataSource("lite", target)});
  EXPECT_EQ(TableNames("lite"), (std::vector<std::string>{"COUNTRIES", "CUSTOMERS", "ORDERS"}));

  // The same command with a server's DSN.
  dao::odbc::testing::PostgresServer server;
  ASSERT_TRUE(server.running()) << server.failure();
  dao::odbc::UseDataSources(dir.path().string(), {server.Source("pg")});
  run = RunProgram({QorBinary(), "deploy", "--dsn", "pg", "--user", server.kUser, "--password",
                    server.kPassword, "--example", dir.File("example2.mdb")},
                   "");
  ASSERT_EQ(run.status, 0) << run.out << run.err;
  EXPECT_NE(run.out.find("created on the server (dialect Auto)"), std::string::npos);
  EXPECT_NE(run.out.find("  SINCE      dbDate         DEFAULT CURRENT_TIMESTAMP"),
            std::string::npos)
      << run.out;
  std::string login = std::string(";UID=") + server.kUser + ";PWD=" + server.kPassword;
  EXPECT_EQ(TableNames("pg", login),
            (std::vector<std::string>{"COUNTRIES", "CUSTOMERS", "ORDERS"}));

  // A wrong password: exit status 1 with the driver's text and the report.
  run = RunProgram({QorBinary(), "deploy", "--dsn", "pg", "--user", server.kUser, "--password",
                    "wrong", "--example", dir.File("example3.mdb")},
                   "");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("password authentication failed"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("Unable to open ODBC connection"), std::string::npos) << run.err;
}

TEST(DeployCliTest, BadArgumentsAndMissingSources) {
  TempDir dir;
  dao::odbc::UseDataSources(dir.path().string(), {});
  auto run = RunProgram(
      {QorBinary(), "deploy", "--dsn", "nowhere", "--example", dir.File("example.mdb")}, "");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("Data source name not found"), std::string::npos) << run.err;
  EXPECT_EQ(RunProgram({QorBinary(), "deploy", "--dialect", "dBase"}, "").status, 2);
  EXPECT_EQ(RunProgram({QorBinary(), "deploy", "--dsn"}, "").status, 2);
  run = RunProgram({QorBinary(), "deploy", dir.File("missing.mdb")}, "");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("Could not find file"), std::string::npos) << run.err;
}

}  // namespace
}  // namespace qor::tool
