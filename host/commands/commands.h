// The constructors of the program's commands, one a file of this folder.
#pragma once

#include <memory>

#include "host/command.h"

namespace host {

[[nodiscard]] std::unique_ptr<Command> makeListCommand();
[[nodiscard]] std::unique_ptr<Command> makeInfoCommand();
[[nodiscard]] std::unique_ptr<Command> makeFindCommand();
[[nodiscard]] std::unique_ptr<Command> makeLocationCommand();
[[nodiscard]] std::unique_ptr<Command> makeTemperatureCommand();
[[nodiscard]] std::unique_ptr<Command> makeLocateCommand();
[[nodiscard]] std::unique_ptr<Command> makeCacheCommand();
[[nodiscard]] std::unique_ptr<Command> makeDrivesCommand();
[[nodiscard]] std::unique_ptr<Command> makeInventoryCommand();
[[nodiscard]] std::unique_ptr<Command> makeRecordCommand();
[[nodiscard]] std::unique_ptr<Command> makeMetricsCommand();
[[nodiscard]] std::unique_ptr<Command> makeTopologyCommand();
[[nodiscard]] std::unique_ptr<Command> makeAnonymizeCommand();
[[nodiscard]] std::unique_ptr<Command> makeTraceCommand();
[[nodiscard]] std::unique_ptr<Command> makePluginCommand();
[[nodiscard]] std::unique_ptr<Command> makeCheckCommand();

}  // namespace host
