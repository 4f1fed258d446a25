// One JSON object of a file, taken apart key by key: what is missing, of a wrong type, out of range or unknown
// becomes a mistake with its JSON pointer, and reading goes on.
#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "json/mistakes.h"

namespace input {

/// A key that is optional keeps the value that the field had before.
enum class Need { optional, required };

/// A value as a message shows it.
[[nodiscard]] std::string shown(const nlohmann::json& value);

class JsonObject {
 public:
  /// @param path  JSON pointer of `value`, which need not be an object: that is the first mistake then
  JsonObject(const nlohmann::json& value, std::string path, Mistakes& mistakes);

  template <typename Number>
  bool number(const char* key, Number& field, Need need,
              std::type_identity_t<Number> least = std::numeric_limits<Number>::min(),
              std::type_identity_t<Number> most = std::numeric_limits<Number>::max()) {
    const nlohmann::json* found = find(key, need);
    return found != nullptr && wholeNumber({*found, pathOf(key)}, field, least, most);
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

  /// List of whole numbers.
  template <typename Number>
  void numbers(const char* key, std::vector<Number>& field, Need need) {
    for (const Element& element : list(key, need))
      wholeNumber(element, field.emplace_back(), std::numeric_limits<Number>::min(),
                  std::numeric_limits<Number>::max());
  }

  /// @return the value, or null when the key is not there
  const nlohmann::json* find(const char* key, Need need);

  /// Reports the keys that nobody asked for.
  /// @param reason  what they are
  void refuseUnknownKeys(std::string_view reason = "unknown key");

  void refuse(const char* key, std::string_view reason) { mistakes_.add(pathOf(key), reason); }
  [[nodiscard]] std::string pathOf(std::string_view key) const;
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  template <typename Number>
  bool wholeNumber(const Element& element, Number& field, Number least, Number most) {
    const nlohmann::json& value = element.value;
    // A whole number is held as unsigned unless it is negative.
    const bool fits =
        value.is_number_unsigned()
            ? std::cmp_greater_equal(value.get<uint64_t>(), least) && std::cmp_less_equal(value.get<uint64_t>(), most)
            : value.is_number_integer() && std::cmp_greater_equal(value.get<int64_t>(), least) &&
                  std::cmp_less_equal(value.get<int64_t>(), most);
    if (fits) {
      field = value.get<Number>();
    } else {
      mistakes_.add(element.path, "must be a whole number from " + std::to_string(least) + " to " +
                                      std::to_string(most) + ", not " + shown(value));
    }
    return fits;
  }

  const nlohmann::json& value_;
  std::string path_;
  Mistakes& mistakes_;
  std::vector<std::string_view> known_;  // literals
};

/// @return `; did you mean "NAME"?` with the candidate that differs in at most two places; empty when there is none
[[nodiscard]] std::string suggestion(std::string_view name, std::span<const std::string_view> candidates);

}  // namespace input
