#include "automation/register_db.h"

namespace qor::automation {

void RegisterDbOperations(ClassBuilder<qorDb>& /*b*/) {}

}  // namespace qor::automation
