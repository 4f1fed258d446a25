// The constructors of the program's commands, one a file of this folder.
#pragma once

#include <memory>

#include "host/command.h"

namespace host {

[[nodiscard]] std::unique_ptr<Command> makeListCommand();
[[nodiscard]] std::unique_ptr<Command> makeInfoCommand();

}  // namespace host
