// Bytes and texts as JSON.
#include "host/recording/values.h"

#include <algorithm>

#include "simulator/hex.h"

namespace host::recording {

/// Shorter runs of zeros are written as they are.
constexpr size_t kShortestRun = 8;

Json bytesToJson(std::span<const uint8_t> bytes) {
  Json list = Json::array();
  auto shown = bytes.begin();  // up to here it is in the list
  for (auto at = bytes.begin(); at != bytes.end();) {
    const auto end = std::find_if(at, bytes.end(), [](uint8_t byte) { return byte != 0; });
    const auto zeros = static_cast<size_t>(end - at);
    if (zeros >= kShortestRun) {
      if (shown != at) list.push_back(simulator::toHex({shown, at}));
      list.push_back(zeros);
      shown = end;
    }
    at = std::find(end, bytes.end(), uint8_t{0});
  }
  if (shown != bytes.end()) list.push_back(simulator::toHex({shown, bytes.end()}));
  return list;
}

Bytes bytesOf(const JsonNode& node, size_t length) {
  Bytes bytes;
  for (const JsonNode& element : node.elements()) {
    if (element.json().is_number()) {
      const auto zeros = element.number<uint32_t>();
      if (zeros > length - bytes.size()) node.refuse("must be " + std::to_string(length) + " bytes, not more");
      bytes.resize(bytes.size() + zeros);
      continue;
    }
    const auto part = simulator::fromHex(element.text());
    if (!part) element.refuse("must be hexadecimal, two digits a byte");
    bytes.insert(bytes.end(), part->begin(), part->end());
    if (bytes.size() > length) node.refuse("must be " + std::to_string(length) + " bytes, not more");
  }
  if (bytes.size() != length) {
    node.refuse("must be " + std::to_string(length) + " bytes, not " + std::to_string(bytes.size()));
  }
  return bytes;
}

Json textToJson(std::string_view bytes) {
  std::string text;
  for (const char character : bytes) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x80) {
      text += character;
    } else {
      text += static_cast<char>(0xC0 | byte >> 6);
      text += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return text;
}

std::string textOf(const JsonNode& node) {
  if (!node.json().is_string()) node.refuse("must be a text");
  const auto& text = node.json().get_ref<const std::string&>();
  std::string bytes;
  for (size_t at = 0; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (byte < 0x80) {
      bytes += text[at];
      continue;
    }
    // The parser takes well-formed UTF-8 alone, so the second byte is there.
    if (byte > 0xC3) node.refuse("must have no character beyond U+00FF");
    bytes += static_cast<char>((byte & 0x03) << 6 | (static_cast<unsigned char>(text[++at]) & 0x3F));
  }
  return bytes;
}

}  // namespace host::recording
