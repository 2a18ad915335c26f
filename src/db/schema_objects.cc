// qorDb's checks, creation and deletion of tables, fields, indexes and
// stored queries.

#include <vector>

#include "db/names.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"

namespace qor {
namespace {

// The counter type code of CreateField: a Long with the auto-increment bit.
constexpr int kCounterType = 999;

std::shared_ptr<dao::TableDef> TableOf(dao::Database& db, const Variant& name) {
  return db.GetTableDefs()->Item(name);
}

// Runs step, passing over the engine's "not found in this collection".
template <typename Step>
void PassingOverNotFound(Step&& step) {
  try {
    step();
  } catch (const Error& e) {
    if (e.number() != dao::e::kItemNotFound) throw;
  }
}

}  // namespace

bool qorDb::CheckTableExists(dao::Database& pDb, const Variant& pTableName, bool /*Verbose*/) {
  return db::FindByName(*pDb.GetTableDefs(), pTableName) != nullptr;
}

bool qorDb::CheckFieldExists(dao::Database& pDb, const Variant& pTableName,
                             const Variant& pFieldName, bool /*Verbose*/) {
  return db::FindByName(*TableOf(pDb, pTableName)->GetFields(), pFieldName) != nullptr;
}

bool qorDb::CheckIndexExists(dao::Database& pDb, const Variant& pTableName,
                             const Variant& pIndexName, bool /*Verbose*/) {
  return db::FindByName(*TableOf(pDb, pTableName)->GetIndexes(), pIndexName) != nullptr;
}

bool qorDb::CreateTable(dao::Database& pDb, const std::string& pTableName,
                        const std::string& pFirstFieldName, int16_t pFirstFieldLen,
                        bool PFirstFieldIsKey, bool pDeleteExisting, bool Verbose) {
  if (pDeleteExisting) {
    try {
      pDb.GetTableDefs()->Delete(pTableName);
    } catch (...) {
      // A table that is not there is no fault.
    }
  }
  Reporter reporter("CreateTable", Verbose);
  return Guard(reporter, false, [&] {
    auto table = pDb.CreateTableDef(Variant(pTableName));
    auto field =
        table->CreateField(Variant(pFirstFieldName), Variant(dao::kText), Variant(pFirstFieldLen));
    table->GetFields()->Append(field);
    if (PFirstFieldIsKey) {
      // The key index carries the field's name.
      auto index = table->CreateIndex(Variant(pFirstFieldName));
      auto index_field = index->CreateField(Variant(pFirstFieldName));
      index->SetPrimary(true);
      index->SetUnique(true);
      index->GetFields()->Append(index_field);
      table->GetIndexes()->Append(index);
    }
    pDb.GetTableDefs()->Append(table);
    return true;
  });
}

bool qorDb::CreateField(dao::Database& pDb, const Variant& pTableName, const Variant& pFieldName,
                        const Variant& pFieldType, int16_t pFieldLen, bool Verbose) {
  Reporter reporter("CreateField", Verbose);
  reporter.set_detail(", " + vb::ConcatText(pFieldName));
  return Guard(reporter, false, [&] {
    auto table = TableOf(pDb, pTableName);
    std::shared_ptr<dao::Field> field;
    if (pFieldType.IsNumber() && pFieldType.NumericValue() == kCounterType) {
      field = table->CreateField(pFieldName, Variant(dao::kLong));
      field->SetAttributes(field->Attributes() + dao::kAutoIncrField);
    } else if (pFieldLen == 0) {
      field = table->CreateField(pFieldName, pFieldType);
    } else {
      field = table->CreateField(pFieldName, pFieldType, Variant(pFieldLen));
    }
    table->GetFields()->Append(field);
    return true;
  });
}

bool qorDb::CreateIndex(dao::Database& pDb, const Variant& pTableName, const Variant& pIndexName,
                        const Variant& pField1, const Variant& pField2, const Variant& pField3,
                        const Variant& pField4, const Variant& pField5, bool pPrimaryFlag,
                        bool pUniqueFlag, bool pIgnoreNullsFlag, bool pDescendingFlag,
                        const Variant& Verbose) {
  Reporter reporter("CreateIndex", IsTrue(Verbose));
  return Guard(reporter, false, [&] {
    auto table = TableOf(pDb, pTableName);
    auto index = table->CreateIndex(pIndexName);
    auto add_field = [&](const Variant& name) {
      auto field = index->CreateField(name);
      if (pDescendingFlag) field->SetAttributes(dao::kDescending);
      index->GetFields()->Append(field);
    };
    add_field(pField1);
    for (const Variant* name : {&pField2, &pField3, &pField4, &pField5}) {
      if (IsNotBlank(*name, false)) add_field(*name);
    }
    index->SetPrimary(pPrimaryFlag);
    index->SetUnique(pUniqueFlag);
    index->SetIgnoreNulls(pIgnoreNullsFlag);
    table->GetIndexes()->Append(index);
    return true;
  });
}

bool qorDb::DeleteField(dao::Database& pDb, const Variant& pTableName, const Variant& pFieldName,
                        bool pDeleteAnyIndexes, bool Verbose) {
  Reporter reporter("DeleteField", Verbose);
  reporter.set_detail(", " + vb::ConcatText(pFieldName));
  return Guard(reporter, false, [&] {
    auto table = TableOf(pDb, pTableName);
    if (pDeleteAnyIndexes) {
      // The walk goes on over the indexes as they were when it began, so two
      // neighbouring indexes holding the field both go.
      std::vector<std::shared_ptr<dao::Index>> indexes = table->GetIndexes()->items();
      for (const auto& index : indexes) {
        if (db::FindByName(*index->GetFields(), pFieldName)) {
          table->GetIndexes()->Delete(index->Name());
        }
      }
    }
    table->GetFields()->Delete(vb::CStr(pFieldName));
    return true;
  });
}

bool qorDb::DeleteIndex(dao::Database& pDb, const Variant& pTableName, const Variant& pIndexName,
                        bool Verbose) {
  Reporter reporter("DeleteIndex", Verbose);
  reporter.set_detail(", " + vb::ConcatText(pIndexName));
  return Guard(reporter, false, [&] {
    TableOf(pDb, pTableName)->GetIndexes()->Delete(vb::CStr(pIndexName));
    return true;
  });
}

void qorDb::DeleteTableDef(dao::Database& pDb, const Variant& pTdName, bool Verbose) {
  // A missing table is never reported.
  Reporter reporter("DeleteTableDef", Verbose);
  Guard(reporter,
        [&] { PassingOverNotFound([&] { pDb.GetTableDefs()->Delete(vb::CStr(pTdName)); }); });
}

void qorDb::DeleteQueryDef(dao::Database& pDb, const Variant& pQdName, bool Verbose) {
  // Unlike DeleteTableDef, a missing query is reported.
  Reporter reporter("DeleteQueryDef", Verbose);
  Guard(reporter, [&] { pDb.GetQueryDefs()->Delete(vb::CStr(pQdName)); });
}

bool qorDb::QueryDefCreate(dao::Database& pDb, const Variant& pQdName, const Variant& pQuerySQL,
                           bool Verbose) {
  // "Not found" at any step resumes with the next one.
  Reporter reporter("QueryDefCreate", Verbose);
  return Guard(reporter, false, [&] {
    PassingOverNotFound([&] { pDb.GetQueryDefs()->Delete(vb::CStr(pQdName)); });
    std::shared_ptr<dao::QueryDef> query;
    PassingOverNotFound([&] { query = pDb.CreateQueryDef(pQdName, pQuerySQL); });
    if (query) query->Close();
    return true;
  });
}

Variant qorDb::QueryDefModify(dao::Database& pDb, const Variant& pQdefName, const Variant& pQdefSQL,
                              bool Verbose) {
  Reporter reporter("QueryDefModify", Verbose);
  return Guard(reporter, Variant(false), [&] {
    auto query = pDb.GetQueryDefs()->Item(pQdefName);
    query->SetSQL(vb::CStr(pQdefSQL));
    query->Close();
    return Variant(true);
  });
}

}  // namespace qor
