// Late-bound registration of qorDb. Its members are registered by topic, each
// group beside the others on the same class (qorPickList is registered with
// the dialogs).

#include "automation/register_db.h"

#include "qorsupport/automation/dispatch.h"
#include "qorsupport/db/qor_db.h"

namespace qor::automation {

void RegisterDbClasses(Registry& registry) {
  ClassBuilder<qorDb> b(registry, "qorDb");
  RegisterDbSchema(b);
  RegisterDbOperations(b);
  RegisterDbOdbc(b);
}

}  // namespace qor::automation
