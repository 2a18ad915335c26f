// Late-bound registration of qorDb's operations: open, create and copy
// database files, cloning, field data, lock retry and record copy.

#include "automation/register_db.h"

namespace qor::automation {

namespace {

using V = VarType;
using dao::Database;
using dao::Recordset;
using dao::TableDef;

Param Verbose() { return Opt("Verbose", V::kBoolean, Variant(false)); }
Param Flag(const char* name) { return Opt(name, V::kBoolean, Variant(false)); }
Param Obj(const char* name) { return Ref(name, V::kObject); }

// The database a by-reference argument holds (null for Nothing), and the
// database an operation hands back through it (left alone when none).
std::shared_ptr<Database> DbIn(const Args& a, size_t i) {
  return std::dynamic_pointer_cast<Database>(a[i].AsObject());
}
void DbOut(Args& a, size_t i, const std::shared_ptr<Database>& db) {
  if (db) a[i] = Variant(ObjectRef(db));
}

void RegisterDatabaseFiles(ClassBuilder<qorDb>& b) {
  b.Method("OpenDatabase", {Obj("pDb"), Opt("PDbPath", V::kVariant), Verbose()},
           [](qorDb& d, Args& a) {
             auto db = DbIn(a, 0);
             bool ok = d.OpenDatabase(db, a[1], a.Bool(2));
             DbOut(a, 0, db);
             return Variant(ok);
           })
      .Method("CreateDatabase", {Obj("pNewDb"), Req("PDbPath"), Flag("pDeleteOld"), Verbose()},
              [](qorDb& d, Args& a) {
                auto db = DbIn(a, 0);
                bool ok = d.CreateDatabase(db, a[1], a.Bool(2), a.Bool(3));
                DbOut(a, 0, db);
                return Variant(ok);
              })
      .Method("CloneTableDbPath",
              {Req("pTableName"), Req("pSrcDbPath"), Req("PDestDbPath"), Flag("pFailIfExists"),
               Verbose()},
              [](qorDb& d, Args& a) {
                return Variant(d.CloneTableDbPath(a[0], a[1], a[2], a.Bool(3), a.Bool(4)));
              })
      .Method(
          "CopyTable",
          {Req("pSrcDbPath", V::kString), Ref("PDestDbPath", V::kString),
           Opt("pSrcTable", V::kString, Variant("")), Opt("PDestTable", V::kString, Variant("")),
           Flag("pStructOnly"), Opt("pAttribAndMask", V::kLong, Long(0)),
           Opt("pAttribOrMask", V::kLong, Long(0)), Verbose()},
          [](qorDb& d, Args& a) {
            std::string dest = a.Str(1);
            bool ok = d.CopyTable(a.Str(0), dest, a.Str(2), a.Str(3), a.Bool(4), a.Lng(5), a.Lng(6),
                                  a.Bool(7));
            a[1] = Variant(dest);
            return Variant(ok);
          });
}

void RegisterCloning(ClassBuilder<qorDb>& b) {
  b.Method("CloneDb", {Req("pSrcPath"), Req("pDestPath"), Flag("pFailIfExists"), Verbose()},
           [](qorDb& d, Args& a) { return Variant(d.CloneDb(a[0], a[1], a.Bool(2), a.Bool(3))); })
      .Method("CloneTable",
              {Req("pTableName", V::kString), Obj("pSrcDb"), Obj("pDestDb"),
               Req("pCopyData", V::kBoolean), Opt("pDestTableName", V::kString, Variant("")),
               Flag("pFailIfExists"), Verbose()},
              [](qorDb& d, Args& a) {
                return Variant(d.CloneTable(a.Str(0), *a.Obj<Database>(1), *a.Obj<Database>(2),
                                            a.Bool(3), a.Str(4), a.Bool(5), a.Bool(6)));
              })
      .Method("CloneField",
              {Req("pFieldName", V::kString), Obj("pSrcTbl"), Obj("pDestTbl"),
               Flag("pFailIfExists"), Verbose()},
              [](qorDb& d, Args& a) {
                return Variant(d.CloneField(a.Str(0), *a.Obj<TableDef>(1), *a.Obj<TableDef>(2),
                                            a.Bool(3), a.Bool(4)));
              })
      .Method(
          "CloneIndex",
          {Req("pIndexName"), Obj("pSrcTbl"), Obj("pDestTbl"), Flag("pFailIfExists"), Verbose()},
          [](qorDb& d, Args& a) {
            return Variant(
                d.CloneIndex(a[0], *a.Obj<TableDef>(1), *a.Obj<TableDef>(2), a.Bool(3), a.Bool(4)));
          });
}

void RegisterFieldData(ClassBuilder<qorDb>& b) {
  b.Method("FieldDataReadWriteDb",
           {Ref("pFieldData"), Obj("pDataBase"), Req("pTableName", V::kString),
            Req("pKeyName", V::kString), Req("pKeyVal"), Req("pFieldName", V::kString),
            Flag("pWriteFlag"), Verbose()},
           [](qorDb& d, Args& a) {
             return Variant(d.FieldDataReadWriteDb(a[0], *a.Obj<Database>(1), a.Str(2), a.Str(3),
                                                   a[4], a.Str(5), a.Bool(6), a.Bool(7)));
           })
      .Method("FieldDataReadWrite",
              {Ref("pFieldData"), Req("pDatabasePath", V::kString), Req("pTableName", V::kString),
               Req("pKeyName", V::kString), Req("pKeyVal"), Req("pFieldName", V::kString),
               Flag("pWriteFlag"), Verbose()},
              [](qorDb& d, Args& a) {
                return Variant(d.FieldDataReadWrite(a[0], a.Str(1), a.Str(2), a.Str(3), a[4],
                                                    a.Str(5), a.Bool(6), a.Bool(7)));
              })
      .Method("RetryLock", {Ref("pRtlCount"), Flag("pRtlAsk")},
              [](qorDb& d, Args& a) { return Variant(d.RetryLock(a[0], a.Bool(1))); })
      .Method("CreateTempDatabase", {Obj("pDb"), Ref("PDbPath", V::kString), Verbose()},
              [](qorDb& d, Args& a) {
                auto db = DbIn(a, 0);
                std::string path = a.Str(1);
                bool ok = d.CreateTempDatabase(db, path, a.Bool(2));
                DbOut(a, 0, db);
                a[1] = Variant(path);
                return Variant(ok);
              })
      .Method("CopyRecord",
              {Obj("pSrcSet"), Obj("pDestSet"), Req("pKeyField", V::kString), Req("pKeyVal"),
               Flag("pDestMustExist"), Flag("pDestMustNOTexist"), Verbose()},
              [](qorDb& d, Args& a) {
                return Variant(d.CopyRecord(*a.Obj<Recordset>(0), *a.Obj<Recordset>(1), a.Str(2),
                                            a[3], a.Bool(4), a.Bool(5), a.Bool(6)));
              });
}

}  // namespace

void RegisterDbOperations(ClassBuilder<qorDb>& b) {
  RegisterDatabaseFiles(b);
  RegisterCloning(b);
  RegisterFieldData(b);
}

}  // namespace qor::automation
