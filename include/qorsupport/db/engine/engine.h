// The database engine's object model, as DAO presents it.
//
//   DBEngine (one per process) -> OpenDatabase / CreateDatabase -> Database
//   Database -> TableDefs -> TableDef -> Fields, Indexes -> Index -> Fields
//            -> QueryDefs -> QueryDef
//            -> OpenRecordset -> Recordset -> Fields (with Value)
//   every object but the recordset -> Properties -> Property
//
// The objects behave as DAO's do, so that code written against DAO runs
// unchanged: objects made with CreateTableDef/CreateField/CreateIndex/
// CreateProperty live only in memory until they are appended to a
// collection of a stored object; from then on every change to them goes to
// the database at once. Failures raise qor::Error with DAO's numbers and
// texts (dao.h): 3265 for a name missing from a collection, 3270 for a
// missing property, 3021 without a current record, 3020 for Update without
// AddNew or Edit, 3260 for a record another connection has locked, 3197
// for a record another connection changed during Edit, 3022/3163/3314/
// 3315/3316/3317 for values the table's rules refuse, 3420 for an object of
// a closed database.
//
// The object model runs on any Backend (backend.h); DBEngine chooses it by
// the file and the connect string. Every object is a qor::Object and can
// travel in a Variant and through late-bound dispatch.
//
// Objects are used from one thread at a time.
#ifndef QOR_DB_ENGINE_ENGINE_H_
#define QOR_DB_ENGINE_ENGINE_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qorsupport/db/engine/backend.h"
#include "qorsupport/db/engine/collection.h"
#include "qorsupport/db/engine/dao.h"
#include "qorsupport/frame/variant.h"

namespace qor::dao {

class Database;
class Field;
class Index;
class Property;
class Recordset;
class TableDef;

using Fields = Collection<Field>;
using Indexes = Collection<Index>;
using TableDefs = Collection<TableDef>;
using Properties = Collection<Property>;

// ---- Properties ----------------------------------------------------------------

// An object with a Properties collection: the built-in properties of its
// class, then the user-defined ones (Description, Caption, Format, ...),
// which are stored with the object once it is stored.
class PropertyOwner {
 public:
  virtual ~PropertyOwner() = default;

  std::shared_ptr<Properties> GetProperties();
  // A new property, not yet appended: name, DAO type code, value.
  std::shared_ptr<Property> CreateProperty(const Variant& name = Variant::Missing(),
                                           const Variant& type = Variant::Missing(),
                                           const Variant& value = Variant::Missing());

  // A user-defined property's value; raises 3270 when there is none.
  Variant UserProperty(std::string_view name);

 protected:
  friend class Property;
  // The built-in properties, in order.
  virtual std::vector<std::string> BuiltInNames() const = 0;
  virtual Variant GetBuiltIn(std::string_view name) = 0;
  virtual void SetBuiltIn(std::string_view name, const Variant& value) = 0;
  virtual int BuiltInType(std::string_view name) const;
  // The user-defined ones, and how a change is stored (nothing while the
  // object is not stored).
  virtual std::vector<PropertyInfo>& UserProperties() = 0;
  virtual void StoreProperty(const PropertyInfo&) {}
  virtual void UnstoreProperty(std::string_view) {}
  // The Object this is (kept alive by the Property objects).
  virtual ObjectRef Self() = 0;

 private:
  std::shared_ptr<Properties> properties_;
};

class Property : public Object {
 public:
  // A property of owner (built_in: one of its class's). owner_ref is the
  // owner as an Object: the property fails with 3420 once it is gone.
  Property(PropertyOwner* owner, std::weak_ptr<Object> owner_ref, std::string name, bool built_in);
  // A new property from CreateProperty, not yet appended.
  explicit Property(PropertyInfo info);

  std::string_view ClassName() const override { return "Property"; }
  const std::string& Name() const { return name_; }
  void SetName(std::string_view name);
  int Type() const;
  void SetType(int type);
  Variant Value() const;
  void SetValue(const Variant& value);
  bool Inherited() const { return false; }
  bool BuiltIn() const { return built_in_; }

  // For PropertyOwner: the detached property's content.
  const PropertyInfo& info() const { return info_; }
  void Attach(PropertyOwner* owner, std::weak_ptr<Object> owner_ref);

 private:
  // The owner, or null while the property is not appended; raises 3420
  // when the owner is gone.
  PropertyOwner* Owner() const;

  PropertyOwner* owner_ = nullptr;
  std::weak_ptr<Object> owner_ref_;
  std::string name_;
  bool built_in_ = false;
  PropertyInfo info_;  // while detached
};

// ---- Fields -----------------------------------------------------------------------

// A field of a table definition, of an index, or of a recordset (which
// adds Value).
class Field : public Object, public PropertyOwner, public std::enable_shared_from_this<Field> {
 public:
  explicit Field(FieldInfo info);
  // A field of a recordset: the column at position.
  Field(std::weak_ptr<Recordset> recordset, size_t position, FieldInfo info);

  std::string_view ClassName() const override { return "Field"; }

  const std::string& Name() const { return info_.name; }
  void SetName(std::string_view name);
  int Type() const { return info_.type; }
  void SetType(int type);
  int32_t Size() const { return info_.size; }
  void SetSize(int32_t size);
  int32_t Attributes() const { return info_.attributes; }
  void SetAttributes(int32_t attributes);
  bool Required() const { return info_.required; }
  void SetRequired(bool required);
  bool AllowZeroLength() const { return info_.allow_zero_length; }
  void SetAllowZeroLength(bool allow);
  const std::string& DefaultValue() const { return info_.default_value; }
  void SetDefaultValue(std::string_view value);
  const std::string& ValidationRule() const { return info_.validation_rule; }
  void SetValidationRule(std::string_view rule);
  const std::string& ValidationText() const { return info_.validation_text; }
  void SetValidationText(std::string_view text);
  int32_t OrdinalPosition() const { return info_.ordinal_position; }
  std::string SourceTable() const { return table_name_; }

  // The value in the recordset's current record (or edit buffer); raises
  // 3219 on a field that is not a recordset's.
  Variant Value() const;
  void SetValue(const Variant& value);

  // For the owners.
  const FieldInfo& info() const { return info_; }
  FieldInfo& mutable_info() { return info_; }
  // Makes the field part of a stored table: later changes go to it.
  void Attach(std::weak_ptr<TableDef> table, std::string table_name);
  void Detach() { table_.reset(); }
  bool attached_to_index() const { return in_index_; }
  void set_in_index(bool in_index) { in_index_ = in_index; }

 protected:
  std::vector<std::string> BuiltInNames() const override;
  Variant GetBuiltIn(std::string_view name) override;
  void SetBuiltIn(std::string_view name, const Variant& value) override;
  int BuiltInType(std::string_view name) const override;
  std::vector<PropertyInfo>& UserProperties() override { return info_.properties; }
  void StoreProperty(const PropertyInfo& property) override;
  void UnstoreProperty(std::string_view name) override;
  ObjectRef Self() override { return shared_from_this(); }

 private:
  // Stores the changed definition (old_name: the name before the change).
  void Save(const std::string& old_name);
  std::shared_ptr<TableDef> StoredTable() const;

  FieldInfo info_;
  std::weak_ptr<TableDef> table_;
  std::string table_name_;
  std::weak_ptr<Recordset> recordset_;
  size_t position_ = 0;
  bool in_index_ = false;
};

// ---- Indexes ------------------------------------------------------------------------

class Index : public Object, public PropertyOwner, public std::enable_shared_from_this<Index> {
 public:
  explicit Index(std::string name);

  std::string_view ClassName() const override { return "Index"; }
  const std::string& Name() const { return info_.name; }
  void SetName(std::string_view name);
  bool Primary() const { return info_.primary; }
  void SetPrimary(bool primary);
  bool Unique() const { return info_.unique; }
  void SetUnique(bool unique);
  bool IgnoreNulls() const { return info_.ignore_nulls; }
  void SetIgnoreNulls(bool ignore);
  bool Required() const { return info_.primary; }

  // The index's fields (Name and Attributes: kDescending).
  std::shared_ptr<Fields> GetFields();
  // A field for this index's Fields (type and size are accepted and, as in
  // DAO, not used).
  std::shared_ptr<Field> CreateField(const Variant& name = Variant::Missing(),
                                     const Variant& type = Variant::Missing(),
                                     const Variant& size = Variant::Missing());

  // For TableDef.
  IndexInfo Info();
  void Load(const IndexInfo& info);
  void MarkStored(std::weak_ptr<TableDef> table);

 protected:
  std::vector<std::string> BuiltInNames() const override;
  Variant GetBuiltIn(std::string_view name) override;
  void SetBuiltIn(std::string_view name, const Variant& value) override;
  int BuiltInType(std::string_view name) const override;
  std::vector<PropertyInfo>& UserProperties() override { return info_.properties; }
  void StoreProperty(const PropertyInfo& property) override;
  void UnstoreProperty(std::string_view name) override;
  ObjectRef Self() override { return shared_from_this(); }

 private:
  void CheckChangeable() const;

  IndexInfo info_;
  std::shared_ptr<Fields> fields_;
  std::weak_ptr<TableDef> table_;
  bool stored_ = false;
};

// ---- Table definitions ----------------------------------------------------------------

class TableDef : public Object,
                 public PropertyOwner,
                 public std::enable_shared_from_this<TableDef> {
 public:
  explicit TableDef(std::string name, int32_t attributes = 0, std::string source_table = "",
                    std::string connect = "");

  std::string_view ClassName() const override { return "TableDef"; }
  const std::string& Name() const { return info_.name; }
  void SetName(std::string_view name);
  int32_t Attributes() const { return info_.attributes; }
  void SetAttributes(int32_t attributes);
  const std::string& ValidationRule() const { return info_.validation_rule; }
  void SetValidationRule(std::string_view rule);
  const std::string& ValidationText() const { return info_.validation_text; }
  void SetValidationText(std::string_view text);
  const std::string& Connect() const { return info_.connect; }
  const std::string& SourceTableName() const { return info_.source_table_name; }
  // The number of records (0 for a table that is not stored).
  int32_t RecordCount();
  bool Updatable() const;

  std::shared_ptr<Fields> GetFields() { return fields_; }
  std::shared_ptr<Indexes> GetIndexes() { return indexes_; }
  // A new field: name, type code, size (each may be Missing, as in DAO).
  std::shared_ptr<Field> CreateField(const Variant& name = Variant::Missing(),
                                     const Variant& type = Variant::Missing(),
                                     const Variant& size = Variant::Missing());
  std::shared_ptr<Index> CreateIndex(const Variant& name = Variant::Missing());
  // A recordset on this table.
  std::shared_ptr<Recordset> OpenRecordset(const Variant& type = Variant::Missing(),
                                           const Variant& options = Variant::Missing());

  // For Database and the children.
  TableInfo Info();
  void Load(const TableInfo& info, std::weak_ptr<Database> db);
  std::shared_ptr<Database> StoredDatabase() const;  // null while not stored
  Backend& StoredBackend() const;                    // raises 3219 while not stored

 protected:
  std::vector<std::string> BuiltInNames() const override;
  Variant GetBuiltIn(std::string_view name) override;
  void SetBuiltIn(std::string_view name, const Variant& value) override;
  int BuiltInType(std::string_view name) const override;
  std::vector<PropertyInfo>& UserProperties() override { return info_.properties; }
  void StoreProperty(const PropertyInfo& property) override;
  void UnstoreProperty(std::string_view name) override;
  ObjectRef Self() override { return shared_from_this(); }

 private:
  void SaveTableLevel(const std::string& old_name);

  TableInfo info_;  // table-level part; fields and indexes live in the collections
  std::shared_ptr<Fields> fields_;
  std::shared_ptr<Indexes> indexes_;
  std::weak_ptr<Database> db_;
  bool stored_hooks_ = false;
};

// ---- Query definitions ------------------------------------------------------------------

class QueryDef : public Object,
                 public PropertyOwner,
                 public std::enable_shared_from_this<QueryDef> {
 public:
  QueryDef(std::string name, std::string sql);

  std::string_view ClassName() const override { return "QueryDef"; }
  const std::string& Name() const { return info_.name; }
  void SetName(std::string_view name);
  const std::string& SQL() const { return info_.sql; }
  void SetSQL(std::string_view sql);
  int32_t RecordsAffected() const { return records_affected_; }
  void Close() {}
  void Execute(const Variant& options = Variant::Missing());
  std::shared_ptr<Recordset> OpenRecordset(const Variant& type = Variant::Missing(),
                                           const Variant& options = Variant::Missing());

  // For Database.
  const QueryInfo& info() const { return info_; }
  void Load(const QueryInfo& info, std::weak_ptr<Database> db);

 protected:
  std::vector<std::string> BuiltInNames() const override;
  Variant GetBuiltIn(std::string_view name) override;
  void SetBuiltIn(std::string_view name, const Variant& value) override;
  std::vector<PropertyInfo>& UserProperties() override { return info_.properties; }
  void StoreProperty(const PropertyInfo& property) override;
  void UnstoreProperty(std::string_view name) override;
  ObjectRef Self() override { return shared_from_this(); }

 private:
  std::shared_ptr<Database> Db() const;

  QueryInfo info_;
  std::weak_ptr<Database> db_;
  bool stored_ = false;
  int32_t records_affected_ = 0;
};

using QueryDefs = Collection<QueryDef>;

// ---- Recordsets -----------------------------------------------------------------------------

class Recordset : public Object, public std::enable_shared_from_this<Recordset> {
 public:
  enum class EditMode { kNone = 0, kEdit = 1, kAdd = 2 };

  Recordset(std::weak_ptr<Database> db, std::unique_ptr<Cursor> cursor, std::string name, int type);
  ~Recordset() override;

  std::string_view ClassName() const override { return "Recordset"; }
  const std::string& Name() const { return name_; }
  int Type() const { return type_; }
  bool Updatable() const;

  // BOF and EOF (named Bof and Eof here: EOF is a C macro).
  bool Bof() const;
  bool Eof() const;
  bool NoMatch() const;
  int32_t RecordCount();
  EditMode GetEditMode() const { return mode_; }

  void MoveFirst();
  void MoveLast();
  void MoveNext();
  void MovePrevious();
  // Moves by rows (negative: backwards) from the current record.
  void Move(int32_t rows);

  void FindFirst(std::string_view criteria);
  void FindLast(std::string_view criteria);
  void FindNext(std::string_view criteria);
  void FindPrevious(std::string_view criteria);

  void AddNew();
  void Edit();
  void Update();
  void CancelUpdate();
  void Delete();
  void Close();

  // Bookmarks (as text, so that they travel in Variants).
  std::string Bookmark() const;
  void SetBookmark(std::string_view bookmark);  // 3159 for one not of this recordset
  std::string LastModified() const;

  std::shared_ptr<Fields> GetFields();
  // Fields(name).Value, Fields(name).Value = value and Fields(name).Type,
  // for short: by position, without making the Field objects. A name that
  // is not there raises 3265 as Fields(name) does.
  Variant Value(std::string_view field) const;
  void SetValue(std::string_view field, const Variant& value);
  int FieldType(std::string_view field) const;

  // For Field.
  Variant FieldValue(size_t position) const;
  void SetFieldValue(size_t position, const Variant& value);

  // For Database: ends the recordset when its database closes.
  void Invalidate();

 private:
  // The cursor, placed on its first record when the recordset has not been
  // placed yet: a recordset reads its first record when something needs
  // it, not when it opens.
  Cursor& Cur() const;
  // The cursor as it is, for operations that do not depend on the position.
  Cursor& Unplaced() const;
  // The position of the field named field; 3265 when there is none.
  size_t Position(std::string_view field) const;
  void EndEdit();
  void Positioned(bool found);
  void Find(std::string_view criteria, Cursor::Direction direction);

  std::weak_ptr<Database> db_;
  std::unique_ptr<Cursor> cursor_;
  std::string name_;
  int type_;
  std::shared_ptr<Fields> fields_;
  mutable bool placed_ = false;  // bof_ and eof_ hold
  mutable bool bof_ = true;
  mutable bool eof_ = true;
  bool no_match_ = false;
  EditMode mode_ = EditMode::kNone;
  std::vector<std::optional<Variant>> buffer_;
  std::vector<Variant> original_;
  std::optional<dao::Bookmark> last_modified_;
};

// ---- Database ---------------------------------------------------------------------------------

class Database : public Object,
                 public PropertyOwner,
                 public std::enable_shared_from_this<Database> {
 public:
  explicit Database(std::unique_ptr<Backend> backend);
  ~Database() override;

  std::string_view ClassName() const override { return "Database"; }
  const std::string& Name() const;
  std::string Connect() const;
  bool Updatable() const;
  int32_t RecordsAffected() const { return records_affected_; }

  std::shared_ptr<TableDefs> GetTableDefs();
  std::shared_ptr<QueryDefs> GetQueryDefs();
  std::shared_ptr<TableDef> CreateTableDef(const Variant& name = Variant::Missing(),
                                           const Variant& attributes = Variant::Missing(),
                                           const Variant& source_table = Variant::Missing(),
                                           const Variant& connect = Variant::Missing());
  // With a name the query is stored at once, as DAO does; without one it is
  // a temporary query.
  std::shared_ptr<QueryDef> CreateQueryDef(const Variant& name = Variant::Missing(),
                                           const Variant& sql = Variant::Missing());

  // source: a table name, a stored query's name, or a SELECT statement.
  // type: kOpenTable (the default for a table), kOpenDynaset (the default
  // otherwise), kOpenSnapshot, kOpenForwardOnly. options: kDenyWrite,
  // kDenyRead, kReadOnly, kSQLPassThrough, ...
  std::shared_ptr<Recordset> OpenRecordset(std::string_view source,
                                           const Variant& type = Variant::Missing(),
                                           const Variant& options = Variant::Missing(),
                                           const Variant& lock_edits = Variant::Missing());
  // Runs an action statement (or a stored action query by name); options:
  // kFailOnError, kSQLPassThrough. A failing statement changes nothing.
  void Execute(std::string_view sql, const Variant& options = Variant::Missing());
  void Close();
  bool IsOpen() const { return backend_ != nullptr; }

  // For the objects of this database; raises 3420 once it is closed.
  Backend& backend() const;
  void Track(const std::shared_ptr<Recordset>& recordset);
  int32_t ExecuteCounted(std::string_view sql, int32_t options);

 protected:
  std::vector<std::string> BuiltInNames() const override;
  Variant GetBuiltIn(std::string_view name) override;
  void SetBuiltIn(std::string_view name, const Variant& value) override;
  std::vector<PropertyInfo>& UserProperties() override;
  void StoreProperty(const PropertyInfo& property) override;
  void UnstoreProperty(std::string_view name) override;
  ObjectRef Self() override { return shared_from_this(); }

 private:
  void SyncTables();
  void SyncQueries();

  std::unique_ptr<Backend> backend_;
  std::string name_;
  std::shared_ptr<TableDefs> tabledefs_;
  std::shared_ptr<QueryDefs> querydefs_;
  bool tables_loaded_ = false;
  bool queries_loaded_ = false;
  int64_t tables_version_ = 0;
  int64_t queries_version_ = 0;
  std::vector<PropertyInfo> properties_;
  bool properties_loaded_ = false;
  std::vector<std::weak_ptr<Recordset>> recordsets_;
  int32_t records_affected_ = 0;
};

// ---- DBEngine
// -------------------------------------------------------------------------------------

class DBEngine : public Object {
 public:
  // The process's engine, created on first use.
  static std::shared_ptr<DBEngine> Get();

  std::string_view ClassName() const override { return "DBEngine"; }

  // options: True (or a number with bit 1 when connect is empty... see
  // below) opens exclusively; read_only opens for reading; connect "ODBC;..."
  // selects an ODBC source. Raises 3024 for a missing file, 3343 for a file
  // that is not a database, 3044 for a bad path, 3045 for a file opened
  // exclusively elsewhere, 3051 for a file that cannot be read.
  std::shared_ptr<Database> OpenDatabase(std::string_view name,
                                         const Variant& options = Variant::Missing(),
                                         const Variant& read_only = Variant::Missing(),
                                         const Variant& connect = Variant::Missing());
  // locale: the collating-order string (";LANGID=0x0409;CP=1252;COUNTRY=0");
  // raises 3204 when the file exists.
  std::shared_ptr<Database> CreateDatabase(std::string_view name, std::string_view locale,
                                           const Variant& options = Variant::Missing());
  // Lets every open database catch up with other connections' changes.
  void Idle(const Variant& action = Variant::Missing());
  // A transaction over every open database of the engine.
  void BeginTrans();
  void CommitTrans();
  void Rollback();

  std::string Version() const { return "3.6"; }

 private:
  std::vector<std::shared_ptr<Database>> OpenDatabases();
  std::vector<std::weak_ptr<Database>> databases_;
};

// Deletes the database file at path that CreateDatabase made, with the files
// the engine keeps beside it (the store's journal, write-ahead log and
// shared memory, and the lock file), so that a new database made under the
// same name never picks up the old one's log. Returns whether the database
// file is gone (also when it was not there); raises nothing. The caller
// makes sure no connection has it open.
bool RemoveDatabaseFiles(const std::string& path);

// Converts a value to the kind a DAO type code holds (Null stays Null);
// raises 3421 when it does not convert.
Variant CoerceToType(const Variant& value, int type);

}  // namespace qor::dao

#endif  // QOR_DB_ENGINE_ENGINE_H_
