// qor richtext: the rich-text editor form from the shell.

#include <cstdio>

#include "command.h"
#include "dialog_args.h"
#include "qorsupport/dialogs/forms.h"

namespace qor::tool {

int RunRichText(const std::vector<std::string>& raw) {
  DialogArgs args;
  int status = 0;
  if (!ParseDialogArgs("richtext", raw, {"file", "title"}, {"open", "save", "print"}, &args,
                       &status)) {
    return status;
  }
  if (args.words.size() > 1) return UsageError(CommandNamed("richtext"), "give at most one text");
  RegisterUiBackends();
  Variant text(args.words.empty() ? "" : args.words[0]);
  if (!qorForms().RichTextForm(text, args.Value("file"), args.Has("open"), args.Has("save"),
                               args.Has("print"), args.Value("title"))) {
    return 1;
  }
  std::fwrite(text.AsString().data(), 1, text.AsString().size(), stdout);
  return 0;
}

}  // namespace qor::tool
