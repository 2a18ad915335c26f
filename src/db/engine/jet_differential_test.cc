// A differential test of Jet expressions: random expressions (numbers,
// texts with accents, dates, Null, Booleans, nested functions) are
// evaluated in a query and directly by the VB runtime, and must give the
// same value of the same type (or the same error); a Boolean one also
// selects the row, as a condition and as a FindFirst criterion, when it is
// True.
//
// The generator knows each expression's type by Jet's rules as it builds
// it. Its random numbers come from a start value that is printed;
// QOR_JET_DIFF_START repeats a run (QOR_JET_DIFF_COUNT sets how many
// expressions).
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <random>
#include <string>

#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/frame/vb_functions.h"
#include "testing/test_util.h"

namespace qor::dao {
namespace {

using Eval = std::function<Variant()>;

struct Expr {
  std::string text;
  int type;  // DAO type
  Eval eval;
};

Variant D(int y, int m, int d) {
  Date out;
  vb::MakeDate(vb::DateParts{y, m, d, 0, 0, 0}, &out);
  return Variant(out);
}

// The row the expressions read: L Long, I Integer, F Double, C Currency,
// S Text, T Date, B Yes/No, N a Long that is Null, Z a Text that is Null.
struct Row {
  Variant l = Long(7);
  Variant i = Int16(-3);
  Variant f = Variant(2.5);
  Variant c = Variant(Currency{125000});  // 12.5
  Variant s = Variant("Straße Müller");
  Variant t = D(2003, 3, 7);
  Variant b = Variant(true);
};

int Rank(int t) {
  switch (t) {
    case kInteger:
      return 2;
    case kLong:
      return 3;
    case kSingle:
      return 4;
    case kCurrency:
      return 5;
    default:
      return 6;
  }
}

int Wider(int a, int b) {
  if ((a == kLong && b == kSingle) || (a == kSingle && b == kLong)) return kDouble;
  return Rank(a) >= Rank(b) ? a : b;
}

VarType KindOf(int type) {
  switch (type) {
    case kBoolean:
      return VarType::kBoolean;
    case kInteger:
      return VarType::kInteger;
    case kLong:
      return VarType::kLong;
    case kSingle:
      return VarType::kSingle;
    case kCurrency:
      return VarType::kCurrency;
    case kDouble:
      return VarType::kDouble;
    case kDate:
      return VarType::kDate;
    default:
      return VarType::kString;
  }
}

class Generator {
 public:
  explicit Generator(uint32_t start) : rng_(start) {}

  Expr Any(int depth) {
    switch (Pick(4)) {
      case 0:
        return Number(depth);
      case 1:
        return Text(depth);
      case 2:
        return DateExpr(depth);
      default:
        return Bool(depth);
    }
  }

  Expr Number(int depth) {
    if (depth <= 0 || Pick(3) == 0) return NumberLeaf();
    switch (Pick(13)) {
      case 0:
      case 1:
      case 2: {
        Expr a = Number(depth - 1), b = Number(depth - 1);
        int op = Pick(3);
        const char* sym = op == 0 ? " + " : op == 1 ? " - " : " * ";
        auto f = op == 0 ? &vb::Add : op == 1 ? &vb::Subtract : &vb::Multiply;
        return {"(" + a.text + sym + b.text + ")", Wider(a.type, b.type),
                [=] { return Both(a, b, f); }};
      }
      case 3: {
        Expr a = Number(depth - 1), b = Number(depth - 1);
        bool narrow =
            (a.type == kInteger || a.type == kSingle) && (b.type == kInteger || b.type == kSingle);
        return {"(" + a.text + " / " + b.text + ")", narrow ? kSingle : kDouble,
                [=] { return Both(a, b, &vb::Divide); }};
      }
      case 4: {
        Expr a = Number(depth - 1), b = Number(depth - 1);
        bool mod = Pick(2) == 0;
        int type = a.type == kInteger && b.type == kInteger ? kInteger : kLong;
        return {"(" + a.text + (mod ? " Mod " : " \\ ") + b.text + ")", type,
                [=] { return Both(a, b, mod ? &vb::Modulo : &vb::IntDivide); }};
      }
      case 5: {
        static const char* const kSame[] = {"Abs", "Int", "Fix", "Round"};
        const char* f = kSame[Pick(4)];
        Expr a = Number(depth - 1);
        return {std::string(f) + "(" + a.text + ")", a.type, Call(f, {a})};
      }
      case 6: {
        static const struct {
          const char* name;
          int type;
        } kConv[] = {{"CInt", kInteger},  {"CLng", kLong},   {"CDbl", kDouble},
                     {"CCur", kCurrency}, {"CSng", kSingle}, {"Sgn", kInteger}};
        auto c = kConv[Pick(6)];
        Expr a = Number(depth - 1);
        return {std::string(c.name) + "(" + a.text + ")", c.type, Call(c.name, {a})};
      }
      case 7: {
        Expr s = Text(depth - 1);
        bool len = Pick(2) == 0;
        return {std::string(len ? "Len(" : "Val(") + s.text + ")", len ? kLong : kDouble,
                Call(len ? "Len" : "Val", {s})};
      }
      case 8: {
        Expr s = Text(depth - 1), t = Text(depth - 1);
        return {"InStr(" + s.text + ", " + t.text + ")", kLong, Call("InStr", {s, t})};
      }
      case 9: {
        Expr d = DateExpr(depth - 1);
        static const char* const kParts[] = {"Year", "Month", "Day", "Weekday"};
        const char* f = kParts[Pick(4)];
        return {std::string(f) + "(" + d.text + ")", kInteger, Call(f, {d})};
      }
      case 10: {
        Expr a = DateExpr(depth - 1), b = DateExpr(depth - 1);
        static const char* const kUnits[] = {"d", "m", "yyyy", "ww", "q"};
        std::string unit = kUnits[Pick(5)];
        Expr u = Literal("\"" + unit + "\"", kText, Variant(unit));
        return {"DateDiff(" + u.text + ", " + a.text + ", " + b.text + ")", kLong,
                Call("DateDiff", {u, a, b})};
      }
      case 11: {
        Expr a = Number(depth - 1);
        return {"(-" + a.text + ")", a.type == kInteger || a.type == kLong ? a.type : a.type,
                [=] { return vb::Negate(a.eval()); }};
      }
      default: {
        Expr c = Bool(depth - 1), a = Number(depth - 1), b = Same(a.type, depth - 1);
        return IIf(c, a, b);
      }
    }
  }

  Expr Text(int depth) {
    if (depth <= 0 || Pick(3) == 0) return TextLeaf();
    switch (Pick(10)) {
      case 0:
      case 1: {
        Expr a = Any(depth - 1), b = Any(depth - 1);
        return {"(" + a.text + " & " + b.text + ")", kText,
                [=] { return Both(a, b, &vb::Concat); }};
      }
      case 2: {
        static const char* const kOne[] = {"UCase", "LCase", "Trim", "StrReverse"};
        const char* f = kOne[Pick(4)];
        Expr a = Text(depth - 1);
        return {std::string(f) + "(" + a.text + ")", kText, Call(f, {a})};
      }
      case 3: {
        Expr a = Text(depth - 1);
        int n = Pick(4);
        Expr k = Literal(std::to_string(n), kLong, Long(n));
        const char* f = Pick(2) ? "Left" : "Right";
        return {std::string(f) + "(" + a.text + ", " + k.text + ")", kText, Call(f, {a, k})};
      }
      case 4: {
        Expr a = Pick(2) ? Number(depth - 1) : DateExpr(depth - 1);
        return {"CStr(" + a.text + ")", kText, Call("CStr", {a})};
      }
      case 5: {
        Expr a = Number(depth - 1);
        Expr f = Literal("\"0.00\"", kText, Variant("0.00"));
        return {"Format(" + a.text + ", " + f.text + ")", kText, Call("Format", {a, f})};
      }
      case 6: {
        Expr a = Text(depth - 1), b = Text(depth - 1);
        return {"(" + a.text + " + " + b.text + ")", kText, [=] { return Both(a, b, &vb::Add); }};
      }
      case 7: {
        Expr a = Text(depth - 1);
        Expr x = Literal("\"ü\"", kText, Variant("ü")), y = Literal("\"ue\"", kText, Variant("ue"));
        return {"Replace(" + a.text + ", " + x.text + ", " + y.text + ")", kText,
                Call("Replace", {a, x, y})};
      }
      case 8: {
        Expr z = Literal("[Z]", kText, Variant::Null());
        Expr a = Text(depth - 1);
        return {"Nz(" + z.text + ", " + a.text + ")", kText, Call("Nz", {z, a})};
      }
      default: {
        Expr c = Bool(depth - 1), a = Text(depth - 1), b = Text(depth - 1);
        return IIf(c, a, b);
      }
    }
  }

  Expr DateExpr(int depth) {
    if (depth <= 0 || Pick(3) == 0) return DateLeaf();
    switch (Pick(5)) {
      case 0: {
        Expr d = DateExpr(depth - 1);
        int n = Pick(61) - 30;
        Expr k = Literal(std::to_string(n), kLong, Long(n));
        return {"(" + d.text + " + " + k.text + ")", kDate, [=] { return Both(d, k, &vb::Add); }};
      }
      case 1: {
        Expr d = DateExpr(depth - 1);
        static const char* const kUnits[] = {"d", "m", "yyyy", "ww", "q", "y"};
        std::string unit = kUnits[Pick(6)];
        Expr u = Literal("\"" + unit + "\"", kText, Variant(unit));
        int n = Pick(25) - 12;
        Expr k = Literal(std::to_string(n), kLong, Long(n));
        return {"DateAdd(" + u.text + ", " + k.text + ", " + d.text + ")", kDate,
                Call("DateAdd", {u, k, d})};
      }
      case 2: {
        int y = 1990 + Pick(40), m = Pick(15) - 1, d = Pick(33) - 1;
        Expr a = Literal(std::to_string(y), kLong, Long(y));
        Expr b = Literal(std::to_string(m), kLong, Long(m));
        Expr c = Literal(std::to_string(d), kLong, Long(d));
        return {"DateSerial(" + a.text + ", " + b.text + ", " + c.text + ")", kDate,
                Call("DateSerial", {a, b, c})};
      }
      case 3: {
        Expr d = DateExpr(depth - 1);
        return {"DateValue(" + d.text + ")", kDate, Call("DateValue", {d})};
      }
      default: {
        Expr c = Bool(depth - 1), a = DateExpr(depth - 1), b = DateExpr(depth - 1);
        return IIf(c, a, b);
      }
    }
  }

  Expr Bool(int depth) {
    if (depth <= 0 || Pick(4) == 0) return BoolLeaf();
    switch (Pick(8)) {
      case 0:
      case 1:
      case 2: {
        int kind = Pick(3);
        Expr a = kind == 0 ? Number(depth - 1) : kind == 1 ? Text(depth - 1) : DateExpr(depth - 1);
        Expr b = kind == 0 ? Number(depth - 1) : kind == 1 ? Text(depth - 1) : DateExpr(depth - 1);
        static const struct {
          const char* text;
          vb::CompareOp op;
        } kOps[] = {{" = ", vb::CompareOp::kEqual},   {" <> ", vb::CompareOp::kNotEqual},
                    {" < ", vb::CompareOp::kLess},    {" <= ", vb::CompareOp::kLessEqual},
                    {" > ", vb::CompareOp::kGreater}, {" >= ", vb::CompareOp::kGreaterEqual}};
        auto o = kOps[Pick(6)];
        return {"(" + a.text + o.text + b.text + ")", kBoolean, [=] {
                  Variant x = a.eval();
                  Variant y = b.eval();
                  return vb::CompareValues(o.op, x, y);
                }};
      }
      case 3: {
        Expr a = Bool(depth - 1), b = Bool(depth - 1);
        int op = Pick(4);
        static const char* const kWords[] = {" And ", " Or ", " Xor ", " Eqv "};
        auto f = op == 0 ? &vb::And : op == 1 ? &vb::Or : op == 2 ? &vb::Xor : &vb::Eqv;
        return {"(" + a.text + kWords[op] + b.text + ")", kBoolean, [=] { return Both(a, b, f); }};
      }
      case 4: {
        Expr a = Bool(depth - 1);
        return {"(Not " + a.text + ")", kBoolean, [=] { return vb::Not(a.eval()); }};
      }
      case 5: {
        Expr a = Any(depth - 1);
        return {"IsNull(" + a.text + ")", kBoolean, Call("IsNull", {a})};
      }
      case 6: {
        Expr a = Text(depth - 1);
        static const char* const kPatterns[] = {"*ü*", "M?ller*", "[a-m]*", "*#*", "[!s]*", "*"};
        std::string p = kPatterns[Pick(6)];
        return {"(" + a.text + " Like \"" + p + "\")", kBoolean,
                [=] { return vb::LikeValues(a.eval(), Variant(p)); }};
      }
      default: {
        Expr a = Number(depth - 1);
        Expr lo = NumberLeaf(), hi = NumberLeaf();
        return {"(" + a.text + " Between " + lo.text + " And " + hi.text + ")", kBoolean, [=] {
                  Variant v = a.eval();
                  Variant low = vb::CompareValues(vb::CompareOp::kGreaterEqual, v, lo.eval());
                  Variant high = vb::CompareValues(vb::CompareOp::kLessEqual, v, hi.eval());
                  return vb::And(low, high);
                }};
      }
    }
  }

 private:
  int Pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(rng_); }

  // Both sides, left first (as Jet computes them), then the operator.
  static Variant Both(const Expr& a, const Expr& b, Variant (*op)(const Variant&, const Variant&)) {
    Variant x = a.eval();
    Variant y = b.eval();
    return op(x, y);
  }

  static Expr Literal(std::string text, int type, Variant value) {
    return {std::move(text), type, [value] { return value; }};
  }

  static Eval Call(const char* name, std::vector<Expr> args) {
    return [name, args] {
      std::vector<Variant> values;
      for (const Expr& a : args) values.push_back(a.eval());
      return vb::CallFunction(name, values);
    };
  }

  // IIf gives only the branch it chooses.
  static Expr IIf(const Expr& c, const Expr& a, const Expr& b) {
    return {"IIf(" + c.text + ", " + a.text + ", " + b.text + ")", a.type, [=] {
              Variant v = c.eval();
              bool truth = !v.IsNull() && vb::CBool(v);
              return truth ? a.eval() : b.eval();
            }};
  }

  Expr Same(int type, int depth) {
    for (int tries = 0; tries < 20; ++tries) {
      Expr e = Number(depth);
      if (e.type == type) return e;
    }
    switch (type) {
      case kInteger:
        return Literal("[I]", kInteger, row_.i);
      case kLong:
        return Literal("[L]", kLong, row_.l);
      case kCurrency:
        return Literal("[C]", kCurrency, row_.c);
      case kSingle:
        return Literal("CSng([F])", kSingle, Variant(2.5f));
      default:
        return Literal("[F]", kDouble, row_.f);
    }
  }

  Expr NumberLeaf() {
    switch (Pick(8)) {
      case 0: {
        int n = Pick(41) - 20;
        return Literal(std::to_string(n), kLong, Long(n));
      }
      case 1: {
        double x = (Pick(81) - 40) / 4.0;
        char buf[32];
        std::snprintf(buf, sizeof buf, "%.2f", x);
        return Literal(buf, kDouble, Variant(x));
      }
      case 2:
        return Literal("[L]", kLong, row_.l);
      case 3:
        return Literal("[I]", kInteger, row_.i);
      case 4:
        return Literal("[F]", kDouble, row_.f);
      case 5:
        return Literal("[C]", kCurrency, row_.c);
      case 6:
        return Literal("[N]", kLong, Variant::Null());
      default:
        return Literal("0", kLong, Long(0));
    }
  }

  Expr TextLeaf() {
    static const char* const kTexts[] = {"abc", "Müller", "MÜLLER", "Pâté", "",
                                         " x ", "Ärger",  "straße", "12",   "Pavlova"};
    switch (Pick(4)) {
      case 0:
        return Literal("[S]", kText, row_.s);
      default: {
        std::string t = kTexts[Pick(10)];
        return Literal("\"" + t + "\"", kText, Variant(t));
      }
    }
  }

  Expr DateLeaf() {
    switch (Pick(3)) {
      case 0:
        return Literal("[T]", kDate, row_.t);
      case 1:
        return Literal("#12/31/1999#", kDate, D(1999, 12, 31));
      default:
        return Literal("#2/29/2004#", kDate, D(2004, 2, 29));
    }
  }

  Expr BoolLeaf() {
    switch (Pick(3)) {
      case 0:
        return Literal("[B]", kBoolean, row_.b);
      case 1:
        return Literal("True", kBoolean, Variant(true));
      default:
        return Literal("False", kBoolean, Variant(false));
    }
  }

  std::mt19937 rng_;
  Row row_;
};

// The value (or error number) of the query's column and the direct one.
struct Outcome {
  int type = 0;
  Variant value;
  int32_t error = 0;
};

bool SameValue(const Variant& a, const Variant& b) {
  if (a.type() != b.type()) return false;
  if (a.type() == VarType::kDouble || a.type() == VarType::kSingle) {
    double x = a.NumericValue(), y = b.NumericValue();
    return x == y || std::fabs(x - y) <= 1e-12 * std::max(std::fabs(x), std::fabs(y));
  }
  return a == b;
}

TEST(JetDifferential, QueriesAgreeWithTheVbRuntime) {
  uint32_t start = static_cast<uint32_t>(
      std::chrono::steady_clock::now().time_since_epoch().count() & 0xffffffff);
  if (const char* s = std::getenv("QOR_JET_DIFF_START")) start = static_cast<uint32_t>(std::atoll(s));
  int count = 20000;
  if (const char* c = std::getenv("QOR_JET_DIFF_COUNT")) count = std::atoi(c);
  std::printf("jet differential test: start %u, %d expressions (QOR_JET_DIFF_START=%u repeats)\n",
              start, count, start);
  std::fflush(stdout);

  testing::TempDir dir;
  auto db = DBEngine::Get()->CreateDatabase(dir.File("diff.mdb"), kLangGeneral);
  auto t = db->CreateTableDef("R");
  for (auto [name, type] : std::vector<std::pair<const char*, int>>{{"L", kLong},
                                                                    {"I", kInteger},
                                                                    {"F", kDouble},
                                                                    {"C", kCurrency},
                                                                    {"S", kText},
                                                                    {"T", kDate},
                                                                    {"B", kBoolean},
                                                                    {"N", kLong},
                                                                    {"Z", kText}}) {
    t->GetFields()->Append(t->CreateField(name, Long(type), Long(type == kText ? 50 : 0)));
  }
  db->GetTableDefs()->Append(t);
  db->Execute(
      "INSERT INTO R (L, I, F, C, S, T, B) VALUES (7, -3, 2.5, 12.5, 'Straße Müller', "
      "#3/7/2003#, True)");

  auto dynaset = db->OpenRecordset("R", Long(kOpenDynaset));
  Generator gen(start);
  int checked = 0, errors = 0, conditions = 0;
  for (int n = 0; n < count; ++n) {
    Expr e = gen.Any(1 + n % 4);
    Outcome direct;
    direct.type = e.type;
    try {
      Variant v = e.eval();
      // A result column holds its type: VB's widening ends there.
      direct.value = v.IsNull() ? v : vb::ConvertTo(v, KindOf(e.type));
    } catch (const Error& error) {
      direct.error = error.number();
    }
    Outcome query;
    try {
      auto rs = db->OpenRecordset("SELECT " + e.text + " AS X FROM R", Long(kOpenSnapshot));
      auto f = rs->GetFields()->Item("X");
      query.type = f->Type();
      query.value = f->Value();
    } catch (const Error& error) {
      query.error = error.number();
    }
    std::string where =
        "SELECT " + e.text + "\n  start " + std::to_string(start) + ", #" + std::to_string(n);
    if (direct.error || query.error) {
      EXPECT_EQ(query.error, direct.error) << where;
      ++errors;
    } else {
      EXPECT_EQ(query.type, e.type) << where;
      EXPECT_TRUE(SameValue(query.value, direct.value))
          << where << "\n  query: " << TypeName(query.value) << " "
          << (query.value.IsNull() ? "Null" : vb::CStr(query.value))
          << "\n  VB:    " << TypeName(direct.value) << " "
          << (direct.value.IsNull() ? "Null" : vb::CStr(direct.value));
    }
    // A Boolean also as a condition: the row is selected when it is True.
    if (e.type == kBoolean && !direct.error) {
      bool selected = false;
      int32_t error = 0;
      try {
        auto rs = db->OpenRecordset("SELECT L FROM R WHERE " + e.text, Long(kOpenSnapshot));
        selected = !rs->Eof();
      } catch (const Error& raised) {
        error = raised.number();
      }
      EXPECT_EQ(error, 0) << "WHERE " << e.text;
      bool truth = !direct.value.IsNull() && direct.value.AsBoolean();
      EXPECT_EQ(selected, truth) << "WHERE " << e.text << "\n  start " << start;
      // And as a FindFirst criterion, whose literals are parameters.
      bool found = false;
      error = 0;
      try {
        dynaset->FindFirst(e.text);
        found = !dynaset->NoMatch();
      } catch (const Error& raised) {
        error = raised.number();
      }
      EXPECT_EQ(error, 0) << "FindFirst " << e.text;
      EXPECT_EQ(found, truth) << "FindFirst " << e.text << "\n  start " << start;
      ++conditions;
    }
    ++checked;
    if (::testing::Test::HasFailure()) break;  // one expression to look at
  }
  std::printf("checked %d expressions (%d with errors, %d also as conditions and criteria)\n",
              checked, errors, conditions);
}

}  // namespace
}  // namespace qor::dao
