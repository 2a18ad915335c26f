// Late-bound registration of qorDb and qorPickList.

#include "automation/dispatch.h"

namespace qor::automation {

void RegisterDbClasses(Registry& /*registry*/) {}

}  // namespace qor::automation
