// What is wrong with JSON text before anything is made of it. Begin here with anything that reads JSON: the parser
// itself lets the last of two equal keys win, and takes time and memory without an end.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace input {

/// @return nothing when the text can be parsed, within the limits; else "PLACE: REASON", where the place is line and
///         column or a JSON pointer, or the reason alone when it is about the whole
[[nodiscard]] std::optional<std::string> mistakeInJson(const std::string& text);

/// A key as a part of a JSON pointer, with the slash before it, spelt in ASCII as JSON spells texts.
[[nodiscard]] std::string pointerPart(std::string_view key);

}  // namespace input
