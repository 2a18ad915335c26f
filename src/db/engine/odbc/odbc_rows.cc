#include "db/engine/odbc/odbc_rows.h"

#include "db/engine/odbc/odbc_api.h"
#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"

namespace qor::dao::odbc {

namespace {

// One parameter's value in the form it is bound in; the buffers stay put
// between the binding and the statement's run.
struct Param {
  SQLSMALLINT c_type = SQL_C_CHAR;
  SQLSMALLINT sql_type = SQL_VARCHAR;
  SQLULEN column_size = 0;
  SQLSMALLINT digits = 0;
  SQLBIGINT whole = 0;
  double real = 0;
  unsigned char bit = 0;
  SQL_TIMESTAMP_STRUCT timestamp{};
  SQL_TIME_STRUCT time{};
  std::string bytes;
  SQLLEN indicator = 0;

  SQLPOINTER buffer() {
    switch (c_type) {
      case SQL_C_SBIGINT:
        return &whole;
      case SQL_C_DOUBLE:
        return &real;
      case SQL_C_BIT:
        return &bit;
      case SQL_C_TYPE_TIMESTAMP:
        return &timestamp;
      case SQL_C_TYPE_TIME:
        return &time;
      default:
        return bytes.data();
    }
  }
};

void SetText(Param& p, std::string text, SQLSMALLINT sql_type) {
  p.c_type = SQL_C_CHAR;
  p.sql_type = sql_type;
  p.bytes = std::move(text);
  p.column_size = p.bytes.empty() ? 1 : p.bytes.size();
  p.indicator = static_cast<SQLLEN>(p.bytes.size());
}

// The SQL type a Null of a column of type goes as.
SQLSMALLINT NullSqlType(int type) {
  switch (type) {
    case kBoolean:
      return SQL_BIT;
    case kByte:
    case kInteger:
      return SQL_SMALLINT;
    case kLong:
      return SQL_INTEGER;
    case kBigInt:
      return SQL_BIGINT;
    case kSingle:
    case kDouble:
    case kFloat:
      return SQL_DOUBLE;
    case kCurrency:
    case kNumeric:
    case kDecimal:
      return SQL_NUMERIC;
    case kDate:
    case kTimeStamp:
      return SQL_TYPE_TIMESTAMP;
    case kTime:
      return SQL_TYPE_TIME;
    case kBinary:
    case kLongBinary:
      return SQL_LONGVARBINARY;
    case kMemo:
      return SQL_LONGVARCHAR;
    case kGUID:
      return SQL_GUID;
    default:
      return SQL_VARCHAR;
  }
}

// Sets p to value converted for a column of DAO type; raises 3421 or 3349
// for a value that does not fit.
void Convert(const Variant& value, int type, Param& p) {
  p.column_size = 0;
  p.digits = 0;
  p.sql_type = NullSqlType(type);
  if (value.IsNull() || value.IsEmpty() || value.IsMissing()) {
    p.c_type = SQL_C_CHAR;
    p.bytes.clear();
    p.indicator = SQL_NULL_DATA;
    return;
  }
  p.indicator = 0;
  if (type == kBinary || type == kLongBinary) {
    p.c_type = SQL_C_BINARY;
    try {
      p.bytes = vb::BytesOf(value);
    } catch (const Error&) {
      Fail(e::kConversion);
    }
    p.column_size = p.bytes.empty() ? 1 : p.bytes.size();
    p.indicator = static_cast<SQLLEN>(p.bytes.size());
    return;
  }
  Variant v = CoerceToType(value, type);
  switch (type) {
    case kBoolean:
      p.c_type = SQL_C_BIT;
      p.bit = v.AsBoolean() ? 1 : 0;
      return;
    case kByte:
    case kInteger:
    case kLong:
      p.c_type = SQL_C_SBIGINT;
      p.whole = static_cast<SQLBIGINT>(v.NumericValue());
      return;
    case kBigInt: {
      double x = vb::RoundHalfEven(v.NumericValue());
      if (x < -9.2e18 || x > 9.2e18) Fail(e::kNumericOverflow);
      p.c_type = SQL_C_SBIGINT;
      p.whole = static_cast<SQLBIGINT>(x);
      return;
    }
    case kSingle:
    case kDouble:
    case kFloat:
      p.c_type = SQL_C_DOUBLE;
      p.real = v.NumericValue();
      return;
    case kCurrency:
      SetText(p, vb::CurrencyText(v.AsCurrency()), SQL_NUMERIC);
      p.column_size = 19;
      p.digits = 4;
      return;
    case kNumeric:
    case kDecimal:
      SetText(p, vb::CStr(v), SQL_NUMERIC);
      p.column_size = 38;
      p.digits = 10;
      return;
    case kDate:
    case kTimeStamp:
    case kTime: {
      vb::DateParts d = vb::SplitDate(v.AsDate());
      if (type == kTime) {
        p.c_type = SQL_C_TYPE_TIME;
        p.time = {static_cast<SQLUSMALLINT>(d.hour), static_cast<SQLUSMALLINT>(d.minute),
                  static_cast<SQLUSMALLINT>(d.second)};
        p.column_size = 8;
        return;
      }
      p.c_type = SQL_C_TYPE_TIMESTAMP;
      p.timestamp = {static_cast<SQLSMALLINT>(d.year),
                     static_cast<SQLUSMALLINT>(d.month),
                     static_cast<SQLUSMALLINT>(d.day),
                     static_cast<SQLUSMALLINT>(d.hour),
                     static_cast<SQLUSMALLINT>(d.minute),
                     static_cast<SQLUSMALLINT>(d.second),
                     0};
      p.column_size = 19;
      return;
    }
    default:
      SetText(p, v.AsString(), p.sql_type);
      return;
  }
}

}  // namespace

struct RowWriter::Statement {
  Statement(SQLHDBC dbc, std::vector<int> column_types)
      : handle(SQL_HANDLE_STMT, dbc), types(std::move(column_types)), params(types.size()) {}

  Handle handle;
  std::vector<int> types;
  std::vector<Param> params;
};

RowWriter::RowWriter(Database& db, const std::string& sql, std::vector<int> types)
    : statement_(std::make_unique<Statement>(WritableConnection(db), std::move(types))) {
  std::string text = sql;
  statement_->handle.Check(
      SQLPrepare(statement_->handle.get(), reinterpret_cast<SQLCHAR*>(text.data()), SQL_NTS),
      "Database");
}

RowWriter::~RowWriter() = default;

void RowWriter::Write(const std::vector<Variant>& values) {
  Statement& s = *statement_;
  if (values.size() != s.types.size()) Fail(e::kInvalidArgument);
  for (size_t i = 0; i < values.size(); ++i) {
    Param& p = s.params[i];
    Convert(values[i], s.types[i], p);
    SQLLEN length = p.c_type == SQL_C_CHAR || p.c_type == SQL_C_BINARY
                        ? static_cast<SQLLEN>(p.bytes.size())
                        : 0;
    s.handle.Check(SQLBindParameter(s.handle.get(), static_cast<SQLUSMALLINT>(i + 1),
                                    SQL_PARAM_INPUT, p.c_type, p.sql_type, p.column_size, p.digits,
                                    p.buffer(), length, &p.indicator),
                   "Database");
  }
  SQLRETURN rc = SQLExecute(s.handle.get());
  if (rc != SQL_NO_DATA) s.handle.Check(rc, "Database");
}

}  // namespace qor::dao::odbc
