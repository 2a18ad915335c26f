#include "db/engine/sqlite/sqlite_backend.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "db/engine/jet_sql.h"
#include "db/engine/sqlite/jet_collation.h"
#include "db/engine/sqlite/sqlite_catalog.h"
#include "db/engine/sqlite/sqlite_cursor.h"
#include "db/engine/sqlite/sqlite_functions.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"

namespace qor::dao::sqlite {

using jet::QuoteName;
using jet::QuoteText;

namespace {

constexpr std::string_view kHeader("SQLite format 3\0", 16);

const char* const kCatalog =
    "CREATE TABLE IF NOT EXISTS MSysObjects(Name TEXT COLLATE NOCASE PRIMARY KEY,"
    " Kind TEXT NOT NULL, Attributes INTEGER DEFAULT 0, ValidationRule TEXT, ValidationText TEXT,"
    " Connect TEXT, SourceTable TEXT, SQL TEXT, DateCreate TEXT, DateUpdate TEXT);"
    "CREATE TABLE IF NOT EXISTS MSysColumns(TableName TEXT COLLATE NOCASE, Name TEXT COLLATE"
    " NOCASE, Position INTEGER, Type INTEGER, Size INTEGER, Attributes INTEGER, Required INTEGER,"
    " AllowZeroLength INTEGER, DefaultValue TEXT, ValidationRule TEXT, ValidationText TEXT,"
    " Seed INTEGER DEFAULT 1, PRIMARY KEY(TableName, Name));"
    "CREATE TABLE IF NOT EXISTS MSysIndexes(TableName TEXT COLLATE NOCASE, Name TEXT COLLATE"
    " NOCASE, Position INTEGER, IsPrimary INTEGER, IsUnique INTEGER, IgnoreNulls INTEGER,"
    " Fields TEXT, PRIMARY KEY(TableName, Name));"
    "CREATE TABLE IF NOT EXISTS MSysProperties(Kind TEXT, TableName TEXT COLLATE NOCASE,"
    " ObjectName TEXT COLLATE NOCASE, Name TEXT COLLATE NOCASE, Type INTEGER, Value,"
    " Position INTEGER, PRIMARY KEY(Kind, TableName, ObjectName, Name));";

// The tables a database shows (SQLite's own left out), each with whether
// the catalog describes it.
constexpr const char* kTablesSql =
    "SELECT s.name, o.Name IS NOT NULL FROM sqlite_schema s LEFT JOIN MSysObjects o"
    " ON o.Name = s.name AND o.Kind = 'T' WHERE s.type = 'table' AND s.name NOT LIKE"
    " 'sqlite!_%' ESCAPE '!'";

// The application id that marks a file as ours ("QORD").
constexpr int kApplicationId = 0x514F5244;

std::string Upper(std::string_view s) { return vb::UCase(s); }

// A DAO type for a column that the catalog does not describe.
int TypeFromDeclared(std::string_view declared) {
  std::string t = Upper(declared);
  if (t.find("INT") != std::string::npos) return kLong;
  if (t.find("CHAR") != std::string::npos || t.find("CLOB") != std::string::npos) return kMemo;
  if (t.find("TEXT") != std::string::npos) return kMemo;
  if (t.find("BLOB") != std::string::npos || t.empty()) return kLongBinary;
  if (t.find("REAL") != std::string::npos || t.find("FLOA") != std::string::npos ||
      t.find("DOUB") != std::string::npos) {
    return kDouble;
  }
  if (t.find("DATE") != std::string::npos || t.find("TIME") != std::string::npos) return kDate;
  if (t.find("BOOL") != std::string::npos) return kBoolean;
  return kDouble;
}

// The fields of the database's tables, for the translator's typing.
class BackendCatalog : public jet::Catalog {
 public:
  explicit BackendCatalog(SqliteBackend* backend) : backend_(backend) {}
  const std::vector<FieldInfo>* Fields(std::string_view table) override {
    try {
      return &backend_->Table(table).fields;
    } catch (const Error&) {
      return nullptr;
    }
  }

 private:
  SqliteBackend* backend_;
};

// Runs f; SQL nested beyond what SQLite's parser holds is a syntax error in
// the statement (the translator keeps to that, pass-through SQL need not).
template <typename F>
auto TooDeepIsSyntaxError(std::string_view sql, F f) -> decltype(f()) {
  try {
    return f();
  } catch (const Error& error) {
    const std::string& d = error.description();
    if (error.number() == 3000 && (d.find("parser stack overflow") != std::string::npos ||
                                   d.find("Expression tree is too large") != std::string::npos)) {
      Fail(e::kSyntaxInQuery, {std::string(sql)});
    }
    throw;
  }
}

}  // namespace

namespace {

bool IsCatalogTable(const char* name) {
  return name != nullptr && sqlite3_strnicmp(name, "MSys", 4) == 0;
}

// SQLite's authorizer while user SQL is prepared: the catalog is read-only
// to it. The catalog's own triggers (trigger is set) keep their writes.
int GuardCatalog(void* active, int action, const char* a, const char* b, const char* /*db*/,
                 const char* trigger) {
  if (!*static_cast<bool*>(active) || trigger != nullptr) return SQLITE_OK;
  switch (action) {
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
    case SQLITE_DELETE:
    case SQLITE_DROP_TABLE:
      return IsCatalogTable(a) ? SQLITE_DENY : SQLITE_OK;
    case SQLITE_ALTER_TABLE:
    case SQLITE_CREATE_INDEX:
    case SQLITE_DROP_INDEX:
    case SQLITE_CREATE_TRIGGER:
    case SQLITE_DROP_TRIGGER:
      return IsCatalogTable(b) ? SQLITE_DENY : SQLITE_OK;
    default:
      return SQLITE_OK;
  }
}

// Marks the statements prepared and run in its lifetime as the user's.
class UserSql {
 public:
  explicit UserSql(bool* flag) : flag_(flag) { *flag_ = true; }
  ~UserSql() { *flag_ = false; }
  UserSql(const UserSql&) = delete;
  UserSql& operator=(const UserSql&) = delete;

 private:
  bool* flag_;
};

}  // namespace

// ---- Opening ---------------------------------------------------------------------

SqliteBackend::SqliteBackend(std::string path, std::unique_ptr<Db> db, bool read_only)
    : path_(std::move(path)), db_(std::move(db)), read_only_(read_only) {}

SqliteBackend::~SqliteBackend() { Close(); }

std::unique_ptr<SqliteBackend> SqliteBackend::Open(const OpenRequest& request) {
  RegisterEngineErrors();
  const std::string& path = request.name;
  struct stat st;
  if (::stat(path.c_str(), &st) != 0) {
    if (errno == ENOTDIR) Fail(e::kInvalidPath, {path});
    std::string dir =
        path.substr(0, path.find_last_of('/') == std::string::npos ? 0 : path.find_last_of('/'));
    if (!dir.empty() && ::access(dir.c_str(), F_OK) != 0) Fail(e::kInvalidPath, {path});
    Fail(e::kFileNotFound, {path});
  }
  if (S_ISDIR(st.st_mode)) Fail(e::kInvalidPath, {path});
  if (!S_ISREG(st.st_mode)) Fail(e::kUnrecognizedFormat, {path});  // a FIFO would block
  if (::access(path.c_str(), R_OK) != 0) Fail(e::kNoPermission, {path});
  {
    std::ifstream in(path, std::ios::binary);
    char header[16] = {};
    in.read(header, sizeof header);
    if (in.gcount() != 16 || std::string_view(header, 16) != kHeader) {
      Fail(e::kUnrecognizedFormat, {path});
    }
  }
  // A file without write permission bits is read-only also for root.
  bool read_only = request.read_only || ::access(path.c_str(), W_OK) != 0 ||
                   (st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
  int flags = (read_only ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE) | SQLITE_OPEN_NOMUTEX;
  std::unique_ptr<Db> db;
  try {
    db = std::make_unique<Db>(path, flags);
  } catch (const Error&) {
    Fail(e::kNoPermission, {path});
  }
  std::unique_ptr<SqliteBackend> backend(new SqliteBackend(path, std::move(db), read_only));
  if (!read_only) {
    backend->locks_ = std::make_unique<LockFile>(path);
    if (!backend->locks_->LockDatabase(request.exclusive)) Fail(e::kFileInUse, {path});
  }
  try {
    backend->Prepare(false);
  } catch (const Error& error) {
    if (error.number() == e::kUnrecognizedFormat) Fail(e::kUnrecognizedFormat, {path});
    throw;
  }
  return backend;
}

std::unique_ptr<SqliteBackend> SqliteBackend::Create(const std::string& path,
                                                     std::string_view locale) {
  RegisterEngineErrors();
  if (!locale.empty() && vb::UCase(locale).find(";LANGID=") == std::string::npos) {
    Fail(e::kInvalidArgument);
  }
  if (::access(path.c_str(), F_OK) == 0) Fail(e::kDatabaseExists);
  size_t slash = path.find_last_of('/');
  std::string dir = slash == std::string::npos ? "." : path.substr(0, slash);
  if (dir.empty()) dir = "/";
  if (::access(dir.c_str(), F_OK) != 0) Fail(e::kInvalidPath, {path});
  if (::access(dir.c_str(), W_OK) != 0) Fail(e::kNoPermission, {path});
  auto db = std::make_unique<Db>(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE |
                                           SQLITE_OPEN_EXCLUSIVE | SQLITE_OPEN_NOMUTEX);
  std::unique_ptr<SqliteBackend> backend(new SqliteBackend(path, std::move(db), false));
  backend->locks_ = std::make_unique<LockFile>(path);
  backend->locks_->LockDatabase(false);
  try {
    backend->Prepare(true);
  } catch (...) {
    backend->Close();
    RemoveFiles(path);
    throw;
  }
  return backend;
}

bool SqliteBackend::RemoveFiles(const std::string& path) {
  std::error_code error;
  std::filesystem::remove(path, error);
  const bool gone = !error;
  for (const std::string& beside :
       {path + "-journal", path + "-wal", path + "-shm", LockFile::PathFor(path)}) {
    std::filesystem::remove(beside, error);
  }
  return gone;
}

void SqliteBackend::Prepare(bool create) {
  InstallJetCollation();
  RegisterFunctions(db_->raw());
  // "x" is always a name, never a string that stands in for a missing one.
  sqlite3_db_config(db_->raw(), SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
  sqlite3_db_config(db_->raw(), SQLITE_DBCONFIG_DQS_DDL, 0, nullptr);
  sqlite3_busy_timeout(db_->raw(), 0);
  sqlite3_set_authorizer(db_->raw(), GuardCatalog, &user_sql_);
  // Validate the file before anything else touches it.
  db_->Exec("SELECT count(*) FROM sqlite_schema");
  if (create) {
    db_->Exec("PRAGMA journal_mode=WAL; PRAGMA application_id=" + std::to_string(kApplicationId));
    EnsureCatalog();
  } else if (!read_only_) {
    db_->Exec("PRAGMA journal_mode=WAL");
    EnsureCatalog();
  }
}

void SqliteBackend::EnsureCatalog() {
  auto stmt = db_->Prepare("SELECT count(*) FROM sqlite_schema WHERE name='MSysProperties'");
  stmt->Step();
  if (stmt->Int(0) == 0) {
    stmt.reset();
    db_->Exec(std::string("BEGIN IMMEDIATE;") + kCatalog + "COMMIT;");
  }
}

void SqliteBackend::Close() {
  if (!db_) return;
  if (in_transaction_) {
    try {
      db_->Exec("ROLLBACK");
    } catch (const Error&) {
    }
  }
  db_.reset();
  locks_.reset();
}

void SqliteBackend::CheckWritable() const {
  if (read_only_) Fail(e::kReadOnly);
}

void SqliteBackend::Idle() {
  // Statements are reset after every use, so each read sees the newest
  // committed data; only the catalog cache needs a look.
  if (CatalogVersion() != cached_version_) cache_valid_ = false;
}

// ---- Transactions ------------------------------------------------------------------

void SqliteBackend::BeginTrans() {
  if (in_transaction_) Fail(e::kInvalidOperation);
  db_->Exec("BEGIN");
  in_transaction_ = true;
}

void SqliteBackend::CommitTrans() {
  if (!in_transaction_) Fail(e::kInvalidOperation);
  db_->Exec("COMMIT");
  in_transaction_ = false;
}

void SqliteBackend::Rollback() {
  if (!in_transaction_) Fail(e::kInvalidOperation);
  db_->Exec("ROLLBACK");
  in_transaction_ = false;
  cache_valid_ = false;
}

void SqliteBackend::Atomically(const std::function<void()>& fn) {
  CheckWritable();
  db_->Exec("SAVEPOINT qor_ddl");
  try {
    fn();
    BumpCatalogVersion();
    db_->Exec("RELEASE qor_ddl");
  } catch (...) {
    try {
      db_->Exec("ROLLBACK TO qor_ddl; RELEASE qor_ddl");
    } catch (const Error&) {
    }
    db_->ClearCache();
    cache_valid_ = false;
    throw;
  }
  db_->ClearCache();
  Touch();
}

void SqliteBackend::Touch() { cache_valid_ = false; }

void SqliteBackend::BumpCatalogVersion() {
  // Other connections notice property changes, which leave SQLite's own
  // schema version alone, by the user version.
  int64_t version = 0;
  {
    auto stmt = db_->Prepare("SELECT user_version FROM pragma_user_version");
    stmt->Step();
    version = stmt->Int(0);
  }
  db_->Exec("PRAGMA user_version = " + std::to_string((version + 1) % 0x7fffffff));
}

// ---- Reading the catalog ------------------------------------------------------------

int64_t SqliteBackend::CatalogVersion() {
  auto stmt = db_->Prepare(
      "SELECT schema_version, user_version FROM pragma_schema_version,"
      " pragma_user_version");
  stmt->Step();
  return (stmt->Int(0) << 32) + stmt->Int(1);
}

TableInfo SqliteBackend::Describe(const std::string& name, bool in_catalog) {
  TableInfo t;
  t.name = name;
  if (!in_catalog) {
    if (Upper(name).rfind("MSYS", 0) == 0) t.attributes = kSystemObject;
    auto cols = db_->PrepareOnce("SELECT name, type, cid FROM pragma_table_info(?1)");
    cols->BindText(1, name);
    while (cols->Step()) {
      FieldInfo f;
      f.name = cols->Text(0);
      f.type = TypeFromDeclared(cols->Text(1));
      f.size = DefaultFieldSize(f.type);
      f.ordinal_position = static_cast<int32_t>(cols->Int(2));
      f.allow_zero_length = IsTextType(f.type);
      t.fields.push_back(f);
    }
    auto idx = db_->PrepareOnce(
        "SELECT name, \"unique\", origin FROM pragma_index_list(?1) ORDER BY name");
    idx->BindText(1, name);
    while (idx->Step()) {
      IndexInfo ix;
      ix.name = idx->Text(0);
      ix.unique = idx->Int(1) != 0;
      ix.primary = idx->Text(2) == "pk";
      auto info = db_->PrepareOnce("SELECT name, desc FROM pragma_index_xinfo(?1) WHERE key");
      info->BindText(1, ix.name);
      while (info->Step()) {
        ix.fields.push_back({info->Text(0), info->Int(1) ? kDescending : 0});
      }
      t.indexes.push_back(ix);
    }
    return t;
  }
  auto obj = db_->Prepare(
      "SELECT Name, Attributes, ValidationRule, ValidationText, Connect,"
      " SourceTable FROM MSysObjects WHERE Name = ?1 AND Kind = 'T'");
  obj->BindText(1, name);
  if (obj->Step()) {
    t.name = obj->Text(0);
    t.attributes = static_cast<int32_t>(obj->Int(1));
    t.validation_rule = obj->Text(2);
    t.validation_text = obj->Text(3);
    t.connect = obj->Text(4);
    t.source_table_name = obj->Text(5);
  }
  obj.reset();
  auto cols = db_->Prepare(
      "SELECT Name, Type, Size, Attributes, Required, AllowZeroLength, DefaultValue,"
      " ValidationRule, ValidationText, Position FROM MSysColumns WHERE TableName = ?1"
      " ORDER BY Position");
  cols->BindText(1, name);
  while (cols->Step()) {
    FieldInfo f;
    f.name = cols->Text(0);
    f.type = static_cast<int>(cols->Int(1));
    f.size = static_cast<int32_t>(cols->Int(2));
    f.attributes = static_cast<int32_t>(cols->Int(3));
    f.required = cols->Int(4) != 0;
    f.allow_zero_length = cols->Int(5) != 0;
    f.default_value = cols->Text(6);
    f.validation_rule = cols->Text(7);
    f.validation_text = cols->Text(8);
    f.ordinal_position = static_cast<int32_t>(cols->Int(9));
    t.fields.push_back(f);
  }
  cols.reset();
  auto idx = db_->Prepare(
      "SELECT Name, IsPrimary, IsUnique, IgnoreNulls, Fields FROM MSysIndexes"
      " WHERE TableName = ?1 ORDER BY Position");
  idx->BindText(1, name);
  while (idx->Step()) {
    IndexInfo ix;
    ix.name = idx->Text(0);
    ix.primary = idx->Int(1) != 0;
    ix.unique = idx->Int(2) != 0;
    ix.ignore_nulls = idx->Int(3) != 0;
    ix.fields = DecodeIndexFields(idx->Text(4));
    t.indexes.push_back(ix);
  }
  idx.reset();
  auto props = db_->Prepare(
      "SELECT Kind, ObjectName, Name, Type, Value FROM MSysProperties"
      " WHERE TableName = ?1 AND Kind IN ('T','F','I') ORDER BY Position");
  props->BindText(1, name);
  while (props->Step()) {
    PropertyInfo p;
    p.name = props->Text(2);
    p.type = static_cast<int>(props->Int(3));
    p.value = props->Value(4, p.type);
    std::string kind = props->Text(0), owner = props->Text(1);
    if (kind == "T") {
      t.properties.push_back(p);
    } else if (kind == "F") {
      int i = FindByName(t.fields, owner);
      if (i >= 0) t.fields[static_cast<size_t>(i)].properties.push_back(p);
    } else {
      int i = FindByName(t.indexes, owner);
      if (i >= 0) t.indexes[static_cast<size_t>(i)].properties.push_back(p);
    }
  }
  return t;
}

std::vector<TableInfo> SqliteBackend::ReadTables() {
  cached_version_ = CatalogVersion();
  std::vector<std::pair<std::string, bool>> names;
  {
    auto stmt = db_->Prepare(std::string(kTablesSql) + " ORDER BY s.name COLLATE NOCASE");
    while (stmt->Step()) names.emplace_back(stmt->Text(0), stmt->Int(1) != 0);
  }
  std::vector<TableInfo> tables;
  table_cache_.clear();
  for (const auto& [name, in_catalog] : names) {
    tables.push_back(Describe(name, in_catalog));
    table_cache_[Upper(name)] = std::make_shared<const TableInfo>(tables.back());
  }
  cache_valid_ = true;
  cache_complete_ = true;
  return tables;
}

uint32_t SqliteBackend::DataVersion() {
  unsigned int version = 0;
  sqlite3_file_control(db_->raw(), "main", SQLITE_FCNTL_DATA_VERSION, &version);
  return version;
}

bool SqliteBackend::CatalogCurrent() {
  if (!cache_valid_) return false;
  if (seen_valid_ && DataVersion() == seen_data_version_) return true;
  if (CatalogVersion() != cached_version_) return false;
  seen_data_version_ = DataVersion();
  seen_valid_ = true;
  return true;
}

const TableInfo& SqliteBackend::Table(std::string_view name) { return *SharedTable(name); }

std::shared_ptr<const TableInfo> SqliteBackend::SharedTable(std::string_view name) {
  const int64_t version = CatalogVersion();
  if (!cache_valid_ || version != cached_version_) {
    // A new cache for this version, filled as tables are asked for: after
    // a change to one table only that one is read again.
    table_cache_.clear();
    cache_complete_ = false;
    cached_version_ = version;
    cache_valid_ = true;
  }
  seen_data_version_ = DataVersion();
  seen_valid_ = true;
  const std::string key = Upper(name);
  if (auto it = table_cache_.find(key); it != table_cache_.end()) return it->second;
  if (!cache_complete_) {
    auto stmt = db_->Prepare(std::string(kTablesSql) + " AND s.name = ?1 COLLATE NOCASE");
    stmt->BindText(1, name);
    if (stmt->Step()) {
      const std::string real = stmt->Text(0);
      const bool in_catalog = stmt->Int(1) != 0;
      stmt.reset();
      auto info = std::make_shared<const TableInfo>(Describe(real, in_catalog));
      return table_cache_[Upper(real)] = std::move(info);
    }
    stmt.reset();
    // SQLite's NOCASE folds ASCII letters only; other names are looked up
    // as the full read keys them.
    bool ascii = true;
    for (unsigned char c : name) ascii = ascii && c < 0x80;
    if (!ascii) {
      ReadTables();
      if (auto it = table_cache_.find(key); it != table_cache_.end()) return it->second;
    }
  }
  Fail(e::kInputTableNotFound, {std::string(name)});
}

std::shared_ptr<const TableInfo> SqliteBackend::TableFromCache(std::string_view name) {
  if (!cache_valid_ || !seen_valid_ || DataVersion() != seen_data_version_) {
    return SharedTable(name);
  }
  auto it = table_cache_.find(Upper(name));
  if (it == table_cache_.end()) return SharedTable(name);
  return it->second;
}

std::vector<QueryInfo> SqliteBackend::ReadQueries() {
  std::vector<QueryInfo> queries;
  auto stmt = db_->Prepare("SELECT Name, SQL FROM MSysObjects WHERE Kind = 'Q' ORDER BY Name");
  while (stmt->Step()) queries.push_back({stmt->Text(0), stmt->Text(1), {}});
  stmt.reset();
  for (QueryInfo& q : queries) {
    auto props = db_->Prepare(
        "SELECT Name, Type, Value FROM MSysProperties WHERE Kind = 'Q'"
        " AND TableName = ?1 ORDER BY Position");
    props->BindText(1, q.name);
    while (props->Step()) {
      int type = static_cast<int>(props->Int(1));
      q.properties.push_back({props->Text(0), type, props->Value(2, type)});
    }
  }
  return queries;
}

std::vector<PropertyInfo> SqliteBackend::ReadDatabaseProperties() {
  std::vector<PropertyInfo> out;
  auto props = db_->Prepare(
      "SELECT Name, Type, Value FROM MSysProperties WHERE Kind = 'D' ORDER BY Position");
  while (props->Step()) {
    int type = static_cast<int>(props->Int(1));
    out.push_back({props->Text(0), type, props->Value(2, type)});
  }
  return out;
}

// ---- Statements and cursors ---------------------------------------------------------

int64_t SqliteBackend::Execute(std::string_view sql, int32_t options) {
  std::string text;
  if (options & kSQLPassThrough) {
    text = std::string(sql);
  } else {
    BackendCatalog catalog(this);
    jet::Statement st = jet::TranslateStatement(sql, &catalog);
    if (st.kind == jet::StatementKind::kSelect) Fail(e::kInvalidOperation);
    text = st.sql;
  }
  CheckWritable();
  // Inside a transaction the statement's changes (DDL too) leave the data
  // version alone until the commit: the next lookup compares versions.
  seen_valid_ = false;
  UserSql user(&user_sql_);
  return TooDeepIsSyntaxError(sql, [&] {
    auto stmt = db_->PrepareOnce(text);
    stmt->Run();
    return db_->Changes();
  });
}

std::unique_ptr<Cursor> SqliteBackend::OpenTable(std::string_view table, int type,
                                                 int32_t options) {
  std::shared_ptr<const TableInfo> info = TableFromCache(table);
  bool writable =
      !read_only_ && type != kOpenSnapshot && type != kOpenForwardOnly && !(options & kReadOnly);
  if (locks_ && !locks_->TableFree(info->name, false)) {
    Fail(e::kTableLockedByUser, {info->name, "Admin", "this machine"});
  }
  return MakeTableCursor(this, std::move(info), writable, options);
}

std::unique_ptr<Cursor> SqliteBackend::OpenQuery(std::string_view sql, int type, int32_t options) {
  jet::Statement st;
  if (options & kSQLPassThrough) {
    st.sql = std::string(sql);
  } else {
    BackendCatalog catalog(this);
    st = jet::TranslateStatement(sql, &catalog);
    if (st.kind != jet::StatementKind::kSelect) Fail(e::kInvalidOperation);
  }
  bool writable =
      !read_only_ && type == kOpenDynaset && !(options & kReadOnly) && !st.single_table.empty();
  UserSql user(&user_sql_);
  return TooDeepIsSyntaxError(sql, [&] {
    return MakeQueryCursor(this, st.sql, writable ? st.single_table : "", st.column_types);
  });
}

Variant SqliteBackend::Evaluate(std::string_view expression, int type) {
  std::string text(expression);
  if (!text.empty() && text.front() == '=') text.erase(0, 1);
  auto stmt = db_->PrepareOnce("SELECT " + jet::TranslateValue(text));
  stmt->Step();
  return stmt->Value(0, type);
}

bool SqliteBackend::AttachCopySource(const std::string& source_path) {
  if (read_only_ || in_transaction_ || !copy_schema_.empty()) return false;
  std::error_code error;
  if (std::filesystem::equivalent(source_path, path_, error)) {
    copy_schema_ = "main";
    return true;
  }
  try {
    auto attach = db_->PrepareOnce("ATTACH DATABASE ?1 AS qor_copy_source");
    attach->BindText(1, source_path);
    attach->Run();
  } catch (const Error&) {
    return false;
  }
  copy_schema_ = "qor_copy_source";
  return true;
}

void SqliteBackend::DetachCopySource() {
  if (copy_schema_ == "qor_copy_source") {
    try {
      db_->Exec("DETACH DATABASE qor_copy_source");
    } catch (const Error&) {
    }
  }
  copy_schema_.clear();
}

int64_t SqliteBackend::CopyRows(std::string_view source_table, std::string_view dest_table,
                                const std::vector<std::string>& columns,
                                const std::function<void(int64_t)>& progress) {
  constexpr int kChunkRows = 1000;  // rows between two progress calls
  if (read_only_ || copy_schema_.empty() || columns.empty()) return -1;
  std::string list;
  for (const std::string& c : columns) list += (list.empty() ? "" : ", ") + QuoteName(c);
  const std::string from = copy_schema_ + "." + QuoteName(std::string(source_table));
  const std::string chunk = " WHERE rowid > ?1 ORDER BY rowid LIMIT " + std::to_string(kChunkRows);
  // Counters: the trigger that moves a counter's next value on past each
  // row written is set aside for the copy, and the next value moved once
  // after it, in
  // the same transaction (so no other writer ever sees the table without
  // it), unless a source row lacks a value the trigger would give it.
  const TableInfo dest = Table(dest_table);
  std::vector<std::string> counters;
  for (const FieldInfo& f : dest.fields) {
    if ((f.attributes & kAutoIncrField) &&
        std::find(columns.begin(), columns.end(), f.name) != columns.end()) {
      counters.push_back(f.name);
    }
  }
  const std::string counter_trigger = dest.name + ".counter";
  std::string trigger_sql;
  bool begun = false;
  try {
    // Inside the caller's transaction, or a transaction of its own.
    db_->Exec("SAVEPOINT qor_copy");
    begun = true;
    if (!counters.empty()) {
      bool complete = true;
      for (const std::string& c : counters) {
        auto nulls = db_->PrepareOnce("SELECT count(*) FROM " + from + " WHERE " + QuoteName(c) +
                                      " IS NULL");
        nulls->Step();
        complete = complete && nulls->Int(0) == 0;
      }
      auto sql = db_->PrepareOnce(
          "SELECT sql FROM main.sqlite_schema WHERE type = 'trigger' AND name = ?1");
      sql->BindText(1, counter_trigger);
      if (complete && sql->Step()) trigger_sql = sql->Text(0);
    }
    if (!trigger_sql.empty()) db_->Exec("DROP TRIGGER main." + QuoteName(counter_trigger));
    int64_t done = 0;
    {
      // Chunks in rowid order: the rows after the last one copied.
      auto insert = db_->PrepareOnce("INSERT INTO main." + QuoteName(std::string(dest_table)) +
                                     " (" + list + ") SELECT " + list + " FROM " + from + chunk);
      auto next = db_->PrepareOnce("SELECT max(rowid), count(*) FROM (SELECT rowid FROM " + from +
                                   chunk + ")");
      int64_t after = INT64_MIN;
      for (;;) {
        next->BindInt(1, after);
        next->Step();
        const int64_t rows = next->Int(1);
        const int64_t last = next->Int(0);
        next->Reset();
        if (rows == 0) break;
        insert->BindInt(1, after);
        insert->Run();
        insert->Reset();
        done += rows;
        after = last;
        if (progress) progress(done);
      }
    }
    if (!trigger_sql.empty()) {
      for (const std::string& c : counters) {
        db_->Exec("UPDATE MSysColumns SET Seed = max(Seed, coalesce((SELECT max(" + QuoteName(c) +
                  ") FROM main." + QuoteName(dest.name) + "), 0) + 1) WHERE TableName = " +
                  QuoteText(dest.name) + " AND Name = " + QuoteText(c));
      }
      db_->Exec(trigger_sql);
    }
    db_->Exec("RELEASE qor_copy");
    return done;
  } catch (const Error&) {
    UndoCopy(begun);
    return -1;
  } catch (...) {
    UndoCopy(begun);
    throw;
  }
}

void SqliteBackend::UndoCopy(bool begun) {
  if (!begun) return;
  try {
    db_->Exec("ROLLBACK TO qor_copy; RELEASE qor_copy");
  } catch (const Error&) {
  }
}

// ---- Provider -------------------------------------------------------------------------

bool SqliteProvider::Accepts(const OpenRequest& request, std::string_view header) const {
  if (!request.connect.empty() && vb::UCase(request.connect).rfind("ODBC", 0) == 0) return false;
  return header.empty() || header.substr(0, 16) == kHeader;
}

std::unique_ptr<Backend> SqliteProvider::Open(const OpenRequest& request) {
  return SqliteBackend::Open(request);
}

}  // namespace qor::dao::sqlite
