// One JSON object of a file, taken apart key by key: what is missing, of a wrong type, out of range or unknown
// becomes a mistake with its JSON pointer, and reading goes on.
#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "json/mistakes.h"

namespace input {

/// A key that is optional keeps the value that the field had before.
enum class Need { optional, required };

class JsonObject {
 public:
  /// @param path  JSON pointer of `value`, which need not be an object: that is the first mistake then
  JsonObject(const nlohmann::json& value, std::string path, Mistakes& mistakes);

  template <typename Number>
  bool number(const char* key, Number& field, Need need, uint64_t least = 0,
              uint64_t most = std::numeric_limits<Number>::max()) {
    uint64_t value = field;
    if (!wholeNumber(key, value, need, least, most)) return false;
    field = static_cast<Number>(value);
    return true;
  }
  bool flag(const char* key, bool& field, Need need);
  bool text(const char* key, std::string& field, Need need, size_t least, size_t most);

  /// Text of hexadecimal digits, two a byte.
  bool bytes(const char* key, std::vector<uint8_t>& field, Need need);

  /// Text of hexadecimal digits that fills the field.
  bool hex(const char* key, std::span<uint8_t> field, Need need);

  /// @return the elements of an array, each with its path; empty when there is none
  struct Element {
    const nlohmann::json& value;
    std::string path;
  };
  std::vector<Element> list(const char* key, Need need);

  /// @return the value, or null when the key is not there
  const nlohmann::json* find(const char* key, Need need);

  /// Reports the keys that nobody asked for.
  /// @param reason  what they are
  void refuseUnknownKeys(std::string_view reason = "unknown key");

  void refuse(const char* key, std::string_view reason) { mistakes_.add(pathOf(key), reason); }
  [[nodiscard]] std::string pathOf(std::string_view key) const;
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  bool wholeNumber(const char* key, uint64_t& value, Need need, uint64_t least, uint64_t most);

  const nlohmann::json& value_;
  std::string path_;
  Mistakes& mistakes_;
  std::vector<std::string_view> known_;  // literals
};

/// A value as a message shows it.
[[nodiscard]] std::string shown(const nlohmann::json& value);

/// @return `; did you mean "NAME"?` with the candidate that differs in at most two places; empty when there is none
[[nodiscard]] std::string suggestion(std::string_view name, std::span<const std::string_view> candidates);

}  // namespace input
