// qorDb: the database toolkit an application calls for its schema and data
// chores on the engine's databases (db/engine/engine.h).
//
// Each qorDb owns a qorProcs, made with it and released with it, for its
// path and date procedures. Every database, table definition and recordset
// handed in stays the caller's; what an operation opens itself it closes
// before it returns, on the success path and on the error path.
//
// Reporting follows frame/report.h: an operation with a Verbose argument
// shows its reports only when Verbose is True, and no error leaves a public
// operation, except the three existence checks, which pass the engine's
// error (3265 for a missing table) on to the caller. Work stops at the
// first failure and nothing done before it is undone.
//
// Names of tables, fields, indexes and properties are matched with
// TrimUpper on both sides wherever an operation walks a collection.
//
// The members are grouped by topic; each group lives in the file named in
// its heading.
#ifndef QOR_DB_QOR_DB_H_
#define QOR_DB_QOR_DB_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "qorsupport/db/engine/engine.h"
#include "qorsupport/frame/variant.h"
#include "qorsupport/procs/procs.h"

namespace qor {

class qorDb : public Object {
 public:
  qorDb();
  ~qorDb() override;
  std::string_view ClassName() const override { return "qorDb"; }

  // The general procedures this object owns.
  qorProcs& Procs() { return *procs_; }

  // ---- Schema objects (schema_objects.cc) -----------------------------------

  // Whether pDb holds a table (system tables included) of that name. Never
  // reports; engine errors pass to the caller.
  bool CheckTableExists(dao::Database& pDb, const Variant& pTableName, bool Verbose = false);
  // Whether the table has a field of that name; a missing table raises the
  // engine's 3265.
  bool CheckFieldExists(dao::Database& pDb, const Variant& pTableName, const Variant& pFieldName,
                        bool Verbose = false);
  // Whether the table has an index of that name; a missing table raises 3265.
  bool CheckIndexExists(dao::Database& pDb, const Variant& pTableName, const Variant& pIndexName,
                        bool Verbose = false);
  // A new table with one Text field of pFirstFieldLen; with PFirstFieldIsKey
  // a primary, unique index named like the field. pDeleteExisting first
  // deletes a table of that name, any error ignored.
  bool CreateTable(dao::Database& pDb, const std::string& pTableName,
                   const std::string& pFirstFieldName, int16_t pFirstFieldLen,
                   bool PFirstFieldIsKey = false, bool pDeleteExisting = false,
                   bool Verbose = false);
  // Appends a field of type pFieldType (999: a Long counter); a length of 0
  // leaves the size to the engine.
  bool CreateField(dao::Database& pDb, const Variant& pTableName, const Variant& pFieldName,
                   const Variant& pFieldType, int16_t pFieldLen = 0, bool Verbose = false);
  // Appends an index over pField1 and each non-blank of pField2..pField5.
  bool CreateIndex(dao::Database& pDb, const Variant& pTableName, const Variant& pIndexName,
                   const Variant& pField1, const Variant& pField2, const Variant& pField3,
                   const Variant& pField4, const Variant& pField5, bool pPrimaryFlag,
                   bool pUniqueFlag, bool pIgnoreNullsFlag, bool pDescendingFlag,
                   const Variant& Verbose);
  // Deletes the field; with pDeleteAnyIndexes first every index holding it.
  bool DeleteField(dao::Database& pDb, const Variant& pTableName, const Variant& pFieldName,
                   bool pDeleteAnyIndexes = false, bool Verbose = false);
  bool DeleteIndex(dao::Database& pDb, const Variant& pTableName, const Variant& pIndexName,
                   bool Verbose = false);
  // A missing table is never reported.
  void DeleteTableDef(dao::Database& pDb, const Variant& pTdName, bool Verbose = false);
  // A missing query is reported like any other error.
  void DeleteQueryDef(dao::Database& pDb, const Variant& pQdName, bool Verbose = false);
  // Stores the query, replacing one of that name.
  bool QueryDefCreate(dao::Database& pDb, const Variant& pQdName, const Variant& pQuerySQL,
                      bool Verbose = false);
  // Sets the SQL of an existing query; the result is a Boolean variant.
  Variant QueryDefModify(dao::Database& pDb, const Variant& pQdefName, const Variant& pQdefSQL,
                         bool Verbose = false);

  // ---- Structure table (structure_table.cc) ----------------------------------

  // Appends a row per field and per index of pTdf to the structure table
  // (blank name: "TableStructure"), creating it first when it is missing or
  // pDeleteOld is set. An index of more than five fields ends the dump with
  // False; the rows saved before it stay.
  bool DumpTableStructureToTable(dao::Database& pDb, dao::TableDef& pTdf,
                                 const Variant& pDumpTblName = Variant::Missing(),
                                 bool pDeleteOld = false, bool pDumpData = false,
                                 bool Verbose = false);
  // Rebuilds the structure table from the tables whose Description holds
  // TEMPLATE (any case); DATA in it sets their rows' DumpData. The structure
  // table lives in pDb, so pDb must be writable (a legacy Jet file is not:
  // error 3027); pTdf of DumpTableStructureToTable may come from any
  // database.
  bool DumpAllTableStructuresToTable(dao::Database& pDb,
                                     const Variant& pDumpTblName = Variant::Missing(),
                                     bool Verbose = false);
  // Creates the database PToDbPath (it must not exist) holding the
  // TableStructures listing of the database at pFromDbPath: per table a
  // RecordCount row, then a row per field.
  bool DumpTablesStructure(const Variant& PToDbPath,
                           const Variant& pFromDbPath = Variant::Missing(), bool Verbose = false);
  // "dbText" for 10 and so on; "Unknown" for anything that is not a code.
  std::string FieldTypeString(const Variant& pFldType);

  // ---- Schema update (schema_update.cc) --------------------------------------

  // Always Empty; the outcome is told by messages.
  Variant UpdateTables(dao::Database& pDb, const Variant& pUpdateTableName, bool Verbose);

  // ---- ODBC schema generation (odbc_schema.cc) -------------------------------

  // Opens pODBCdb: pODBCsrc 1 is an ODBC data source (connect string
  // "ODBC;UID=u;PWD=p;DSN=d", the user and password only when not blank,
  // the password only with a user), 2 a database opened by its name pDsn.
  bool OpenConnectionODBC(int16_t pODBCsrc, std::shared_ptr<dao::Database>& pODBCdb,
                          const Variant& pDsn = Variant::Missing(),
                          const Variant& pUser = Variant::Missing(),
                          const Variant& pPasswd = Variant::Missing(), bool Verbose = false);
  // Sends pSQL to the server unchanged (pass-through).
  bool ExecuteODBC(dao::Database& pDb, const std::string& pSQL, bool pIgnoreErrors = false,
                   bool Verbose = false);
  // Describes pDb's template tables in the structure table, then drops and
  // creates each on the server, one CREATE TABLE per table with its columns
  // in the order of their names. The last CREATE statement is shown with
  // ShowMessage whatever Verbose says. A pDb that cannot be written (a
  // legacy Jet file, or a database opened read-only) keeps its structure
  // table in a temporary database for the call, which is deleted after it.
  bool CreateODBCTables(dao::Database& pDb, const Variant& pODBCsrc, const Variant& pDsn,
                        const std::string& pUsr, const std::string& pPwd,
                        const Variant& pStrucTblName = Variant::Missing(), bool Verbose = false);
  // The SQL dialect CreateODBCTables writes (sql_dialect.h): "Oracle" (the
  // Oracle-type statements, the default), "PostgreSQL", "SQLite", "MySQL",
  // "SQLServer", or "Auto" for the one of the server connected to. Setting
  // an unknown name raises error 5.
  std::string ODBCDialect() const { return odbc_dialect_; }
  void SetODBCDialect(const Variant& pDialect);

 private:
  std::string odbc_dialect_ = "Oracle";

 public:
  // ---- Field data, lock retry, temporary database (field_data.cc) ------------

  // Reads (or with pWriteFlag writes) field pFieldName of the record whose
  // key field holds pKeyVal, found with FindFirst on a criterion built by
  // the key field's type (Text/Memo quoted, Date as a `#date#`, Integer, Long,
  // Single, Double as they are; other types fail with 9999), the value
  // unescaped. The keys FIRSTRECORD and LASTRECORD (any case, blanks
  // around) take the first or last record. A read that finds no record
  // sets pFieldData to Null.
  bool FieldDataReadWriteDb(Variant& pFieldData, dao::Database& pDataBase,
                            const std::string& pTableName, const std::string& pKeyName,
                            const Variant& pKeyVal, const std::string& pFieldName,
                            bool pWriteFlag = false, bool Verbose = false);
  bool FieldDataReadWrite(Variant& pFieldData, const std::string& pDatabasePath,
                          const std::string& pTableName, const std::string& pKeyName,
                          const Variant& pKeyVal, const std::string& pFieldName,
                          bool pWriteFlag = false, bool Verbose = false);
  // Called with the same counter (Null, Empty or 0 at first) after each
  // lock error: raises the counter and answers True when the caller is to
  // retry now (after a wait of 5 to 12 tenths of a second that grows with
  // the attempt), False after the fourth retry or when the user, asked with
  // pRtlAsk, cancels.
  bool RetryLock(Variant& pRtlCount, bool pRtlAsk = false);
  // A new database $TEMP/XXXXXXXX.MDB (8 random capitals; the current
  // folder when TEMP is blank); PDbPath is "" on failure.
  bool CreateTempDatabase(std::shared_ptr<dao::Database>& pDb, std::string& PDbPath,
                          bool Verbose = false);

  // ---- Cloning (clone.cc) ------------------------------------------------------

  // CloneDb passes its arguments on to CloneTable as it always has: each
  // user table goes to the name True or False (the text of Verbose), with
  // its data only when pFailIfExists is True. Only the first user table can
  // therefore arrive; the second fails on the name that exists.
  bool CloneDb(const Variant& pSrcPath, const Variant& pDestPath, bool pFailIfExists = false,
               bool Verbose = false);
  // pFailIfExists tests the destination for pTableName, also when
  // pDestTableName names the copy otherwise. Nothing reaches pDestDb before
  // every field and index is built; a failure while copying data leaves
  // the table and the rows copied so far. Between two files of the
  // embedded engine the rows go set-based in one transaction, every rule of
  // the destination holding for each row; a row that breaks one sends the
  // rows one by one, so what is kept and reported is the same. The display
  // properties (Format, InputMask, DecimalPlaces, NewValues, Caption)
  // follow each field; a failure to copy one is always reported.
  bool CloneTable(const std::string& pTableName, dao::Database& pSrcDb, dao::Database& pDestDb,
                  bool pCopyData, const std::string& pDestTableName = "",
                  bool pFailIfExists = false, bool Verbose = false);
  bool CloneField(const std::string& pFieldName, dao::TableDef& pSrcTbl, dao::TableDef& pDestTbl,
                  bool pFailIfExists = false, bool Verbose = false);
  bool CloneIndex(const Variant& pIndexName, dao::TableDef& pSrcTbl, dao::TableDef& pDestTbl,
                  bool pFailIfExists = false, bool Verbose = false);

  // Told while CloneTable copies rows: the destination table and the rows
  // copied so far, every 1000 rows and once when the copy ends. For programs
  // that show progress; none by default.
  using CopyProgress = std::function<void(const std::string& table, int64_t rows)>;
  void SetCopyProgress(CopyProgress progress) { copy_progress_ = std::move(progress); }

  // ---- Database open, create and table copy (database_files.cc) --------------

  // A blank path is reported whatever Verbose says.
  bool OpenDatabase(std::shared_ptr<dao::Database>& pDb,
                    const Variant& PDbPath = Variant::Missing(), bool Verbose = false);
  // Adds ".MDB" to a path not ending in it (any case). Over an existing file
  // without pDeleteOld: True with a message and pNewDb untouched when
  // Verbose, else False in silence. pDeleteOld does not delete a file that
  // a connection has open or that is read-only (error 75).
  bool CreateDatabase(std::shared_ptr<dao::Database>& pNewDb, const Variant& PDbPath,
                      bool pDeleteOld = false, bool Verbose = false);
  // Opens both files and calls CloneTable with CloneDb's argument mapping.
  bool CloneTableDbPath(const Variant& pTableName, const Variant& pSrcDbPath,
                        const Variant& PDestDbPath, bool pFailIfExists = false,
                        bool Verbose = false);
  // Copies the structure (no data, defaults, rules or display properties)
  // of pSrcTable (under PDestTable when both are given), else of the tables
  // the masks select, else of every table; only tables whose Attributes
  // are 0 are copied. Every error is reported; tables copied before it stay.
  bool CopyTable(const std::string& pSrcDbPath, std::string& PDestDbPath,
                 const std::string& pSrcTable = "", const std::string& PDestTable = "",
                 bool pStructOnly = false, int32_t pAttribAndMask = 0, int32_t pAttribOrMask = 0,
                 bool Verbose = false);

  // ---- Record copy (record_copy.cc) --------------------------------------------

  // With pKeyVal: finds the source record and the destination record of
  // that key, adds or edits the destination under the two rules, and copies
  // every field but the key. Without: copies the current source record over
  // the current destination record. A source field that the destination
  // lacks is passed over; other errors (a lock) are retried through
  // RetryLock until it gives up.
  bool CopyRecord(dao::Recordset& pSrcSet, dao::Recordset& pDestSet, const std::string& pKeyField,
                  const Variant& pKeyVal, bool pDestMustExist = false,
                  bool pDestMustNOTexist = false, bool Verbose = false);

 private:
  // The empty structure table (structure_table.cc), replacing an old one.
  bool CreateStructureTable(dao::Database& pDb, const std::string& pTableName, bool Verbose);
  // DumpAllTableStructuresToTable with the template tables read from pFrom
  // and the structure table written to pInto.
  bool DumpTemplateTables(dao::Database& pFrom, dao::Database& pInto, const Variant& pDumpTblName,
                          bool Verbose);

  std::unique_ptr<qorProcs> procs_;
  CopyProgress copy_progress_;
};

}  // namespace qor

#endif  // QOR_DB_QOR_DB_H_
