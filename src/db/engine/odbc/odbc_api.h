// The ODBC calls the ODBC backend makes (internal): handles that free
// themselves, errors carrying the driver's messages, and the reading of a
// statement's result into engine values.
#ifndef QOR_DB_ENGINE_ODBC_ODBC_API_H_
#define QOR_DB_ENGINE_ODBC_ODBC_API_H_

#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qorsupport/db/engine/dao.h"
#include "qorsupport/frame/variant.h"

namespace qor::dao {

class Database;

namespace odbc {

// The driver's diagnostic records on a handle, each as "message (SQLSTATE)",
// joined by blanks; "" when there are none.
std::string Diagnostics(SQLSMALLINT handle_type, SQLHANDLE handle);

// Raises error number (3146 or 3151, with args for its text) followed by
// the diagnostics of the handle.
[[noreturn]] void Raise(int32_t number, const std::vector<std::string>& args,
                        SQLSMALLINT handle_type, SQLHANDLE handle, std::string_view where);

// Whether rc is a success (SQL_SUCCESS or SQL_SUCCESS_WITH_INFO).
inline bool Ok(SQLRETURN rc) { return rc == SQL_SUCCESS || rc == SQL_SUCCESS_WITH_INFO; }

// An ODBC handle, freed when the object goes.
class Handle {
 public:
  Handle(SQLSMALLINT type, SQLHANDLE parent);
  ~Handle();
  Handle(Handle&& other) noexcept : type_(other.type_), handle_(other.handle_) {
    other.handle_ = SQL_NULL_HANDLE;
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  Handle& operator=(Handle&&) = delete;

  SQLHANDLE get() const { return handle_; }
  SQLSMALLINT type() const { return type_; }
  // Raises 3146 with this handle's diagnostics unless rc is a success.
  void Check(SQLRETURN rc, std::string_view where) const;

 private:
  SQLSMALLINT type_;
  SQLHANDLE handle_ = SQL_NULL_HANDLE;
};

// The DAO type code for an ODBC SQL data type; size, digits: the column's
// size and decimal digits, which choose among the numeric types.
int DaoType(SQLSMALLINT sql_type, SQLULEN size, SQLSMALLINT digits);

// The rows of a statement's result, read to the end.
struct Result {
  std::vector<FieldInfo> fields;
  std::vector<std::vector<Variant>> rows;
};
Result ReadResult(const Handle& statement);

// The text of a value read from a catalog result ("" for Null).
std::string Text(const Variant& value);

// The connection of an ODBC database for statements that change it;
// raises 3251 when db is not an ODBC database, 3027 when it was opened
// read-only.
SQLHDBC WritableConnection(Database& db);

}  // namespace odbc
}  // namespace qor::dao

#endif  // QOR_DB_ENGINE_ODBC_ODBC_API_H_
