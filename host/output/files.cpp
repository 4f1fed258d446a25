// Asks the system what files are, by calls that files of any size and number pass through.
#include "host/output/files.h"

#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <memory>

#include "simulator/link_target.h"

namespace host {
namespace {

/// Empty when it is not there.
std::string realPath(const std::string& path) {
  const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
  return real == nullptr ? "" : real.get();
}

}  // namespace

std::optional<struct stat64> statusOf(const std::string& file) {
  struct stat64 status = {};
  return stat64(file.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

std::string absolutePath(const std::string& file) {
  const std::string path = simulator::behindLinks(file);
  const size_t name = path.rfind('/') + 1;  // none: 0
  if (const std::string folder = realPath(name == 0 ? "." : path.substr(0, name)); !folder.empty()) {
    return (folder == "/" ? "" : folder) + "/" + path.substr(name);
  }
  return path.starts_with('/') ? path : realPath(".") + "/" + path;
}

bool areSameFile(const std::string& one, const std::string& other) {
  const auto first = statusOf(one);
  const auto second = statusOf(other);
  if (first && second) return first->st_dev == second->st_dev && first->st_ino == second->st_ino;
  return !first && !second && absolutePath(one) == absolutePath(other);
}

std::optional<std::vector<std::string>> namesIn(const std::string& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
  if (entries == nullptr) return std::nullopt;
  std::vector<std::string> names;
  errno = 0;
  while (const dirent64* entry = readdir64(entries.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return errno == 0 ? std::optional(names) : std::nullopt;
}

}  // namespace host
