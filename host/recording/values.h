// How a recording writes bytes and texts. docs/recording.md describes the file; begin with requests.h.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/json_node.h"

namespace host::recording {

using Bytes = std::vector<uint8_t>;

/// A list of hexadecimal texts and of numbers of zeros: [12, "0aff", 500].
[[nodiscard]] Json bytesToJson(std::span<const uint8_t> bytes);

/// @return the bytes
/// @throws Refusal  it is no such list, or does not have so many bytes
[[nodiscard]] Bytes bytesOf(const JsonNode& node, size_t length);

/// A text of any bytes: the character U+00NN stands for the byte NN.
[[nodiscard]] Json textToJson(std::string_view bytes);

/// @throws Refusal  it is no text, or has a character beyond U+00FF
[[nodiscard]] std::string textOf(const JsonNode& node);

}  // namespace host::recording
