// The table of all commands.
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
  commands.push_back(makeLocateCommand());
  commands.push_back(makeCacheCommand());
  commands.push_back(makeDrivesCommand());
  commands.push_back(makeTraceCommand());
  commands.push_back(makePluginCommand());
  commands.push_back(makeCheckCommand());
  return commands;
}

}  // namespace host
