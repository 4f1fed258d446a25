// The help, laid out from the tables of options.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/command.h"

namespace host {

/// What the program is for, in a sentence.
inline constexpr const char* kPurpose =
    "A host for storage plugins: loads one as the storage daemon does and shows what it answers.";

/// @param options  of every command
[[nodiscard]] std::string programHelp(const std::vector<Option>& options,
                                      const std::vector<std::unique_ptr<Command>>& commands);

[[nodiscard]] std::string commandHelp(Command& command);

}  // namespace host
