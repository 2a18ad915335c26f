#include "db/engine/jet_eval.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "db/engine/jet_types.h"
#include "qorsupport/db/engine/dao.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/frame/vb_functions.h"

namespace qor::dao::jet {

namespace {

constexpr std::string_view kErrorMagic("\x01qor-error\x02", 11);

class ProgramTyper : public Typer {
 public:
  explicit ProgramTyper(const std::vector<int>& types) : types_(types) {}
  void Column(Node&) override { Raise(err::kInvalidCall); }
  void Parameter(Node& p) override {
    if (p.index < 1 || static_cast<size_t>(p.index) > types_.size()) Raise(err::kInvalidCall);
    p.type = types_[static_cast<size_t>(p.index - 1)];
  }
  void Subquery(Node&) override { Raise(err::kInvalidCall); }

 private:
  const std::vector<int>& types_;
};

vb::CompareOp CompareOpOf(Op op) {
  switch (op) {
    case Op::kEqual:
      return vb::CompareOp::kEqual;
    case Op::kNotEqual:
      return vb::CompareOp::kNotEqual;
    case Op::kLess:
      return vb::CompareOp::kLess;
    case Op::kLessEqual:
      return vb::CompareOp::kLessEqual;
    case Op::kGreater:
      return vb::CompareOp::kGreater;
    default:
      return vb::CompareOp::kGreaterEqual;
  }
}

// A date compared with a text compares with the text read as a date.
Variant ForComparison(const Variant& v, int type, int other_type) {
  if (other_type == kDate && IsTextualType(type) && v.IsString()) {
    Date d;
    if (!vb::ParseDate(v.AsString(), &d)) Fail(e::kCriteriaMismatch);
    return Variant(d);
  }
  return v;
}

Variant Compare(Op op, const Variant& a, int ta, const Variant& b, int tb) {
  return vb::CompareValues(CompareOpOf(op), ForComparison(a, ta, tb), ForComparison(b, tb, ta),
                           vb::CompareMode::kText);
}

Variant Apply(Op op, const Variant& a, const Variant& b) {
  switch (op) {
    case Op::kAdd:
      return vb::Add(a, b);
    case Op::kSubtract:
      return vb::Subtract(a, b);
    case Op::kMultiply:
      return vb::Multiply(a, b);
    case Op::kDivide:
      return vb::Divide(a, b);
    case Op::kIntDivide:
      return vb::IntDivide(a, b);
    case Op::kMod:
      return vb::Modulo(a, b);
    case Op::kPower:
      return vb::Power(a, b);
    case Op::kConcat:
      return vb::Concat(a, b);
    case Op::kAnd:
      return vb::And(a, b);
    case Op::kOr:
      return vb::Or(a, b);
    case Op::kXor:
      return vb::Xor(a, b);
    case Op::kEqv:
      return vb::Eqv(a, b);
    case Op::kImp:
      return vb::Imp(a, b);
    default:
      Raise(err::kInvalidCall);
  }
}

bool Truth(const Variant& v) { return !v.IsNull() && !v.IsEmpty() && vb::CBool(v); }

Variant Negated(const Variant& v, bool negate) { return negate ? vb::Not(v) : v; }

bool Named(const Node& call, std::string_view name) { return call.function->name == name; }

}  // namespace

std::string ProgramText(bool error_values, int result_type, const std::vector<int>& parameter_types,
                        std::string_view expression, bool storage) {
  std::string out = error_values ? "e" : "";
  if (storage) out += "s";
  out += std::to_string(result_type) + ":";
  for (size_t i = 0; i < parameter_types.size(); ++i) {
    if (i) out += ",";
    out += std::to_string(parameter_types[i]);
  }
  out += ":";
  out += expression;
  return out;
}

std::unique_ptr<Program> ParseProgram(std::string_view text) {
  auto p = std::make_unique<Program>();
  size_t i = 0;
  if (i < text.size() && text[i] == 'e') {
    p->error_values = true;
    ++i;
  }
  if (i < text.size() && text[i] == 's') {
    p->storage = true;
    ++i;
  }
  size_t colon = text.find(':', i);
  if (colon == std::string_view::npos) Raise(err::kInvalidCall);
  p->result_type = std::atoi(std::string(text.substr(i, colon - i)).c_str());
  size_t second = text.find(':', colon + 1);
  if (second == std::string_view::npos) Raise(err::kInvalidCall);
  std::string_view types = text.substr(colon + 1, second - colon - 1);
  while (!types.empty()) {
    size_t comma = types.find(',');
    p->parameter_types.push_back(std::atoi(std::string(types.substr(0, comma)).c_str()));
    if (comma == std::string_view::npos) break;
    types.remove_prefix(comma + 1);
  }
  ParseOptions options;
  options.parameters = true;
  try {
    p->root = ParseExpression(text.substr(second + 1), options);
  } catch (const SyntaxError&) {
    Raise(err::kInvalidCall);
  } catch (const UnknownFunction&) {
    Raise(err::kInvalidCall);
  }
  ProgramTyper typer(p->parameter_types);
  TypeTree(*p->root, typer);
  return p;
}

Variant Evaluate(const Node& n, std::span<const Variant> parameters) {
  switch (n.kind) {
    case NodeKind::kLiteral:
      return n.value;
    case NodeKind::kParameter:
      return parameters[static_cast<size_t>(n.index - 1)];
    case NodeKind::kUnary: {
      Variant v = Evaluate(*n.kids[0], parameters);
      return n.ops[0] == Op::kNot ? vb::Not(v) : vb::Negate(v);
    }
    case NodeKind::kChain: {
      Variant acc = Evaluate(*n.kids[0], parameters);
      int type = n.kids[0]->type;
      for (size_t i = 0; i < n.ops.size(); ++i) {
        const Node& right = *n.kids[i + 1];
        Variant b = Evaluate(right, parameters);
        if (IsComparison(n.ops[i])) {
          acc = Compare(n.ops[i], acc, type, b, right.type);
          type = kBoolean;
        } else {
          acc = Apply(n.ops[i], acc, b);
          type = kVariantType;
        }
      }
      return acc;
    }
    case NodeKind::kLike:
      return Negated(
          vb::LikeValues(Evaluate(*n.kids[0], parameters), Evaluate(*n.kids[1], parameters)),
          n.negate);
    case NodeKind::kBetween: {
      Variant v = Evaluate(*n.kids[0], parameters);
      Variant low = Evaluate(*n.kids[1], parameters);
      Variant high = Evaluate(*n.kids[2], parameters);
      int t = n.kids[0]->type;
      Variant in = vb::And(Compare(Op::kGreaterEqual, v, t, low, n.kids[1]->type),
                           Compare(Op::kLessEqual, v, t, high, n.kids[2]->type));
      return Negated(in, n.negate);
    }
    case NodeKind::kIn: {
      Variant v = Evaluate(*n.kids[0], parameters);
      if (v.IsNull()) return Variant::Null();
      bool null_item = false;
      for (size_t i = 1; i < n.kids.size(); ++i) {
        Variant eq = Compare(Op::kEqual, v, n.kids[0]->type, Evaluate(*n.kids[i], parameters),
                             n.kids[i]->type);
        if (eq.IsNull()) {
          null_item = true;
        } else if (eq.AsBoolean()) {
          return Variant(!n.negate);
        }
      }
      if (null_item) return Variant::Null();
      return Variant(n.negate);
    }
    case NodeKind::kIsNull:
      return Variant(Evaluate(*n.kids[0], parameters).IsNull() != n.negate);
    case NodeKind::kCall: {
      // IIf, Switch, Choose and Nz compute only the argument they give.
      if (Named(n, "IIf")) {
        return Evaluate(*n.kids[Truth(Evaluate(*n.kids[0], parameters)) ? 1 : 2], parameters);
      }
      if (Named(n, "Switch")) {
        if (n.kids.size() % 2 != 0) Raise(err::kInvalidCall);
        for (size_t i = 0; i + 1 < n.kids.size(); i += 2) {
          if (Truth(Evaluate(*n.kids[i], parameters))) return Evaluate(*n.kids[i + 1], parameters);
        }
        return Variant::Null();
      }
      if (Named(n, "Choose")) {
        Variant index = Evaluate(*n.kids[0], parameters);
        if (index.IsNull()) return index;
        double i = std::trunc(vb::CDbl(index));
        if (i < 1 || i > static_cast<double>(n.kids.size() - 1)) return Variant::Null();
        return Evaluate(*n.kids[static_cast<size_t>(i)], parameters);
      }
      if (Named(n, "Nz")) {
        Variant v = Evaluate(*n.kids[0], parameters);
        if (!v.IsNull()) return v;
        return n.kids.size() > 1 ? Evaluate(*n.kids[1], parameters) : Variant();
      }
      std::vector<Variant> args;
      args.reserve(n.kids.size());
      for (const NodePtr& kid : n.kids) args.push_back(Evaluate(*kid, parameters));
      return n.function->call(args);
    }
    default:
      Raise(err::kInvalidCall);
  }
}

Variant ConvertToType(const Variant& value, int type, bool exact) {
  if (value.IsNull()) return value;
  if (type == kVariantType || type == kNullType) return value;
  VarType kind = VarTypeOf(type);
  if (kind == VarType::kVariant) return value;
  if (value.IsEmpty()) return ZeroValue(kind);
  if (value.type() == kind) return value;
  if (!exact && value.IsNumber() && IsNumericType(type)) return value;
  return vb::ConvertTo(value, kind);
}

Error StorageError(const Error& error) {
  if (error.number() == err::kOverflow) {
    return Error(e::kNumericOverflow, "DAO.Database", FormatText(e::kNumericOverflow, {}));
  }
  if (error.number() == err::kTypeMismatch || error.number() == err::kInvalidNull) {
    return Error(e::kConversion, "DAO.Database", FormatText(e::kConversion, {}));
  }
  return error;
}

std::string ErrorValue(const Error& error) {
  return std::string(kErrorMagic) + std::to_string(error.number()) + "|" + error.source() + "|" +
         error.description();
}

bool IsErrorValue(const void* data, size_t size) {
  return data && size >= kErrorMagic.size() &&
         std::memcmp(data, kErrorMagic.data(), kErrorMagic.size()) == 0;
}

Error ParseErrorValue(const void* data, size_t size) {
  std::string_view text(static_cast<const char*>(data), size);
  text.remove_prefix(kErrorMagic.size());
  size_t bar = text.find('|');
  size_t bar2 = text.find('|', bar + 1);
  int32_t number = std::atoi(std::string(text.substr(0, bar)).c_str());
  return Error(number, std::string(text.substr(bar + 1, bar2 - bar - 1)),
               std::string(text.substr(bar2 + 1)));
}

}  // namespace qor::dao::jet
