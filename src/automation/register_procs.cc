// Late-bound registration of qorProcs.

#include "automation/dispatch.h"
#include "procs/procs.h"

namespace qor::automation {

void RegisterProcsClasses(Registry& registry) {
  ClassBuilder<qorProcs>(registry, "qorProcs")
      .Method("DisplayErrorString", {}, [](qorProcs& p, Args&) { return p.DisplayErrorString(); });
}

}  // namespace qor::automation
