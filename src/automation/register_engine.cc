// Late-bound registration of DBEngine and the engine's objects (Database, TableDef, Field, Index,
// QueryDef, Recordset, Property).

#include "automation/dispatch.h"

namespace qor::automation {

void RegisterEngineClasses(Registry& /*registry*/) {}

}  // namespace qor::automation
