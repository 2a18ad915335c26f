// qorDb's schema update: the rows of an action table, each a new field, a
// deleted field, a new index or a deleted index in a named table, applied in
// the table's stored order until the first one that fails.

#include "db/schema_update.h"

#include <memory>
#include <string>

#include "db/close_quietly.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"

namespace qor {
namespace db {
namespace {

// The type codes of the fieldtype column, in the order they are looked at.
// dbNumeric's code is kept in lower case while the column's value is
// upper-cased before the comparison: no row can ask for a Numeric field.
constexpr struct {
  const char* code;
  int type;
} kTypeCodes[] = {
    {"BG", dao::kBigInt}, {"BI", dao::kBinary},     {"BO", dao::kBoolean}, {"BY", dao::kByte},
    {"CH", dao::kChar},   {"CU", dao::kCurrency},   {"DA", dao::kDate},    {"DE", dao::kDecimal},
    {"DO", dao::kDouble}, {"FL", dao::kFloat},      {"GU", dao::kGUID},    {"IN", dao::kInteger},
    {"LO", dao::kLong},   {"LB", dao::kLongBinary}, {"ME", dao::kMemo},    {"nu", dao::kNumeric},
    {"SI", dao::kSingle}, {"TE", dao::kText},       {"TI", dao::kTime},    {"TS", dao::kTimeStamp},
    {"VA", 17},  // dbVarBinary
};

// The engine type of a fieldtype code, or Null for a code that is not one.
Variant TypeOfCode(const Variant& code) {
  Variant upper = TrimUpper(code);
  if (!upper.IsString()) return Variant::Null();
  for (const auto& entry : kTypeCodes) {
    if (upper.AsString() == entry.code) return Variant(int32_t{entry.type});
  }
  return Variant::Null();
}

// The fieldlen column as a size: blank (the column is only filled for text
// fields) leaves the size to the engine.
int16_t FieldLength(const Variant& length) {
  if (length.IsNull() || length.IsEmpty()) return 0;
  return vb::CInt(length);
}

// The row's text for a message, as & joins it (Null as "").
std::string Text(const dao::Recordset& rs, std::string_view column) {
  return vb::ConcatText(rs.Value(column));
}

}  // namespace

bool ApplyActionTable(qorDb& toolkit, dao::Database& pDb, const Variant& pUpdateTableName,
                      bool Verbose) {
  // Every message is shown whatever Verbose says; Verbose goes on to the
  // schema operations, which then add their own reports.
  Reporter reporter("UpdateTables", true);
  std::shared_ptr<dao::Recordset> rs;
  bool done = Guard(reporter, false, [&] {
    const std::string name = vb::ConcatText(pUpdateTableName);
    rs = pDb.OpenRecordset("SELECT " + name + ".* FROM " + name + ";");
    if (rs->Bof() && rs->Eof()) {
      reporter.Fail("No records found");
      return false;
    }
    rs->MoveFirst();
    while (!rs->Eof()) {
      const Variant table = rs->Value("TableName");
      const std::string in_table = " in table " + vb::ConcatText(table);
      if (!toolkit.CheckTableExists(pDb, table, Verbose)) {
        reporter.Fail("Table " + vb::ConcatText(table) + " does not exist");
        return false;
      }
      const Variant action = TrimUpper(rs->Value("Action"));
      const std::string code = action.IsString() ? action.AsString() : "";
      if (code == "NF") {
        if (!toolkit.CreateField(pDb, table, rs->Value("fieldname"),
                                 TypeOfCode(rs->Value("fieldtype")),
                                 FieldLength(rs->Value("fieldlen")), Verbose)) {
          reporter.Fail("Error creating field " + Text(*rs, "fieldname") + in_table);
          return false;
        }
      } else if (code == "DF") {
        if (!toolkit.DeleteField(pDb, table, rs->Value("fieldname"), true, Verbose)) {
          reporter.Fail("Error deleting field " + Text(*rs, "fieldname") + in_table);
          return false;
        }
      } else if (code == "NI") {
        if (!toolkit.CreateIndex(pDb, table, rs->Value("indexname"), rs->Value("Field1"),
                                 rs->Value("field2"), rs->Value("Field3"), rs->Value("Field4"),
                                 rs->Value("Field5"), IsTrue(rs->Value("Primary")),
                                 IsTrue(rs->Value("uniqueflag")), IsTrue(rs->Value("Ignore")),
                                 IsTrue(rs->Value("descflag")), Variant(Verbose))) {
          // The index messages read the column indexdname; an action table
          // without it gets the database's error report instead.
          reporter.Fail("Error creating index " + Text(*rs, "indexdname") + in_table);
          return false;
        }
      } else if (code == "DI") {
        if (!toolkit.DeleteIndex(pDb, table, rs->Value("indexname"), Verbose)) {
          reporter.Fail("Error deleteing index " + Text(*rs, "indexdname") + in_table);
          return false;
        }
      } else {
        reporter.Fail("Unknow action code: " + Text(*rs, "Action"));
        return false;
      }
      rs->MoveNext();
    }
    ShowMessage("Tables successfully updated");
    return true;
  });
  CloseQuietly(rs);
  return done;
}

}  // namespace db

Variant qorDb::UpdateTables(dao::Database& pDb, const Variant& pUpdateTableName, bool Verbose) {
  db::ApplyActionTable(*this, pDb, pUpdateTableName, Verbose);
  return Variant();
}

}  // namespace qor
