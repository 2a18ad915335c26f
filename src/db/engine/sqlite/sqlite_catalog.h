// Helpers shared by the SQLite backend's files (internal).
#ifndef QOR_DB_ENGINE_SQLITE_SQLITE_CATALOG_H_
#define QOR_DB_ENGINE_SQLITE_SQLITE_CATALOG_H_

#include <string>
#include <vector>

#include "qorsupport/db/engine/backend.h"

namespace qor::dao::sqlite {

// The Kind column of MSysProperties for an owner.
char KindCode(ObjectKey::Kind kind);
// The current time as the catalog stores it.
std::string Now();
// An index's fields as MSysIndexes.Fields keeps them: "name<TAB>attributes"
// lines (names hold no control characters).
std::string EncodeIndexFields(const std::vector<IndexFieldInfo>& fields);
std::vector<IndexFieldInfo> DecodeIndexFields(const std::string& text);

}  // namespace qor::dao::sqlite

#endif  // QOR_DB_ENGINE_SQLITE_SQLITE_CATALOG_H_
