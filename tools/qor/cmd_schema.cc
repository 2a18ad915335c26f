// qor schema: the schema toolkit's jobs on database files — list the tables
// with their fields and record counts, write the structure table of the
// template tables, apply an action table. The library's reports are shown
// on the current user interface (standard error on the headless one).

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "command.h"
#include "db/close_quietly.h"
#include "db/schema_update.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/vb.h"

namespace qor::tool {
namespace {

namespace fs = std::filesystem;

// A folder of its own under the temporary folder, removed when it goes.
class ScratchFolder {
 public:
  ScratchFolder() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = (tmp && *tmp ? std::string(tmp) : std::string("/tmp")) + "/qor-XXXXXX";
    if (char* made = mkdtemp(pattern.data())) path_ = made;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    if (!path_.empty()) fs::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  bool ok() const { return !path_.empty(); }
  std::string File(const char* name) const { return (path_ / name).string(); }

 private:
  fs::path path_;
};

// Rows of texts printed in columns as wide as their widest cell; numbers
// (the last column) aligned right.
void PrintTable(const std::vector<std::vector<std::string>>& rows) {
  std::vector<int64_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()), 0);
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], vb::Len(row[i]));
  }
  for (const auto& row : rows) {
    std::string line;
    for (size_t i = 0; i < row.size(); ++i) {
      std::string pad = vb::Space(widths[i] - vb::Len(row[i]));
      bool last = i + 1 == row.size();
      line += last ? pad + row[i] : row[i] + pad + "  ";
    }
    std::printf("%s\n", line.c_str());
  }
}

// qor schema list DB: the TableStructures listing, written to a scratch
// database and printed.
int List(const std::string& db_path) {
  ScratchFolder scratch;
  if (!scratch.ok()) {
    std::fprintf(stderr, "qor schema: cannot create a temporary folder\n");
    return 1;
  }
  qorDb toolkit;
  std::string listing_path = scratch.File("listing.MDB");
  if (!toolkit.DumpTablesStructure(Variant(listing_path), Variant(db_path), true)) return 1;
  auto listing = dao::DBEngine::Get()->OpenDatabase(listing_path);
  std::shared_ptr<dao::Recordset> rs;
  std::vector<std::vector<std::string>> rows = {{"Table", "Field", "Type", "Size"}};
  try {
    rs = listing->OpenRecordset("TableStructures");
    for (; !rs->Eof(); rs->MoveNext()) {
      std::string field = vb::ConcatText(rs->Value("FldName"));
      bool summary = rs->Value("FldType").IsNull();
      rows.push_back({vb::ConcatText(rs->Value("TblName")), summary ? "(records)" : field,
                      vb::ConcatText(rs->Value("FldType")), vb::ConcatText(rs->Value("FldSize"))});
    }
  } catch (...) {
    db::CloseQuietly(rs);
    db::CloseQuietly(listing);
    throw;
  }
  db::CloseQuietly(rs);
  db::CloseQuietly(listing);
  PrintTable(rows);
  return 0;
}

// qor schema dump DB [TABLE]: the structure table of the template tables.
int Dump(const std::string& db_path, const std::string& table) {
  auto db = dao::DBEngine::Get()->OpenDatabase(db_path);
  qorDb toolkit;
  bool ok = toolkit.DumpAllTableStructuresToTable(*db, Variant(table), true);
  if (ok) {
    std::string name = IsBlank(Variant(table), true) ? "TableStructure" : vb::Trim(table);
    if (toolkit.CheckTableExists(*db, Variant(name))) {
      auto written = db->GetTableDefs()->Item(Variant(name));
      std::printf("%s: %d rows\n", written->Name().c_str(), int(written->RecordCount()));
    } else {
      std::printf("%s: no template tables, nothing written\n", name.c_str());
    }
  }
  db->Close();
  return ok ? 0 : 1;
}

// qor schema update DB ACTIONS [--verbose]: the action table applied.
int Update(const std::string& db_path, const std::string& actions, bool verbose) {
  auto db = dao::DBEngine::Get()->OpenDatabase(db_path);
  qorDb toolkit;
  bool ok = db::ApplyActionTable(toolkit, *db, Variant(actions), verbose);
  db->Close();
  return ok ? 0 : 1;
}

bool DatabaseExists(const std::string& path) {
  if (fs::is_regular_file(path)) return true;
  std::fprintf(stderr, "qor schema: no database file '%s'\n", path.c_str());
  return false;
}

}  // namespace

int RunSchema(const std::vector<std::string>& args) {
  if (args.empty()) return UsageError(FindCommand("schema"), "missing action");
  const std::string& action = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end());
  bool verbose = std::erase(rest, std::string("--verbose")) > 0;
  for (const std::string& a : rest) {
    if (a.starts_with("--")) return UsageError(FindCommand("schema"), "unknown option '" + a + "'");
  }
  if (action == "list" && rest.size() == 1 && !verbose) {
    return DatabaseExists(rest[0]) ? List(rest[0]) : 1;
  }
  if (action == "dump" && (rest.size() == 1 || rest.size() == 2) && !verbose) {
    return DatabaseExists(rest[0]) ? Dump(rest[0], rest.size() == 2 ? rest[1] : "") : 1;
  }
  if (action == "update" && rest.size() == 2) {
    return DatabaseExists(rest[0]) ? Update(rest[0], rest[1], verbose) : 1;
  }
  return UsageError(FindCommand("schema"), "unknown action or wrong arguments");
}

}  // namespace qor::tool
