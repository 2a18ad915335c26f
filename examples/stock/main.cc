// stock: a small application on qorSupport. It keeps a parts table in a
// database file of the library's engine, reads a quantity by key with
// qorDb, formats values with the VB runtime and asks a question through
// the library's message boxes (answered by the headless backend when there
// is no display). Prints what it did; exits 0 when every step gave what it
// should.
//
//   stock [FOLDER]    the database goes into FOLDER (default: the current one)

#include <qorsupport/qorsupport.h>

#include <cstdio>
#include <filesystem>
#include <string>

namespace {

int failures = 0;

void Check(bool ok, const std::string& what) {
  std::printf("%s %s\n", ok ? "ok  " : "FAIL", what.c_str());
  if (!ok) ++failures;
}

}  // namespace

int main(int argc, char** argv) {
  namespace dao = qor::dao;
  const std::filesystem::path folder = argc > 1 ? argv[1] : ".";
  const std::string path = (folder / "stock.MDB").string();
  std::printf("qorSupport %s\n", QORSUPPORT_VERSION);

  try {
    dao::RemoveDatabaseFiles(path);
    auto db = dao::DBEngine::Get()->CreateDatabase(path, dao::kLangGeneral);
    auto parts = db->CreateTableDef("Parts");
    parts->GetFields()->Append(parts->CreateField("Code", qor::Long(dao::kText), qor::Long(10)));
    parts->GetFields()->Append(parts->CreateField("Qty", qor::Long(dao::kLong)));
    parts->GetFields()->Append(parts->CreateField("Price", qor::Long(dao::kCurrency)));
    auto key = parts->CreateIndex("PrimaryKey");
    key->GetFields()->Append(key->CreateField("Code"));
    key->SetPrimary(true);
    parts->GetIndexes()->Append(key);
    db->GetTableDefs()->Append(parts);

    auto rs = db->OpenRecordset("Parts");
    const char* codes[] = {"A1", "B2", "C3"};
    for (int i = 0; i < 3; ++i) {
      rs->AddNew();
      rs->GetFields()->Item("Code")->SetValue(qor::Variant(codes[i]));
      rs->GetFields()->Item("Qty")->SetValue(qor::Long(10 * (i + 1)));
      rs->GetFields()->Item("Price")->SetValue(qor::Variant(2.5 * (i + 1)));
      rs->Update();
    }
    rs->Close();
    Check(db->GetTableDefs()->Item("Parts")->RecordCount() == 3, "three parts stored");

    qor::qorDb toolkit;
    qor::Variant qty;
    toolkit.FieldDataReadWriteDb(qty, *db, "Parts", "Code", qor::Variant("B2"), "Qty");
    Check(qor::vb::CStr(qty) == "20", "Qty of B2 read by key: " + qor::vb::CStr(qty));

    qor::Variant price;
    toolkit.FieldDataReadWriteDb(price, *db, "Parts", "Code", qor::Variant("C3"), "Price");
    const std::string shown = qor::vb::CStr(qor::vb::Format(price, "Currency"));
    Check(shown == "$7.50", "Price of C3 formatted: " + shown);
    db->Close();

    qor::qorForms forms;
    forms.SetAppName(qor::Variant("Stock"));
    // Without a display the headless backend answers with the default
    // button, No.
    Check(!forms.MsgYN("Reorder part C3?"), "the question was asked and answered No");
  } catch (const qor::Error& e) {
    std::printf("FAIL error %d: %s\n", e.number(), e.description().c_str());
    return 1;
  }
  dao::RemoveDatabaseFiles(path);
  return failures == 0 ? 0 : 1;
}
