// Jet's typing of expressions (internal to the translator and the
// expression function): the type of every node of a tree, from the types
// of its leaves, by the rules of the VB runtime.
#ifndef QOR_DB_ENGINE_JET_TYPES_H_
#define QOR_DB_ENGINE_JET_TYPES_H_

#include "db/engine/jet_ast.h"

namespace qor::dao::jet {

// What typing needs from its caller: the types of names, parameters and
// subqueries (which it types and translates).
class Typer {
 public:
  virtual ~Typer() = default;
  // Sets column.type (and column.sql); raises for an unknown name.
  virtual void Column(Node& column) = 0;
  // Sets the type of a kParameter node.
  virtual void Parameter(Node& parameter) = 0;
  // Translates the select of a kSubquery, kExists or kInSelect node (into
  // node.sql) and, for kSubquery, sets its type.
  virtual void Subquery(Node& node) = 0;
};

// Types the tree: every node's type. Comparing a text with a number raises
// 3464.
void TypeTree(Node& root, Typer& typer);

// The type a field's DAO type has in expressions (kChar is kText, kTime a
// Date, the wide numbers Double, ...).
int ExpressionType(int field_type);

bool IsNumericType(int type);  // Boolean, Byte, Integer, Long, Single, Double, Currency
bool IsTextualType(int type);  // Text, Memo
// Whether SQLite compares two values of these types as Jet does (both
// numbers, both texts, both dates; Null or a Variant with anything).
bool ComparableNatively(int a, int b);

// The type of a value that is one of two types (IIf's branches).
int Unify(int a, int b);

// The VB kind a field of a DAO type holds (for conversions): server types
// map to their nearest kind; kVariant for binary types and kVariantType.
VarType VarTypeOf(int type);
// The DAO type of a value's kind.
int TypeOfValue(const Variant& v);

}  // namespace qor::dao::jet

#endif  // QOR_DB_ENGINE_JET_TYPES_H_
