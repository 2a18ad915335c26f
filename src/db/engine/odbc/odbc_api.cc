#include "db/engine/odbc/odbc_api.h"

#include <cmath>

#include "qorsupport/frame/error.h"
#include "qorsupport/frame/vb.h"
#include "qorsupport/frame/vb_date.h"

namespace qor::dao::odbc {

std::string Diagnostics(SQLSMALLINT handle_type, SQLHANDLE handle) {
  std::string out;
  if (handle == SQL_NULL_HANDLE) return out;
  for (SQLSMALLINT i = 1; i <= 10; ++i) {
    SQLCHAR state[6] = {};
    SQLINTEGER native = 0;
    SQLCHAR message[2048] = {};
    SQLSMALLINT length = 0;
    SQLRETURN rc =
        SQLGetDiagRec(handle_type, handle, i, state, &native, message, sizeof message, &length);
    if (!Ok(rc)) break;
    std::string text = vb::Trim(reinterpret_cast<const char*>(message));
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    if (!out.empty()) out += ' ';
    out += text + " (" + reinterpret_cast<const char*>(state) + ")";
  }
  return out;
}

void Raise(int32_t number, const std::vector<std::string>& args, SQLSMALLINT handle_type,
           SQLHANDLE handle, std::string_view where) {
  std::string description = FormatText(number, args);
  std::string details = Diagnostics(handle_type, handle);
  if (!details.empty()) description += " " + details;
  throw Error(number, "DAO." + std::string(where), description);
}

Handle::Handle(SQLSMALLINT type, SQLHANDLE parent) : type_(type) {
  if (!Ok(SQLAllocHandle(type, parent, &handle_))) {
    SQLSMALLINT parent_type = type == SQL_HANDLE_DBC ? SQL_HANDLE_ENV : SQL_HANDLE_DBC;
    handle_ = SQL_NULL_HANDLE;
    Raise(e::kOdbcCallFailed, {}, parent_type, parent, "DBEngine");
  }
}

Handle::~Handle() {
  if (handle_ != SQL_NULL_HANDLE) SQLFreeHandle(type_, handle_);
}

void Handle::Check(SQLRETURN rc, std::string_view where) const {
  if (!Ok(rc)) Raise(e::kOdbcCallFailed, {}, type_, handle_, where);
}

int DaoType(SQLSMALLINT sql_type, SQLULEN size, SQLSMALLINT digits) {
  switch (sql_type) {
    case SQL_CHAR:
    case SQL_WCHAR:
      return kChar;
    case SQL_VARCHAR:
    case SQL_WVARCHAR:
      return kText;
    case SQL_LONGVARCHAR:
    case SQL_WLONGVARCHAR:
      return kMemo;
    case SQL_BIT:
      return kBoolean;
    case SQL_TINYINT:
      return kByte;
    case SQL_SMALLINT:
      return kInteger;
    case SQL_INTEGER:
      return kLong;
    case SQL_BIGINT:
      return kBigInt;
    case SQL_REAL:
      return kSingle;
    case SQL_FLOAT:
    case SQL_DOUBLE:
      return kDouble;
    case SQL_NUMERIC:
    case SQL_DECIMAL:
      // Whole numbers narrow to the integer type that holds their digits.
      if (digits == 0 && size > 0 && size <= 5) return kInteger;
      if (digits == 0 && size > 0 && size <= 11) return kLong;
      if (digits == 0 && size > 0 && size <= 19) return kBigInt;
      if (digits == 4 && (size == 15 || size == 19)) return kCurrency;
      return sql_type == SQL_NUMERIC ? kNumeric : kDecimal;
    case SQL_TYPE_DATE:
    case SQL_DATE:
    case SQL_TYPE_TIMESTAMP:
    case SQL_TIMESTAMP:
      return kDate;
    case SQL_TYPE_TIME:
    case SQL_TIME:
      return kTime;
    case SQL_BINARY:
    case SQL_VARBINARY:
      return kBinary;
    case SQL_LONGVARBINARY:
      return kLongBinary;
    case SQL_GUID:
      return kGUID;
    default:
      return kText;
  }
}

namespace {

// Reads a text or binary column in pieces; Null for SQL NULL.
Variant ReadLong(const Handle& statement, SQLUSMALLINT column, SQLSMALLINT c_type) {
  std::string out;
  char buffer[4096];
  // A text piece ends with a NUL that is not part of the value.
  const SQLLEN piece = c_type == SQL_C_CHAR ? sizeof buffer - 1 : sizeof buffer;
  for (;;) {
    SQLLEN indicator = 0;
    SQLRETURN rc = SQLGetData(statement.get(), column, c_type, buffer, sizeof buffer, &indicator);
    if (rc == SQL_NO_DATA) break;
    statement.Check(rc, "Recordset");
    if (indicator == SQL_NULL_DATA) return Variant::Null();
    SQLLEN got = (indicator == SQL_NO_TOTAL || indicator > piece) ? piece : indicator;
    out.append(buffer, static_cast<size_t>(got));
    if (rc == SQL_SUCCESS) break;
  }
  return Variant(std::move(out));
}

template <typename T>
bool ReadFixed(const Handle& statement, SQLUSMALLINT column, SQLSMALLINT c_type, T* value) {
  SQLLEN indicator = 0;
  statement.Check(SQLGetData(statement.get(), column, c_type, value, sizeof(T), &indicator),
                  "Recordset");
  return indicator != SQL_NULL_DATA;
}

Variant ReadValue(const Handle& statement, SQLUSMALLINT column, int type) {
  switch (type) {
    case kBoolean:
    case kByte:
    case kInteger:
    case kLong:
    case kBigInt: {
      SQLBIGINT v = 0;
      if (!ReadFixed(statement, column, SQL_C_SBIGINT, &v)) return Variant::Null();
      if (type == kBoolean) return Variant(v != 0);
      if (type == kByte && v >= 0 && v <= 255) return Byte(static_cast<int>(v));
      if (type == kInteger && v >= INT16_MIN && v <= INT16_MAX) return Int16(static_cast<int>(v));
      if (v >= INT32_MIN && v <= INT32_MAX) return Long(static_cast<int32_t>(v));
      return Variant(static_cast<double>(v));
    }
    case kCurrency:
    case kSingle:
    case kDouble:
    case kFloat:
    case kNumeric:
    case kDecimal: {
      double v = 0;
      if (!ReadFixed(statement, column, SQL_C_DOUBLE, &v)) return Variant::Null();
      if (type == kCurrency) return Variant(Currency{std::llround(v * Currency::kScale)});
      if (type == kSingle) return Variant(static_cast<float>(v));
      return Variant(v);
    }
    case kDate:
    case kTime:
    case kTimeStamp: {
      SQL_TIMESTAMP_STRUCT ts{};
      if (!ReadFixed(statement, column, SQL_C_TYPE_TIMESTAMP, &ts)) return Variant::Null();
      double day = type == kTime ? 0 : vb::DateSerial(ts.year, ts.month, ts.day).serial;
      double time = vb::TimeSerial(ts.hour, ts.minute, ts.second).serial;
      return Variant(Date{day < 0 ? day - time : day + time});
    }
    case kBinary:
    case kLongBinary:
      return ReadLong(statement, column, SQL_C_BINARY);
    case kGUID: {
      // As Jet writes a GUID: upper case between braces.
      Variant text = ReadLong(statement, column, SQL_C_CHAR);
      if (text.IsNull() || text.AsString().size() != 36) return text;
      return Variant("{" + vb::UCase(text.AsString()) + "}");
    }
    default:
      return ReadLong(statement, column, SQL_C_CHAR);
  }
}

}  // namespace

Result ReadResult(const Handle& statement) {
  Result result;
  SQLSMALLINT count = 0;
  statement.Check(SQLNumResultCols(statement.get(), &count), "Recordset");
  for (SQLUSMALLINT i = 1; i <= count; ++i) {
    SQLCHAR name[256] = {};
    SQLSMALLINT name_length = 0, sql_type = 0, digits = 0, nullable = 0;
    SQLULEN size = 0;
    statement.Check(SQLDescribeCol(statement.get(), i, name, sizeof name, &name_length, &sql_type,
                                   &size, &digits, &nullable),
                    "Recordset");
    FieldInfo field;
    field.name = reinterpret_cast<const char*>(name);
    field.type = DaoType(sql_type, size, digits);
    field.size = IsTextType(field.type) && field.type != kMemo
                     ? static_cast<int32_t>(std::min<SQLULEN>(size, INT32_MAX))
                     : DefaultFieldSize(field.type);
    field.required = nullable == SQL_NO_NULLS;
    field.ordinal_position = i - 1;
    result.fields.push_back(std::move(field));
  }
  for (;;) {
    SQLRETURN rc = SQLFetch(statement.get());
    if (rc == SQL_NO_DATA) break;
    statement.Check(rc, "Recordset");
    std::vector<Variant> row;
    row.reserve(result.fields.size());
    for (SQLUSMALLINT i = 1; i <= count; ++i) {
      row.push_back(ReadValue(statement, i, result.fields[i - 1].type));
    }
    result.rows.push_back(std::move(row));
  }
  return result;
}

std::string Text(const Variant& value) {
  return value.IsNull() || value.IsEmpty() ? "" : vb::CStr(value);
}

}  // namespace qor::dao::odbc
