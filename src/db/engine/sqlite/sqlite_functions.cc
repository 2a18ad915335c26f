#include "db/engine/sqlite/sqlite_functions.h"

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "db/engine/jet_eval.h"
#include "db/engine/jet_types.h"
#include "db/engine/sqlite/jet_collation.h"
#include "db/engine/sqlite/sqlite_db.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"
#include "qorsupport/frame/vb_functions.h"

namespace qor::dao::sqlite {

namespace {

std::string TextOf(sqlite3_value* v) {
  return std::string(reinterpret_cast<const char*>(sqlite3_value_text(v)),
                     static_cast<size_t>(sqlite3_value_bytes(v)));
}

// A value as SQLite holds it: integers as Long (Double beyond), reals as
// Double, texts as String, BLOBs as Byte arrays.
Variant Natural(sqlite3_value* v) {
  switch (sqlite3_value_type(v)) {
    case SQLITE_INTEGER: {
      int64_t x = sqlite3_value_int64(v);
      if (x >= INT32_MIN && x <= INT32_MAX) return Long(static_cast<int32_t>(x));
      return Variant(static_cast<double>(x));
    }
    case SQLITE_FLOAT:
      return Variant(sqlite3_value_double(v));
    case SQLITE_NULL:
      return Variant::Null();
    case SQLITE_BLOB: {
      const void* p = sqlite3_value_blob(v);
      int n = sqlite3_value_bytes(v);
      if (jet::IsErrorValue(p, static_cast<size_t>(n))) {
        throw jet::ParseErrorValue(p, static_cast<size_t>(n));
      }
      Array bytes(VarType::kByte, {{0, n - 1}});
      const auto* b = static_cast<const unsigned char*>(p);
      for (int i = 0; i < n; ++i) bytes.elements()[static_cast<size_t>(i)] = Byte(b[i]);
      return Variant(std::move(bytes));
    }
    default:
      return Variant(TextOf(v));
  }
}

// A value stored for a field (or computed) of the given type, as the VB
// runtime sees it.
Variant Decode(sqlite3_value* v, int type) {
  int stored = sqlite3_value_type(v);
  if (stored == SQLITE_NULL) return Variant::Null();
  bool number = stored == SQLITE_INTEGER || stored == SQLITE_FLOAT;
  switch (type) {
    case kDate: {
      if (number) return Variant(Date{sqlite3_value_double(v)});
      if (stored != SQLITE_TEXT) return Natural(v);
      Date d;
      if (IsoToDate(TextOf(v), &d)) return Variant(d);
      return Variant(TextOf(v));
    }
    case kCurrency:
      if (!number) return Natural(v);
      return Variant(
          Currency{static_cast<int64_t>(std::llround(sqlite3_value_double(v) * Currency::kScale))});
    case kBoolean:
      if (!number) return Natural(v);
      return Variant(sqlite3_value_double(v) != 0);
    case kByte:
    case kInteger:
    case kLong: {
      if (stored != SQLITE_INTEGER) return Natural(v);
      int64_t x = sqlite3_value_int64(v);
      if (type == kByte && x >= 0 && x <= 255) return Byte(static_cast<int>(x));
      if (type == kInteger && x >= -32768 && x <= 32767) return Int16(static_cast<int>(x));
      return Natural(v);
    }
    case kSingle:
      if (!number) return Natural(v);
      return Variant(static_cast<float>(sqlite3_value_double(v)));
    case kDouble:
      if (!number) return Natural(v);
      return Variant(sqlite3_value_double(v));
    case kText:
    case kMemo:
      if (stored == SQLITE_BLOB) return Natural(v);
      return Variant(TextOf(v));
    default:
      return Natural(v);
  }
}

void ResultText(sqlite3_context* ctx, const std::string& s) {
  sqlite3_result_text(ctx, s.data(), static_cast<int>(s.size()), SQLITE_TRANSIENT);
}

// A value as the engine stores it: dates as ISO texts, Booleans as -1 and
// 0, Currency as a real number.
void Encode(sqlite3_context* ctx, const Variant& v) {
  switch (v.type()) {
    case VarType::kNull:
      sqlite3_result_null(ctx);
      break;
    case VarType::kEmpty:
      ResultText(ctx, std::string());
      break;
    case VarType::kBoolean:
      sqlite3_result_int(ctx, v.AsBoolean() ? -1 : 0);
      break;
    case VarType::kByte:
    case VarType::kInteger:
    case VarType::kLong:
      sqlite3_result_int64(ctx, static_cast<int64_t>(v.NumericValue()));
      break;
    case VarType::kDate:
      ResultText(ctx, DateToIso(v.AsDate()));
      break;
    case VarType::kString:
      ResultText(ctx, v.AsString());
      break;
    case VarType::kSingle:
    case VarType::kDouble:
    case VarType::kCurrency:
      sqlite3_result_double(ctx, v.NumericValue());
      break;
    default:
      if (v.IsArray()) {
        std::string bytes = vb::BytesOf(v);
        sqlite3_result_blob(ctx, bytes.data(), static_cast<int>(bytes.size()), SQLITE_TRANSIENT);
        break;
      }
      ResultText(ctx, vb::CStr(v));
  }
}

void ResultError(sqlite3_context* ctx, const Error& error) {
  std::string text = "qor|" + std::to_string(error.number()) + "|" + error.description();
  sqlite3_result_error(ctx, text.c_str(), -1);
}

// Runs body, turning a VB error into a SQL error.
template <typename F>
void Guarded(sqlite3_context* ctx, F body) {
  try {
    body();
  } catch (const Error& error) {
    ResultError(ctx, error);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(ctx);
  }
}

// ---- qor_expr ------------------------------------------------------------------------

void DeleteProgram(void* p) { delete static_cast<jet::Program*>(p); }

void Expr(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (argc < 1 || sqlite3_value_type(argv[0]) != SQLITE_TEXT) {
    sqlite3_result_error(ctx, "qor|5|qor_expr needs a program", -1);
    return;
  }
  auto* program = static_cast<jet::Program*>(sqlite3_get_auxdata(ctx, 0));
  std::unique_ptr<jet::Program> fresh;
  try {
    if (!program) {
      fresh = jet::ParseProgram(TextOf(argv[0]));
      program = fresh.get();
    }
  } catch (const Error& error) {
    ResultError(ctx, error);
    return;
  }
  if (static_cast<size_t>(argc - 1) < program->parameter_types.size()) {
    sqlite3_result_error(ctx, "qor|5|qor_expr lacks values for its program", -1);
    return;
  }
  try {
    std::vector<Variant> values;
    values.reserve(static_cast<size_t>(argc - 1));
    for (int i = 1; i < argc; ++i) {
      size_t k = static_cast<size_t>(i - 1);
      int type = k < program->parameter_types.size() ? program->parameter_types[k] : 0;
      values.push_back(Decode(argv[i], type));
    }
    Variant v = jet::Evaluate(*program->root, values);
    Encode(ctx,
           jet::ConvertToType(v, program->result_type, program->error_values || program->storage));
  } catch (const Error& raised) {
    Error error = program->storage ? jet::StorageError(raised) : raised;
    if (program->error_values) {
      std::string blob = jet::ErrorValue(error);
      sqlite3_result_blob(ctx, blob.data(), static_cast<int>(blob.size()), SQLITE_TRANSIENT);
    } else {
      ResultError(ctx, error);
    }
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(ctx);
  }
  if (fresh) sqlite3_set_auxdata(ctx, 0, fresh.release(), &DeleteProgram);
}

// ---- Functions by name ------------------------------------------------------------------

// A VB built-in called with the values as SQLite holds them (for SQL
// written by earlier versions of the translator, and for pass-through SQL).
struct Named {
  const vb::FunctionInfo* function;
};

void CallNamed(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  const vb::FunctionInfo* f = static_cast<Named*>(sqlite3_user_data(ctx))->function;
  Guarded(ctx, [&] {
    std::vector<Variant> args;
    for (int i = 0; i < argc; ++i) {
      Variant a = Natural(argv[i]);
      Date d;
      // Dates arrive as the engine stores them.
      if (a.IsString() && a.AsString().size() == 19 && a.AsString()[4] == '-' &&
          IsoToDate(a.AsString(), &d)) {
        a = Variant(d);
      }
      args.push_back(std::move(a));
    }
    Encode(ctx, f->call(args));
  });
}

void RegisterNamed(sqlite3* db, const char* sql_name, const char* vb_name, int args,
                   bool deterministic = true) {
  const vb::FunctionInfo* f = vb::FindFunction(vb_name);
  if (!f) return;
  int flags = SQLITE_UTF8 | (deterministic ? SQLITE_DETERMINISTIC : 0);
  sqlite3_create_function_v2(db, sql_name, args, flags, new Named{f}, &CallNamed, nullptr, nullptr,
                             [](void* p) { delete static_cast<Named*>(p); });
}

// ---- Aggregates ----------------------------------------------------------------------------

struct Pick {
  sqlite3_value* value = nullptr;
  bool seen = false;
};

template <bool kLast>
void PickStep(sqlite3_context* ctx, int, sqlite3_value** argv) {
  auto* p = static_cast<Pick*>(sqlite3_aggregate_context(ctx, sizeof(Pick)));
  if (!p) return;
  if (p->seen && !kLast) return;
  if (p->value) sqlite3_value_free(p->value);
  p->value = sqlite3_value_dup(argv[0]);
  p->seen = true;
}

void PickFinal(sqlite3_context* ctx) {
  auto* p = static_cast<Pick*>(sqlite3_aggregate_context(ctx, 0));
  if (!p || !p->value) {
    sqlite3_result_null(ctx);
    return;
  }
  sqlite3_result_value(ctx, p->value);
  sqlite3_value_free(p->value);
  p->value = nullptr;
}

// Welford's running mean and sum of squared deviations.
struct Spread {
  int64_t n = 0;
  double mean = 0;
  double m2 = 0;
  bool failed = false;
};

void SpreadStep(sqlite3_context* ctx, int, sqlite3_value** argv) {
  auto* s = static_cast<Spread*>(sqlite3_aggregate_context(ctx, sizeof(Spread)));
  if (!s || sqlite3_value_type(argv[0]) == SQLITE_NULL) return;
  double x;
  try {
    x = vb::CDbl(Natural(argv[0]));
  } catch (const Error& error) {
    ResultError(ctx, error);
    return;
  }
  ++s->n;
  double delta = x - s->mean;
  s->mean += delta / static_cast<double>(s->n);
  s->m2 += delta * (x - s->mean);
}

template <bool kPopulation, bool kRoot>
void SpreadFinal(sqlite3_context* ctx) {
  auto* s = static_cast<Spread*>(sqlite3_aggregate_context(ctx, 0));
  int64_t need = kPopulation ? 1 : 2;
  if (!s || s->n < need) {
    sqlite3_result_null(ctx);
    return;
  }
  double variance = s->m2 / static_cast<double>(kPopulation ? s->n : s->n - 1);
  if (variance < 0) variance = 0;
  sqlite3_result_double(ctx, kRoot ? std::sqrt(variance) : variance);
}

void Like(sqlite3_context* ctx, int, sqlite3_value** argv) {
  Guarded(ctx, [&] {
    Variant r = vb::LikeValues(Natural(argv[0]), Natural(argv[1]));
    Encode(ctx, r);
  });
}

}  // namespace

bool JetLike(std::string_view text, std::string_view pattern) { return vb::Like(text, pattern); }

void RegisterFunctions(sqlite3* db) {
  RegisterCollation(db);
  constexpr int kDet = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
  // Deterministic as far as SQLite may factor a call out: Now() and Rnd()
  // inside a program are the rare exception, evaluated once per row anyway.
  sqlite3_create_function_v2(db, "qor_expr", -1, SQLITE_UTF8, nullptr, &Expr, nullptr, nullptr,
                             nullptr);
  sqlite3_create_function_v2(db, "qor_like", 2, kDet, nullptr, &Like, nullptr, nullptr, nullptr);
  sqlite3_create_function_v2(db, "qor_first", 1, kDet, nullptr, nullptr, &PickStep<false>,
                             &PickFinal, nullptr);
  sqlite3_create_function_v2(db, "qor_last", 1, kDet, nullptr, nullptr, &PickStep<true>, &PickFinal,
                             nullptr);
  sqlite3_create_function_v2(db, "qor_stdev", 1, kDet, nullptr, nullptr, &SpreadStep,
                             &SpreadFinal<false, true>, nullptr);
  sqlite3_create_function_v2(db, "qor_stdevp", 1, kDet, nullptr, nullptr, &SpreadStep,
                             &SpreadFinal<true, true>, nullptr);
  sqlite3_create_function_v2(db, "qor_var", 1, kDet, nullptr, nullptr, &SpreadStep,
                             &SpreadFinal<false, false>, nullptr);
  sqlite3_create_function_v2(db, "qor_varp", 1, kDet, nullptr, nullptr, &SpreadStep,
                             &SpreadFinal<true, false>, nullptr);
  // The functions SQL of earlier translations (stored triggers) calls; all
  // are the VB runtime's.
  struct Legacy {
    const char* sql;
    const char* vb;
    int args;
    bool deterministic;
  };
  static const Legacy kLegacy[] = {
      {"qor_right", "Right", 2, true},
      {"qor_instr", "InStr", 2, true},
      {"qor_instr", "InStr", 3, true},
      {"qor_val", "Val", 1, true},
      {"qor_clng", "CLng", 1, true},
      {"qor_cdbl", "CDbl", 1, true},
      {"qor_cstr", "CStr", 1, true},
      {"qor_int", "Int", 1, true},
      {"qor_fix", "Fix", 1, true},
      {"qor_sgn", "Sgn", 1, true},
      {"qor_sqr", "Sqr", 1, true},
      {"qor_space", "Space", 1, true},
      {"qor_str", "Str", 1, true},
      {"qor_strcomp", "StrComp", 2, true},
      {"qor_strcomp", "StrComp", 3, true},
      {"qor_isnumeric", "IsNumeric", 1, true},
      {"qor_isdate", "IsDate", 1, true},
      {"qor_cdate", "CDate", 1, true},
      {"qor_date", "Date", 0, false},
      {"qor_now", "Now", 0, false},
      {"qor_time", "Time", 0, false},
      {"qor_datepart", "DatePart", 2, true},
      {"qor_weekday", "Weekday", 1, true},
      {"qor_weekday", "Weekday", 2, true},
      {"qor_dateserial", "DateSerial", 3, true},
      {"qor_dateadd", "DateAdd", 3, true},
      {"qor_datediff", "DateDiff", 3, true},
  };
  for (const Legacy& l : kLegacy) RegisterNamed(db, l.sql, l.vb, l.args, l.deterministic);
  struct Operator {
    const char* sql;
    Variant (*op)(const Variant&, const Variant&);
  };
  static const Operator kOperators[] = {
      {"qor_pow", &vb::Power}, {"qor_idiv", &vb::IntDivide}, {"qor_mod", &vb::Modulo}};
  for (const Operator& o : kOperators) {
    sqlite3_create_function_v2(
        db, o.sql, 2, kDet, reinterpret_cast<void*>(o.op),
        [](sqlite3_context* ctx, int, sqlite3_value** argv) {
          auto op =
              reinterpret_cast<Variant (*)(const Variant&, const Variant&)>(sqlite3_user_data(ctx));
          Guarded(ctx, [&] { Encode(ctx, op(Natural(argv[0]), Natural(argv[1]))); });
        },
        nullptr, nullptr, nullptr);
  }
}

}  // namespace qor::dao::sqlite
