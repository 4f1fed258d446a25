// What every file that people name is read within, whoever reads it: a topology, an inventory, a recording, a state, a
// library. Begin here with anything that reads a file: nothing is read without an end, however long, slow or deep it
// is.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace input {

struct Limits {
  size_t mebibytes;           ///< of a file
  std::chrono::seconds wait;  ///< for the end of a pipe or a device
  size_t depth;               ///< of values within values of JSON
  size_t keys;                ///< of one JSON object
  size_t elements;            ///< of one JSON array
  size_t values;              ///< of one JSON document, those within others included
};
inline constexpr Limits kLimits{32, std::chrono::seconds{10}, 100, 1000, 20'000, 2'000'000};

/// Reads a file up to its end. It is opened and closed by the C library, also in a process that has an `open` and a
/// `close` of its own, as the simulated host has for disk nodes.
///
/// @param mistake  receives why there is no text
[[nodiscard]] std::optional<std::string> readFile(const std::string& file, std::string& mistake);

/// A text of a file as a message quotes it: no more than its beginning when it is long.
[[nodiscard]] std::string cut(std::string_view text);

}  // namespace input
