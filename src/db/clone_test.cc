// Cloning tables, fields and indexes between real database files, and
// whole databases with the arguments CloneDb has always passed on.
#include <gtest/gtest.h>

#include "db/test_databases.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/error.h"

namespace qor {
namespace {

using db::test::AddItemsTable;
using db::test::NewDatabase;
using db::test::TakeBoxTexts;

class CloneTest : public ::testing::Test {
 protected:
  void SetUp() override {
    src_path_ = dir_.File("source.mdb");
    dest_path_ = dir_.File("dest.mdb");
    src_ = NewDatabase(src_path_);
    dest_ = NewDatabase(dest_path_);
    AddItemsTable(*src_);
  }

  std::shared_ptr<dao::TableDef> DestTable(const char* name) {
    return dest_->GetTableDefs()->Item(name);
  }
  std::vector<std::string> DestTableNames() {
    std::vector<std::string> names;
    for (const auto& t : dest_->GetTableDefs()->items()) {
      if (t->Attributes() == 0) names.push_back(t->Name());
    }
    return names;
  }

  testing::TempDir dir_;
  testing::ScriptedUi ui_;
  std::string src_path_, dest_path_;
  std::shared_ptr<dao::Database> src_, dest_;
  qorDb db_;
};

TEST_F(CloneTest, TableWithDataCarriesValuesCountersRulesIndexesAndDisplayProperties) {
  ASSERT_TRUE(db_.CloneTable("Order Items", *src_, *dest_, true, "Copy Of Items", false, true));
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
  auto t = DestTable("Copy Of Items");
  auto fields = t->GetFields();
  ASSERT_EQ(fields->Count(), 6);
  EXPECT_NE(fields->Item("Id")->Attributes() & dao::kAutoIncrField, 0);
  EXPECT_TRUE(fields->Item("Code")->AllowZeroLength());
  EXPECT_TRUE(fields->Item("Code")->Required());
  EXPECT_EQ(fields->Item("Code")->Size(), 10);
  EXPECT_FALSE(fields->Item("Qty")->AllowZeroLength());
  EXPECT_EQ(fields->Item("Qty")->DefaultValue(), "1");
  EXPECT_EQ(fields->Item("Qty")->ValidationRule(), ">= 0");
  EXPECT_EQ(fields->Item("Qty")->ValidationText(), "No negative quantities");
  EXPECT_EQ(t->ValidationRule(), "[Price] < 1000");
  EXPECT_EQ(t->ValidationText(), "Too dear");
  // The display properties arrive, with their types; a field without one
  // gets none.
  EXPECT_EQ(fields->Item("Code")->UserProperty("Caption"), Variant("Part code"));
  EXPECT_EQ(fields->Item("Code")->UserProperty("InputMask"), Variant(">LL0"));
  EXPECT_EQ(fields->Item("Qty")->UserProperty("Format"), Variant("#,##0"));
  EXPECT_EQ(fields->Item("Price")->UserProperty("DecimalPlaces"), Byte(2));
  EXPECT_EQ(testing::ErrorNumberOf([&] { fields->Item("Qty")->UserProperty("Caption"); }),
            dao::e::kPropertyNotFound);
  // Indexes, the descending bit included.
  auto down = t->GetIndexes()->Item("CodeDown");
  EXPECT_TRUE(down->Unique());
  EXPECT_FALSE(down->Primary());
  EXPECT_EQ(down->GetFields()->Item("Code")->Attributes() & dao::kDescending, dao::kDescending);
  EXPECT_TRUE(t->GetIndexes()->Item("PK")->Primary());
  EXPECT_EQ(t->GetIndexes()->Item("PK")->GetFields()->Item("Id")->Attributes(), 0);
  // Every value, the counter's gap kept.
  auto rs = dest_->OpenRecordset("SELECT * FROM [Copy Of Items] ORDER BY Id");
  std::vector<std::string> rows;
  for (; !rs->Eof(); rs->MoveNext()) {
    rows.push_back(vb::CStr(rs->Value("Id")) + " " + vb::CStr(rs->Value("Code")) + " " +
                   vb::CStr(rs->Value("Qty")) + " " + vb::CStr(rs->Value("Price")) + " " +
                   vb::CStr(rs->Value("Added")));
  }
  EXPECT_EQ(rows, (std::vector<std::string>{"1 A1 10 1.5 3/1/2003", "2 B2 20 2.5 3/2/2003",
                                            "4 C3 30 3.5 3/3/2003"}));
  // The copy goes on counting after the highest value it was given.
  auto add = dest_->OpenRecordset("Copy Of Items", Long(dao::kOpenDynaset));
  add->AddNew();
  add->GetFields()->Item("Code")->SetValue("D4");
  add->Update();
  add->SetBookmark(add->LastModified());
  EXPECT_EQ(add->Value("Id"), Long(5));
}

TEST_F(CloneTest, TableWithoutDataOrIntoTheSameDatabase) {
  ASSERT_TRUE(db_.CloneTable("order items", *src_, *dest_, false));
  EXPECT_EQ(DestTable("order items")->RecordCount(), 0);
  // A clone inside one database, under another name.
  ASSERT_TRUE(db_.CloneTable("Order Items", *src_, *src_, true, "Items 2"));
  EXPECT_EQ(src_->GetTableDefs()->Item("Items 2")->RecordCount(), 3);
}

TEST_F(CloneTest, EmptySourceWithDataCopiesTheStructure) {
  AddItemsTable(*src_, "Empty", false);
  ASSERT_TRUE(db_.CloneTable("Empty", *src_, *dest_, true));
  EXPECT_EQ(DestTable("Empty")->GetFields()->Count(), 6);
  EXPECT_EQ(DestTable("Empty")->RecordCount(), 0);
}

TEST_F(CloneTest, AFailedRowLeavesTheTableAndTheRowsBeforeIt) {
  // A rule made after the rows: the last one breaks it in the copy.
  src_->GetTableDefs()->Item("Order Items")->SetValidationRule("[Price] < 3");
  EXPECT_FALSE(db_.CloneTable("Order Items", *src_, *dest_, true, "", false, true));
  auto texts = TakeBoxTexts(ui_);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  3316, CloneTable()", 0), 0u) << texts[0];
  dest_->Close();
  dest_ = dao::DBEngine::Get()->OpenDatabase(dest_path_);
  EXPECT_EQ(DestTable("Order Items")->RecordCount(), 2);
}

// Between two files of the engine the rows go set-based, in one
// transaction; a row that breaks a rule sends them one by one instead, so
// the report and the rows kept are the same either way, as is the
// progress (every 1,000 rows and at the end).
TEST_F(CloneTest, ManyRowsReportProgressTheSameWayOnBothPaths) {
  src_->Execute(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 2497)"
      " INSERT INTO [Order Items] (Code, Qty, Price) SELECT printf('X%d', i), i, i % 7 FROM n",
      Long(dao::kSQLPassThrough));
  std::vector<int64_t> calls;
  db_.SetCopyProgress([&](const std::string&, int64_t rows) { calls.push_back(rows); });
  ASSERT_TRUE(db_.CloneTable("Order Items", *src_, *dest_, true, "", false, true));
  EXPECT_EQ(calls, (std::vector<int64_t>{1000, 2000, 2500}));
  EXPECT_EQ(DestTable("Order Items")->RecordCount(), 2500);

  // Row 2,103 (X2100) breaks the new rule in the copy.
  src_->Execute("UPDATE [Order Items] SET Price = 999 WHERE Code = 'X2100'");
  src_->GetTableDefs()->Item("Order Items")->SetValidationRule("[Price] < 900");
  calls.clear();
  EXPECT_FALSE(db_.CloneTable("Order Items", *src_, *dest_, true, "Second", false, true));
  auto texts = TakeBoxTexts(ui_);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  3316, CloneTable()", 0), 0u) << texts[0];
  EXPECT_EQ(calls, (std::vector<int64_t>{1000, 2000}));
  EXPECT_EQ(DestTable("Second")->RecordCount(), 2102);
}

TEST_F(CloneTest, FailIfExistsLooksForTheSourceNameInTheDestination) {
  ASSERT_TRUE(db_.CloneTable("Order Items", *src_, *dest_, false));
  EXPECT_FALSE(db_.CloneTable("Order Items", *src_, *dest_, true, "Fresh Name", true, true));
  EXPECT_EQ(TakeBoxTexts(ui_), (std::vector<std::string>{"Destination table Order Items exists"}));
  EXPECT_FALSE(db_.CloneTable("Order Items", *src_, *dest_, true, "Fresh Name", true, false));
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
  EXPECT_EQ(DestTableNames(), (std::vector<std::string>{"Order Items"}));
}

TEST_F(CloneTest, EngineFailuresAreReportedUnderVerboseOnly) {
  ASSERT_TRUE(db_.CloneTable("Order Items", *src_, *dest_, false));
  // Without pFailIfExists the engine refuses the second append.
  EXPECT_FALSE(db_.CloneTable("Order Items", *src_, *dest_, true, "", false, true));
  auto texts = TakeBoxTexts(ui_);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  3010, CloneTable()\r\n", 0), 0u) << texts[0];
  EXPECT_FALSE(db_.CloneTable("No Such Table", *src_, *dest_, true));
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
  // A name the engine refuses fails before anything reaches the destination.
  EXPECT_FALSE(db_.CloneTable("Order Items", *src_, *dest_, true, "Bad [Name]", false, true));
  EXPECT_EQ(TakeBoxTexts(ui_).size(), 1u);
  EXPECT_EQ(DestTableNames(), (std::vector<std::string>{"Order Items"}));
}

TEST_F(CloneTest, FieldAndIndexOneByOne) {
  auto source = src_->GetTableDefs()->Item("Order Items");
  auto t = dest_->CreateTableDef("Partial");
  EXPECT_TRUE(db_.CloneField("code", *source, *t));
  EXPECT_TRUE(db_.CloneIndex(Variant("CodeDown"), *source, *t));
  // The field exists already: the engine refuses the append.
  EXPECT_FALSE(db_.CloneField("Code", *source, *t, true, true));
  EXPECT_FALSE(db_.CloneIndex(Variant("Nope"), *source, *t, false, true));
  auto texts = TakeBoxTexts(ui_);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(texts[0].rfind("ERROR  3191, CloneField()", 0), 0u) << texts[0];
  EXPECT_EQ(texts[1].rfind("ERROR  3265, CloneIndex()", 0), 0u) << texts[1];
  dest_->GetTableDefs()->Append(t);
  auto stored = DestTable("Partial");
  EXPECT_EQ(stored->GetFields()->Item("Code")->Size(), 10);
  EXPECT_EQ(stored->GetIndexes()->Item("CodeDown")->GetFields()->Item("Code")->Attributes(),
            dao::kDescending);
}

// Sources with a hidden and an attached table beside the user tables.
class CloneDbTest : public CloneTest {
 protected:
  void SetUp() override {
    CloneTest::SetUp();
    dest_->Close();
    std::filesystem::remove(dest_path_);
    db::test::AddHiddenAndAttachedTables(*src_);
    src_->Close();
  }
  void OpenDest() { dest_ = dao::DBEngine::Get()->OpenDatabase(dest_path_); }
};

TEST_F(CloneDbTest, TheEngineKeepsHiddenAndAttachedTablesApart) {
  auto db = dao::DBEngine::Get()->OpenDatabase(src_path_);
  EXPECT_EQ(db->GetTableDefs()->Item("Hidden")->Attributes(), dao::kHiddenObject);
  auto linked = db->GetTableDefs()->Item("Linked");
  EXPECT_EQ(linked->Attributes(), dao::kAttachedTable);
  EXPECT_EQ(linked->Connect(), ";DATABASE=/elsewhere/other.mdb");
  EXPECT_EQ(linked->SourceTableName(), "Remote");
}

TEST_F(CloneDbTest, OneUserTableArrivesUnderTheNameOfVerbose) {
  // pFailIfExists True: data are copied; Verbose False: the name False.
  ASSERT_TRUE(db_.CloneDb(Variant(src_path_), Variant(dest_path_), true, false));
  OpenDest();
  EXPECT_EQ(DestTableNames(), (std::vector<std::string>{"False"}));
  EXPECT_EQ(DestTable("False")->RecordCount(), 3);
  EXPECT_EQ(DestTable("False")->GetFields()->Item("Code")->UserProperty("Caption"),
            Variant("Part code"));
  dest_->Close();
  // Now the destination exists.
  EXPECT_FALSE(db_.CloneDb(Variant(src_path_), Variant(dest_path_), true, true));
  EXPECT_EQ(TakeBoxTexts(ui_), (std::vector<std::string>{"Destination database exists"}));
}

TEST_F(CloneDbTest, TheSecondUserTableFailsOnTheNameThatExists) {
  auto db = dao::DBEngine::Get()->OpenDatabase(src_path_);
  AddItemsTable(*db, "Second");
  db->Close();
  EXPECT_FALSE(db_.CloneDb(Variant(src_path_), Variant(dest_path_), false, true));
  EXPECT_EQ(TakeBoxTexts(ui_),
            (std::vector<std::string>{"Error creating Destination Database " + dest_path_}));
  OpenDest();
  EXPECT_EQ(DestTableNames(), (std::vector<std::string>{"True"}));
  EXPECT_EQ(DestTable("True")->RecordCount(), 0);
}

TEST_F(CloneDbTest, BadSourcesAndDestinations) {
  // A blank source is reported whatever Verbose says.
  EXPECT_FALSE(db_.CloneDb(Variant("  "), Variant(dest_path_)));
  EXPECT_EQ(TakeBoxTexts(ui_), (std::vector<std::string>{"Invalid Database name"}));
  EXPECT_FALSE(db_.CloneDb(Variant(dir_.File("missing.mdb")), Variant(dest_path_), false, true));
  auto texts = TakeBoxTexts(ui_);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  3024, CloneDb()", 0), 0u) << texts[0];
  EXPECT_FALSE(std::filesystem::exists(dest_path_));
  // A destination that cannot be replaced (it is open).
  auto held = NewDatabase(dest_path_);
  EXPECT_FALSE(db_.CloneDb(Variant(src_path_), Variant(dest_path_), false, true));
  texts = TakeBoxTexts(ui_);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(texts[0].rfind("ERROR  75, CreateDatabase() - unable to kill file " + dest_path_, 0),
            0u)
      << texts[0];
  EXPECT_EQ(texts[1], "Error creating Destination Database " + dest_path_);
  held->Close();
  // A read-only destination is not replaced either.
  std::filesystem::permissions(dest_path_, std::filesystem::perms::owner_read);
  EXPECT_FALSE(db_.CloneDb(Variant(src_path_), Variant(dest_path_), false, false));
  EXPECT_TRUE(TakeBoxTexts(ui_).empty());
  EXPECT_TRUE(std::filesystem::exists(dest_path_));
}

TEST_F(CloneDbTest, CloneTableDbPathPassesItsArgumentsOnAsCloneDbDoes) {
  NewDatabase(dest_path_)->Close();
  ASSERT_TRUE(db_.CloneTableDbPath(Variant("Order Items"), Variant(src_path_), Variant(dest_path_),
                                   true, false));
  ASSERT_TRUE(db_.CloneTableDbPath(Variant("Order Items"), Variant(src_path_), Variant(dest_path_),
                                   false, true));
  OpenDest();
  EXPECT_EQ(DestTableNames(), (std::vector<std::string>{"False", "True"}));
  EXPECT_EQ(DestTable("False")->RecordCount(), 3);
  EXPECT_EQ(DestTable("True")->RecordCount(), 0);
  dest_->Close();
  EXPECT_FALSE(db_.CloneTableDbPath(Variant("Order Items"), Variant(""), Variant(dest_path_)));
  EXPECT_EQ(TakeBoxTexts(ui_), (std::vector<std::string>{"Invalid Database name"}));
  EXPECT_FALSE(db_.CloneTableDbPath(Variant("Order Items"), Variant(src_path_),
                                    Variant(dir_.File("none.mdb")), false, true));
  auto texts = TakeBoxTexts(ui_);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  3024, CloneTableDbPath()", 0), 0u) << texts[0];
}

}  // namespace
}  // namespace qor
