// Where links lead, also when nothing is there yet.
#pragma once

#include <array>
#include <climits>
#include <string>
#include <unistd.h>

namespace simulator {

/// @param file  a path; links in its folders are left to whoever opens it
/// @return the file behind the links of that name, which need not exist
[[nodiscard]] inline std::string behindLinks(const std::string& file) {
  constexpr int kMostLinks = 40;  // as the system follows them
  std::string path = file;
  for (int links = 0; links < kMostLinks; ++links) {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    if (length < 0) break;
    const bool fromTheRoot = target[0] == '/';
    const size_t folder = fromTheRoot ? 0 : path.rfind('/') + 1;  // none: also 0
    path = path.substr(0, folder) + std::string(target.data(), static_cast<size_t>(length));
  }
  return path;
}

}  // namespace simulator
