#include "automation/host.h"
#include "command.h"

namespace qor::tool {

int RunAutomation(const std::vector<std::string>& args) {
  if (!args.empty()) return UsageError(Commands()[0], "takes no arguments");
  automation::Host host;
  return host.RunOnStandardStreams();
}

}  // namespace qor::tool
