// Looks into a shared object without loading it: whether it is whole, and which names it needs from others.
#pragma once

#include <string>
#include <vector>

namespace host {

/// The undefined names of a shared object's dynamic symbol table.
///
/// @param file  the whole content of a little-endian ELF file of either class
/// @return the names; none for anything that is no such file, that is cut, or that has no section headers
[[nodiscard]] std::vector<std::string> undefinedSymbols(const std::string& file);

/// Whether the file ends before what a loader would map of it: loading such a file ends the program.
///
/// @param file  as for undefinedSymbols
/// @return false for anything that is no such file
[[nodiscard]] bool isCut(const std::string& file);

}  // namespace host
