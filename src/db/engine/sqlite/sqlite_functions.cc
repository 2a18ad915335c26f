#include "db/engine/sqlite/sqlite_functions.h"

#include <cmath>
#include <cstring>
#include <string>

#include "db/engine/sqlite/sqlite_db.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"

namespace qor::dao::sqlite {

namespace {

// Case folding for Like: ASCII and the Latin-1 letters, whatever the
// process's locale.
char32_t Fold(char32_t c) {
  if ((c >= U'A' && c <= U'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7)) return c + 0x20;
  return c;
}

// Matches pattern p from pi against text t from ti.
bool Match(const std::u32string& t, size_t ti, const std::u32string& p, size_t pi) {
  while (pi < p.size()) {
    char32_t c = p[pi];
    if (c == U'*') {
      while (pi < p.size() && p[pi] == U'*') ++pi;
      if (pi == p.size()) return true;
      for (size_t k = ti; k <= t.size(); ++k) {
        if (Match(t, k, p, pi)) return true;
      }
      return false;
    }
    if (ti >= t.size()) return false;
    if (c == U'?') {
      ++pi;
    } else if (c == U'#') {
      if (t[ti] < U'0' || t[ti] > U'9') return false;
      ++pi;
    } else if (c == U'[') {
      size_t end = p.find(U']', pi + 1);
      if (end == std::u32string::npos) return false;
      size_t k = pi + 1;
      bool negate = k < end && p[k] == U'!';
      if (negate) ++k;
      bool found = false;
      char32_t ch = Fold(t[ti]);
      for (; k < end; ++k) {
        if (k + 2 < end && p[k + 1] == U'-') {
          if (ch >= Fold(p[k]) && ch <= Fold(p[k + 2])) found = true;
          k += 2;
        } else if (Fold(p[k]) == ch) {
          found = true;
        }
      }
      if (found == negate) return false;
      pi = end + 1;
    } else {
      if (Fold(c) != Fold(t[ti])) return false;
      ++pi;
    }
    ++ti;
  }
  return ti == t.size();
}

Variant Arg(sqlite3_value* v) {
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
    default:
      return Variant(std::string(reinterpret_cast<const char*>(sqlite3_value_text(v)),
                                 static_cast<size_t>(sqlite3_value_bytes(v))));
  }
}

Date ArgDate(sqlite3_value* v) {
  Variant a = Arg(v);
  Date d;
  if (a.IsString() && IsoToDate(a.AsString(), &d)) return d;
  return vb::CDate(a);
}

void ResultText(sqlite3_context* ctx, const std::string& s) {
  sqlite3_result_text(ctx, s.data(), static_cast<int>(s.size()), SQLITE_TRANSIENT);
}

void ResultVariant(sqlite3_context* ctx, const Variant& v) {
  switch (v.type()) {
    case VarType::kNull:
    case VarType::kEmpty:
      sqlite3_result_null(ctx);
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
    default:
      sqlite3_result_double(ctx, v.NumericValue());
  }
}

bool AnyNull(int argc, sqlite3_value** argv) {
  for (int i = 0; i < argc; ++i) {
    if (sqlite3_value_type(argv[i]) == SQLITE_NULL) return true;
  }
  return false;
}

// Runs body, turning a VB error into a SQL error and Null into Null.
template <typename F>
void Guarded(sqlite3_context* ctx, int argc, sqlite3_value** argv, F body) {
  if (AnyNull(argc, argv)) {
    sqlite3_result_null(ctx);
    return;
  }
  try {
    ResultVariant(ctx, body());
  } catch (const Error& error) {
    std::string text = "qor|" + std::to_string(e::kConversion) + "|" + error.description();
    sqlite3_result_error(ctx, text.c_str(), -1);
  }
}

using Body = Variant (*)(int argc, sqlite3_value** argv);

struct Entry {
  Body body;
};

void Dispatch(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  Body body = static_cast<Entry*>(sqlite3_user_data(ctx))->body;
  Guarded(ctx, argc, argv, [&] { return body(argc, argv); });
}

Date AddInterval(const std::string& unit, double n, Date d) {
  vb::DateParts p = vb::SplitDate(d);
  std::string u = vb::LCase(unit);
  int k = static_cast<int>(vb::RoundHalfEven(n));
  double time = d.serial - std::floor(d.serial);
  auto with_months = [&](int months) {
    int total = p.year * 12 + (p.month - 1) + months;
    int year = total / 12, month = total % 12 + 1;
    int day = std::min(p.day, vb::DaysInMonth(year, month));
    Date base = vb::DateSerial(year, month, day);
    return Date{base.serial + time};
  };
  if (u == "yyyy") return with_months(12 * k);
  if (u == "q") return with_months(3 * k);
  if (u == "m") return with_months(k);
  if (u == "d" || u == "y" || u == "w") return Date{d.serial + k};
  if (u == "ww") return Date{d.serial + 7.0 * k};
  if (u == "h") return Date{d.serial + n / 24.0};
  if (u == "n") return Date{d.serial + n / 1440.0};
  if (u == "s") return Date{d.serial + n / 86400.0};
  Raise(err::kInvalidCall);
}

Variant Diff(const std::string& unit, Date a, Date b) {
  std::string u = vb::LCase(unit);
  vb::DateParts pa = vb::SplitDate(a), pb = vb::SplitDate(b);
  if (u == "yyyy") return Long(pb.year - pa.year);
  if (u == "q")
    return Long((pb.year * 4 + (pb.month - 1) / 3) - (pa.year * 4 + (pa.month - 1) / 3));
  if (u == "m") return Long((pb.year * 12 + pb.month) - (pa.year * 12 + pa.month));
  double days = std::floor(b.serial) - std::floor(a.serial);
  if (u == "d" || u == "y") return Long(static_cast<int32_t>(days));
  if (u == "w" || u == "ww") return Long(static_cast<int32_t>(days / 7));
  double secs = std::round((b.serial - a.serial) * 86400.0);
  if (u == "h") return Long(static_cast<int32_t>(std::trunc(secs / 3600)));
  if (u == "n") return Long(static_cast<int32_t>(std::trunc(secs / 60)));
  if (u == "s") return Long(static_cast<int32_t>(secs));
  Raise(err::kInvalidCall);
}

Variant Part(const std::string& unit, Date d) {
  vb::DateParts p = vb::SplitDate(d);
  std::string u = vb::LCase(unit);
  if (u == "yyyy") return Long(p.year);
  if (u == "q") return Long((p.month - 1) / 3 + 1);
  if (u == "m") return Long(p.month);
  if (u == "d") return Long(p.day);
  if (u == "w") return Long(vb::Weekday(d));
  if (u == "h") return Long(p.hour);
  if (u == "n") return Long(p.minute);
  if (u == "s") return Long(p.second);
  if (u == "y") {
    return Long(static_cast<int32_t>(std::floor(d.serial) -
                                     std::floor(vb::DateSerial(p.year, 1, 1).serial) + 1));
  }
  Raise(err::kInvalidCall);
}

std::string Str(sqlite3_value* v) { return vb::CStr(Arg(v)); }

void Register(sqlite3* db, const char* name, int args, Body body, bool deterministic = true) {
  int flags = SQLITE_UTF8 | (deterministic ? SQLITE_DETERMINISTIC : 0);
  sqlite3_create_function_v2(db, name, args, flags, new Entry{body}, Dispatch, nullptr, nullptr,
                             [](void* p) { delete static_cast<Entry*>(p); });
}

}  // namespace

bool JetLike(std::string_view text, std::string_view pattern) {
  return Match(vb::ToUtf32(text), 0, vb::ToUtf32(pattern), 0);
}

void RegisterFunctions(sqlite3* db) {
  Register(
      db, "qor_like", 2, +[](int, sqlite3_value** a) {
        return Variant(JetLike(Str(a[0]), Str(a[1])) ? Long(-1) : Long(0));
      });
  Register(
      db, "qor_right", 2, +[](int, sqlite3_value** a) {
        return Variant(vb::Right(Str(a[0]), static_cast<int64_t>(vb::CLng(Arg(a[1])))));
      });
  Register(
      db, "qor_instr", 2, +[](int, sqlite3_value** a) {
        return Long(
            static_cast<int32_t>(vb::InStr(1, Str(a[0]), Str(a[1]), vb::CompareMode::kText)));
      });
  Register(
      db, "qor_instr", 3, +[](int, sqlite3_value** a) {
        return Long(static_cast<int32_t>(
            vb::InStr(vb::CLng(Arg(a[0])), Str(a[1]), Str(a[2]), vb::CompareMode::kText)));
      });
  Register(
      db, "qor_val", 1, +[](int, sqlite3_value** a) { return Variant(vb::Val(Str(a[0]))); });
  Register(
      db, "qor_clng", 1, +[](int, sqlite3_value** a) { return Long(vb::CLng(Arg(a[0]))); });
  Register(
      db, "qor_cdbl", 1, +[](int, sqlite3_value** a) { return Variant(vb::CDbl(Arg(a[0]))); });
  Register(
      db, "qor_cstr", 1, +[](int, sqlite3_value** a) { return Variant(Str(a[0])); });
  Register(
      db, "qor_int", 1,
      +[](int, sqlite3_value** a) { return Variant(std::floor(vb::CDbl(Arg(a[0])))); });
  Register(
      db, "qor_fix", 1,
      +[](int, sqlite3_value** a) { return Variant(std::trunc(vb::CDbl(Arg(a[0])))); });
  Register(
      db, "qor_sgn", 1, +[](int, sqlite3_value** a) {
        double x = vb::CDbl(Arg(a[0]));
        return Long(x > 0 ? 1 : x < 0 ? -1 : 0);
      });
  Register(
      db, "qor_sqr", 1, +[](int, sqlite3_value** a) {
        double x = vb::CDbl(Arg(a[0]));
        if (x < 0) Raise(err::kInvalidCall);
        return Variant(std::sqrt(x));
      });
  Register(
      db, "qor_pow", 2, +[](int, sqlite3_value** a) {
        return Variant(std::pow(vb::CDbl(Arg(a[0])), vb::CDbl(Arg(a[1]))));
      });
  Register(
      db, "qor_idiv", 2, +[](int, sqlite3_value** a) {
        double d = vb::RoundHalfEven(vb::CDbl(Arg(a[1])));
        if (d == 0) Raise(11);
        return Variant(std::trunc(vb::RoundHalfEven(vb::CDbl(Arg(a[0]))) / d));
      });
  Register(
      db, "qor_mod", 2, +[](int, sqlite3_value** a) {
        double d = vb::RoundHalfEven(vb::CDbl(Arg(a[1])));
        if (d == 0) Raise(11);
        return Variant(std::fmod(vb::RoundHalfEven(vb::CDbl(Arg(a[0]))), d));
      });
  Register(
      db, "qor_space", 1,
      +[](int, sqlite3_value** a) { return Variant(vb::Space(vb::CLng(Arg(a[0])))); });
  Register(
      db, "qor_str", 1, +[](int, sqlite3_value** a) {
        Variant v = Arg(a[0]);
        std::string s = vb::CStr(v);
        return Variant(vb::CDbl(v) >= 0 ? " " + s : s);
      });
  Register(
      db, "qor_strcomp", 2,
      +[](int, sqlite3_value** a) { return Long(vb::StrComp(Str(a[0]), Str(a[1]))); });
  Register(
      db, "qor_strcomp", 3, +[](int, sqlite3_value** a) {
        bool text = vb::CLng(Arg(a[2])) == 1;
        return Long(vb::StrComp(Str(a[0]), Str(a[1]),
                                text ? vb::CompareMode::kText : vb::CompareMode::kBinary));
      });
  Register(
      db, "qor_isnumeric", 1,
      +[](int, sqlite3_value** a) { return Long(vb::IsNumeric(Arg(a[0])) ? -1 : 0); });
  Register(
      db, "qor_isdate", 1, +[](int, sqlite3_value** a) {
        Date d;
        Variant v = Arg(a[0]);
        return Long(v.IsString() && IsoToDate(v.AsString(), &d) ? -1 : 0);
      });
  Register(
      db, "qor_cdate", 1, +[](int, sqlite3_value** a) { return Variant(ArgDate(a[0])); });
  Register(
      db, "qor_date", 0, +[](int, sqlite3_value**) { return Variant(vb::Today()); }, false);
  Register(
      db, "qor_now", 0,
      +[](int, sqlite3_value**) {
        Date now = vb::Now();
        return Variant(Date{std::round(now.serial * 86400.0) / 86400.0});
      },
      false);
  Register(
      db, "qor_time", 0,
      +[](int, sqlite3_value**) {
        Date now = vb::Now();
        return Variant(Date{now.serial - std::floor(now.serial)});
      },
      false);
  Register(
      db, "qor_datepart", 2,
      +[](int, sqlite3_value** a) { return Part(Str(a[0]), ArgDate(a[1])); });
  Register(
      db, "qor_weekday", 1,
      +[](int, sqlite3_value** a) { return Long(vb::Weekday(ArgDate(a[0]))); });
  Register(
      db, "qor_weekday", 2, +[](int, sqlite3_value** a) {
        return Long(vb::Weekday(ArgDate(a[0]), vb::CLng(Arg(a[1]))));
      });
  Register(
      db, "qor_dateserial", 3, +[](int, sqlite3_value** a) {
        return Variant(
            vb::DateSerial(vb::CLng(Arg(a[0])), vb::CLng(Arg(a[1])), vb::CLng(Arg(a[2]))));
      });
  Register(
      db, "qor_dateadd", 3, +[](int, sqlite3_value** a) {
        return Variant(AddInterval(Str(a[0]), vb::CDbl(Arg(a[1])), ArgDate(a[2])));
      });
  Register(
      db, "qor_datediff", 3,
      +[](int, sqlite3_value** a) { return Diff(Str(a[0]), ArgDate(a[1]), ArgDate(a[2])); });
}

}  // namespace qor::dao::sqlite
