// Looks at a file before the loader does, so that what cannot be loaded is refused with its reason.
#pragma once

#include <string>

namespace host {

/// Reads a shared object that is to be loaded.
///
/// @param kind  what it is to be ("plugin"), as messages begin
/// @param path  where it lies, as messages have it
/// @return the whole file
/// @throws Refusal  "KIND PATH: REASON": it is no regular file, cannot be read, is no ELF file, is built for another
///                  class, or is cut
[[nodiscard]] std::string readLoadable(const std::string& kind, const std::string& path);

/// Whether a file is an ELF file, but not of this program's class: the loader passes such a file over where it
/// searches.
[[nodiscard]] bool isOfOtherClass(const std::string& path);

/// The same name with a slash in it: without one it would be searched for in the system's library directories.
[[nodiscard]] std::string loadablePath(const std::string& file);

/// The folder of this program, with a slash at its end.
[[nodiscard]] std::string programFolder();

}  // namespace host
