// qor migrate run as a program on real legacy files; the target is reopened
// through the engine and compared with the source read through the legacy
// backend.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "db/engine/mdb/mdb_test_files.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/vb.h"
#include "testing/test_util.h"

namespace qor::tool {
namespace {

using dao::mdb::FruitMdb;
using dao::mdb::UsersMdb;
using testing::RunProgram;

std::shared_ptr<dao::Database> Open(const std::string& path) {
  return dao::DBEngine::Get()->OpenDatabase(path);
}

// Expects every table of source to be in target with the same fields,
// indexes, properties and rows.
void ExpectSameContent(const std::string& source, const std::string& target) {
  auto src = Open(source);
  auto dst = Open(target);
  auto tables = src->GetTableDefs();
  for (int32_t i = 0; i < tables->Count(); ++i) {
    auto s = tables->Item(Variant(i));
    if (s->Attributes() != 0) continue;
    SCOPED_TRACE(s->Name());
    auto d = dst->GetTableDefs()->Item(Variant(s->Name()));
    auto sf = s->GetFields();
    auto df = d->GetFields();
    ASSERT_EQ(df->Count(), sf->Count());
    for (int32_t f = 0; f < sf->Count(); ++f) {
      auto a = sf->Item(Variant(f));
      auto b = df->Item(Variant(f));
      EXPECT_EQ(b->Name(), a->Name());
      EXPECT_EQ(b->Type(), a->Type());
      EXPECT_EQ(b->Size(), a->Size());
      EXPECT_EQ(b->Required(), a->Required());
      EXPECT_EQ(b->DefaultValue(), a->DefaultValue());
      EXPECT_EQ(b->Attributes() & dao::kAutoIncrField, a->Attributes() & dao::kAutoIncrField);
      auto props = a->GetProperties();
      for (int32_t p = 0; p < props->Count(); ++p) {
        auto prop = props->Item(Variant(p));
        if (prop->BuiltIn()) continue;
        EXPECT_EQ(b->UserProperty(prop->Name()), prop->Value()) << a->Name() << "." << prop->Name();
      }
    }
    EXPECT_EQ(d->GetIndexes()->Count(), s->GetIndexes()->Count());
    for (int32_t x = 0; x < s->GetIndexes()->Count(); ++x) {
      auto a = s->GetIndexes()->Item(Variant(x));
      auto b = d->GetIndexes()->Item(Variant(a->Name()));
      EXPECT_EQ(b->Primary(), a->Primary());
      EXPECT_EQ(b->Unique(), a->Unique());
      EXPECT_EQ(b->GetFields()->Count(), a->GetFields()->Count());
    }
    auto ra = s->OpenRecordset();
    auto rb = dst->OpenRecordset("SELECT * FROM [" + s->Name() + "]", Variant(dao::kOpenSnapshot));
    int rows = 0;
    for (; !ra->Eof(); ra->MoveNext(), rb->MoveNext(), ++rows) {
      ASSERT_FALSE(rb->Eof());
      for (int32_t f = 0; f < sf->Count(); ++f) {
        EXPECT_EQ(rb->FieldValue(static_cast<size_t>(f)), ra->FieldValue(static_cast<size_t>(f)))
            << "row " << rows << " field " << sf->Item(Variant(f))->Name();
      }
    }
    EXPECT_TRUE(rb->Eof());
    EXPECT_EQ(d->RecordCount(), s->RecordCount());
  }
}

TEST(QorMigrate, CarriesUsersOverWithRowsIndexesAndProperties) {
  testing::TempDir dir;
  std::string target = dir.File("users.db");
  testing::RunResult run = RunProgram({testing::QorBinary(), "migrate", UsersMdb(), target}, "");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("1 tables"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("\nUsers            3            3\n"), std::string::npos) << run.out;
  EXPECT_NE(run.err.find("Users: 3 rows"), std::string::npos) << run.err;
  ExpectSameContent(UsersMdb(), target);
  auto db = Open(target);
  EXPECT_TRUE(db->Updatable());
  auto name = db->GetTableDefs()->Item(Variant("Users"))->GetFields()->Item(Variant("UserName"));
  EXPECT_EQ(vb::CStr(name->UserProperty("Description")), "用户姓名");
}

TEST(QorMigrate, CarriesTablesAndQueriesOfAFileWithSeveral) {
  if (FruitMdb().empty()) GTEST_SKIP() << "fruit.mdb could not be fetched";
  testing::TempDir dir;
  std::string target = dir.File("fruit.db");
  testing::RunResult run =
      RunProgram({testing::QorBinary(), "migrate", "--quiet", FruitMdb(), target}, "");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_NE(run.out.find("5 tables"), std::string::npos) << run.out;
  ExpectSameContent(FruitMdb(), target);
  auto src = Open(FruitMdb());
  auto dst = Open(target);
  // Each stored query is either carried over with its SQL or named with
  // the reason.
  auto queries = src->GetQueryDefs();
  ASSERT_GT(dst->GetQueryDefs()->Count(), 0);  // also brings the collection up to date
  for (int32_t i = 0; i < queries->Count(); ++i) {
    auto q = queries->Item(Variant(i));
    auto copy = dst->GetQueryDefs()->Find(q->Name());
    if (copy) {
      EXPECT_EQ(copy->SQL(), q->SQL());
    } else {
      EXPECT_NE(run.out.find("query " + q->Name() + ": "), std::string::npos) << q->Name();
    }
  }
}

TEST(QorMigrate, FailuresLeaveNoTargetBehind) {
  testing::TempDir dir;
  // A damaged source: nothing is made.
  std::string bad = dir.File("bad.mdb");
  {
    std::ifstream in(UsersMdb(), std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(in), {});
    std::ofstream(bad, std::ios::binary) << bytes.substr(0, 10000);
  }
  std::string target = dir.File("out.db");
  testing::RunResult run = RunProgram({testing::QorBinary(), "migrate", bad, target}, "");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("error 3049"), std::string::npos) << run.err;
  EXPECT_FALSE(std::filesystem::exists(target));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);

  // A source that is no regular file is refused at once: a FIFO without a
  // writer would block any read of it for ever.
  std::string fifo = dir.File("pipe.mdb");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  for (const std::string& source : {fifo, std::string("/dev/zero"), dir.path().string()}) {
    run = RunProgram({testing::QorBinary(), "migrate", source, target}, "");
    EXPECT_EQ(run.status, 1) << source;
    EXPECT_TRUE(run.err.find("error 3343") != std::string::npos ||
                run.err.find("error 3044") != std::string::npos)
        << run.err;
    EXPECT_FALSE(std::filesystem::exists(target));
  }

  // An existing target is never touched.
  std::ofstream(target) << "keep me";
  run = RunProgram({testing::QorBinary(), "migrate", UsersMdb(), target}, "");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("error 3204"), std::string::npos) << run.err;
  std::ifstream kept(target);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), "keep me");

  EXPECT_EQ(RunProgram({testing::QorBinary(), "migrate", UsersMdb()}, "").status, 2);
  // A connect string is a server, never taken for a file name.
  EXPECT_EQ(RunProgram({testing::QorBinary(), "migrate", UsersMdb(), "ODBC;DSN=x"}, "").status, 1);
  EXPECT_FALSE(std::filesystem::exists("ODBC;DSN=x"));
}

}  // namespace
}  // namespace qor::tool
