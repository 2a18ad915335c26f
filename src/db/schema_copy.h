// The pieces the cloning and table-copy members of qorDb share: a new field
// or index made like one of another table (not yet appended).
#ifndef QOR_DB_SCHEMA_COPY_H_
#define QOR_DB_SCHEMA_COPY_H_

#include <memory>

#include "db/close_quietly.h"
#include "qorsupport/db/engine/engine.h"

namespace qor::db {

// A field on table with source's Name, Type and Size, then its Attributes
// and Required, and AllowZeroLength when the type is Text or Memo.
std::shared_ptr<dao::Field> NewFieldLike(dao::Field& source, dao::TableDef& table);

// An index on table named like source; for each of source's fields in order
// a field of the same name with the same Attributes (the descending bit),
// appended; then Primary, Unique and IgnoreNulls.
std::shared_ptr<dao::Index> NewIndexLike(dao::Index& source, dao::TableDef& table);

}  // namespace qor::db

#endif  // QOR_DB_SCHEMA_COPY_H_
