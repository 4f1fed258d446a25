// What differs between two versions of a text for people.
#pragma once

#include <string>
#include <vector>

#include "host/output/terminal.h"

namespace host {

/// The lines with the marks of what changed: cells that differ in reverse, or an asterisk behind the line where nothing
/// may be coloured. Lines that came between others or went away do not make those others differ.
///
/// @param before  the lines as they were shown before, without marks
[[nodiscard]] std::vector<std::string> withChangesMarked(const std::vector<std::string>& before,
                                                         const std::vector<std::string>& lines,
                                                         const Terminal& terminal);

}  // namespace host
