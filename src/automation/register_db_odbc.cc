// Late-bound registration of qorDb's ODBC members: connections, pass-through
// statements, the creation of the template tables on a server, and the
// choice of SQL dialect.

#include "automation/register_db.h"

namespace qor::automation {

namespace {

using V = VarType;
using dao::Database;

Param Verbose() { return Opt("Verbose", V::kBoolean, Variant(false)); }

}  // namespace

void RegisterDbOdbc(ClassBuilder<qorDb>& b) {
  b.Method("OpenConnectionODBC",
           {Req("pODBCsrc", V::kInteger), Ref("pODBCdb"), Opt("pDsn", V::kVariant),
            Opt("pUser", V::kVariant), Opt("pPasswd", V::kVariant), Verbose()},
           [](qorDb& d, Args& a) {
             std::shared_ptr<Database> db;
             if (a[1].IsObject()) db = std::dynamic_pointer_cast<Database>(a[1].AsObject());
             bool ok = d.OpenConnectionODBC(a.Int(0), db, a[2], a[3], a[4], a.Bool(5));
             if (ok) a[1] = Variant(ObjectRef(db));
             return Variant(ok);
           })
      .Method("ExecuteODBC",
              {Ref("pDb", V::kObject), Req("pSQL", V::kString),
               Opt("pIgnoreErrors", V::kBoolean, Variant(false)), Verbose()},
              [](qorDb& d, Args& a) {
                return Variant(d.ExecuteODBC(*a.Obj<Database>(0), a.Str(1), a.Bool(2), a.Bool(3)));
              })
      .Method("CreateODBCTables",
              {Ref("pDb", V::kObject), Req("pODBCsrc"), Req("pDsn"), Req("pUsr", V::kString),
               Req("pPwd", V::kString), Opt("pStrucTblName", V::kString), Verbose()},
              [](qorDb& d, Args& a) {
                return Variant(d.CreateODBCTables(*a.Obj<Database>(0), a[1], a[2], a.Str(3),
                                                  a.Str(4), a[5], a.Bool(6)));
              })
      .Property(
          "ODBCDialect", V::kString, [](qorDb& d) { return Variant(d.ODBCDialect()); },
          [](qorDb& d, const Variant& v) { d.SetODBCDialect(v); });
}

}  // namespace qor::automation
