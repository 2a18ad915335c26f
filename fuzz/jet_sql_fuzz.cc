// Fuzzes the Jet SQL translator through each of its entries: a statement, a
// criterion (with its literals as parameters, as FindFirst translates it),
// a validation rule with an implied field (as a trigger writes it) and a
// default value; a criterion over typed fields also runs on their rows. Any
// text must either translate or raise one of DAO's
// syntax errors; a translation must be SQL that SQLite can parse (it may
// name tables and columns that do not exist, never bad syntax). Deep or long
// input must fail with the numbered error, not exhaust the stack or time.
//
// fuzz/jet_sql.dict holds the grammar's words for -dict=.
#include <sqlite3.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "db/engine/jet_sql.h"
#include "db/engine/sqlite/sqlite_functions.h"
#include "qorsupport/db/engine/dao.h"
#include "qorsupport/frame/error.h"

namespace {

// A database with the table t of the typed fields below and two rows, on
// which criteria also run (so that the expression function evaluates
// every program the translator writes).
sqlite3* Db() {
  static sqlite3* db = [] {
    sqlite3* d = nullptr;
    sqlite3_open(":memory:", &d);
    qor::dao::sqlite::RegisterFunctions(d);
    sqlite3_exec(d,
                 "CREATE TABLE t(a INTEGER, b TEXT COLLATE qor_jet, c TEXT, d REAL, e INTEGER);"
                 "INSERT INTO t VALUES (7, 'Müller', '2003-03-07 00:00:00', 12.5, -1),"
                 " (NULL, '', NULL, 0, 0)",
                 nullptr, nullptr, nullptr);
    return d;
  }();
  return db;
}

const std::vector<qor::dao::FieldInfo>& Fields() {
  namespace dao = qor::dao;
  static const auto* fields = [] {
    auto* f = new std::vector<dao::FieldInfo>(5);
    const std::pair<const char*, int> kFields[] = {{"a", dao::kLong},
                                                   {"b", dao::kText},
                                                   {"c", dao::kDate},
                                                   {"d", dao::kCurrency},
                                                   {"e", dao::kBoolean}};
    for (size_t i = 0; i < 5; ++i) {
      (*f)[i].name = kFields[i].first;
      (*f)[i].type = kFields[i].second;
    }
    return f;
  }();
  return *fields;
}

// Runs a query to the end; errors of its values are expected.
void Run(const std::string& sql) {
  sqlite3_stmt* stmt = nullptr;
  if (sqlite3_prepare_v2(Db(), sql.c_str(), static_cast<int>(sql.size()), &stmt, nullptr) ==
      SQLITE_OK) {
    while (sqlite3_step(stmt) == SQLITE_ROW) {
    }
  }
  sqlite3_finalize(stmt);
}

bool ExpectedError(int32_t number) {
  namespace e = qor::dao::e;
  return number == e::kSyntaxInCriteria || number == e::kSyntaxInQuery ||
         number == e::kUndefinedFunction || number == e::kInvalidSql || number == e::kSyntaxFrom ||
         number == e::kSyntaxInsert || number == e::kSyntaxUpdate || number == e::kSyntaxSelect ||
         number == e::kCriteriaMismatch || number == e::kTooFewParameters;
}

// SQLite must at least parse what we produce.
void CheckParses(const std::string& sql) {
  sqlite3_stmt* stmt = nullptr;
  int rc = sqlite3_prepare_v2(Db(), sql.c_str(), static_cast<int>(sql.size()), &stmt, nullptr);
  sqlite3_finalize(stmt);
  if (rc != SQLITE_OK) {
    std::string message = sqlite3_errmsg(Db());
    if (message.find("syntax error") != std::string::npos ||
        message.find("unrecognized token") != std::string::npos) {
      std::abort();
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  namespace jet = qor::dao::jet;
  std::string_view text(reinterpret_cast<const char*>(data), size);
  try {
    CheckParses("SELECT 1 WHERE " + jet::TranslateCriteria(text));
  } catch (const qor::Error& error) {
    if (!ExpectedError(error.number())) std::abort();
  }
  try {
    std::vector<qor::Variant> literals;
    jet::ExpressionOptions options;
    options.literals = &literals;
    options.first_parameter = 2;
    CheckParses("SELECT 1 WHERE ?1 AND " + jet::TranslateCriteria(text, options));
  } catch (const qor::Error& error) {
    if (!ExpectedError(error.number())) std::abort();
  }
  try {
    // A criterion on typed fields, run against their rows.
    jet::ExpressionOptions options;
    options.fields = &Fields();
    std::string where = jet::TranslateCriteria(text, options);
    CheckParses("SELECT 1 FROM t WHERE " + where);
    Run("SELECT count(*) FROM t WHERE " + where);
  } catch (const qor::Error& error) {
    if (!ExpectedError(error.number())) std::abort();
  }
  try {
    // A field's validation rule inside a trigger: "NEW." before names, and
    // the field itself where a comparison lacks its left side.
    jet::ExpressionOptions rule;
    rule.column_prefix = "NEW.";
    rule.implied_operand = "NEW.\"x\"";
    CheckParses("SELECT 1 FROM (SELECT 1 AS x) AS NEW WHERE NOT (" +
                jet::TranslateExpression(text, rule) + ")");
  } catch (const qor::Error& error) {
    if (!ExpectedError(error.number())) std::abort();
  }
  try {
    CheckParses(qor::dao::jet::TranslateStatement(text).sql);
  } catch (const qor::Error& error) {
    if (!ExpectedError(error.number())) std::abort();
  }
  return 0;
}
