// Looks into a shared object without loading it: what it is built for, whether it is whole, its own name, and which
// libraries and names it needs from others.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host {

/// What an ELF file is built for.
struct ElfIdentity {
  int bits = 0;         ///< 32 or 64
  std::string machine;  ///< "x86", "x86-64", or "machine " and its number
  bool isShared = false;
};

/// @param file  the whole content of a file
/// @return nothing for anything that is no little-endian ELF file with a whole header
[[nodiscard]] std::optional<ElfIdentity> identifyElf(const std::string& file);

/// The names of the libraries that a shared object needs, in its own order.
/// @param file  as for undefinedSymbols
[[nodiscard]] std::vector<std::string> neededLibraries(const std::string& file);

/// The name under which other libraries need a shared object.
/// @param file  as for undefinedSymbols
/// @return empty: it has none
[[nodiscard]] std::string sonameOf(const std::string& file);

/// The undefined names of a shared object's dynamic symbol table.
///
/// @param file  the whole content of a little-endian ELF file of either class
/// @return the names; none for anything that is no such file, that is cut, or that has no section headers
[[nodiscard]] std::vector<std::string> undefinedSymbols(const std::string& file);

/// A version of a library's names, as linkers mark them.
struct SymbolVersion {
  std::string name;     ///< "GLIBC_2.34"
  std::string library;  ///< that has to define it: "libc.so.6"; empty: this one defines it
};

/// The versions that a shared object needs of others, and those that it defines, in its own order.
/// @param file  as for undefinedSymbols
[[nodiscard]] std::vector<SymbolVersion> neededVersions(const std::string& file);
[[nodiscard]] std::vector<SymbolVersion> definedVersions(const std::string& file);

/// Whether the file ends before what a loader would map of it: loading such a file ends the program.
///
/// @param file  as for undefinedSymbols
/// @return false for anything that is no such file
[[nodiscard]] bool isCut(const std::string& file);

}  // namespace host
