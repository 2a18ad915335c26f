// qorDb's structure table: a table that describes other tables, one row per
// field and one per index, written from a live database; the TableStructures
// listing of a whole database; and the names of the engine's type codes.

#include <iterator>
#include <string>
#include <vector>

#include "db/close_quietly.h"
#include "db/names.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"

namespace qor {
namespace {

constexpr const char* kDefaultStructureTable = "TableStructure";
constexpr const char* kListingTable = "TableStructures";
// An index row describes at most this many of the index's fields.
constexpr int kMaxIndexFields = 5;
// ObjFlags bits of a field row.
constexpr int32_t kRequiredFlag = 1;
constexpr int32_t kZeroLengthFlag = 2;

struct ColumnPlan {
  const char* name;
  int type;
  int16_t size;  // 0: the engine's size for the type
};

// The structure table's columns after the first (TableName, Text 40), in
// their order.
constexpr ColumnPlan kStructureColumns[] = {
    {"ObjType", dao::kText, 10},    {"ObjName", dao::kText, 40},
    {"ObjDataType", dao::kLong, 0}, {"ObjLen", dao::kInteger, 0},
    {"ObjAttr", dao::kLong, 0},     {"ObjDefaultValue", dao::kText, 50},
    {"ObjFlags", dao::kLong, 0},    {"IsCounter", dao::kBoolean, 0},
    {"DumpData", dao::kBoolean, 0}, {"ixFld1", dao::kText, 40},
    {"ixFlags1", dao::kLong, 0},    {"ixFld2", dao::kText, 40},
    {"ixFlags2", dao::kLong, 0},    {"ixFld3", dao::kText, 40},
    {"ixFlags3", dao::kLong, 0},    {"ixFld4", dao::kText, 40},
    {"ixFlags4", dao::kLong, 0},    {"ixFld5", dao::kText, 40},
    {"ixFlags5", dao::kLong, 0},
};
static_assert(std::size(kStructureColumns) == 19);

// The listing's columns after the first (TblName, Text 50).
constexpr ColumnPlan kListingColumns[] = {
    {"FldName", dao::kText, 50}, {"FldType", dao::kText, 50}, {"FldSize", dao::kLong, 0}};

// The names of the type codes, in the order they are looked at.
constexpr struct {
  int code;
  const char* name;
} kTypeNames[] = {
    {dao::kBigInt, "dbBigInt"},   {dao::kBinary, "dbBinary"},
    {dao::kBoolean, "dbBoolean"}, {dao::kByte, "dbByte"},
    {dao::kChar, "dbChar"},       {dao::kCurrency, "dbCurrency"},
    {dao::kDate, "dbDate"},       {dao::kDecimal, "dbDecimal"},
    {dao::kDouble, "dbDouble"},   {dao::kFloat, "dbFloat"},
    {dao::kGUID, "dbGUID"},       {dao::kInteger, "dbInteger"},
    {dao::kLong, "dbLong"},       {dao::kLongBinary, "dbLongBinary"},
    {dao::kMemo, "dbMemo"},       {dao::kNumeric, "dbNumeric"},
    {dao::kSingle, "dbSingle"},   {dao::kText, "dbText"},
    {dao::kTime, "dbTime"},       {dao::kTimeStamp, "dbTimeStamp"},
};

// The structure table's name: "TableStructure" for a blank one, trimmed.
std::string StructureTableName(const Variant& name) {
  if (IsBlank(name, true)) return kDefaultStructureTable;
  return vb::Trim(vb::CStr(name));
}

void SetColumn(dao::Recordset& rs, std::string_view column, const Variant& value) {
  rs.GetFields()->Item(column)->SetValue(value);
}

// The upper-cased Description of a table, "NONE" when it has none.
std::string UpperDescription(dao::TableDef& table) {
  try {
    return vb::UCase(vb::ConcatText(table.GetProperties()->Item("Description")->Value()));
  } catch (const Error&) {
    return "NONE";
  }
}

bool ContainsText(const std::string& text, const char* word) {
  return text.find(word) != std::string::npos;
}

}  // namespace

bool qorDb::CreateStructureTable(dao::Database& pDb, const std::string& pTableName, bool Verbose) {
  Reporter reporter("CreateStructureTable", Verbose);
  return Guard(reporter, false, [&] {
    if (!CreateTable(pDb, pTableName, "TableName", 40, false, true, Verbose)) {
      reporter.Fail("qorCreateTable error");
      return false;
    }
    for (const ColumnPlan& column : kStructureColumns) {
      // A failed CreateField reports by itself.
      if (!CreateField(pDb, Variant(pTableName), Variant(column.name),
                       Variant(int32_t{column.type}), column.size, Verbose)) {
        return false;
      }
    }
    return true;
  });
}

bool qorDb::DumpTableStructureToTable(dao::Database& pDb, dao::TableDef& pTdf,
                                      const Variant& pDumpTblName, bool pDeleteOld, bool pDumpData,
                                      bool Verbose) {
  Reporter reporter("DumpTableStructureToTable", Verbose);
  std::shared_ptr<dao::Recordset> rs;
  bool done = Guard(reporter, false, [&] {
    std::string name = StructureTableName(pDumpTblName);
    bool exists = db::FindByName(*pDb.GetTableDefs(), Variant(name)) != nullptr;
    if ((!exists || pDeleteOld) && !CreateStructureTable(pDb, name, Verbose)) return false;
    rs = pDb.OpenRecordset(name);
    const Variant table_name(pTdf.Name());
    for (const auto& field : pTdf.GetFields()->items()) {
      int32_t flags = 0;
      if (field->Required()) flags += kRequiredFlag;
      if (field->AllowZeroLength()) flags += kZeroLengthFlag;
      rs->AddNew();
      SetColumn(*rs, "TableName", table_name);
      SetColumn(*rs, "ObjType", Variant("FIELD"));
      SetColumn(*rs, "ObjName", Variant(field->Name()));
      SetColumn(*rs, "ObjDataType", Variant(int32_t{field->Type()}));
      SetColumn(*rs, "ObjLen", Variant(field->Size()));
      SetColumn(*rs, "ObjAttr", Variant(field->Attributes()));
      SetColumn(*rs, "ObjFlags", Variant(flags));
      Variant default_value(field->DefaultValue());
      if (IsNotBlank(default_value, true)) SetColumn(*rs, "ObjDefaultValue", default_value);
      SetColumn(*rs, "IsCounter", Variant((field->Attributes() & dao::kAutoIncrField) != 0));
      SetColumn(*rs, "DumpData", Variant(pDumpData));
      rs->Update();
    }
    for (const auto& index : pTdf.GetIndexes()->items()) {
      rs->AddNew();
      SetColumn(*rs, "TableName", table_name);
      SetColumn(*rs, "ObjType", Variant("INDEX"));
      SetColumn(*rs, "ObjName", Variant(index->Name()));
      SetColumn(*rs, "ObjFlags", Variant(int32_t{1}));
      SetColumn(*rs, "DumpData", Variant(pDumpData));
      int count = 0;
      for (const auto& index_field : index->GetFields()->items()) {
        if (++count > kMaxIndexFields) {
          // The row under construction goes with the recordset, unsaved.
          reporter.Fail("Max index fields exceeded on index " + index->Name());
          return false;
        }
        std::string n = std::to_string(count);
        SetColumn(*rs, "ixFld" + n, Variant(index_field->Name()));
        SetColumn(*rs, "ixFlags" + n, Variant(int32_t{1}));
      }
      rs->Update();
    }
    return true;
  });
  db::CloseQuietly(rs);
  return done;
}

bool qorDb::DumpAllTableStructuresToTable(dao::Database& pDb, const Variant& pDumpTblName,
                                          bool Verbose) {
  return DumpTemplateTables(pDb, pDb, pDumpTblName, Verbose);
}

bool qorDb::DumpTemplateTables(dao::Database& pFrom, dao::Database& pInto,
                               const Variant& pDumpTblName, bool Verbose) {
  Reporter reporter("DumpAllTableStructuresToTable", Verbose);
  return Guard(reporter, false, [&] {
    std::string name = StructureTableName(pDumpTblName);
    try {
      pInto.GetTableDefs()->Delete(name);
    } catch (...) {
      // No structure table yet.
    }
    // A copy: the first dump adds the structure table to the collection.
    std::vector<std::shared_ptr<dao::TableDef>> tables = pFrom.GetTableDefs()->items();
    for (const auto& table : tables) {
      std::string description = UpperDescription(*table);
      if (IsBlank(Variant(description), false) || !ContainsText(description, "TEMPLATE")) continue;
      bool dump_data = ContainsText(description, "DATA");
      if (!DumpTableStructureToTable(pInto, *table, Variant(name), false, dump_data, Verbose)) {
        return false;
      }
    }
    return true;
  });
}

bool qorDb::DumpTablesStructure(const Variant& PToDbPath, const Variant& pFromDbPath,
                                bool Verbose) {
  Reporter reporter("DumpTablesStructure", Verbose);
  std::shared_ptr<dao::Database> source;
  std::shared_ptr<dao::Database> listing;
  std::shared_ptr<dao::Recordset> rs;
  bool done = Guard(reporter, false, [&] {
    if (IsBlank(PToDbPath, true)) {
      reporter.Fail("Invalid database name");
      return false;
    }
    auto engine = dao::DBEngine::Get();
    source = engine->OpenDatabase(pFromDbPath.IsMissing() ? "" : vb::CStr(pFromDbPath));
    listing = engine->CreateDatabase(vb::CStr(PToDbPath), dao::kLangGeneral);
    bool created = CreateTable(*listing, kListingTable, "TblName", 50, false, false, false);
    for (const ColumnPlan& column : kListingColumns) {
      created = created && CreateField(*listing, Variant(kListingTable), Variant(column.name),
                                       Variant(int32_t{column.type}), column.size, false);
    }
    if (!created) {
      reporter.Fail("Error creating table");
      return false;
    }
    rs = listing->OpenRecordset(kListingTable);
    auto add_row = [&](const Variant& table, const Variant& name, const Variant& type,
                       const Variant& size) {
      rs->AddNew();
      SetColumn(*rs, "TblName", table);
      SetColumn(*rs, "FldName", name);
      SetColumn(*rs, "FldType", type);
      SetColumn(*rs, "FldSize", size);
      rs->Update();
    };
    for (const auto& table : source->GetTableDefs()->items()) {
      // The engine's own catalog tables are left out.
      if (vb::UCase(vb::Left(table->Name(), 4)) == "MSYS") continue;
      Variant table_name(table->Name());
      add_row(table_name, Variant("RecordCount"), Variant::Null(), Variant(table->RecordCount()));
      for (const auto& field : table->GetFields()->items()) {
        add_row(table_name, Variant(field->Name()),
                Variant(FieldTypeString(Variant(int32_t{field->Type()}))), Variant(field->Size()));
      }
    }
    return true;
  });
  db::CloseQuietly(source);
  db::CloseQuietly(listing);
  db::CloseQuietly(rs);
  return done;
}

std::string qorDb::FieldTypeString(const Variant& pFldType) {
  // Objects and arrays do not compare; they are no code either.
  if (pFldType.IsObject() || pFldType.IsArray()) return "Unknown";
  for (const auto& entry : kTypeNames) {
    if (vb::Compare(pFldType, Variant(int32_t{entry.code})) == 0) return entry.name;
  }
  return "Unknown";
}

}  // namespace qor
