// The JSON type of the program's documents (keys in the order in which they are written) and null for the unknown.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>

namespace host {

using Json = nlohmann::ordered_json;

/// The value, or null.
template <typename Value>
[[nodiscard]] Json orNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json(nullptr);
}

}  // namespace host
