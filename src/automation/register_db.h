// The groups of qorDb's late-bound members, one function per topic file.
#ifndef QOR_AUTOMATION_REGISTER_DB_H_
#define QOR_AUTOMATION_REGISTER_DB_H_

#include "qorsupport/automation/dispatch.h"
#include "qorsupport/db/qor_db.h"

namespace qor::automation {

// Schema objects, structure table and schema update (register_db_schema.cc).
void RegisterDbSchema(ClassBuilder<qorDb>& b);
// Open, create, copy, clone, field data, lock retry, record copy
// (register_db_operations.cc).
void RegisterDbOperations(ClassBuilder<qorDb>& b);
// ODBC connections and server tables (register_db_odbc.cc).
void RegisterDbOdbc(ClassBuilder<qorDb>& b);

}  // namespace qor::automation

#endif  // QOR_AUTOMATION_REGISTER_DB_H_
