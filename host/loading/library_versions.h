// How new the system's libraries have to be for a shared object, and whether they are so here.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host {

/// The newest version of a family that a file needs.
struct NewestVersion {
  std::string name;     ///< "GLIBC_2.34"
  std::string library;  ///< "libc.so.6"
  std::optional<bool>
      isHere;  ///< whether the library that this program has defines it; nothing: it has no such library
};

/// Of the C library (GLIBC), the C++ library (GLIBCXX) and its runtime (CXXABI), as far as the file needs them.
/// @param file  the whole content of a file
[[nodiscard]] std::vector<NewestVersion> newestVersions(const std::string& file);

}  // namespace host
