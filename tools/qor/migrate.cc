#include "migrate.h"

#include <unistd.h>

#include <memory>

#include "db/engine/engine.h"
#include "db/engine/lock_file.h"
#include "frame/error.h"
#include "frame/vb.h"

namespace qor::tool {

namespace {

using dao::Database;
using dao::DBEngine;
using dao::TableDef;

constexpr int32_t kNotUserTable =
    dao::kSystemObject | dao::kHiddenObject | dao::kAttachedTable | dao::kAttachedODBC;

// Rows copied between two commits of the target.
constexpr int64_t kRowsPerCommit = 20000;

std::string TableKind(int32_t attributes) {
  if (attributes & (dao::kAttachedTable | dao::kAttachedODBC)) {
    return "attached table: its rows live in another database";
  }
  return "hidden table: hidden objects are not migrated";
}

// Appends the user-defined properties of from to to; those the target
// refuses are listed in left_out.
void CopyProperties(dao::PropertyOwner& from, dao::PropertyOwner& to, const std::string& owner,
                    std::vector<std::string>& left_out) {
  auto props = from.GetProperties();
  for (int32_t i = 0; i < props->Count(); ++i) {
    auto p = props->Item(Variant(i));
    if (p->BuiltIn()) continue;
    try {
      to.GetProperties()->Append(
          to.CreateProperty(Variant(p->Name()), Variant(int32_t{p->Type()}), p->Value()));
    } catch (const Error& error) {
      left_out.push_back("property " + p->Name() + " of " + owner + ": " + error.description());
    }
  }
}

// Creates table's definition in target: fields, indexes, validation rule,
// then the stored properties of the table and its fields.
void CopyStructure(TableDef& table, Database& target, std::vector<std::string>& left_out) {
  auto copy = target.CreateTableDef(Variant(table.Name()));
  auto fields = table.GetFields();
  for (int32_t i = 0; i < fields->Count(); ++i) {
    auto f = fields->Item(Variant(i));
    auto n = copy->CreateField(Variant(f->Name()), Variant(int32_t{f->Type()}),
                               Variant(int32_t{f->Size()}));
    n->SetAttributes(f->Attributes());
    n->SetRequired(f->Required());
    if (dao::IsTextType(f->Type())) n->SetAllowZeroLength(f->AllowZeroLength());
    n->SetDefaultValue(f->DefaultValue());
    n->SetValidationRule(f->ValidationRule());
    n->SetValidationText(f->ValidationText());
    copy->GetFields()->Append(n);
  }
  auto indexes = table.GetIndexes();
  for (int32_t i = 0; i < indexes->Count(); ++i) {
    auto x = indexes->Item(Variant(i));
    auto n = copy->CreateIndex(Variant(x->Name()));
    auto keys = x->GetFields();
    for (int32_t k = 0; k < keys->Count(); ++k) {
      auto key = keys->Item(Variant(k));
      auto nk = n->CreateField(Variant(key->Name()));
      nk->SetAttributes(key->Attributes());
      n->GetFields()->Append(nk);
    }
    n->SetPrimary(x->Primary());
    n->SetUnique(x->Unique());
    n->SetIgnoreNulls(x->IgnoreNulls());
    copy->GetIndexes()->Append(n);
  }
  copy->SetValidationRule(table.ValidationRule());
  copy->SetValidationText(table.ValidationText());
  target.GetTableDefs()->Append(copy);

  auto stored = target.GetTableDefs()->Item(Variant(table.Name()));
  CopyProperties(table, *stored, "table " + table.Name(), left_out);
  for (int32_t i = 0; i < fields->Count(); ++i) {
    auto f = fields->Item(Variant(i));
    CopyProperties(*f, *stored->GetFields()->Item(Variant(f->Name())),
                   "field " + table.Name() + "." + f->Name(), left_out);
  }
}

// Runs fn in a transaction of the engine (one commit instead of one per
// change); fn may commit and begin again on the way.
template <typename Fn>
void InTransaction(Fn fn) {
  auto engine = DBEngine::Get();
  engine->BeginTrans();
  try {
    fn(*engine);
    engine->CommitTrans();
  } catch (...) {
    try {
      engine->Rollback();
    } catch (const Error&) {
    }
    throw;
  }
}

// Copies every row of table into the target's table of the same name.
void CopyRows(TableDef& table, Database& target, MigrationProgress& at,
              const ProgressFn& progress) {
  auto from = table.OpenRecordset();
  auto to = target.OpenRecordset(table.Name());
  size_t columns = static_cast<size_t>(from->GetFields()->Count());
  InTransaction([&](DBEngine& engine) {
    for (; !from->Eof(); from->MoveNext()) {
      to->AddNew();
      for (size_t c = 0; c < columns; ++c) to->SetFieldValue(c, from->FieldValue(c));
      to->Update();
      ++at.done;
      if (++at.table_done % kRowsPerCommit == 0) {
        engine.CommitTrans();
        engine.BeginTrans();
      }
      if (progress) progress(at);
    }
  });
}

// Removes the target and the files the engine keeps beside it.
void RemoveTarget(const std::string& target) {
  for (const std::string& path : {target, target + "-wal", target + "-shm", target + "-journal",
                                  dao::LockFile::PathFor(target)}) {
    ::unlink(path.c_str());
  }
}

}  // namespace

MigrationReport Migrate(const std::string& source, const std::string& target,
                        const ProgressFn& progress) {
  auto engine = DBEngine::Get();
  auto src = engine->OpenDatabase(source, Variant(false), Variant(true));
  if (::access(target.c_str(), F_OK) == 0) dao::Fail(dao::e::kDatabaseExists);
  MigrationReport report;
  std::shared_ptr<Database> dst;
  try {
    dst = engine->CreateDatabase(target, dao::kLangGeneral);
    std::vector<std::shared_ptr<TableDef>> tables;
    MigrationProgress at;
    auto defs = src->GetTableDefs();
    for (int32_t i = 0; i < defs->Count(); ++i) {
      auto t = defs->Item(Variant(i));
      if (t->Attributes() & kNotUserTable) {
        if (!(t->Attributes() & dao::kSystemObject)) {
          report.left_out.push_back("table " + t->Name() + ": " + TableKind(t->Attributes()));
        }
        continue;
      }
      tables.push_back(t);
      report.tables.push_back({t->Name(), t->RecordCount(), 0});
      at.total += report.tables.back().source_rows;
    }
    for (size_t i = 0; i < tables.size(); ++i) {
      MigrationReport::Table& row = report.tables[i];
      InTransaction([&](DBEngine&) { CopyStructure(*tables[i], *dst, report.left_out); });
      at.table = row.name;
      at.table_rows = row.source_rows;
      at.table_done = 0;
      if (progress) progress(at);
      CopyRows(*tables[i], *dst, at, progress);
      row.target_rows = dst->GetTableDefs()->Item(Variant(row.name))->RecordCount();
      if (row.target_rows != row.source_rows) {
        Raise(dao::e::kInvalidOperation, "qor migrate",
              "table " + row.name + " has " + std::to_string(row.source_rows) +
                  " rows in the source but " + std::to_string(row.target_rows) + " in the target");
      }
    }
    auto queries = src->GetQueryDefs();
    for (int32_t i = 0; i < queries->Count(); ++i) {
      auto q = queries->Item(Variant(i));
      if (q->SQL().empty()) {
        report.left_out.push_back("query " + q->Name() +
                                  ": the file keeps no SQL for it that can be rebuilt");
        continue;
      }
      try {
        dst->CreateQueryDef(Variant(q->Name()), Variant(q->SQL()));
        ++report.queries;
      } catch (const Error& error) {
        report.left_out.push_back("query " + q->Name() + ": " + error.description());
      }
    }
    dst->Close();
    src->Close();
  } catch (...) {
    if (dst && dst->IsOpen()) {
      try {
        dst->Close();
      } catch (const Error&) {
      }
    }
    if (dst) RemoveTarget(target);
    throw;
  }
  return report;
}

}  // namespace qor::tool
