#include "procs/procs.h"

#include "dialogs/forms.h"
#include "frame/error.h"
#include "frame/globals.h"
#include "frame/report.h"
#include "frame/vb.h"

namespace qor {

Variant qorProcs::DisplayErrorString() {
  qorForms forms;
  while (true) {
    Variant answer = forms.InputForm("Please enter the Error Number", "");
    if (IsBlank(answer, true)) return Variant();
    ShowMessage(answer, Variant(SystemErrorText(vb::CLng(answer))), Variant(""));
  }
}

}  // namespace qor
