// The parser of Jet SQL: tokens (jet_lexer.h) to the trees of jet_ast.h.
#include <cmath>
#include <cstdlib>

#include "db/engine/jet_ast.h"
#include "db/engine/jet_lexer.h"
#include "qorsupport/db/engine/dao.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"

namespace qor::dao::jet {

bool IsComparison(Op op) {
  return op == Op::kEqual || op == Op::kNotEqual || op == Op::kLess || op == Op::kLessEqual ||
         op == Op::kGreater || op == Op::kGreaterEqual;
}

namespace {

// Words that end an expression or a table alias.
bool IsClauseWord(const Token& t) {
  static const char* const kWords[] = {
      "FROM",  "WHERE", "GROUP", "ORDER", "HAVING", "UNION",    "INNER",      "LEFT",   "RIGHT",
      "OUTER", "JOIN",  "ON",    "AS",    "INTO",   "SET",      "VALUES",     "SELECT", "AND",
      "OR",    "NOT",   "LIKE",  "IN",    "IS",     "BETWEEN",  "XOR",        "EQV",    "IMP",
      "MOD",   "ASC",   "DESC",  "BY",    "TOP",    "DISTINCT", "DISTINCTROW"};
  if (t.kind != TokenKind::kName || t.bracketed) return false;
  for (const char* w : kWords) {
    if (t.IsKeyword(w)) return true;
  }
  return false;
}

bool IsAggregate(std::string_view upper) {
  for (const char* a :
       {"COUNT", "SUM", "AVG", "MIN", "MAX", "FIRST", "LAST", "STDEV", "STDEVP", "VAR", "VARP"}) {
    if (upper == a) return true;
  }
  return false;
}

class Parser {
 public:
  Parser(std::string_view source, ParseOptions options) : options_(options) {
    try {
      tokens_ = Tokenize(source);
    } catch (const LexError&) {
      throw SyntaxError{};
    }
  }

  StatementAst ParseStatement() {
    StatementAst st;
    if (Peek().IsKeyword("SELECT")) {
      st.kind = StatementKind::kSelect;
      st.select = ParseSelect(true);
    } else if (Peek().IsKeyword("INSERT")) {
      st.kind = StatementKind::kInsert;
      ParseInsert(&st);
    } else if (Peek().IsKeyword("UPDATE")) {
      st.kind = StatementKind::kUpdate;
      ParseUpdate(&st);
    } else if (Peek().IsKeyword("DELETE")) {
      st.kind = StatementKind::kDelete;
      ParseDelete(&st);
    } else {
      throw SyntaxError{e::kInvalidSql};
    }
    if (Peek().IsSymbol(";")) Next();
    if (Peek().kind != TokenKind::kEnd) throw SyntaxError{};
    return st;
  }

  NodePtr ParseWholeExpression() {
    NodePtr out = ParseExpr();
    if (Peek().kind != TokenKind::kEnd) throw SyntaxError{};
    return out;
  }

  size_t error_offset() const { return expr_start_; }

 private:
  // Counts one level of nesting while it lives.
  class Nest {
   public:
    explicit Nest(Parser* p, int levels = 1) : p_(p), levels_(levels) {
      p_->depth_ += levels_;
      if (p_->depth_ > kMaxDepth) {
        p_->depth_ -= levels_;
        throw SyntaxError{};
      }
    }
    ~Nest() { p_->depth_ -= levels_; }
    Nest(const Nest&) = delete;
    Nest& operator=(const Nest&) = delete;

   private:
    Parser* p_;
    int levels_;
  };

  const Token& Peek(size_t ahead = 0) const {
    size_t i = pos_ + ahead;
    return i < tokens_.size() ? tokens_[i] : tokens_.back();
  }
  const Token& Next() {
    const Token& t = Peek();
    if (pos_ < tokens_.size() - 1) ++pos_;
    last_end_ = t.end;
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

  bool AtIdentifier() const {
    const Token& t = Peek();
    return t.kind == TokenKind::kName && (t.bracketed || !IsClauseWord(t));
  }
  std::string TakeIdentifier(int32_t error = 0) {
    if (!AtIdentifier()) throw SyntaxError{error};
    return Next().text;
  }

  NodePtr NewNode(NodeKind kind, size_t begin) {
    auto n = std::make_unique<Node>();
    n->kind = kind;
    n->begin = begin;
    return n;
  }
  void Finish(Node* n) { n->end = last_end_; }

  // A top-level expression of a statement; its start is remembered for the
  // error text.
  NodePtr ParseTopExpr() {
    expr_start_ = Peek().offset;
    return ParseExpr();
  }

  // ---- Statements -------------------------------------------------------------

  std::unique_ptr<Select> ParseSelect(bool allow_union) {
    Nest nest(this);
    // SQLite's parser nests no more than about ten subqueries.
    if (++selects_ > kMaxSelectDepth) throw SyntaxError{};
    struct Leave {
      int* n;
      ~Leave() { --*n; }
    } leave{&selects_};
    ExpectKeyword("SELECT");
    auto s = std::make_unique<Select>();
    if (AcceptKeyword("DISTINCT")) {
      s->distinct = true;
    } else if (!AcceptKeyword("DISTINCTROW")) {
      AcceptKeyword("ALL");
    }
    if (AcceptKeyword("TOP")) {
      if (Peek().kind != TokenKind::kNumber) throw SyntaxError{e::kInvalidSql};
      s->limit = Next().text;
      if (Peek().IsKeyword("PERCENT")) throw SyntaxError{e::kInvalidSql};
    }
    if (Peek().IsKeyword("FROM") || Peek().kind == TokenKind::kEnd) {
      throw SyntaxError{e::kSyntaxSelect};
    }
    do {
      SelectItem item;
      if (AcceptSymbol("*")) {
        // all columns
      } else if (AtIdentifier() && (Peek(1).IsSymbol(".") || Peek(1).IsSymbol("!")) &&
                 Peek(2).IsSymbol("*")) {
        item.star = Next().text;
        Next();
        Next();
      } else {
        item.expr = ParseTopExpr();
        if (AcceptKeyword("AS")) {
          if (Peek().kind != TokenKind::kName) throw SyntaxError{};
          item.alias = Next().text;
        } else if (Peek().kind == TokenKind::kName && Peek().bracketed) {
          item.alias = Next().text;
        }
      }
      s->items.push_back(std::move(item));
    } while (AcceptSymbol(","));
    if (Peek().IsKeyword("INTO")) throw SyntaxError{e::kInvalidSql};
    ExpectKeyword("FROM", e::kSyntaxSelect);
    s->from.push_back(ParseFromItem());
    while (AcceptSymbol(",")) s->from.push_back(ParseFromItem());
    if (AcceptKeyword("WHERE")) s->where = ParseTopExpr();
    if (AcceptKeyword("GROUP")) {
      ExpectKeyword("BY", e::kSyntaxSelect);
      do {
        s->group_by.push_back(ParseTopExpr());
      } while (AcceptSymbol(","));
    }
    if (AcceptKeyword("HAVING")) s->having = ParseTopExpr();
    if (allow_union) {
      while (AcceptKeyword("UNION")) {
        bool all = AcceptKeyword("ALL");
        if (!s->limit.empty()) throw SyntaxError{e::kInvalidSql};
        s->unions.emplace_back(all, ParseSelect(false));
      }
    }
    if (AcceptKeyword("ORDER")) {
      ExpectKeyword("BY", e::kSyntaxSelect);
      do {
        OrderItem o;
        o.expr = ParseTopExpr();
        if (AcceptKeyword("DESC")) {
          o.descending = true;
        } else {
          AcceptKeyword("ASC");
        }
        s->order_by.push_back(std::move(o));
      } while (AcceptSymbol(","));
    }
    return s;
  }

  std::unique_ptr<FromItem> ParseFromItem() {
    std::unique_ptr<FromItem> out = ParseJoinTerm();
    while (true) {
      std::string join;
      if (AcceptKeyword("INNER")) {
        join = "INNER";
      } else if (AcceptKeyword("LEFT")) {
        AcceptKeyword("OUTER");
        join = "LEFT";
      } else if (AcceptKeyword("RIGHT")) {
        AcceptKeyword("OUTER");
        join = "RIGHT";
      } else {
        break;
      }
      ExpectKeyword("JOIN", e::kSyntaxFrom);
      auto j = std::make_unique<FromItem>();
      j->kind = FromItem::Kind::kJoin;
      j->join = join;
      j->left = std::move(out);
      j->right = ParseJoinTerm();
      ExpectKeyword("ON", e::kSyntaxFrom);
      j->on = ParseTopExpr();
      out = std::move(j);
    }
    return out;
  }

  std::unique_ptr<FromItem> ParseJoinTerm() {
    Nest nest(this);
    std::unique_ptr<FromItem> out;
    if (AcceptSymbol("(")) {
      if (Peek().IsKeyword("SELECT")) {
        out = std::make_unique<FromItem>();
        out->kind = FromItem::Kind::kSubquery;
        out->select = ParseSelect(true);
      } else {
        out = ParseFromItem();
        ExpectSymbol(")", e::kSyntaxFrom);
        if (Peek().IsKeyword("AS") || AtIdentifier()) throw SyntaxError{e::kSyntaxFrom};
        out->parenthesized = true;
        return out;  // a parenthesized join takes no alias
      }
      ExpectSymbol(")", e::kSyntaxFrom);
    } else {
      out = std::make_unique<FromItem>();
      out->table = TakeIdentifier(e::kSyntaxFrom);
    }
    if (AcceptKeyword("AS")) {
      out->alias = TakeIdentifier(e::kSyntaxFrom);
    } else if (AtIdentifier()) {
      out->alias = Next().text;
    }
    return out;
  }

  void ParseInsert(StatementAst* st) {
    ExpectKeyword("INSERT");
    ExpectKeyword("INTO", e::kSyntaxInsert);
    st->table = TakeIdentifier(e::kSyntaxInsert);
    if (AcceptSymbol("(")) {
      do {
        std::string name = TakeIdentifier(e::kSyntaxInsert);
        while (AcceptSymbol(".")) name = TakeIdentifier(e::kSyntaxInsert);  // t.col
        st->columns.push_back(name);
      } while (AcceptSymbol(","));
      ExpectSymbol(")", e::kSyntaxInsert);
    }
    if (AcceptKeyword("VALUES")) {
      ExpectSymbol("(", e::kSyntaxInsert);
      do {
        st->values.push_back(ParseTopExpr());
      } while (AcceptSymbol(","));
      ExpectSymbol(")", e::kSyntaxInsert);
    } else if (Peek().IsKeyword("SELECT")) {
      st->select = ParseSelect(true);
    } else {
      throw SyntaxError{e::kSyntaxInsert};
    }
  }

  void ParseUpdate(StatementAst* st) {
    ExpectKeyword("UPDATE");
    st->table = TakeIdentifier(e::kSyntaxUpdate);
    ExpectKeyword("SET", e::kSyntaxUpdate);
    do {
      std::string column = TakeIdentifier(e::kSyntaxUpdate);
      while (AcceptSymbol(".") || AcceptSymbol("!")) column = TakeIdentifier(e::kSyntaxUpdate);
      ExpectSymbol("=", e::kSyntaxUpdate);
      st->sets.emplace_back(column, ParseTopExpr());
    } while (AcceptSymbol(","));
    if (AcceptKeyword("WHERE")) st->where = ParseTopExpr();
  }

  void ParseDelete(StatementAst* st) {
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
    st->table = TakeIdentifier(e::kSyntaxFrom);
    if (AcceptKeyword("WHERE")) st->where = ParseTopExpr();
  }

  // ---- Expressions, lowest precedence first ----------------------------------

  NodePtr ParseExpr() {
    Nest nest(this);
    return ParseLevel(0);
  }

  // The binary levels: Imp, Eqv, Xor, Or, And (then Not).
  NodePtr ParseLevel(int level) {
    static const struct {
      const char* word;
      Op op;
    } kLevels[] = {{"IMP", Op::kImp},
                   {"EQV", Op::kEqv},
                   {"XOR", Op::kXor},
                   {"OR", Op::kOr},
                   {"AND", Op::kAnd}};
    if (level == 5) return ParseNot();
    size_t begin = Peek().offset;
    NodePtr first = ParseLevel(level + 1);
    if (!Peek().IsKeyword(kLevels[level].word)) return first;
    NodePtr chain = NewNode(NodeKind::kChain, begin);
    chain->kids.push_back(std::move(first));
    while (AcceptKeyword(kLevels[level].word)) {
      chain->ops.push_back(kLevels[level].op);
      chain->kids.push_back(ParseLevel(level + 1));
    }
    Finish(chain.get());
    return chain;
  }

  bool AtNegatedComparison(size_t ahead) const {
    return Peek(ahead).IsKeyword("NOT") &&
           (Peek(ahead + 1).IsKeyword("LIKE") || Peek(ahead + 1).IsKeyword("IN") ||
            Peek(ahead + 1).IsKeyword("BETWEEN"));
  }

  NodePtr ParseNot() {
    // A run of Not is counted, not recursed into; each nests a level.
    std::vector<size_t> starts;
    while (Peek().IsKeyword("NOT") && !AtNegatedComparison(0)) {
      starts.push_back(Peek().offset);
      Next();
      if (static_cast<int>(starts.size()) + depth_ > kMaxDepth) throw SyntaxError{};
    }
    NodePtr inner;
    {
      Nest nest(this, static_cast<int>(starts.size()));
      inner = ParseComparison();
    }
    for (size_t i = starts.size(); i-- > 0;) {
      NodePtr n = NewNode(NodeKind::kUnary, starts[i]);
      n->ops.push_back(Op::kNot);
      n->kids.push_back(std::move(inner));
      n->end = n->kids[0]->end;
      inner = std::move(n);
    }
    return inner;
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
    return AtNegatedComparison(0);
  }

  static Op ComparisonOp(const std::string& s) {
    if (s == "=") return Op::kEqual;
    if (s == "<>") return Op::kNotEqual;
    if (s == "<") return Op::kLess;
    if (s == "<=") return Op::kLessEqual;
    if (s == ">") return Op::kGreater;
    return Op::kGreaterEqual;
  }

  NodePtr ParseComparison() {
    size_t begin = Peek().offset;
    NodePtr left;
    if (options_.implied_operand && AtComparison()) {
      left = NewNode(NodeKind::kColumn, begin);
      left->implied = true;
      left->end = begin;
    } else {
      left = ParseConcat();
    }
    while (AtComparison()) {
      if (Peek().kind == TokenKind::kSymbol) {
        NodePtr chain = NewNode(NodeKind::kChain, begin);
        chain->kids.push_back(std::move(left));
        while (Peek().kind == TokenKind::kSymbol && AtComparison()) {
          chain->ops.push_back(ComparisonOp(Next().text));
          chain->kids.push_back(ParseConcat());
        }
        Finish(chain.get());
        left = std::move(chain);
        continue;
      }
      bool negate = AcceptKeyword("NOT");
      NodePtr n;
      if (AcceptKeyword("LIKE")) {
        n = NewNode(NodeKind::kLike, begin);
        n->kids.push_back(std::move(left));
        n->kids.push_back(ParseConcat());
      } else if (AcceptKeyword("BETWEEN")) {
        n = NewNode(NodeKind::kBetween, begin);
        n->kids.push_back(std::move(left));
        n->kids.push_back(ParseConcat());
        ExpectKeyword("AND");
        n->kids.push_back(ParseConcat());
      } else if (AcceptKeyword("IN")) {
        ExpectSymbol("(");
        if (Peek().IsKeyword("SELECT")) {
          n = NewNode(NodeKind::kInSelect, begin);
          n->kids.push_back(std::move(left));
          n->select = ParseSelect(true);
        } else {
          n = NewNode(NodeKind::kIn, begin);
          n->kids.push_back(std::move(left));
          do {
            n->kids.push_back(ParseExpr());
          } while (AcceptSymbol(","));
        }
        ExpectSymbol(")");
      } else {
        ExpectKeyword("IS");
        negate = AcceptKeyword("NOT");
        ExpectKeyword("NULL");
        n = NewNode(NodeKind::kIsNull, begin);
        n->kids.push_back(std::move(left));
      }
      n->negate = negate;
      Finish(n.get());
      left = std::move(n);
    }
    return left;
  }

  // A chain of one precedence level: next() parses an operand, op(t) tells
  // the operator a token is (false: none).
  template <typename Operand, typename OpOf>
  NodePtr ParseChain(Operand next, OpOf op_of) {
    size_t begin = Peek().offset;
    NodePtr first = next();
    Op op;
    if (!op_of(Peek(), &op)) return first;
    NodePtr chain = NewNode(NodeKind::kChain, begin);
    chain->kids.push_back(std::move(first));
    while (op_of(Peek(), &op)) {
      Next();
      chain->ops.push_back(op);
      chain->kids.push_back(next());
    }
    Finish(chain.get());
    return chain;
  }

  NodePtr ParseConcat() {
    return ParseChain([this] { return ParseAdditive(); },
                      [](const Token& t, Op* op) {
                        *op = Op::kConcat;
                        return t.IsSymbol("&");
                      });
  }
  NodePtr ParseAdditive() {
    return ParseChain([this] { return ParseMod(); },
                      [](const Token& t, Op* op) {
                        *op = t.IsSymbol("+") ? Op::kAdd : Op::kSubtract;
                        return t.IsSymbol("+") || t.IsSymbol("-");
                      });
  }
  NodePtr ParseMod() {
    return ParseChain([this] { return ParseIntDiv(); },
                      [](const Token& t, Op* op) {
                        *op = Op::kMod;
                        return t.IsKeyword("MOD");
                      });
  }
  NodePtr ParseIntDiv() {
    return ParseChain([this] { return ParseMultiplicative(); },
                      [](const Token& t, Op* op) {
                        *op = Op::kIntDivide;
                        return t.IsSymbol("\\");
                      });
  }
  NodePtr ParseMultiplicative() {
    return ParseChain([this] { return ParseUnary(); },
                      [](const Token& t, Op* op) {
                        *op = t.IsSymbol("*") ? Op::kMultiply : Op::kDivide;
                        return t.IsSymbol("*") || t.IsSymbol("/");
                      });
  }

  // Signs, then what they apply to (next). A run of signs is counted, not
  // recursed into; each nests a level.
  template <typename Operand>
  NodePtr ParseSigns(Operand next) {
    std::vector<size_t> minus;
    size_t signs = 0;
    while (Peek().IsSymbol("-") || Peek().IsSymbol("+")) {
      if (Peek().IsSymbol("-")) minus.push_back(Peek().offset);
      Next();
      if (static_cast<int>(++signs) + depth_ > kMaxDepth) throw SyntaxError{};
    }
    NodePtr inner;
    {
      Nest nest(this, static_cast<int>(signs));
      inner = next();
    }
    for (size_t i = minus.size(); i-- > 0;) {
      if (inner->kind == NodeKind::kLiteral && inner->value.IsNumber()) {
        // -5 is the number -5.
        inner->value = inner->value.type() == VarType::kLong
                           ? Long(-static_cast<int32_t>(inner->value.NumericValue()))
                           : Variant(-inner->value.NumericValue());
        inner->negated = !inner->negated;
        inner->begin = minus[i];
        continue;
      }
      NodePtr n = NewNode(NodeKind::kUnary, minus[i]);
      n->ops.push_back(Op::kNegate);
      n->kids.push_back(std::move(inner));
      n->end = n->kids[0]->end;
      inner = std::move(n);
    }
    return inner;
  }

  NodePtr ParseUnary() {
    return ParseSigns([this] { return ParsePower(); });
  }

  NodePtr ParsePower() {
    // -2 ^ 2 is -(2 ^ 2); 2 ^ -1 takes the sign on the right.
    size_t begin = Peek().offset;
    NodePtr first = ParsePrimary();
    if (!Peek().IsSymbol("^")) return first;
    NodePtr chain = NewNode(NodeKind::kChain, begin);
    chain->kids.push_back(std::move(first));
    while (AcceptSymbol("^")) {
      chain->ops.push_back(Op::kPower);
      chain->kids.push_back(ParseSigns([this] { return ParsePrimary(); }));
    }
    Finish(chain.get());
    return chain;
  }

  NodePtr ParsePrimary() {
    const Token& t = Peek();
    size_t begin = t.offset;
    switch (t.kind) {
      case TokenKind::kNumber:
      case TokenKind::kString:
      case TokenKind::kDate: {
        NodePtr n = NewNode(NodeKind::kLiteral, begin);
        n->token = static_cast<int>(pos_);
        if (!LiteralValue(t, &n->value)) throw SyntaxError{};
        Next();
        Finish(n.get());
        return n;
      }
      case TokenKind::kSymbol:
        if (AcceptSymbol("(")) {
          NodePtr inner;
          if (Peek().IsKeyword("SELECT")) {
            inner = NewNode(NodeKind::kSubquery, begin);
            inner->select = ParseSelect(true);
          } else {
            inner = ParseExpr();
          }
          ExpectSymbol(")");
          // The parentheses belong to the span, so that a program keeps them.
          inner->begin = begin;
          Finish(inner.get());
          return inner;
        }
        if (options_.parameters && t.IsSymbol("?") && Peek(1).kind == TokenKind::kNumber) {
          Next();
          NodePtr n = NewNode(NodeKind::kParameter, begin);
          n->index = std::atoi(Next().text.c_str());
          Finish(n.get());
          return n;
        }
        throw SyntaxError{};
      case TokenKind::kName:
        return ParseNamePrimary();
      case TokenKind::kEnd:
        break;
    }
    throw SyntaxError{};
  }

  NodePtr ParseNamePrimary() {
    size_t begin = Peek().offset;
    Token t = Next();
    if (!t.bracketed) {
      auto literal = [&](Variant v) {
        NodePtr n = NewNode(NodeKind::kLiteral, begin);
        n->value = std::move(v);
        Finish(n.get());
        return n;
      };
      if (t.IsKeyword("TRUE") || t.IsKeyword("YES") || t.IsKeyword("ON")) return literal(true);
      if (t.IsKeyword("FALSE") || t.IsKeyword("NO") || t.IsKeyword("OFF")) return literal(false);
      if (t.IsKeyword("NULL")) return literal(Variant::Null());
      if (t.IsKeyword("EXISTS")) {
        ExpectSymbol("(");
        NodePtr n = NewNode(NodeKind::kExists, begin);
        n->select = ParseSelect(true);
        ExpectSymbol(")");
        Finish(n.get());
        return n;
      }
      if (Peek().IsSymbol("(")) {
        // Left(, Right( and Asc( are calls although LEFT, RIGHT and ASC are
        // also words of a statement.
        std::string upper = vb::UCase(t.text);
        if (!upper.empty() && upper.back() == '$') upper.pop_back();
        bool known = IsAggregate(upper) || vb::FindFunction(t.text) != nullptr;
        if (!IsClauseWord(t) || known) return CallFunction(t.text, begin);
      }
      if (IsClauseWord(t)) throw SyntaxError{};
    }
    NodePtr n = NewNode(NodeKind::kColumn, begin);
    n->parts.push_back(t.text);
    while (Peek().IsSymbol(".") || Peek().IsSymbol("!")) {
      Next();
      if (Peek().kind != TokenKind::kName) throw SyntaxError{};  // t.* only in a select list
      n->parts.push_back(Next().text);
    }
    if (n->parts.size() > 3) throw SyntaxError{};
    Finish(n.get());
    return n;
  }

  // A call nests as deep as its arguments (each an expression, one level).
  NodePtr CallFunction(const std::string& name, size_t begin) {
    ExpectSymbol("(");
    std::string upper = vb::UCase(name);
    if (!upper.empty() && upper.back() == '$') upper.pop_back();
    if (IsAggregate(upper)) {
      NodePtr n = NewNode(NodeKind::kAggregate, begin);
      n->name = upper;
      if (upper == "COUNT" && AcceptSymbol("*")) {
        // Count(*): no argument
      } else {
        if (AcceptKeyword("DISTINCT")) n->distinct = true;
        n->kids.push_back(ParseExpr());
        if (Peek().IsSymbol(",")) throw SyntaxError{};
      }
      ExpectSymbol(")");
      Finish(n.get());
      return n;
    }
    NodePtr n = NewNode(NodeKind::kCall, begin);
    n->name = name;
    if (!Peek().IsSymbol(")")) {
      do {
        n->kids.push_back(ParseExpr());
      } while (AcceptSymbol(","));
    }
    ExpectSymbol(")");
    Finish(n.get());
    n->function = vb::FindFunction(name);
    if (!n->function) throw UnknownFunction{name};
    int count = static_cast<int>(n->kids.size());
    if (count < n->function->min_args ||
        (n->function->max_args >= 0 && count > n->function->max_args)) {
      throw SyntaxError{};
    }
    return n;
  }

  ParseOptions options_;
  std::vector<Token> tokens_;
  size_t pos_ = 0;
  size_t last_end_ = 0;
  size_t expr_start_ = 0;
  int depth_ = 0;
  int selects_ = 0;
};

}  // namespace

StatementAst ParseStatement(std::string_view text) {
  Parser parser(text, {});
  try {
    return parser.ParseStatement();
  } catch (SyntaxError& error) {
    error.at = parser.error_offset();
    throw;
  }
}

NodePtr ParseExpression(std::string_view text, const ParseOptions& options) {
  return Parser(text, options).ParseWholeExpression();
}

}  // namespace qor::dao::jet
