// The legacy Jet backend through the engine's object model: what it reads,
// that it refuses every write, and how it meets bad files.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>

#include "db/engine/jet_sql.h"
#include "db/engine/mdb/mdb_file.h"
#include "db/engine/mdb/mdb_test_files.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "testing/test_util.h"

namespace qor::dao::mdb {
namespace {

using testing::ErrorNumberOf;

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

void WriteAll(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::shared_ptr<Database> Open(const std::string& path, const std::string& connect = "") {
  return DBEngine::Get()->OpenDatabase(path, Variant::Missing(), Variant::Missing(),
                                       Variant(connect));
}

// Reads every row of every table that is not attached.
int64_t ReadEverything(Database& db) {
  int64_t rows = 0;
  auto tables = db.GetTableDefs();
  for (int32_t i = 0; i < tables->Count(); ++i) {
    auto table = tables->Item(Variant(i));
    if (table->Attributes() & kAttachedTable) continue;
    auto rs = table->OpenRecordset();
    for (; !rs->Eof(); rs->MoveNext()) {
      auto fields = rs->GetFields();
      for (int32_t f = 0; f < fields->Count(); ++f) fields->Item(Variant(f))->Value();
      ++rows;
    }
  }
  return rows;
}

TEST(MdbBackend, DescribesUsersAsTheFileHoldsIt) {
  auto db = Open(UsersMdb());
  EXPECT_FALSE(db->Updatable());
  auto users = db->GetTableDefs()->Item(Variant("users"));
  EXPECT_EQ(users->Name(), "Users");
  EXPECT_EQ(users->Attributes(), 0);
  auto fields = users->GetFields();
  ASSERT_EQ(fields->Count(), 5);

  auto id = fields->Item(Variant("UserId"));
  EXPECT_EQ(id->Type(), kLong);
  EXPECT_EQ(id->Size(), 4);
  EXPECT_TRUE(id->Attributes() & kAutoIncrField);
  EXPECT_TRUE(id->Attributes() & kFixedField);

  auto name = fields->Item(Variant("UserName"));
  EXPECT_EQ(name->Type(), kText);
  EXPECT_EQ(name->Size(), 255);
  EXPECT_TRUE(name->Required());
  EXPECT_FALSE(name->AllowZeroLength());
  EXPECT_EQ(name->OrdinalPosition(), 1);
  EXPECT_EQ(vb::CStr(name->UserProperty("Description")), "用户姓名");
  EXPECT_TRUE(fields->Item(Variant("UserSex"))->AllowZeroLength());

  auto married = fields->Item(Variant("UserMarried"));
  EXPECT_EQ(married->Type(), kBoolean);
  EXPECT_EQ(married->DefaultValue(), "0");
  EXPECT_EQ(vb::CStr(married->UserProperty("Format")), "Yes/No");
  auto width = married->GetProperties()->Item(Variant("ColumnWidth"));
  EXPECT_EQ(width->Type(), kInteger);
  EXPECT_EQ(width->Value(), Variant(static_cast<int16_t>(-1)));
  EXPECT_EQ(ErrorNumberOf([&] { married->UserProperty("Caption"); }), e::kPropertyNotFound);

  auto indexes = users->GetIndexes();
  ASSERT_EQ(indexes->Count(), 1);
  auto pk = indexes->Item(Variant(0));
  EXPECT_TRUE(pk->Primary());
  EXPECT_TRUE(pk->Unique());
  ASSERT_EQ(pk->GetFields()->Count(), 1);
  EXPECT_EQ(pk->GetFields()->Item(Variant(0))->Name(), "UserId");

  auto system = db->GetTableDefs()->Item(Variant("MSysObjects"));
  EXPECT_EQ(system->Attributes() & kSystemObject, kSystemObject);
}

TEST(MdbBackend, RecordsetsMoveBothWaysOverEveryRow) {
  auto db = Open(UsersMdb());
  auto rs = db->OpenRecordset("Users");
  EXPECT_FALSE(rs->Updatable());
  EXPECT_EQ(vb::CStr(rs->Value("UserName")), "Nuintun");
  std::string first = rs->Bookmark();
  rs->MoveLast();
  EXPECT_EQ(rs->RecordCount(), 3);
  EXPECT_EQ(vb::CStr(rs->Value("UserName")), "张三");
  EXPECT_EQ(vb::CStr(rs->Value("UserSex")), "男");
  Variant born = rs->Value("UserBirthday");
  ASSERT_TRUE(born.IsDate());
  EXPECT_EQ(born.AsDate(), vb::DateSerial(1986, 12, 18));
  EXPECT_EQ(rs->Value("UserMarried"), Variant(true));
  EXPECT_EQ(rs->Value("UserId"), Variant(int32_t{3}));
  rs->MovePrevious();
  EXPECT_EQ(vb::CStr(rs->Value("UserName")), "Angela");
  EXPECT_EQ(rs->Value("UserMarried"), Variant(false));
  rs->SetBookmark(first);
  EXPECT_EQ(vb::CStr(rs->Value("UserName")), "Nuintun");

  // The whole of a table by statement; anything more is not supported.
  auto all = db->OpenRecordset("SELECT * FROM [Users];");
  all->MoveLast();
  EXPECT_EQ(all->RecordCount(), 3);
  EXPECT_EQ(ErrorNumberOf([&] { db->OpenRecordset("SELECT UserName FROM Users"); }),
            e::kNotSupported);
  // Finding by Jet criteria; texts compare without regard to case.
  rs->FindFirst("UserName = 'angela'");
  EXPECT_FALSE(rs->NoMatch());
  EXPECT_EQ(rs->Value("UserId"), Variant(int32_t{2}));
  rs->FindNext("UserMarried = True");
  EXPECT_EQ(rs->Value("UserId"), Variant(int32_t{3}));
  rs->FindPrevious("UserBirthday < #1/1/1989#");
  EXPECT_EQ(rs->Value("UserId"), Variant(int32_t{2}));
  rs->FindLast("UserSex Like 'M*'");
  EXPECT_EQ(rs->Value("UserId"), Variant(int32_t{1}));
  rs->FindFirst("UserId > 99");
  EXPECT_TRUE(rs->NoMatch());
  EXPECT_EQ(rs->Value("UserId"), Variant(int32_t{1}));  // where it was
  EXPECT_EQ(ErrorNumberOf([&] { rs->FindFirst("UserId = = 2"); }), e::kSyntaxInCriteria);
  rs->MoveFirst();
  rs->MovePrevious();
  EXPECT_TRUE(rs->Bof());
  EXPECT_EQ(db->GetTableDefs()->Item(Variant("Users"))->RecordCount(), 3);
}

TEST(MdbBackend, EveryWriteIsRefusedAsReadOnly) {
  auto db = Open(UsersMdb());
  auto users = db->GetTableDefs()->Item(Variant("Users"));
  auto rs = users->OpenRecordset();
  EXPECT_EQ(ErrorNumberOf([&] { rs->AddNew(); }), e::kReadOnly);
  EXPECT_EQ(ErrorNumberOf([&] { rs->Edit(); }), e::kReadOnly);
  EXPECT_EQ(ErrorNumberOf([&] { rs->Delete(); }), e::kReadOnly);
  EXPECT_EQ(ErrorNumberOf([&] { db->Execute("DELETE FROM Users"); }), e::kReadOnly);
  auto table = db->CreateTableDef("Extra");
  table->GetFields()->Append(table->CreateField("A", Variant(int32_t{kLong})));
  EXPECT_EQ(ErrorNumberOf([&] { db->GetTableDefs()->Append(table); }), e::kReadOnly);
  EXPECT_EQ(ErrorNumberOf([&] { db->GetTableDefs()->Delete("Users"); }), e::kReadOnly);
  EXPECT_EQ(ErrorNumberOf([&] { users->GetFields()->Delete("UserSex"); }), e::kReadOnly);
  EXPECT_EQ(ErrorNumberOf([&] { users->GetFields()->Item(Variant("UserSex"))->SetRequired(true); }),
            e::kReadOnly);
  auto field = users->GetFields()->Item(Variant("UserSex"));
  EXPECT_EQ(ErrorNumberOf([&] {
              field->GetProperties()->Append(
                  field->CreateProperty("Caption", Variant(int32_t{kText}), "Sex"));
            }),
            e::kReadOnly);
  EXPECT_EQ(ErrorNumberOf([&] { db->CreateQueryDef("Q", "SELECT * FROM Users"); }), e::kReadOnly);
  // Nothing changed on the way.
  EXPECT_EQ(users->GetFields()->Count(), 5);
  EXPECT_FALSE(field->Required());
}

TEST(MdbBackend, StoredQueriesComeBackAsJetSql) {
  if (FruitMdb().empty()) GTEST_SKIP() << "fruit.mdb could not be fetched";
  auto db = Open(FruitMdb());
  auto queries = db->GetQueryDefs();
  ASSERT_GE(queries->Count(), 5);
  EXPECT_EQ(
      queries->Item(Variant("In Dried"))->SQL(),
      "SELECT Fruit.Fruit, IIf([muffin/bread].[fruit] Is Not Null,\"Yes\",\"No\") AS "
      "[Bread?] FROM [Fruit] LEFT JOIN [Muffin/Bread] ON Fruit.Fruit = [Muffin/Bread].fruit;");
  for (int32_t i = 0; i < queries->Count(); ++i) {
    auto q = queries->Item(Variant(i));
    if (q->SQL().empty()) continue;
    EXPECT_NO_THROW(jet::TranslateStatement(q->SQL())) << q->Name() << ": " << q->SQL();
  }
}

// ---- Bad files ----------------------------------------------------------------------

class MdbBadFileTest : public ::testing::Test {
 protected:
  std::string Copy(const std::string& name, const std::string& bytes) {
    std::string path = dir_.File(name);
    WriteAll(path, bytes);
    return path;
  }
  int OpenError(const std::string& path, const std::string& connect = "") {
    return ErrorNumberOf([&] { Open(path, connect)->Close(); });
  }

  testing::TempDir dir_;
  std::string users_ = ReadAll(UsersMdb());
};

TEST_F(MdbBadFileTest, MissingDirectoryOrNotADatabase) {
  EXPECT_EQ(OpenError(dir_.File("none.mdb")), e::kFileNotFound);
  EXPECT_EQ(OpenError(dir_.path().string()), e::kInvalidPath);
  EXPECT_EQ(OpenError(Copy("text.mdb", std::string(8192, 'x'))), e::kUnrecognizedFormat);
  std::string ace = users_;
  std::memcpy(ace.data() + 4, "Standard ACE DB", 15);
  ace[0x14] = 2;
  EXPECT_EQ(OpenError(Copy("ace.mdb", ace)), e::kUnrecognizedFormat);
  std::string future = users_;
  future[0x14] = 9;
  EXPECT_EQ(OpenError(Copy("v9.mdb", future)), e::kUnrecognizedFormat);
  try {
    Open(dir_.File("v9.mdb"));
  } catch (const Error& error) {
    EXPECT_EQ(error.description(), "Unrecognized database format '" + dir_.File("v9.mdb") + "'.");
  }
}

TEST_F(MdbBadFileTest, TruncatedFilesAreDamaged) {
  for (size_t size : {size_t{300}, size_t{4096}, size_t{8192}, size_t{5000}, size_t{100000},
                      users_.size() - 4096}) {
    std::string path = Copy("cut.mdb", users_.substr(0, size));
    int error = ErrorNumberOf([&] {
      auto db = Open(path);
      ReadEverything(*db);
    });
    EXPECT_TRUE(error == e::kCannotOpen || error == 0) << size << ": " << error;
    if (size % 4096 != 0) {
      EXPECT_EQ(error, e::kCannotOpen) << size;
    }
  }
}

TEST_F(MdbBadFileTest, CorruptPagesNeverCrashTheCaller) {
  // Random bytes over the pages after the header: each file either opens
  // and reads to the end, or fails with 3049.
  std::mt19937 random(13);
  int opened = 0;
  for (int round = 0; round < 12; ++round) {
    std::string bytes = users_;
    for (int k = 0; k < 400; ++k) {
      size_t at = 4096 + random() % (bytes.size() - 4096);
      bytes[at] = static_cast<char>(random() & 0xFF);
    }
    std::string path = Copy("bad" + std::to_string(round) + ".mdb", bytes);
    int error = ErrorNumberOf([&] {
      auto db = Open(path);
      ReadEverything(*db);
      ++opened;
    });
    EXPECT_TRUE(error == 0 || error == e::kCannotOpen || error == e::kNoCurrentRecord) << error;
  }
  RecordProperty("opened", opened);
}

TEST_F(MdbBadFileTest, PasswordProtectedFilesNeedTheirPassword) {
  // Puts "secret" into the header as Jet 4 stores a database password.
  const uint16_t mask[] = {0x6aba, 0x37ec, 0xd561, 0xfa9c, 0xcffa, 0xe628};
  std::string bytes = users_;
  uint16_t magic = static_cast<uint16_t>(
      (static_cast<uint8_t>(bytes[0x66]) | (static_cast<uint8_t>(bytes[0x67]) << 8)) ^ 0x24ae);
  std::string password = "secret";
  for (size_t i = 0; i < password.size(); ++i) {
    auto raw = static_cast<uint16_t>(static_cast<uint8_t>(password[i]) ^ magic ^ mask[i]);
    bytes[0x42 + 2 * i] = static_cast<char>(raw & 0xFF);
    bytes[0x43 + 2 * i] = static_cast<char>(raw >> 8);
  }
  EXPECT_EQ(StoredPassword(bytes.substr(0, 4096)), "secret");
  EXPECT_EQ(StoredPassword(users_.substr(0, 4096)), "");
  std::string path = Copy("locked.mdb", bytes);
  EXPECT_EQ(OpenError(path), e::kInvalidPassword);
  EXPECT_EQ(OpenError(path, ";PWD=wrong"), e::kInvalidPassword);
  auto db = Open(path, ";PWD=secret");
  EXPECT_EQ(db->GetTableDefs()->Item(Variant("Users"))->RecordCount(), 3);
}

TEST(MdbAutomation, ScriptReadsALegacyFile) {
  using Json = nlohmann::json;
  std::vector<Json> requests = {
      {{"create", "DBEngine"}},                                       // 1
      {{"on", 1}, {"call", "OpenDatabase"}, {"args", {UsersMdb()}}},  // 2
      {{"on", 2}, {"get", "TableDefs"}, {"args", {"Users"}}},         // 3
      {{"on", 3}, {"get", "Fields"}, {"args", {"UserName"}}},         // 4
      {{"on", 4}, {"get", "Properties"}, {"args", {"Description"}}},  // 5
      {{"on", 5}, {"get", "Value"}},
      {{"on", 2}, {"call", "OpenRecordset"}, {"args", {"Users"}}},  // 6
      {{"on", 6}, {"call", "AddNew"}},
  };
  auto r = testing::RunAutomationRequests<Json>(requests);
  ASSERT_EQ(r.size(), requests.size());
  EXPECT_EQ(r[5]["result"], "用户姓名") << r[5].dump();
  EXPECT_EQ(r[7]["error"]["number"], 3027) << r[7].dump();
}

}  // namespace
}  // namespace qor::dao::mdb
