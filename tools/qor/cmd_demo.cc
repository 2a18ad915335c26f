#include <cstdio>

#include "command.h"
#include "qorsupport/dialogs/forms.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/frame/report.h"

namespace qor::tool {

int RunDemo(const std::vector<std::string>& args) {
  if (!args.empty()) return UsageError(Commands()[1], "takes no arguments");
  qorForms forms;
  forms.SetAppName(Variant("qor demo"));
  ShowMessage(Variant("Welcome to qorSupport."), Variant("This is ShowMessage."));
  ShowError(Variant("Something expected went wrong."), Variant::Null(), Variant("ShowError"));
  ShowErrorBox("DeleteFile()", 53, ErrorText(53));
  bool yes = forms.MsgYN("Do you like message boxes?");
  std::printf("MsgYN answered %s\n", yes ? "Yes" : "No");
  int16_t code = forms.MsgYNCancel("Save the changes?");
  std::printf("MsgYNCancel answered %d\n", code);
  Variant text = forms.InputForm("Your name, please", "World");
  std::printf("InputForm answered \"%s\"\n", text.AsString().c_str());
  try {
    forms.AlertCritical("A critical alert always ends with error 9999.");
  } catch (const Error& e) {
    std::printf("AlertCritical raised %d: %s\n", e.number(), e.description().c_str());
  }
  return 0;
}

}  // namespace qor::tool
