// The structure table and the TableStructures listing, written from real
// database files.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "db/schema_test_db.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/vb.h"
#include "testing/test_util.h"

namespace qor {
namespace {

using Row = std::map<std::string, Variant>;

// Every record of a table, in stored order, as column name -> value.
std::vector<Row> ReadRows(dao::Database& db, const std::string& table) {
  std::vector<Row> rows;
  auto rs = db.OpenRecordset("SELECT * FROM " + table + ";");
  while (!rs->Eof()) {
    Row row;
    for (const auto& field : rs->GetFields()->items()) row[field->Name()] = field->Value();
    rows.push_back(std::move(row));
    rs->MoveNext();
  }
  rs->Close();
  return rows;
}

// "Table.ObjName" of each row, in order.
std::vector<std::string> RowNames(const std::vector<Row>& rows, const char* table_column,
                                  const char* name_column) {
  std::vector<std::string> names;
  for (const Row& row : rows) {
    names.push_back(vb::CStr(row.at(table_column)) + "." + vb::CStr(row.at(name_column)));
  }
  return names;
}

// The MsgBox texts shown so far.
std::vector<std::string> Messages(testing::ScriptedUi& ui) {
  std::vector<std::string> texts;
  for (const auto& event : ui->TakeEvents()) texts.push_back(event.Field("text").AsString());
  return texts;
}

class StructureTableTest : public ::testing::Test {
 protected:
  void SetUp() override { db_ = testing::CreateShopDatabase(dir_.File("shop.MDB")); }
  void TearDown() override { db_->Close(); }

  testing::TempDir dir_;
  testing::ScriptedUi ui_;
  std::shared_ptr<dao::Database> db_;
  qorDb toolkit_;
};

TEST_F(StructureTableTest, DumpOfTheTemplatesDescribesEveryFieldAndIndex) {
  ASSERT_TRUE(toolkit_.DumpAllTableStructuresToTable(*db_));

  // The columns, in order, with their types and sizes; no index on it.
  auto table = db_->GetTableDefs()->Item("TableStructure");
  std::vector<std::string> columns;
  for (const auto& f : table->GetFields()->items()) {
    columns.push_back(f->Name() + ":" + std::to_string(f->Type()) + ":" +
                      std::to_string(f->Size()));
  }
  EXPECT_EQ(columns,
            (std::vector<std::string>{
                "TableName:10:40", "ObjType:10:10", "ObjName:10:40",         "ObjDataType:4:4",
                "ObjLen:3:2",      "ObjAttr:4:4",   "ObjDefaultValue:10:50", "ObjFlags:4:4",
                "IsCounter:1:1",   "DumpData:1:1",  "ixFld1:10:40",          "ixFlags1:4:4",
                "ixFld2:10:40",    "ixFlags2:4:4",  "ixFld3:10:40",          "ixFlags3:4:4",
                "ixFld4:10:40",    "ixFlags4:4:4",  "ixFld5:10:40",          "ixFlags5:4:4"}));
  EXPECT_EQ(table->GetIndexes()->Count(), 0);

  // Only the tables whose description says TEMPLATE, fields then indexes.
  auto rows = ReadRows(*db_, "TableStructure");
  EXPECT_EQ(RowNames(rows, "TableName", "ObjName"),
            (std::vector<std::string>{"Customers.CustNo", "Customers.Name", "Customers.Balance",
                                      "Customers.Id", "Customers.Notes", "Customers.CustNo",
                                      "Customers.ByName", "Orders.OrderNo", "Orders.CustNo",
                                      "Orders.Placed", "Orders.ByCustomer"}));

  const Row& cust_no = rows[0];
  EXPECT_EQ(cust_no.at("ObjType"), Variant("FIELD"));
  EXPECT_EQ(cust_no.at("ObjDataType"), Long(dao::kText));
  EXPECT_EQ(cust_no.at("ObjLen"), Int16(10));
  EXPECT_EQ(cust_no.at("ObjFlags"), Long(1));  // required
  EXPECT_TRUE(cust_no.at("ObjDefaultValue").IsNull());
  EXPECT_EQ(cust_no.at("IsCounter"), Variant(false));
  EXPECT_EQ(cust_no.at("DumpData"), Variant(true));  // "... DATA carried over"
  EXPECT_TRUE(cust_no.at("ixFld1").IsNull());
  EXPECT_EQ(rows[1].at("ObjFlags"), Long(3));  // required, zero length allowed
  EXPECT_EQ(rows[2].at("ObjDefaultValue"), Variant("0"));
  EXPECT_EQ(rows[2].at("ObjDataType"), Long(dao::kCurrency));
  EXPECT_EQ(rows[3].at("IsCounter"), Variant(true));
  EXPECT_EQ(vb::CLng(rows[3].at("ObjAttr")) & dao::kAutoIncrField, dao::kAutoIncrField);
  EXPECT_EQ(rows[4].at("ObjLen"), Int16(0));  // a Memo has no size

  // Index rows: flags 1 whatever the index is (primary, descending), and a
  // flag of 1 beside each field named.
  const Row& key = rows[5];
  EXPECT_EQ(key.at("ObjType"), Variant("INDEX"));
  EXPECT_EQ(key.at("ObjFlags"), Long(1));
  EXPECT_TRUE(key.at("ObjDataType").IsNull());
  EXPECT_TRUE(key.at("ObjLen").IsNull());
  EXPECT_TRUE(key.at("IsCounter").IsNull());
  EXPECT_EQ(key.at("ixFld1"), Variant("CustNo"));
  EXPECT_EQ(key.at("ixFlags1"), Long(1));
  EXPECT_TRUE(key.at("ixFld2").IsNull());
  EXPECT_TRUE(key.at("ixFlags2").IsNull());
  EXPECT_EQ(rows[6].at("ixFld2"), Variant("CustNo"));
  EXPECT_EQ(rows[6].at("ixFlags2"), Long(1));
  EXPECT_EQ(rows[10].at("ObjFlags"), Long(1));         // descending, still 1
  EXPECT_EQ(rows[10].at("DumpData"), Variant(false));  // "template" alone
  EXPECT_EQ(rows[9].at("ObjDefaultValue"), Variant("Date()"));

  // A second run rebuilds the table instead of appending to it.
  ASSERT_TRUE(toolkit_.DumpAllTableStructuresToTable(*db_, Variant("  TableStructure ")));
  EXPECT_EQ(ReadRows(*db_, "TableStructure").size(), rows.size());
  EXPECT_TRUE(Messages(ui_).empty());
}

TEST_F(StructureTableTest, TemplateAndDataAreFoundInAnyCaseAnywhere) {
  db_->GetTableDefs()->Item("Scratch")->GetProperties()->Append(
      db_->GetTableDefs()->Item("Scratch")->CreateProperty("Description", Long(dao::kText),
                                                           Variant("old TeMpLaTeS with data")));
  db_->GetTableDefs()
      ->Item("Customers")
      ->GetProperties()
      ->Item("Description")
      ->SetValue(Variant("no template words here"));  // "template" in lower case counts too
  ASSERT_TRUE(toolkit_.DumpAllTableStructuresToTable(*db_, Variant("Layout")));
  auto rows = ReadRows(*db_, "Layout");
  std::map<std::string, Variant> dump_data;
  for (const Row& row : rows) dump_data[vb::CStr(row.at("TableName"))] = row.at("DumpData");
  EXPECT_EQ(dump_data.size(), 3u);  // History's description lacks the word
  EXPECT_EQ(dump_data["Scratch"], Variant(true));
  EXPECT_EQ(dump_data["Customers"], Variant(false));
  EXPECT_EQ(dump_data["Orders"], Variant(false));
  EXPECT_FALSE(db_->GetTableDefs()->Find("TableStructure"));
}

TEST_F(StructureTableTest, SingleDumpAppendsUnlessTheOldTableGoes) {
  auto orders = db_->GetTableDefs()->Item("Orders");
  ASSERT_TRUE(toolkit_.DumpTableStructureToTable(*db_, *orders));
  EXPECT_EQ(ReadRows(*db_, "TableStructure").size(), 4u);
  // The name is looked up trimmed and without regard to case: the same
  // table, appended to.
  ASSERT_TRUE(toolkit_.DumpTableStructureToTable(*db_, *orders, Variant(" tablestructure ")));
  auto rows = ReadRows(*db_, "TableStructure");
  ASSERT_EQ(rows.size(), 8u);
  EXPECT_EQ(rows[4].at("ObjName"), Variant("OrderNo"));
  EXPECT_EQ(rows[4].at("DumpData"), Variant(false));
  ASSERT_TRUE(toolkit_.DumpTableStructureToTable(*db_, *orders, Variant::Missing(), true, true));
  rows = ReadRows(*db_, "TableStructure");
  ASSERT_EQ(rows.size(), 4u);
  EXPECT_EQ(rows[0].at("DumpData"), Variant(true));
  // The described table may live elsewhere: only the structure table is in pDb.
  auto other = testing::CreateShopDatabase(dir_.File("other.MDB"));
  ASSERT_TRUE(toolkit_.DumpTableStructureToTable(*other, *db_->GetTableDefs()->Item("History")));
  EXPECT_EQ(ReadRows(*other, "TableStructure").size(), 1u);
  other->Close();
}

TEST_F(StructureTableTest, AnIndexOfSixFieldsEndsTheDumpKeepingEarlierRows) {
  testing::AddTable(*db_, "Wide",
                    {{"A", dao::kLong},
                     {"B", dao::kLong},
                     {"C", dao::kLong},
                     {"D", dao::kLong},
                     {"E", dao::kLong},
                     {"F", dao::kLong}},
                    {{"Five", {"A", "B", "C", "D", "E"}},
                     {"Six", {"A", "B", "C", "D", "E", "F"}},
                     {"Later", {"F"}}},
                    "Template");
  auto wide = db_->GetTableDefs()->Item("Wide");
  EXPECT_FALSE(toolkit_.DumpTableStructureToTable(*db_, *wide));
  EXPECT_TRUE(Messages(ui_).empty());  // not verbose

  EXPECT_FALSE(
      toolkit_.DumpTableStructureToTable(*db_, *wide, Variant::Missing(), true, false, true));
  EXPECT_EQ(Messages(ui_), (std::vector<std::string>{"Max index fields exceeded on index Six"}));
  auto rows = ReadRows(*db_, "TableStructure");
  EXPECT_EQ(RowNames(rows, "TableName", "ObjName"),
            (std::vector<std::string>{"Wide.A", "Wide.B", "Wide.C", "Wide.D", "Wide.E", "Wide.F",
                                      "Wide.Five"}));
  EXPECT_EQ(rows[6].at("ixFld5"), Variant("E"));
  EXPECT_EQ(rows[6].at("ixFlags5"), Long(1));

  // The whole run stops at that table, and says so.
  EXPECT_FALSE(toolkit_.DumpAllTableStructuresToTable(*db_, Variant::Missing(), true));
  EXPECT_EQ(Messages(ui_), (std::vector<std::string>{"Max index fields exceeded on index Six"}));
}

TEST_F(StructureTableTest, ListingHoldsEveryUserTableWithItsRecordCount) {
  std::string listing_path = dir_.File("listing.MDB");
  db_->Close();
  ASSERT_TRUE(toolkit_.DumpTablesStructure(Variant(listing_path), Variant(dir_.File("shop.MDB"))));
  auto listing = dao::DBEngine::Get()->OpenDatabase(listing_path);
  auto table = listing->GetTableDefs()->Item("TableStructures");
  std::vector<std::string> columns;
  for (const auto& f : table->GetFields()->items()) {
    columns.push_back(f->Name() + ":" + std::to_string(f->Type()) + ":" +
                      std::to_string(f->Size()));
  }
  EXPECT_EQ(columns, (std::vector<std::string>{"TblName:10:50", "FldName:10:50", "FldType:10:50",
                                               "FldSize:4:4"}));
  auto rows = ReadRows(*listing, "TableStructures");
  listing->Close();
  std::vector<std::string> lines;
  for (const Row& row : rows) {
    lines.push_back(vb::ConcatText(row.at("TblName")) + " " + vb::ConcatText(row.at("FldName")) +
                    " " + (row.at("FldType").IsNull() ? "<Null>" : vb::CStr(row.at("FldType"))) +
                    " " + vb::CStr(row.at("FldSize")));
  }
  // No catalog (MSys) table; tables in the collection's order (by name).
  EXPECT_EQ(
      lines,
      (std::vector<std::string>{
          "Customers RecordCount <Null> 3", "Customers CustNo dbText 10",
          "Customers Name dbText 40", "Customers Balance dbCurrency 8", "Customers Id dbLong 4",
          "Customers Notes dbMemo 0", "History RecordCount <Null> 1", "History Entry dbText 20",
          "Orders RecordCount <Null> 2", "Orders OrderNo dbLong 4", "Orders CustNo dbText 10",
          "Orders Placed dbDate 8", "Scratch RecordCount <Null> 0", "Scratch Memo dbText 5"}));
  db_ = dao::DBEngine::Get()->OpenDatabase(dir_.File("shop.MDB"));
}

TEST_F(StructureTableTest, ListingFailuresAreReportedOnlyWhenVerbose) {
  std::string from = dir_.File("shop.MDB");
  EXPECT_FALSE(toolkit_.DumpTablesStructure(Variant("  "), Variant(from)));
  EXPECT_FALSE(toolkit_.DumpTablesStructure(Variant::Null(), Variant(from), true));
  EXPECT_EQ(Messages(ui_), (std::vector<std::string>{"Invalid database name"}));

  // The listing never overwrites a file: the database error is reported.
  EXPECT_FALSE(toolkit_.DumpTablesStructure(Variant(from), Variant(from), true));
  auto texts = Messages(ui_);
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  3204, DumpTablesStructure()", 0), 0u) << texts[0];
  EXPECT_TRUE(db_->GetTableDefs()->Find("Customers"));  // still the shop

  // A missing source: no listing is created.
  std::string to = dir_.File("listing.MDB");
  EXPECT_FALSE(toolkit_.DumpTablesStructure(Variant(to), Variant(dir_.File("none.MDB")), true));
  EXPECT_EQ(Messages(ui_).size(), 1u);
  EXPECT_FALSE(std::filesystem::exists(to));
  EXPECT_FALSE(toolkit_.DumpTablesStructure(Variant(to), Variant(dir_.File("none.MDB"))));
  EXPECT_TRUE(Messages(ui_).empty());
}

TEST(FieldTypeString, NamesEveryEngineTypeCodeAndNothingElse) {
  qorDb toolkit;
  const std::map<int, const char*> names = {
      {1, "dbBoolean"},  {2, "dbByte"},    {3, "dbInteger"},     {4, "dbLong"},
      {5, "dbCurrency"}, {6, "dbSingle"},  {7, "dbDouble"},      {8, "dbDate"},
      {9, "dbBinary"},   {10, "dbText"},   {11, "dbLongBinary"}, {12, "dbMemo"},
      {15, "dbGUID"},    {16, "dbBigInt"}, {18, "dbChar"},       {19, "dbNumeric"},
      {20, "dbDecimal"}, {21, "dbFloat"},  {22, "dbTime"},       {23, "dbTimeStamp"}};
  for (int code = -1; code <= 25; ++code) {
    auto found = names.find(code);
    EXPECT_EQ(toolkit.FieldTypeString(Int16(code)),
              found == names.end() ? "Unknown" : found->second)
        << code;
  }
  EXPECT_EQ(toolkit.FieldTypeString(Variant(10.0)), "dbText");
  EXPECT_EQ(toolkit.FieldTypeString(Byte(4)), "dbLong");
  EXPECT_EQ(toolkit.FieldTypeString(Variant(10.5)), "Unknown");
  EXPECT_EQ(toolkit.FieldTypeString(Variant::Null()), "Unknown");
  EXPECT_EQ(toolkit.FieldTypeString(Variant("10")), "Unknown");
  EXPECT_EQ(toolkit.FieldTypeString(Variant(true)), "Unknown");  // True is -1
  EXPECT_EQ(toolkit.FieldTypeString(Variant()), "Unknown");
  EXPECT_EQ(toolkit.FieldTypeString(Long(999)), "Unknown");
}

}  // namespace
}  // namespace qor
