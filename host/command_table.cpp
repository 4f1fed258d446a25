// The table of all commands.
#include "host/command.h"
#include "host/commands/commands.h"

namespace host {

std::vector<std::unique_ptr<Command>> allCommands() {
  std::vector<std::unique_ptr<Command>> commands;
  commands.push_back(makeListCommand());
  commands.push_back(makeInfoCommand());
  return commands;
}

}  // namespace host
