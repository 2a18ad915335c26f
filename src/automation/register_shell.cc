// Late-bound registration of qorWinAPI and qorWinAPIPrinter.

#include "automation/dispatch.h"

namespace qor::automation {

void RegisterShellClasses(Registry& /*registry*/) {}

}  // namespace qor::automation
