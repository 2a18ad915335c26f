// qorDb's opening and creation of database files by path, and the copy of
// table structures from one database file to another.

#include <sys/stat.h>

#include <filesystem>
#include <vector>

#include "db/engine/lock_file.h"
#include "db/names.h"
#include "db/schema_copy.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"

namespace qor {
namespace {

// VB's "Path/File access error", which Kill raises for a file it may not
// delete.
constexpr int32_t kFileAccessError = 75;

std::shared_ptr<dao::DBEngine> Engine() { return dao::DBEngine::Get(); }

// Deletes the database file at path, as Kill would: a file that a
// connection (here or in another process) has open, or one without write
// permission, is refused with error 75. The files the engine keeps beside a
// database go with it.
void KillDatabaseFile(const std::string& path) {
  struct stat st;
  if (dao::LockFile::InUse(path) || (::stat(path.c_str(), &st) == 0 && (st.st_mode & 0222) == 0)) {
    Raise(kFileAccessError);
  }
  if (!std::filesystem::exists(path) || !dao::RemoveDatabaseFiles(path)) Raise(kFileAccessError);
}

bool Selected(dao::TableDef& table, const std::string& src_table, int32_t and_mask,
              int32_t or_mask) {
  if (IsNotBlank(Variant(src_table), true)) {
    return db::NamesMatch(Variant(table.Name()), Variant(src_table));
  }
  if (and_mask != 0) return (table.Attributes() & and_mask) == and_mask;
  if (or_mask != 0) return (table.Attributes() & or_mask) != 0;
  return true;
}

}  // namespace

bool qorDb::OpenDatabase(std::shared_ptr<dao::Database>& pDb, const Variant& PDbPath,
                         bool Verbose) {
  if (IsBlank(PDbPath, true)) {
    ShowError(Variant("Invalid Database name"));
    return false;
  }
  Reporter reporter("OpenDatabase", Verbose);
  return Guard(reporter, false, [&] {
    pDb = Engine()->OpenDatabase(vb::CStr(PDbPath));
    return true;
  });
}

bool qorDb::CreateDatabase(std::shared_ptr<dao::Database>& pNewDb, const Variant& PDbPath,
                           bool pDeleteOld, bool Verbose) {
  if (IsBlank(PDbPath, true)) return false;
  Reporter reporter("CreateDatabase", Verbose);
  return Guard(reporter, false, [&] {
    std::string path = vb::CStr(PDbPath);
    if (vb::UCase(vb::Right(path, 4)) != ".MDB") path += ".MDB";
    if (Procs().CheckFileExists(Variant(path))) {
      if (pDeleteOld) {
        Reporter kill("CreateDatabase", Verbose);
        kill.set_detail(" - unable to kill file " + path);
        if (!Guard(kill, false, [&] {
              KillDatabaseFile(path);
              return true;
            })) {
          return false;
        }
      } else if (Verbose) {
        // The file is left alone and the caller told it is there: the
        // result is True, pNewDb unchanged. Without Verbose the engine's
        // refusal below ends the call with False.
        reporter.Fail(Variant("Access Database " + path + " already exists"));
        return true;
      }
    }
    pNewDb = Engine()->CreateDatabase(path, dao::kLangGeneral);
    return true;
  });
}

bool qorDb::CloneTableDbPath(const Variant& pTableName, const Variant& pSrcDbPath,
                             const Variant& PDestDbPath, bool pFailIfExists, bool Verbose) {
  if (IsBlank(pSrcDbPath, true)) {
    ShowError(Variant("Invalid Database name"));
    return false;
  }
  Reporter reporter("CloneTableDbPath", Verbose);
  std::shared_ptr<dao::Database> source;
  std::shared_ptr<dao::Database> dest;
  bool result = Guard(reporter, false, [&] {
    source = Engine()->OpenDatabase(vb::CStr(pSrcDbPath));
    dest = Engine()->OpenDatabase(vb::CStr(PDestDbPath));
    // Passed on as CloneDb passes them: pFailIfExists decides whether data
    // are copied and the table arrives under the name True or False.
    return CloneTable(vb::CStr(pTableName), *source, *dest, pFailIfExists, vb::BoolText(Verbose),
                      false, false);
  });
  db::CloseQuietly(source);
  db::CloseQuietly(dest);
  return result;
}

bool qorDb::CopyTable(const std::string& pSrcDbPath, std::string& PDestDbPath,
                      const std::string& pSrcTable, const std::string& PDestTable,
                      bool /*pStructOnly*/, int32_t pAttribAndMask, int32_t pAttribOrMask,
                      bool /*Verbose*/) {
  if (IsBlank(Variant(pSrcDbPath), true) || IsBlank(Variant(PDestDbPath), true)) return false;
  // Every error is reported, naming how far the copy got.
  Reporter reporter("CopyTable", true);
  std::string table_name, field_name, index_name;
  auto progress = [&] {
    reporter.set_detail(" " + table_name + ", " + field_name + ", " + index_name);
  };
  progress();
  std::shared_ptr<dao::Database> source;
  std::shared_ptr<dao::Database> dest;
  bool result = Guard(reporter, false, [&] {
    source = Engine()->OpenDatabase(pSrcDbPath, Variant(false), Variant(true));
    dest = Engine()->OpenDatabase(PDestDbPath);
    const bool renamed =
        IsNotBlank(Variant(pSrcTable), true) && IsNotBlank(Variant(PDestTable), true);
    std::vector<std::shared_ptr<dao::TableDef>> tables = source->GetTableDefs()->items();
    for (const auto& table : tables) {
      table_name = table->Name();
      field_name.clear();
      index_name.clear();
      progress();
      // A test meant to pass over system objects has always let every table
      // through; the attribute test below is what keeps them out.
      if (!Selected(*table, pSrcTable, pAttribAndMask, pAttribOrMask)) continue;
      // Only plain local tables are copied, so a selection by attribute
      // masks never copies one.
      if (table->Attributes() != 0) continue;
      auto copy = dest->CreateTableDef(Variant(renamed ? PDestTable : table->Name()));
      std::vector<std::shared_ptr<dao::Field>> fields = table->GetFields()->items();
      for (const auto& field : fields) {
        field_name = field->Name();
        progress();
        copy->GetFields()->Append(db::NewFieldLike(*field, *copy));
      }
      std::vector<std::shared_ptr<dao::Index>> indexes = table->GetIndexes()->items();
      for (const auto& index : indexes) {
        index_name = index->Name();
        progress();
        copy->GetIndexes()->Append(db::NewIndexLike(*index, *copy));
      }
      dest->GetTableDefs()->Append(copy);
    }
    return true;
  });
  db::CloseQuietly(source);
  db::CloseQuietly(dest);
  return result;
}

}  // namespace qor
