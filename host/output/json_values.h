// Values of the program's documents: null for the unknown, texts whose bytes are no UTF-8.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "host/output/json.h"

namespace host {

/// The value, or null.
template <typename Value>
[[nodiscard]] Json orNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json(nullptr);
}

/// The text, or null.
[[nodiscard]] inline Json orNull(const char* text) {
  return text == nullptr ? Json(nullptr) : Json(text);
}

/// The text with U+FFFD for what is no UTF-8, as a document has it.
[[nodiscard]] std::string utf8Of(const std::string& text);

}  // namespace host
