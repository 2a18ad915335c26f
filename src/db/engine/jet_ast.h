// The parsed form of Jet SQL (internal to the translator and the SQLite
// backend's expression function).
//
// An expression is a tree of Nodes; runs of a left-associative operator
// (a + b - c, x And y And z) are one Node with several operands, so that a
// long run costs no depth. Every Node knows its span in the source text.
// A statement is a small structure around its expressions.
//
// Types are DAO type codes (kText, kDate, ...), with kVariantType for a
// value whose kind is known only when it is computed and kNullType for the
// literal Null.
#ifndef QOR_DB_ENGINE_JET_AST_H_
#define QOR_DB_ENGINE_JET_AST_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "db/engine/jet_sql.h"
#include "qorsupport/frame/variant.h"
#include "qorsupport/frame/vb_functions.h"

namespace qor::dao::jet {

inline constexpr int kVariantType = 0;
inline constexpr int kNullType = -1;

// How deep expressions and statements may nest (parentheses, function
// calls, unary operators, subqueries, joins).
inline constexpr int kMaxDepth = 200;
// How deep SELECTs may nest in a statement (subqueries, derived tables).
inline constexpr int kMaxSelectDepth = 8;

enum class Op {
  kAdd,
  kSubtract,
  kMultiply,
  kDivide,
  kIntDivide,
  kMod,
  kPower,
  kConcat,
  kEqual,
  kNotEqual,
  kLess,
  kLessEqual,
  kGreater,
  kGreaterEqual,
  kAnd,
  kOr,
  kXor,
  kEqv,
  kImp,
  kNegate,
  kNot,
};

bool IsComparison(Op op);

enum class NodeKind {
  kLiteral,    // value, type
  kColumn,     // parts (qualifiers then the name); implied: the rule's field
  kParameter,  // ?N in an expression program: index
  kUnary,      // op (kNegate, kNot), kids[0]
  kChain,      // kids[0] ops[0] kids[1] ops[1] kids[2] ..., left to right
  kLike,       // kids: text, pattern; negate
  kBetween,    // kids: value, low, high; negate
  kIn,         // kids: value, items...; negate
  kIsNull,     // kids[0]; negate (Is Not Null)
  kInSelect,   // kids[0] In (select); negate
  kExists,     // Exists (select)
  kSubquery,   // (select) as a value
  kCall,       // function (a VB built-in), kids: arguments
  kAggregate,  // name (upper case), kids: the argument (none for Count(*)), distinct
};

struct Select;

struct Node {
  NodeKind kind = NodeKind::kLiteral;
  size_t begin = 0, end = 0;       // span in the source
  int type = kVariantType;         // the static type, after typing
  Variant value;                   // kLiteral
  int token = -1;                  // kLiteral: its token (number, string, date)
  bool negated = false;            // kLiteral: a number with a sign folded in
  std::vector<std::string> parts;  // kColumn
  bool implied = false;            // kColumn: the implied operand of a rule
  int index = 0;                   // kParameter
  std::vector<Op> ops;             // kUnary (one), kChain (kids.size() - 1)
  std::vector<std::unique_ptr<Node>> kids;
  bool negate = false;
  std::string name;                            // kCall (as written), kAggregate (upper case)
  const vb::FunctionInfo* function = nullptr;  // kCall
  bool distinct = false;                       // kAggregate
  std::unique_ptr<Select> select;              // kInSelect, kExists, kSubquery
  // Set by the translator: the SQL a column or alias stands for, and
  // whether it is a column of a stored table.
  std::string sql;
  bool stored_column = false;
};

using NodePtr = std::unique_ptr<Node>;

struct SelectItem {
  NodePtr expr;       // null for * and t.*
  std::string star;   // t of t.*; empty with expr null: *
  std::string alias;  // AS alias or [alias]
};

struct FromItem {
  enum class Kind { kTable, kSubquery, kJoin } kind = Kind::kTable;
  std::string table;  // kTable
  std::string alias;
  std::unique_ptr<Select> select;  // kSubquery
  // kJoin: left JOIN right ON on
  std::string join;  // "INNER", "LEFT", "RIGHT"
  std::unique_ptr<FromItem> left, right;
  NodePtr on;
  bool parenthesized = false;
  std::string sql;  // set by the translator: a subquery's SQL
};

struct OrderItem {
  NodePtr expr;
  bool descending = false;
};

struct Select {
  bool distinct = false;
  std::string limit;  // TOP n
  std::vector<SelectItem> items;
  std::vector<std::unique_ptr<FromItem>> from;
  NodePtr where;
  std::vector<NodePtr> group_by;
  NodePtr having;
  // UNION [ALL] select, in order.
  std::vector<std::pair<bool, std::unique_ptr<Select>>> unions;
  std::vector<OrderItem> order_by;
};

struct StatementAst {
  StatementKind kind = StatementKind::kSelect;
  std::unique_ptr<Select> select;                     // kSelect; kInsert from a SELECT
  std::string table;                                  // kInsert, kUpdate, kDelete
  std::vector<std::string> columns;                   // kInsert (may be empty: all)
  std::vector<NodePtr> values;                        // kInsert VALUES
  std::vector<std::pair<std::string, NodePtr>> sets;  // kUpdate
  NodePtr where;                                      // kUpdate, kDelete
};

// A parse failure: number is the statement-level error to raise (0: the
// expression error of the context); at is where the expression that failed
// starts.
struct SyntaxError {
  int32_t number = 0;
  size_t at = 0;
};

// An unknown function name.
struct UnknownFunction {
  std::string name;
};

struct ParseOptions {
  // A comparison without a left side (">0") compares this implied operand
  // (a kColumn node with implied set).
  bool implied_operand = false;
  // ?N stands for the Nth value of an expression program (kParameter).
  bool parameters = false;
};

// Parse a whole statement or a whole expression; raise SyntaxError or
// UnknownFunction.
StatementAst ParseStatement(std::string_view text);
NodePtr ParseExpression(std::string_view text, const ParseOptions& options = {});

}  // namespace qor::dao::jet

#endif  // QOR_DB_ENGINE_JET_AST_H_
