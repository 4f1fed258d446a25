// Takes what was given on the command line into the tables' targets.
#pragma once

#include "host/command_line/given_words.h"

namespace host {

/// @param options  of every command and of the one that was given
/// @throws WrongUsage  for what the tables do not allow
void takeValues(const GivenWords& given, const std::vector<Option>& options);

}  // namespace host
