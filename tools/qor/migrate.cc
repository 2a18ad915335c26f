#include "migrate.h"

#include <unistd.h>

#include <memory>

#include "db/engine/engine.h"
#include "db/engine/lock_file.h"
#include "db/qor_db.h"
#include "frame/error.h"
#include "frame/vb.h"

namespace qor::tool {

namespace {

using dao::Database;
using dao::DBEngine;
using dao::TableDef;

constexpr int32_t kNotUserTable =
    dao::kSystemObject | dao::kHiddenObject | dao::kAttachedTable | dao::kAttachedODBC;

std::string TableKind(int32_t attributes) {
  if (attributes & (dao::kAttachedTable | dao::kAttachedODBC)) {
    return "attached table: its rows live in another database";
  }
  return "hidden table: hidden objects are not migrated";
}

// Runs fn in a transaction of the engine: one commit instead of one per
// change.
template <typename Fn>
void InTransaction(Fn fn) {
  auto engine = DBEngine::Get();
  engine->BeginTrans();
  try {
    fn();
    engine->CommitTrans();
  } catch (...) {
    try {
      engine->Rollback();
    } catch (const Error&) {
    }
    throw;
  }
}

// Adds the user-defined properties of from that to lacks (CloneTable
// carries the display ones; Description and the others come here); those
// the target refuses are listed in left_out.
void CopyMissingProperties(dao::PropertyOwner& from, dao::PropertyOwner& to,
                           const std::string& owner, std::vector<std::string>& left_out) {
  auto props = from.GetProperties();
  auto have = to.GetProperties();
  for (int32_t i = 0; i < props->Count(); ++i) {
    auto p = props->Item(Variant(i));
    if (p->BuiltIn() || have->Find(p->Name())) continue;
    try {
      have->Append(to.CreateProperty(Variant(p->Name()), Variant(int32_t{p->Type()}), p->Value()));
    } catch (const Error& error) {
      left_out.push_back("property " + p->Name() + " of " + owner + ": " + error.description());
    }
  }
}

// The stored properties of table and its fields that CloneTable left out.
void CopyOtherProperties(TableDef& table, Database& target, std::vector<std::string>& left_out) {
  auto copy = target.GetTableDefs()->Item(Variant(table.Name()));
  InTransaction([&] {
    CopyMissingProperties(table, *copy, "table " + table.Name(), left_out);
    auto fields = table.GetFields();
    for (int32_t i = 0; i < fields->Count(); ++i) {
      auto f = fields->Item(Variant(i));
      CopyMissingProperties(*f, *copy->GetFields()->Item(Variant(f->Name())),
                            "field " + table.Name() + "." + f->Name(), left_out);
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
    // CloneTable makes each table with its fields, indexes, rules and
    // display properties, and copies the rows in batches; it reports its
    // own failures (Verbose), this says which table it was.
    qorDb cloner;
    int64_t done_before = 0;
    cloner.SetCopyProgress([&](const std::string&, int64_t rows) {
      at.table_done = rows;
      at.done = done_before + rows;
      if (progress) progress(at);
    });
    for (size_t i = 0; i < tables.size(); ++i) {
      MigrationReport::Table& row = report.tables[i];
      at.table = row.name;
      at.table_rows = row.source_rows;
      at.table_done = 0;
      done_before = at.done;
      if (progress) progress(at);
      if (!cloner.CloneTable(row.name, *src, *dst, true, "", true, true)) {
        Raise(dao::e::kInvalidOperation, "qor migrate",
              "table " + row.name + " could not be copied (see the report before)");
      }
      at.done = done_before + row.source_rows;
      CopyOtherProperties(*tables[i], *dst, report.left_out);
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
