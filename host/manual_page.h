// The manual page of the program, made from the command line that it reads.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/command.h"

namespace host {

/// @param app  the command line, with a subcommand for each of the commands
/// @return the page dmu-host(1) as source for man
[[nodiscard]] std::string manualPage(const CLI::App& app, const std::vector<std::unique_ptr<Command>>& commands);

}  // namespace host
