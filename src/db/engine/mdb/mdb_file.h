// Reading legacy Jet files through libmdb (internal to the mdb backend).
//
// JetFile checks a file before libmdb sees it (signature, Jet version, page
// size, password) and describes its catalog in the engine's terms: tables
// with DAO type codes, sizes, attributes, the stored properties, indexes
// and stored queries. RowReader walks one table's rows and turns each
// column into the Variant kind that DAO gives its type.
//
// libmdb trusts the file it reads. The catalog of a file is therefore read
// first in a child process (ProbeCatalog): a file that makes libmdb crash
// or hang fails there, with 3049, and never in the calling process. Rows
// are decoded here, not by libmdb's text conversion, with every offset and
// page chain checked against the page, so that a damaged row gives Null
// values instead of a fault.
#ifndef QOR_DB_ENGINE_MDB_MDB_FILE_H_
#define QOR_DB_ENGINE_MDB_MDB_FILE_H_

// glib before mdbtools.h, which includes it inside extern "C", where glib's
// C++ parts cannot be.
#include <glib.h>
#include <iconv.h>
#include <mdbtools.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qorsupport/db/engine/dao.h"
#include "qorsupport/frame/variant.h"

namespace qor::dao::mdb {

// The Jet version a file's first bytes name: 3 or 4; 0 for a file that
// is not a Jet 3 or Jet 4 database (an ACE file, another version, or no
// Jet file at all).
int JetVersion(std::string_view header);
// Whether the first bytes carry the Jet or ACE signature, whatever the
// version.
bool HasJetSignature(std::string_view header);
// The database password stored in a Jet file's first page ("" for none).
std::string StoredPassword(std::string_view first_page);

// An open libmdb handle.
class Handle {
 public:
  // Opens path for reading; raises 3049 when libmdb cannot.
  explicit Handle(const std::string& path);
  ~Handle();
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  MdbHandle* get() const { return mdb_; }
  // The catalog entry of the table named name (exact name), or null.
  MdbCatalogEntry* FindTable(std::string_view name) const;

 private:
  MdbHandle* mdb_ = nullptr;
};

// A table read with its columns and indexes; frees it on destruction.
class Table {
 public:
  // Raises 3049 when the table's definition cannot be read.
  explicit Table(MdbCatalogEntry* entry);
  ~Table();
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  MdbTableDef* get() const { return table_; }
  MdbColumn* Column(size_t i) const;
  size_t ColumnCount() const;

 private:
  MdbTableDef* table_ = nullptr;
};

class JetFile {
 public:
  // Opens a Jet 3 or Jet 4 file. connect may hold ";PWD=..." for a file
  // with a database password. Raises 3024 (missing), 3044 (bad path),
  // 3051 (not readable), 3343 (not a Jet 3/4 database), 3031 (wrong
  // password), 3049 (damaged).
  static std::unique_ptr<JetFile> Open(const std::string& path, std::string_view connect);

  const std::string& path() const { return path_; }
  int version() const { return version_; }

  // Every table (user, system and attached), in catalog order, with its
  // fields, indexes and properties.
  const std::vector<TableInfo>& Tables() const { return tables_; }
  // The stored queries with the SQL rebuilt from MSysQueries.
  std::vector<QueryInfo> ReadQueries();

 private:
  JetFile(std::string path, int version) : path_(std::move(path)), version_(version) {}

  std::string path_;
  int version_;
  std::unique_ptr<Handle> handle_;
  std::vector<TableInfo> tables_;
};

// Reads the catalog of path as JetFile::Open does, in a child process;
// raises 3049 when the child crashes, does not finish in time, or libmdb
// reports anything on the way.
void ProbeCatalog(const std::string& path);

// The rows of one table, in file order, on a handle of its own (so that
// readers of different tables do not disturb each other).
class RowReader {
 public:
  // Raises 3078 when there is no such table.
  RowReader(const std::string& path, std::string_view table);
  ~RowReader();

  // Moves to the next row of the file; false after the last. The row's
  // position is then position().
  bool Next();
  int64_t position() const { return position_; }
  // Reads the row at a position that Next gave before; false when it is
  // gone.
  bool Seek(int64_t position);
  // The current row's values, in column order (decoded on first use, so
  // that walking rows to count them decodes nothing).
  const std::vector<Variant>& values();

 private:
  // Splits the row of the loaded page into fields; false for a deleted or
  // unreadable row.
  bool Crack(int row);

  std::unique_ptr<Handle> handle_;
  std::unique_ptr<Table> table_;
  std::vector<Variant> values_;
  std::vector<MdbField> fields_;
  int cracked_ = -1;  // fields found in the current row
  bool decoded_ = false;
  int64_t position_ = -1;
  uint32_t scan_page_ = 0;   // the page the scan is on
  bool page_moved_ = false;  // a Seek loaded another page
};

}  // namespace qor::dao::mdb

#endif  // QOR_DB_ENGINE_MDB_MDB_FILE_H_
