// CreateODBCTables, OpenConnectionODBC and ExecuteODBC against real targets:
// the SQLite ODBC driver on a file, and PostgreSQL through psqlODBC.

#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>

#include "db/engine/odbc/odbc_backend.h"
#include "db/engine/odbc/odbc_test_servers.h"
#include "db/schema_test_db.h"
#include "db/sql_dialect.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/vb.h"
#include "testing/test_util.h"

namespace qor {
namespace {

using dao::odbc::DataSource;
using dao::odbc::SqliteDataSource;
using dao::odbc::UseDataSources;
using testing::AddTable;
using testing::ScriptedUi;
using testing::TempDir;

// The Oracle-type statements the template database below gives: columns in
// the order of their names, the last table's statement shown.
const char kCustomersSql[] =
    "CREATE TABLE \"CUSTOMERS\"(\"ACTIVE\" NUMBER(1, 0) DEFAULT 1, \"AMOUNT\" NUMBER, "
    "\"BALANCE\" NUMBER(15, 4) DEFAULT 0 NOT NULL, \"BIG\" NUMBER(38, 0), \"CLOSED\" NUMBER(1, 0) "
    "DEFAULT 0, \"CODE\" CHAR(5), \"CREATED\" DATE, \"ID\" NUMBER(11, 0), \"NAME\" VARCHAR2(40) "
    "DEFAULT '\"x\"' NOT NULL, \"NOTES\" CLOB DEFAULT '\"none\"', \"QTY\" NUMBER(5, 0) DEFAULT 1, "
    "\"RATING\" NUMBER(3, 0), \"RATIO\" FLOAT(63), \"SCORE\" FLOAT(126) DEFAULT 1.5, \"WEIGHT\" "
    "FLOAT);";
const char kOrdersSql[] =
    "CREATE TABLE \"ORDERS\"(\"CUSTID\" NUMBER(11, 0) NOT NULL, \"ORDERNO\" VARCHAR2(10) NOT "
    "NULL);";

// Customers (template, data) with a field of each type the Oracle-type
// mapping names; Orders (template) with two indexes; Scratch (no template).
std::shared_ptr<dao::Database> CreateTemplates(const std::string& path) {
  auto db = dao::DBEngine::Get()->CreateDatabase(path, dao::kLangGeneral);
  AddTable(*db, "Customers",
           {{"ID", dao::kLong, 0, false, false, "", true},
            {"Name", dao::kText, 40, true, false, "\"x\""},
            {"Active", dao::kBoolean, 0, false, false, "True"},
            {"Closed", dao::kBoolean, 0, false, false, "0"},
            {"Balance", dao::kCurrency, 0, true, false, "0"},
            {"Created", dao::kDate, 0, false, false, "Now()"},
            {"Notes", dao::kMemo, 0, false, false, "\"none\""},
            {"Code", dao::kChar, 5},
            {"Rating", dao::kByte},
            {"Qty", dao::kInteger, 0, false, false, "1"},
            {"Big", dao::kBigInt},
            {"Ratio", dao::kSingle},
            {"Score", dao::kDouble, 0, false, false, "1.5"},
            {"Amount", dao::kNumeric},
            {"Weight", dao::kFloat}},
           {{"PrimaryKey", {"ID"}, true, true}}, "Template table, DATA carried over");
  AddTable(*db, "Orders", {{"OrderNo", dao::kText, 10, true}, {"CustId", dao::kLong, 0, true}},
           {{"PrimaryKey", {"OrderNo"}, true, true}, {"ByCust", {"CustId", "OrderNo"}}},
           "template");
  AddTable(*db, "Scratch", {{"Memo", dao::kText, 5}});
  return db;
}

// The first column of each row of a pass-through query, as text.
std::vector<std::string> Column(dao::Database& db, const std::string& sql) {
  auto rs = db.OpenRecordset(sql, Variant::Missing(), Variant(dao::kSQLPassThrough));
  std::vector<std::string> values;
  for (; !rs->Eof(); rs->MoveNext())
    values.push_back(vb::ConcatText(rs->GetFields()->Item(Long(0))->Value()));
  return values;
}

std::vector<std::string> MessageTexts(ScriptedUi& ui) {
  std::vector<std::string> texts;
  for (const auto& event : ui->TakeEvents()) texts.push_back(vb::CStr(event.Field("text")));
  return texts;
}

class OdbcSchemaTest : public ::testing::Test {
 protected:
  void SetUp() override {
    target_ = dir_.File("target.db");
    UseDataSources(dir_.path().string(), {SqliteDataSource("lite", target_)});
    templates_ = CreateTemplates(dir_.File("app.mdb"));
  }
  std::shared_ptr<dao::Database> OpenTarget() {
    return dao::DBEngine::Get()->OpenDatabase("lite", Variant(dao::kDriverNoPrompt), Variant(false),
                                              Variant("ODBC;DSN=lite"));
  }

  TempDir dir_;
  std::string target_;
  std::shared_ptr<dao::Database> templates_;
  ScriptedUi ui_;
  qorDb db_;
};

TEST_F(OdbcSchemaTest, OracleStatementsOnTheSqliteDriver) {
  for (int run = 0; run < 2; ++run) {  // the second run drops and creates again
    ASSERT_TRUE(db_.CreateODBCTables(*templates_, Long(1), Variant("lite"), "", "",
                                     Variant::Missing(), true));
    // Only the last statement is shown, whatever Verbose says.
    EXPECT_EQ(MessageTexts(ui_), std::vector<std::string>{kOrdersSql});
  }
  auto target = OpenTarget();
  std::vector<std::string> created =
      Column(*target, "SELECT sql FROM sqlite_master WHERE type = 'table' ORDER BY name");
  std::string customers(kCustomersSql), orders(kOrdersSql);
  EXPECT_EQ(created, (std::vector<std::string>{customers.substr(0, customers.size() - 1),
                                               orders.substr(0, orders.size() - 1)}));
  // Fields only: no index of the structure table reaches the server.
  EXPECT_TRUE(Column(*target, "SELECT name FROM sqlite_master WHERE type = 'index'").empty());
  auto fields = target->GetTableDefs()->Item("CUSTOMERS")->GetFields();
  EXPECT_TRUE(fields->Item("NAME")->Required());
  EXPECT_EQ(fields->Item("NAME")->Size(), 40);
  EXPECT_EQ(fields->Item("NAME")->DefaultValue(), "\"x\"");
  EXPECT_FALSE(fields->Item("NOTES")->Required());
  EXPECT_EQ(fields->Item("QTY")->DefaultValue(), "1");
  target->Close();

  // Verbose False shows the last statement all the same.
  ASSERT_TRUE(db_.CreateODBCTables(*templates_, Long(1), Variant("lite"), "", ""));
  EXPECT_EQ(MessageTexts(ui_), std::vector<std::string>{kOrdersSql});
  // The structure table was rebuilt under the name given.
  EXPECT_TRUE(db_.CreateODBCTables(*templates_, Long(1), Variant("lite"), "", "",
                                   Variant("  MyStructure "), false));
  EXPECT_TRUE(db_.CheckTableExists(*templates_, Variant("MyStructure")));
}

TEST_F(OdbcSchemaTest, UnknownTypesAndBadDefaults) {
  AddTable(*templates_, "Blobs", {{"Id", dao::kLong}, {"Picture", dao::kLongBinary, 0, true}}, {},
           "TEMPLATE");
  // Verbose: generation stops with the three lines; tables before stay.
  EXPECT_FALSE(db_.CreateODBCTables(*templates_, Long(1), Variant("lite"), "", "",
                                    Variant::Missing(), true));
  EXPECT_EQ(MessageTexts(ui_),
            std::vector<std::string>{"Unknown field type: 11\r\nTable: BLOBS\r\nField: Picture"});
  auto target = OpenTarget();
  EXPECT_TRUE(Column(*target, "SELECT name FROM sqlite_master").empty());
  target->Close();

  // Quietly: the column goes with an empty type (SQLite takes it).
  EXPECT_TRUE(db_.CreateODBCTables(*templates_, Long(1), Variant("lite"), "", ""));
  ui_->TakeEvents();
  target = OpenTarget();
  EXPECT_EQ(Column(*target, "SELECT sql FROM sqlite_master WHERE name = 'BLOBS'"),
            std::vector<std::string>{
                "CREATE TABLE \"BLOBS\"(\"ID\" NUMBER(11, 0), \"PICTURE\"  NOT NULL)"});
  target->Close();

  // A Boolean default that is no Boolean is an error of the generation.
  templates_->GetTableDefs()->Delete("Blobs");
  AddTable(*templates_, "Flags", {{"On", dao::kBoolean, 0, false, false, "Yes"}}, {}, "TEMPLATE");
  EXPECT_FALSE(db_.CreateODBCTables(*templates_, Long(1), Variant("lite"), "", "",
                                    Variant::Missing(), true));
  std::vector<std::string> texts = MessageTexts(ui_);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  13, CreateODBCTables()", 0), 0u) << texts[0];
}

TEST_F(OdbcSchemaTest, ConnectionsAndStatements) {
  std::shared_ptr<dao::Database> conn;
  ASSERT_TRUE(db_.OpenConnectionODBC(1, conn, Variant("lite"), Variant("u"), Variant::Missing()));
  EXPECT_EQ(conn->Connect(), "ODBC;UID=u;DSN=lite");
  conn->Close();
  ASSERT_TRUE(db_.OpenConnectionODBC(1, conn, Variant("lite"), Variant(""), Variant("p")));
  EXPECT_EQ(conn->Connect(), "ODBC;DSN=lite");
  conn->Close();
  ASSERT_TRUE(db_.OpenConnectionODBC(1, conn, Variant("lite"), Variant("u"), Variant("p")));
  EXPECT_EQ(conn->Connect(), "ODBC;UID=u;PWD=p;DSN=lite");

  EXPECT_TRUE(db_.ExecuteODBC(*conn, "CREATE TABLE t (a INTEGER)"));
  EXPECT_TRUE(db_.ExecuteODBC(*conn, "CREATE TABLE t (a INTEGER)", true, true));
  EXPECT_TRUE(ui_->TakeEvents().empty());
  EXPECT_FALSE(db_.ExecuteODBC(*conn, "CREATE TABLE t (a INTEGER)", false, false));
  EXPECT_TRUE(ui_->TakeEvents().empty());
  EXPECT_FALSE(db_.ExecuteODBC(*conn, "CREATE TABLE t (a INTEGER)", false, true));
  std::vector<std::string> texts = MessageTexts(ui_);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  3146, ExecuteODBC()\r\nODBC--call failed. ", 0), 0u) << texts[0];
  EXPECT_NE(texts[0].find("table t already exists"), std::string::npos) << texts[0];
  conn->Close();

  // 2 opens a database by its name; other kinds of source fail.
  ASSERT_TRUE(db_.OpenConnectionODBC(2, conn, Variant(dir_.File("app.mdb"))));
  EXPECT_TRUE(db_.CheckTableExists(*conn, Variant("Orders")));
  conn->Close();
  EXPECT_FALSE(db_.OpenConnectionODBC(3, conn, Variant("lite"), Variant(), Variant(), true));
  texts = MessageTexts(ui_);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  5, OpenConnectionODBC()", 0), 0u) << texts[0];

  // A DSN that does not exist: False, both reports, the driver manager's text.
  EXPECT_FALSE(db_.CreateODBCTables(*templates_, Long(1), Variant("nowhere"), "", "",
                                    Variant::Missing(), true));
  texts = MessageTexts(ui_);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(texts[0].rfind("ERROR  3151, OpenConnectionODBC()", 0), 0u) << texts[0];
  EXPECT_NE(texts[0].find("Data source name not found"), std::string::npos) << texts[0];
  EXPECT_EQ(texts[1], "Unable to open ODBC connection");
  EXPECT_FALSE(db_.CreateODBCTables(*templates_, Long(1), Variant("nowhere"), "", ""));
  EXPECT_TRUE(ui_->TakeEvents().empty());
}

TEST_F(OdbcSchemaTest, NoTemplatesOpensNoConnection) {
  auto empty = dao::DBEngine::Get()->CreateDatabase(dir_.File("empty.mdb"), dao::kLangGeneral);
  AddTable(*empty, "Plain", {{"A", dao::kText, 5}}, {}, "just a table");
  EXPECT_FALSE(
      db_.CreateODBCTables(*empty, Long(1), Variant("nowhere"), "", "", Variant::Missing(), true));
  // No connection report: only the structure table's.
  EXPECT_EQ(MessageTexts(ui_), std::vector<std::string>{"Structure table has no records"});
}

TEST_F(OdbcSchemaTest, TableNamesMatchTrimmedAndUpperCased) {
  auto db = dao::DBEngine::Get()->CreateDatabase(dir_.File("lines.mdb"), dao::kLangGeneral);
  AddTable(*db, "Lines", {{"B", dao::kText, 0}, {"D", dao::kLong}}, {}, "template");
  AddTable(*db, "lines ", {{"A", dao::kText, 3}, {"C", dao::kLong}}, {}, "template");
  ASSERT_TRUE(db_.CreateODBCTables(*db, Long(1), Variant("lite"), "", ""));
  // One table, its columns by table name first, then by name.
  EXPECT_EQ(MessageTexts(ui_),
            std::vector<std::string>{"CREATE TABLE \"LINES\"(\"B\" VARCHAR2(50), \"D\" NUMBER(11, "
                                     "0), \"A\" VARCHAR2(3), \"C\" NUMBER(11, 0));"});
  db->Close();
}

TEST_F(OdbcSchemaTest, LateBoundThroughQorAutomation) {
  using Json = nlohmann::json;
  templates_->Close();
  auto obj = [](int handle) { return Json{{"$", "Object"}, {"v", handle}}; };
  // Handles count up from 1 for each new object.
  std::vector<Json> requests = {
      {{"create", "DBEngine"}},                                                 // 1
      {{"on", 1}, {"call", "OpenDatabase"}, {"args", {dir_.File("app.mdb")}}},  // 2
      {{"create", "qorDb"}},                                                    // 3
      {{"on", 3}, {"set", "ODBCDialect"}, {"value", "sqlite"}},
      {{"on", 3}, {"get", "ODBCDialect"}},
      {{"on", 3},
       {"call", "CreateODBCTables"},
       {"args", {obj(2), 1, "lite", "", "", Json{{"$", "Missing"}}, true}}},
      {{"on", 3}, {"call", "OpenConnectionODBC"}, {"args", {1, nullptr, "lite", "u"}}},  // 4
      {{"on", 3},
       {"call", "ExecuteODBC"},
       {"args", {obj(4), "INSERT INTO \"ORDERS\" (\"ORDERNO\", \"CUSTID\") VALUES ('A', 1)"}}},
      {{"on", 3}, {"call", "ExecuteODBC"}, {"args", {obj(4), "INSERT INTO nowhere VALUES (1)"}}},
      {{"on", 3}, {"set", "ODBCDialect"}, {"value", "dBase"}},
  };
  auto r = testing::RunAutomationRequests<Json>(requests);
  ASSERT_EQ(r.size(), requests.size());
  for (size_t i = 0; i < 9; ++i) EXPECT_FALSE(r[i].contains("error")) << r[i].dump();
  EXPECT_EQ(r[4]["result"], "SQLite");
  EXPECT_EQ(r[5]["result"], true);
  ASSERT_EQ(r[5]["ui"].size(), 1u);
  EXPECT_EQ(
      r[5]["ui"][0]["text"],
      "CREATE TABLE \"ORDERS\"(\"CUSTID\" INTEGER NOT NULL, \"ORDERNO\" VARCHAR(10) NOT NULL);");
  EXPECT_EQ(r[6]["result"], true);
  EXPECT_EQ(r[6]["byref"]["1"], obj(4));
  EXPECT_EQ(r[7]["result"], true);
  EXPECT_EQ(r[8]["result"], false);
  EXPECT_EQ(r[9]["error"]["number"], 5);
  // The row went to the target file.
  auto target = OpenTarget();
  EXPECT_EQ(Column(*target, "SELECT \"ORDERNO\" FROM \"ORDERS\""), std::vector<std::string>{"A"});
  EXPECT_EQ(
      Column(*target, "SELECT name FROM sqlite_master WHERE type = 'index' ORDER BY name"),
      (std::vector<std::string>{"CUSTOMERS_PRIMARYKEY", "ORDERS_BYCUST", "ORDERS_PRIMARYKEY"}));
  target->Close();
}

TEST(SqlDialectTest, TypeNamesAndDefaults) {
  using db::Column;
  using db::Dialect;
  auto type = [](Dialect d, int code, int size = 0, bool counter = false) {
    Column c;
    c.type = Long(code);
    c.size = Long(size);
    c.counter = counter;
    return db::ColumnType(d, c).value_or("-");
  };
  auto def = [](Dialect d, int code, const char* value) {
    Column c;
    c.type = Long(code);
    c.default_value = Variant(value);
    return db::DefaultClause(d, c);
  };
  EXPECT_EQ(type(Dialect::kOracle, dao::kText, 0), "VARCHAR2(0)");
  EXPECT_EQ(type(Dialect::kOracle, dao::kLong, 4, true), "NUMBER(11, 0)");
  EXPECT_EQ(type(Dialect::kOracle, dao::kGUID), "-");
  EXPECT_EQ(type(Dialect::kOracle, 17), "-");
  EXPECT_EQ(def(Dialect::kOracle, dao::kText, "it's"), " DEFAULT 'it's'");
  EXPECT_EQ(def(Dialect::kOracle, dao::kDate, "#1/1/2000#"), "");
  EXPECT_EQ(def(Dialect::kOracle, dao::kBoolean, "True"), " DEFAULT 1");
  EXPECT_EQ(db::DropTableStatement(Dialect::kOracle, "ORDERS"), "DROP TABLE ORDERS;");

  EXPECT_EQ(type(Dialect::kPostgreSQL, dao::kText, 0), "VARCHAR(255)");
  EXPECT_EQ(type(Dialect::kPostgreSQL, dao::kLong, 4, true),
            "INTEGER GENERATED BY DEFAULT AS IDENTITY");
  EXPECT_EQ(type(Dialect::kSQLite, dao::kLong, 4, true), "INTEGER PRIMARY KEY AUTOINCREMENT");
  EXPECT_EQ(def(Dialect::kPostgreSQL, dao::kText, "\"it's\""), " DEFAULT 'it''s'");
  EXPECT_EQ(def(Dialect::kPostgreSQL, dao::kBoolean, "No"), " DEFAULT FALSE");
  EXPECT_EQ(def(Dialect::kMySQL, dao::kBoolean, "Yes"), " DEFAULT 1");
  EXPECT_EQ(def(Dialect::kSQLite, dao::kDate, "=Date()"), " DEFAULT CURRENT_DATE");
  EXPECT_EQ(def(Dialect::kSQLServer, dao::kDate, "Now()"), " DEFAULT CURRENT_TIMESTAMP");
  EXPECT_EQ(def(Dialect::kPostgreSQL, dao::kLong, "Nz(1)"), "");
  EXPECT_EQ(db::DropTableStatement(Dialect::kMySQL, "ORDERS"), "DROP TABLE IF EXISTS `ORDERS`;");
  EXPECT_EQ(
      db::CreateIndexStatement(Dialect::kPostgreSQL, "ORDERS", {"BYCUST", {"A", "B"}, {}, false}),
      "CREATE INDEX \"ORDERS_BYCUST\" ON \"ORDERS\" (\"A\", \"B\");");
  EXPECT_EQ(db::CreateIndexStatement(Dialect::kMySQL, "T", {"U", {"A", "B"}, {true}, true}),
            "CREATE UNIQUE INDEX `T_U` ON `T` (`A` DESC, `B`);");
  EXPECT_EQ(db::TextLiteral(Dialect::kMySQL, "a\\'b"), "'a\\\\''b'");
  EXPECT_EQ(db::CommentStatement(Dialect::kPostgreSQL, "T", "c", "it's"),
            "COMMENT ON COLUMN \"T\".\"c\" IS 'it''s';");
  EXPECT_EQ(db::CommentStatement(Dialect::kSQLite, "T", "", "x"), "");

  EXPECT_EQ(db::DialectNamed("mariadb"), Dialect::kMySQL);
  EXPECT_EQ(db::DialectNamed(""), Dialect::kOracle);
  EXPECT_FALSE(db::DialectNamed("dBase"));
  EXPECT_EQ(db::DialectOfServer("Microsoft SQL Server"), Dialect::kSQLServer);
}

// What information_schema says of a column: type, length, default, NOT NULL,
// identity.
std::map<std::string, std::string> PgColumns(dao::Database& db, const std::string& table) {
  auto rs = db.OpenRecordset(
      "SELECT column_name, data_type, character_maximum_length, column_default, is_nullable, "
      "is_identity FROM information_schema.columns WHERE table_name = '" +
          table + "' ORDER BY ordinal_position",
      Variant::Missing(), Variant(dao::kSQLPassThrough));
  std::map<std::string, std::string> columns;
  for (; !rs->Eof(); rs->MoveNext()) {
    std::string text = vb::ConcatText(rs->Value("data_type"));
    if (!rs->Value("character_maximum_length").IsNull()) {
      text += "(" + vb::CStr(rs->Value("character_maximum_length")) + ")";
    }
    if (!rs->Value("column_default").IsNull()) {
      text += " DEFAULT " + vb::CStr(rs->Value("column_default"));
    }
    if (vb::CStr(rs->Value("is_nullable")) == "NO") text += " NOT NULL";
    if (vb::CStr(rs->Value("is_identity")) == "YES") text += " IDENTITY";
    columns[vb::CStr(rs->Value("column_name"))] = text;
  }
  return columns;
}

TEST_F(OdbcSchemaTest, PostgresDeployAndFailures) {
  dao::odbc::testing::PostgresServer server;
  ASSERT_TRUE(server.running()) << server.failure();
  UseDataSources(dir_.path().string(), {server.Source("pg")});
  const std::string user = server.kUser, password = server.kPassword;

  // The Oracle-type statements: the server refuses the first one (FLOAT(63)).
  EXPECT_FALSE(db_.CreateODBCTables(*templates_, Long(1), Variant("pg"), user, password,
                                    Variant::Missing(), true));
  std::vector<std::string> texts = MessageTexts(ui_);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(texts[0].rfind("ERROR  3146, ExecuteODBC()", 0), 0u) << texts[0];
  EXPECT_NE(texts[0].find("precision for type float"), std::string::npos) << texts[0];
  EXPECT_EQ(texts[1], "Table SQL execute error");

  // The PostgreSQL dialect deploys them, indexes included; twice over.
  db_.SetODBCDialect(Variant("Auto"));
  for (int run = 0; run < 2; ++run) {
    ASSERT_TRUE(db_.CreateODBCTables(*templates_, Long(1), Variant("pg"), user, password,
                                     Variant::Missing(), true));
    texts = MessageTexts(ui_);
    ASSERT_EQ(texts.size(), 1u);
    EXPECT_EQ(texts[0].rfind("CREATE TABLE \"ORDERS\"(", 0), 0u) << texts[0];
  }
  std::shared_ptr<dao::Database> conn;
  ASSERT_TRUE(db_.OpenConnectionODBC(1, conn, Variant("pg"), Variant(user), Variant(password)));
  std::map<std::string, std::string> expected = {
      {"ACTIVE", "boolean DEFAULT true"},
      {"AMOUNT", "numeric"},
      {"BALANCE", "numeric DEFAULT 0 NOT NULL"},
      {"BIG", "bigint"},
      {"CLOSED", "boolean DEFAULT false"},
      {"CODE", "character(5)"},
      {"CREATED", "timestamp without time zone DEFAULT CURRENT_TIMESTAMP"},
      {"ID", "integer NOT NULL IDENTITY"},
      {"NAME", "character varying(40) DEFAULT 'x'::character varying NOT NULL"},
      {"NOTES", "text DEFAULT 'none'::text"},
      {"QTY", "smallint DEFAULT 1"},
      {"RATING", "smallint"},
      {"RATIO", "real"},
      {"SCORE", "double precision DEFAULT 1.5"},
      {"WEIGHT", "double precision"}};
  EXPECT_EQ(PgColumns(*conn, "CUSTOMERS"), expected);
  EXPECT_EQ(Column(*conn,
                   "SELECT indexdef FROM pg_indexes WHERE tablename = 'ORDERS' ORDER BY indexname"),
            (std::vector<std::string>{
                "CREATE INDEX \"ORDERS_BYCUST\" ON public.\"ORDERS\" USING btree (\"CUSTID\", "
                "\"ORDERNO\")",
                "CREATE INDEX \"ORDERS_PRIMARYKEY\" ON public.\"ORDERS\" USING btree "
                "(\"ORDERNO\")"}));
  // The engine reads the same through the catalog functions.
  auto fields = conn->GetTableDefs()->Item("CUSTOMERS")->GetFields();
  EXPECT_EQ(fields->Item("NAME")->Type(), dao::kText);
  EXPECT_EQ(fields->Item("BALANCE")->Type(), dao::kCurrency);
  EXPECT_TRUE(fields->Item("BALANCE")->Required());
  conn->Close();

  // A wrong password, then a server that is down: False, the reports, the
  // driver's text, and no wait.
  EXPECT_FALSE(db_.CreateODBCTables(*templates_, Long(1), Variant("pg"), user, "wrong",
                                    Variant::Missing(), true));
  texts = MessageTexts(ui_);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_NE(texts[0].find("password authentication failed"), std::string::npos) << texts[0];
  EXPECT_EQ(texts[1], "Unable to open ODBC connection");
  server.Stop();
  EXPECT_FALSE(db_.CreateODBCTables(*templates_, Long(1), Variant("pg"), user, password,
                                    Variant::Missing(), true));
  texts = MessageTexts(ui_);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(texts[0].rfind("ERROR  3151, OpenConnectionODBC()", 0), 0u) << texts[0];
}

}  // namespace
}  // namespace qor
