// qor migrate into a PostgreSQL server of the test's own through ODBC: the
// real legacy file and a database with every field type, read back from the
// server and compared row by row; and the ways it fails without leaving
// tables behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "db/engine/mdb/mdb_test_files.h"
#include "db/engine/odbc/odbc_config.h"
#include "db/engine/odbc/odbc_test_servers.h"
#include "db/test_databases.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "testing/test_util.h"

namespace qor::tool {
namespace {

using dao::odbc::testing::PostgresServer;
using testing::QorBinary;
using testing::RunProgram;
using testing::RunResult;

// One server for the suite (the driver manager keeps the data sources it
// read, so the port stays the same); each test leaves it without tables.
class MigrateToPostgres : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    server_ = new PostgresServer;
    dir_ = new testing::TempDir;
  }
  static void TearDownTestSuite() {
    delete server_;
    delete dir_;
  }

  void SetUp() override {
    if (!server_->running()) GTEST_SKIP() << server_->failure();
    dao::odbc::UseDataSources(dir_->path().string(), {server_->Source("pg")});
  }
  void TearDown() override {
    if (!server_->running()) return;
    auto db = Server();
    for (const std::string& table : ServerTables()) {
      db->Execute("DROP TABLE \"" + table + "\"", Variant(dao::kSQLPassThrough));
    }
  }

  static std::string Connect() {
    return std::string("ODBC;DSN=pg;UID=") + PostgresServer::kUser +
           ";PWD=" + PostgresServer::kPassword;
  }

  static std::shared_ptr<dao::Database> Server() {
    return dao::DBEngine::Get()->OpenDatabase("", Variant(dao::kDriverNoPrompt), Variant(false),
                                              Variant(Connect()));
  }

  // The first value of a statement in the server's own SQL (Null without
  // rows).
  static Variant Value(const std::string& sql) {
    auto db = Server();
    auto rs = db->OpenRecordset(sql, Variant(dao::kOpenSnapshot), Variant(dao::kSQLPassThrough));
    return rs->Eof() ? Variant::Null() : rs->FieldValue(0);
  }

  static RunResult Migrate(const std::string& source) {
    return RunProgram({QorBinary(), "migrate", "--quiet", source, Connect()}, "");
  }

  // The user tables on the server, by name.
  static std::vector<std::string> ServerTables() {
    std::vector<std::string> names;
    auto db = Server();
    auto tables = db->GetTableDefs();
    for (const auto& t : tables->items()) names.push_back(t->Name());
    std::sort(names.begin(), names.end());
    return names;
  }

  // The comment on a column of a table.
  static std::string Comment(const std::string& table, const std::string& column) {
    return vb::ConcatText(
        Value("SELECT d.description FROM pg_description d JOIN pg_attribute a ON a.attrelid = "
              "d.objoid AND a.attnum = d.objsubid WHERE d.objoid = '\"" +
              table + "\"'::regclass AND a.attname = '" + column + "'"));
  }

  static std::string File(const std::string& name) { return dir_->File(name); }

  static inline PostgresServer* server_ = nullptr;
  static inline testing::TempDir* dir_ = nullptr;
};

// A value in a form both sides agree on: binary values as their bytes
// whether array or string, numbers and Booleans as numbers, dates to the
// second.
std::string Canonical(const Variant& v) {
  if (v.IsNull() || v.IsEmpty()) return "Null";
  if (v.IsArray()) return "bytes:" + vb::BytesOf(v);
  if (v.IsDate()) return "date:" + vb::DateText(v.AsDate());
  if (v.IsNumber() || v.IsBoolean()) return "number:" + vb::CStr(Variant(v.NumericValue()));
  return vb::CStr(v);
}

// Long values shortened to their start, length and hash, so that a
// difference stays readable.
std::string Short(const std::string& value) {
  if (value.size() <= 64) return value;
  return value.substr(0, 16) + "...(" + std::to_string(value.size()) + " bytes, hash " +
         std::to_string(std::hash<std::string>()(value)) + ")";
}

std::vector<std::string> Rows(dao::Recordset& rs, bool binary_as_text) {
  std::vector<std::string> rows;
  for (; !rs.Eof(); rs.MoveNext()) {
    std::string row;
    for (size_t i = 0; i < rs.GetFields()->items().size(); ++i) {
      std::string value = Canonical(rs.FieldValue(i));
      if (binary_as_text && !value.starts_with("bytes:") && !value.starts_with("number:") &&
          !value.starts_with("date:") && value != "Null") {
        int type = rs.GetFields()->Item(Variant(static_cast<int32_t>(i)))->Type();
        if (type == dao::kBinary || type == dao::kLongBinary) value = "bytes:" + value;
      }
      row += Short(value) + "|";
    }
    rows.push_back(row);
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

// Expects every user table of source on the server with its columns,
// indexes and rows.
void ExpectSameContent(const std::string& source, dao::Database& server) {
  auto src = dao::DBEngine::Get()->OpenDatabase(source, Variant(false), Variant(true));
  for (const auto& s : src->GetTableDefs()->items()) {
    if (s->Attributes() != 0) continue;
    SCOPED_TRACE(s->Name());
    auto d = server.GetTableDefs()->Item(Variant(s->Name()));
    // The server requires a value in the primary key's columns and its
    // identity columns, which the source need not say.
    std::vector<std::string> keys;
    for (const auto& index : s->GetIndexes()->items()) {
      if (!index->Primary()) continue;
      for (const auto& f : index->GetFields()->items()) keys.push_back(f->Name());
    }
    ASSERT_EQ(d->GetFields()->Count(), s->GetFields()->Count());
    for (int32_t f = 0; f < s->GetFields()->Count(); ++f) {
      auto a = s->GetFields()->Item(Variant(f));
      auto b = d->GetFields()->Item(Variant(f));
      EXPECT_EQ(b->Name(), a->Name());
      bool key = std::find(keys.begin(), keys.end(), a->Name()) != keys.end() ||
                 (a->Attributes() & dao::kAutoIncrField);
      EXPECT_EQ(b->Required(), a->Required() || key) << a->Name();
    }
    ASSERT_EQ(d->GetIndexes()->Count(), s->GetIndexes()->Count());
    for (const auto& a : s->GetIndexes()->items()) {
      auto& found = d->GetIndexes()->items();
      auto b = std::find_if(found.begin(), found.end(), [&](const auto& x) {
        return a->Primary() ? x->Primary() : x->Name() == s->Name() + "_" + a->Name();
      });
      ASSERT_NE(b, found.end()) << a->Name();
      EXPECT_EQ((*b)->Unique(), a->Unique() || a->Primary()) << a->Name();
      EXPECT_EQ((*b)->GetFields()->Count(), a->GetFields()->Count()) << a->Name();
    }
    auto ra = s->OpenRecordset(Variant(dao::kOpenSnapshot));
    auto rb = server.OpenRecordset("SELECT * FROM \"" + s->Name() + "\"",
                                   Variant(dao::kOpenSnapshot), Variant(dao::kSQLPassThrough));
    EXPECT_EQ(Rows(*rb, true), Rows(*ra, false));
  }
}

TEST_F(MigrateToPostgres, CarriesTheLegacyFileOverWithDescriptionsAsComments) {
  RunResult run = RunProgram({QorBinary(), "migrate", dao::mdb::UsersMdb(), Connect()}, "");
  ASSERT_EQ(run.status, 0) << run.err;
  // The summary names the target without its password.
  EXPECT_NE(run.out.find("to ODBC;DSN=pg;UID=qor;PWD=***: 1 tables"), std::string::npos) << run.out;
  EXPECT_EQ(run.out.find(PostgresServer::kPassword), std::string::npos);
  EXPECT_NE(run.out.find("\nUsers            3            3\n"), std::string::npos) << run.out;
  EXPECT_NE(run.err.find("Users: 3 rows"), std::string::npos) << run.err;
  auto server = Server();
  ExpectSameContent(dao::mdb::UsersMdb(), *server);
  EXPECT_EQ(Comment("Users", "UserName"), "用户姓名");

  // A second run finds the table there and leaves it as it is.
  run = Migrate(dao::mdb::UsersMdb());
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("error 3010"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("Nothing was made on the server."), std::string::npos) << run.err;
  EXPECT_EQ(vb::CLng(Value("SELECT COUNT(*) FROM \"Users\"")), 3);
}

TEST_F(MigrateToPostgres, CarriesEveryFieldTypeIndexesAndCounters) {
  std::string source = File("types.mdb");
  {
    auto db = db::test::NewDatabase(source);
    db::test::AddItemsTable(*db);
    db::test::AddHiddenAndAttachedTables(*db);
    auto t = db->CreateTableDef(Variant("All Types"));
    const std::pair<const char*, int> kFields[] = {
        {"Flag", dao::kBoolean},   {"Small", dao::kByte},      {"Int", dao::kInteger},
        {"Big", dao::kLong},       {"Money", dao::kCurrency},  {"Ratio", dao::kSingle},
        {"Measure", dao::kDouble}, {"When", dao::kDate},       {"Label", dao::kText},
        {"Story", dao::kMemo},     {"Blob", dao::kLongBinary}, {"Key", dao::kGUID},
    };
    for (const auto& [name, type] : kFields) {
      t->GetFields()->Append(db::test::NewField(*t, name, type, type == dao::kText ? 20 : 0));
    }
    db->GetTableDefs()->Append(t);
    auto rs = db->OpenRecordset("All Types", Long(dao::kOpenDynaset));
    Array blob(VarType::kByte, {{0, 3}});
    for (int i = 0; i < 4; ++i) blob.elements()[i] = Byte(i == 1 ? 0 : 250 + i);
    rs->AddNew();
    const Variant values[] = {Variant(true),
                              Byte(200),
                              Int16(-32000),
                              Long(2000000000),
                              Variant(Currency{-12345678901234}),
                              Variant(1.25f),
                              Variant(-1.0e300),
                              Variant(vb::DateSerial(1901, 2, 3).serial + 0.5),
                              Variant("ä'\"\\ 你好"),
                              Variant(std::string(10000, 'm')),
                              Variant(blob),
                              Variant("{6F9619FF-8B86-D011-B42D-00C04FC964FF}")};
    for (int i = 0; i < 12; ++i) rs->GetFields()->Item(Variant(i))->SetValue(values[i]);
    rs->Update();
    rs->AddNew();  // a row of Nulls
    rs->Update();
    rs->Close();
  }
  RunResult run = Migrate(source);
  ASSERT_EQ(run.status, 0) << run.err;
  // The summary names what the server has no place for.
  EXPECT_NE(run.out.find("table Hidden: hidden table"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("validation rule of field Order Items.Qty (>= 0): "), std::string::npos)
      << run.out;
  EXPECT_NE(run.out.find("validation rule of table Order Items ([Price] < 1000)"),
            std::string::npos);
  EXPECT_NE(run.out.find("properties of table Order Items and its fields (Caption, InputMask, "
                         "Format, DecimalPlaces): the server keeps no such properties"),
            std::string::npos)
      << run.out;
  auto server = Server();
  ExpectSameContent(source, *server);
  EXPECT_EQ(ServerTables(), (std::vector<std::string>{"All Types", "Order Items"}));
  // The counter goes on after the largest value copied (4).
  server->Execute("INSERT INTO \"Order Items\" (\"Code\") VALUES ('D4')",
                  Variant(dao::kSQLPassThrough));
  EXPECT_EQ(vb::CLng(Value("SELECT \"Id\" FROM \"Order Items\" WHERE \"Code\" = 'D4'")), 5);
  // The default came along.
  EXPECT_EQ(vb::CLng(Value("SELECT \"Qty\" FROM \"Order Items\" WHERE \"Code\" = 'D4'")), 1);
}

TEST_F(MigrateToPostgres, AFailureDropsWhatItMade) {
  // Order Items holds a code longer than its field allows, written behind
  // the engine's back: the server refuses that row after All Types is done.
  std::string source = File("bad.mdb");
  {
    auto db = db::test::NewDatabase(source);
    db::test::AddItemsTable(*db);
    auto t = db->CreateTableDef(Variant("All Good"));
    t->GetFields()->Append(db::test::NewField(*t, "X", dao::kLong));
    db->GetTableDefs()->Append(t);
    db->Execute("INSERT INTO [All Good] (X) VALUES (1)");
    // Behind the engine's rules (plain SQLite, which the file's text
    // collation needs the library for).
    db->Execute("DROP TRIGGER \"Order Items.update\"", Variant(dao::kSQLPassThrough));
    db->Execute("UPDATE \"Order Items\" SET Code = 'ABCDEFGHIJKLMNOP' WHERE Id = 4",
                Variant(dao::kSQLPassThrough));
  }
  RunResult run = Migrate(source);
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("error 3146"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("(table Order Items, row "), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("The tables made on the server were dropped again."), std::string::npos)
      << run.err;
  EXPECT_EQ(ServerTables(), std::vector<std::string>{});

  // A data source that does not exist: the connection's error, nothing made.
  run = RunProgram({QorBinary(), "migrate", "--quiet", source, "ODBC;DSN=nowhere"}, "");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("error 3151"), std::string::npos) << run.err;
}

TEST_F(MigrateToPostgres, CarriesAFileWithSeveralTables) {
  if (dao::mdb::FruitMdb().empty()) GTEST_SKIP() << "fruit.mdb could not be fetched";
  RunResult run = Migrate(dao::mdb::FruitMdb());
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("5 tables"), std::string::npos) << run.out;
  auto server = Server();
  ExpectSameContent(dao::mdb::FruitMdb(), *server);
}

}  // namespace
}  // namespace qor::tool
