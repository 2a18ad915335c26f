// Late-bound registration of qorDb's schema members: schema objects,
// structure table and schema update.

#include "automation/register_db.h"

namespace qor::automation {

namespace {

using V = VarType;
using dao::Database;

Param Db() { return Ref("pDb", V::kObject); }
Param Verbose() { return Opt("Verbose", V::kBoolean, Variant(false)); }

void RegisterSchemaObjects(ClassBuilder<qorDb>& b) {
  b.Method("CheckTableExists", {Db(), Req("pTableName"), Verbose()},
           [](qorDb& d, Args& a) {
             return Variant(d.CheckTableExists(*a.Obj<Database>(0), a[1], a.Bool(2)));
           })
      .Method("CheckFieldExists", {Db(), Req("pTableName"), Req("pFieldName"), Verbose()},
              [](qorDb& d, Args& a) {
                return Variant(d.CheckFieldExists(*a.Obj<Database>(0), a[1], a[2], a.Bool(3)));
              })
      .Method("CheckIndexExists", {Db(), Req("pTableName"), Req("pIndexName"), Verbose()},
              [](qorDb& d, Args& a) {
                return Variant(d.CheckIndexExists(*a.Obj<Database>(0), a[1], a[2], a.Bool(3)));
              })
      .Method(
          "CreateTable",
          {Db(), Req("pTableName", V::kString), Req("pFirstFieldName", V::kString),
           Req("pFirstFieldLen", V::kInteger), Opt("PFirstFieldIsKey", V::kBoolean, Variant(false)),
           Opt("pDeleteExisting", V::kBoolean, Variant(false)), Verbose()},
          [](qorDb& d, Args& a) {
            return Variant(d.CreateTable(*a.Obj<Database>(0), a.Str(1), a.Str(2), a.Int(3),
                                         a.Bool(4), a.Bool(5), a.Bool(6)));
          })
      .Method("CreateField",
              {Db(), Req("pTableName"), Req("pFieldName"), Req("pFieldType"),
               Opt("pFieldLen", V::kInteger, Variant(int16_t{0})), Verbose()},
              [](qorDb& d, Args& a) {
                return Variant(
                    d.CreateField(*a.Obj<Database>(0), a[1], a[2], a[3], a.Int(4), a.Bool(5)));
              })
      .Method("CreateIndex",
              {Db(), Req("pTableName"), Req("pIndexName"), Req("pField1"),
               Req("pField2", V::kString), Req("pField3", V::kString), Req("pField4", V::kString),
               Req("pField5", V::kString), Req("pPrimaryFlag", V::kBoolean),
               Req("pUniqueFlag", V::kBoolean), Req("pIgnoreNullsFlag", V::kBoolean),
               Req("pDescendingFlag", V::kBoolean), Req("Verbose")},
              [](qorDb& d, Args& a) {
                return Variant(d.CreateIndex(*a.Obj<Database>(0), a[1], a[2], a[3], a[4], a[5],
                                             a[6], a[7], a.Bool(8), a.Bool(9), a.Bool(10),
                                             a.Bool(11), a[12]));
              })
      .Method(
          "DeleteField",
          {Db(), Req("pTableName"), Req("pFieldName"),
           Opt("pDeleteAnyIndexes", V::kBoolean, Variant(false)), Verbose()},
          [](qorDb& d, Args& a) {
            return Variant(d.DeleteField(*a.Obj<Database>(0), a[1], a[2], a.Bool(3), a.Bool(4)));
          })
      .Method("DeleteIndex", {Db(), Req("pTableName"), Req("pIndexName"), Verbose()},
              [](qorDb& d, Args& a) {
                return Variant(d.DeleteIndex(*a.Obj<Database>(0), a[1], a[2], a.Bool(3)));
              })
      .Sub("DeleteTableDef", {Db(), Req("pTdName"), Verbose()},
           [](qorDb& d, Args& a) { d.DeleteTableDef(*a.Obj<Database>(0), a[1], a.Bool(2)); })
      .Sub("DeleteQueryDef", {Db(), Req("pQdName"), Verbose()},
           [](qorDb& d, Args& a) { d.DeleteQueryDef(*a.Obj<Database>(0), a[1], a.Bool(2)); })
      .Method("QueryDefCreate", {Db(), Req("pQdName"), Req("pQuerySQL"), Verbose()},
              [](qorDb& d, Args& a) {
                return Variant(d.QueryDefCreate(*a.Obj<Database>(0), a[1], a[2], a.Bool(3)));
              })
      .Method("QueryDefModify", {Db(), Req("pQdefName"), Req("pQdefSQL"), Verbose()},
              [](qorDb& d, Args& a) {
                return d.QueryDefModify(*a.Obj<Database>(0), a[1], a[2], a.Bool(3));
              });
}

void RegisterStructureTable(ClassBuilder<qorDb>& b) {
  b.Method(
       "DumpTableStructureToTable",
       {Db(), Ref("pTdf", V::kObject), Opt("pDumpTblName", V::kString, Variant("")),
        Opt("pDeleteOld", V::kBoolean, Variant(false)),
        Opt("pDumpData", V::kBoolean, Variant(false)), Verbose()},
       [](qorDb& d, Args& a) {
         return Variant(d.DumpTableStructureToTable(*a.Obj<Database>(0), *a.Obj<dao::TableDef>(1),
                                                    a[2], a.Bool(3), a.Bool(4), a.Bool(5)));
       })
      .Method(
          "DumpAllTableStructuresToTable",
          {Db(), Opt("pDumpTblName", V::kString, Variant("")), Verbose()},
          [](qorDb& d, Args& a) {
            return Variant(d.DumpAllTableStructuresToTable(*a.Obj<Database>(0), a[1], a.Bool(2)));
          })
      .Method(
          "DumpTablesStructure",
          {Req("PToDbPath"), Opt("pFromDbPath", V::kString, Variant("")), Verbose()},
          [](qorDb& d, Args& a) { return Variant(d.DumpTablesStructure(a[0], a[1], a.Bool(2))); })
      .Method("FieldTypeString", {Req("pFldType")},
              [](qorDb& d, Args& a) { return Variant(d.FieldTypeString(a[0])); });
}

void RegisterSchemaUpdate(ClassBuilder<qorDb>& b) {
  b.Method("UpdateTables", {Db(), Req("pUpdateTableName"), Req("Verbose", V::kBoolean)},
           [](qorDb& d, Args& a) { return d.UpdateTables(*a.Obj<Database>(0), a[1], a.Bool(2)); });
}

}  // namespace

void RegisterDbSchema(ClassBuilder<qorDb>& b) {
  RegisterSchemaObjects(b);
  RegisterStructureTable(b);
  RegisterSchemaUpdate(b);
}

}  // namespace qor::automation
