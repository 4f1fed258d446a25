// The manual page of the program, made from the tables of options.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/command.h"

namespace host {

/// @param options  of every command
/// @return the page dmu-host(1) as source for man
[[nodiscard]] std::string manualPage(const std::vector<Option>& options,
                                     const std::vector<std::unique_ptr<Command>>& commands);

}  // namespace host
