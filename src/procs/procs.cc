#include "qorsupport/procs/procs.h"

#include "qorsupport/dialogs/forms.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/globals.h"
#include "qorsupport/frame/report.h"
#include "qorsupport/frame/vb.h"

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
