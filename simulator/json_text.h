// Parses the JSON text of a topology file.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "simulator/mistakes.h"

namespace simulator {

/// A syntax error is a mistake with its line and column, a number beyond what can be held one with its JSON pointer,
/// and the value is null then; a key that is twice in an object is one with its JSON pointer.
[[nodiscard]] nlohmann::json parseJson(const std::string& text, Mistakes& mistakes);

/// A key as a part of a JSON pointer, with the slash before it.
[[nodiscard]] std::string pointerPart(std::string_view key);

}  // namespace simulator
