// qor: the command-line program of the qorSupport library.

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "command.h"
#include "dialog_args.h"
#include "qorsupport/frame/error.h"
#include "qorsupport/version.h"

namespace {

void PrintHelp() {
  std::printf("usage: qor <command> [arguments]\n\nCommands:\n");
  for (const auto& command : qor::tool::Commands()) {
    std::printf("  %-12s %s\n", command.name, command.summary);
  }
  std::printf("\nRun 'qor <command> --help' for a command's own arguments.\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "--help")) {
    PrintHelp();
    return argc < 2 ? 2 : 0;
  }
  if (!std::strcmp(argv[1], "--version")) {
    std::printf("qor %s\n", QORSUPPORT_VERSION);
    return 0;
  }
  // Help and version show no dialog and load no user interface.
  qor::tool::RegisterUiBackends();
  for (const auto& command : qor::tool::Commands()) {
    if (command.name == std::string(argv[1])) {
      std::vector<std::string> args(argv + 2, argv + argc);
      if (qor::tool::WantsHelp(args)) {
        std::fputs(command.usage, stdout);
        return 0;
      }
      try {
        return command.run(args);
      } catch (const qor::Error& e) {
        std::fprintf(stderr, "qor %s: error %d: %s\n", command.name, e.number(),
                     e.description().c_str());
        return 1;
      } catch (const std::exception& e) {
        std::fprintf(stderr, "qor %s: %s\n", command.name, e.what());
        return 1;
      }
    }
  }
  std::fprintf(stderr, "qor: unknown command '%s'\nTry 'qor --help'.\n", argv[1]);
  return 2;
}
