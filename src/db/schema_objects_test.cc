// qorDb's schema-object members on a real database file.
#include <gtest/gtest.h>

#include "db/test_databases.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/error.h"
#include "testing/test_util.h"

namespace qor {
namespace {

using dao::DBEngine;

class SchemaObjectsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    db_ = DBEngine::Get()->CreateDatabase(dir_.File("schema.MDB"), dao::kLangGeneral);
    ASSERT_TRUE(q_.CreateTable(*db_, "Staff", "Code", 12, true));
  }
  void TearDown() override { db_->Close(); }

  std::shared_ptr<dao::TableDef> Table(const char* name) {
    db_->GetTableDefs()->Refresh();
    return db_->GetTableDefs()->Item(name);
  }
  // The texts of the message boxes shown since the last call.
  std::vector<std::string> Boxes() { return db::test::TakeBoxTexts(ui_); }

  testing::TempDir dir_;
  testing::ScriptedUi ui_;
  std::shared_ptr<dao::Database> db_;
  qorDb q_;
};

TEST_F(SchemaObjectsTest, ChecksMatchTrimmedUpperNamesAndPassEngineErrorsOn) {
  EXPECT_TRUE(q_.CheckTableExists(*db_, Variant("  staff ")));
  EXPECT_TRUE(q_.CheckTableExists(*db_, Variant("MSysObjects")) ||
              q_.CheckTableExists(*db_, Variant("MSysTables")));
  EXPECT_FALSE(q_.CheckTableExists(*db_, Variant("Staf")));
  EXPECT_FALSE(q_.CheckTableExists(*db_, Variant::Null()));
  EXPECT_TRUE(q_.CheckFieldExists(*db_, Variant("Staff"), Variant(" code")));
  EXPECT_TRUE(q_.CheckIndexExists(*db_, Variant("STAFF"), Variant("CODE ")));
  EXPECT_FALSE(q_.CheckIndexExists(*db_, Variant("Staff"), Variant("PrimaryKey")));
  // A missing table is the engine's error, not False, and nothing is shown.
  EXPECT_EQ(testing::ErrorNumberOf(
                [&] { q_.CheckFieldExists(*db_, Variant("Nope"), Variant("Code"), true); }),
            3265);
  EXPECT_EQ(testing::ErrorNumberOf(
                [&] { q_.CheckIndexExists(*db_, Variant("Nope"), Variant("Code"), true); }),
            3265);
  EXPECT_TRUE(Boxes().empty());
}

TEST_F(SchemaObjectsTest, CreateTableMakesTheKeyIndexNamedLikeTheField) {
  auto staff = Table("Staff");
  auto code = staff->GetFields()->Item("Code");
  EXPECT_EQ(code->Type(), dao::kText);
  EXPECT_EQ(code->Size(), 12);
  auto key = staff->GetIndexes()->Item("Code");
  EXPECT_TRUE(key->Primary());
  EXPECT_TRUE(key->Unique());
  EXPECT_EQ(key->GetFields()->Item(Variant(0))->Name(), "Code");

  // Without a key: no index. Deleting a table that is not there is no fault.
  EXPECT_TRUE(q_.CreateTable(*db_, "Loose", "Name", 30, false, true));
  EXPECT_EQ(Table("Loose")->GetIndexes()->Count(), 0);
  // Replacing an existing table drops its old fields.
  ASSERT_TRUE(q_.CreateField(*db_, Variant("Loose"), Variant("Extra"), Variant(dao::kLong)));
  EXPECT_TRUE(q_.CreateTable(*db_, "Loose", "Name", 30, false, true));
  EXPECT_FALSE(q_.CheckFieldExists(*db_, Variant("Loose"), Variant("Extra")));

  // An existing table without pDeleteExisting fails, reported when Verbose.
  EXPECT_FALSE(q_.CreateTable(*db_, "Staff", "Code", 12, false, false, false));
  EXPECT_TRUE(Boxes().empty());
  EXPECT_FALSE(q_.CreateTable(*db_, "staff", "Code", 12, false, false, true));
  auto boxes = Boxes();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].rfind("ERROR  3010, CreateTable()\r\n", 0), 0u) << boxes[0];
}

TEST_F(SchemaObjectsTest, CreateFieldTypesSizesAndCounters) {
  ASSERT_TRUE(q_.CreateField(*db_, Variant("Staff"), Variant("Id"), Variant(999)));
  ASSERT_TRUE(q_.CreateField(*db_, Variant("Staff"), Variant("Note"), Variant(dao::kText)));
  ASSERT_TRUE(q_.CreateField(*db_, Variant("Staff"), Variant("Short"), Variant(dao::kText), 5));
  ASSERT_TRUE(q_.CreateField(*db_, Variant("Staff"), Variant("Hired"), Variant(dao::kDate), 0));
  auto fields = Table("Staff")->GetFields();
  auto id = fields->Item("Id");
  EXPECT_EQ(id->Type(), dao::kLong);
  EXPECT_NE(id->Attributes() & dao::kAutoIncrField, 0);
  EXPECT_EQ(fields->Item("Note")->Size(), 50);  // the engine's default text size
  EXPECT_EQ(fields->Item("Short")->Size(), 5);
  EXPECT_EQ(fields->Item("Hired")->Type(), dao::kDate);

  // The counter numbers new rows by itself.
  auto rs = db_->OpenRecordset("Staff");
  for (const char* code : {"a", "b"}) {
    rs->AddNew();
    rs->GetFields()->Item("Code")->SetValue(Variant(code));
    rs->Update();
  }
  rs->Close();
  rs = db_->OpenRecordset("SELECT Id FROM Staff ORDER BY Code");
  EXPECT_EQ(rs->GetFields()->Item("Id")->Value(), Variant(int32_t{1}));
  rs->MoveNext();
  EXPECT_EQ(rs->GetFields()->Item("Id")->Value(), Variant(int32_t{2}));
  rs->Close();

  // A duplicate name fails; the source names the field.
  EXPECT_FALSE(
      q_.CreateField(*db_, Variant("Staff"), Variant("NOTE"), Variant(dao::kText), 0, true));
  auto boxes = Boxes();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_NE(boxes[0].find(", CreateField(), NOTE\r\n"), std::string::npos) << boxes[0];
  // A missing table is reported, not raised.
  EXPECT_FALSE(q_.CreateField(*db_, Variant("Nope"), Variant("X"), Variant(dao::kText), 0, true));
  boxes = Boxes();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].rfind("ERROR  3265, CreateField(), X", 0), 0u) << boxes[0];
}

TEST_F(SchemaObjectsTest, CreateIndexSkipsBlankFieldsAndMarksEveryFieldDescending) {
  for (const char* name : {"A", "B", "C", "D"}) {
    ASSERT_TRUE(q_.CreateField(*db_, Variant("Staff"), Variant(name), Variant(dao::kLong)));
  }
  ASSERT_TRUE(q_.CreateIndex(*db_, Variant("Staff"), Variant("ByABD"), Variant("A"), Variant("B"),
                             Variant(""), Variant("D"), Variant::Null(), false, true, true, true,
                             Variant(false)));
  auto index = Table("Staff")->GetIndexes()->Item("ByABD");
  auto fields = index->GetFields();
  ASSERT_EQ(fields->Count(), 3);
  EXPECT_EQ(fields->Item(Variant(0))->Name(), "A");
  EXPECT_EQ(fields->Item(Variant(1))->Name(), "B");
  EXPECT_EQ(fields->Item(Variant(2))->Name(), "D");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(fields->Item(Variant(i))->Attributes(), dao::kDescending);
  EXPECT_FALSE(index->Primary());
  EXPECT_TRUE(index->Unique());
  EXPECT_TRUE(index->IgnoreNulls());

  // A field that is not in the table fails; Verbose is any true value.
  EXPECT_FALSE(q_.CreateIndex(*db_, Variant("Staff"), Variant("Bad"), Variant("Zz"), Variant(),
                              Variant(), Variant(), Variant(), false, false, false, false,
                              Variant(-1)));
  auto boxes = Boxes();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_NE(boxes[0].find("CreateIndex()\r\n"), std::string::npos);
  EXPECT_FALSE(q_.CheckIndexExists(*db_, Variant("Staff"), Variant("Bad")));
}

TEST_F(SchemaObjectsTest, DeleteFieldWithItsIndexes) {
  for (const char* name : {"A", "B"}) {
    ASSERT_TRUE(q_.CreateField(*db_, Variant("Staff"), Variant(name), Variant(dao::kLong)));
  }
  // Two neighbouring indexes hold A, one of them over two fields; a third does not.
  ASSERT_TRUE(q_.CreateIndex(*db_, Variant("Staff"), Variant("ByA"), Variant("A"), Variant(),
                             Variant(), Variant(), Variant(), false, false, false, false,
                             Variant(false)));
  ASSERT_TRUE(q_.CreateIndex(*db_, Variant("Staff"), Variant("ByBA"), Variant("B"), Variant("A"),
                             Variant(), Variant(), Variant(), false, false, false, false,
                             Variant(false)));
  ASSERT_TRUE(q_.CreateIndex(*db_, Variant("Staff"), Variant("ByB"), Variant("B"), Variant(),
                             Variant(), Variant(), Variant(), false, false, false, false,
                             Variant(false)));

  // Without pDeleteAnyIndexes the engine refuses a field an index holds.
  EXPECT_FALSE(q_.DeleteField(*db_, Variant("Staff"), Variant("A"), false, true));
  auto boxes = Boxes();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_NE(boxes[0].find("DeleteField(), A\r\n"), std::string::npos) << boxes[0];
  EXPECT_TRUE(q_.CheckFieldExists(*db_, Variant("Staff"), Variant("A")));

  EXPECT_TRUE(q_.DeleteField(*db_, Variant("Staff"), Variant("a"), true, true));
  EXPECT_FALSE(q_.CheckFieldExists(*db_, Variant("Staff"), Variant("A")));
  EXPECT_FALSE(q_.CheckIndexExists(*db_, Variant("Staff"), Variant("ByA")));
  EXPECT_FALSE(q_.CheckIndexExists(*db_, Variant("Staff"), Variant("ByBA")));
  EXPECT_TRUE(q_.CheckIndexExists(*db_, Variant("Staff"), Variant("ByB")));
  EXPECT_TRUE(q_.CheckIndexExists(*db_, Variant("Staff"), Variant("Code")));

  EXPECT_TRUE(q_.DeleteIndex(*db_, Variant("Staff"), Variant("ByB")));
  EXPECT_FALSE(q_.DeleteIndex(*db_, Variant("Staff"), Variant("ByB"), true));
  boxes = Boxes();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].rfind("ERROR  3265, DeleteIndex(), ByB\r\n", 0), 0u) << boxes[0];
}

TEST_F(SchemaObjectsTest, DeletingMissingTablesIsSilentButMissingQueriesAreNot) {
  q_.DeleteTableDef(*db_, Variant("Nope"), true);
  EXPECT_TRUE(Boxes().empty());
  q_.DeleteTableDef(*db_, Variant("staff"), true);
  EXPECT_FALSE(q_.CheckTableExists(*db_, Variant("Staff")));

  q_.DeleteQueryDef(*db_, Variant("Nope"), false);
  EXPECT_TRUE(Boxes().empty());
  q_.DeleteQueryDef(*db_, Variant("Nope"), true);
  auto boxes = Boxes();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_EQ(boxes[0].rfind("ERROR  3265, DeleteQueryDef()\r\n", 0), 0u) << boxes[0];
}

TEST_F(SchemaObjectsTest, QueriesAreCreatedReplacedAndModified) {
  ASSERT_TRUE(q_.QueryDefCreate(*db_, Variant("AllStaff"), Variant("SELECT * FROM Staff")));
  ASSERT_TRUE(q_.QueryDefCreate(*db_, Variant("AllStaff"),
                                Variant("SELECT Code FROM Staff ORDER BY Code")));
  db_->GetQueryDefs()->Refresh();
  EXPECT_EQ(db_->GetQueryDefs()->Count(), 1);
  EXPECT_EQ(db_->GetQueryDefs()->Item("AllStaff")->SQL(), "SELECT Code FROM Staff ORDER BY Code");

  EXPECT_EQ(q_.QueryDefModify(*db_, Variant("allstaff"), Variant("SELECT Code FROM Staff")),
            Variant(true));
  EXPECT_EQ(db_->GetQueryDefs()->Item("AllStaff")->SQL(), "SELECT Code FROM Staff");
  // A missing query is not created by QueryDefModify.
  EXPECT_EQ(q_.QueryDefModify(*db_, Variant("Other"), Variant("SELECT 1"), true), Variant(false));
  EXPECT_EQ(db_->GetQueryDefs()->Count(), 1);
  auto boxes = Boxes();
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_NE(boxes[0].find("QueryDefModify()"), std::string::npos);

  q_.DeleteQueryDef(*db_, Variant("AllStaff"));
  EXPECT_EQ(db_->GetQueryDefs()->Count(), 0);
}

}  // namespace
}  // namespace qor
