#include "command.h"

#include <cstdio>

namespace qor::tool {

const std::vector<Command>& Commands() {
  static const std::vector<Command> commands = {
      {"automation", "serve the library's classes as JSON lines on stdin/stdout",
       "usage: qor automation\n"
       "\n"
       "Reads one JSON request per line from standard input and writes one reply per\n"
       "line to standard output (create, call, get, set, release, answers). Dialogs\n"
       "are answered from queued answers, else with their default answer, and are\n"
       "reported in each reply's \"ui\" list.\n",
       &RunAutomation},
      {"demo", "show the library's message boxes on the current user interface",
       "usage: qor demo\n"
       "\n"
       "Sets the application name and shows each kind of message box and report once.\n"
       "Without a display (or with QOR_UI=headless) the boxes are written to standard\n"
       "error and answered with their default button.\n",
       &RunDemo},
      {"reg", "export, import, read, write, list, clone and delete registry keys",
       "usage: qor reg export KEY FILE [--append]\n"
       "       qor reg import FILE\n"
       "       qor reg get KEY NAME\n"
       "       qor reg set KEY NAME TEXT | qor reg set KEY NAME --dword NUMBER\n"
       "       qor reg list KEY\n"
       "       qor reg clone KEY DESTKEY\n"
       "       qor reg delete KEY\n"
       "\n"
       "KEY is a root and a path, as HKEY_CURRENT_USER\\Software\\Acme or\n"
       "HKCU\\Software\\Acme (HKCR, HKCU, HKLM, HKU, HKCC). The registry lives in\n"
       "SQLite files in $QOR_REGISTRY_DIR, else HKEY_CURRENT_USER in\n"
       "$XDG_CONFIG_HOME/qorSupport/registry and the other roots in\n"
       "/var/lib/qorSupport/registry. FILE is the registry export file.\n",
       &RunRegistry},
      {"ini", "read and write INI file entries",
       "usage: qor ini get FILE SECTION KEY\n"
       "       qor ini set FILE SECTION KEY [VALUE]\n"
       "\n"
       "get prints the entry (a blank SECTION lists the sections, a blank KEY the\n"
       "section's keys, one a line); set writes it, or deletes it without a VALUE.\n"
       "A FILE without a folder lives in $QOR_INI_DIR, else\n"
       "$XDG_CONFIG_HOME/qorSupport.\n",
       &RunIni},
  };
  return commands;
}

int UsageError(const Command& command, const std::string& message) {
  std::fprintf(stderr, "qor %s: %s\nTry 'qor %s --help'.\n", command.name, message.c_str(),
               command.name);
  return 2;
}

bool WantsHelp(const std::vector<std::string>& args) {
  for (const std::string& a : args) {
    if (a == "-h" || a == "--help") return true;
  }
  return false;
}

}  // namespace qor::tool
