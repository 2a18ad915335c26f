// The schema update from an action table, on real database files.
#include "db/schema_update.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "db/schema_test_db.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/vb.h"
#include "testing/test_util.h"

namespace qor {
namespace {

using Cells = std::vector<std::pair<std::string, Variant>>;

// One row of an action table.
Cells NewField(const char* table, const char* field, const char* type, int length = 0) {
  return {{"TableName", Variant(table)},
          {"Action", Variant("NF")},
          {"fieldname", Variant(field)},
          {"fieldtype", *type ? Variant(type) : Variant::Null()},
          {"fieldlen", Int16(length)}};
}
Cells DeleteField(const char* table, const char* field) {
  return {{"TableName", Variant(table)}, {"Action", Variant("DF")}, {"fieldname", Variant(field)}};
}
Cells DeleteIndex(const char* table, const char* index) {
  return {{"TableName", Variant(table)},
          {"Action", Variant("DI")},
          {"indexname", Variant(index)},
          {"indexdname", Variant(index)}};
}
Cells NewIndex(const char* table, const char* index, std::vector<const char*> fields,
               bool primary = false, bool unique = false, bool descending = false) {
  Cells cells = {{"TableName", Variant(table)}, {"Action", Variant("NI")},
                 {"indexname", Variant(index)}, {"indexdname", Variant(index)},
                 {"Primary", Variant(primary)}, {"uniqueflag", Variant(unique)},
                 {"Ignore", Variant(false)},    {"descflag", Variant(descending)}};
  const char* columns[] = {"Field1", "field2", "Field3", "Field4", "Field5"};
  for (size_t i = 0; i < fields.size(); ++i) {
    // A blank field is a Null cell.
    cells.emplace_back(columns[i], *fields[i] ? Variant(fields[i]) : Variant::Null());
  }
  return cells;
}
Cells WithAction(Cells cells, const char* action) {
  cells[1].second = Variant(action);
  return cells;
}

class SchemaUpdateTest : public ::testing::Test {
 protected:
  void SetUp() override { db_ = testing::CreateShopDatabase(dir_.File("shop.MDB")); }
  void TearDown() override { db_->Close(); }

  void Actions(const std::vector<Cells>& rows, bool with_indexdname = true) {
    testing::AddActionTable(*db_, "Actions", rows, with_indexdname);
  }

  // Runs UpdateTables and returns the texts of the boxes it showed.
  std::vector<std::string> Update(bool verbose = false) {
    EXPECT_TRUE(toolkit_.UpdateTables(*db_, Variant("Actions"), verbose).IsEmpty());
    std::vector<std::string> texts;
    for (const auto& event : ui_->TakeEvents()) texts.push_back(event.Field("text").AsString());
    return texts;
  }

  bool HasField(const char* table, const char* field) {
    return toolkit_.CheckFieldExists(*db_, Variant(table), Variant(field));
  }
  bool HasIndex(const char* table, const char* index) {
    return toolkit_.CheckIndexExists(*db_, Variant(table), Variant(index));
  }

  testing::TempDir dir_;
  testing::ScriptedUi ui_;
  std::shared_ptr<dao::Database> db_;
  qorDb toolkit_;
};

TEST_F(SchemaUpdateTest, EveryActionIsAppliedInTheTablesOrder) {
  Actions(
      {NewField("Orders", "Ref", "TE", 12), WithAction(NewField("orders", "Memo", " me "), " nf "),
       NewField("Orders", "Qty", "lo"), NewField("Orders", "Counted", "bo"),
       NewIndex("Orders", "ByRef", {"Ref", "Qty"}, false, true, true),
       NewIndex("Orders", "Skip3", {"Ref", "", "", "Qty"}), DeleteIndex("Customers", "ByName"),
       DeleteField("Orders", "CustNo"), NewIndex("Orders", "OrderNo", {"OrderNo"}, true, true)});
  EXPECT_EQ(Update(), (std::vector<std::string>{"Tables successfully updated"}));

  auto fields = db_->GetTableDefs()->Item("Orders")->GetFields();
  EXPECT_EQ(fields->Item("Ref")->Type(), dao::kText);
  EXPECT_EQ(fields->Item("Ref")->Size(), 12);
  EXPECT_EQ(fields->Item("Memo")->Type(), dao::kMemo);
  EXPECT_EQ(fields->Item("Qty")->Type(), dao::kLong);
  EXPECT_EQ(fields->Item("Counted")->Type(), dao::kBoolean);
  auto indexes = db_->GetTableDefs()->Item("Orders")->GetIndexes();
  auto by_ref = indexes->Item("ByRef");
  EXPECT_TRUE(by_ref->Unique());
  EXPECT_FALSE(by_ref->Primary());
  ASSERT_EQ(by_ref->GetFields()->Count(), 2);
  EXPECT_EQ(by_ref->GetFields()->Item(Long(1))->Name(), "Qty");
  EXPECT_EQ(by_ref->GetFields()->Item(Long(1))->Attributes(), dao::kDescending);
  auto skip = indexes->Item("Skip3");
  ASSERT_EQ(skip->GetFields()->Count(), 2);  // blank field2 and Field3 are passed over
  EXPECT_EQ(skip->GetFields()->Item(Long(1))->Name(), "Qty");
  EXPECT_TRUE(indexes->Item("OrderNo")->Primary());
  // DF took the index holding the field with it.
  EXPECT_FALSE(HasField("Orders", "CustNo"));
  EXPECT_FALSE(HasIndex("Orders", "ByCustomer"));
  EXPECT_FALSE(HasIndex("Customers", "ByName"));
  EXPECT_TRUE(HasIndex("Customers", "CustNo"));
  // The data stayed.
  EXPECT_EQ(db_->GetTableDefs()->Item("Orders")->RecordCount(), 2);
}

TEST_F(SchemaUpdateTest, AMissingTableStopsTheRunAfterTheRowsBeforeIt) {
  Actions({NewField("Orders", "Ref", "TE", 12), NewField("Invoices", "Ref", "TE", 12),
           NewField("Orders", "Later", "LO")});
  EXPECT_EQ(Update(), (std::vector<std::string>{"Table Invoices does not exist"}));
  EXPECT_TRUE(HasField("Orders", "Ref"));
  EXPECT_FALSE(HasField("Orders", "Later"));

  // Run again: the first row now fails, as the field is there.
  EXPECT_EQ(Update(), (std::vector<std::string>{"Error creating field Ref in table Orders"}));
}

TEST_F(SchemaUpdateTest, FailingRowsNameWhatFailed) {
  Actions({WithAction(NewField("Orders", "X", "TE"), " zz ")});
  EXPECT_EQ(Update(), (std::vector<std::string>{"Unknow action code:  zz "}));

  // The check finds a table whatever its blanks; the schema operations look
  // it up by its name as written, which a trailing blank spoils.
  db_->GetTableDefs()->Delete("Actions");
  Actions({NewField("Orders ", "X", "TE")});
  EXPECT_EQ(Update(), (std::vector<std::string>{"Error creating field X in table Orders "}));

  db_->GetTableDefs()->Delete("Actions");
  Actions({DeleteField("Orders", "Nope")});
  EXPECT_EQ(Update(), (std::vector<std::string>{"Error deleting field Nope in table Orders"}));

  db_->GetTableDefs()->Delete("Actions");
  Actions({NewIndex("Orders", "ByCustomer", {"OrderNo"})});
  EXPECT_EQ(Update(),
            (std::vector<std::string>{"Error creating index ByCustomer in table Orders"}));

  db_->GetTableDefs()->Delete("Actions");
  Actions({DeleteIndex("Orders", "Nope")});
  EXPECT_EQ(Update(), (std::vector<std::string>{"Error deleteing index Nope in table Orders"}));
}

TEST_F(SchemaUpdateTest, TheIndexMessagesReadTheIndexdnameColumn) {
  // The message names indexdname's value, whatever indexname says.
  Cells row = DeleteIndex("Orders", "Nope");
  row[3].second = Variant("the old index");
  Actions({row});
  EXPECT_EQ(Update(),
            (std::vector<std::string>{"Error deleteing index the old index in table Orders"}));

  // Without that column the message itself fails: the database's error is
  // shown instead.
  db_->GetTableDefs()->Delete("Actions");
  Actions({NewField("Orders", "Ref", "TE", 12), NewIndex("Orders", "Bad", {"Missing"})}, false);
  auto texts = Update();
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0].rfind("ERROR  3265, UpdateTables()", 0), 0u) << texts[0];
  EXPECT_TRUE(HasField("Orders", "Ref"));
  EXPECT_FALSE(HasIndex("Orders", "Bad"));
}

TEST_F(SchemaUpdateTest, NoTypeCodeSelectsANumericField) {
  // NU in any case, like an unknown or blank code, gives CreateField a Null
  // type, which the engine takes as Text: never a Numeric field.
  for (const char* code : {"NU", "nu", " Nu ", "XX", ""}) {
    Actions({NewField("Orders", "Amount", code)});
    EXPECT_EQ(Update(), (std::vector<std::string>{"Tables successfully updated"})) << code;
    auto fields = db_->GetTableDefs()->Item("Orders")->GetFields();
    EXPECT_EQ(fields->Item("Amount")->Type(), dao::kText) << code;
    fields->Delete("Amount");
    db_->GetTableDefs()->Delete("Actions");
  }
  // Every other code gives its type.
  const std::vector<std::pair<const char*, int>> codes = {
      {"BG", dao::kBigInt}, {"BI", dao::kBinary},     {"BO", dao::kBoolean},  {"BY", dao::kByte},
      {"CH", dao::kChar},   {"CU", dao::kCurrency},   {"DA", dao::kDate},     {"DE", dao::kDecimal},
      {"DO", dao::kDouble}, {"FL", dao::kFloat},      {"GU", dao::kGUID},     {"IN", dao::kInteger},
      {"LO", dao::kLong},   {"LB", dao::kLongBinary}, {"ME", dao::kMemo},     {"SI", dao::kSingle},
      {"te", dao::kText},   {"TI", dao::kTime},       {"TS", dao::kTimeStamp}};
  std::vector<Cells> rows;
  for (const auto& [code, type] : codes) {
    rows.push_back(NewField("Scratch", (std::string("F") + code).c_str(), code));
  }
  Actions(rows);
  EXPECT_EQ(Update(), (std::vector<std::string>{"Tables successfully updated"}));
  auto fields = db_->GetTableDefs()->Item("Scratch")->GetFields();
  for (const auto& [code, type] : codes) {
    EXPECT_EQ(fields->Item(Variant(std::string("F") + code))->Type(), type) << code;
  }
}

TEST_F(SchemaUpdateTest, EmptyTableAndVerboseReports) {
  Actions({});
  EXPECT_EQ(Update(true), (std::vector<std::string>{"No records found"}));
  EXPECT_FALSE(toolkit_.CheckTableExists(*db_, Variant("Nothing")));

  // Verbose adds the failing operation's own report before the message.
  db_->GetTableDefs()->Delete("Actions");
  Actions({NewField("Orders", "OrderNo", "LO")});
  auto texts = Update(true);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_NE(texts[0].find("CreateField(), OrderNo"), std::string::npos) << texts[0];
  EXPECT_EQ(texts[1], "Error creating field OrderNo in table Orders");

  // A missing action table is a database error, reported.
  texts.clear();
  EXPECT_TRUE(toolkit_.UpdateTables(*db_, Variant("NoSuchTable"), false).IsEmpty());
  auto events = ui_->TakeEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].Field("title"), Variant("Error Message"));

  // The outcome, for callers that need it.
  EXPECT_FALSE(db::ApplyActionTable(toolkit_, *db_, Variant("NoSuchTable"), false));
  db_->GetTableDefs()->Delete("Actions");
  Actions({NewField("Orders", "Extra", "LO")});
  EXPECT_TRUE(db::ApplyActionTable(toolkit_, *db_, Variant("Actions"), false));
}

}  // namespace
}  // namespace qor
