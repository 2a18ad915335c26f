#include "db/engine/odbc/odbc_backend.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "db/engine/odbc/odbc_api.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"

namespace qor::dao::odbc {

namespace {

std::atomic<int> login_timeout{20};
// The seconds a statement may run (DAO's Database.QueryTimeout default).
constexpr intptr_t kQueryTimeout = 60;

SQLCHAR* Chars(const std::string& text) {
  return reinterpret_cast<SQLCHAR*>(const_cast<char*>(text.c_str()));
}

// The keywords after "ODBC;" for the driver manager; the database's name
// stands in for a DSN the connect string lacks.
std::string DriverConnectString(const OpenRequest& request) {
  std::string rest = request.connect.size() > 4 ? request.connect.substr(4) : "";
  while (!rest.empty() && rest.front() == ';') rest.erase(0, 1);
  std::string upper = ";" + vb::UCase(rest);
  bool has_source = false;
  for (const char* key : {";DSN=", ";DRIVER=", ";FILEDSN="}) {
    if (upper.find(key) != std::string::npos) has_source = true;
  }
  if (!has_source && !request.name.empty()) {
    rest = "DSN=" + request.name + (rest.empty() ? "" : ";" + rest);
  }
  return rest;
}

// The name a connection failure names: the DSN when one is given.
std::string SourceName(const OpenRequest& request, const std::string& connect) {
  std::string upper = ";" + vb::UCase(connect);
  size_t at = upper.find(";DSN=");
  if (at == std::string::npos) return request.name;
  size_t end = upper.find(';', at + 1);
  return connect.substr(at + 4, end == std::string::npos ? std::string::npos : end - at - 5);
}

// A snapshot of rows, read in full when the recordset opened.
class SnapshotCursor : public Cursor {
 public:
  explicit SnapshotCursor(Result result) : result_(std::move(result)) {}

  const std::vector<FieldInfo>& fields() const override { return result_.fields; }
  bool updatable() const override { return false; }

  bool First() override { return MoveTo(0); }
  bool Last() override { return MoveTo(static_cast<int64_t>(result_.rows.size()) - 1); }
  bool Next() override { return MoveTo(current_ + 1); }
  bool Previous() override { return MoveTo(current_ - 1); }
  bool GoTo(Bookmark bookmark) override {
    if (!MoveTo(bookmark)) Fail(e::kNotValidBookmark);
    return true;
  }
  bool Find(std::string_view, Direction) override { Fail(e::kNotSupported); }

  const std::vector<Variant>& Row() override {
    if (current_ < 0 || current_ >= static_cast<int64_t>(result_.rows.size())) {
      Fail(e::kNoCurrentRecord);
    }
    return result_.rows[static_cast<size_t>(current_)];
  }
  Bookmark CurrentBookmark() const override { return current_; }
  int64_t Count() override { return static_cast<int64_t>(result_.rows.size()); }

  Bookmark Insert(const std::vector<std::optional<Variant>>&) override { Fail(e::kReadOnly); }
  void Update(const std::vector<std::optional<Variant>>&) override { Fail(e::kReadOnly); }
  void Delete() override { Fail(e::kReadOnly); }
  void LockRow() override {}
  void UnlockRow() override {}
  bool Reload() override { return current_ >= 0; }

 private:
  bool MoveTo(int64_t row) {
    if (row < 0 || row >= static_cast<int64_t>(result_.rows.size())) return false;
    current_ = row;
    return true;
  }

  Result result_;
  int64_t current_ = -1;
};

// A table as the catalog lists it.
struct TableName {
  std::string schema;
  std::string name;
};

class OdbcBackend : public Backend {
 public:
  explicit OdbcBackend(const OpenRequest& request)
      : name_(request.name), connect_(request.connect), read_only_(request.read_only) {
    SQLSetEnvAttr(env_.get(), SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    dbc_ = std::make_unique<Handle>(SQL_HANDLE_DBC, env_.get());
    auto timeout = reinterpret_cast<SQLPOINTER>(static_cast<intptr_t>(LoginTimeout()));
    SQLSetConnectAttr(dbc_->get(), SQL_ATTR_LOGIN_TIMEOUT, timeout, 0);
    SQLSetConnectAttr(dbc_->get(), SQL_ATTR_CONNECTION_TIMEOUT, timeout, 0);
    std::string connect = DriverConnectString(request);
    SQLCHAR out[1024] = {};
    SQLSMALLINT out_length = 0;
    SQLRETURN rc = SQLDriverConnect(dbc_->get(), nullptr, Chars(connect), SQL_NTS, out, sizeof out,
                                    &out_length, SQL_DRIVER_NOPROMPT);
    if (!Ok(rc)) {
      Raise(e::kOdbcConnectFailed, {SourceName(request, connect)}, SQL_HANDLE_DBC, dbc_->get(),
            "DBEngine");
    }
    connected_ = true;
  }

  ~OdbcBackend() override { Close(); }

  const std::string& name() const override { return name_; }
  bool read_only() const override { return read_only_; }
  std::string connect() const override { return connect_; }

  SQLHDBC WritableConnection() {
    if (read_only_) Fail(e::kReadOnly);
    return Dbc().get();
  }

  std::string DbmsName() {
    SQLCHAR text[256] = {};
    SQLSMALLINT length = 0;
    Dbc().Check(SQLGetInfo(Dbc().get(), SQL_DBMS_NAME, text, sizeof text, &length), "Database");
    return reinterpret_cast<const char*>(text);
  }

  std::vector<TableInfo> ReadTables() override {
    std::vector<TableInfo> tables;
    for (const TableName& table : ListTables()) tables.push_back(Describe(table));
    return tables;
  }
  std::vector<QueryInfo> ReadQueries() override { return {}; }
  std::vector<PropertyInfo> ReadDatabaseProperties() override { return {}; }
  TableInfo ReadTable(std::string_view table) override { return Describe(Find(table)); }
  int64_t CatalogVersion() override { return catalog_version_; }

  void CreateTable(const TableInfo&) override { Fail(e::kNotSupported); }
  void DropTable(std::string_view table) override {
    TableName found = Find(table);
    Execute("DROP TABLE " + Qualified(found), kSQLPassThrough);
  }
  void UpdateTable(std::string_view, const TableInfo&) override { Fail(e::kNotSupported); }
  void AddField(std::string_view, const FieldInfo&) override { Fail(e::kNotSupported); }
  void DropField(std::string_view, std::string_view) override { Fail(e::kNotSupported); }
  void UpdateField(std::string_view, std::string_view, const FieldInfo&) override {
    Fail(e::kNotSupported);
  }
  void CreateIndex(std::string_view, const IndexInfo&) override { Fail(e::kNotSupported); }
  void DropIndex(std::string_view, std::string_view) override { Fail(e::kNotSupported); }
  void SaveQuery(const QueryInfo&) override { Fail(e::kNotSupported); }
  void DropQuery(std::string_view) override { Fail(e::kNotSupported); }
  void SaveProperty(const ObjectKey&, const PropertyInfo&) override { Fail(e::kNotSupported); }
  void RemoveProperty(const ObjectKey&, std::string_view) override { Fail(e::kNotSupported); }

  int64_t Execute(std::string_view sql, int32_t /*options*/) override {
    if (read_only_) Fail(e::kReadOnly);
    Handle statement = NewStatement();
    std::string text(sql);
    SQLRETURN rc = SQLExecDirect(statement.get(), Chars(text), SQL_NTS);
    ++catalog_version_;  // the statement may have changed the schema
    if (rc == SQL_NO_DATA) return 0;
    statement.Check(rc, "Database");
    SQLLEN rows = 0;
    if (!Ok(SQLRowCount(statement.get(), &rows)) || rows < 0) rows = 0;
    return rows;
  }

  std::unique_ptr<Cursor> OpenTable(std::string_view table, int, int32_t) override {
    return Query("SELECT * FROM " + Qualified(Find(table)));
  }
  std::unique_ptr<Cursor> OpenQuery(std::string_view sql, int, int32_t) override {
    return Query(std::string(sql));
  }

  Variant Evaluate(std::string_view, int) override { Fail(e::kNotSupported); }

  void BeginTrans() override {
    if (in_transaction_) Fail(e::kInvalidOperation);
    SetAutoCommit(false);
    in_transaction_ = true;
  }
  void CommitTrans() override { EndTransaction(SQL_COMMIT); }
  void Rollback() override { EndTransaction(SQL_ROLLBACK); }

  void Idle() override { ++catalog_version_; }

  void Close() override {
    if (!connected_) return;
    connected_ = false;
    if (in_transaction_) SQLEndTran(SQL_HANDLE_DBC, dbc_->get(), SQL_ROLLBACK);
    SQLDisconnect(dbc_->get());
  }

 private:
  const Handle& Dbc() const {
    if (!connected_) Fail(e::kObjectInvalid);
    return *dbc_;
  }

  Handle NewStatement() {
    Handle statement(SQL_HANDLE_STMT, Dbc().get());
    // A driver without query timeouts refuses the attribute; that is no error.
    SQLSetStmtAttr(statement.get(), SQL_ATTR_QUERY_TIMEOUT,
                   reinterpret_cast<SQLPOINTER>(kQueryTimeout), 0);
    return statement;
  }

  std::unique_ptr<Cursor> Query(const std::string& sql) {
    Handle statement = NewStatement();
    statement.Check(SQLExecDirect(statement.get(), Chars(sql), SQL_NTS), "Database");
    return std::make_unique<SnapshotCursor>(ReadResult(statement));
  }

  void SetAutoCommit(bool on) {
    auto value = reinterpret_cast<SQLPOINTER>(
        static_cast<uintptr_t>(on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF));
    Dbc().Check(SQLSetConnectAttr(Dbc().get(), SQL_ATTR_AUTOCOMMIT, value, 0), "Workspace");
  }

  void EndTransaction(SQLSMALLINT how) {
    if (!in_transaction_) Fail(e::kInvalidOperation);
    in_transaction_ = false;
    Dbc().Check(SQLEndTran(SQL_HANDLE_DBC, Dbc().get(), how), "Workspace");
    SetAutoCommit(true);
  }

  // The identifier quote of the server ("" when it has none).
  const std::string& Quote() {
    if (!quote_read_) {
      SQLCHAR text[8] = {};
      SQLSMALLINT length = 0;
      if (Ok(SQLGetInfo(Dbc().get(), SQL_IDENTIFIER_QUOTE_CHAR, text, sizeof text, &length))) {
        quote_ = vb::Trim(reinterpret_cast<const char*>(text));
      }
      quote_read_ = true;
    }
    return quote_;
  }

  std::string Quoted(const std::string& name) { return Quote() + name + Quote(); }
  std::string Qualified(const TableName& table) {
    return (table.schema.empty() ? "" : Quoted(table.schema) + ".") + Quoted(table.name);
  }

  // The user tables, first of each name.
  std::vector<TableName> ListTables() {
    Handle statement = NewStatement();
    std::string type = "TABLE";
    statement.Check(
        SQLTables(statement.get(), nullptr, 0, nullptr, 0, nullptr, 0, Chars(type), SQL_NTS),
        "TableDefs");
    std::vector<TableName> tables;
    for (const auto& row : ReadResult(statement).rows) {
      TableName table{Text(row[1]), Text(row[2])};
      bool seen = false;
      for (const TableName& t : tables) seen = seen || SameName(t.name, table.name);
      if (!seen) tables.push_back(std::move(table));
    }
    return tables;
  }

  TableName Find(std::string_view name) {
    for (TableName& table : ListTables()) {
      if (SameName(table.name, name)) return table;
    }
    Fail(e::kInputTableNotFound, {std::string(name)});
  }

  // Runs a catalog function on a new statement and reads its rows.
  template <typename Call>
  std::vector<std::vector<Variant>> Catalog(Call&& call) {
    Handle statement = NewStatement();
    statement.Check(call(statement.get()), "TableDefs");
    return ReadResult(statement).rows;
  }

  TableInfo Describe(const TableName& table) {
    TableInfo info;
    info.name = table.name;
    // SQLite's own tables (sqlite_sequence) are listed as user tables.
    if (vb::UCase(table.name).starts_with("SQLITE_")) info.attributes = kSystemObject;
    std::string schema = table.schema;
    std::string name = table.name;
    SQLCHAR* schema_arg = schema.empty() ? nullptr : Chars(schema);
    SQLSMALLINT schema_length = schema.empty() ? 0 : SQL_NTS;
    // Catalog names are patterns: rows of other tables that match are
    // passed over.
    auto columns = Catalog([&](SQLHSTMT s) {
      return SQLColumns(s, nullptr, 0, schema_arg, schema_length, Chars(name), SQL_NTS, nullptr, 0);
    });
    for (const auto& row : columns) {
      if (Text(row[2]) != name) continue;
      FieldInfo field;
      field.name = Text(row[3]);
      auto size = static_cast<SQLULEN>(row[6].IsNull() ? 0 : vb::CDbl(row[6]));
      auto digits = static_cast<SQLSMALLINT>(row[8].IsNull() ? 0 : vb::CLng(row[8]));
      field.type = DaoType(static_cast<SQLSMALLINT>(vb::CLng(row[4])), size, digits);
      field.size = IsTextType(field.type) && field.type != kMemo ? static_cast<int32_t>(size)
                                                                 : DefaultFieldSize(field.type);
      field.required = !row[10].IsNull() && vb::CLng(row[10]) == SQL_NO_NULLS;
      // A default of NULL, as some drivers report "no default", is none.
      if (row.size() > 12 && vb::UCase(Text(row[12])) != "NULL") {
        field.default_value = Text(row[12]);
      }
      field.ordinal_position = static_cast<int32_t>(info.fields.size());
      info.fields.push_back(std::move(field));
    }
    ReadIndexes(schema_arg, schema_length, name, &info);
    return info;
  }

  void ReadIndexes(SQLCHAR* schema, SQLSMALLINT schema_length, std::string name, TableInfo* info) {
    std::string primary;
    try {
      for (const auto& row : Catalog([&](SQLHSTMT s) {
             return SQLPrimaryKeys(s, nullptr, 0, schema, schema_length, Chars(name), SQL_NTS);
           })) {
        if (row.size() > 5 && Text(row[2]) == name) primary = Text(row[5]);
      }
    } catch (const Error&) {
      // A driver without primary keys in its catalog.
    }
    std::vector<std::vector<Variant>> rows;
    try {
      rows = Catalog([&](SQLHSTMT s) {
        return SQLStatistics(s, nullptr, 0, schema, schema_length, Chars(name), SQL_NTS,
                             SQL_INDEX_ALL, SQL_QUICK);
      });
    } catch (const Error&) {
      return;  // a driver without index information
    }
    for (const auto& row : rows) {
      if (row.size() < 10 || Text(row[2]) != name || row[5].IsNull()) continue;
      if (!row[6].IsNull() && vb::CLng(row[6]) == SQL_TABLE_STAT) continue;
      std::string index_name = Text(row[5]);
      int at = FindByName(info->indexes, index_name);
      if (at < 0) {
        IndexInfo index;
        index.name = index_name;
        index.unique = !row[3].IsNull() && vb::CLng(row[3]) == SQL_FALSE;
        index.primary = !primary.empty() && SameName(primary, index_name);
        info->indexes.push_back(std::move(index));
        at = static_cast<int>(info->indexes.size()) - 1;
      }
      IndexFieldInfo field;
      field.name = Text(row[8]);
      if (Text(row[9]) == "D") field.attributes = kDescending;
      info->indexes[static_cast<size_t>(at)].fields.push_back(std::move(field));
    }
  }

  std::string name_;
  std::string connect_;
  bool read_only_;
  Handle env_{SQL_HANDLE_ENV, SQL_NULL_HANDLE};
  std::unique_ptr<Handle> dbc_;
  bool connected_ = false;
  bool in_transaction_ = false;
  int64_t catalog_version_ = 0;
  std::string quote_;
  bool quote_read_ = false;
};

}  // namespace

int LoginTimeout() { return login_timeout.load(); }
void SetLoginTimeout(int seconds) { login_timeout.store(seconds < 0 ? 0 : seconds); }

std::string DbmsName(Database& db) {
  auto* backend = dynamic_cast<OdbcBackend*>(&db.backend());
  return backend ? backend->DbmsName() : "";
}

SQLHDBC WritableConnection(Database& db) {
  auto* backend = dynamic_cast<OdbcBackend*>(&db.backend());
  if (!backend) Fail(e::kNotSupported);
  return backend->WritableConnection();
}

bool OdbcProvider::Accepts(const OpenRequest& request, std::string_view) const {
  return vb::UCase(request.connect).rfind("ODBC", 0) == 0;
}

std::unique_ptr<Backend> OdbcProvider::Open(const OpenRequest& request) {
  // The driver manager loads its installer library for each connection and
  // unloads it after, orphaning the ini cache that library keeps in
  // globals; loaded once for good it keeps its cache.
  static void* installer = dlopen("libodbcinst.so.2", RTLD_NOW | RTLD_NODELETE);
  (void)installer;
  return std::make_unique<OdbcBackend>(request);
}

}  // namespace qor::dao::odbc
