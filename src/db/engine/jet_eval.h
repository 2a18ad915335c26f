// The evaluation of translated expressions (internal to the engine).
//
// The translator (jet_sql.h) writes the parts of an expression that SQLite
// cannot compute as Jet does as calls of the SQL function qor_expr, whose
// first argument is a program: a header and the Jet text of that part with
// its columns, aggregates, subqueries and (for a cached criterion) literals
// replaced by ?1, ?2, ... that stand for the further arguments:
//
//   [e][s]<result type>:<type of ?1>,<type of ?2>,...:<Jet expression>
//
// "e": an error while computing a row gives an error value (ErrorValue)
// instead of failing the statement, so that it surfaces when that row is
// read. "s": the value is one to store in a field, so that a number too
// large is DAO's 3349 and a value that does not convert 3421. The types are DAO type codes (0
// Variant). The program is parsed and typed once per statement and evaluated with the VB runtime
// for each row.
#ifndef QOR_DB_ENGINE_JET_EVAL_H_
#define QOR_DB_ENGINE_JET_EVAL_H_

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "db/engine/jet_ast.h"
#include "qorsupport/frame/error.h"

namespace qor::dao::jet {

struct Program {
  bool error_values = false;
  bool storage = false;
  int result_type = kVariantType;  // the value is converted to it
  std::vector<int> parameter_types;
  NodePtr root;
};

// The program text for a part of an expression.
std::string ProgramText(bool error_values, int result_type, const std::vector<int>& parameter_types,
                        std::string_view expression, bool storage = false);

// The error a stored value's conversion raises for a VB error: 3349 for an
// overflow, 3421 for a type mismatch or Null; others as they are.
Error StorageError(const Error& error);

// Parses and types a program; raises an Error (5) for a malformed one.
std::unique_ptr<Program> ParseProgram(std::string_view text);

// The value of a typed tree, parameters[i] standing for ?i+1. Raises the
// VB runtime's errors.
Variant Evaluate(const Node& node, std::span<const Variant> parameters);

// value converted to a DAO type (kVariantType, kNullType: unchanged; Empty
// becomes the type's zero value), raising the VB runtime's errors. Unless
// exact, a number stays the number it is when the type is numeric too (a
// part of an expression keeps what VB's arithmetic gave it; only a result
// column or a stored value takes the exact type).
Variant ConvertToType(const Variant& value, int type, bool exact = true);

// The error value of a row's failed expression: a BLOB that no stored value
// is, holding the error; ParseErrorValue reads one back.
std::string ErrorValue(const Error& error);
bool IsErrorValue(const void* data, size_t size);
Error ParseErrorValue(const void* data, size_t size);

}  // namespace qor::dao::jet

#endif  // QOR_DB_ENGINE_JET_EVAL_H_
