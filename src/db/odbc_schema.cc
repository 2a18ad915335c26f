// qorDb's ODBC connections and the creation of the template tables on a
// server from the structure table.

#include <map>
#include <vector>

#include "db/close_quietly.h"
#include "db/engine/odbc/odbc_backend.h"
#include "db/sql_dialect.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"

namespace qor {
namespace {

using db::CloseQuietly;

// The statement that reads the structure table's rows of one kind ("FIELD"
// or "INDEX"), T written plainly.
std::string StructureQuery(const std::string& t, const std::string& kind) {
  return "SELECT " + t + ".* FROM " + t + " " + "WHERE (" + t + ".ObjType = \"" + kind + "\") " +
         "ORDER BY " + t + ".TableName " + ", " + t + ".ObjType " + ", " + t + ".ObjName " + ";";
}

// The INDEX rows of the structure table by TrimUpper of the table name.
std::map<std::string, std::vector<db::IndexDefinition>> ReadIndexRows(dao::Database& db,
                                                                      const std::string& t) {
  std::map<std::string, std::vector<db::IndexDefinition>> indexes;
  auto rs = db.OpenRecordset(StructureQuery(t, "INDEX"));
  try {
    for (; !rs->Eof(); rs->MoveNext()) {
      db::IndexDefinition index;
      index.name = vb::ConcatText(TrimUpper(rs->Value("ObjName")));
      for (int i = 1; i <= 5; ++i) {
        Variant field = TrimUpper(rs->Value("ixFld" + std::to_string(i)));
        if (!field.IsNull()) index.fields.push_back(field.AsString());
      }
      if (!index.fields.empty()) {
        indexes[vb::ConcatText(TrimUpper(rs->Value("TableName")))].push_back(std::move(index));
      }
    }
  } catch (...) {
    CloseQuietly(rs);
    throw;
  }
  CloseQuietly(rs);
  return indexes;
}

}  // namespace

void qorDb::SetODBCDialect(const Variant& pDialect) {
  std::string name = vb::ConcatText(pDialect);
  if (vb::UCase(vb::Trim(name)) == "AUTO") {
    odbc_dialect_ = "Auto";
    return;
  }
  auto dialect = db::DialectNamed(name);
  if (!dialect) Raise(err::kInvalidCall);
  odbc_dialect_ = db::DialectName(*dialect);
}

bool qorDb::OpenConnectionODBC(int16_t pODBCsrc, std::shared_ptr<dao::Database>& pODBCdb,
                               const Variant& pDsn, const Variant& pUser, const Variant& pPasswd,
                               bool Verbose) {
  Reporter reporter("OpenConnectionODBC", Verbose);
  return Guard(reporter, false, [&] {
    std::string connect;
    if (pODBCsrc == 1) {
      connect = "ODBC";
      if (IsNotBlank(pUser, false)) {
        connect += ";UID=" + vb::ConcatText(pUser);
        if (IsNotBlank(pPasswd, false)) connect += ";PWD=" + vb::ConcatText(pPasswd);
      }
      connect += ";DSN=" + vb::ConcatText(pDsn);
    } else if (pODBCsrc != 2) {
      // No other kind of source exists.
      Raise(err::kInvalidCall);
    }
    pODBCdb = dao::DBEngine::Get()->OpenDatabase(
        vb::ConcatText(pDsn), Variant(dao::kDriverNoPrompt), Variant(false), Variant(connect));
    return true;
  });
}

bool qorDb::ExecuteODBC(dao::Database& pDb, const std::string& pSQL, bool pIgnoreErrors,
                        bool Verbose) {
  Reporter reporter("ExecuteODBC", Verbose && !pIgnoreErrors);
  bool done = Guard(reporter, false, [&] {
    pDb.Execute(pSQL, Variant(dao::kSQLPassThrough));
    return true;
  });
  return done || pIgnoreErrors;
}

bool qorDb::CreateODBCTables(dao::Database& pDb, const Variant& pODBCsrc, const Variant& pDsn,
                             const std::string& pUsr, const std::string& pPwd,
                             const Variant& pStrucTblName, bool Verbose) {
  Reporter reporter("CreateODBCTables", Verbose);
  std::shared_ptr<dao::Recordset> rs;
  std::shared_ptr<dao::Database> server;
  // The database that holds the structure table: pDb, or a temporary one
  // when pDb cannot be written.
  std::shared_ptr<dao::Database> temp;
  std::string temp_path;
  bool result = Guard(reporter, false, [&] {
    std::string t =
        IsBlank(pStrucTblName, false) ? "TableStructure" : vb::ConcatText(pStrucTblName);
    t = vb::Trim(t);
    if (!pDb.Updatable() && !CreateTempDatabase(temp, temp_path, Verbose)) {
      reporter.Fail("Error creating structure table");
      return false;
    }
    dao::Database& home = temp ? *temp : pDb;
    if (!DumpTemplateTables(pDb, home, Variant(t), Verbose)) {
      reporter.Fail("Error creating structure table");
      return false;
    }
    // Without template tables the dump leaves no structure table at all.
    if (CheckTableExists(home, Variant(t))) rs = home.OpenRecordset(StructureQuery(t, "FIELD"));
    if (!rs || (rs->Bof() && rs->Eof())) {
      reporter.Fail("Structure table has no records");
      return false;
    }
    if (!OpenConnectionODBC(vb::CInt(pODBCsrc), server, pDsn, Variant(pUsr), Variant(pPwd),
                            Verbose)) {
      reporter.Fail("Unable to open ODBC connection");
      return false;
    }
    db::Dialect dialect = odbc_dialect_ == "Auto"
                              ? db::DialectOfServer(dao::odbc::DbmsName(*server))
                              : *db::DialectNamed(odbc_dialect_);
    // The Oracle-type statements create fields only.
    std::map<std::string, std::vector<db::IndexDefinition>> indexes;
    if (dialect != db::Dialect::kOracle) indexes = ReadIndexRows(home, t);

    std::string table;  // N
    std::string sql;    // S
    bool first = true;
    auto start = [&](const std::string& name) {
      table = name;
      sql = "CREATE TABLE " + db::Quoted(dialect, table) + "(";
      first = true;
    };
    // Drops and creates table N; the last one's statement is shown first.
    auto finish = [&](bool last) {
      sql += ");";
      ExecuteODBC(*server, db::DropTableStatement(dialect, table), true, Verbose);
      if (last) ShowMessage(Variant(sql));
      if (!ExecuteODBC(*server, sql, false, Verbose)) {
        reporter.Fail("Table SQL execute error");
        return false;
      }
      for (const auto& index : indexes[table]) {
        std::string create = db::CreateIndexStatement(dialect, table, index);
        if (!ExecuteODBC(*server, create, false, Verbose)) {
          reporter.Fail("Index SQL execute error");
          return false;
        }
      }
      return true;
    };

    rs->MoveFirst();
    start(vb::ConcatText(TrimUpper(rs->Value("TableName"))));
    while (!rs->Eof()) {
      std::string name = vb::ConcatText(TrimUpper(rs->Value("TableName")));
      if (name != table) {
        if (!finish(false)) return false;
        start(name);
      }
      if (!first) sql += ", ";
      first = false;
      db::Column column;
      column.name = vb::ConcatText(TrimUpper(rs->Value("ObjName")));
      column.type = rs->Value("ObjDataType");
      column.size = rs->Value("ObjLen");
      column.default_value = rs->Value("ObjDefaultValue");
      column.required = (static_cast<int64_t>(NumOrZero(rs->Value("ObjFlags"))) & 1) != 0;
      column.counter = IsTrue(rs->Value("IsCounter"));
      std::optional<std::string> type = db::ColumnType(dialect, column);
      if (!type && Verbose) {
        reporter.Fail("Unknown field type: " + vb::ConcatText(column.type), "Table: " + table,
                      "Field: " + vb::ConcatText(rs->Value("ObjName")));
        return false;
      }
      // An unknown type without Verbose leaves the type out; a server with
      // typed columns refuses the statement (SQLite takes it).
      sql += db::ColumnDefinition(dialect, column);
      rs->MoveNext();
    }
    return finish(true);
  });
  CloseQuietly(rs);
  CloseQuietly(server);
  if (temp) {
    CloseQuietly(temp);
    dao::RemoveDatabaseFiles(temp_path);
  }
  return result;
}

}  // namespace qor
