// Where links lead, also when nothing is there yet.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

namespace simulator {

/// @param file  a path; links in its folders are left to whoever opens it
/// @return the file behind the links of that name, which need not exist
[[nodiscard]] inline std::string behindLinks(const std::string& file) {
  constexpr int kMostLinks = 40;  // as the system follows them
  std::error_code error;
  std::filesystem::path path = file;
  for (int links = 0; links < kMostLinks && is_symlink(symlink_status(path, error)); ++links) {
    path = path.parent_path() / read_symlink(path, error);
  }
  return path;
}

}  // namespace simulator
