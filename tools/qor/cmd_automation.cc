#include <iostream>

#include "automation/host.h"
#include "command.h"

namespace qor::tool {

int RunAutomation(const std::vector<std::string>& args) {
  if (!args.empty()) return UsageError(Commands()[0], "takes no arguments");
  std::ios::sync_with_stdio(false);
  automation::Host host;
  return host.Run(std::cin, std::cout);
}

}  // namespace qor::tool
