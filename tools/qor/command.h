// The subcommands of the qor program.
//
// Each subcommand is one entry in the table of Commands(): its name, a one
// line summary for `qor --help`, its own usage text, and the function that
// runs it. A subcommand returns the process's exit status: 0 on success,
// 1 when the work failed, 2 for a usage error.

#ifndef QOR_TOOLS_QOR_COMMAND_H_
#define QOR_TOOLS_QOR_COMMAND_H_

#include <string>
#include <vector>

namespace qor::tool {

struct Command {
  const char* name;
  const char* summary;
  const char* usage;
  int (*run)(const std::vector<std::string>& args);
};

const std::vector<Command>& Commands();
// The command of that name (the first one when there is none).
const Command& FindCommand(const char* name);

// Prints "qor <name>: <message>" and the usage hint to stderr; returns 2.
int UsageError(const Command& command, const std::string& message);
// Whether args ask for help (-h or --help).
bool WantsHelp(const std::vector<std::string>& args);

int RunAutomation(const std::vector<std::string>& args);
int RunDemo(const std::vector<std::string>& args);
int RunMsgBox(const std::vector<std::string>& args);
int RunInput(const std::vector<std::string>& args);
int RunList(const std::vector<std::string>& args);
int RunCalendar(const std::vector<std::string>& args);
int RunMenu(const std::vector<std::string>& args);
int RunRequester(const std::vector<std::string>& args);
int RunFile(const std::vector<std::string>& args);
int RunFolder(const std::vector<std::string>& args);
int RunRichText(const std::vector<std::string>& args);
int RunPrinters(const std::vector<std::string>& args);
int RunOpen(const std::vector<std::string>& args);
int RunPrint(const std::vector<std::string>& args);
int RunRegistry(const std::vector<std::string>& args);
int RunIni(const std::vector<std::string>& args);
int RunSchema(const std::vector<std::string>& args);
int RunDb(const std::vector<std::string>& args);
int RunMigrate(const std::vector<std::string>& args);
int RunDeploy(const std::vector<std::string>& args);

}  // namespace qor::tool

#endif  // QOR_TOOLS_QOR_COMMAND_H_
