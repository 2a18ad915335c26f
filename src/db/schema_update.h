// The schema update behind qorDb::UpdateTables, for callers that need to
// know whether it ran to the end (the command-line program): the late-bound
// UpdateTables tells its outcome only by messages.
#ifndef QOR_DB_SCHEMA_UPDATE_H_
#define QOR_DB_SCHEMA_UPDATE_H_

#include "qorsupport/db/qor_db.h"

namespace qor::db {

// Applies the rows of the action table pUpdateTableName in pDb through
// toolkit's schema operations, showing the messages UpdateTables shows.
// True when every row was applied and "Tables successfully updated" shown;
// False at the first failure (rows before it stay applied).
bool ApplyActionTable(qorDb& toolkit, dao::Database& pDb, const Variant& pUpdateTableName,
                      bool Verbose);

}  // namespace qor::db

#endif  // QOR_DB_SCHEMA_UPDATE_H_
