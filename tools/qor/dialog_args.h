// Argument parsing shared by the dialog subcommands: named options with a
// value (--title T), switches (--multi) and the remaining positional words.

#ifndef QOR_TOOLS_QOR_DIALOG_ARGS_H_
#define QOR_TOOLS_QOR_DIALOG_ARGS_H_

#include <map>
#include <set>
#include <string>
#include <vector>

#include "command.h"

namespace qor::tool {

struct DialogArgs {
  std::map<std::string, std::string> values;  // by option name without "--"
  std::set<std::string> switches;
  std::vector<std::string> words;

  std::string Value(const std::string& name, const std::string& fallback = "") const;
  bool Has(const std::string& name) const { return switches.count(name) > 0; }
};

// Parses args for the named command. value_options take the next word;
// "--" ends the options. Returns false after printing a usage error, with
// *status set to 2. Every command also takes --app NAME, the application
// name its titles start with.
bool ParseDialogArgs(const char* command, const std::vector<std::string>& args,
                     const std::set<std::string>& value_options,
                     const std::set<std::string>& switch_options, DialogArgs* out, int* status);

// The command's entry, for usage errors.
const Command& CommandNamed(const char* name);

// Makes the user interfaces beside the headless one selectable: loads the
// Qt backend's library (once), which registers its maker.
void RegisterUiBackends();

}  // namespace qor::tool

#endif  // QOR_TOOLS_QOR_DIALOG_ARGS_H_
