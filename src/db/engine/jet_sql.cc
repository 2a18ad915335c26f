#include "db/engine/jet_sql.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <vector>

#include "db/engine/jet_lexer.h"
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

// A parse failure; number is the statement-level error to raise (0: the
// expression error of the context).
struct SyntaxError {
  int32_t number = 0;
};

// How deep expressions and statements may nest (parentheses, function
// calls, unary operators, subqueries, joins); deeper text is a syntax error,
// never a stack overflow.
constexpr int kMaxDepth = 200;

// The most literals of a criterion that become parameters.
constexpr size_t kMaxLiteralParameters = 100;

// Words that end an expression or a table alias.
bool IsClauseWord(const Token& t) {
  static const char* const kWords[] = {
      "FROM",  "WHERE", "GROUP", "ORDER", "HAVING", "UNION",    "INNER",      "LEFT",   "RIGHT",
      "OUTER", "JOIN",  "ON",    "AS",    "INTO",   "SET",      "VALUES",     "SELECT", "AND",
      "OR",    "NOT",   "LIKE",  "IN",    "IS",     "BETWEEN",  "XOR",        "EQV",    "IMP",
      "MOD",   "ASC",   "DESC",  "BY",    "TOP",    "DISTINCT", "DISTINCTROW"};
  for (const char* w : kWords) {
    if (t.IsKeyword(w)) return true;
  }
  return false;
}

// A Jet function and its SQLite form: a name to call with the same
// arguments, or a special form built in CallFunction.
struct FunctionForm {
  const char* sqlite;
  int min_args;
  int max_args;
};

const std::map<std::string, FunctionForm>& Functions() {
  static const auto* table = new std::map<std::string, FunctionForm>{
      {"ABS", {"abs", 1, 1}},
      {"ASC", {"unicode", 1, 1}},
      {"AVG", {"avg", 1, 1}},
      {"CDATE", {"qor_cdate", 1, 1}},
      {"CDBL", {"qor_cdbl", 1, 1}},
      {"CSNG", {"qor_cdbl", 1, 1}},
      {"CCUR", {"qor_cdbl", 1, 1}},
      {"CHR", {"char", 1, 1}},
      {"CINT", {"qor_clng", 1, 1}},
      {"CLNG", {"qor_clng", 1, 1}},
      {"COUNT", {"count", 1, 1}},
      {"CSTR", {"qor_cstr", 1, 1}},
      {"DATE", {"qor_date", 0, 0}},
      {"DATEADD", {"qor_dateadd", 3, 3}},
      {"DATEDIFF", {"qor_datediff", 3, 3}},
      {"DATEPART", {"qor_datepart", 2, 2}},
      {"DATESERIAL", {"qor_dateserial", 3, 3}},
      {"DATEVALUE", {"qor_cdate", 1, 1}},
      {"DAY", {"", 1, 1}},
      {"FIX", {"qor_fix", 1, 1}},
      {"HOUR", {"", 1, 1}},
      {"IIF", {"", 3, 3}},
      {"INSTR", {"qor_instr", 2, 3}},
      {"INT", {"qor_int", 1, 1}},
      {"ISNULL", {"", 1, 1}},
      {"ISNUMERIC", {"qor_isnumeric", 1, 1}},
      {"ISDATE", {"qor_isdate", 1, 1}},
      {"LCASE", {"lower", 1, 1}},
      {"LEFT", {"", 2, 2}},
      {"LEN", {"length", 1, 1}},
      {"LTRIM", {"", 1, 1}},
      {"MAX", {"max", 1, 1}},
      {"MID", {"substr", 2, 3}},
      {"MIN", {"min", 1, 1}},
      {"MINUTE", {"", 1, 1}},
      {"MONTH", {"", 1, 1}},
      {"NOW", {"qor_now", 0, 0}},
      {"NZ", {"", 1, 2}},
      {"REPLACE", {"replace", 3, 3}},
      {"RIGHT", {"qor_right", 2, 2}},
      {"ROUND", {"round", 1, 2}},
      {"RTRIM", {"", 1, 1}},
      {"SECOND", {"", 1, 1}},
      {"SGN", {"qor_sgn", 1, 1}},
      {"SPACE", {"qor_space", 1, 1}},
      {"SQR", {"qor_sqr", 1, 1}},
      {"STR", {"qor_str", 1, 1}},
      {"STRCOMP", {"qor_strcomp", 2, 3}},
      {"SUM", {"sum", 1, 1}},
      {"TIME", {"qor_time", 0, 0}},
      {"TRIM", {"", 1, 1}},
      {"UCASE", {"upper", 1, 1}},
      {"VAL", {"qor_val", 1, 1}},
      {"WEEKDAY", {"qor_weekday", 1, 2}},
      {"YEAR", {"", 1, 1}},
  };
  return *table;
}

class Parser {
 public:
  Parser(std::string_view source, ExpressionOptions options)
      : source_(source), options_(std::move(options)) {
    try {
      tokens_ = Tokenize(source);
    } catch (const LexError&) {
      throw SyntaxError{};
    }
  }

  // ---- Statements -----------------------------------------------------------

  Statement ParseStatement() {
    Statement st;
    if (Peek().IsKeyword("SELECT")) {
      st.kind = StatementKind::kSelect;
      st.sql = ParseSelect(&st.single_table, true);
    } else if (Peek().IsKeyword("INSERT")) {
      st.kind = StatementKind::kInsert;
      st.sql = ParseInsert();
    } else if (Peek().IsKeyword("UPDATE")) {
      st.kind = StatementKind::kUpdate;
      st.sql = ParseUpdate();
    } else if (Peek().IsKeyword("DELETE")) {
      st.kind = StatementKind::kDelete;
      st.sql = ParseDelete();
    } else {
      throw SyntaxError{e::kInvalidSql};
    }
    if (Peek().IsSymbol(";")) Next();
    if (Peek().kind != TokenKind::kEnd) throw SyntaxError{};
    return st;
  }

  std::string ParseWholeExpression() {
    std::string out = ParseExpr();
    if (Peek().kind != TokenKind::kEnd) throw SyntaxError{};
    return out;
  }

  size_t error_offset() const { return expr_start_; }

 private:
  // Counts one level of nesting while it lives.
  class Nest {
   public:
    explicit Nest(Parser* p) : p_(p) {
      if (++p_->depth_ > kMaxDepth) {
        --p_->depth_;
        throw SyntaxError{};
      }
    }
    ~Nest() { --p_->depth_; }
    Nest(const Nest&) = delete;
    Nest& operator=(const Nest&) = delete;

   private:
    Parser* p_;
  };

  const Token& Peek(size_t ahead = 0) const {
    size_t i = pos_ + ahead;
    return i < tokens_.size() ? tokens_[i] : tokens_.back();
  }
  const Token& Next() {
    const Token& t = Peek();
    if (pos_ < tokens_.size() - 1) ++pos_;
    return t;
  }
  void ExpectKeyword(std::string_view word, int32_t error = 0) {
    if (!Peek().IsKeyword(word)) throw SyntaxError{error};
    Next();
  }
  void ExpectSymbol(std::string_view symbol, int32_t error = 0) {
    if (!Peek().IsSymbol(symbol)) throw SyntaxError{error};
    Next();
  }
  bool AcceptKeyword(std::string_view word) {
    if (!Peek().IsKeyword(word)) return false;
    Next();
    return true;
  }
  bool AcceptSymbol(std::string_view symbol) {
    if (!Peek().IsSymbol(symbol)) return false;
    Next();
    return true;
  }

  // A name usable as an identifier (any bracketed name, a bare name that is
  // not a clause word).
  bool AtIdentifier() const {
    const Token& t = Peek();
    return t.kind == TokenKind::kName && (t.bracketed || !IsClauseWord(t));
  }
  std::string TakeIdentifier(int32_t error = 0) {
    if (!AtIdentifier()) throw SyntaxError{error};
    return Next().text;
  }

  // A top-level expression of a statement; its start is remembered for the
  // error text.
  std::string ParseTopExpr() {
    expr_start_ = Peek().offset;
    return ParseExpr();
  }

  std::string ParseSelect(std::string* single_table, bool allow_union) {
    Nest nest(this);
    ExpectKeyword("SELECT");
    std::string out = "SELECT ";
    bool simple = true;
    if (AcceptKeyword("DISTINCT")) {
      out += "DISTINCT ";
      simple = false;
    } else if (!AcceptKeyword("DISTINCTROW")) {
      AcceptKeyword("ALL");
    }
    std::string limit;
    if (AcceptKeyword("TOP")) {
      if (Peek().kind != TokenKind::kNumber) throw SyntaxError{e::kInvalidSql};
      limit = Next().text;
      if (Peek().IsKeyword("PERCENT")) throw SyntaxError{e::kInvalidSql};
    }
    // The select list.
    if (Peek().IsKeyword("FROM") || Peek().kind == TokenKind::kEnd) throw SyntaxError{kSelectError};
    do {
      if (AcceptSymbol("*")) {
        out += "*";
      } else if (AtIdentifier() && (Peek(1).IsSymbol(".") || Peek(1).IsSymbol("!")) &&
                 Peek(2).IsSymbol("*")) {
        out += QuoteName(Next().text) + ".*";  // all columns of a table; no alias
        Next();
        Next();
      } else {
        out += ParseTopExpr();
        if (AcceptKeyword("AS")) {
          if (Peek().kind != TokenKind::kName) throw SyntaxError{};
          out += " AS " + QuoteName(Next().text);
        } else if (Peek().kind == TokenKind::kName && Peek().bracketed) {
          out += " AS " + QuoteName(Next().text);
        }
      }
      if (Peek().IsSymbol(",")) out += ", ";
    } while (AcceptSymbol(","));
    if (Peek().IsKeyword("INTO")) throw SyntaxError{e::kInvalidSql};
    ExpectKeyword("FROM", kSelectError);
    int tables = 0;
    std::string first_table;
    out += " FROM " + ParseFromList(&tables, &first_table);
    if (tables != 1) simple = false;
    if (AcceptKeyword("WHERE")) out += " WHERE " + ParseTopExpr();
    if (AcceptKeyword("GROUP")) {
      ExpectKeyword("BY", kSelectError);
      out += " GROUP BY " + ParseExprList();
      simple = false;
    }
    if (AcceptKeyword("HAVING")) {
      out += " HAVING " + ParseTopExpr();
      simple = false;
    }
    if (allow_union) {
      while (AcceptKeyword("UNION")) {
        out += AcceptKeyword("ALL") ? " UNION ALL " : " UNION ";
        if (!limit.empty()) throw SyntaxError{e::kInvalidSql};
        std::string ignored;
        out += ParseSelect(&ignored, false);
        simple = false;
      }
    }
    if (AcceptKeyword("ORDER")) {
      ExpectKeyword("BY", kSelectError);
      bool first = true;
      do {
        out += first ? " ORDER BY " : ", ";
        first = false;
        out += ParseTopExpr();
        if (AcceptKeyword("DESC")) {
          out += " DESC";
        } else {
          AcceptKeyword("ASC");
        }
      } while (AcceptSymbol(","));
    }
    if (!limit.empty()) out += " LIMIT " + limit;
    if (single_table && simple) *single_table = first_table;
    return out;
  }

  std::string ParseExprList() {
    std::string out = ParseTopExpr();
    while (AcceptSymbol(",")) out += ", " + ParseTopExpr();
    return out;
  }

  std::string ParseFromList(int* tables, std::string* first_table) {
    std::string out = ParseFromItem(tables, first_table);
    while (AcceptSymbol(",")) {
      out += ", " + ParseFromItem(tables, first_table);
    }
    return out;
  }

  std::string ParseFromItem(int* tables, std::string* first_table) {
    std::string out = ParseJoinTerm(tables, first_table);
    while (true) {
      std::string join;
      if (AcceptKeyword("INNER")) {
        join = " INNER JOIN ";
      } else if (AcceptKeyword("LEFT")) {
        AcceptKeyword("OUTER");
        join = " LEFT JOIN ";
      } else if (AcceptKeyword("RIGHT")) {
        AcceptKeyword("OUTER");
        join = " RIGHT JOIN ";
      } else {
        break;
      }
      ExpectKeyword("JOIN", e::kSyntaxFrom);
      out += join + ParseJoinTerm(tables, first_table);
      ExpectKeyword("ON", e::kSyntaxFrom);
      out += " ON " + ParseTopExpr();
    }
    return out;
  }

  std::string ParseJoinTerm(int* tables, std::string* first_table) {
    Nest nest(this);
    std::string out;
    if (AcceptSymbol("(")) {
      if (Peek().IsKeyword("SELECT")) {
        out = "(" + ParseSelect(nullptr, true) + ")";
        *tables += 2;  // a derived table is never updatable
      } else {
        out = "(" + ParseFromItem(tables, first_table) + ")";
        ExpectSymbol(")", e::kSyntaxFrom);
        if (Peek().IsKeyword("AS") || AtIdentifier()) throw SyntaxError{e::kSyntaxFrom};
        return out;  // a parenthesized join takes no alias
      }
      ExpectSymbol(")", e::kSyntaxFrom);
    } else {
      std::string name = TakeIdentifier(e::kSyntaxFrom);
      if (++*tables == 1) *first_table = name;
      out = QuoteName(name);
    }
    if (AcceptKeyword("AS")) {
      out += " AS " + QuoteName(TakeIdentifier(e::kSyntaxFrom));
      *tables += 1;  // an alias changes how the columns are named
    } else if (AtIdentifier()) {
      out += " AS " + QuoteName(Next().text);
      *tables += 1;
    }
    return out;
  }

  std::string ParseInsert() {
    ExpectKeyword("INSERT");
    ExpectKeyword("INTO", e::kSyntaxInsert);
    std::string out = "INSERT INTO " + QuoteName(TakeIdentifier(e::kSyntaxInsert));
    if (AcceptSymbol("(")) {
      out += " (";
      do {
        std::string name = TakeIdentifier(e::kSyntaxInsert);
        while (AcceptSymbol(".")) name = TakeIdentifier(e::kSyntaxInsert);  // t.col
        if (out.back() != '(') out += ", ";
        out += QuoteName(name);
      } while (AcceptSymbol(","));
      ExpectSymbol(")", e::kSyntaxInsert);
      out += ")";
    }
    if (AcceptKeyword("VALUES")) {
      ExpectSymbol("(", e::kSyntaxInsert);
      out += " VALUES (" + ParseExprList() + ")";
      ExpectSymbol(")", e::kSyntaxInsert);
    } else if (Peek().IsKeyword("SELECT")) {
      out += " " + ParseSelect(nullptr, true);
    } else {
      throw SyntaxError{e::kSyntaxInsert};
    }
    return out;
  }

  std::string ParseUpdate() {
    ExpectKeyword("UPDATE");
    std::string table = TakeIdentifier(e::kSyntaxUpdate);
    std::string out = "UPDATE " + QuoteName(table) + " SET ";
    ExpectKeyword("SET", e::kSyntaxUpdate);
    do {
      std::string column = TakeIdentifier(e::kSyntaxUpdate);
      while (AcceptSymbol(".") || AcceptSymbol("!")) column = TakeIdentifier(e::kSyntaxUpdate);
      ExpectSymbol("=", e::kSyntaxUpdate);
      if (out.back() != ' ') out += ", ";
      out += QuoteName(column) + " = " + ParseTopExpr();
    } while (AcceptSymbol(","));
    if (AcceptKeyword("WHERE")) out += " WHERE " + ParseTopExpr();
    return out;
  }

  std::string ParseDelete() {
    ExpectKeyword("DELETE");
    // DELETE [*] [t.*] FROM t
    if (!AcceptSymbol("*")) {
      while (AtIdentifier()) {
        Next();
        ExpectSymbol(".", e::kInvalidSql);
        ExpectSymbol("*", e::kInvalidSql);
        if (!AcceptSymbol(",")) break;
      }
    }
    ExpectKeyword("FROM", e::kInvalidSql);
    std::string out = "DELETE FROM " + QuoteName(TakeIdentifier(e::kSyntaxFrom));
    if (AcceptKeyword("WHERE")) out += " WHERE " + ParseTopExpr();
    return out;
  }

  // ---- Expressions, lowest precedence first ------------------------------

  std::string ParseExpr() {
    Nest nest(this);
    return ParseImp();
  }

  // A left-associative chain a op b op c ... written as ((a op b) op c):
  // open(op) before the left operand and middle(op) between it and the
  // right one, then ")". Built in one pass, so a long chain costs its length.
  //
  // flat: for operators that SQLite reads alike and left to right (And, Or;
  // + and -), written (a op b op c) with one parenthesis for the chain.
  // SQLite's parser holds only about 100 open parentheses, so the nested
  // form fails a chain of a hundred terms that is no deeper than its length.
  struct ChainPart {
    std::string open, middle, operand;
  };
  static std::string JoinChain(std::string first, std::vector<ChainPart>& parts,
                               bool flat = false) {
    if (parts.empty()) return first;
    size_t size = first.size() + 2;
    for (const ChainPart& p : parts) size += p.open.size() + p.middle.size() + p.operand.size() + 1;
    std::string out;
    out.reserve(size);
    if (flat) {
      out += '(';
    } else {
      for (size_t i = parts.size(); i-- > 0;) out += parts[i].open;
    }
    out += first;
    for (const ChainPart& p : parts) {
      out += p.middle;
      out += p.operand;
      if (!flat) out += ')';
    }
    if (flat) out += ')';
    return out;
  }

  std::string ParseImp() {
    std::string left = ParseEqv();
    std::vector<ChainPart> parts;
    while (AcceptKeyword("IMP")) parts.push_back({"(NOT (", ") OR (", ParseEqv() + ")"});
    return JoinChain(std::move(left), parts);
  }
  std::string ParseEqv() {
    std::string left = ParseXor();
    std::vector<ChainPart> parts;
    while (AcceptKeyword("EQV")) {
      parts.push_back({"(((", ") <> 0) = ((", ParseXor() + ") <> 0)"});
    }
    return JoinChain(std::move(left), parts);
  }
  std::string ParseXor() {
    std::string left = ParseOr();
    std::vector<ChainPart> parts;
    while (AcceptKeyword("XOR")) {
      parts.push_back({"(((", ") <> 0) <> ((", ParseOr() + ") <> 0)"});
    }
    return JoinChain(std::move(left), parts);
  }
  std::string ParseOr() {
    std::string left = ParseAnd();
    std::vector<ChainPart> parts;
    while (AcceptKeyword("OR")) parts.push_back({"(", " OR ", ParseAnd()});
    return JoinChain(std::move(left), parts, true);
  }
  std::string ParseAnd() {
    std::string left = ParseNot();
    std::vector<ChainPart> parts;
    while (AcceptKeyword("AND")) parts.push_back({"(", " AND ", ParseNot()});
    return JoinChain(std::move(left), parts, true);
  }
  std::string ParseNot() {
    // Each Not nests one level; a run of them is counted, not recursed into
    // without bound.
    int count = 0;
    while (Peek().IsKeyword("NOT") && !Peek(1).IsKeyword("LIKE") && !Peek(1).IsKeyword("IN") &&
           !Peek(1).IsKeyword("BETWEEN")) {
      Next();
      if (++count + depth_ > kMaxDepth) throw SyntaxError{};
    }
    std::string inner;
    {
      Nest nest(this);
      depth_ += count;
      try {
        inner = ParseComparison();
      } catch (...) {
        depth_ -= count;
        throw;
      }
      depth_ -= count;
    }
    if (count == 0) return inner;
    std::string out;
    out.reserve(inner.size() + 6 * static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) out += "(NOT ";
    out += inner;
    out.append(static_cast<size_t>(count), ')');
    return out;
  }

  bool AtComparison() const {
    const Token& t = Peek();
    if (t.kind == TokenKind::kSymbol) {
      return t.text == "=" || t.text == "<>" || t.text == "<" || t.text == ">" || t.text == "<=" ||
             t.text == ">=";
    }
    if (t.IsKeyword("LIKE") || t.IsKeyword("BETWEEN") || t.IsKeyword("IN") || t.IsKeyword("IS")) {
      return true;
    }
    return t.IsKeyword("NOT") &&
           (Peek(1).IsKeyword("LIKE") || Peek(1).IsKeyword("IN") || Peek(1).IsKeyword("BETWEEN"));
  }

  std::string ParseComparison() {
    std::string left;
    if (!options_.implied_operand.empty() && AtComparison()) {
      left = options_.implied_operand;
    } else {
      left = ParseConcat();
    }
    while (AtComparison()) {
      if (Peek().kind == TokenKind::kSymbol) {
        std::vector<ChainPart> parts;
        while (Peek().kind == TokenKind::kSymbol && AtComparison()) {
          std::string op = Next().text;
          parts.push_back({"(", " " + op + " ", ParseConcat()});
        }
        left = JoinChain(std::move(left), parts);
        continue;
      }
      bool negate = AcceptKeyword("NOT");
      if (AcceptKeyword("LIKE")) {
        left = "qor_like(" + left + ", " + ParseConcat() + ")";
      } else if (AcceptKeyword("BETWEEN")) {
        std::string low = ParseConcat();
        ExpectKeyword("AND");
        left = "(" + left + " BETWEEN " + low + " AND " + ParseConcat() + ")";
      } else if (AcceptKeyword("IN")) {
        ExpectSymbol("(");
        if (Peek().IsKeyword("SELECT")) {
          left = "(" + left + " IN (" + ParseSelect(nullptr, true) + "))";
        } else {
          std::string list = ParseExpr();
          while (AcceptSymbol(",")) list += ", " + ParseExpr();
          left = "(" + left + " IN (" + list + "))";
        }
        ExpectSymbol(")");
      } else {
        ExpectKeyword("IS");
        bool is_not = AcceptKeyword("NOT");
        ExpectKeyword("NULL");
        left = "(" + left + (is_not ? " IS NOT NULL)" : " IS NULL)");
      }
      if (negate) left = "(NOT " + left + ")";
    }
    return left;
  }

  std::string ParseConcat() {
    std::string left = ParseAdditive();
    std::vector<ChainPart> parts;
    while (AcceptSymbol("&")) {
      parts.push_back({"(coalesce(", ", '') || coalesce(", ParseAdditive() + ", '')"});
    }
    return JoinChain(std::move(left), parts);
  }
  std::string ParseAdditive() {
    std::string left = ParseMod();
    std::vector<ChainPart> parts;
    while (Peek().IsSymbol("+") || Peek().IsSymbol("-")) {
      std::string op = Next().text;
      parts.push_back({"(", " " + op + " ", ParseMod()});
    }
    return JoinChain(std::move(left), parts, true);
  }
  std::string ParseMod() {
    std::string left = ParseIntDiv();
    std::vector<ChainPart> parts;
    while (AcceptKeyword("MOD")) parts.push_back({"qor_mod(", ", ", ParseIntDiv()});
    return JoinChain(std::move(left), parts);
  }
  std::string ParseIntDiv() {
    std::string left = ParseMultiplicative();
    std::vector<ChainPart> parts;
    while (AcceptSymbol("\\")) parts.push_back({"qor_idiv(", ", ", ParseMultiplicative()});
    return JoinChain(std::move(left), parts);
  }
  std::string ParseMultiplicative() {
    std::string left = ParseUnary();
    std::vector<ChainPart> parts;
    while (Peek().IsSymbol("*") || Peek().IsSymbol("/")) {
      std::string op = Next().text;
      // Jet's / always divides as real numbers.
      if (op == "/") {
        parts.push_back({"(CAST(", " AS REAL) / ", ParseUnary()});
      } else {
        parts.push_back({"(", " * ", ParseUnary()});
      }
    }
    return JoinChain(std::move(left), parts);
  }
  std::string ParseUnary() {
    // A run of signs is counted, not recursed into; each minus nests a level.
    std::vector<bool> minus;
    while (Peek().IsSymbol("-") || Peek().IsSymbol("+")) {
      minus.push_back(Next().text == "-");
      if (static_cast<int>(minus.size()) + depth_ > kMaxDepth) throw SyntaxError{};
    }
    std::string inner;
    {
      int extra = static_cast<int>(minus.size());
      depth_ += extra;
      try {
        inner = ParsePower();
      } catch (...) {
        depth_ -= extra;
        throw;
      }
      depth_ -= extra;
    }
    size_t negations = 0;
    for (bool m : minus) negations += m ? 1 : 0;
    if (negations == 0) return inner;
    std::string out;
    out.reserve(inner.size() + 3 * negations);
    for (size_t i = 0; i < negations; ++i) out += "(-";
    out += inner;
    out.append(negations, ')');
    return out;
  }
  std::string ParsePower() {
    std::string left = ParsePrimary();
    std::vector<ChainPart> parts;
    while (AcceptSymbol("^")) parts.push_back({"qor_pow(", ", ", ParsePrimary()});
    return JoinChain(std::move(left), parts);
  }

  std::string ParsePrimary() {
    const Token& t = Peek();
    switch (t.kind) {
      case TokenKind::kNumber: {
        std::string digits = Next().text;
        if (!options_.literals) return digits;
        double x = std::strtod(digits.c_str(), nullptr);
        if (digits.find_first_of(".eE") == std::string::npos && x <= 2147483647.0) {
          return Literal(Long(static_cast<int32_t>(x)));
        }
        return Literal(Variant(x));
      }
      case TokenKind::kString: {
        std::string text = Next().text;
        return options_.literals ? Literal(Variant(text)) : QuoteText(text);
      }
      case TokenKind::kDate: {
        Date d;
        if (!vb::ParseDate(t.text, &d)) throw SyntaxError{};
        Next();
        vb::DateParts p = vb::SplitDate(d);
        char buf[32];
        std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", p.year, p.month, p.day,
                      p.hour, p.minute, p.second);
        return options_.literals ? Literal(Variant(std::string(buf))) : QuoteText(buf);
      }
      case TokenKind::kSymbol:
        if (AcceptSymbol("(")) {
          std::string inner;
          if (Peek().IsKeyword("SELECT")) {
            inner = ParseSelect(nullptr, true);
          } else {
            inner = ParseExpr();
          }
          ExpectSymbol(")");
          return "(" + inner + ")";
        }
        throw SyntaxError{};
      case TokenKind::kName:
        return ParseNamePrimary();
      case TokenKind::kEnd:
        break;
    }
    throw SyntaxError{};
  }

  // A literal as the next parameter.
  std::string Literal(Variant value) {
    options_.literals->push_back(std::move(value));
    return "?" + std::to_string(options_.first_parameter +
                                static_cast<int>(options_.literals->size()) - 1);
  }

  std::string ParseNamePrimary() {
    Token t = Next();
    if (!t.bracketed) {
      if (t.IsKeyword("TRUE") || t.IsKeyword("YES") || t.IsKeyword("ON")) return "-1";
      if (t.IsKeyword("FALSE") || t.IsKeyword("NO") || t.IsKeyword("OFF")) return "0";
      if (t.IsKeyword("NULL")) return "NULL";
      if (t.IsKeyword("EXISTS")) {
        ExpectSymbol("(");
        std::string sub = ParseSelect(nullptr, true);
        ExpectSymbol(")");
        return "EXISTS (" + sub + ")";
      }
      if (IsClauseWord(t)) throw SyntaxError{};
      if (Peek().IsSymbol("(")) return CallFunction(t.text);
    }
    std::vector<std::string> parts{t.text};
    while (Peek().IsSymbol(".") || Peek().IsSymbol("!")) {
      Next();
      if (Peek().kind != TokenKind::kName) throw SyntaxError{};  // t.* only in a select list
      parts.push_back(Next().text);
    }
    if (parts.size() > 3) throw SyntaxError{};
    if (!options_.column_prefix.empty()) return options_.column_prefix + QuoteName(parts.back());
    std::string out;
    for (const std::string& p : parts) {
      if (!out.empty()) out += ".";
      out += QuoteName(p);
    }
    return out;
  }

  std::string CallFunction(std::string name) {
    Nest nest(this);
    ExpectSymbol("(");
    if (!name.empty() && name.back() == '$') name.pop_back();  // Left$ is Left
    std::string upper = vb::UCase(name);
    std::vector<std::string> args;
    if (upper == "COUNT" && AcceptSymbol("*")) {
      args.push_back("*");
    } else if (!Peek().IsSymbol(")")) {
      if (AcceptKeyword("DISTINCT")) upper += "_DISTINCT";
      do {
        args.push_back(ParseExpr());
      } while (AcceptSymbol(","));
    }
    ExpectSymbol(")");
    if (upper.ends_with("_DISTINCT")) {
      upper.resize(upper.size() - 9);
      if (args.size() != 1) throw SyntaxError{};
      args[0] = "DISTINCT " + args[0];
    }
    auto it = Functions().find(upper);
    if (it == Functions().end()) throw UnknownFunction{name};
    const FunctionForm& form = it->second;
    int n = static_cast<int>(args.size());
    if (n < form.min_args || n > form.max_args) throw SyntaxError{};
    auto part = [&](const char* unit) {
      return "qor_datepart('" + std::string(unit) + "', " + args[0] + ")";
    };
    if (upper == "IIF") {
      return "(CASE WHEN " + args[0] + " THEN " + args[1] + " ELSE " + args[2] + " END)";
    }
    if (upper == "NZ") return "coalesce(" + args[0] + ", " + (n > 1 ? args[1] : "''") + ")";
    if (upper == "ISNULL") return "(-(" + args[0] + " IS NULL))";
    if (upper == "LEFT") return "substr(" + args[0] + ", 1, " + args[1] + ")";
    if (upper == "TRIM") return "trim(" + args[0] + ", ' ')";
    if (upper == "LTRIM") return "ltrim(" + args[0] + ", ' ')";
    if (upper == "RTRIM") return "rtrim(" + args[0] + ", ' ')";
    if (upper == "YEAR") return part("yyyy");
    if (upper == "MONTH") return part("m");
    if (upper == "DAY") return part("d");
    if (upper == "HOUR") return part("h");
    if (upper == "MINUTE") return part("n");
    if (upper == "SECOND") return part("s");
    std::string out = std::string(form.sqlite) + "(";
    for (int i = 0; i < n; ++i) out += (i ? ", " : "") + args[i];
    return out + ")";
  }

 public:
  struct UnknownFunction {
    std::string name;
  };

 private:
  static constexpr int32_t kSelectError = e::kSyntaxSelect;

  std::string_view source_;
  ExpressionOptions options_;
  std::vector<Token> tokens_;
  size_t pos_ = 0;
  size_t expr_start_ = 0;
  int depth_ = 0;
};

std::string TrimmedTail(std::string_view source, size_t from) {
  std::string text(source.substr(std::min(from, source.size())));
  while (!text.empty() && (text.back() == ';' || text.back() == ' ' || text.back() == '\n' ||
                           text.back() == '\r' || text.back() == '\t')) {
    text.pop_back();
  }
  return text;
}

}  // namespace

Statement TranslateStatement(std::string_view jet_sql) {
  RegisterEngineErrors();
  size_t at = 0;
  try {
    Parser parser(jet_sql, {});
    try {
      return parser.ParseStatement();
    } catch (const SyntaxError&) {
      at = parser.error_offset();
      throw;
    }
  } catch (const SyntaxError& error) {
    if (error.number != 0) Fail(error.number);
    Fail(e::kSyntaxInQuery, {TrimmedTail(jet_sql, at)});
  } catch (const Parser::UnknownFunction& f) {
    Fail(e::kUndefinedFunction, {f.name});
  }
}

std::string TranslateCriteria(std::string_view criteria, const ExpressionOptions& options) {
  try {
    size_t before = options.literals ? options.literals->size() : 0;
    std::string out = Parser(criteria, options).ParseWholeExpression();
    if (options.literals && options.literals->size() - before > kMaxLiteralParameters) {
      // So many literals (a long In list) are written into the SQL: SQLite
      // looks numbered parameters up one by one.
      options.literals->resize(before);
      ExpressionOptions inline_options = options;
      inline_options.literals = nullptr;
      out = Parser(criteria, inline_options).ParseWholeExpression();
    }
    return out;
  } catch (const SyntaxError&) {
    Fail(e::kSyntaxInCriteria);
  } catch (const Parser::UnknownFunction& f) {
    Fail(e::kUndefinedFunction, {f.name});
  }
}

std::string TranslateExpression(std::string_view expression, const ExpressionOptions& options) {
  try {
    return Parser(expression, options).ParseWholeExpression();
  } catch (const SyntaxError&) {
    Fail(e::kSyntaxInQuery, {std::string(expression)});
  } catch (const Parser::UnknownFunction& f) {
    Fail(e::kUndefinedFunction, {f.name});
  }
}

}  // namespace qor::dao::jet
