// qor file and qor folder: the file and folder requesters from the shell.

#include <cstdio>

#include "command.h"
#include "dialog_args.h"
#include "qorsupport/dialogs/requesters.h"

namespace qor::tool {

int RunFile(const std::vector<std::string>& raw) {
  DialogArgs args;
  int status = 0;
  if (!ParseDialogArgs("file", raw, {"dir", "filter-name", "filter", "ext", "title"}, {"save"},
                       &args, &status)) {
    return status;
  }
  if (!args.words.empty()) return UsageError(CommandNamed("file"), "takes options only");
  RegisterUiBackends();
  std::string path = FileRequester().GetFileName(args.Value("dir"), args.Value("filter-name"),
                                                 args.Value("filter"), args.Has("save"),
                                                 args.Value("ext"), args.Value("title"));
  if (path.empty()) return 1;
  std::printf("%s\n", path.c_str());
  return 0;
}

int RunFolder(const std::vector<std::string>& raw) {
  DialogArgs args;
  int status = 0;
  if (!ParseDialogArgs("folder", raw, {"title"}, {}, &args, &status)) return status;
  if (!args.words.empty()) return UsageError(CommandNamed("folder"), "takes options only");
  RegisterUiBackends();
  std::string path = FileRequester().GetFolderName(args.Value("title", "Please Select a Folder"));
  if (path.empty()) return 1;
  std::printf("%s\n", path.c_str());
  return 0;
}

}  // namespace qor::tool
