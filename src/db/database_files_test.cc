// Opening and creating database files by path, and copying table
// structures from one file to another.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "db/test_databases.h"
#include "qorsupport/db/qor_db.h"

namespace qor {
namespace {

using db::test::AddItemsTable;
using db::test::FileBytes;
using db::test::NewDatabase;
using db::test::TakeBoxTexts;

class DatabaseFilesTest : public ::testing::Test {
 protected:
  testing::TempDir dir_;
  testing::ScriptedUi ui_;
  qorDb db_;
};

TEST_F(DatabaseFilesTest, CreateDatabaseNamesNewFilesMdb) {
  struct Case {
    const char* given;
    const char* made;
  } cases[] = {{"plain", "plain.MDB"},
               {"lower.mdb", "lower.mdb"},
               {"Mixed.mDb", "Mixed.mDb"},
               {"other.db", "other.db.MDB"}};
  for (const Case& c : cases) {
    std::shared_ptr<dao::Database> made;
    ASSERT_TRUE(db_.CreateDatabase(made, Variant(dir_.File(c.given)))) << c.given;
    ASSERT_TRUE(made);
    EXPECT_EQ(made->Name(), dir_.File(c.made));
    made->Close();
    EXPECT_TRUE(std::filesystem::exists(dir_.File(c.made))) << c.made;
  }
  std::shared_ptr<dao::Database> none;
  EXPECT_FALSE(db_.CreateDatabase(none, Variant("   "), false, true));
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
}

TEST_F(DatabaseFilesTest, CreateDatabaseOverAnExistingFileDependsOnVerbose) {
  std::string path = dir_.File("kept.MDB");
  AddItemsTable(*NewDatabase(path));
  std::shared_ptr<dao::Database> made;
  // Verbose: told, and True with nothing opened.
  EXPECT_TRUE(db_.CreateDatabase(made, Variant(path), false, true));
  EXPECT_FALSE(made);
  EXPECT_EQ(TakeBoxTexts(ui_),
            (std::vector<std::string>{"Access Database " + path + " already exists"}));
  // Quiet: the engine's refusal, False and no message.
  EXPECT_FALSE(db_.CreateDatabase(made, Variant(path), false, false));
  EXPECT_FALSE(made);
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
  EXPECT_EQ(
      dao::DBEngine::Get()->OpenDatabase(path)->GetTableDefs()->Item("Order Items")->RecordCount(),
      3);
  // pDeleteOld replaces it.
  ASSERT_TRUE(db_.CreateDatabase(made, Variant(path), true, true));
  EXPECT_FALSE(db_.CheckTableExists(*made, Variant("Order Items")));
}

TEST_F(DatabaseFilesTest, AFileInUseOrReadOnlyIsNotDeleted) {
  std::string path = dir_.File("busy.MDB");
  NewDatabase(path)->Close();
  const std::string before = FileBytes(path);
  {
    testing::ChildProcess other([&](testing::ChildProcess& self) {
      auto mine = dao::DBEngine::Get()->OpenDatabase(path);
      self.Ready();
      self.AwaitGo();
    });
    ASSERT_TRUE(other.AwaitReady());
    std::shared_ptr<dao::Database> made;
    EXPECT_FALSE(db_.CreateDatabase(made, Variant(path), true, true));
    EXPECT_FALSE(made);
    auto texts = TakeBoxTexts(ui_);
    ASSERT_EQ(texts.size(), 1u);
    EXPECT_EQ(texts[0], "ERROR  75, CreateDatabase() - unable to kill file " + path +
                            "\r\nPath/File access error");
    EXPECT_EQ(other.Wait(), 0);
  }
  EXPECT_EQ(FileBytes(path), before);
  std::filesystem::permissions(path, std::filesystem::perms::owner_read);
  std::shared_ptr<dao::Database> made;
  EXPECT_FALSE(db_.CreateDatabase(made, Variant(path), true, false));
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
  EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(DatabaseFilesTest, OpenDatabase) {
  std::string path = dir_.File("open.mdb");
  NewDatabase(path)->Close();
  std::shared_ptr<dao::Database> opened;
  ASSERT_TRUE(db_.OpenDatabase(opened, Variant(path)));
  EXPECT_TRUE(opened->Updatable());
  // A blank name is reported whatever Verbose says; other failures only
  // under Verbose.
  EXPECT_FALSE(db_.OpenDatabase(opened, Variant::Missing()));
  EXPECT_FALSE(db_.OpenDatabase(opened, Variant(" ")));
  EXPECT_EQ(TakeBoxTexts(ui_),
            (std::vector<std::string>{"Invalid Database name", "Invalid Database name"}));
  EXPECT_FALSE(db_.OpenDatabase(opened, Variant(dir_.File("none.mdb"))));
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
  EXPECT_FALSE(db_.OpenDatabase(opened, Variant(dir_.File("none.mdb")), true));
  auto texts = TakeBoxTexts(ui_);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  3024, OpenDatabase()", 0), 0u) << texts[0];
}

class CopyTableTest : public DatabaseFilesTest {
 protected:
  void SetUp() override {
    src_path_ = dir_.File("src.mdb");
    dest_path_ = dir_.File("dest.mdb");
    auto src = NewDatabase(src_path_);
    AddItemsTable(*src);
    AddItemsTable(*src, "Stock", false);
    db::test::AddHiddenAndAttachedTables(*src);
    src->Close();
    NewDatabase(dest_path_)->Close();
    src_bytes_ = FileBytes(src_path_);
  }
  void TearDown() override { EXPECT_EQ(FileBytes(src_path_), src_bytes_); }

  std::vector<std::string> DestTables() {
    std::vector<std::string> names;
    auto db = dao::DBEngine::Get()->OpenDatabase(dest_path_);
    for (const auto& t : db->GetTableDefs()->items()) {
      if (t->Attributes() == 0) names.push_back(t->Name());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  std::string src_path_, dest_path_, src_bytes_;
};

TEST_F(CopyTableTest, EveryPlainLocalTableAsStructureOnly) {
  ASSERT_TRUE(db_.CopyTable(src_path_, dest_path_));
  EXPECT_EQ(DestTables(), (std::vector<std::string>{"Order Items", "Stock"}));
  auto db = dao::DBEngine::Get()->OpenDatabase(dest_path_);
  auto t = db->GetTableDefs()->Item("Order Items");
  EXPECT_EQ(t->RecordCount(), 0);
  auto fields = t->GetFields();
  EXPECT_EQ(fields->Count(), 6);
  EXPECT_NE(fields->Item("Id")->Attributes() & dao::kAutoIncrField, 0);
  EXPECT_TRUE(fields->Item("Code")->Required());
  EXPECT_TRUE(fields->Item("Code")->AllowZeroLength());
  // Defaults, rules and display properties stay behind.
  EXPECT_EQ(fields->Item("Qty")->DefaultValue(), "");
  EXPECT_EQ(fields->Item("Qty")->ValidationRule(), "");
  EXPECT_EQ(testing::ErrorNumberOf([&] { fields->Item("Code")->UserProperty("Caption"); }),
            dao::e::kPropertyNotFound);
  EXPECT_EQ(t->GetIndexes()->Item("CodeDown")->GetFields()->Item("Code")->Attributes(),
            dao::kDescending);
  EXPECT_TRUE(t->GetIndexes()->Item("PK")->Primary());
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
}

TEST_F(CopyTableTest, OneTableUnderAnotherName) {
  ASSERT_TRUE(db_.CopyTable(src_path_, dest_path_, " order items ", "Items Copy"));
  EXPECT_EQ(DestTables(), (std::vector<std::string>{"Items Copy"}));
  // Without a source table the destination name is not used.
  std::string other = dir_.File("other.mdb");
  NewDatabase(other)->Close();
  ASSERT_TRUE(db_.CopyTable(src_path_, other, "", "Ignored"));
  dest_path_ = other;
  EXPECT_EQ(DestTables(), (std::vector<std::string>{"Order Items", "Stock"}));
}

TEST_F(CopyTableTest, AttributeMasksSelectButNeverCopy) {
  ASSERT_TRUE(db_.CopyTable(src_path_, dest_path_, "", "", false, dao::kHiddenObject));
  ASSERT_TRUE(db_.CopyTable(src_path_, dest_path_, "", "", false, 0, dao::kAttachedTable));
  EXPECT_TRUE(DestTables().empty());
}

TEST_F(CopyTableTest, AnExistingTableEndsTheCopyKeepingWhatCameBefore) {
  ASSERT_TRUE(db_.CopyTable(src_path_, dest_path_, "Stock", ""));
  // Order Items comes first in the source and arrives; Stock then fails.
  EXPECT_FALSE(db_.CopyTable(src_path_, dest_path_));
  auto texts = TakeBoxTexts(ui_);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  3010, CopyTable() Stock, Note, CodeDown\r\n", 0), 0u)
      << texts[0];
  EXPECT_EQ(DestTables(), (std::vector<std::string>{"Order Items", "Stock"}));
}

TEST_F(CopyTableTest, ADestinationOpenedExclusivelyElsewhere) {
  testing::ChildProcess other([&](testing::ChildProcess& self) {
    auto mine = dao::DBEngine::Get()->OpenDatabase(dest_path_, Variant(true));
    self.Ready();
    self.AwaitGo();
  });
  ASSERT_TRUE(other.AwaitReady());
  EXPECT_FALSE(db_.CopyTable(src_path_, dest_path_, "Stock"));
  auto texts = TakeBoxTexts(ui_);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  3045, CopyTable() , , \r\n", 0), 0u) << texts[0];
  EXPECT_EQ(other.Wait(), 0);
  EXPECT_TRUE(DestTables().empty());
}

TEST_F(CopyTableTest, BadPathsAreReportedWhateverVerboseSays) {
  std::string blank;
  EXPECT_FALSE(db_.CopyTable(src_path_, blank));
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
  std::string missing = dir_.File("missing.mdb");
  EXPECT_FALSE(db_.CopyTable(src_path_, missing));
  EXPECT_FALSE(std::filesystem::exists(missing));
  EXPECT_FALSE(db_.CopyTable(dir_.File("nosource.mdb"), dest_path_));
  auto texts = TakeBoxTexts(ui_);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(texts[0].rfind("ERROR  3024, CopyTable() , , \r\n", 0), 0u) << texts[0];
  EXPECT_EQ(texts[1].rfind("ERROR  3024, CopyTable() , , \r\n", 0), 0u) << texts[1];
}

}  // namespace
}  // namespace qor
