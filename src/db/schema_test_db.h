// For the schema toolkit's tests: building tables, indexes and rows on a real
// database file through the engine, and the sample shop database the tests
// and the command-line tests work on.
#ifndef QOR_DB_SCHEMA_TEST_DB_H_
#define QOR_DB_SCHEMA_TEST_DB_H_

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/variant.h"

namespace qor::testing {

struct FieldPlan {
  FieldPlan(std::string name, int type, int32_t size = 0, bool required = false,
            bool allow_zero_length = false, std::string default_value = "", bool counter = false)
      : name(std::move(name)),
        type(type),
        size(size),
        required(required),
        allow_zero_length(allow_zero_length),
        default_value(std::move(default_value)),
        counter(counter) {}

  std::string name;
  int type;
  int32_t size = 0;  // 0: the engine's size for the type
  bool required = false;
  bool allow_zero_length = false;
  std::string default_value;
  bool counter = false;
};

struct IndexPlan {
  std::string name;
  std::vector<std::string> fields;
  bool primary = false;
  bool unique = false;
  bool descending = false;
};

// A stored table with those fields and indexes; a non-empty description
// becomes its Description property.
inline std::shared_ptr<dao::TableDef> AddTable(dao::Database& db, const std::string& name,
                                               const std::vector<FieldPlan>& fields,
                                               const std::vector<IndexPlan>& indexes = {},
                                               const std::string& description = "") {
  auto table = db.CreateTableDef(Variant(name));
  for (const FieldPlan& plan : fields) {
    auto field = plan.size ? table->CreateField(plan.name, Long(plan.type), Long(plan.size))
                           : table->CreateField(plan.name, Long(plan.type));
    field->SetRequired(plan.required);
    if (dao::IsTextType(plan.type)) field->SetAllowZeroLength(plan.allow_zero_length);
    if (!plan.default_value.empty()) field->SetDefaultValue(plan.default_value);
    if (plan.counter) field->SetAttributes(field->Attributes() | dao::kAutoIncrField);
    table->GetFields()->Append(field);
  }
  for (const IndexPlan& plan : indexes) {
    auto index = table->CreateIndex(Variant(plan.name));
    for (const std::string& field_name : plan.fields) {
      auto field = index->CreateField(Variant(field_name));
      if (plan.descending) field->SetAttributes(dao::kDescending);
      index->GetFields()->Append(field);
    }
    index->SetPrimary(plan.primary);
    index->SetUnique(plan.unique);
    table->GetIndexes()->Append(index);
  }
  db.GetTableDefs()->Append(table);
  if (!description.empty()) {
    table->GetProperties()->Append(
        table->CreateProperty("Description", Long(dao::kText), Variant(description)));
  }
  return table;
}

// Adds a record: column name and value pairs, the rest left to the defaults.
inline void AddRow(dao::Database& db, const std::string& table,
                   const std::vector<std::pair<std::string, Variant>>& values) {
  auto rs = db.OpenRecordset(table);
  rs->AddNew();
  for (const auto& [column, value] : values) {
    rs->GetFields()->Item(Variant(column))->SetValue(value);
  }
  rs->Update();
  rs->Close();
}

// The sample shop database:
//   Customers, "Template table, DATA carried over": CustNo (Text 10,
//     required), Name (Text 40, required, zero length allowed), Balance
//     (Currency, default 0), Id (counter), Notes (Memo); indexes CustNo
//     (primary, unique) and ByName (Name, CustNo); 3 records.
//   Orders, "template": OrderNo (Long), CustNo (Text 10), Placed (Date,
//     default Date()); index ByCustomer (CustNo, descending); 2 records.
//   Scratch, no description: Memo (Text 5); 0 records.
//   History, "kept for audits": Entry (Text 20); 1 record.
inline std::shared_ptr<dao::Database> CreateShopDatabase(const std::string& path) {
  auto db = dao::DBEngine::Get()->CreateDatabase(path, dao::kLangGeneral);
  AddTable(*db, "Customers",
           {{"CustNo", dao::kText, 10, true},
            {"Name", dao::kText, 40, true, true},
            {"Balance", dao::kCurrency, 0, false, false, "0"},
            {"Id", dao::kLong, 0, false, false, "", true},
            {"Notes", dao::kMemo}},
           {{"CustNo", {"CustNo"}, true, true}, {"ByName", {"Name", "CustNo"}}},
           "Template table, DATA carried over");
  AddTable(*db, "Orders",
           {{"OrderNo", dao::kLong},
            {"CustNo", dao::kText, 10},
            {"Placed", dao::kDate, 0, false, false, "Date()"}},
           {{"ByCustomer", {"CustNo"}, false, false, true}}, "template");
  AddTable(*db, "Scratch", {{"Memo", dao::kText, 5}});
  AddTable(*db, "History", {{"Entry", dao::kText, 20}}, {}, "kept for audits");
  AddRow(*db, "Customers", {{"CustNo", Variant("C1")}, {"Name", Variant("Ames")}});
  AddRow(*db, "Customers", {{"CustNo", Variant("C2")}, {"Name", Variant("Bray")}});
  AddRow(*db, "Customers", {{"CustNo", Variant("C3")}, {"Name", Variant("")}});
  AddRow(*db, "Orders", {{"OrderNo", Long(1)}, {"CustNo", Variant("C1")}});
  AddRow(*db, "Orders", {{"OrderNo", Long(2)}, {"CustNo", Variant("C3")}});
  AddRow(*db, "History", {{"Entry", Variant("opened")}});
  return db;
}

// An action table for the schema update: its columns (with_indexdname adds
// the one the index messages read), then a record per row, the cells given
// by column name.
inline void AddActionTable(dao::Database& db, const std::string& name,
                           const std::vector<std::vector<std::pair<std::string, Variant>>>& rows,
                           bool with_indexdname = true) {
  std::vector<FieldPlan> columns = {
      {"TableName", dao::kText, 40}, {"Action", dao::kText, 5},   {"fieldname", dao::kText, 40},
      {"fieldtype", dao::kText, 5},  {"fieldlen", dao::kInteger}, {"indexname", dao::kText, 40},
      {"Field1", dao::kText, 40},    {"Field2", dao::kText, 40},  {"Field3", dao::kText, 40},
      {"Field4", dao::kText, 40},    {"Field5", dao::kText, 40},  {"Primary", dao::kBoolean},
      {"uniqueflag", dao::kBoolean}, {"Ignore", dao::kBoolean},   {"descflag", dao::kBoolean}};
  if (with_indexdname) columns.push_back({"indexdname", dao::kText, 40});
  AddTable(db, name, columns);
  for (const auto& row : rows) {
    std::vector<std::pair<std::string, Variant>> kept;
    for (const auto& cell : row) {
      if (with_indexdname || cell.first != "indexdname") kept.push_back(cell);
    }
    AddRow(db, name, kept);
  }
}

// Two action tables for the shop database: Upgrade (a text field Ref of 12
// for Orders, written in lower case as "nf" and "te"; Customers loses Notes)
// and Broken (a row for the missing table Invoices).
inline void AddSampleActionTables(dao::Database& db) {
  AddActionTable(db, "Upgrade",
                 {{{"TableName", Variant("Orders")},
                   {"Action", Variant("nf")},
                   {"fieldname", Variant("Ref")},
                   {"fieldtype", Variant("te")},
                   {"fieldlen", Int16(12)}},
                  {{"TableName", Variant("Customers")},
                   {"Action", Variant("DF")},
                   {"fieldname", Variant("Notes")}}});
  AddActionTable(db, "Broken", {{{"TableName", Variant("Invoices")}, {"Action", Variant("NF")}}});
}

}  // namespace qor::testing

#endif  // QOR_DB_SCHEMA_TEST_DB_H_
