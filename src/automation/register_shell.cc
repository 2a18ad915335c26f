// Late-bound registration of qorWinAPI and qorWinAPIPrinter.

#include "automation/dispatch.h"
#include "shell/winapi.h"

namespace qor::automation {

void RegisterShellClasses(Registry& registry) {
  using V = VarType;
  ClassBuilder<qorWinAPI>(registry, "qorWinAPI")
      .Method("SwabString", {Req("pString", V::kString)},
              [](qorWinAPI& w, Args& a) { return Variant(w.SwabString(a.Str(0))); });
}

}  // namespace qor::automation
