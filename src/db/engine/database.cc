// Database and DBEngine, and the registry of backend providers.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <mutex>

#include "db/engine/jet_lexer.h"
#include "db/engine/odbc/odbc_backend.h"
#include "db/engine/sqlite/sqlite_backend.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"

namespace qor::dao {

namespace {

// The first bytes of the file at path (empty when it cannot be read), by
// which a backend is chosen. Anything but a regular file is refused before a
// byte is read from it: a FIFO or a device would block or never end. Raises
// 3044 for a folder, 3343 for the others.
std::string FileHeader(const std::string& path) {
  if (path.empty()) return "";
  int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) return "";
  struct stat st;
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    ::close(fd);
    if (S_ISDIR(st.st_mode)) Fail(e::kInvalidPath, {path});
    Fail(e::kUnrecognizedFormat, {path});
  }
  char buf[32] = {};
  ssize_t n = ::pread(fd, buf, sizeof buf, 0);
  ::close(fd);
  return n > 0 ? std::string(buf, static_cast<size_t>(n)) : std::string();
}

int32_t NumberOr(const Variant& v, int32_t fallback) {
  return v.IsMissing() || v.IsNull() || v.IsEmpty() ? fallback : vb::CLng(v);
}

std::mutex& ProvidersMutex() {
  static std::mutex mu;
  return mu;
}
std::vector<std::shared_ptr<BackendProvider>>& ProviderList() {
  static auto* list = new std::vector<std::shared_ptr<BackendProvider>>{
      std::make_shared<odbc::OdbcProvider>(), std::make_shared<sqlite::SqliteProvider>()};
  return *list;
}

// Whether a source text is a statement rather than a table or query name.
bool LooksLikeStatement(std::string_view source) {
  try {
    std::vector<jet::Token> tokens = jet::Tokenize(source);
    return tokens.size() > 2 && (tokens[0].IsKeyword("SELECT") ||
                                 tokens[0].IsKeyword("TRANSFORM") || tokens[0].IsSymbol("("));
  } catch (const jet::LexError&) {
    return false;
  }
}

}  // namespace

void RegisterBackendProvider(std::shared_ptr<BackendProvider> provider) {
  std::lock_guard<std::mutex> lock(ProvidersMutex());
  ProviderList().insert(ProviderList().begin(), std::move(provider));
}

std::vector<std::shared_ptr<BackendProvider>> BackendProviders() {
  std::lock_guard<std::mutex> lock(ProvidersMutex());
  return ProviderList();
}

// ---- Database ---------------------------------------------------------------------

Database::Database(std::unique_ptr<Backend> backend)
    : backend_(std::move(backend)), name_(backend_->name()) {}

Database::~Database() {
  try {
    if (backend_) Close();
  } catch (const Error&) {
  }
}

Backend& Database::backend() const {
  if (!backend_) Fail(e::kObjectInvalid);
  return *backend_;
}

const std::string& Database::Name() const { return name_; }
std::string Database::Connect() const { return backend().connect(); }
bool Database::Updatable() const { return !backend().read_only(); }

std::shared_ptr<TableDefs> Database::GetTableDefs() {
  backend();
  if (tabledefs_) return tabledefs_;
  std::weak_ptr<Database> weak = weak_from_this();
  TableDefs::Hooks hooks;
  hooks.sync = [weak] {
    if (auto self = weak.lock()) self->SyncTables();
  };
  hooks.append = [weak](const std::shared_ptr<TableDef>& table) {
    auto self = weak.lock();
    if (!self) Fail(e::kObjectInvalid);
    if (table->StoredDatabase()) Fail(e::kAlreadyInCollection);
    Backend& backend = self->backend();
    backend.CreateTable(table->Info());
    table->Load(backend.ReadTable(table->Name()), weak);
  };
  hooks.remove = [weak](const std::shared_ptr<TableDef>& table) {
    auto self = weak.lock();
    if (!self) Fail(e::kObjectInvalid);
    self->backend().DropTable(table->Name());
  };
  tabledefs_ = std::make_shared<TableDefs>("TableDefs", hooks, e::kItemNotFound, e::kTableExists);
  return tabledefs_;
}

void Database::SyncTables() {
  Backend& b = backend();
  int64_t version = b.CatalogVersion();
  if (tables_loaded_ && version == tables_version_) return;
  std::vector<std::shared_ptr<TableDef>> tables;
  std::weak_ptr<Database> weak = weak_from_this();
  for (const TableInfo& info : b.ReadTables()) {
    auto table = tabledefs_->FindLoaded(info.name);
    if (!table) table = std::make_shared<TableDef>(info.name);
    table->Load(info, weak);
    tables.push_back(table);
  }
  tabledefs_->raw() = std::move(tables);
  tables_loaded_ = true;
  tables_version_ = version;
}

std::shared_ptr<QueryDefs> Database::GetQueryDefs() {
  backend();
  if (querydefs_) return querydefs_;
  std::weak_ptr<Database> weak = weak_from_this();
  QueryDefs::Hooks hooks;
  hooks.sync = [weak] {
    if (auto self = weak.lock()) self->SyncQueries();
  };
  hooks.append = [weak](const std::shared_ptr<QueryDef>& query) {
    auto self = weak.lock();
    if (!self) Fail(e::kObjectInvalid);
    self->backend().SaveQuery(query->info());
    query->Load(query->info(), weak);
  };
  hooks.remove = [weak](const std::shared_ptr<QueryDef>& query) {
    auto self = weak.lock();
    if (!self) Fail(e::kObjectInvalid);
    self->backend().DropQuery(query->Name());
  };
  querydefs_ = std::make_shared<QueryDefs>("QueryDefs", hooks, e::kItemNotFound, e::kObjectExists);
  return querydefs_;
}

void Database::SyncQueries() {
  Backend& b = backend();
  int64_t version = b.CatalogVersion();
  if (queries_loaded_ && version == queries_version_) return;
  std::vector<std::shared_ptr<QueryDef>> queries;
  std::weak_ptr<Database> weak = weak_from_this();
  for (const QueryInfo& info : b.ReadQueries()) {
    auto query = querydefs_->FindLoaded(info.name);
    if (!query) query = std::make_shared<QueryDef>(info.name, info.sql);
    query->Load(info, weak);
    queries.push_back(query);
  }
  querydefs_->raw() = std::move(queries);
  queries_loaded_ = true;
  queries_version_ = version;
}

std::shared_ptr<TableDef> Database::CreateTableDef(const Variant& name, const Variant& attributes,
                                                   const Variant& source_table,
                                                   const Variant& connect) {
  backend();
  return std::make_shared<TableDef>(vb::ConcatText(name), NumberOr(attributes, 0),
                                    vb::ConcatText(source_table), vb::ConcatText(connect));
}

std::shared_ptr<QueryDef> Database::CreateQueryDef(const Variant& name, const Variant& sql) {
  auto query = std::make_shared<QueryDef>(vb::ConcatText(name), vb::ConcatText(sql));
  if (!query->Name().empty()) {
    GetQueryDefs()->Append(query);
  } else {
    query->Load(query->info(), weak_from_this());
  }
  return query;
}

std::shared_ptr<Recordset> Database::OpenRecordset(std::string_view source, const Variant& type,
                                                   const Variant& options,
                                                   const Variant& /*lock_edits*/) {
  Backend& b = backend();
  int t = NumberOr(type, 0);
  int32_t opts = NumberOr(options, 0);
  if (t != 0 && t != kOpenTable && t != kOpenDynaset && t != kOpenSnapshot &&
      t != kOpenForwardOnly && t != kOpenDynamic) {
    Fail(e::kInvalidArgument);
  }
  std::unique_ptr<Cursor> cursor;
  std::string name(source);
  if (!(opts & kSQLPassThrough) && !LooksLikeStatement(source)) {
    try {
      cursor = b.OpenTable(source, t == 0 ? kOpenTable : t, opts);
      if (t == 0) t = kOpenTable;
    } catch (const Error& error) {
      if (error.number() != e::kInputTableNotFound) throw;
    }
    if (!cursor) {
      auto query = GetQueryDefs()->Find(source);
      if (!query) Fail(e::kInputTableNotFound, {std::string(source)});
      if (t == kOpenTable) Fail(e::kInvalidOperation);
      if (t == 0) t = kOpenDynaset;
      cursor = b.OpenQuery(query->SQL(), t, opts);
    }
  } else {
    if (t == kOpenTable) Fail(e::kInvalidOperation);
    if (t == 0) t = kOpenDynaset;
    cursor = b.OpenQuery(source, t, opts);
  }
  auto rs = std::make_shared<Recordset>(weak_from_this(), std::move(cursor), name, t);
  Track(rs);
  return rs;
}

void Database::Track(const std::shared_ptr<Recordset>& recordset) {
  std::erase_if(recordsets_, [](const std::weak_ptr<Recordset>& r) { return r.expired(); });
  recordsets_.push_back(recordset);
}

int32_t Database::ExecuteCounted(std::string_view sql, int32_t options) {
  Backend& b = backend();
  std::string text(sql);
  if (!(options & kSQLPassThrough) && !LooksLikeStatement(sql)) {
    if (auto query = GetQueryDefs()->Find(sql)) text = query->SQL();
  }
  records_affected_ = static_cast<int32_t>(b.Execute(text, options));
  return records_affected_;
}

void Database::Execute(std::string_view sql, const Variant& options) {
  ExecuteCounted(sql, NumberOr(options, 0));
}

void Database::Close() {
  backend();
  for (const auto& weak : recordsets_) {
    if (auto rs = weak.lock()) rs->Invalidate();
  }
  recordsets_.clear();
  backend_->Close();
  backend_.reset();
}

std::vector<PropertyInfo>& Database::UserProperties() {
  if (!properties_loaded_) {
    properties_ = backend().ReadDatabaseProperties();
    properties_loaded_ = true;
  }
  return properties_;
}

void Database::StoreProperty(const PropertyInfo& property) {
  backend().SaveProperty({ObjectKey::Kind::kDatabase, "", ""}, property);
}

void Database::UnstoreProperty(std::string_view name) {
  backend().RemoveProperty({ObjectKey::Kind::kDatabase, "", ""}, name);
}

std::vector<std::string> Database::BuiltInNames() const {
  return {"Name",           "Connect",         "Updatable",   "Version",
          "CollatingOrder", "RecordsAffected", "Transactions"};
}

Variant Database::GetBuiltIn(std::string_view name) {
  if (SameName(name, "Name")) return Variant(name_);
  if (SameName(name, "Connect")) return Variant(Connect());
  if (SameName(name, "Updatable")) return Variant(Updatable());
  if (SameName(name, "Version")) return Variant("4.0");
  if (SameName(name, "CollatingOrder")) return Long(1033);
  if (SameName(name, "RecordsAffected")) return Long(records_affected_);
  if (SameName(name, "Transactions")) return Variant(true);
  Fail(e::kPropertyNotFound);
}

void Database::SetBuiltIn(std::string_view, const Variant&) { Fail(e::kInvalidOperation); }

// ---- DBEngine -------------------------------------------------------------------------

std::shared_ptr<DBEngine> DBEngine::Get() {
  static auto* engine = new std::shared_ptr<DBEngine>(std::make_shared<DBEngine>());
  RegisterEngineErrors();
  return *engine;
}

std::shared_ptr<Database> DBEngine::OpenDatabase(std::string_view name, const Variant& options,
                                                 const Variant& read_only, const Variant& connect) {
  RegisterEngineErrors();
  OpenRequest request;
  request.name = std::string(name);
  request.connect = vb::ConcatText(connect);
  if (options.IsBoolean()) {
    request.exclusive = options.AsBoolean();
  } else if (options.IsNumber()) {
    request.exclusive = options.NumericValue() == -1;
  }
  request.read_only = !read_only.IsMissing() && !read_only.IsNull() && vb::CBool(read_only);
  if (request.name.empty() && request.connect.empty()) Fail(e::kFileNotFound, {""});
  const std::string header = FileHeader(request.name);
  for (const auto& provider : BackendProviders()) {
    if (!provider->Accepts(request, header)) continue;
    auto db = std::make_shared<Database>(provider->Open(request));
    std::erase_if(databases_, [](const std::weak_ptr<Database>& d) { return d.expired(); });
    databases_.push_back(db);
    return db;
  }
  if (vb::UCase(request.connect).rfind("ODBC", 0) == 0) {
    Fail(e::kOdbcConnectFailed, {request.name});
  }
  if (header.empty()) Fail(e::kFileNotFound, {request.name});
  Fail(e::kUnrecognizedFormat, {request.name});
}

std::shared_ptr<Database> DBEngine::CreateDatabase(std::string_view name, std::string_view locale,
                                                   const Variant& /*options*/) {
  RegisterEngineErrors();
  auto db = std::make_shared<Database>(sqlite::SqliteBackend::Create(std::string(name), locale));
  databases_.push_back(db);
  return db;
}

bool RemoveDatabaseFiles(const std::string& path) {
  return sqlite::SqliteBackend::RemoveFiles(path);
}

std::vector<std::shared_ptr<Database>> DBEngine::OpenDatabases() {
  std::vector<std::shared_ptr<Database>> open;
  for (const auto& weak : databases_) {
    auto db = weak.lock();
    if (db && db->IsOpen()) open.push_back(db);
  }
  return open;
}

void DBEngine::Idle(const Variant& /*action*/) {
  for (const auto& db : OpenDatabases()) db->backend().Idle();
}

void DBEngine::BeginTrans() {
  for (const auto& db : OpenDatabases()) db->backend().BeginTrans();
}

void DBEngine::CommitTrans() {
  for (const auto& db : OpenDatabases()) db->backend().CommitTrans();
}

void DBEngine::Rollback() {
  for (const auto& db : OpenDatabases()) db->backend().Rollback();
}

}  // namespace qor::dao
