#include "automation/register_db.h"

namespace qor::automation {

void RegisterDbOdbc(ClassBuilder<qorDb>& /*b*/) {}

}  // namespace qor::automation
