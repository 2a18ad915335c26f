#include "migrate.h"

#include <unistd.h>

#include <algorithm>
#include <memory>

#include "db/close_quietly.h"
#include "db/engine/odbc/odbc_backend.h"
#include "db/engine/odbc/odbc_rows.h"
#include "db/sql_dialect.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "staged_file.h"

namespace qor::tool {

namespace {

using dao::Database;
using dao::DBEngine;
using dao::TableDef;

constexpr const char* kNoQuerySql = "the file keeps no SQL for it that can be rebuilt";

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

// The user tables of src, in order, with their row counts in the report;
// hidden and attached tables are named in left_out.
std::vector<std::shared_ptr<TableDef>> UserTables(Database& src, MigrationReport& report,
                                                  MigrationProgress& at) {
  std::vector<std::shared_ptr<TableDef>> tables;
  auto defs = src.GetTableDefs();
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
  return tables;
}

// Raises the error of a table whose row counts differ.
void CheckRowCount(const MigrationReport::Table& row) {
  if (row.target_rows == row.source_rows) return;
  Raise(dao::e::kInvalidOperation, "qor migrate",
        "table " + row.name + " has " + std::to_string(row.source_rows) +
            " rows in the source but " + std::to_string(row.target_rows) + " in the target");
}

MigrationReport MigrateToFile(const std::string& source, const std::string& target,
                              const ProgressFn& progress) {
  auto engine = DBEngine::Get();
  auto src = engine->OpenDatabase(source, Variant(false), Variant(true));
  // Built under a temporary name, put in place when complete.
  StagedDatabase staged(target);
  MigrationReport report;
  std::shared_ptr<Database> dst;
  try {
    dst = engine->CreateDatabase(staged.path(), dao::kLangGeneral);
    // Nobody sees the file before it is complete and synced as a whole (see
    // StagedDatabase::Publish): its commits need not reach the disk one by
    // one.
    dst->Execute("PRAGMA synchronous = OFF", Variant(dao::kSQLPassThrough));
    MigrationProgress at;
    std::vector<std::shared_ptr<TableDef>> tables = UserTables(*src, report, at);
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
      CheckRowCount(row);
    }
    auto queries = src->GetQueryDefs();
    for (int32_t i = 0; i < queries->Count(); ++i) {
      auto q = queries->Item(Variant(i));
      if (q->SQL().empty()) {
        report.left_out.push_back("query " + q->Name() + ": " + kNoQuerySql);
        continue;
      }
      try {
        dst->CreateQueryDef(Variant(q->Name()), Variant(q->SQL()));
        ++report.queries;
      } catch (const Error& error) {
        report.left_out.push_back("query " + q->Name() + ": " + error.description());
      }
    }
    // The file stands alone when it is put in place: no write-ahead log.
    dst->Execute("PRAGMA journal_mode=DELETE", Variant(dao::kSQLPassThrough));
    dst->Close();
    src->Close();
    staged.Publish();
  } catch (...) {
    if (dst && dst->IsOpen()) {
      try {
        dst->Close();
      } catch (const Error&) {
      }
    }
    throw;  // staged removes what was built
  }
  return report;
}

// ---- Into an ODBC data source ----------------------------------------------

// The columns of a table as the server gets them: those whose type the
// dialect has a name for, with their place in the source's rows.
struct ServerColumns {
  std::vector<std::string> names;
  std::vector<int> types;
  std::vector<size_t> positions;
  std::vector<std::string> counters;
};

// Whether the server got every field of index.
bool AllCarried(const dao::IndexInfo& index, const ServerColumns& columns) {
  for (const dao::IndexFieldInfo& f : index.fields) {
    if (std::find(columns.names.begin(), columns.names.end(), f.name) == columns.names.end()) {
      return false;
    }
  }
  return true;
}

// Whether index becomes the PRIMARY KEY clause of its table's CREATE TABLE
// statement; SQLite's counter column is its primary key already, so there
// a primary index is made as a unique index instead.
bool IsKeyClause(db::Dialect dialect, const dao::IndexInfo& index, bool has_counter) {
  return index.primary && !(dialect == db::Dialect::kSQLite && has_counter);
}

// The CREATE TABLE statement for a table of the source; the columns the
// server cannot take are named in left_out.
std::string CreateTableSql(db::Dialect dialect, const dao::TableInfo& table, ServerColumns& columns,
                           std::vector<std::string>& left_out) {
  std::string sql = "CREATE TABLE " + db::Quoted(dialect, table.name) + " (";
  for (size_t i = 0; i < table.fields.size(); ++i) {
    const dao::FieldInfo& f = table.fields[i];
    db::Column column;
    column.name = f.name;
    column.type = Variant(int32_t{f.type});
    column.size = Variant(f.size);
    column.default_value = Variant(f.default_value);
    column.required = f.required;
    column.counter = (f.attributes & dao::kAutoIncrField) != 0;
    if (!db::ColumnType(dialect, column)) {
      left_out.push_back("field " + table.name + "." + f.name + ": the server (" +
                         db::DialectName(dialect) + ") has no type for DAO type " +
                         std::to_string(f.type));
      continue;
    }
    sql += (columns.names.empty() ? "" : ", ") + db::ColumnDefinition(dialect, column);
    // A field that must not be a zero-length text says so to the server.
    if (dao::IsTextType(f.type) && !f.allow_zero_length) {
      sql += " CHECK (" + db::Quoted(dialect, f.name) + " <> '')";
    }
    columns.names.push_back(f.name);
    columns.types.push_back(f.type);
    columns.positions.push_back(i);
    if (column.counter) columns.counters.push_back(f.name);
  }
  for (const dao::IndexInfo& index : table.indexes) {
    if (!IsKeyClause(dialect, index, !columns.counters.empty()) || !AllCarried(index, columns)) {
      continue;
    }
    sql += ", PRIMARY KEY (";
    for (size_t i = 0; i < index.fields.size(); ++i) {
      sql += (i ? ", " : "") + db::Quoted(dialect, index.fields[i].name);
    }
    sql += ")";
  }
  return sql + ");";
}

// The other indexes of the table: those the primary key does not stand for.
// Indexes on a column the server did not get are named in left_out.
std::vector<db::IndexDefinition> IndexesOf(db::Dialect dialect, const dao::TableInfo& table,
                                           const ServerColumns& columns,
                                           std::vector<std::string>& left_out) {
  const bool has_counter = !columns.counters.empty();
  std::vector<db::IndexDefinition> definitions;
  for (const dao::IndexInfo& index : table.indexes) {
    if (!AllCarried(index, columns)) {
      left_out.push_back("index " + table.name + "." + index.name +
                         ": one of its fields was not carried over");
      continue;
    }
    if (IsKeyClause(dialect, index, has_counter)) continue;
    db::IndexDefinition definition;
    definition.name = index.name;
    definition.unique = index.unique || index.primary;
    for (const dao::IndexFieldInfo& f : index.fields) {
      definition.fields.push_back(f.name);
      definition.descending.push_back((f.attributes & dao::kDescending) != 0);
    }
    definitions.push_back(std::move(definition));
  }
  return definitions;
}

// Carries the descriptions of the table and its fields over as comments
// where the server keeps them; the other stored properties, and validation
// rules, are named in left_out.
void CarryProperties(db::Dialect dialect, const dao::TableInfo& table, Database& dst,
                     std::vector<std::string>& left_out) {
  std::vector<std::string> names;
  auto carry = [&](const std::vector<dao::PropertyInfo>& properties, const std::string& column) {
    for (const dao::PropertyInfo& p : properties) {
      std::string comment;
      if (vb::UCase(p.name) == "DESCRIPTION") {
        comment = db::CommentStatement(dialect, table.name, column, vb::ConcatText(p.value));
      }
      if (!comment.empty()) {
        dst.Execute(comment, Variant(dao::kSQLPassThrough));
      } else if (std::find(names.begin(), names.end(), p.name) == names.end()) {
        names.push_back(p.name);
      }
    }
  };
  auto rule = [&](const std::string& what, const std::string& expression) {
    if (expression.empty()) return;
    left_out.push_back("validation rule of " + what + " (" + expression +
                       "): Jet expressions are not translated to the server's SQL");
  };
  carry(table.properties, "");
  rule("table " + table.name, table.validation_rule);
  for (const dao::FieldInfo& f : table.fields) {
    carry(f.properties, f.name);
    rule("field " + table.name + "." + f.name, f.validation_rule);
  }
  if (names.empty()) return;
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  left_out.push_back("properties of table " + table.name + " and its fields (" + list +
                     "): the server keeps no such properties");
}

// Copies the rows of table into its copy on the server through one
// prepared INSERT, telling tick every 1000 rows; returns the rows copied.
int64_t CopyRowsToServer(db::Dialect dialect, TableDef& table, const ServerColumns& columns,
                         Database& dst, const std::function<void(int64_t)>& tick) {
  std::string names;
  std::string marks;
  for (const std::string& name : columns.names) {
    names += (names.empty() ? "" : ", ") + db::Quoted(dialect, name);
    marks += marks.empty() ? "?" : ", ?";
  }
  dao::odbc::RowWriter writer(dst,
                              "INSERT INTO " + db::Quoted(dialect, table.Name()) + " (" + names +
                                  ") VALUES (" + marks + ")",
                              columns.types);
  auto rs = table.OpenRecordset(Variant(dao::kOpenSnapshot));
  std::vector<Variant> values(columns.names.size());
  int64_t rows = 0;
  try {
    for (; !rs->Eof(); rs->MoveNext()) {
      for (size_t i = 0; i < values.size(); ++i) values[i] = rs->FieldValue(columns.positions[i]);
      writer.Write(values);
      if (++rows % 1000 == 0) tick(rows);
    }
  } catch (const Error& error) {
    db::CloseQuietly(rs);
    throw Error(error.number(), error.source(),
                error.description() + " (table " + table.Name() + ", row " +
                    std::to_string(rows + 1) + ")");
  }
  db::CloseQuietly(rs);
  for (const std::string& counter : columns.counters) {
    std::string reset = db::ResetCounterStatement(dialect, table.Name(), counter);
    if (!reset.empty()) dst.Execute(reset, Variant(dao::kSQLPassThrough));
  }
  return rows;
}

// The rows of a table on the server.
int64_t ServerRowCount(db::Dialect dialect, Database& dst, const std::string& table) {
  auto rs = dst.OpenRecordset("SELECT COUNT(*) FROM " + db::Quoted(dialect, table),
                              Variant(dao::kOpenSnapshot), Variant(dao::kSQLPassThrough));
  int64_t rows = static_cast<int64_t>(vb::CDbl(rs->FieldValue(0)));
  db::CloseQuietly(rs);
  return rows;
}

// Drops the tables a failed migration made; says what it could not.
std::string DropAgain(db::Dialect dialect, Database& dst, const std::vector<std::string>& made) {
  std::string left;
  std::string why;
  for (const std::string& table : made) {
    try {
      dst.Execute(db::DropTableStatement(dialect, table), Variant(dao::kSQLPassThrough));
    } catch (const Error& error) {
      left += (left.empty() ? "" : ", ") + table;
      why = error.description();
    }
  }
  if (made.empty()) return " Nothing was made on the server.";
  if (left.empty()) return " The tables made on the server were dropped again.";
  return " Left on the server: " + left + " (" + why + ").";
}

MigrationReport MigrateToServer(const std::string& source, const std::string& connect,
                                const ProgressFn& progress) {
  auto engine = DBEngine::Get();
  auto src = engine->OpenDatabase(source, Variant(false), Variant(true));
  auto dst =
      engine->OpenDatabase("", Variant(dao::kDriverNoPrompt), Variant(false), Variant(connect));
  const db::Dialect dialect = db::DialectOfServer(dao::odbc::DbmsName(*dst));
  MigrationReport report;
  MigrationProgress at;
  std::vector<std::shared_ptr<TableDef>> tables = UserTables(*src, report, at);
  std::vector<std::string> made;
  try {
    // The server's tables are never overwritten.
    auto existing = dst->GetTableDefs();
    for (const auto& t : tables) {
      if (existing->Find(t->Name())) dao::Fail(dao::e::kTableExists, {t->Name()});
    }
    std::vector<ServerColumns> columns(tables.size());
    for (size_t i = 0; i < tables.size(); ++i) {
      dao::TableInfo info = tables[i]->Info();
      dst->Execute(CreateTableSql(dialect, info, columns[i], report.left_out),
                   Variant(dao::kSQLPassThrough));
      made.push_back(info.name);
      for (const db::IndexDefinition& index :
           IndexesOf(dialect, info, columns[i], report.left_out)) {
        dst->Execute(db::CreateIndexStatement(dialect, info.name, index),
                     Variant(dao::kSQLPassThrough));
      }
      CarryProperties(dialect, info, *dst, report.left_out);
    }
    for (size_t i = 0; i < tables.size(); ++i) {
      MigrationReport::Table& row = report.tables[i];
      at.table = row.name;
      at.table_rows = row.source_rows;
      at.table_done = 0;
      const int64_t done_before = at.done;
      if (progress) progress(at);
      InTransaction([&] {
        CopyRowsToServer(dialect, *tables[i], columns[i], *dst, [&](int64_t rows) {
          at.table_done = rows;
          at.done = done_before + rows;
          if (progress) progress(at);
        });
      });
      row.target_rows = ServerRowCount(dialect, *dst, row.name);
      at.table_done = row.target_rows;
      at.done = done_before + row.source_rows;
      if (progress) progress(at);
      CheckRowCount(row);
    }
    auto queries = src->GetQueryDefs();
    for (int32_t i = 0; i < queries->Count(); ++i) {
      auto q = queries->Item(Variant(i));
      report.left_out.push_back("query " + q->Name() + ": " +
                                (q->SQL().empty() ? kNoQuerySql
                                                  : "stored queries are not made on a server "
                                                    "(their Jet SQL is not its dialect)"));
    }
    dst->Close();
    src->Close();
  } catch (const Error& error) {
    std::string what = DropAgain(dialect, *dst, made);
    throw Error(error.number(), error.source(), error.description() + what);
  }
  return report;
}

}  // namespace

bool IsServerTarget(const std::string& target) { return vb::UCase(target).rfind("ODBC;", 0) == 0; }

MigrationReport Migrate(const std::string& source, const std::string& target,
                        const ProgressFn& progress) {
  if (IsServerTarget(target)) return MigrateToServer(source, target, progress);
  return MigrateToFile(source, target, progress);
}

}  // namespace qor::tool
