// qor db: copy table structures and clone tables between database files,
// through qorDb's CopyTable and CloneTable. Every call is Verbose, so the
// library's reports reach the user (on standard error with the headless
// interface). The source file is opened for reading only.

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <string>

#include "command.h"
#include "db/names.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"

namespace qor::tool {
namespace {

// Copies of at least this many rows show their progress.
constexpr int64_t kLongCopyRows = 10000;

struct DbArgs {
  std::string src;
  std::string dest;
  std::string table;
  std::string new_name;
  bool data = false;
  bool fail_if_exists = false;
};

// Positional arguments SRC DEST [TABLE [NEWNAME]] and the clone's flags.
bool ParseArgs(const std::vector<std::string>& args, bool is_clone, DbArgs* out,
               std::string* error) {
  std::vector<std::string> positional;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (is_clone && a == "--data") {
      out->data = true;
    } else if (is_clone && a == "--fail-if-exists") {
      out->fail_if_exists = true;
    } else if (a.rfind("--", 0) == 0) {
      *error = "unknown option " + a;
      return false;
    } else {
      positional.push_back(a);
    }
  }
  size_t least = is_clone ? 3 : 2;
  if (positional.size() < least || positional.size() > 4) {
    *error = "expected SRC DEST " + std::string(is_clone ? "TABLE [NEWNAME]" : "[TABLE [NEWNAME]]");
    return false;
  }
  out->src = positional[0];
  out->dest = positional[1];
  if (positional.size() > 2) out->table = positional[2];
  if (positional.size() > 3) out->new_name = positional[3];
  return true;
}

// The source, opened for reading only; null (reported) when it cannot be.
std::shared_ptr<dao::Database> OpenSource(const std::string& path) {
  if (!std::filesystem::is_regular_file(path)) {
    std::fprintf(stderr, "qor db: no such database file: %s\n", path.c_str());
    return nullptr;
  }
  try {
    return dao::DBEngine::Get()->OpenDatabase(path, Variant(false), Variant(true));
  } catch (const Error& e) {
    std::fprintf(stderr, "qor db: %s: error %d: %s\n", path.c_str(), e.number(),
                 e.description().c_str());
    return nullptr;
  }
}

// The destination's path, creating the database when there is no such
// file (CreateDatabase's naming: ".MDB" is added to a name without it).
// Empty when it could not be made.
std::string DestinationPath(qorDb& db, const std::string& path) {
  if (std::filesystem::exists(path)) return path;
  std::shared_ptr<dao::Database> made;
  if (!db.CreateDatabase(made, Variant(path), false, true) || !made) return "";
  std::string name = made->Name();
  made->Close();
  std::fprintf(stderr, "qor db: created %s\n", name.c_str());
  return name;
}

std::set<std::string> PlainTables(const std::string& path) {
  std::set<std::string> names;
  auto db = dao::DBEngine::Get()->OpenDatabase(path, Variant(false), Variant(true));
  for (const auto& t : db->GetTableDefs()->items()) {
    if (t->Attributes() == 0) names.insert(t->Name());
  }
  db->Close();
  return names;
}

int CopyStructure(const DbArgs& a) {
  qorDb db;
  if (!OpenSource(a.src)) return 1;
  std::string dest = DestinationPath(db, a.dest);
  if (dest.empty()) return 1;
  std::set<std::string> before = PlainTables(dest);
  bool ok = db.CopyTable(a.src, dest, a.table, a.new_name, true, 0, 0, true);
  for (const std::string& name : PlainTables(dest)) {
    if (!before.count(name)) std::printf("%s\n", name.c_str());
  }
  return ok ? 0 : 1;
}

// Shows how far a long copy has got: in place on a terminal, else a line
// every tenth.
class ProgressLine {
 public:
  explicit ProgressLine(int64_t total) : total_(total), tty_(::isatty(2) != 0) {}
  void Show(const std::string& table, int64_t rows) {
    if (total_ < kLongCopyRows) return;
    int64_t tenth = rows * 10 / total_;
    if (tty_) {
      std::fprintf(stderr, "\rcopying %s: %lld of %lld rows", table.c_str(),
                   static_cast<long long>(rows), static_cast<long long>(total_));
      if (rows >= total_) std::fputc('\n', stderr);
    } else if (tenth > shown_) {
      std::fprintf(stderr, "copying %s: %lld of %lld rows\n", table.c_str(),
                   static_cast<long long>(rows), static_cast<long long>(total_));
    }
    shown_ = tenth;
    std::fflush(stderr);
  }

 private:
  int64_t total_;
  bool tty_;
  int64_t shown_ = 0;
};

int Clone(const DbArgs& a) {
  qorDb db;
  auto source = OpenSource(a.src);
  if (!source) return 1;
  std::string dest_path = DestinationPath(db, a.dest);
  if (dest_path.empty()) return 1;
  std::shared_ptr<dao::Database> dest;
  if (!db.OpenDatabase(dest, Variant(dest_path), true)) return 1;
  int64_t total = 0;
  if (a.data) {
    if (auto table = db::FindByName(*source->GetTableDefs(), Variant(a.table))) {
      total = table->RecordCount();
    }
  }
  ProgressLine progress(total);
  db.SetCopyProgress([&](const std::string& table, int64_t rows) { progress.Show(table, rows); });
  bool ok = db.CloneTable(a.table, *source, *dest, a.data, a.new_name, a.fail_if_exists, true);
  if (ok) {
    const std::string& name = vb::Trim(a.new_name).empty() ? a.table : a.new_name;
    std::printf("%s\n", name.c_str());
  }
  dest->Close();
  source->Close();
  return ok ? 0 : 1;
}

}  // namespace

int RunDb(const std::vector<std::string>& args) {
  const Command& me = FindCommand("db");
  if (args.empty()) return UsageError(me, "missing action");
  bool is_clone = args[0] == "clone";
  if (!is_clone && args[0] != "copy-structure") return UsageError(me, "unknown action " + args[0]);
  DbArgs parsed;
  std::string error;
  if (!ParseArgs(args, is_clone, &parsed, &error)) return UsageError(me, error);
  return is_clone ? Clone(parsed) : CopyStructure(parsed);
}

}  // namespace qor::tool
