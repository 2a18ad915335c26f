// Fuzzes the Jet SQL translator through each of its entries: a statement, a
// criterion (with its literals as parameters, as FindFirst translates it),
// a validation rule with an implied field (as a trigger writes it) and a
// default value. Any text must either translate or raise one of DAO's
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

sqlite3* Db() {
  static sqlite3* db = [] {
    sqlite3* d = nullptr;
    sqlite3_open(":memory:", &d);
    qor::dao::sqlite::RegisterFunctions(d);
    return d;
  }();
  return db;
}

bool ExpectedError(int32_t number) {
  namespace e = qor::dao::e;
  return number == e::kSyntaxInCriteria || number == e::kSyntaxInQuery ||
         number == e::kUndefinedFunction || number == e::kInvalidSql || number == e::kSyntaxFrom ||
         number == e::kSyntaxInsert || number == e::kSyntaxUpdate || number == e::kSyntaxSelect;
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
