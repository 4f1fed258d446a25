// The table of all commands.
#include <algorithm>

#include "host/command.h"
#include "host/commands/commands.h"

namespace host {

std::vector<std::unique_ptr<Command>> allCommands() {
  std::vector<std::unique_ptr<Command>> commands;
  commands.push_back(makeListCommand());
  commands.push_back(makeInfoCommand());
  commands.push_back(makeFindCommand());
  commands.push_back(makeLocationCommand());
  commands.push_back(makeTemperatureCommand());
  commands.push_back(makeDrivesCommand());
  commands.push_back(makeInventoryCommand());
  commands.push_back(makeMetricsCommand());
  commands.push_back(makeLocateCommand());
  commands.push_back(makeCacheCommand());
  commands.push_back(makeRecordCommand());
  commands.push_back(makeAnonymizeCommand());
  commands.push_back(makeTopologyCommand());
  commands.push_back(makePluginCommand());
  commands.push_back(makeCheckCommand());
  commands.push_back(makeTraceCommand());
  return commands;
}

Command* findCommand(const std::vector<std::unique_ptr<Command>>& commands, const std::string& name) {
  const auto found =
      std::find_if(commands.begin(), commands.end(), [&](const auto& command) { return command->name() == name; });
  return found == commands.end() ? nullptr : found->get();
}

}  // namespace host
