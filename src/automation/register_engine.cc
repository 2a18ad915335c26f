// Late-bound registration of DBEngine and the engine's objects (Database,
// TableDef, Field, Index, QueryDef, Recordset, Property and the
// collections). DBEngine is creatable (every creation gives the process's
// one engine); the other objects are reached through it by handle.

#include "qorsupport/automation/dispatch.h"
#include "qorsupport/db/engine/engine.h"

namespace qor::automation {

namespace {

using V = VarType;
using namespace qor::dao;

Variant Ref(ObjectRef object) { return Variant(std::move(object)); }
Variant Text(std::string_view s) { return Variant(s); }

// Count, Item, Append, Delete and Refresh of one collection class.
void AddCollection(Registry& registry, const std::string& name) {
  auto item = [](CollectionBase& c, Args& a) { return Ref(c.ItemObject(a[0])); };
  ClassBuilder<CollectionBase>(registry, name, nullptr)
      .Property("Count", V::kInteger, [](CollectionBase& c) { return Int16(c.Count()); })
      .IndexedGet("Item", {Req("Index")}, item)
      .Method("Item", {Req("Index")}, item)
      .Sub("Append", {Req("Object", V::kObject)},
           [](CollectionBase& c, Args& a) { c.AppendObject(a[0].AsObject()); })
      .Sub("Delete", {Req("Name", V::kString)},
           [](CollectionBase& c, Args& a) { c.Delete(a.Str(0)); })
      .Sub("Refresh", {}, [](CollectionBase& c, Args&) { c.Refresh(); });
}

// Properties and CreateProperty of a class with user-defined properties.
template <typename T>
ClassBuilder<T>& WithProperties(ClassBuilder<T>& b) {
  b.IndexedGet("Properties", {Opt("Index", V::kVariant)},
               [](T& o, Args& a) {
                 auto props = o.GetProperties();
                 return a[0].IsMissing() ? Ref(props) : Ref(props->Item(a[0]));
               })
      .Method("CreateProperty",
              {Opt("Name", V::kVariant), Opt("Type", V::kVariant), Opt("Value", V::kVariant)},
              [](T& o, Args& a) { return Ref(o.CreateProperty(a[0], a[1], a[2])); });
  return b;
}

// A collection property that also takes an index: Fields, Fields("Code").
template <typename T, typename Get>
void CollectionGet(ClassBuilder<T>& b, const std::string& name, Get get) {
  b.IndexedGet(name, {Opt("Index", V::kVariant)}, [get](T& o, Args& a) {
    auto collection = get(o);
    return a[0].IsMissing() ? Ref(collection) : Ref(collection->Item(a[0]));
  });
}

void RegisterField(Registry& registry) {
  ClassBuilder<Field> b(registry, "Field", nullptr);
  b.Property(
       "Name", V::kString, [](Field& f) { return Text(f.Name()); },
       [](Field& f, const Variant& v) { f.SetName(v.AsString()); })
      .Property(
          "Type", V::kInteger, [](Field& f) { return Int16(f.Type()); },
          [](Field& f, const Variant& v) { f.SetType(v.NumericValue()); })
      .Property(
          "Size", V::kLong, [](Field& f) { return Long(f.Size()); },
          [](Field& f, const Variant& v) { f.SetSize(static_cast<int32_t>(v.NumericValue())); })
      .Property(
          "Attributes", V::kLong, [](Field& f) { return Long(f.Attributes()); },
          [](Field& f, const Variant& v) {
            f.SetAttributes(static_cast<int32_t>(v.NumericValue()));
          })
      .Property(
          "Required", V::kBoolean, [](Field& f) { return Variant(f.Required()); },
          [](Field& f, const Variant& v) { f.SetRequired(v.AsBoolean()); })
      .Property(
          "AllowZeroLength", V::kBoolean, [](Field& f) { return Variant(f.AllowZeroLength()); },
          [](Field& f, const Variant& v) { f.SetAllowZeroLength(v.AsBoolean()); })
      .Property(
          "DefaultValue", V::kString, [](Field& f) { return Text(f.DefaultValue()); },
          [](Field& f, const Variant& v) { f.SetDefaultValue(v.AsString()); })
      .Property(
          "ValidationRule", V::kString, [](Field& f) { return Text(f.ValidationRule()); },
          [](Field& f, const Variant& v) { f.SetValidationRule(v.AsString()); })
      .Property(
          "ValidationText", V::kString, [](Field& f) { return Text(f.ValidationText()); },
          [](Field& f, const Variant& v) { f.SetValidationText(v.AsString()); })
      .Property("OrdinalPosition", V::kInteger, [](Field& f) { return Int16(f.OrdinalPosition()); })
      .Property("SourceTable", V::kString, [](Field& f) { return Text(f.SourceTable()); })
      .Property(
          "Value", V::kVariant, [](Field& f) { return f.Value(); },
          [](Field& f, const Variant& v) { f.SetValue(v); });
  WithProperties(b);
}

void RegisterIndex(Registry& registry) {
  ClassBuilder<Index> b(registry, "Index", nullptr);
  b.Property(
       "Name", V::kString, [](Index& i) { return Text(i.Name()); },
       [](Index& i, const Variant& v) { i.SetName(v.AsString()); })
      .Property(
          "Primary", V::kBoolean, [](Index& i) { return Variant(i.Primary()); },
          [](Index& i, const Variant& v) { i.SetPrimary(v.AsBoolean()); })
      .Property(
          "Unique", V::kBoolean, [](Index& i) { return Variant(i.Unique()); },
          [](Index& i, const Variant& v) { i.SetUnique(v.AsBoolean()); })
      .Property(
          "IgnoreNulls", V::kBoolean, [](Index& i) { return Variant(i.IgnoreNulls()); },
          [](Index& i, const Variant& v) { i.SetIgnoreNulls(v.AsBoolean()); })
      .Property("Required", V::kBoolean, [](Index& i) { return Variant(i.Required()); })
      .Method("CreateField",
              {Opt("Name", V::kVariant), Opt("Type", V::kVariant), Opt("Size", V::kVariant)},
              [](Index& i, Args& a) { return Ref(i.CreateField(a[0], a[1], a[2])); });
  CollectionGet(b, "Fields", [](Index& i) { return i.GetFields(); });
  WithProperties(b);
}

void RegisterTableDef(Registry& registry) {
  ClassBuilder<TableDef> b(registry, "TableDef", nullptr);
  b.Property(
       "Name", V::kString, [](TableDef& t) { return Text(t.Name()); },
       [](TableDef& t, const Variant& v) { t.SetName(v.AsString()); })
      .Property(
          "Attributes", V::kLong, [](TableDef& t) { return Long(t.Attributes()); },
          [](TableDef& t, const Variant& v) {
            t.SetAttributes(static_cast<int32_t>(v.NumericValue()));
          })
      .Property(
          "ValidationRule", V::kString, [](TableDef& t) { return Text(t.ValidationRule()); },
          [](TableDef& t, const Variant& v) { t.SetValidationRule(v.AsString()); })
      .Property(
          "ValidationText", V::kString, [](TableDef& t) { return Text(t.ValidationText()); },
          [](TableDef& t, const Variant& v) { t.SetValidationText(v.AsString()); })
      .Property("Connect", V::kString, [](TableDef& t) { return Text(t.Connect()); })
      .Property("SourceTableName", V::kString,
                [](TableDef& t) { return Text(t.SourceTableName()); })
      .Property("RecordCount", V::kLong, [](TableDef& t) { return Long(t.RecordCount()); })
      .Property("Updatable", V::kBoolean, [](TableDef& t) { return Variant(t.Updatable()); })
      .Method("CreateField",
              {Opt("Name", V::kVariant), Opt("Type", V::kVariant), Opt("Size", V::kVariant)},
              [](TableDef& t, Args& a) { return Ref(t.CreateField(a[0], a[1], a[2])); })
      .Method("CreateIndex", {Opt("Name", V::kVariant)},
              [](TableDef& t, Args& a) { return Ref(t.CreateIndex(a[0])); })
      .Method("OpenRecordset", {Opt("Type", V::kVariant), Opt("Options", V::kVariant)},
              [](TableDef& t, Args& a) { return Ref(t.OpenRecordset(a[0], a[1])); });
  CollectionGet(b, "Fields", [](TableDef& t) { return t.GetFields(); });
  CollectionGet(b, "Indexes", [](TableDef& t) { return t.GetIndexes(); });
  WithProperties(b);
}

void RegisterQueryDef(Registry& registry) {
  ClassBuilder<QueryDef> b(registry, "QueryDef", nullptr);
  b.Property(
       "Name", V::kString, [](QueryDef& q) { return Text(q.Name()); },
       [](QueryDef& q, const Variant& v) { q.SetName(v.AsString()); })
      .Property(
          "SQL", V::kString, [](QueryDef& q) { return Text(q.SQL()); },
          [](QueryDef& q, const Variant& v) { q.SetSQL(v.AsString()); })
      .Property("RecordsAffected", V::kLong, [](QueryDef& q) { return Long(q.RecordsAffected()); })
      .Sub("Close", {}, [](QueryDef& q, Args&) { q.Close(); })
      .Sub("Execute", {Opt("Options", V::kVariant)}, [](QueryDef& q, Args& a) { q.Execute(a[0]); })
      .Method("OpenRecordset", {Opt("Type", V::kVariant), Opt("Options", V::kVariant)},
              [](QueryDef& q, Args& a) { return Ref(q.OpenRecordset(a[0], a[1])); });
  WithProperties(b);
}

void RegisterProperty(Registry& registry) {
  ClassBuilder<Property>(registry, "Property", nullptr)
      .Property(
          "Name", V::kString, [](Property& p) { return Text(p.Name()); },
          [](Property& p, const Variant& v) { p.SetName(v.AsString()); })
      .Property(
          "Type", V::kInteger, [](Property& p) { return Int16(p.Type()); },
          [](Property& p, const Variant& v) { p.SetType(v.NumericValue()); })
      .Property(
          "Value", V::kVariant, [](Property& p) { return p.Value(); },
          [](Property& p, const Variant& v) { p.SetValue(v); })
      .Property("Inherited", V::kBoolean, [](Property& p) { return Variant(p.Inherited()); });
}

void RegisterRecordset(Registry& registry) {
  auto find = [](void (Recordset::*fn)(std::string_view)) {
    return [fn](Recordset& r, Args& a) { (r.*fn)(a.Str(0)); };
  };
  ClassBuilder<Recordset> b(registry, "Recordset", nullptr);
  b.Property("Name", V::kString, [](Recordset& r) { return Text(r.Name()); })
      .Property("Type", V::kInteger, [](Recordset& r) { return Int16(r.Type()); })
      .Property("BOF", V::kBoolean, [](Recordset& r) { return Variant(r.Bof()); })
      .Property("EOF", V::kBoolean, [](Recordset& r) { return Variant(r.Eof()); })
      .Property("NoMatch", V::kBoolean, [](Recordset& r) { return Variant(r.NoMatch()); })
      .Property("RecordCount", V::kLong, [](Recordset& r) { return Long(r.RecordCount()); })
      .Property("Updatable", V::kBoolean, [](Recordset& r) { return Variant(r.Updatable()); })
      .Property("EditMode", V::kInteger,
                [](Recordset& r) { return Int16(static_cast<int>(r.GetEditMode())); })
      .Property(
          "Bookmark", V::kString, [](Recordset& r) { return Text(r.Bookmark()); },
          [](Recordset& r, const Variant& v) { r.SetBookmark(v.AsString()); })
      .Property("LastModified", V::kString, [](Recordset& r) { return Text(r.LastModified()); })
      .Sub("MoveFirst", {}, [](Recordset& r, Args&) { r.MoveFirst(); })
      .Sub("MoveLast", {}, [](Recordset& r, Args&) { r.MoveLast(); })
      .Sub("MoveNext", {}, [](Recordset& r, Args&) { r.MoveNext(); })
      .Sub("MovePrevious", {}, [](Recordset& r, Args&) { r.MovePrevious(); })
      .Sub("Move", {Req("Rows", V::kLong)}, [](Recordset& r, Args& a) { r.Move(a.Lng(0)); })
      .Sub("FindFirst", {Req("Criteria", V::kString)}, find(&Recordset::FindFirst))
      .Sub("FindLast", {Req("Criteria", V::kString)}, find(&Recordset::FindLast))
      .Sub("FindNext", {Req("Criteria", V::kString)}, find(&Recordset::FindNext))
      .Sub("FindPrevious", {Req("Criteria", V::kString)}, find(&Recordset::FindPrevious))
      .Sub("AddNew", {}, [](Recordset& r, Args&) { r.AddNew(); })
      .Sub("Edit", {}, [](Recordset& r, Args&) { r.Edit(); })
      .Sub("Update", {}, [](Recordset& r, Args&) { r.Update(); })
      .Sub("CancelUpdate", {}, [](Recordset& r, Args&) { r.CancelUpdate(); })
      .Sub("Delete", {}, [](Recordset& r, Args&) { r.Delete(); })
      .Sub("Close", {}, [](Recordset& r, Args&) { r.Close(); });
  CollectionGet(b, "Fields", [](Recordset& r) { return r.GetFields(); });
}

void RegisterDatabase(Registry& registry) {
  ClassBuilder<Database> b(registry, "Database", nullptr);
  b.Property("Name", V::kString, [](Database& d) { return Text(d.Name()); })
      .Property("Connect", V::kString, [](Database& d) { return Text(d.Connect()); })
      .Property("Updatable", V::kBoolean, [](Database& d) { return Variant(d.Updatable()); })
      .Property("RecordsAffected", V::kLong, [](Database& d) { return Long(d.RecordsAffected()); })
      .Method("CreateTableDef",
              {Opt("Name", V::kVariant), Opt("Attributes", V::kVariant),
               Opt("SourceTableName", V::kVariant), Opt("Connect", V::kVariant)},
              [](Database& d, Args& a) { return Ref(d.CreateTableDef(a[0], a[1], a[2], a[3])); })
      .Method("CreateQueryDef", {Opt("Name", V::kVariant), Opt("SQLText", V::kVariant)},
              [](Database& d, Args& a) { return Ref(d.CreateQueryDef(a[0], a[1])); })
      .Method("OpenRecordset",
              {Req("Name", V::kString), Opt("Type", V::kVariant), Opt("Options", V::kVariant),
               Opt("LockEdit", V::kVariant)},
              [](Database& d, Args& a) { return Ref(d.OpenRecordset(a.Str(0), a[1], a[2], a[3])); })
      .Sub("Execute", {Req("Query", V::kString), Opt("Options", V::kVariant)},
           [](Database& d, Args& a) { d.Execute(a.Str(0), a[1]); })
      .Sub("Close", {}, [](Database& d, Args&) { d.Close(); });
  CollectionGet(b, "TableDefs", [](Database& d) { return d.GetTableDefs(); });
  CollectionGet(b, "QueryDefs", [](Database& d) { return d.GetQueryDefs(); });
  WithProperties(b);
}

void RegisterDBEngine(Registry& registry) {
  ClassBuilder<DBEngine>(registry, "DBEngine", [] { return ObjectRef(DBEngine::Get()); })
      .Property("Version", V::kString, [](DBEngine& e) { return Text(e.Version()); })
      .Method("OpenDatabase",
              {Req("Name", V::kString), Opt("Options", V::kVariant), Opt("ReadOnly", V::kVariant),
               Opt("Connect", V::kVariant)},
              [](DBEngine& e, Args& a) { return Ref(e.OpenDatabase(a.Str(0), a[1], a[2], a[3])); })
      .Method("CreateDatabase",
              {Req("Name", V::kString), Req("Locale", V::kString), Opt("Options", V::kVariant)},
              [](DBEngine& e, Args& a) { return Ref(e.CreateDatabase(a.Str(0), a.Str(1), a[2])); })
      .Sub("Idle", {Opt("Action", V::kVariant)}, [](DBEngine& e, Args& a) { e.Idle(a[0]); })
      .Sub("BeginTrans", {}, [](DBEngine& e, Args&) { e.BeginTrans(); })
      .Sub("CommitTrans", {Opt("Options", V::kVariant)},
           [](DBEngine& e, Args&) { e.CommitTrans(); })
      .Sub("Rollback", {}, [](DBEngine& e, Args&) { e.Rollback(); });
}

}  // namespace

void RegisterEngineClasses(Registry& registry) {
  RegisterDBEngine(registry);
  RegisterDatabase(registry);
  RegisterTableDef(registry);
  RegisterField(registry);
  RegisterIndex(registry);
  RegisterQueryDef(registry);
  RegisterProperty(registry);
  RegisterRecordset(registry);
  for (const char* name : {"TableDefs", "QueryDefs", "Fields", "Indexes", "Properties"}) {
    AddCollection(registry, name);
  }
}

}  // namespace qor::automation
