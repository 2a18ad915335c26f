// Rows written into a table of an ODBC database through one prepared
// statement with parameters: the way to copy many rows to a server, with no
// value ever pasted into SQL text.
//
// Each value is bound as the C type that holds the DAO type of its column
// without loss: whole numbers as 64-bit integers, Single and Double as
// doubles, Currency, Numeric and Decimal as their decimal text, dates as
// timestamps (times as times), Booleans as bits, binary values (byte arrays
// or strings) as bytes, texts and GUIDs as UTF-8. Null and Empty go as SQL
// NULL.
//
// The rows go within the database's transaction when one is open (see
// DBEngine.BeginTrans), so a caller that writes many rows in one
// transaction pays for one commit.
#ifndef QOR_DB_ENGINE_ODBC_ODBC_ROWS_H_
#define QOR_DB_ENGINE_ODBC_ODBC_ROWS_H_

#include <memory>
#include <string>
#include <vector>

#include "qorsupport/frame/variant.h"

namespace qor::dao {

class Database;

namespace odbc {

class RowWriter {
 public:
  // Prepares sql, a statement with one "?" for each entry of types, the
  // DAO type of the column that value goes to. Raises 3251 when db is not an
  // ODBC database, 3027 when it was opened read-only, 3146 with the
  // driver's messages when the server refuses the statement.
  RowWriter(Database& db, const std::string& sql, std::vector<int> types);
  ~RowWriter();
  RowWriter(const RowWriter&) = delete;
  RowWriter& operator=(const RowWriter&) = delete;

  // Runs the statement once with values, one per type. Raises 3421 for a
  // value that does not convert to its column's type, 3349 for a number out
  // of its range, 3146 with the driver's messages when the server refuses
  // the row.
  void Write(const std::vector<Variant>& values);

 private:
  struct Statement;
  std::unique_ptr<Statement> statement_;
};

}  // namespace odbc
}  // namespace qor::dao

#endif  // QOR_DB_ENGINE_ODBC_ODBC_ROWS_H_
