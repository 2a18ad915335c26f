// qor deploy: creates an application database's template tables on a
// server through qorDb.CreateODBCTables and prints what the server now
// holds. Without a database it builds the example application database;
// without a DSN it deploys to the embedded default, a SQLite file reached
// through the SQLite ODBC driver with a data source of its own.

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "command.h"
#include "db/engine/odbc/odbc_config.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/db/qor_db.h"
#include "qorsupport/dialogs/forms.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/vb.h"

namespace qor::tool {

namespace {

namespace fs = std::filesystem;

struct Options {
  std::string database;  // the application database; "" builds the example
  std::string example = "example-app.mdb";
  std::string target = "deployed.sqlite";
  std::string dsn;
  std::string user;
  std::string password;
  std::string dialect = "Auto";
};

// Sets a field's Required and DefaultValue through the engine's objects.
void Describe(dao::Database& db, const char* table, const char* field, bool required,
              const char* default_value = "") {
  auto f = db.GetTableDefs()->Item(table)->GetFields()->Item(field);
  f->SetRequired(required);
  if (*default_value) f->SetDefaultValue(default_value);
}

void MarkTemplate(dao::Database& db, const char* table, const char* description) {
  auto t = db.GetTableDefs()->Item(table);
  t->GetProperties()->Append(
      t->CreateProperty(Variant("Description"), Long(dao::kText), Variant(description)));
}

// The example: an order-entry application's database with three template
// tables (Countries also carries its rows, DATA) and a local table that is
// not deployed.
bool BuildExample(qorDb& q, const std::string& path) {
  std::error_code ec;
  fs::remove(path, ec);
  auto db = dao::DBEngine::Get()->CreateDatabase(path, dao::kLangGeneral);
  auto field = [&](const char* table, const char* name, int type, int size = 0) {
    return q.CreateField(*db, Variant(table), Variant(name), Long(type), static_cast<int16_t>(size),
                         true);
  };
  auto index = [&](const char* table, const char* name, const char* f1, const char* f2,
                   bool primary) {
    return q.CreateIndex(*db, Variant(table), Variant(name), Variant(f1), Variant(f2), Variant(""),
                         Variant(""), Variant(""), primary, primary, false, false, Variant(true));
  };
  bool ok =
      q.CreateTable(*db, "Customers", "CustNo", 10, true, true, true) &&
      field("Customers", "Name", dao::kText, 40) && field("Customers", "City", dao::kText, 30) &&
      field("Customers", "Balance", dao::kCurrency) &&
      field("Customers", "Active", dao::kBoolean) && field("Customers", "Since", dao::kDate) &&
      field("Customers", "Notes", dao::kMemo) && index("Customers", "ByName", "Name", "", false);
  ok = ok && q.CreateTable(*db, "Orders", "CustNo", 10, false, true, true) &&
       field("Orders", "OrderId", 999) && field("Orders", "Placed", dao::kDate) &&
       field("Orders", "Total", dao::kCurrency) && field("Orders", "Status", dao::kText, 1) &&
       index("Orders", "PrimaryKey", "OrderId", "", true) &&
       index("Orders", "ByCustomer", "CustNo", "Placed", false);
  ok = ok && q.CreateTable(*db, "Countries", "Code", 2, true, true, true) &&
       field("Countries", "Name", dao::kText, 40);
  ok = ok && q.CreateTable(*db, "Settings", "Name", 40, true, true, true) &&
       field("Settings", "Value", dao::kText, 255);
  if (!ok) return false;
  Describe(*db, "Customers", "CustNo", true);
  Describe(*db, "Customers", "Name", true);
  Describe(*db, "Customers", "Balance", false, "0");
  Describe(*db, "Customers", "Active", false, "True");
  Describe(*db, "Customers", "Since", false, "Now()");
  Describe(*db, "Orders", "CustNo", true);
  Describe(*db, "Orders", "Placed", false, "Date()");
  Describe(*db, "Orders", "Total", false, "0");
  Describe(*db, "Orders", "Status", true, "\"N\"");
  Describe(*db, "Countries", "Code", true);
  Describe(*db, "Countries", "Name", true);
  MarkTemplate(*db, "Customers", "Customers: template table");
  MarkTemplate(*db, "Orders", "Orders: template table");
  MarkTemplate(*db, "Countries", "Countries: template table, DATA carried over");
  MarkTemplate(*db, "Settings", "Local settings, never deployed");
  auto rs = db->OpenRecordset("Countries");
  for (auto [code, name] :
       {std::pair{"DE", "Germany"}, {"FR", "France"}, {"US", "United States"}}) {
    rs->AddNew();
    rs->GetFields()->Item("Code")->SetValue(Variant(code));
    rs->GetFields()->Item("Name")->SetValue(Variant(name));
    rs->Update();
  }
  rs->Close();
  db->Close();
  return true;
}

// Prints each deployed table as the server describes it.
void PrintDeployed(qorDb& q, dao::Database& app, dao::Database& server) {
  auto rs = app.OpenRecordset(
      "SELECT DISTINCT TableName, DumpData FROM TableStructure ORDER BY TableName");
  for (; !rs->Eof(); rs->MoveNext()) {
    std::string name = vb::CStr(TrimUpper(rs->Value("TableName")));
    auto table = server.GetTableDefs()->Item(Variant(name));
    std::printf("table %s%s\n", table->Name().c_str(),
                IsTrue(rs->Value("DumpData")) ? " (rows marked DATA)" : "");
    for (const auto& f : table->GetFields()->items()) {
      std::string type = q.FieldTypeString(Long(f->Type()));
      if (dao::IsTextType(f->Type()) && f->Type() != dao::kMemo) {
        type += "(" + std::to_string(f->Size()) + ")";
      }
      std::printf("  %-10s %-14s%s%s\n", f->Name().c_str(), type.c_str(),
                  f->Required() ? " NOT NULL" : "",
                  f->DefaultValue().empty() ? "" : (" DEFAULT " + f->DefaultValue()).c_str());
    }
    for (const auto& index : table->GetIndexes()->items()) {
      std::string fields;
      for (const auto& f : index->GetFields()->items())
        fields += (fields.empty() ? "" : ", ") + f->Name();
      std::printf("  index %s (%s)\n", index->Name().c_str(), fields.c_str());
    }
  }
  rs->Close();
}

int Deploy(const Options& options) {
  qorDb q;
  qorForms forms;
  forms.SetAppName(Variant("qor deploy"));
  q.SetODBCDialect(Variant(options.dialect));
  std::string path = options.database;
  if (path.empty()) {
    path = options.example;
    if (!BuildExample(q, path)) return 1;
    std::printf("built the example application database %s\n", path.c_str());
  }
  auto app = dao::DBEngine::Get()->OpenDatabase(path);
  std::string dsn = options.dsn;
  if (dsn.empty()) {
    // The embedded default: a data source of our own for the target file,
    // kept beside it.
    fs::path target = fs::absolute(options.target);
    fs::path folder = target.parent_path() / ".qor-odbc";
    fs::create_directories(folder);
    dsn = "qorDeploy";
    dao::odbc::UseDataSources(folder.string(), {dao::odbc::SqliteDataSource(dsn, target.string())});
    std::printf("target: %s through the SQLite ODBC driver (DSN %s in %s)\n",
                target.string().c_str(), dsn.c_str(), (folder / "odbc.ini").string().c_str());
  } else {
    std::printf("target: DSN %s\n", dsn.c_str());
  }
  bool ok = q.CreateODBCTables(*app, Long(1), Variant(dsn), options.user, options.password,
                               Variant::Missing(), true);
  std::shared_ptr<dao::Database> server;
  if (ok && q.OpenConnectionODBC(1, server, Variant(dsn), Variant(options.user),
                                 Variant(options.password), true)) {
    std::printf("created on the server (dialect %s):\n", q.ODBCDialect().c_str());
    PrintDeployed(q, *app, *server);
    server->Close();
  }
  app->Close();
  if (!ok) std::fprintf(stderr, "qor deploy: the tables were not all created\n");
  return ok ? 0 : 1;
}

}  // namespace

int RunDeploy(const std::vector<std::string>& args) {
  const Command& command = FindCommand("deploy");
  if (WantsHelp(args)) {
    std::fputs(command.usage, stdout);
    return 0;
  }
  Options options;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    auto value = [&](std::string* out) {
      if (i + 1 >= args.size()) return false;
      *out = args[++i];
      return true;
    };
    bool ok = true;
    if (a == "--dsn") {
      ok = value(&options.dsn);
    } else if (a == "--user") {
      ok = value(&options.user);
    } else if (a == "--password") {
      ok = value(&options.password);
    } else if (a == "--dialect") {
      ok = value(&options.dialect);
    } else if (a == "--target") {
      ok = value(&options.target);
    } else if (a == "--example") {
      ok = value(&options.example);
    } else if (!a.empty() && a[0] == '-') {
      return UsageError(command, "unknown option " + a);
    } else if (options.database.empty()) {
      options.database = a;
    } else {
      return UsageError(command, "one database at a time");
    }
    if (!ok) return UsageError(command, a + " needs a value");
  }
  try {
    return Deploy(options);
  } catch (const Error& e) {
    std::fprintf(stderr, "qor deploy: error %d: %s\n", e.number(), e.description().c_str());
    return e.number() == err::kInvalidCall ? 2 : 1;
  }
}

}  // namespace qor::tool
