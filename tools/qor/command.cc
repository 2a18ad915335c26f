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
