// The help, laid out from the tables of commands and options.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/command.h"

namespace host {

/// What the program is for, in a line and in sentences.
inline constexpr const char* kPurpose = "look at the disks behind a storage plugin, and switch them";
inline constexpr const char* kExplanation =
    "dmu-host loads the plugin as the storage daemon does, on a real host or on a simulated one, and shows what it "
    "answers.";

/// Three command lines to begin with.
inline const std::vector<Example> kFirstExamples = {
    {"Which disks are there?", "dmu-host list"},
    {"What sits in that bay?", "dmu-host find 1I:1:8"},
    {"Let the drives of a volume blink for five minutes", "dmu-host locate vmhba2:1:1:0 on --seconds 300"}};

/// The help as wide as the terminal, and no wider than 80 characters.
///
/// @param options  of every command
[[nodiscard]] std::string programHelp(const std::vector<Option>& options,
                                      const std::vector<std::unique_ptr<Command>>& commands);
/// The columns of a command, a line each.
[[nodiscard]] std::string columnHelp(const Command& command);

[[nodiscard]] std::string commandHelp(const std::vector<Option>& options, Command& command);

/// The command line in general: "dmu-host locate [OPTION...] DEVICE...|--all on|off".
[[nodiscard]] std::string usageOf(Command& command);

}  // namespace host
