// Late-bound registration of qorWinAPIReg.

#include "automation/dispatch.h"

namespace qor::automation {

void RegisterRegistryClasses(Registry& /*registry*/) {}

}  // namespace qor::automation
