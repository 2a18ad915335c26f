#include "db/engine/jet_sql.h"

#include <cstdio>
#include <deque>
#include <map>
#include <unordered_map>

#include "db/engine/jet_ast.h"
#include "db/engine/jet_eval.h"
#include "db/engine/jet_lexer.h"
#include "db/engine/jet_types.h"
#include "qorsupport/db/engine/dao.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"

namespace qor::dao::jet {

std::string QuoteName(std::string_view name) {
  std::string out = "\"";
  for (char c : name) {
    if (c == '"') out += '"';
    out += c;
  }
  return out + "\"";
}

std::string QuoteText(std::string_view text) {
  std::string out = "'";
  for (char c : text) {
    if (c == '\'') out += '\'';
    out += c;
  }
  return out + "'";
}

namespace {

// The most literals of a criterion that become parameters: SQLite looks
// numbered parameters up one by one, so a long In list is written out.
constexpr size_t kMaxLiteralParameters = 100;
// The most values one qor_expr call takes (SQLite allows 127 arguments).
constexpr size_t kMaxProgramParameters = 120;

constexpr std::string_view kCollate = " COLLATE qor_jet";

// How deep translated SQL may nest, in entries of SQLite's parser stack
// (which holds about 90): a call takes 5, a nested SELECT 9, another
// native construct 4.
constexpr int kMaxSqlCost = 80;
constexpr int kCallCost = 5;
constexpr int kSelectCost = 9;

std::string DateSql(Date d) {
  vb::DateParts p = vb::SplitDate(d);
  char buf[32];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", p.year, p.month, p.day, p.hour,
                p.minute, p.second);
  return buf;
}

std::string LiteralSql(const Variant& v) {
  switch (v.type()) {
    case VarType::kNull:
      return "NULL";
    case VarType::kBoolean:
      return v.AsBoolean() ? "-1" : "0";
    case VarType::kLong:
      return std::to_string(static_cast<int64_t>(v.NumericValue()));
    case VarType::kDouble: {
      char buf[40];
      std::snprintf(buf, sizeof buf, "%.17g", v.NumericValue());
      std::string s = buf;
      if (s.find_first_of(".eEn") == std::string::npos) s += ".0";
      return s;
    }
    case VarType::kDate:
      return QuoteText(DateSql(v.AsDate()));
    default:
      return QuoteText(vb::CStr(v));
  }
}

const char* ComparisonSql(Op op) {
  switch (op) {
    case Op::kEqual:
      return " = ";
    case Op::kNotEqual:
      return " <> ";
    case Op::kLess:
      return " < ";
    case Op::kLessEqual:
      return " <= ";
    case Op::kGreater:
      return " > ";
    default:
      return " >= ";
  }
}

bool IsBooleanish(int type) { return type == kBoolean || type == kNullType; }

// Whether a stored value of type from needs converting to be stored in a
// field of type to.
bool NeedsConversion(int from, int to) {
  if (from == to || from == kNullType) return false;
  if (to == kVariantType || to == kLongBinary) return false;
  if (IsTextualType(from) && IsTextualType(to)) return false;
  auto whole = [](int t) { return t == kByte || t == kInteger || t == kLong || t == kBoolean; };
  if (to == kDouble && IsNumericType(from)) return false;
  if (whole(to) && whole(from)) return false;  // the range and Yes/No rules of the table hold
  return true;
}

struct Table {
  std::string name;
  std::string alias;
  const std::vector<FieldInfo>* fields = nullptr;
  bool derived = false;  // a subquery in FROM
};

struct Scope {
  Scope* outer = nullptr;
  std::vector<Table> tables;
  bool complete = true;  // the fields of every table are known
  // The select items already translated (for names that are aliases).
  std::vector<std::pair<std::string, std::pair<std::string, int>>> aliases;
};

class Compiler : public Typer {
 public:
  Compiler(std::string_view source, Catalog* catalog, const ExpressionOptions& options)
      : source_(source), catalog_(catalog), options_(options) {}

  // ---- Entries -------------------------------------------------------------------

  std::string Condition(Node& root) {
    Scope scope = ExpressionScope();
    scope_ = &scope;
    TypeTree(root, *this);
    if (CountLiterals(root) > kMaxLiteralParameters) inline_literals_ = true;
    return Compile(root, true);
  }

  std::string Value(Node& root, int* type) {
    Scope scope = ExpressionScope();
    scope_ = &scope;
    TypeTree(root, *this);
    if (CountLiterals(root) > kMaxLiteralParameters) inline_literals_ = true;
    if (type) *type = root.type;
    return Compile(root, false);
  }

  Statement CompileStatement(StatementAst& ast) {
    Statement st;
    switch (ast.kind) {
      case StatementKind::kSelect:
        st.kind = StatementKind::kSelect;
        st.sql = CompileSelect(*ast.select, &st, nullptr, nullptr);
        break;
      case StatementKind::kInsert:
        st.kind = StatementKind::kInsert;
        st.sql = CompileInsert(ast);
        break;
      case StatementKind::kUpdate:
        st.kind = StatementKind::kUpdate;
        st.sql = CompileUpdate(ast);
        break;
      case StatementKind::kDelete: {
        st.kind = StatementKind::kDelete;
        Scope scope;
        AddTable(&scope, ast.table, "");
        scope_ = &scope;
        st.sql = "DELETE FROM " + QuoteName(ast.table);
        if (ast.where) st.sql += " WHERE " + TopCondition(*ast.where);
        scope_ = nullptr;
        break;
      }
    }
    return st;
  }

  size_t literal_count() const { return literal_count_; }
  bool inline_literals() const { return inline_literals_; }
  void set_inline_literals() { inline_literals_ = true; }
  // The token of each literal made a parameter, in order, and whether a
  // sign was folded into it.
  const std::vector<std::pair<int, bool>>& slots() const { return slots_; }

  // ---- Typer ---------------------------------------------------------------------

  void Column(Node& n) override {
    if (n.implied) {
      n.sql = options_.implied_operand;
      n.type = ExpressionType(options_.implied_type);
      return;
    }
    const std::string& name = n.parts.back();
    std::string qualifier = n.parts.size() >= 2 ? n.parts[n.parts.size() - 2] : "";
    bool complete = true;
    for (Scope* s = scope_; s; s = s->outer) {
      for (const Table& t : s->tables) {
        bool matches = qualifier.empty() || (t.name.empty() && t.alias.empty()) ||
                       SameName(qualifier, t.alias.empty() ? t.name : t.alias);
        if (!matches || !t.fields) continue;
        int i = FindByName(*t.fields, name);
        if (i >= 0) {
          n.type = ExpressionType((*t.fields)[static_cast<size_t>(i)].type);
          n.sql = ColumnSql(n);
          n.stored_column = !t.derived;
          return;
        }
      }
      if (qualifier.empty()) {
        for (const auto& [alias, item] : s->aliases) {
          if (SameName(alias, name)) {
            n.type = item.second;
            n.sql = "(" + item.first + ")";
            return;
          }
        }
      }
      complete = complete && s->complete;
      // Correlated names reach outer queries; an expression's own fields
      // end the search.
    }
    if (complete && scope_ && !scope_->tables.empty()) Fail(e::kTooFewParameters, {"1"});
    n.type = kVariantType;
    n.sql = ColumnSql(n);
  }

  void Parameter(Node&) override { throw SyntaxError{}; }

  void Subquery(Node& n) override {
    int first_type = kVariantType;
    n.sql = "(" + CompileSelect(*n.select, nullptr, nullptr, &first_type) + ")";
    if (n.kind == NodeKind::kSubquery) n.type = first_type;
  }

 private:
  Scope ExpressionScope() {
    Scope scope;
    Table t;
    t.fields = options_.fields;
    scope.tables.push_back(t);
    scope.complete = options_.fields != nullptr;
    return scope;
  }

  std::string ColumnSql(const Node& n) const {
    if (!options_.column_prefix.empty()) return options_.column_prefix + QuoteName(n.parts.back());
    std::string out;
    for (const std::string& p : n.parts) {
      if (!out.empty()) out += ".";
      out += QuoteName(p);
    }
    return out;
  }

  void AddTable(Scope* scope, const std::string& name, const std::string& alias) {
    Table t;
    t.name = name;
    t.alias = alias;
    t.fields = catalog_ ? catalog_->Fields(name) : nullptr;
    if (!t.fields) scope->complete = false;
    scope->tables.push_back(std::move(t));
  }

  // ---- Expressions -------------------------------------------------------------------

  std::string TopCondition(Node& n) {
    TypeTree(n, *this);
    return Compile(n, true);
  }
  std::string TopValue(Node& n) {
    TypeTree(n, *this);
    return Compile(n, false);
  }

  std::string Literal(const Node& n) {
    const Variant& v = n.value;
    if (!options_.literals || inline_literals_ || v.IsNull() || v.IsBoolean()) {
      return LiteralSql(v);
    }
    options_.literals->push_back(v);
    slots_.emplace_back(n.token, n.negated);
    ++literal_count_;
    return "?" + std::to_string(options_.first_parameter +
                                static_cast<int>(options_.literals->size()) - 1);
  }

  static std::string AsValue(const std::string& condition) { return "-(" + condition + ")"; }

  // Whether the node is written as SQLite's own construct in the context.
  bool Native(const Node& n, bool condition) const {
    switch (n.kind) {
      case NodeKind::kLiteral:
      case NodeKind::kColumn:
      case NodeKind::kAggregate:
      case NodeKind::kSubquery:
      case NodeKind::kExists:
      case NodeKind::kInSelect:
      case NodeKind::kIsNull:
        return true;
      case NodeKind::kChain:
        if (n.ops.size() == 1 && IsComparison(n.ops[0])) {
          return ComparableNatively(n.kids[0]->type, n.kids[1]->type);
        }
        if ((n.ops[0] == Op::kAnd || n.ops[0] == Op::kOr) && condition) {
          // Only as a condition: SQLite may leave out a side whose value
          // does not matter, where a value computes both as VB does.
          for (const NodePtr& k : n.kids) {
            if (!IsBooleanish(k->type)) return false;
          }
          return n.kids.size() <= 200;
        }
        return false;
      case NodeKind::kUnary:
        return n.ops[0] == Op::kNot && IsBooleanish(n.kids[0]->type);
      case NodeKind::kLike:
        return Texty(n.kids[0]->type) && Texty(n.kids[1]->type);
      case NodeKind::kBetween:
        return ComparableNatively(n.kids[0]->type, n.kids[1]->type) &&
               ComparableNatively(n.kids[0]->type, n.kids[2]->type) &&
               !(n.kids[0]->type == kNullType);
      case NodeKind::kIn:
        for (size_t i = 1; i < n.kids.size(); ++i) {
          if (!ComparableNatively(n.kids[0]->type, n.kids[i]->type)) return false;
        }
        return true;
      default:
        return false;
    }
    (void)condition;
  }

  // Texts (or values that may be texts) compare by Jet's order.
  static bool Texty(int type) { return IsTextualType(type) || type == kVariantType; }
  static std::string CollateFor(int type) { return Texty(type) ? std::string(kCollate) : ""; }
  std::string Collated(const Node& a, const Node& b) const {
    return Texty(a.type) && Texty(b.type) ? std::string(kCollate) : "";
  }

  // How much of SQLite's parser stack a native node takes (measured: it
  // holds 30 levels of "(a OR (b OR ...", 18 of calls, 10 of "a IN
  // (SELECT ... WHERE b IN (SELECT ...").
  static int NativeCost(const Node& n) {
    switch (n.kind) {
      case NodeKind::kLiteral:
      case NodeKind::kColumn:
      case NodeKind::kSubquery:  // counted where its SELECT is translated
        return 0;
      case NodeKind::kLike:
      case NodeKind::kAggregate:
        return kCallCost;
      default:
        return 4;
    }
  }

  // Counts SQL nesting while it lives.
  class Nesting {
   public:
    Nesting(Compiler* c, int cost) : c_(c), cost_(cost) { c_->sql_cost_ += cost_; }
    ~Nesting() { c_->sql_cost_ -= cost_; }
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;

   private:
    Compiler* c_;
    int cost_;
  };

  static bool Evaluable(const Node& n) {
    return n.kind != NodeKind::kAggregate && n.kind != NodeKind::kSubquery &&
           n.kind != NodeKind::kExists && n.kind != NodeKind::kInSelect &&
           n.kind != NodeKind::kColumn && n.kind != NodeKind::kLiteral;
  }

  std::string Compile(Node& n, bool condition) {
    if (!Native(n, condition)) return Region(n, kVariantType, false);
    int cost = NativeCost(n);
    // Too deep for SQLite's parser: the rest is one flat call.
    if (sql_cost_ + cost + kCallCost > kMaxSqlCost && Evaluable(n)) {
      return Region(n, kVariantType, false);
    }
    Nesting nesting(this, cost);
    switch (n.kind) {
      case NodeKind::kLiteral:
        return Literal(n);
      case NodeKind::kColumn:
        return n.sql;
      case NodeKind::kAggregate:
        return AggregateSql(n);
      case NodeKind::kSubquery:
        return n.sql;
      case NodeKind::kExists: {
        std::string sql = "EXISTS " + n.sql;
        return condition ? sql : AsValue(sql);
      }
      case NodeKind::kInSelect: {
        const Node& v = *n.kids[0];
        std::string sql = "(" + Compile(*n.kids[0], false) + CollateFor(v.type) +
                          (n.negate ? " NOT IN " : " IN ") + n.sql + ")";
        return condition ? sql : AsValue(sql);
      }
      case NodeKind::kIsNull: {
        std::string sql =
            "(" + Compile(*n.kids[0], false) + (n.negate ? " IS NOT NULL)" : " IS NULL)");
        return condition ? sql : AsValue(sql);
      }
      case NodeKind::kChain: {
        if (IsComparison(n.ops[0])) {
          std::string left = Compile(*n.kids[0], false);  // left first: parameters in order
          std::string right = Compile(*n.kids[1], false);
          std::string sql =
              "(" + left + ComparisonSql(n.ops[0]) + right + Collated(*n.kids[0], *n.kids[1]) + ")";
          return condition ? sql : AsValue(sql);
        }
        std::string sql = "(";
        const char* word = n.ops[0] == Op::kAnd ? " AND " : " OR ";
        for (size_t i = 0; i < n.kids.size(); ++i) {
          if (i) sql += word;
          sql += Compile(*n.kids[i], true);
        }
        sql += ")";
        return condition ? sql : AsValue(sql);
      }
      case NodeKind::kUnary:
        if (condition) return "(NOT " + Compile(*n.kids[0], true) + ")";
        return "(~" + Compile(*n.kids[0], false) + ")";
      case NodeKind::kLike: {
        std::string text = Compile(*n.kids[0], false);
        std::string sql = "qor_like(" + text + ", " + Compile(*n.kids[1], false) + ")";
        if (!n.negate) return sql;
        return condition ? "(NOT " + sql + ")" : "(~" + sql + ")";
      }
      case NodeKind::kBetween: {
        std::string value = Compile(*n.kids[0], false);
        std::string low = Compile(*n.kids[1], false);
        std::string high = Compile(*n.kids[2], false);
        std::string sql = "(" + value + CollateFor(n.kids[0]->type) +
                          (n.negate ? " NOT BETWEEN " : " BETWEEN ") + low + " AND " + high + ")";
        return condition ? sql : AsValue(sql);
      }
      case NodeKind::kIn: {
        std::string sql = "(" + Compile(*n.kids[0], false) + CollateFor(n.kids[0]->type) +
                          (n.negate ? " NOT IN (" : " IN (");
        for (size_t i = 1; i < n.kids.size(); ++i) {
          if (i > 1) sql += ", ";
          sql += Compile(*n.kids[i], false);
        }
        sql += "))";
        return condition ? sql : AsValue(sql);
      }
      default:
        return Region(n, kVariantType, false);
    }
  }

  std::string AggregateSql(Node& n) {
    if (n.kids.empty()) return "count(*)";
    const Node& arg = *n.kids[0];
    std::string value = Compile(*n.kids[0], false);
    if (n.distinct) value = "DISTINCT " + value;
    const std::string& f = n.name;
    if (f == "COUNT") return "count(" + value + ")";
    if (f == "SUM") return "sum(" + value + ")";
    if (f == "AVG") return "avg(" + value + ")";
    std::string collate = IsTextualType(arg.type) ? std::string(kCollate) : "";
    if (f == "MIN") return "min(" + value + collate + ")";
    if (f == "MAX") return "max(" + value + collate + ")";
    if (f == "FIRST") return "qor_first(" + value + ")";
    if (f == "LAST") return "qor_last(" + value + ")";
    if (f == "STDEV") return "qor_stdev(" + value + ")";
    if (f == "STDEVP") return "qor_stdevp(" + value + ")";
    if (f == "VAR") return "qor_var(" + value + ")";
    return "qor_varp(" + value + ")";
  }

  // Too many literals for parameters (a long In list or sum) are written out.
  static size_t CountLiterals(const Node& n) {
    size_t count = n.kind == NodeKind::kLiteral ? 1 : 0;
    for (const NodePtr& k : n.kids) count += CountLiterals(*k);
    return count;
  }

  static bool HasUnknownName(const Node& n) {
    if ((n.kind == NodeKind::kColumn || n.kind == NodeKind::kSubquery ||
         n.kind == NodeKind::kAggregate) &&
        n.type == kVariantType) {
      return true;
    }
    for (const NodePtr& k : n.kids) {
      if (HasUnknownName(*k)) return true;
    }
    return false;
  }

  // ---- Programs ---------------------------------------------------------------------

  struct Leaf {
    size_t begin, end;
    size_t index;  // 1-based
  };

  bool IsLeaf(const Node& n) const {
    switch (n.kind) {
      case NodeKind::kColumn:
      case NodeKind::kAggregate:
      case NodeKind::kSubquery:
      case NodeKind::kExists:
      case NodeKind::kInSelect:
        return true;
      case NodeKind::kLiteral:
        return options_.literals && !inline_literals_ && !n.value.IsNull() && !n.value.IsBoolean();
      default:
        return false;
    }
  }

  void CollectLeaves(Node& n, std::vector<Leaf>* leaves, std::vector<std::string>* sql,
                     std::vector<int>* types, std::map<std::string, size_t>* seen) {
    if (IsLeaf(n)) {
      std::string s = Compile(n, false);
      auto [it, fresh] = seen->emplace(s, sql->size() + 1);
      if (fresh) {
        sql->push_back(s);
        types->push_back(n.type == kNullType ? kVariantType : n.type);
      }
      leaves->push_back({n.begin, n.end, it->second});
      return;
    }
    for (NodePtr& k : n.kids) CollectLeaves(*k, leaves, sql, types, seen);
  }

  // The node as a call of qor_expr: its text with its leaves as parameters.
  std::string Region(Node& n, int result_type, bool error_values) {
    Nesting nesting(this, kCallCost);
    std::vector<Leaf> leaves;
    std::vector<std::string> sql;
    std::vector<int> types;
    std::map<std::string, size_t> seen;
    CollectLeaves(n, &leaves, &sql, &types, &seen);
    if (sql.size() > kMaxProgramParameters) throw SyntaxError{};
    std::string program;
    size_t at = n.begin;
    for (const Leaf& leaf : leaves) {
      program.append(source_.substr(at, leaf.begin - at));
      program += "?" + std::to_string(leaf.index);
      if (leaf.end == leaf.begin) program += " ";  // an implied operand
      at = leaf.end;
    }
    program.append(source_.substr(at, n.end - at));
    int type = result_type != kVariantType ? result_type : n.type;
    if (type == kNullType) type = kVariantType;
    std::string out = "qor_expr(" + QuoteText(ProgramText(error_values, type, types, program));
    for (const std::string& s : sql) out += ", " + s;
    return out + ")";
  }

  // sql (of type from) as a value to store in a field of type to.
  std::string Converted(const std::string& sql, int from, int to) {
    if (!NeedsConversion(from, to)) return sql;
    return "qor_expr(" +
           QuoteText(
               ProgramText(false, to, {from == kNullType ? kVariantType : from}, "?1", true)) +
           ", " + sql + ")";
  }

  // ---- Statements -------------------------------------------------------------------

  // Registers the tables of a FROM item; the ON conditions come later.
  void RegisterFrom(FromItem& item, Scope* scope, int* tables, std::string* first_table) {
    switch (item.kind) {
      case FromItem::Kind::kTable:
        AddTable(scope, item.table, item.alias);
        if (++*tables == 1) *first_table = item.table;
        if (!item.alias.empty()) ++*tables;
        break;
      case FromItem::Kind::kSubquery: {
        Scope* saved = scope_;
        scope_ = scope->outer;
        std::vector<int> types;
        std::vector<std::string> names;
        bool known = true;
        item.sql = CompileSelect(*item.select, nullptr, nullptr, nullptr, &types, &names, &known);
        scope_ = saved;
        Table t;
        t.alias = item.alias;
        t.name = item.alias.empty() ? std::string("\x01") : item.alias;
        t.derived = true;
        if (known) {
          owned_fields_.emplace_back();
          for (size_t i = 0; i < names.size(); ++i) {
            FieldInfo f;
            f.name = names[i];
            f.type = types[i] == kNullType ? kText : types[i];
            owned_fields_.back().push_back(f);
          }
          t.fields = &owned_fields_.back();
        } else {
          scope->complete = false;
        }
        scope->tables.push_back(std::move(t));
        *tables += 2;  // a derived table is never updatable
        if (!item.alias.empty()) ++*tables;
        break;
      }
      case FromItem::Kind::kJoin:
        RegisterFrom(*item.left, scope, tables, first_table);
        RegisterFrom(*item.right, scope, tables, first_table);
        break;
    }
  }

  std::string FromSql(FromItem& item) {
    switch (item.kind) {
      case FromItem::Kind::kTable:
        return QuoteName(item.table) + (item.alias.empty() ? "" : " AS " + QuoteName(item.alias));
      case FromItem::Kind::kSubquery:
        return "(" + item.sql + ")" + (item.alias.empty() ? "" : " AS " + QuoteName(item.alias));
      case FromItem::Kind::kJoin: {
        std::string out = FromSql(*item.left) + " " + item.join + " JOIN " + FromSql(*item.right) +
                          " ON " + TopCondition(*item.on);
        return item.parenthesized ? "(" + out + ")" : out;
      }
    }
    return "";
  }

  // Names and types of a select's result columns; false when a * cannot be
  // counted.
  bool Columns(const Select& s, const Scope& scope, const std::vector<int>& item_types,
               std::vector<std::string>* names, std::vector<int>* types) {
    for (size_t i = 0; i < s.items.size(); ++i) {
      const SelectItem& item = s.items[i];
      if (item.expr) {
        std::string name = item.alias;
        if (name.empty()) {
          name = item.expr->kind == NodeKind::kColumn && !item.expr->implied
                     ? item.expr->parts.back()
                     : "Expr" + std::to_string(1000 + i);
        }
        names->push_back(name);
        types->push_back(item_types[i]);
        continue;
      }
      bool found = false;
      for (const Table& t : scope.tables) {
        if (!item.star.empty() && !SameName(item.star, t.alias.empty() ? t.name : t.alias)) {
          continue;
        }
        if (!t.fields) return false;
        for (const FieldInfo& f : *t.fields) {
          names->push_back(f.name);
          types->push_back(0);
        }
        found = true;
      }
      if (!found) return false;
    }
    return true;
  }

  // A SELECT. st: the statement of the outermost select (its column types,
  // its single table); target_types: the types of the fields its columns go
  // to (INSERT ... SELECT); first_type: the type of its first column (a
  // subquery's value); types/names/known: its columns (a derived table).
  std::string CompileSelect(Select& s, Statement* st, const std::vector<int>* target_types,
                            int* first_type, std::vector<int>* types = nullptr,
                            std::vector<std::string>* names = nullptr, bool* known = nullptr,
                            bool error_values = false) {
    Nesting nesting(this, kSelectCost);
    Scope scope;
    scope.outer = scope_;
    Scope* saved = scope_;
    int tables = 0;
    std::string first_table;
    for (auto& item : s.from) RegisterFrom(*item, &scope, &tables, &first_table);
    scope_ = &scope;
    std::string from;
    for (size_t i = 0; i < s.from.size(); ++i) {
      if (i) from += ", ";
      from += FromSql(*s.from[i]);
    }
    bool top = st != nullptr || error_values;
    std::string out = s.distinct ? "SELECT DISTINCT " : "SELECT ";
    std::vector<int> item_types;
    for (size_t i = 0; i < s.items.size(); ++i) {
      SelectItem& item = s.items[i];
      if (i) out += ", ";
      if (!item.expr) {
        out += item.star.empty() ? "*" : QuoteName(item.star) + ".*";
        item_types.push_back(0);
        continue;
      }
      Node& e = *item.expr;
      TypeTree(e, *this);
      int type = e.type;
      std::string sql;
      // A value that is one of several types (IIf(c, 1, "a")) is a text; one
      // computed from names of unknown type is what SQLite holds.
      if (type == kNullType || (type == kVariantType && !HasUnknownName(e))) type = kText;
      if (Native(e, false)) {
        sql = Compile(e, false);
      } else {
        sql = Region(e, type, top);
      }
      if (target_types && i < target_types->size()) {
        sql = Converted(sql, type, (*target_types)[i]);
      }
      if (IsTextualType(type) && e.kind != NodeKind::kColumn && (s.distinct || !s.unions.empty())) {
        sql += kCollate;
      }
      out += sql;
      if (!item.alias.empty()) out += " AS " + QuoteName(item.alias);
      item_types.push_back(type);
      if (!item.alias.empty()) scope.aliases.push_back({item.alias, {sql, type}});
    }
    if (first_type && !item_types.empty()) {
      *first_type = s.items[0].expr ? item_types[0] : kVariantType;
    }
    if (st || types) {
      std::vector<std::string> column_names;
      std::vector<int> column_types;
      bool counted = Columns(s, scope, item_types, &column_names, &column_types);
      if (st && counted) {
        st->column_types.clear();
        size_t c = 0;
        for (const SelectItem& item : s.items) {
          if (item.expr) {
            const Node& e = *item.expr;
            // A stored field keeps its own type (the cursor reads it).
            bool stored = e.kind == NodeKind::kColumn && e.stored_column;
            st->column_types.push_back(stored ? 0 : column_types[c]);
            ++c;
          } else {
            // The fields of the starred tables, typed by the cursor.
            size_t n = 0;
            for (const Table& t : scope.tables) {
              if (!item.star.empty() && !SameName(item.star, t.alias.empty() ? t.name : t.alias)) {
                continue;
              }
              n += t.fields->size();
            }
            st->column_types.insert(st->column_types.end(), n, 0);
            c += n;
          }
        }
      }
      if (types) {
        *types = column_types;
        *names = column_names;
        *known = counted;
      }
    }
    out += " FROM " + from;
    bool simple = !s.distinct && tables == 1;
    if (s.where) out += " WHERE " + TopCondition(*s.where);
    if (!s.group_by.empty()) {
      out += " GROUP BY ";
      for (size_t i = 0; i < s.group_by.size(); ++i) {
        if (i) out += ", ";
        Node& g = *s.group_by[i];
        out += TopValue(g);
        if (IsTextualType(g.type)) out += kCollate;
      }
      simple = false;
    }
    if (s.having) {
      out += " HAVING " + TopCondition(*s.having);
      simple = false;
    }
    for (auto& [all, u] : s.unions) {
      out += all ? " UNION ALL " : " UNION ";
      Scope* outer = scope_;
      scope_ = scope.outer;
      out += CompileSelect(*u, nullptr, target_types, nullptr, nullptr, nullptr, nullptr, top);
      scope_ = outer;
      simple = false;
    }
    if (!s.order_by.empty()) {
      out += " ORDER BY ";
      for (size_t i = 0; i < s.order_by.size(); ++i) {
        if (i) out += ", ";
        Node& o = *s.order_by[i].expr;
        out += TopValue(o);
        if (IsTextualType(o.type)) out += kCollate;
        if (s.order_by[i].descending) out += " DESC";
      }
    }
    if (!s.limit.empty()) out += " LIMIT " + s.limit;
    if (st) st->single_table = simple ? first_table : "";
    scope_ = saved;
    return out;
  }

  std::vector<int> TargetTypes(const std::string& table, const std::vector<std::string>& columns) {
    std::vector<int> out;
    const std::vector<FieldInfo>* fields = catalog_ ? catalog_->Fields(table) : nullptr;
    if (!fields) return out;
    if (columns.empty()) {
      for (const FieldInfo& f : *fields) out.push_back(ExpressionType(f.type));
      return out;
    }
    for (const std::string& c : columns) {
      int i = FindByName(*fields, c);
      out.push_back(i < 0 ? kVariantType : ExpressionType((*fields)[static_cast<size_t>(i)].type));
    }
    return out;
  }

  std::string CompileInsert(StatementAst& ast) {
    std::string out = "INSERT INTO " + QuoteName(ast.table);
    if (!ast.columns.empty()) {
      out += " (";
      for (size_t i = 0; i < ast.columns.size(); ++i) {
        if (i) out += ", ";
        out += QuoteName(ast.columns[i]);
      }
      out += ")";
    }
    std::vector<int> targets = TargetTypes(ast.table, ast.columns);
    if (ast.select) {
      out +=
          " " + CompileSelect(*ast.select, nullptr, targets.empty() ? nullptr : &targets, nullptr);
      return out;
    }
    Scope scope;  // VALUES name no fields
    scope_ = &scope;
    out += " VALUES (";
    for (size_t i = 0; i < ast.values.size(); ++i) {
      if (i) out += ", ";
      Node& v = *ast.values[i];
      std::string sql = TopValue(v);
      if (i < targets.size()) sql = Converted(sql, v.type, targets[i]);
      out += sql;
    }
    scope_ = nullptr;
    return out + ")";
  }

  std::string CompileUpdate(StatementAst& ast) {
    Scope scope;
    AddTable(&scope, ast.table, "");
    scope_ = &scope;
    const std::vector<FieldInfo>* fields = scope.tables[0].fields;
    std::string out = "UPDATE " + QuoteName(ast.table) + " SET ";
    for (size_t i = 0; i < ast.sets.size(); ++i) {
      if (i) out += ", ";
      auto& [column, value] = ast.sets[i];
      std::string sql = TopValue(*value);
      if (fields) {
        int k = FindByName(*fields, column);
        if (k >= 0) {
          sql = Converted(sql, value->type, ExpressionType((*fields)[static_cast<size_t>(k)].type));
        }
      }
      out += QuoteName(column) + " = " + sql;
    }
    if (ast.where) out += " WHERE " + TopCondition(*ast.where);
    scope_ = nullptr;
    return out;
  }

  std::string_view source_;
  Catalog* catalog_;
  ExpressionOptions options_;
  Scope* scope_ = nullptr;
  bool inline_literals_ = false;
  size_t literal_count_ = 0;
  int sql_cost_ = 0;
  std::vector<std::pair<int, bool>> slots_;
  std::deque<std::vector<FieldInfo>> owned_fields_;
};

// Criteria translated before, by their shape: the text with each literal
// replaced by its kind. A criterion whose literals are all parameters
// translates the same for any values of the same kinds (the keyed reads of
// FindFirst), so a second one costs its tokens and a look-up.
struct CachedCriterion {
  std::string where;
  std::vector<std::pair<int, bool>> slots;  // literal tokens, in parameter order
};

class CriteriaShapes {
 public:
  const CachedCriterion* Find(const std::string& key) const {
    auto it = map_.find(key);
    return it == map_.end() ? nullptr : &it->second;
  }
  void Put(std::string key, CachedCriterion c) {
    if (map_.size() >= 512) map_.clear();
    map_.emplace(std::move(key), std::move(c));
  }

 private:
  std::unordered_map<std::string, CachedCriterion> map_;
};

CriteriaShapes& Shapes() {
  thread_local CriteriaShapes shapes;
  return shapes;
}

// The shape of a criterion with its options; empty when it has none (a
// token that will not translate).
std::string ShapeKey(const std::vector<Token>& tokens, const ExpressionOptions& o) {
  std::string key = std::to_string(o.first_parameter) + '\x1f' + o.column_prefix + '\x1f' +
                    o.implied_operand + '\x1f' + std::to_string(o.implied_type) + '\x1f';
  if (o.fields) {
    for (const FieldInfo& f : *o.fields) key += f.name + '\x1e' + std::to_string(f.type) + '\x1e';
  } else {
    key += '\x1d';
  }
  key += '\x1f';
  for (const Token& t : tokens) {
    Variant v;
    switch (t.kind) {
      case TokenKind::kNumber:
      case TokenKind::kString:
      case TokenKind::kDate:
        if (!LiteralValue(t, &v)) return std::string();
        key += v.IsString() ? 'S' : v.IsDate() ? 'D' : v.type() == VarType::kLong ? 'L' : 'F';
        break;
      case TokenKind::kName:
        key += t.bracketed ? '[' : 'N';
        key += t.text;
        break;
      case TokenKind::kSymbol:
        key += 'Y';
        key += t.text;
        break;
      case TokenKind::kEnd:
        break;
    }
    key += '\x1f';
  }
  return key;
}

std::string TrimmedTail(std::string_view source, size_t from) {
  std::string text(source.substr(std::min(from, source.size())));
  while (!text.empty() && (text.back() == ';' || text.back() == ' ' || text.back() == '\n' ||
                           text.back() == '\r' || text.back() == '\t')) {
    text.pop_back();
  }
  return text;
}

}  // namespace

Statement TranslateStatement(std::string_view jet_sql, Catalog* catalog) {
  RegisterEngineErrors();
  size_t at = 0;
  try {
    StatementAst ast;
    try {
      ast = ParseStatement(jet_sql);
    } catch (const SyntaxError& error) {
      at = error.at;
      throw;
    }
    Compiler compiler(jet_sql, catalog, {});
    return compiler.CompileStatement(ast);
  } catch (const SyntaxError& error) {
    if (error.number != 0) Fail(error.number);
    Fail(e::kSyntaxInQuery, {TrimmedTail(jet_sql, at)});
  } catch (const UnknownFunction& f) {
    Fail(e::kUndefinedFunction, {f.name});
  }
}

std::string TranslateCriteria(std::string_view criteria, const ExpressionOptions& options) {
  RegisterEngineErrors();
  try {
    size_t before = options.literals ? options.literals->size() : 0;
    std::string key;
    std::vector<Token> tokens;
    if (options.literals) {
      try {
        tokens = Tokenize(criteria);
        key = ShapeKey(tokens, options);
        if (!key.empty()) key += std::to_string(before);
      } catch (const LexError&) {
        key.clear();
      }
      if (const CachedCriterion* hit = key.empty() ? nullptr : Shapes().Find(key)) {
        for (const auto& [token, negated] : hit->slots) {
          Variant v;
          LiteralValue(tokens[static_cast<size_t>(token)], &v);
          if (negated) {
            v = v.type() == VarType::kLong ? Long(-static_cast<int32_t>(v.NumericValue()))
                                           : Variant(-v.NumericValue());
          }
          options.literals->push_back(std::move(v));
        }
        return hit->where;
      }
    }
    std::string out;
    {
      NodePtr root = ParseExpression(criteria);
      Compiler compiler(criteria, nullptr, options);
      out = compiler.Condition(*root);
      if (!key.empty() && !compiler.inline_literals()) {
        Shapes().Put(std::move(key), CachedCriterion{out, compiler.slots()});
      }
    }
    if (options.literals && options.literals->size() - before > kMaxLiteralParameters) {
      options.literals->resize(before);
      NodePtr root = ParseExpression(criteria);
      Compiler compiler(criteria, nullptr, options);
      compiler.set_inline_literals();
      out = compiler.Condition(*root);
    }
    return out;
  } catch (const SyntaxError&) {
    Fail(e::kSyntaxInCriteria);
  } catch (const UnknownFunction& f) {
    Fail(e::kUndefinedFunction, {f.name});
  }
}

std::string TranslateExpression(std::string_view expression, const ExpressionOptions& options) {
  RegisterEngineErrors();
  try {
    ParseOptions parse;
    parse.implied_operand = !options.implied_operand.empty();
    NodePtr root = ParseExpression(expression, parse);
    Compiler compiler(expression, nullptr, options);
    return compiler.Condition(*root);
  } catch (const SyntaxError&) {
    Fail(e::kSyntaxInQuery, {std::string(expression)});
  } catch (const UnknownFunction& f) {
    Fail(e::kUndefinedFunction, {f.name});
  }
}

std::string TranslateValue(std::string_view expression, const ExpressionOptions& options,
                           int* type) {
  RegisterEngineErrors();
  try {
    NodePtr root = ParseExpression(expression);
    Compiler compiler(expression, nullptr, options);
    return compiler.Value(*root, type);
  } catch (const SyntaxError&) {
    Fail(e::kSyntaxInQuery, {std::string(expression)});
  } catch (const UnknownFunction& f) {
    Fail(e::kUndefinedFunction, {f.name});
  }
}

}  // namespace qor::dao::jet
