#include "db/engine/mdb/mdb_backend.h"

#include <optional>
#include <string>
#include <vector>

#include "db/engine/jet_lexer.h"
#include "db/engine/jet_sql.h"
#include "db/engine/mdb/mdb_file.h"
#include "db/engine/sqlite/sqlite_db.h"
#include "db/engine/sqlite/sqlite_functions.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"

namespace qor::dao::mdb {

namespace {

[[noreturn]] void FailReadOnly() { Fail(e::kReadOnly); }

// Tests rows against Jet criteria as the SQLite backend evaluates them:
// the row goes into a one-row table of an in-memory SQLite database and
// the translated criteria select it or not.
class CriteriaMatcher {
 public:
  explicit CriteriaMatcher(const std::vector<FieldInfo>& fields)
      : fields_(fields),
        db_(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_MEMORY) {
    sqlite::RegisterFunctions(db_.raw());
    std::string columns, marks;
    for (const FieldInfo& f : fields_) {
      if (!columns.empty()) {
        columns += ", ";
        marks += ", ";
      }
      columns += jet::QuoteName(f.name) + " " + sqlite::ColumnType(f.type);
      marks += "?";
    }
    db_.Exec("CREATE TABLE r(" + columns + ")");
    insert_ = db_.Prepare("INSERT INTO r VALUES(" + marks + ")");
  }

  // Raises 3077 (or 3070 for an unknown field) for a bad criterion.
  bool Matches(std::string_view criteria, const std::vector<Variant>& row) {
    if (!select_ || criteria != criteria_) {
      jet::ExpressionOptions options;
      options.fields = &fields_;
      try {
        select_ = db_.Prepare("SELECT count(*) FROM r WHERE " +
                              jet::TranslateCriteria(criteria, options));
      } catch (const Error& error) {
        if (error.number() == e::kTooFewParameters) {
          Fail(e::kUnknownFieldInExpression, {std::string(criteria)});
        }
        throw;
      }
      criteria_ = std::string(criteria);
    }
    db_.Exec("DELETE FROM r");
    for (size_t i = 0; i < fields_.size() && i < row.size(); ++i) {
      insert_->BindAs(static_cast<int>(i + 1), row[i], fields_[i].type);
    }
    insert_->Run();
    insert_->Reset();
    bool match = select_->Step() && select_->Int(0) > 0;
    select_->Reset();
    return match;
  }

 private:
  std::vector<FieldInfo> fields_;
  sqlite::Db db_;
  std::unique_ptr<sqlite::Stmt> insert_;
  std::unique_ptr<sqlite::Stmt> select_;
  std::string criteria_;
};

// A table's rows in file order. Rows are read as the cursor moves; what it
// keeps is each row's position in the file, so that moving back reads the
// row again instead of holding every row in memory.
class MdbCursor : public Cursor {
 public:
  MdbCursor(const std::string& path, TableInfo table)
      : table_(std::move(table)), reader_(path, table_.name) {}

  const std::vector<FieldInfo>& fields() const override { return table_.fields; }
  bool updatable() const override { return false; }

  bool First() override { return Load(0); }
  bool Last() override {
    ScanAll();
    return !positions_.empty() && Load(static_cast<int64_t>(positions_.size()) - 1);
  }
  bool Next() override { return Load(current_ + 1); }
  bool Previous() override { return current_ > 0 && Load(current_ - 1); }
  bool GoTo(Bookmark bookmark) override {
    if (bookmark < 0 || bookmark >= static_cast<int64_t>(positions_.size())) {
      Fail(e::kNotValidBookmark);
    }
    return Load(bookmark);
  }
  bool Find(std::string_view criteria, Direction direction) override {
    if (!matcher_) matcher_ = std::make_unique<CriteriaMatcher>(table_.fields);
    int64_t start = 0;
    int step = 1;
    switch (direction) {
      case Direction::kFirst:
        break;
      case Direction::kLast:
        ScanAll();
        start = static_cast<int64_t>(positions_.size()) - 1;
        step = -1;
        break;
      case Direction::kNext:
        start = current_ + 1;
        break;
      case Direction::kPrevious:
        start = current_ - 1;
        step = -1;
        break;
    }
    int64_t was = current_;
    for (int64_t i = start; i >= 0 && Load(i); i += step) {
      if (matcher_->Matches(criteria, row_)) return true;
    }
    if (was >= 0) Load(was);
    current_ = was;
    return false;
  }

  const std::vector<Variant>& Row() override {
    if (current_ < 0) Fail(e::kNoCurrentRecord);
    return row_;
  }
  Bookmark CurrentBookmark() const override { return current_; }
  int64_t Count() override {
    ScanAll();
    return static_cast<int64_t>(positions_.size());
  }

  Bookmark Insert(const std::vector<std::optional<Variant>>&) override { FailReadOnly(); }
  void Update(const std::vector<std::optional<Variant>>&) override { FailReadOnly(); }
  void Delete() override { FailReadOnly(); }
  void LockRow() override {}
  void UnlockRow() override {}
  bool Reload() override { return current_ >= 0; }

 private:
  // Reads one more row of the file; false after the last.
  bool ScanOne() {
    if (done_) return false;
    if (!reader_.Next()) {
      done_ = true;
      return false;
    }
    positions_.push_back(reader_.position());
    return true;
  }
  void ScanAll() {
    while (ScanOne()) {
    }
  }
  // Makes row index current; false (current row unchanged) when there is
  // no such row.
  bool Load(int64_t index) {
    if (index < 0) return false;
    while (static_cast<int64_t>(positions_.size()) <= index) {
      if (!ScanOne()) return false;
    }
    int64_t position = positions_[static_cast<size_t>(index)];
    if (reader_.position() != position && !reader_.Seek(position)) return false;
    row_ = reader_.values();
    current_ = index;
    return true;
  }

  TableInfo table_;
  RowReader reader_;
  std::vector<int64_t> positions_;
  std::vector<Variant> row_;
  int64_t current_ = -1;
  bool done_ = false;
  std::unique_ptr<CriteriaMatcher> matcher_;
};

class MdbBackend : public Backend {
 public:
  explicit MdbBackend(std::unique_ptr<JetFile> file)
      : file_(std::move(file)), name_(file_->path()) {}

  const std::string& name() const override { return name_; }
  bool read_only() const override { return true; }
  std::string connect() const override { return ""; }

  std::vector<TableInfo> ReadTables() override { return File().Tables(); }
  std::vector<QueryInfo> ReadQueries() override {
    if (!queries_) queries_ = File().ReadQueries();
    return *queries_;
  }
  std::vector<PropertyInfo> ReadDatabaseProperties() override { return {}; }
  TableInfo ReadTable(std::string_view table) override { return Table(table); }
  int64_t CatalogVersion() override { return 0; }  // the file never changes under us

  void CreateTable(const TableInfo&) override { FailReadOnly(); }
  void DropTable(std::string_view) override { FailReadOnly(); }
  void UpdateTable(std::string_view, const TableInfo&) override { FailReadOnly(); }
  void AddField(std::string_view, const FieldInfo&) override { FailReadOnly(); }
  void DropField(std::string_view, std::string_view) override { FailReadOnly(); }
  void UpdateField(std::string_view, std::string_view, const FieldInfo&) override {
    FailReadOnly();
  }
  void CreateIndex(std::string_view, const IndexInfo&) override { FailReadOnly(); }
  void DropIndex(std::string_view, std::string_view) override { FailReadOnly(); }
  void SaveQuery(const QueryInfo&) override { FailReadOnly(); }
  void DropQuery(std::string_view) override { FailReadOnly(); }
  void SaveProperty(const ObjectKey&, const PropertyInfo&) override { FailReadOnly(); }
  void RemoveProperty(const ObjectKey&, std::string_view) override { FailReadOnly(); }
  int64_t Execute(std::string_view, int32_t) override { FailReadOnly(); }

  std::unique_ptr<Cursor> OpenTable(std::string_view table, int, int32_t) override {
    TableInfo info = Table(table);
    if (info.attributes & kAttachedTable) Fail(e::kNotSupported);
    return std::make_unique<MdbCursor>(File().path(), std::move(info));
  }

  // Only the whole of one table: SELECT * FROM name.
  std::unique_ptr<Cursor> OpenQuery(std::string_view sql, int type, int32_t options) override {
    std::string table;
    try {
      std::vector<jet::Token> t = jet::Tokenize(sql);
      size_t n = t.size();
      if (n > 0 && t[n - 1].kind == jet::TokenKind::kEnd) --n;
      if (n > 0 && t[n - 1].IsSymbol(";")) --n;
      if (n == 4 && t[0].IsKeyword("SELECT") && t[1].IsSymbol("*") && t[2].IsKeyword("FROM") &&
          t[3].kind == jet::TokenKind::kName) {
        table = t[3].text;
      }
    } catch (const jet::LexError&) {
      Fail(e::kSyntaxFrom);
    }
    if (table.empty()) Fail(e::kNotSupported);
    return OpenTable(table, type, options);
  }

  Variant Evaluate(std::string_view, int) override { Fail(e::kNotSupported); }

  void BeginTrans() override {
    if (in_transaction_) Fail(e::kInvalidOperation);
    in_transaction_ = true;
  }
  void CommitTrans() override { EndTrans(); }
  void Rollback() override { EndTrans(); }
  void Idle() override {}
  void Close() override { file_.reset(); }

 private:
  JetFile& File() const {
    if (!file_) Fail(e::kObjectInvalid);
    return *file_;
  }
  TableInfo Table(std::string_view name) const {
    const std::vector<TableInfo>& tables = File().Tables();
    int i = FindByName(tables, name);
    if (i < 0) Fail(e::kInputTableNotFound, {std::string(name)});
    return tables[static_cast<size_t>(i)];
  }
  void EndTrans() {
    if (!in_transaction_) Fail(e::kInvalidOperation);
    in_transaction_ = false;
  }

  std::unique_ptr<JetFile> file_;
  std::string name_;
  std::optional<std::vector<QueryInfo>> queries_;
  bool in_transaction_ = false;
};

// DBEngine asks this provider before the SQLite one.
const bool kRegistered = [] {
  RegisterBackendProvider(std::make_shared<MdbProvider>());
  return true;
}();

}  // namespace

bool MdbProvider::Accepts(const OpenRequest& request, std::string_view header) const {
  (void)kRegistered;
  if (vb::UCase(request.connect).rfind("ODBC", 0) == 0) return false;
  return JetVersion(header) != 0;
}

std::unique_ptr<Backend> MdbProvider::Open(const OpenRequest& request) {
  return std::make_unique<MdbBackend>(JetFile::Open(request.name, request.connect));
}

}  // namespace qor::dao::mdb
