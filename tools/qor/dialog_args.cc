#include "dialog_args.h"

#include <dlfcn.h>

#include <cstring>

#include "qorsupport/dialogs/forms.h"

namespace qor::tool {

std::string DialogArgs::Value(const std::string& name, const std::string& fallback) const {
  auto it = values.find(name);
  return it == values.end() ? fallback : it->second;
}

const Command& CommandNamed(const char* name) {
  for (const Command& command : Commands()) {
    if (std::strcmp(command.name, name) == 0) return command;
  }
  return Commands().front();
}

bool ParseDialogArgs(const char* command, const std::vector<std::string>& args,
                     const std::set<std::string>& value_options,
                     const std::set<std::string>& switch_options, DialogArgs* out, int* status) {
  bool options_done = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (options_done || arg.size() < 3 || arg.compare(0, 2, "--") != 0) {
      out->words.push_back(arg);
      continue;
    }
    if (arg == "--") {
      options_done = true;
      continue;
    }
    std::string name = arg.substr(2);
    if (value_options.count(name) || name == "app") {
      if (i + 1 >= args.size()) {
        *status = UsageError(CommandNamed(command), "option " + arg + " needs a value");
        return false;
      }
      out->values[name] = args[++i];
    } else if (switch_options.count(name)) {
      out->switches.insert(name);
    } else {
      *status = UsageError(CommandNamed(command), "unknown option " + arg);
      return false;
    }
  }
  if (out->values.count("app")) qorForms().SetAppName(Variant(out->values["app"]));
  return true;
}

void RegisterUiBackends() {
#ifdef QOR_QT_LIBRARY
  // The Qt backend's library registers its maker "qt" when it is loaded;
  // without it the dialogs stay headless, as without a display.
  static void* const qt = ::dlopen(QOR_QT_LIBRARY, RTLD_NOW | RTLD_GLOBAL);
  (void)qt;
#endif
}

}  // namespace qor::tool
