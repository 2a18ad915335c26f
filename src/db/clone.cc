// qorDb's cloning of databases, tables, fields and indexes, with the Access
// display properties of fields and, on request, the data.

#include <array>
#include <functional>
#include <vector>

#include "db/engine/sqlite/sqlite_backend.h"
#include "db/names.h"
#include "db/schema_copy.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"

namespace qor {
namespace {

// The user-defined display properties a clone carries over, in this order.
constexpr std::array<const char*, 5> kDisplayProperties = {"Format", "InputMask", "DecimalPlaces",
                                                           "NewValues", "Caption"};

// How often CloneTable tells its progress while copying rows.
constexpr int64_t kProgressRows = 1000;

// The destination's writes while CloneTable copies rows, grouped into
// transactions of kBatchRows on the destination's connection, as Jet groups
// a recordset's writes in implicit transactions. A batch is always
// committed, never rolled back, also when the copy fails, so the rows copied
// so far stay. When the caller has a transaction open, the rows join it.
class RowBatches {
 public:
  explicit RowBatches(dao::Database& db) : backend_(db.backend()) { Begin(); }
  ~RowBatches() {
    try {
      Finish();
    } catch (...) {
      // The copy failed already; its error is the one reported.
    }
  }
  RowBatches(const RowBatches&) = delete;
  RowBatches& operator=(const RowBatches&) = delete;

  void RowWritten() {
    if (open_ && ++rows_ % kBatchRows == 0) {
      Finish();
      Begin();
    }
  }
  // Commits the open batch; a failure to commit raises.
  void Finish() {
    if (!open_) return;
    open_ = false;
    backend_.CommitTrans();
  }

 private:
  static constexpr int64_t kBatchRows = 1000;

  void Begin() {
    try {
      backend_.BeginTrans();
      open_ = true;
    } catch (const Error&) {
      open_ = false;  // the caller's transaction holds the rows
    }
  }

  dao::Backend& backend_;
  bool open_ = false;
  int64_t rows_ = 0;
};

// Copies the property called name from source to dest. A property the
// source lacks is reported (whatever verbose says) only with
// report_missing; a failure to copy is reported when verbose.
bool CloneProperty(dao::Field& source, dao::Field& dest, const Variant& name, bool report_missing,
                   bool verbose) {
  Reporter reporter("cloneproperty", verbose);
  reporter.set_detail(" " + source.Name() + ", " + vb::ConcatText(name));
  return Guard(reporter, false, [&] {
    auto found = db::FindByName(*source.GetProperties(), name);
    if (!found) {
      if (report_missing) {
        ShowError(Variant("Property " + vb::ConcatText(name) + " was not found in Field " +
                          source.Name()));
      }
      return false;
    }
    dest.GetProperties()->Append(dest.CreateProperty(name, Long(found->Type()), found->Value()));
    return true;
  });
}

// Copies the display properties of every field of source to the field of
// the same name in dest. Each property's own failure is reported always and
// the walk goes on; any other failure ends the walk (reported when verbose).
void CloneFieldAccessProps(dao::TableDef& source, dao::TableDef& dest, bool verbose) {
  Reporter reporter("clonefieldaccessprops", verbose);
  Guard(reporter, [&] {
    std::vector<std::shared_ptr<dao::Field>> fields = source.GetFields()->items();
    for (const auto& field : fields) {
      for (const char* name : kDisplayProperties) {
        auto dest_field = dest.GetFields()->Item(Variant(field->Name()));
        CloneProperty(*field, *dest_field, Variant(name), false, true);
      }
    }
  });
}

// Whether CloneDb clones the table: none of the attached, system or hidden
// bits is set. The bits are tested in this order; the first one found
// decides.
bool IsUserTable(dao::TableDef& table) {
  const int32_t attributes = table.Attributes();
  for (int32_t bit : {dao::kAttachExclusive, dao::kAttachSavePWD, dao::kSystemObject,
                      dao::kHiddenObject, dao::kAttachedTable, dao::kAttachedODBC}) {
    if ((attributes & bit) != 0) return false;
  }
  return true;
}

// The SQLite backend of db, or null for another backend.
dao::sqlite::SqliteBackend* EngineFile(dao::Database& db) {
  return dynamic_cast<dao::sqlite::SqliteBackend*>(&db.backend());
}

// A table cloned with its rows between two files of the embedded engine (or
// inside one): the table and its rows are made in one transaction of the
// destination, so that they appear together or not at all, with the rows
// copied set-based (see SqliteBackend::CopyRows). Inactive (End a no-op,
// CopyRows -1) for other backends or when a transaction is open.
class SetBasedClone {
 public:
  SetBasedClone(dao::Database& src, dao::Database& dest, bool with_data)
      : from_(EngineFile(src)), to_(EngineFile(dest)) {
    if (!with_data || !from_ || !to_ || from_->in_transaction() ||
        !to_->AttachCopySource(from_->name())) {
      to_ = nullptr;
      return;
    }
    try {
      to_->BeginTrans();
    } catch (const Error&) {
      to_->DetachCopySource();
      to_ = nullptr;
    }
  }
  ~SetBasedClone() {
    try {
      End();
    } catch (const Error&) {
      // The clone failed already; its error is the one reported.
    }
  }
  SetBasedClone(const SetBasedClone&) = delete;
  SetBasedClone& operator=(const SetBasedClone&) = delete;

  // Copies the rows of src_table into the empty dest_table when the two
  // tables have the same fields with the same types. Returns the rows
  // copied, or -1 when nothing was copied and the rows must go one by one.
  int64_t CopyRows(const std::string& src_table, const std::string& dest_table,
                   const std::function<void(int64_t)>& progress) {
    if (!to_) return -1;
    const dao::TableInfo source = from_->Table(src_table);
    const dao::TableInfo target = to_->Table(dest_table);
    if (source.fields.size() != target.fields.size()) return -1;
    std::vector<std::string> columns;
    for (const dao::FieldInfo& f : source.fields) {
      int i = dao::FindByName(target.fields, f.name);
      if (i < 0 || target.fields[static_cast<size_t>(i)].type != f.type) return -1;
      columns.push_back(f.name);
    }
    return to_->CopyRows(source.name, target.name, columns, progress);
  }

  // Commits what was made (the table, with its rows or without them) and
  // detaches the source; a failed commit raises.
  void End() {
    if (!to_) return;
    dao::sqlite::SqliteBackend* to = to_;
    to_ = nullptr;
    try {
      to->CommitTrans();
    } catch (...) {
      to->DetachCopySource();
      throw;
    }
    to->DetachCopySource();
  }

 private:
  dao::sqlite::SqliteBackend* from_;
  dao::sqlite::SqliteBackend* to_;
};

}  // namespace

bool qorDb::CloneField(const std::string& pFieldName, dao::TableDef& pSrcTbl,
                       dao::TableDef& pDestTbl, bool /*pFailIfExists*/, bool Verbose) {
  // A name that exists already fails when the field is appended.
  Reporter reporter("CloneField", Verbose);
  return Guard(reporter, false, [&] {
    auto source = pSrcTbl.GetFields()->Item(Variant(pFieldName));
    auto field = db::NewFieldLike(*source, pDestTbl);
    field->SetDefaultValue(source->DefaultValue());
    field->SetValidationRule(source->ValidationRule());
    field->SetValidationText(source->ValidationText());
    pDestTbl.GetFields()->Append(field);
    return true;
  });
}

bool qorDb::CloneIndex(const Variant& pIndexName, dao::TableDef& pSrcTbl, dao::TableDef& pDestTbl,
                       bool /*pFailIfExists*/, bool Verbose) {
  Reporter reporter("CloneIndex", Verbose);
  return Guard(reporter, false, [&] {
    auto source = pSrcTbl.GetIndexes()->Item(pIndexName);
    pDestTbl.GetIndexes()->Append(db::NewIndexLike(*source, pDestTbl));
    return true;
  });
}

bool qorDb::CloneTable(const std::string& pTableName, dao::Database& pSrcDb, dao::Database& pDestDb,
                       bool pCopyData, const std::string& pDestTableName, bool pFailIfExists,
                       bool Verbose) {
  Reporter reporter("CloneTable", Verbose);
  std::shared_ptr<dao::Recordset> source_rows;
  std::shared_ptr<dao::Recordset> dest_rows;
  bool result = Guard(reporter, false, [&] {
    SetBasedClone set_based(pSrcDb, pDestDb, pCopyData);
    // The test is for the source table's name, whatever pDestTableName says.
    if (pFailIfExists && CheckTableExists(pDestDb, Variant(pTableName))) {
      reporter.Fail(Variant("Destination table " + pTableName + " exists"));
      return false;
    }
    const std::string dest_name =
        IsBlank(Variant(pDestTableName), true) ? pTableName : pDestTableName;
    auto source = pSrcDb.GetTableDefs()->Item(Variant(pTableName));
    // Nothing reaches the destination database before the table is complete.
    auto table = pDestDb.CreateTableDef(Variant(dest_name));
    std::vector<std::shared_ptr<dao::Field>> fields = source->GetFields()->items();
    for (const auto& field : fields) {
      if (!CloneField(field->Name(), *source, *table, pFailIfExists, Verbose)) {
        reporter.Fail(Variant("Error creating Destination Field " + field->Name()));
        return false;
      }
    }
    std::vector<std::shared_ptr<dao::Index>> indexes = source->GetIndexes()->items();
    for (const auto& index : indexes) {
      if (!CloneIndex(Variant(index->Name()), *source, *table, pFailIfExists, Verbose)) {
        reporter.Fail(Variant("Error creating Destination Index " + index->Name()));
        return false;
      }
    }
    table->SetValidationRule(source->ValidationRule());
    table->SetValidationText(source->ValidationText());
    pDestDb.GetTableDefs()->Append(table);
    CloneFieldAccessProps(*source, *pDestDb.GetTableDefs()->Item(Variant(dest_name)), false);
    if (!pCopyData) return true;

    // Progress never goes back: after a set-based copy that failed, the rows
    // one by one report only beyond what it reported.
    int64_t reported = 0;
    const int64_t copied_set_based = set_based.CopyRows(pTableName, dest_name, [&](int64_t rows) {
      if (rows % kProgressRows != 0 || !copy_progress_) return;
      copy_progress_(dest_name, rows);
      reported = rows;
    });
    set_based.End();
    if (copied_set_based >= 0) {
      if (copied_set_based > 0 && copy_progress_) copy_progress_(dest_name, copied_set_based);
      return true;
    }
    source_rows = pSrcDb.OpenRecordset(pTableName);
    if (source_rows->Bof() && source_rows->Eof()) return true;
    dest_rows = pDestDb.OpenRecordset(dest_name);
    source_rows->MoveFirst();
    std::vector<std::shared_ptr<dao::Field>> values = source_rows->GetFields()->items();
    auto dest_fields = dest_rows->GetFields();
    int64_t copied = 0;
    RowBatches batches(pDestDb);
    while (!source_rows->Eof()) {
      dest_rows->AddNew();
      // Every field is copied, counters too: the test of the auto-increment
      // bit lets each one through.
      for (const auto& value : values) {
        dest_fields->Item(Variant(value->Name()))->SetValue(value->Value());
      }
      dest_rows->Update();
      batches.RowWritten();
      if (++copied % kProgressRows == 0 && copy_progress_ && copied > reported) {
        copy_progress_(dest_name, copied);
      }
      source_rows->MoveNext();
    }
    batches.Finish();
    if (copy_progress_) copy_progress_(dest_name, copied);
    return true;
  });
  db::CloseQuietly(source_rows);
  db::CloseQuietly(dest_rows);
  return result;
}

bool qorDb::CloneDb(const Variant& pSrcPath, const Variant& pDestPath, bool pFailIfExists,
                    bool Verbose) {
  if (IsBlank(pSrcPath, true)) {
    ShowError(Variant("Invalid Database name"));
    return false;
  }
  Reporter reporter("CloneDb", Verbose);
  std::shared_ptr<dao::Database> source;
  std::shared_ptr<dao::Database> dest;
  bool result = Guard(reporter, false, [&] {
    source = dao::DBEngine::Get()->OpenDatabase(vb::CStr(pSrcPath));
    if (pFailIfExists && Procs().CheckFileExists(pDestPath)) {
      reporter.Fail(Variant("Destination database exists"));
      return false;
    }
    const std::string failed = "Error creating Destination Database " + vb::ConcatText(pDestPath);
    if (!CreateDatabase(dest, pDestPath, true, Verbose)) {
      reporter.Fail(Variant(failed));
      return false;
    }
    std::vector<std::shared_ptr<dao::TableDef>> tables = source->GetTableDefs()->items();
    for (const auto& table : tables) {
      if (!IsUserTable(*table)) continue;
      // The arguments are passed on as they always have been: pFailIfExists
      // decides whether data are copied, and every table is cloned under
      // the name True or False (so a second user table fails on that name).
      if (!CloneTable(table->Name(), *source, *dest, pFailIfExists, vb::BoolText(Verbose), false,
                      false)) {
        reporter.Fail(Variant(failed));
        return false;
      }
    }
    return true;
  });
  db::CloseQuietly(source);
  db::CloseQuietly(dest);
  return result;
}

}  // namespace qor
