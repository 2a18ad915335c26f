#include "db/engine/sqlite/sqlite_cursor.h"

#include <unistd.h>

#include <map>
#include <optional>

#include "db/engine/jet_eval.h"
#include "db/engine/jet_sql.h"
#include "db/engine/sqlite/sqlite_backend.h"
#include "qorsupport/frame/error.h"

namespace qor::dao::sqlite {

using jet::QuoteName;

namespace {

std::string HostName() {
  char name[256] = {};
  if (::gethostname(name, sizeof name - 1) != 0) return "localhost";
  return name;
}

[[noreturn]] void FailLocked() { Fail(e::kLockedByUser, {HostName(), "Admin"}); }

// Translates criteria once per text, with their literals as parameters
// from ?2 on (?1 is the current row), so that the statement is prepared
// once for every value of the same criterion shape.
class CriteriaCache {
 public:
  // fields: the fields the criteria's names refer to.
  explicit CriteriaCache(const std::vector<FieldInfo>* fields) : fields_(fields) {}
  struct Entry {
    std::string where;
    std::vector<Variant> literals;
  };
  const Entry& Get(std::string_view criteria) {
    auto it = cache_.find(std::string(criteria));
    if (it == cache_.end()) {
      Entry entry;
      jet::ExpressionOptions options;
      options.literals = &entry.literals;
      options.first_parameter = 2;
      options.fields = fields_;
      try {
        entry.where = jet::TranslateCriteria(criteria, options);
      } catch (const Error& error) {
        if (error.number() == e::kTooFewParameters) {
          Fail(e::kUnknownFieldInExpression, {std::string(criteria)});
        }
        throw;
      }
      it = cache_.emplace(std::string(criteria), std::move(entry)).first;
    }
    return it->second;
  }

 private:
  const std::vector<FieldInfo>* fields_;
  std::map<std::string, Entry> cache_;
};

void BindLiterals(Stmt& stmt, const std::vector<Variant>& literals) {
  for (size_t i = 0; i < literals.size(); ++i) stmt.Bind(static_cast<int>(i + 2), literals[i]);
}

// The writes both cursors share: INSERT and UPDATE of a table's columns by
// rowid.
class RowWriter {
 public:
  RowWriter(SqliteBackend* backend, std::string table)
      : backend_(backend), table_(std::move(table)) {}

  // fields[i] is written from values[i] when the value is given.
  int64_t Insert(const std::vector<FieldInfo>& fields,
                 const std::vector<std::optional<Variant>>& values) {
    backend_->CheckWritable();
    std::string columns, marks;
    std::vector<size_t> bound;
    for (size_t i = 0; i < fields.size() && i < values.size(); ++i) {
      if (!values[i]) continue;
      if (!columns.empty()) {
        columns += ", ";
        marks += ", ";
      }
      columns += QuoteName(fields[i].name);
      marks += "?" + std::to_string(bound.size() + 1);
      bound.push_back(i);
    }
    std::string sql =
        "INSERT INTO " + QuoteName(table_) +
        (bound.empty() ? " DEFAULT VALUES" : " (" + columns + ") VALUES (" + marks + ")");
    auto stmt = backend_->db().Prepare(sql);
    for (size_t k = 0; k < bound.size(); ++k) {
      stmt->BindAs(static_cast<int>(k + 1), *values[bound[k]], fields[bound[k]].type);
    }
    stmt->Run();
    return backend_->db().LastRowid();
  }

  void Update(int64_t rowid, const std::vector<FieldInfo>& fields,
              const std::vector<std::optional<Variant>>& values) {
    backend_->CheckWritable();
    std::string sets;
    std::vector<size_t> bound;
    for (size_t i = 0; i < fields.size() && i < values.size(); ++i) {
      if (!values[i]) continue;
      if (!sets.empty()) sets += ", ";
      sets += QuoteName(fields[i].name) + " = ?" + std::to_string(bound.size() + 2);
      bound.push_back(i);
    }
    if (bound.empty()) return;
    auto stmt = backend_->db().Prepare("UPDATE " + QuoteName(table_) + " SET " + sets +
                                       " WHERE rowid = ?1");
    stmt->BindInt(1, rowid);
    for (size_t k = 0; k < bound.size(); ++k) {
      stmt->BindAs(static_cast<int>(k + 2), *values[bound[k]], fields[bound[k]].type);
    }
    stmt->Run();
  }

  void Delete(int64_t rowid) {
    backend_->CheckWritable();
    auto stmt = backend_->db().Prepare("DELETE FROM " + QuoteName(table_) + " WHERE rowid = ?1");
    stmt->BindInt(1, rowid);
    stmt->Run();
  }

  void Lock(int64_t rowid) {
    if (backend_->locks() && !backend_->locks()->LockRecord(table_, rowid)) FailLocked();
  }
  void Unlock(int64_t rowid) {
    if (backend_->locks()) backend_->locks()->UnlockRecord(table_, rowid);
  }

  const std::string& table() const { return table_; }

 private:
  SqliteBackend* backend_;
  std::string table_;
};

// ---- Table cursor -------------------------------------------------------------------

class TableCursor : public Cursor {
 public:
  TableCursor(SqliteBackend* backend, std::shared_ptr<const TableInfo> table, bool writable,
              int32_t options)
      : backend_(backend),
        table_(std::move(table)),
        writer_(backend, table_->name),
        writable_(writable),
        criteria_(&table_->fields) {
    MakeSelect();
    if (backend_->locks() && (options & (kDenyRead | kDenyWrite))) {
      if (!backend_->locks()->LockTable(table_->name, (options & kDenyRead) != 0)) {
        Fail(e::kTableLockedByUser, {table_->name, "Admin", HostName()});
      }
      table_locked_ = true;
    }
  }
  ~TableCursor() override {
    if (locked_) writer_.Unlock(current_);
    if (table_locked_) backend_->locks()->UnlockTable(writer_.table());
  }

  const std::vector<FieldInfo>& fields() const override {
    shown_ = true;  // from now on the recordset holds to these fields
    return table_->fields;
  }
  bool updatable() const override { return writable_; }

  bool First() override { return Load(" ORDER BY rowid LIMIT 1", false); }
  bool Last() override { return Load(" ORDER BY rowid DESC LIMIT 1", false); }
  bool Next() override { return Load(" WHERE rowid > ?1 ORDER BY rowid LIMIT 1", true); }
  bool Previous() override { return Load(" WHERE rowid < ?1 ORDER BY rowid DESC LIMIT 1", true); }
  bool GoTo(Bookmark bookmark) override {
    int64_t saved = current_;
    current_ = bookmark;
    if (Load(" WHERE rowid = ?1", true)) return true;
    current_ = saved;
    return false;
  }

  bool Find(std::string_view criteria, Direction direction) override {
    if (criteria_stale_) {
      // The description changed since the cached criteria were translated
      // (Verify); a search under way keeps its entry until it ends.
      criteria_ = CriteriaCache(&table_->fields);
      criteria_stale_ = false;
    }
    const CriteriaCache::Entry& entry = criteria_.Get(criteria);
    std::string where = "(" + entry.where + ")";
    std::string suffix;
    switch (direction) {
      case Direction::kFirst:
        suffix = " WHERE " + where + " ORDER BY rowid LIMIT 1";
        break;
      case Direction::kLast:
        suffix = " WHERE " + where + " ORDER BY rowid DESC LIMIT 1";
        break;
      case Direction::kNext:
        suffix = " WHERE " + where + " AND rowid > ?1 ORDER BY rowid LIMIT 1";
        break;
      case Direction::kPrevious:
        suffix = " WHERE " + where + " AND rowid < ?1 ORDER BY rowid DESC LIMIT 1";
        break;
    }
    try {
      return Load(suffix, direction == Direction::kNext || direction == Direction::kPrevious,
                  &entry.literals);
    } catch (const Error& error) {
      if (error.number() == e::kTooFewParameters) {
        Fail(e::kUnknownFieldInExpression, {std::string(criteria)});
      }
      throw;
    }
  }

  const std::vector<Variant>& Row() override {
    if (!has_row_) Fail(e::kNoCurrentRecord);
    if (deleted_) Fail(e::kRecordDeleted);
    return row_;
  }
  Bookmark CurrentBookmark() const override { return current_; }

  int64_t Count() override {
    auto stmt = backend_->db().Prepare("SELECT count(*) FROM " + QuoteName(writer_.table()));
    stmt->Step();
    return stmt->Int(0);
  }

  Bookmark Insert(const std::vector<std::optional<Variant>>& values) override {
    CheckWritable();
    return writer_.Insert(table_->fields, values);
  }
  void Update(const std::vector<std::optional<Variant>>& values) override {
    CheckWritable();
    Row();
    writer_.Update(current_, table_->fields, values);
    Reload();
  }
  void Delete() override {
    CheckWritable();
    Row();
    bool had_lock = locked_;
    if (!had_lock) LockRow();
    try {
      writer_.Delete(current_);
    } catch (...) {
      if (!had_lock) UnlockRow();
      throw;
    }
    UnlockRow();
    deleted_ = true;
  }

  void LockRow() override {
    Row();
    if (locked_) return;
    writer_.Lock(current_);
    locked_ = true;
  }
  void UnlockRow() override {
    if (!locked_) return;
    writer_.Unlock(current_);
    locked_ = false;
  }
  bool Reload() override {
    if (!has_row_) return false;
    if (Load(" WHERE rowid = ?1", true)) return true;
    deleted_ = true;
    return false;
  }

 private:
  void CheckWritable() const {
    if (!writable_) Fail(e::kReadOnly);
  }

  void MakeSelect() {
    select_ = "SELECT rowid";
    for (const FieldInfo& f : table_->fields) select_ += ", " + QuoteName(f.name);
    select_ += " FROM " + QuoteName(writer_.table());
  }

  // The cursor opens with the backend's cached description of its table
  // (see SqliteBackend::TableFromCache); its first statement confirms it.
  // When the catalog changed meanwhile, the cursor takes the newest
  // description, unless its fields were shown already: the recordset is
  // then one opened before the change, and its fields must all still be
  // there as they were (else 3420). Returns whether to fetch again.
  bool Verify() {
    verified_ = true;
    if (backend_->CatalogCurrent()) return false;
    std::shared_ptr<const TableInfo> now = backend_->SharedTable(writer_.table());
    if (shown_) {
      for (const FieldInfo& f : table_->fields) {
        int i = FindByName(now->fields, f.name);
        if (i < 0 || now->fields[static_cast<size_t>(i)].type != f.type) Fail(e::kObjectInvalid);
      }
      return false;
    }
    table_ = std::move(now);
    criteria_stale_ = true;  // names may now mean other fields
    MakeSelect();
    return true;
  }

  bool Load(const std::string& suffix, bool bind_current,
            const std::vector<Variant>* literals = nullptr) {
    if (verified_) return Fetch(suffix, bind_current, literals);
    const int64_t position = current_;
    bool found = false;
    try {
      found = Fetch(suffix, bind_current, literals);
    } catch (const Error&) {
      if (!Verify()) throw;
      return Fetch(suffix, bind_current, literals);
    }
    if (!Verify()) return found;
    current_ = position;
    return Fetch(suffix, bind_current, literals);
  }

  bool Fetch(const std::string& suffix, bool bind_current, const std::vector<Variant>* literals) {
    auto stmt = backend_->db().Prepare(select_ + suffix);
    if (bind_current) stmt->BindInt(1, current_);
    if (literals) BindLiterals(*stmt, *literals);
    if (!stmt->Step()) return false;
    int64_t rowid = stmt->Int(0);
    if (locked_ && rowid != current_) UnlockRow();
    current_ = rowid;
    row_.resize(table_->fields.size());
    for (size_t i = 0; i < table_->fields.size(); ++i) {
      row_[i] = stmt->Value(static_cast<int>(i + 1), table_->fields[i].type);
    }
    has_row_ = true;
    deleted_ = false;
    return true;
  }

  SqliteBackend* backend_;
  std::shared_ptr<const TableInfo> table_;  // the description the cursor reads by
  RowWriter writer_;
  bool writable_;
  std::string select_;
  CriteriaCache criteria_;
  bool criteria_stale_ = false;  // criteria_ translated by an older table_
  bool verified_ = false;        // table_ confirmed against the file's catalog
  mutable bool shown_ = false;   // table_'s fields handed out by fields()
  int64_t current_ = 0;
  bool has_row_ = false;
  bool deleted_ = false;
  bool locked_ = false;
  bool table_locked_ = false;
  std::vector<Variant> row_;
};

// ---- Query cursor --------------------------------------------------------------------

class QueryCursor : public Cursor {
 public:
  QueryCursor(SqliteBackend* backend, const std::string& sql, const std::string& base_table,
              const std::vector<int>& column_types)
      : backend_(backend), sql_(sql), writer_(backend, base_table), criteria_(&fields_) {
    std::string text = sql;
    if (!base_table.empty()) text = "SELECT " + QuoteName(base_table) + ".rowid, " + sql.substr(7);
    int first = base_table.empty() ? 0 : 1;
    auto stmt = backend_->db().PrepareOnce(text);
    sqlite3_stmt* raw = stmt->raw();
    int columns = stmt->Columns();
    const TableInfo* base = nullptr;
    if (!base_table.empty()) base = &backend_->Table(base_table);
    for (int c = first; c < columns; ++c) {
      FieldInfo f;
      f.name = sqlite3_column_name(raw, c);
      f.type = 0;
      const char* origin = sqlite3_column_origin_name(raw, c);
      const char* table = sqlite3_column_table_name(raw, c);
      if (origin && table) {
        try {
          const TableInfo& info = backend_->Table(table);
          int i = FindByName(info.fields, origin);
          if (i >= 0) {
            std::string alias = f.name;
            f = info.fields[static_cast<size_t>(i)];
            f.name = alias;
          }
        } catch (const Error&) {
        }
        // Writable only through columns of the base table itself.
        if (base && SameName(table, base->name))
          base_columns_.push_back(origin);
        else
          base_columns_.push_back("");
      } else {
        base_columns_.push_back("");
        if (f.name.find_first_of("(\" '") != std::string::npos) {
          f.name = "Expr" + std::to_string(1000 + c - first);
        }
      }
      // A computed column has the type the translator gave it.
      size_t k = static_cast<size_t>(c - first);
      if (column_types.size() == static_cast<size_t>(columns - first) && column_types[k] != 0) {
        f.type = column_types[k];
        f.size = DefaultFieldSize(f.type);
      }
      fields_.push_back(f);
    }
    bool typed = false;
    while (stmt->Step()) {
      if (!typed) {
        for (int c = first; c < columns; ++c) {
          FieldInfo& f = fields_[static_cast<size_t>(c - first)];
          if (f.type != 0) continue;
          int stored = sqlite3_column_type(raw, c);
          f.type = stored == SQLITE_INTEGER ? kLong
                   : stored == SQLITE_FLOAT ? kDouble
                   : stored == SQLITE_BLOB  ? kLongBinary
                                            : kText;
          f.size = DefaultFieldSize(f.type);
        }
        typed = true;
      }
      std::vector<Variant> row;
      std::optional<Error> failed;
      for (int c = first; c < columns; ++c) {
        if (sqlite3_column_type(raw, c) == SQLITE_BLOB) {
          const void* p = sqlite3_column_blob(raw, c);
          size_t n = static_cast<size_t>(sqlite3_column_bytes(raw, c));
          if (jet::IsErrorValue(p, n)) {
            if (!failed) failed = jet::ParseErrorValue(p, n);
            row.push_back(Variant::Null());
            continue;
          }
        }
        row.push_back(stmt->Value(c, fields_[static_cast<size_t>(c - first)].type));
      }
      rows_.push_back(std::move(row));
      row_errors_.push_back(std::move(failed));
      rowids_.push_back(first ? stmt->Int(0) : static_cast<int64_t>(rows_.size()));
      deleted_.push_back(false);
    }
    for (FieldInfo& f : fields_) {
      if (f.type == 0) {
        f.type = kText;
        f.size = DefaultFieldSize(kText);
      }
    }
    writable_ = !base_table.empty();
    for (size_t i = 0; i < fields_.size(); ++i) write_fields_.push_back(fields_[i]);
    for (size_t i = 0; i < write_fields_.size(); ++i) {
      if (!base_columns_[i].empty()) write_fields_[i].name = base_columns_[i];
    }
  }
  ~QueryCursor() override { UnlockRow(); }

  const std::vector<FieldInfo>& fields() const override { return fields_; }
  bool updatable() const override { return writable_; }

  bool First() override { return Seek(0, +1); }
  bool Last() override { return Seek(static_cast<int64_t>(rows_.size()) - 1, -1); }
  bool Next() override { return Seek(pos_ + 1, +1); }
  bool Previous() override { return pos_ <= 0 ? false : Seek(pos_ - 1, -1); }
  bool GoTo(Bookmark bookmark) override {
    for (size_t i = 0; i < rowids_.size(); ++i) {
      if (rowids_[i] == bookmark && !deleted_[i]) return Seek(static_cast<int64_t>(i), +1);
    }
    return false;
  }

  bool Find(std::string_view criteria, Direction direction) override {
    // The criterion is evaluated by SQLite over the row's values, bound as
    // parameters named after the fields.
    const CriteriaCache::Entry& entry = criteria_.Get(criteria);
    const std::string& where = entry.where;
    // The row's values are parameters after the criterion's literals.
    int base = static_cast<int>(entry.literals.size()) + 2;
    std::string sql = "SELECT 1 FROM (SELECT ";
    for (size_t i = 0; i < fields_.size(); ++i) {
      sql += (i ? ", ?" : "?") + std::to_string(base + static_cast<int>(i)) + " AS " +
             QuoteName(fields_[i].name);
    }
    sql += ") AS " + QuoteName(writer_.table().empty() ? "Query" : writer_.table()) + " WHERE " +
           where;
    std::unique_ptr<Stmt> stmt;
    try {
      stmt = backend_->db().Prepare(sql);
    } catch (const Error& error) {
      if (error.number() == e::kTooFewParameters) {
        Fail(e::kUnknownFieldInExpression, {std::string(criteria)});
      }
      throw;
    }
    int64_t n = static_cast<int64_t>(rows_.size());
    int64_t start = direction == Direction::kFirst  ? 0
                    : direction == Direction::kLast ? n - 1
                    : direction == Direction::kNext ? pos_ + 1
                                                    : pos_ - 1;
    int step = direction == Direction::kFirst || direction == Direction::kNext ? 1 : -1;
    for (int64_t i = start; i >= 0 && i < n; i += step) {
      if (deleted_[static_cast<size_t>(i)]) continue;
      const std::vector<Variant>& row = rows_[static_cast<size_t>(i)];
      BindLiterals(*stmt, entry.literals);
      for (size_t k = 0; k < row.size(); ++k) {
        stmt->BindAs(base + static_cast<int>(k), row[k], fields_[k].type);
      }
      bool hit = stmt->Step();
      stmt->Reset();
      if (hit) return Seek(i, step);
    }
    return false;
  }

  const std::vector<Variant>& Row() override {
    if (pos_ < 0 || pos_ >= static_cast<int64_t>(rows_.size())) Fail(e::kNoCurrentRecord);
    if (deleted_[static_cast<size_t>(pos_)]) Fail(e::kRecordDeleted);
    const std::optional<Error>& failed = row_errors_[static_cast<size_t>(pos_)];
    if (failed) throw *failed;
    return rows_[static_cast<size_t>(pos_)];
  }
  Bookmark CurrentBookmark() const override {
    return pos_ >= 0 && pos_ < static_cast<int64_t>(rowids_.size())
               ? rowids_[static_cast<size_t>(pos_)]
               : 0;
  }
  int64_t Count() override {
    int64_t n = 0;
    for (bool d : deleted_) n += d ? 0 : 1;
    return n;
  }

  Bookmark Insert(const std::vector<std::optional<Variant>>& values) override {
    CheckWritable();
    int64_t rowid = writer_.Insert(write_fields_, Writable(values));
    std::vector<Variant> row;
    for (size_t i = 0; i < fields_.size(); ++i) {
      row.push_back(i < values.size() && values[i] ? Normalize(*values[i], fields_[i].type)
                                                   : Variant::Null());
    }
    rows_.push_back(std::move(row));
    row_errors_.emplace_back();
    rowids_.push_back(rowid);
    deleted_.push_back(false);
    return rowid;
  }
  void Update(const std::vector<std::optional<Variant>>& values) override {
    CheckWritable();
    Row();
    writer_.Update(rowids_[static_cast<size_t>(pos_)], write_fields_, Writable(values));
    std::vector<Variant>& row = rows_[static_cast<size_t>(pos_)];
    for (size_t i = 0; i < row.size() && i < values.size(); ++i) {
      if (values[i]) row[i] = Normalize(*values[i], fields_[i].type);
    }
  }
  void Delete() override {
    CheckWritable();
    Row();
    bool had_lock = locked_;
    if (!had_lock) LockRow();
    writer_.Delete(rowids_[static_cast<size_t>(pos_)]);
    UnlockRow();
    deleted_[static_cast<size_t>(pos_)] = true;
  }
  void LockRow() override {
    Row();
    if (!writable_ || locked_) return;
    locked_row_ = rowids_[static_cast<size_t>(pos_)];
    writer_.Lock(locked_row_);
    locked_ = true;
  }
  void UnlockRow() override {
    if (!locked_) return;
    writer_.Unlock(locked_row_);
    locked_ = false;
  }
  bool Reload() override {
    if (!writable_) return pos_ >= 0;
    // Read the base table's columns of the row again.
    std::string sql = "SELECT rowid";
    for (const std::string& c : base_columns_) sql += ", " + (c.empty() ? "NULL" : QuoteName(c));
    sql += " FROM " + QuoteName(writer_.table()) + " WHERE rowid = ?1";
    auto stmt = backend_->db().Prepare(sql);
    stmt->BindInt(1, rowids_[static_cast<size_t>(pos_)]);
    if (!stmt->Step()) {
      deleted_[static_cast<size_t>(pos_)] = true;
      return false;
    }
    std::vector<Variant>& row = rows_[static_cast<size_t>(pos_)];
    for (size_t i = 0; i < row.size(); ++i) {
      if (!base_columns_[i].empty()) row[i] = stmt->Value(static_cast<int>(i + 1), fields_[i].type);
    }
    return true;
  }

 private:
  void CheckWritable() const {
    if (!writable_) Fail(e::kReadOnly);
  }
  bool Seek(int64_t i, int step) {
    int64_t n = static_cast<int64_t>(rows_.size());
    while (i >= 0 && i < n && deleted_[static_cast<size_t>(i)]) i += step;
    if (i < 0 || i >= n) return false;
    if (locked_ && i != pos_) UnlockRow();
    pos_ = i;
    return true;
  }
  // Values for columns of the base table only (expressions are not written).
  std::vector<std::optional<Variant>> Writable(const std::vector<std::optional<Variant>>& values) {
    std::vector<std::optional<Variant>> out(values.size());
    for (size_t i = 0; i < values.size() && i < base_columns_.size(); ++i) {
      if (values[i] && !base_columns_[i].empty())
        out[i] = values[i];
      else if (values[i])
        Fail(e::kFieldNotUpdatable);
    }
    return out;
  }
  // The value as the field stores it.
  Variant Normalize(const Variant& v, int type) {
    auto stmt = backend_->db().Prepare("SELECT ?1");
    stmt->BindAs(1, v, type);
    stmt->Step();
    return stmt->Value(0, type);
  }

  SqliteBackend* backend_;
  std::string sql_;
  RowWriter writer_;
  std::vector<FieldInfo> fields_;
  std::vector<FieldInfo> write_fields_;
  std::vector<std::string> base_columns_;
  std::vector<std::vector<Variant>> rows_;
  std::vector<std::optional<Error>> row_errors_;  // a row's failed computed value
  std::vector<int64_t> rowids_;
  std::vector<bool> deleted_;
  CriteriaCache criteria_;
  bool writable_ = false;
  int64_t pos_ = -1;
  bool locked_ = false;
  int64_t locked_row_ = 0;
};

}  // namespace

std::unique_ptr<Cursor> MakeTableCursor(SqliteBackend* backend,
                                        std::shared_ptr<const TableInfo> table, bool writable,
                                        int32_t options) {
  return std::make_unique<TableCursor>(backend, std::move(table), writable, options);
}

std::unique_ptr<Cursor> MakeQueryCursor(SqliteBackend* backend, const std::string& sql,
                                        const std::string& base_table,
                                        const std::vector<int>& column_types) {
  return std::make_unique<QueryCursor>(backend, sql, base_table, column_types);
}

}  // namespace qor::dao::sqlite
