// Databases for the qorDb tests: real files in a test's folder, with a
// table that uses what the operations must carry over (a counter with a gap
// in its values, a descending index, validation rules, display properties),
// and a look at the reports the scripted interface recorded.
#ifndef QOR_DB_TEST_DATABASES_H_
#define QOR_DB_TEST_DATABASES_H_

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/vb_date.h"
#include "testing/test_util.h"

namespace qor::db::test {

inline std::shared_ptr<dao::Database> NewDatabase(const std::string& path) {
  return dao::DBEngine::Get()->CreateDatabase(path, dao::kLangGeneral);
}

inline std::shared_ptr<dao::Field> NewField(dao::TableDef& t, const char* name, int type,
                                            int size = 0) {
  return t.CreateField(name, Long(type), Long(size));
}

inline void SetProperty(dao::Field& field, const char* name, int type, const Variant& value) {
  field.GetProperties()->Append(field.CreateProperty(name, Long(type), value));
}

// The table name (Order Items by default): Id (counter, primary key PK),
// Code (Text 10, zero-length allowed, required, Caption and InputMask, unique
// descending index CodeDown), Qty (Long, default 1, rule >= 0, Format),
// Price (Double, DecimalPlaces), Added (Date), Note (Memo). The rows are
// A1, B2, C3 with Ids 1, 2 and 4 (3 was deleted), Qty 10, 20, 30, Price
// 1.5, 2.5, 3.5, Added 2003-03-0N; the table has a rule and its text.
inline void AddItemsTable(dao::Database& db, const std::string& name = "Order Items",
                          bool with_rows = true) {
  auto t = db.CreateTableDef(Variant(name));
  auto id = NewField(*t, "Id", dao::kLong);
  id->SetAttributes(id->Attributes() | dao::kAutoIncrField);
  t->GetFields()->Append(id);
  auto code = NewField(*t, "Code", dao::kText, 10);
  code->SetAllowZeroLength(true);
  code->SetRequired(true);
  t->GetFields()->Append(code);
  auto qty = NewField(*t, "Qty", dao::kLong);
  qty->SetDefaultValue("1");
  qty->SetValidationRule(">= 0");
  qty->SetValidationText("No negative quantities");
  t->GetFields()->Append(qty);
  t->GetFields()->Append(NewField(*t, "Price", dao::kDouble));
  t->GetFields()->Append(NewField(*t, "Added", dao::kDate));
  t->GetFields()->Append(NewField(*t, "Note", dao::kMemo));
  auto pk = t->CreateIndex("PK");
  pk->GetFields()->Append(pk->CreateField("Id"));
  pk->SetPrimary(true);
  pk->SetUnique(true);
  t->GetIndexes()->Append(pk);
  auto down = t->CreateIndex("CodeDown");
  auto down_field = down->CreateField("Code");
  down_field->SetAttributes(dao::kDescending);
  down->GetFields()->Append(down_field);
  down->SetUnique(true);
  t->GetIndexes()->Append(down);
  t->SetValidationRule("[Price] < 1000");
  t->SetValidationText("Too dear");
  db.GetTableDefs()->Append(t);
  auto fields = db.GetTableDefs()->Item(Variant(name))->GetFields();
  SetProperty(*fields->Item("Code"), "Caption", dao::kText, "Part code");
  SetProperty(*fields->Item("Code"), "InputMask", dao::kText, ">LL0");
  SetProperty(*fields->Item("Qty"), "Format", dao::kText, "#,##0");
  SetProperty(*fields->Item("Price"), "DecimalPlaces", dao::kByte, Byte(2));
  if (!with_rows) return;
  auto rs = db.OpenRecordset(name, Long(dao::kOpenDynaset));
  const char* codes[] = {"A1", "B2", "X9", "C3"};
  for (int i = 0; i < 4; ++i) {
    rs->AddNew();
    rs->GetFields()->Item("Code")->SetValue(codes[i]);
    rs->GetFields()->Item("Qty")->SetValue(Long(10 * (i + 1)));
    rs->GetFields()->Item("Price")->SetValue(Variant(1.5 + i));
    rs->GetFields()->Item("Added")->SetValue(Variant(vb::DateSerial(2003, 3, 1 + i)));
    rs->Update();
  }
  rs->FindFirst("[Code] = \"X9\"");
  rs->Delete();
  rs->Close();
  db.Execute("UPDATE [" + name +
             "] SET Qty = 30, Price = 3.5, Added = #3/3/2003# WHERE Code = 'C3'");
}

// Beside the user tables: Hidden (a hidden table) and Linked (an attached
// table, as a link to another database's table Remote leaves it).
inline void AddHiddenAndAttachedTables(dao::Database& db) {
  auto hidden = db.CreateTableDef("Hidden", Long(dao::kHiddenObject));
  hidden->GetFields()->Append(hidden->CreateField("X", Long(dao::kLong)));
  db.GetTableDefs()->Append(hidden);
  auto linked = db.CreateTableDef("Linked", Long(dao::kAttachedTable), "Remote",
                                  ";DATABASE=/elsewhere/other.mdb");
  linked->GetFields()->Append(linked->CreateField("Y", Long(dao::kLong)));
  db.GetTableDefs()->Append(linked);
}

// A file's bytes, to show that an operation left it as it was.
inline std::string FileBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

// The texts of the message boxes recorded so far, forgetting them.
inline std::vector<std::string> TakeBoxTexts(testing::ScriptedUi& ui) {
  std::vector<std::string> texts;
  for (const auto& event : ui->TakeEvents()) {
    if (event.kind == "MsgBox") texts.push_back(event.Field("text").AsString());
  }
  return texts;
}

}  // namespace qor::db::test

#endif  // QOR_DB_TEST_DATABASES_H_
