// Reads which names a shared object needs from others, without loading it.
#pragma once

#include <string>
#include <vector>

namespace host {

/// The undefined names of a shared object's dynamic symbol table.
///
/// @param file  the whole content of a little-endian ELF file of either class
/// @return the names; none for anything that is no such file, that is cut, or that has no section headers
[[nodiscard]] std::vector<std::string> undefinedSymbols(const std::string& file);

}  // namespace host
