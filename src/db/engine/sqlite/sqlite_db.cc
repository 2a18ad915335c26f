#include "db/engine/sqlite/sqlite_db.h"

#include <cmath>
#include <cstdio>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"

namespace qor::dao::sqlite {

std::string DateToIso(Date d) {
  vb::DateParts p = vb::SplitDate(d);
  char buf[32];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", p.year, p.month, p.day, p.hour,
                p.minute, p.second);
  return buf;
}

namespace {

// The number in text[at, at + n) when it is all digits, else -1.
int DigitsAt(std::string_view text, size_t at, size_t n) {
  int value = 0;
  for (size_t i = at; i < at + n; ++i) {
    if (text[i] < '0' || text[i] > '9') return -1;
    value = value * 10 + (text[i] - '0');
  }
  return value;
}

}  // namespace

bool IsoToDate(std::string_view text, Date* out) {
  vb::DateParts p;
  p.hour = p.minute = p.second = 0;
  // The form the engine writes, "yyyy-mm-dd" and " hh:nn:ss", read without
  // sscanf: dates are read with every row.
  if ((text.size() == 10 || text.size() == 19) && text[4] == '-' && text[7] == '-' &&
      (text.size() == 10 || (text[10] == ' ' && text[13] == ':' && text[16] == ':'))) {
    p.year = DigitsAt(text, 0, 4);
    p.month = DigitsAt(text, 5, 2);
    p.day = DigitsAt(text, 8, 2);
    if (text.size() == 19) {
      p.hour = DigitsAt(text, 11, 2);
      p.minute = DigitsAt(text, 14, 2);
      p.second = DigitsAt(text, 17, 2);
    }
    if (p.year >= 0 && p.month >= 0 && p.day >= 0 && p.hour >= 0 && p.minute >= 0 &&
        p.second >= 0) {
      return vb::MakeDate(p, out);
    }
  }
  int n = std::sscanf(std::string(text).c_str(), "%d-%d-%d %d:%d:%d", &p.year, &p.month, &p.day,
                      &p.hour, &p.minute, &p.second);
  if (n != 3 && n != 6) return vb::ParseDate(text, out);
  return vb::MakeDate(p, out);
}

std::string ColumnType(int type) {
  switch (type) {
    case kBoolean:
    case kByte:
    case kInteger:
    case kLong:
    case kBigInt:
      return "INTEGER";
    case kCurrency:
    case kSingle:
    case kDouble:
    case kFloat:
    case kNumeric:
    case kDecimal:
      return "REAL";
    case kDate:
    case kTime:
    case kTimeStamp:
      return "TEXT";
    case kBinary:
    case kLongBinary:
      return "BLOB";
    default:
      return "TEXT COLLATE qor_jet";  // Jet's sort order (jet_collation.h)
  }
}

// ---- Stmt ---------------------------------------------------------------------

Stmt::~Stmt() {
  if (owned_) {
    sqlite3_finalize(stmt_);
  } else {
    Reset();
  }
}

void Stmt::Reset() {
  sqlite3_reset(stmt_);
  sqlite3_clear_bindings(stmt_);
}

Stmt& Stmt::BindText(int index, std::string_view text) {
  sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
  return *this;
}

Stmt& Stmt::BindInt(int index, int64_t value) {
  sqlite3_bind_int64(stmt_, index, value);
  return *this;
}

Stmt& Stmt::BindNull(int index) {
  sqlite3_bind_null(stmt_, index);
  return *this;
}

Stmt& Stmt::Bind(int index, const Variant& v) {
  switch (v.type()) {
    case VarType::kEmpty:
    case VarType::kNull:
    case VarType::kError:
      return BindNull(index);
    case VarType::kBoolean:
      return BindInt(index, v.AsBoolean() ? -1 : 0);
    case VarType::kByte:
    case VarType::kInteger:
    case VarType::kLong:
      return BindInt(index, static_cast<int64_t>(v.NumericValue()));
    case VarType::kSingle:
    case VarType::kDouble:
    case VarType::kCurrency:
      sqlite3_bind_double(stmt_, index, v.NumericValue());
      return *this;
    case VarType::kDate:
      return BindText(index, DateToIso(v.AsDate()));
    case VarType::kString:
      return BindText(index, v.AsString());
    default:
      Fail(e::kConversion);
  }
}

Stmt& Stmt::BindAs(int index, const Variant& v, int type) {
  if (v.IsNull() || v.IsEmpty() || v.IsMissing()) return BindNull(index);
  try {
    switch (type) {
      case kBoolean:
        return BindInt(index, vb::CBool(v) ? -1 : 0);
      case kByte:
      case kInteger:
      case kLong:
      case kBigInt: {
        double x = vb::RoundHalfEven(vb::CDbl(v));
        double lo = type == kByte      ? 0
                    : type == kInteger ? -32768.0
                    : type == kLong    ? -2147483648.0
                                       : -9.2e18;
        double hi = type == kByte      ? 255
                    : type == kInteger ? 32767.0
                    : type == kLong    ? 2147483647.0
                                       : 9.2e18;
        if (x < lo || x > hi) Fail(e::kNumericOverflow);
        return BindInt(index, static_cast<int64_t>(x));
      }
      case kCurrency:
        sqlite3_bind_double(stmt_, index, vb::CCur(v).ToDouble());
        return *this;
      case kSingle:
        sqlite3_bind_double(stmt_, index, vb::CSng(v));
        return *this;
      case kDouble:
      case kFloat:
      case kNumeric:
      case kDecimal:
        sqlite3_bind_double(stmt_, index, vb::CDbl(v));
        return *this;
      case kDate:
      case kTime:
      case kTimeStamp:
        return BindText(index, DateToIso(vb::CDate(v)));
      case kBinary:
      case kLongBinary:
        if (v.IsArray()) {
          std::string bytes = vb::BytesOf(v);
          sqlite3_bind_blob(stmt_, index, bytes.data(), static_cast<int>(bytes.size()),
                            SQLITE_TRANSIENT);
          return *this;
        }
        return BindText(index, vb::CStr(v));
      default:
        return BindText(index, vb::CStr(v));
    }
  } catch (const Error& error) {
    if (error.number() == err::kOverflow) Fail(e::kNumericOverflow);
    if (error.number() == err::kTypeMismatch || error.number() == err::kInvalidNull) {
      Fail(e::kConversion);
    }
    throw;
  }
}

bool Stmt::Step() {
  int rc = sqlite3_step(stmt_);
  if (rc == SQLITE_ROW) return true;
  if (rc == SQLITE_DONE) return false;
  std::string message = sqlite3_errmsg(db_);
  int code = sqlite3_extended_errcode(db_);
  sqlite3_reset(stmt_);
  Db::RaiseFor(code, message, db_);
}

std::string Stmt::Text(int col) const {
  const unsigned char* p = sqlite3_column_text(stmt_, col);
  int n = sqlite3_column_bytes(stmt_, col);
  return p ? std::string(reinterpret_cast<const char*>(p), static_cast<size_t>(n)) : std::string();
}

Variant Stmt::Value(int col, int type) const {
  int stored = sqlite3_column_type(stmt_, col);
  if (stored == SQLITE_NULL) return Variant::Null();
  switch (type) {
    case kBoolean:
      return Variant(sqlite3_column_int64(stmt_, col) != 0);
    case kByte:
      return Byte(static_cast<int>(sqlite3_column_int64(stmt_, col)));
    case kInteger:
      return Int16(static_cast<int>(sqlite3_column_int64(stmt_, col)));
    case kLong:
      return Long(static_cast<int32_t>(sqlite3_column_int64(stmt_, col)));
    case kCurrency: {
      double x = sqlite3_column_double(stmt_, col);
      return Variant(Currency{static_cast<int64_t>(std::llround(x * Currency::kScale))});
    }
    case kSingle:
      return Variant(static_cast<float>(sqlite3_column_double(stmt_, col)));
    case kDouble:
    case kFloat:
    case kNumeric:
    case kDecimal:
    case kBigInt:
      return Variant(sqlite3_column_double(stmt_, col));
    case kDate:
    case kTime:
    case kTimeStamp: {
      Date d;
      if (stored == SQLITE_TEXT && IsoToDate(Text(col), &d)) return Variant(d);
      if (stored == SQLITE_INTEGER || stored == SQLITE_FLOAT) {
        return Variant(Date{sqlite3_column_double(stmt_, col)});
      }
      return Variant(Text(col));
    }
    case kBinary:
    case kLongBinary: {
      const auto* p = static_cast<const unsigned char*>(sqlite3_column_blob(stmt_, col));
      int n = sqlite3_column_bytes(stmt_, col);
      Array bytes(VarType::kByte, {{0, n - 1}});
      for (int i = 0; i < n; ++i) bytes.elements()[static_cast<size_t>(i)] = Byte(p[i]);
      return Variant(std::move(bytes));
    }
    case 0:
      switch (stored) {
        case SQLITE_INTEGER: {
          int64_t x = sqlite3_column_int64(stmt_, col);
          if (x >= INT32_MIN && x <= INT32_MAX) return Long(static_cast<int32_t>(x));
          return Variant(static_cast<double>(x));
        }
        case SQLITE_FLOAT:
          return Variant(sqlite3_column_double(stmt_, col));
        default:
          return Variant(Text(col));
      }
    default:
      return Variant(Text(col));
  }
}

// ---- Db -------------------------------------------------------------------------

Db::Db(const std::string& path, int flags) {
  int rc = sqlite3_open_v2(path.c_str(), &db_, flags, nullptr);
  if (rc != SQLITE_OK) {
    std::string message = db_ ? sqlite3_errmsg(db_) : "out of memory";
    int code = db_ ? sqlite3_extended_errcode(db_) : rc;
    sqlite3_close_v2(db_);
    db_ = nullptr;
    RaiseFor(code, message, nullptr);
  }
  sqlite3_extended_result_codes(db_, 1);
}

Db::~Db() {
  ClearCache();
  sqlite3_close_v2(db_);
}

void Db::ClearCache() {
  for (auto& [sql, stmt] : cache_) sqlite3_finalize(stmt);
  cache_.clear();
}

std::unique_ptr<Stmt> Db::Prepare(const std::string& sql) {
  auto it = cache_.find(sql);
  if (it == cache_.end()) {
    sqlite3_stmt* stmt = nullptr;
    int rc = sqlite3_prepare_v3(db_, sql.c_str(), static_cast<int>(sql.size()),
                                SQLITE_PREPARE_PERSISTENT, &stmt, nullptr);
    if (rc != SQLITE_OK) RaiseFor(sqlite3_extended_errcode(db_), sqlite3_errmsg(db_), db_);
    it = cache_.emplace(sql, stmt).first;
  }
  return std::make_unique<Stmt>(db_, it->second, false);
}

std::unique_ptr<Stmt> Db::PrepareOnce(const std::string& sql) {
  sqlite3_stmt* stmt = nullptr;
  int rc = sqlite3_prepare_v2(db_, sql.c_str(), static_cast<int>(sql.size()), &stmt, nullptr);
  if (rc != SQLITE_OK) RaiseFor(sqlite3_extended_errcode(db_), sqlite3_errmsg(db_), db_);
  if (!stmt) Fail(e::kInvalidSql);
  return std::make_unique<Stmt>(db_, stmt, true);
}

void Db::Exec(const std::string& sql) {
  char* message = nullptr;
  int rc = sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &message);
  if (rc != SQLITE_OK) {
    std::string text = message ? message : "";
    sqlite3_free(message);
    RaiseFor(sqlite3_extended_errcode(db_), text, db_);
  }
}

namespace {

std::string After(const std::string& message, std::string_view prefix) {
  size_t at = message.find(prefix);
  return at == std::string::npos ? "" : message.substr(at + prefix.size());
}

}  // namespace

void Db::RaiseFor(int rc, const std::string& message, sqlite3* /*db*/) {
  // Rules of the catalog speak for themselves: "qor|number|text".
  if (message.rfind("qor|", 0) == 0) {
    size_t bar = message.find('|', 4);
    int32_t number = std::atoi(message.substr(4, bar - 4).c_str());
    throw Error(number, "DAO.Recordset", message.substr(bar + 1));
  }
  switch (rc & 0xff) {
    case SQLITE_CONSTRAINT:
      if (rc == SQLITE_CONSTRAINT_UNIQUE || rc == SQLITE_CONSTRAINT_PRIMARYKEY) {
        Fail(e::kDuplicate);
      }
      if (rc == SQLITE_CONSTRAINT_NOTNULL) Fail(e::kNullInIndex);
      break;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      Fail(e::kLocked);
    case SQLITE_FULL:
      Fail(e::kDiskFull);
    case SQLITE_READONLY:
    case SQLITE_AUTH:  // a write to the catalog by the user's SQL
      Fail(e::kReadOnly);
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
      Fail(e::kUnrecognizedFormat, {""});
    case SQLITE_IOERR:
      if (rc == SQLITE_IOERR_WRITE || rc == SQLITE_IOERR_FSYNC) Fail(e::kDiskFull);
      Fail(e::kDiskIo);
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
      Fail(e::kNoPermission, {""});
    default:
      break;
  }
  if (std::string t = After(message, "no such table: "); !t.empty()) {
    if (t.rfind("main.", 0) == 0) t = t.substr(5);
    Fail(e::kInputTableNotFound, {t});
  }
  if (!After(message, "no such column: ").empty()) Fail(e::kTooFewParameters, {"1"});
  if (std::string f = After(message, "no such function: "); !f.empty()) {
    Fail(e::kUndefinedFunction, {f});
  }
  if (!After(message, "ambiguous column name").empty()) Fail(e::kSyntaxSelect);
  // SQL nested or chained deeper than SQLite parses (its parser stack holds
  // about 100 open parentheses, its expression trees 1,000 levels) is an
  // expression the engine cannot take, as for the translator's own limit.
  if (message == "parser stack overflow" || message.rfind("Expression tree is too large", 0) == 0) {
    Fail(e::kSyntaxInCriteria);
  }
  throw Error(3000, "DAO.Database",
              "Reserved error (" + std::to_string(rc) +
                  "); there is no message for this error: " + message);
}

}  // namespace qor::dao::sqlite
