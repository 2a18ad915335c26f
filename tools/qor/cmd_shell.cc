// qor printers, qor open and qor print: the shell subsystem from the
// command line.

#include <cstdio>
#include <string_view>

#include "command.h"
#include "qorsupport/shell/platform.h"
#include "qorsupport/shell/printer.h"

namespace qor::tool {

namespace {

const Command& Find(std::string_view name) {
  for (const Command& command : Commands()) {
    if (name == command.name) return command;
  }
  return Commands().front();
}

const char* ShellFailureText(int number) {
  switch (number) {
    case shell::kShellFileNotFound:
      return "no such file";
    case shell::kShellPathNotFound:
      return "no such folder";
    case shell::kShellAccessDenied:
      return "the file cannot be read, or the job was refused";
    case shell::kShellAssocIncomplete:
      return "the application cannot be started";
    case shell::kShellNoAssociation:
      return "no application for this type, or no printer";
  }
  return "failed";
}

// Hands each file to the document shell with the verb.
int RunDocuments(const Command& command, const char* verb, const std::vector<std::string>& args) {
  if (args.empty()) return UsageError(command, "names no file");
  int status = 0;
  for (const std::string& file : args) {
    int result = shell::XdgDocumentShell().Execute(verb, file);
    if (result <= 32) {
      std::fprintf(stderr, "qor %s: %s: %s (%d)\n", command.name, file.c_str(),
                   ShellFailureText(result), result);
      status = 1;
    }
  }
  return status;
}

}  // namespace

int RunPrinters(const std::vector<std::string>& args) {
  const Command& command = Find("printers");
  qorWinAPIPrinter printers;
  if (args.empty()) {
    Variant list(Array(VarType::kString, {{0, -1}}));
    if (!printers.GetPrinters(list)) return 0;
    Variant current = printers.GetDefaultPrinter();
    for (const Variant& device : list.AsArray().elements()) {
      bool is_default = !current.IsNull() && current == device;
      std::printf("%s%s\n", device.AsString().c_str(), is_default ? "  (default)" : "");
    }
    return 0;
  }
  if (args[0] == "--default" && args.size() == 1) {
    Variant current = printers.GetDefaultPrinter();
    if (current.IsNull()) {
      std::fprintf(stderr, "qor printers: no default printer\n");
      return 1;
    }
    std::printf("%s\n", current.AsString().c_str());
    return 0;
  }
  if (args[0] == "--set" && args.size() == 2) {
    if (printers.SetDefaultPrinter(Variant(args[1]))) return 0;
    std::fprintf(stderr, "qor printers: cannot make %s the default printer\n", args[1].c_str());
    return 1;
  }
  return UsageError(command, "unknown arguments");
}

int RunOpen(const std::vector<std::string>& args) {
  return RunDocuments(Find("open"), "open", args);
}

int RunPrint(const std::vector<std::string>& args) {
  return RunDocuments(Find("print"), "print", args);
}

}  // namespace qor::tool
