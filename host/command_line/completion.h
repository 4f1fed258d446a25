// What could stand next on the command line, for a shell that completes it (completion.bash), from the tables of
// options.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/command.h"

namespace host {

/// Nothing is asked of a plugin or a controller; what disks there are is read from files.
///
/// @param line      the command line up to the cursor, the program's name included
/// @param piece     the end of it that the shell is going to replace, without the quote before it
/// @param options   of every command
/// @param given     where these store what they find on the line
/// @return what the piece could become, quoted, each on a line; kFileFollows for the name of any file
[[nodiscard]] std::string completionsOf(const std::string& line, const std::string& piece,
                                        const std::vector<Option>& options, const GlobalOptions& given,
                                        const std::vector<std::unique_ptr<Command>>& commands);

inline constexpr const char* kFileFollows = "/";

}  // namespace host
