// Jet SQL to SQLite SQL.
//
// Statements, FindFirst criteria, validation rules and default values are
// written in Jet's dialect: double- or single-quoted strings, #m/d/yyyy#
// date literals, [bracketed names], & for joining texts, True/False/Yes/No,
// Like with the wildcards * ? # and [lists], Jet's functions (IIf, Nz, Left,
// Mid, DateSerial, ...), TOP n and DISTINCTROW. The translator tokenizes and
// parses the text and writes the SQLite equivalent; nothing is patched by
// text replacement. Jet functions without a SQLite counterpart become calls
// of qor_* functions that the SQLite backend registers on every connection
// (sqlite_functions.h).
//
// A text that does not parse raises DAO's error: 3077 for a criterion, 3075
// (naming the expression) for an expression in a statement, 3129/3131/3134/
// 3144/3141 for a malformed statement, 3085 for an unknown function.
//
// Dates become ISO-8601 texts "yyyy-mm-dd hh:nn:ss", the form in which the
// engine stores them, so that comparisons of dates are comparisons of texts.
#ifndef QOR_DB_ENGINE_JET_SQL_H_
#define QOR_DB_ENGINE_JET_SQL_H_

#include <string>
#include <string_view>
#include <vector>

#include "qorsupport/frame/variant.h"

namespace qor::dao::jet {

enum class StatementKind { kSelect, kInsert, kUpdate, kDelete };

struct Statement {
  StatementKind kind = StatementKind::kSelect;
  std::string sql;  // the SQLite text
  // For a SELECT over a single table without joins, grouping, DISTINCT or
  // UNION: that table's name (its rows can then be updated through a
  // recordset). Empty otherwise.
  std::string single_table;
};

// How column names in an expression are written.
struct ExpressionOptions {
  // Put before every column name, which loses its table qualifier:
  // "NEW." inside a trigger. Empty: names are written as given.
  std::string column_prefix;
  // The SQLite text of the field a field-level validation rule is about;
  // a comparison without a left operand (">0", "Like 'A*'", "Is Not
  // Null") compares it.
  std::string implied_operand;
  // When set, literal texts, numbers and dates are not written into the
  // SQL: each becomes a parameter ?N (N counting from first_parameter) and
  // its value is added here, so that one prepared statement serves every
  // value.
  std::vector<Variant>* literals = nullptr;
  int first_parameter = 1;
};

// A whole statement (SELECT, INSERT, UPDATE or DELETE; a trailing ";" is
// allowed).
Statement TranslateStatement(std::string_view jet_sql);

// A FindFirst criterion or a WHERE condition on its own; errors are 3077.
std::string TranslateCriteria(std::string_view criteria, const ExpressionOptions& options = {});

// An expression: a validation rule or a default value; errors are 3075.
std::string TranslateExpression(std::string_view expression, const ExpressionOptions& options = {});

// A name as a quoted SQLite identifier.
std::string QuoteName(std::string_view name);
// A text as a quoted SQLite string literal.
std::string QuoteText(std::string_view text);

}  // namespace qor::dao::jet

#endif  // QOR_DB_ENGINE_JET_SQL_H_
