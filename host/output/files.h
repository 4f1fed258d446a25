// What files are: where a name leads, which names mean the same one, what a folder holds.
#pragma once

#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace host {

/// @return the record of the file behind the links of that name; nothing, with errno set, when there is none
[[nodiscard]] std::optional<struct stat64> statusOf(const std::string& file);

/// @return the whole path of the file behind the links of that name, which need not be there; without links and
///         dots when its folder is there
[[nodiscard]] std::string absolutePath(const std::string& file);

/// Whether two names mean one file. Of two that are not there yet, the path tells.
[[nodiscard]] bool areSameFile(const std::string& one, const std::string& other);

/// @return the names in a folder, without the folder itself and the one above; nothing, with errno set, when it cannot
///         be read
[[nodiscard]] std::optional<std::vector<std::string>> namesIn(const std::string& folder);

}  // namespace host
