// What every file that people name is read within, whoever reads it: a topology, an inventory, a recording, a state, a
// library. Begin here with anything that reads a file: nothing is read without an end, however long, slow or deep it
// is.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace input {

struct Limits {
  size_t mebibytes;           ///< of a file
  std::chrono::seconds wait;  ///< for the end of a pipe or a device
  size_t depth;               ///< of values within values of JSON
  size_t keys;                ///< of one JSON object
};
inline constexpr Limits kLimits{32, std::chrono::seconds{10}, 100, 1000};

/// Reads what an open file has to give, up to its end.
///
/// @param descriptor  borrowed; opened with O_NONBLOCK, so that a pipe without a writer is waited for no longer either
/// @param mistake     receives why there is no text
[[nodiscard]] std::optional<std::string> readWhole(int descriptor, std::string& mistake);

/// What is said of JSON that is nested deeper than that, or has an object with more keys.
[[nodiscard]] std::string tooDeep();
[[nodiscard]] std::string tooManyKeys();

}  // namespace input
