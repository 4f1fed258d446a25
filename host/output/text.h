// Small pieces of text for people: what is unknown, numbers with their noun, lists, lines, and device texts made safe
// for a terminal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// What stands in a table where nothing is known.
inline constexpr const char* kUnknown = "-";

/// A device's text with every byte as "\xNN" that is not printable in the process's locale, so that it cannot steer a
/// terminal: of UTF-8 what may change the direction of the text around it, too.
[[nodiscard]] std::string printable(std::string_view text);

/// The places that a printable text takes on a terminal.
[[nodiscard]] size_t textWidth(const std::string& text);

/// ASCII letters in lower case.
[[nodiscard]] std::string lowerCase(std::string text);

/// "1 drive", "3 drives".
[[nodiscard]] std::string counted(size_t number, const std::string& noun);

/// "1,088".
[[nodiscard]] std::string grouped(size_t number);

/// The text on lines of so many characters; a longer word has a line of its own.
[[nodiscard]] std::vector<std::string> wrapped(const std::string& text, size_t columns);

/// "0x1f".
[[nodiscard]] std::string hex(uint64_t value);

/// The text made printable, or kUnknown.
[[nodiscard]] std::string orUnknown(const std::optional<std::string>& text);

/// The texts that are not empty, with the separator between them.
[[nodiscard]] std::string joined(const std::vector<std::string>& texts, const std::string& separator = ", ");

/// The number in decimal, or kUnknown.
template <typename Number>
[[nodiscard]] std::string orUnknown(const std::optional<Number>& number) {
  return number ? std::to_string(*number) : kUnknown;
}

}  // namespace host
