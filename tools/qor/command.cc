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
      {"printers", "list the printers, show or set the default printer",
       "usage: qor printers [--default | --set DEVICE]\n"
       "\n"
       "Without arguments lists the installed printers, one device text\n"
       "(name,driver,port) a line, the default marked \"(default)\". --default prints\n"
       "the default printer's device text; --set makes DEVICE (a device text, or just\n"
       "a printer's name) the user's default. Printers are the CUPS destinations of\n"
       "the server CUPS_SERVER names; the default is kept as `lpoptions -d` keeps it.\n",
       &RunPrinters},
      {"open", "open documents with the desktop's application for their type",
       "usage: qor open FILE...\n"
       "\n"
       "Hands each file to the application the desktop registers for its MIME type\n"
       "(desktop entries and mimeapps.list, as xdg-open chooses) and returns without\n"
       "waiting for it. Exits with 1 when a file could not be handed over.\n",
       &RunOpen},
      {"print", "print documents on the default printer",
       "usage: qor print FILE...\n"
       "\n"
       "Submits each file as a job to the default CUPS destination. Exits with 1 when\n"
       "a file could not be submitted (no such file, no default printer, a type the\n"
       "printer does not take).\n",
       &RunPrint},
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
