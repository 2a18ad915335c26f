// Jet SQL to SQLite SQL.
//
// Statements, FindFirst criteria, validation rules and default values are
// written in Jet's dialect: double- or single-quoted strings, #m/d/yyyy#
// date literals, [bracketed names], & for joining texts, True/False/Yes/No,
// Like with the wildcards * ? # and [lists], VB's functions (IIf, Nz, Left,
// Mid, DateSerial, Format, ...), TOP n and DISTINCTROW.
//
// The text is parsed into a tree (jet_ast.h) and every expression is typed
// by Jet's rules: field types from the catalog, the types of literals, of
// each operator's and function's result, Variant where Jet gives a Variant.
// The tree is then written as SQLite SQL:
//
// - comparisons of like-typed values, And/Or/Not of Booleans, Is Null,
//   Between, In, Exists, subqueries and the aggregates are SQLite's own, so
//   that indexes serve them; texts compare by Jet's sort order (the
//   collation qor_jet), dates as "yyyy-mm-dd hh:nn:ss" texts, Booleans are
//   -1 and 0;
// - everything else (arithmetic, &, functions, IIf, ...) is a call of the
//   function qor_expr, which evaluates that part of the expression with the
//   VB runtime (frame/vb_functions.h) from its columns and literals.
//
// A text that does not parse raises DAO's error: 3077 for a criterion, 3075
// (naming the expression) for an expression elsewhere, 3129/3131/3134/3144/
// 3141 for a malformed statement, 3085 for an unknown function; text
// compared with a number is 3464, and a name that is no field of the
// statement's tables 3061. Expressions nest at most kMaxDepth (jet_ast.h)
// levels.
#ifndef QOR_DB_ENGINE_JET_SQL_H_
#define QOR_DB_ENGINE_JET_SQL_H_

#include <string>
#include <string_view>
#include <vector>

#include "qorsupport/db/engine/dao.h"
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
  // For a SELECT: the DAO type of each result column, 0 for a column of a
  // table (its field's type) or one whose type is not known; empty when the
  // columns could not be counted (t.* of an unknown table).
  std::vector<int> column_types;
};

// What the translator knows of the tables a statement names.
class Catalog {
 public:
  virtual ~Catalog() = default;
  // The fields of the table of that name; nullptr when there is none (the
  // name is then left to SQLite, and its columns are of unknown type).
  virtual const std::vector<FieldInfo>* Fields(std::string_view table) = 0;
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
  // The DAO type of the implied operand's field.
  int implied_type = 0;
  // When set, literal texts, numbers and dates are not written into the
  // SQL: each becomes a parameter ?N (N counting from first_parameter) and
  // its value is added here, so that one prepared statement serves every
  // value.
  std::vector<Variant>* literals = nullptr;
  int first_parameter = 1;
  // The fields that names refer to (a FindFirst over a table or a query's
  // rows, a rule of a table); null: names are of unknown type.
  const std::vector<FieldInfo>* fields = nullptr;
};

// A whole statement (SELECT, INSERT, UPDATE or DELETE; a trailing ";" is
// allowed). catalog, when given, types the names of its tables' fields.
Statement TranslateStatement(std::string_view jet_sql, Catalog* catalog = nullptr);

// A FindFirst criterion or a WHERE condition on its own; errors are 3077.
std::string TranslateCriteria(std::string_view criteria, const ExpressionOptions& options = {});

// A condition standing on its own: a validation rule; errors are 3075.
std::string TranslateExpression(std::string_view expression, const ExpressionOptions& options = {});

// A value standing on its own: a default value, an expression to evaluate;
// its type goes to *type when given. Errors are 3075.
std::string TranslateValue(std::string_view expression, const ExpressionOptions& options = {},
                           int* type = nullptr);

// A name as a quoted SQLite identifier.
std::string QuoteName(std::string_view name);
// A text as a quoted SQLite string literal.
std::string QuoteText(std::string_view text);

}  // namespace qor::dao::jet

#endif  // QOR_DB_ENGINE_JET_SQL_H_
