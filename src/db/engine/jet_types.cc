#include "db/engine/jet_types.h"

#include <algorithm>

#include "qorsupport/db/engine/dao.h"

namespace qor::dao::jet {

namespace {

// VB's order of numeric precision; 0 for what is not a number.
int Rank(int type) {
  switch (type) {
    case kByte:
      return 1;
    case kBoolean:
    case kInteger:
      return 2;
    case kLong:
      return 3;
    case kSingle:
      return 4;
    case kCurrency:
      return 5;
    case kDouble:
      return 6;
    default:
      return 0;
  }
}

int OfRank(int rank) {
  static const int kTypes[] = {kDouble, kByte, kInteger, kLong, kSingle, kCurrency, kDouble};
  return kTypes[rank];
}

// The wider of two numeric types (a text or date counting as a Double).
int WiderNumber(int a, int b) {
  int ra = Rank(a), rb = Rank(b);
  if (ra == 0) ra = 6;
  if (rb == 0) rb = 6;
  if ((ra == 3 && rb == 4) || (ra == 4 && rb == 3)) return kDouble;
  return OfRank(std::max(ra, rb));
}

// The kind \, Mod and the bitwise operators work in: Byte, Integer or Long.
int WholeType(int type) {
  switch (type) {
    case kByte:
      return kByte;
    case kBoolean:
    case kInteger:
      return kInteger;
    default:
      return kLong;
  }
}

int WiderWhole(int a, int b) {
  int wa = WholeType(a), wb = WholeType(b);
  if (wa == kLong || wb == kLong) return kLong;
  if (wa == kInteger || wb == kInteger) return kInteger;
  return kByte;
}

int TextType(int a, int b) { return a == kMemo || b == kMemo ? kMemo : kText; }

int BinaryType(Op op, int a, int b) {
  if (IsComparison(op)) return kBoolean;
  if (op == Op::kConcat) return TextType(a, b);
  if (a == kVariantType || b == kVariantType) return kVariantType;
  if (a == kNullType) a = b;
  if (b == kNullType) b = a;
  if (a == kNullType) return kNullType;
  switch (op) {
    case Op::kAdd:
      if (IsTextualType(a) && IsTextualType(b)) return TextType(a, b);
      if (a == kDate || b == kDate) return kDate;
      return WiderNumber(a, b);
    case Op::kSubtract:
      if (a == kDate && b == kDate) return kDouble;
      if (a == kDate || b == kDate) return kDate;
      return WiderNumber(a, b);
    case Op::kMultiply:
      return WiderNumber(a, b);
    case Op::kDivide: {
      auto narrow = [](int t) {
        return t == kByte || t == kInteger || t == kSingle || t == kBoolean;
      };
      return narrow(a) && narrow(b) ? kSingle : kDouble;
    }
    case Op::kIntDivide:
    case Op::kMod:
      return WiderWhole(a, b);
    case Op::kPower:
      return kDouble;
    case Op::kAnd:
    case Op::kOr:
    case Op::kXor:
    case Op::kEqv:
    case Op::kImp:
      if (a == kBoolean && b == kBoolean) return kBoolean;
      return WiderWhole(a, b);
    default:
      return kVariantType;
  }
}

int UnaryType(Op op, int a) {
  if (a == kNullType || a == kVariantType) return a;
  if (op == Op::kNot) {
    if (a == kBoolean || a == kByte || a == kInteger || a == kLong) return a;
    return kLong;
  }
  // Negation.
  if (a == kBoolean || a == kByte) return kInteger;
  if (IsTextualType(a)) return kDouble;
  if (Rank(a) == 0 && a != kDate) return kDouble;
  return a;
}

// Abs, Fix, Int, Round: the kind of their argument.
int KeepNumberType(int a) {
  if (a == kNullType || a == kVariantType) return a;
  if (a == kBoolean) return kInteger;
  if (a == kDate) return kDate;
  if (Rank(a) == 0) return kDouble;
  return a;
}

int UnifyAll(const Node& n, size_t first, size_t step) {
  int t = kNullType;
  for (size_t i = first; i < n.kids.size(); i += step) t = Unify(t, n.kids[i]->type);
  return t;
}

bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i], y = b[i];
    if (x >= 'a' && x <= 'z') x = static_cast<char>(x - 32);
    if (y >= 'a' && y <= 'z') y = static_cast<char>(y - 32);
    if (x != y) return false;
  }
  return true;
}

int CallType(const Node& n) {
  std::string_view f = n.function->name;
  auto arg = [&](size_t i) { return i < n.kids.size() ? n.kids[i]->type : kNullType; };
  struct Fixed {
    const char* name;
    int type;
  };
  static const Fixed kFixed[] = {
      {"CBool", kBoolean},  {"CByte", kByte},        {"CInt", kInteger},    {"CLng", kLong},
      {"CSng", kSingle},    {"CDbl", kDouble},       {"CCur", kCurrency},   {"CDate", kDate},
      {"CVDate", kDate},    {"CStr", kText},         {"Asc", kInteger},     {"AscW", kInteger},
      {"Chr", kText},       {"ChrW", kText},         {"Hex", kText},        {"Oct", kText},
      {"Format", kText},    {"Str", kText},          {"String", kText},     {"Space", kText},
      {"Left", kText},      {"Right", kText},        {"Mid", kText},        {"LCase", kText},
      {"UCase", kText},     {"Trim", kText},         {"LTrim", kText},      {"RTrim", kText},
      {"Replace", kText},   {"StrConv", kText},      {"StrReverse", kText}, {"WeekdayName", kText},
      {"MonthName", kText}, {"Val", kDouble},        {"Len", kLong},        {"InStr", kLong},
      {"InStrRev", kLong},  {"StrComp", kInteger},   {"Date", kDate},       {"Time", kDate},
      {"Now", kDate},       {"DateSerial", kDate},   {"TimeSerial", kDate}, {"DateValue", kDate},
      {"TimeValue", kDate}, {"DateAdd", kDate},      {"DateDiff", kLong},   {"DatePart", kInteger},
      {"Year", kInteger},   {"Month", kInteger},     {"Day", kInteger},     {"Hour", kInteger},
      {"Minute", kInteger}, {"Second", kInteger},    {"Weekday", kInteger}, {"Sgn", kInteger},
      {"Atn", kDouble},     {"Cos", kDouble},        {"Exp", kDouble},      {"Log", kDouble},
      {"Sin", kDouble},     {"Sqr", kDouble},        {"Tan", kDouble},      {"Rnd", kSingle},
      {"IsNull", kBoolean}, {"IsNumeric", kBoolean}, {"IsDate", kBoolean},  {"IsEmpty", kBoolean},
  };
  for (const Fixed& x : kFixed) {
    if (SameName(f, x.name)) return x.type;
  }
  if (SameName(f, "CVar")) return arg(0);
  if (SameName(f, "Abs") || SameName(f, "Fix") || SameName(f, "Int") || SameName(f, "Round")) {
    return KeepNumberType(arg(0));
  }
  if (SameName(f, "IIf")) return Unify(arg(1), arg(2));
  if (SameName(f, "Switch")) return UnifyAll(n, 1, 2);
  if (SameName(f, "Choose")) return UnifyAll(n, 1, 1);
  if (SameName(f, "Nz")) {
    if (n.kids.size() == 1) return arg(0) == kNullType ? kText : arg(0);
    return Unify(arg(0), arg(1));
  }
  return kVariantType;
}

int AggregateType(const Node& n) {
  int a = n.kids.empty() ? kLong : n.kids[0]->type;
  const std::string& f = n.name;
  if (f == "COUNT") return kLong;
  if (f == "SUM") {
    if (a == kCurrency) return kCurrency;
    if (a == kVariantType) return kVariantType;
    return kDouble;
  }
  if (f == "AVG") return a == kCurrency ? kCurrency : kDouble;
  if (f == "MIN" || f == "MAX" || f == "FIRST" || f == "LAST") return a == kNullType ? kText : a;
  return kDouble;  // StDev, StDevP, Var, VarP
}

// Text against a number is a type mismatch in a criterion.
void CheckComparable(int a, int b) {
  bool text_number =
      (IsTextualType(a) && IsNumericType(b)) || (IsNumericType(a) && IsTextualType(b));
  if (text_number) Fail(e::kCriteriaMismatch);
}

}  // namespace

int ExpressionType(int field_type) {
  switch (field_type) {
    case kChar:
    case kGUID:
      return kText;
    case kBigInt:
    case kNumeric:
    case kDecimal:
    case kFloat:
      return kDouble;
    case kTime:
    case kTimeStamp:
      return kDate;
    case kBinary:
      return kLongBinary;
    default:
      return field_type;
  }
}

bool IsNumericType(int type) { return Rank(type) != 0; }
bool IsTextualType(int type) { return type == kText || type == kMemo; }

bool ComparableNatively(int a, int b) {
  if (a == kNullType || b == kNullType) return true;
  // A value of unknown kind compares as SQLite compares: numbers before
  // texts, as VB compares a number with a text in variants.
  if (a == kVariantType || b == kVariantType) return true;
  if (IsNumericType(a) && IsNumericType(b)) return true;
  if (IsTextualType(a) && IsTextualType(b)) return true;
  return a == kDate && b == kDate;
}

int Unify(int a, int b) {
  if (a == kNullType) return b;
  if (b == kNullType) return a;
  if (a == b) return a;
  if (IsTextualType(a) && IsTextualType(b)) return kMemo;
  if (IsNumericType(a) && IsNumericType(b)) {
    int t = WiderNumber(a == kBoolean ? kInteger : a, b == kBoolean ? kInteger : b);
    return t;
  }
  return kVariantType;
}

VarType VarTypeOf(int type) {
  switch (type) {
    case kBoolean:
      return VarType::kBoolean;
    case kByte:
      return VarType::kByte;
    case kInteger:
      return VarType::kInteger;
    case kLong:
      return VarType::kLong;
    case kCurrency:
      return VarType::kCurrency;
    case kSingle:
      return VarType::kSingle;
    case kDouble:
    case kFloat:
    case kNumeric:
    case kDecimal:
    case kBigInt:
      return VarType::kDouble;
    case kDate:
    case kTime:
    case kTimeStamp:
      return VarType::kDate;
    case kText:
    case kMemo:
    case kChar:
    case kGUID:
      return VarType::kString;
    default:  // binary values, kVariantType
      return VarType::kVariant;
  }
}

int TypeOfValue(const Variant& v) {
  switch (v.type()) {
    case VarType::kNull:
      return kNullType;
    case VarType::kBoolean:
      return kBoolean;
    case VarType::kByte:
      return kByte;
    case VarType::kInteger:
      return kInteger;
    case VarType::kLong:
      return kLong;
    case VarType::kSingle:
      return kSingle;
    case VarType::kDouble:
      return kDouble;
    case VarType::kCurrency:
      return kCurrency;
    case VarType::kDate:
      return kDate;
    case VarType::kString:
      return kText;
    default:
      return kVariantType;
  }
}

void TypeTree(Node& n, Typer& typer) {
  for (NodePtr& kid : n.kids) TypeTree(*kid, typer);
  switch (n.kind) {
    case NodeKind::kLiteral:
      n.type = TypeOfValue(n.value);
      break;
    case NodeKind::kColumn:
      typer.Column(n);
      break;
    case NodeKind::kParameter:
      typer.Parameter(n);
      break;
    case NodeKind::kUnary:
      n.type = UnaryType(n.ops[0], n.kids[0]->type);
      break;
    case NodeKind::kChain: {
      int t = n.kids[0]->type;
      for (size_t i = 0; i < n.ops.size(); ++i) {
        int right = n.kids[i + 1]->type;
        if (IsComparison(n.ops[i])) CheckComparable(t, right);
        t = BinaryType(n.ops[i], t, right);
      }
      n.type = t;
      break;
    }
    case NodeKind::kBetween:
      CheckComparable(n.kids[0]->type, n.kids[1]->type);
      CheckComparable(n.kids[0]->type, n.kids[2]->type);
      n.type = kBoolean;
      break;
    case NodeKind::kIn:
      for (size_t i = 1; i < n.kids.size(); ++i) CheckComparable(n.kids[0]->type, n.kids[i]->type);
      n.type = kBoolean;
      break;
    case NodeKind::kLike:
    case NodeKind::kIsNull:
      n.type = kBoolean;
      break;
    case NodeKind::kInSelect:
    case NodeKind::kExists:
      typer.Subquery(n);
      n.type = kBoolean;
      break;
    case NodeKind::kSubquery:
      typer.Subquery(n);
      break;
    case NodeKind::kCall:
      n.type = CallType(n);
      break;
    case NodeKind::kAggregate:
      n.type = AggregateType(n);
      break;
  }
}

}  // namespace qor::dao::jet
