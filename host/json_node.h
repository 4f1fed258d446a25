// One JSON value of a file with its place there, so that a mistake can be named.
#pragma once

#include <initializer_list>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/output/json.h"

namespace host {

class JsonNode {
 public:
  /// @param value  borrowed, as long as this object and the nodes made from it
  /// @param file   the file's name, as messages begin with it
  /// @param path   JSON path of the value; empty for the whole
  JsonNode(const Json& value, std::string file, std::string path = "")
      : value_(value), file_(std::move(file)), path_(std::move(path)) {}

  /// @throws Refusal  "FILE: PATH: REASON", as all of the functions below do
  [[noreturn]] void refuse(const std::string& reason) const;

  /// Refuses anything but an object whose keys are among those given.
  void mustBeObjectOf(std::initializer_list<std::string_view> keys) const;

  [[nodiscard]] bool has(const char* key) const { return value_.contains(key); }
  [[nodiscard]] JsonNode at(const char* key) const;
  [[nodiscard]] std::vector<JsonNode> elements() const;
  [[nodiscard]] std::string text() const;

  template <typename Number>
  [[nodiscard]] Number number() const {
    using Limits = std::numeric_limits<Number>;
    // A whole number is held as unsigned unless it is negative.
    const bool fits = value_.is_number_unsigned()
                          ? std::cmp_less_equal(value_.get<uint64_t>(), Limits::max())
                          : value_.is_number_integer() && std::cmp_greater_equal(value_.get<int64_t>(), Limits::min());
    if (!fits) {
      refuse("must be a whole number from " + std::to_string(Limits::min()) + " to " + std::to_string(Limits::max()));
    }
    return value_.get<Number>();
  }

  /// Reads an optional number; without it the value stays.
  template <typename Number>
  void readInto(const char* key, Number& value) const {
    if (has(key)) value = at(key).number<Number>();
  }

  [[nodiscard]] const Json& json() const { return value_; }
  [[nodiscard]] const std::string& file() const { return file_; }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  [[nodiscard]] JsonNode child(const std::string& key) const;

  const Json& value_;
  std::string file_;
  std::string path_;
};

}  // namespace host
