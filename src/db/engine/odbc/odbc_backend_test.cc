// The ODBC backend against real drivers: the SQLite ODBC driver on a file,
// and psqlODBC on a PostgreSQL server started for the test.

#include "db/engine/odbc/odbc_backend.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>

#include "db/engine/odbc/odbc_test_servers.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"

namespace qor::dao::odbc {
namespace {

using qor::testing::TempDir;

std::shared_ptr<Database> Open(const std::string& connect, const std::string& name = "") {
  return DBEngine::Get()->OpenDatabase(name, Variant(kDriverNoPrompt), Variant(false),
                                       Variant(connect));
}

// The error an action raises (number 0 when it raises none).
template <typename Fn>
Error ErrorOf(Fn&& fn) {
  try {
    fn();
  } catch (const Error& e) {
    return e;
  }
  return Error(0, "", "");
}

TEST(OdbcSqliteTest, StatementsRecordsetsAndCatalog) {
  TempDir dir;
  UseDataSources(dir.path().string(), {SqliteDataSource("lite", dir.File("target.db"))});
  auto db = Open("ODBC;DSN=lite", "lite");
  EXPECT_EQ(db->Connect(), "ODBC;DSN=lite");
  EXPECT_EQ(DbmsName(*db), "SQLite");

  // Pass-through statements reach the driver unchanged.
  db->Execute(
      "CREATE TABLE \"ORDERS\" (\"ID\" INTEGER NOT NULL, \"NAME\" VARCHAR(40) DEFAULT 'x' NOT "
      "NULL, \"PRICE\" DOUBLE, \"DUE\" TIMESTAMP, \"NOTE\" TEXT)",
      Variant(kSQLPassThrough));
  db->Execute("CREATE UNIQUE INDEX \"ORDERS_ID\" ON \"ORDERS\" (\"ID\")", Variant(kSQLPassThrough));
  db->Execute(
      "INSERT INTO \"ORDERS\" VALUES (1, 'Bolt', 2.5, '2003-03-07 14:05:09', NULL), (2, 'Nut', "
      "0.25, NULL, 'long')",
      Variant(kSQLPassThrough));
  EXPECT_EQ(db->RecordsAffected(), 2);

  auto rs = db->OpenRecordset("SELECT * FROM \"ORDERS\" ORDER BY \"ID\"", Variant::Missing(),
                              Variant(kSQLPassThrough));
  ASSERT_FALSE(rs->Eof());
  EXPECT_EQ(vb::CLng(rs->Value("ID")), 1);
  EXPECT_EQ(rs->Value("NAME").AsString(), "Bolt");
  EXPECT_DOUBLE_EQ(vb::CDbl(rs->Value("PRICE")), 2.5);
  ASSERT_TRUE(rs->Value("DUE").IsDate());
  EXPECT_EQ(vb::DateText(rs->Value("DUE").AsDate()), "3/7/2003 2:05:09 PM");
  EXPECT_TRUE(rs->Value("NOTE").IsNull());
  rs->MoveNext();
  EXPECT_EQ(rs->Value("NOTE").AsString(), "long");
  rs->MoveNext();
  EXPECT_TRUE(rs->Eof());
  EXPECT_EQ(rs->RecordCount(), 2);
  EXPECT_EQ(ErrorOf([&] { rs->AddNew(); }).number(), e::kReadOnly);

  // A transaction rolled back leaves nothing behind.
  DBEngine::Get()->BeginTrans();
  db->Execute("DELETE FROM \"ORDERS\"");
  EXPECT_EQ(db->RecordsAffected(), 2);
  DBEngine::Get()->Rollback();

  // A table by name, found without regard to case.
  auto table_rs = db->OpenRecordset("orders");
  EXPECT_EQ(table_rs->RecordCount(), 2);

  // The catalog: fields with type, size, Required and DefaultValue; indexes.
  auto table = db->GetTableDefs()->Item("orders");
  auto fields = table->GetFields();
  ASSERT_EQ(fields->Count(), 5);
  EXPECT_EQ(fields->Item("ID")->Type(), kLong);
  EXPECT_TRUE(fields->Item("ID")->Required());
  EXPECT_EQ(fields->Item("NAME")->Type(), kText);
  EXPECT_EQ(fields->Item("NAME")->Size(), 40);
  EXPECT_EQ(fields->Item("NAME")->DefaultValue(), "x");  // as the driver reports it
  EXPECT_FALSE(fields->Item("PRICE")->Required());
  EXPECT_EQ(fields->Item("PRICE")->Type(), kDouble);
  EXPECT_EQ(fields->Item("DUE")->Type(), kDate);
  auto index = table->GetIndexes()->Item("ORDERS_ID");
  EXPECT_TRUE(index->Unique());
  EXPECT_EQ(index->GetFields()->Item(Long(0))->Name(), "ID");

  // A statement the driver rejects: 3146 with the driver's own text.
  Error rejected = ErrorOf([&] { db->Execute("CREATE TABLE \"ORDERS\" (\"X\" INTEGER)"); });
  EXPECT_EQ(rejected.number(), e::kOdbcCallFailed);
  EXPECT_NE(rejected.description().find("ODBC--call failed. "), std::string::npos);
  EXPECT_NE(rejected.description().find("already exists"), std::string::npos)
      << rejected.description();

  // Dropping through TableDefs; other schema changes are not supported.
  db->GetTableDefs()->Delete("Orders");
  EXPECT_EQ(db->GetTableDefs()->Count(), 0);
  EXPECT_EQ(ErrorOf([&] { db->GetTableDefs()->Append(db->CreateTableDef(Variant("T"))); }).number(),
            e::kNotSupported);
  db->Close();
}

TEST(OdbcSqliteTest, ConnectionFailuresCarryTheDriverManagersText) {
  TempDir dir;
  UseDataSources(dir.path().string(), {});
  Error missing = ErrorOf([] { Open("ODBC;DSN=nowhere", "nowhere"); });
  EXPECT_EQ(missing.number(), e::kOdbcConnectFailed);
  EXPECT_NE(missing.description().find("ODBC--connection to 'nowhere' failed."), std::string::npos);
  EXPECT_NE(missing.description().find("(IM002)"), std::string::npos) << missing.description();
  // The name stands for a missing DSN keyword.
  EXPECT_EQ(ErrorOf([] { Open("ODBC;UID=u", "alsonowhere"); }).description().find("alsonowhere"),
            std::string("ODBC--connection to '").size());
}

TEST(OdbcPostgresTest, ServerRoundTripAndFailures) {
  testing::PostgresServer server;
  ASSERT_TRUE(server.running()) << server.failure();
  TempDir dir;
  UseDataSources(dir.path().string(), {server.Source("pg")});
  std::string login = std::string(";UID=") + server.kUser + ";PWD=" + server.kPassword;

  auto db = Open("ODBC" + login + ";DSN=pg", "pg");
  EXPECT_EQ(DbmsName(*db), "PostgreSQL");
  db->Execute(
      "CREATE TABLE \"PARTS\" (\"ID\" INTEGER NOT NULL PRIMARY KEY, \"NAME\" VARCHAR(30) "
      "DEFAULT 'none', \"QTY\" SMALLINT NOT NULL DEFAULT 0, \"PRICE\" NUMERIC(15, 4), \"OK\" "
      "BOOLEAN, \"MEMO\" TEXT, \"DUE\" TIMESTAMP)",
      Variant(kSQLPassThrough));
  db->Execute(
      "INSERT INTO \"PARTS\" VALUES (7, 'Gear', 3, 12.3456, TRUE, 'm', '2024-02-29 08:00:00')",
      Variant(kSQLPassThrough));
  auto rs =
      db->OpenRecordset("SELECT * FROM \"PARTS\"", Variant::Missing(), Variant(kSQLPassThrough));
  EXPECT_EQ(vb::CLng(rs->Value("ID")), 7);
  EXPECT_EQ(rs->Value("NAME").AsString(), "Gear");
  EXPECT_EQ(rs->Value("QTY").type(), VarType::kInteger);
  EXPECT_EQ(vb::CurrencyText(vb::CCur(rs->Value("PRICE"))), "12.3456");
  EXPECT_TRUE(rs->Value("OK").IsBoolean());
  EXPECT_TRUE(rs->Value("OK").AsBoolean());
  EXPECT_EQ(vb::DateText(rs->Value("DUE").AsDate()), "2/29/2024 8:00:00 AM");

  auto table = db->GetTableDefs()->Item("parts");
  auto fields = table->GetFields();
  EXPECT_EQ(fields->Item("QTY")->Type(), kInteger);
  EXPECT_TRUE(fields->Item("QTY")->Required());
  EXPECT_EQ(fields->Item("QTY")->DefaultValue(), "0");
  EXPECT_EQ(fields->Item("NAME")->Size(), 30);
  EXPECT_EQ(fields->Item("PRICE")->Type(), kCurrency);
  EXPECT_EQ(fields->Item("OK")->Type(), kBoolean);
  EXPECT_EQ(fields->Item("MEMO")->Type(), kMemo);
  bool has_primary = false;
  for (const auto& index : table->GetIndexes()->items()) has_primary |= index->Primary();
  EXPECT_TRUE(has_primary);

  Error rejected = ErrorOf([&] { db->Execute("CREATE TABLE X (A VARCHAR2(3))"); });
  EXPECT_EQ(rejected.number(), e::kOdbcCallFailed);
  EXPECT_NE(rejected.description().find("varchar2"), std::string::npos) << rejected.description();
  db->Close();

  Error wrong = ErrorOf([&] { Open(std::string("ODBC;UID=") + server.kUser + ";PWD=bad;DSN=pg"); });
  EXPECT_EQ(wrong.number(), e::kOdbcConnectFailed);
  EXPECT_NE(wrong.description().find("password authentication failed"), std::string::npos)
      << wrong.description();

  server.Stop();
  auto start = std::chrono::steady_clock::now();
  Error down = ErrorOf([&] { Open("ODBC" + login + ";DSN=pg"); });
  EXPECT_EQ(down.number(), e::kOdbcConnectFailed);
  EXPECT_NE(down.description().find("(08001)"), std::string::npos) << down.description();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(OdbcPostgresTest, ServerThatNeverAnswersTimesOut) {
  // A listener that accepts connections and never says a word.
  int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
  socklen_t length = sizeof addr;
  getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &length);
  ASSERT_EQ(listen(fd, 4), 0);
  TempDir dir;
  DataSource silent{"silent",
                    FindDriver("psqlodbca.so"),
                    {{"Servername", "127.0.0.1"},
                     {"Port", std::to_string(ntohs(addr.sin_port))},
                     {"Database", "postgres"},
                     {"SSLmode", "disable"}}};
  UseDataSources(dir.path().string(), {silent});
  SetLoginTimeout(2);
  auto start = std::chrono::steady_clock::now();
  Error error = ErrorOf([] { Open("ODBC;UID=u;PWD=p;DSN=silent"); });
  auto took = std::chrono::steady_clock::now() - start;
  SetLoginTimeout(20);
  close(fd);
  EXPECT_EQ(error.number(), e::kOdbcConnectFailed) << error.description();
  EXPECT_LT(took, std::chrono::seconds(8));
}

}  // namespace
}  // namespace qor::dao::odbc
