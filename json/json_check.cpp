// Follows the parser from value to value, without keeping any.
#include "json/json_check.h"

#include <cstddef>
#include <nlohmann/json.hpp>
#include <set>
#include <vector>

#include "json/input.h"

namespace input {
namespace {

using nlohmann::json;

std::string moreThan(size_t limit, const char* what) {
  return "more than " + std::to_string(limit) + " " + what;
}

/// The parser's message, without the library's own numbering and with what it read last cut short.
std::string syntaxError(std::string message, const std::string& lastRead) {
  constexpr std::string_view kBefore = "parse error at ";
  const size_t start = message.find(kBefore);
  if (start != std::string::npos) message.erase(0, start + kBefore.size());
  const size_t quoted = message.rfind(lastRead);
  if (quoted != std::string::npos) message.replace(quoted, lastRead.size(), cut(lastRead));
  return message;
}

/// Every call returns false to end the parsing, with the mistake kept.
class Check final : public nlohmann::json_sax<json> {
 public:
  [[nodiscard]] const std::optional<std::string>& mistake() const { return mistake_; }

  bool null() override { return seeScalar(); }
  bool boolean(bool) override { return seeScalar(); }
  bool number_integer(number_integer_t) override { return seeScalar(); }
  bool number_unsigned(number_unsigned_t) override { return seeScalar(); }
  bool number_float(number_float_t, const string_t&) override { return seeScalar(); }
  bool string(string_t&) override { return seeScalar(); }
  bool binary(binary_t&) override { return seeScalar(); }
  bool start_object(size_t) override { return begin() && open(false); }
  bool start_array(size_t) override { return begin() && open(true); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

  bool key(string_t& key) override {
    Level& level = levels_.back();
    level.key = key;
    if (!level.keys.insert(key).second) return refuse(path() + ": duplicate key");
    return level.keys.size() <= kLimits.keys || refuse("an object has " + moreThan(kLimits.keys, "keys"));
  }

  bool parse_error(size_t, const std::string& lastRead, const json::exception& error) override {
    const bool isNumber = dynamic_cast<const json::out_of_range*>(&error) != nullptr;
    return refuse(isNumber ? path() + ": must be a number that fits 64 bits" : syntaxError(error.what(), lastRead));
  }

 private:
  /// An object or an array around the value that is read.
  struct Level {
    bool isArray = false;
    size_t index = 0;
    std::string key;
    std::set<std::string> keys;
  };

  bool refuse(const std::string& mistake) {
    mistake_ = mistake;
    return false;
  }

  /// JSON pointer of the value that is read.
  [[nodiscard]] std::string path() const {
    std::string path;
    for (const Level& level : levels_) path += pointerPart(level.isArray ? std::to_string(level.index) : level.key);
    return path.empty() ? "/" : path;
  }

  bool begin() {
    if (++values_ > kLimits.values) return refuse("the document has " + moreThan(kLimits.values, "values"));
    const bool isOneTooMany = !levels_.empty() && levels_.back().isArray && levels_.back().index == kLimits.elements;
    return !isOneTooMany || refuse("an array has " + moreThan(kLimits.elements, "elements"));
  }

  bool end() {
    if (!levels_.empty()) ++levels_.back().index;
    return true;
  }

  bool seeScalar() { return begin() && end(); }

  bool open(bool isArray) {
    levels_.push_back({isArray, 0, {}, {}});
    return levels_.size() <= kLimits.depth ||
           refuse("values are nested deeper than " + std::to_string(kLimits.depth) + " levels");
  }

  bool close() {
    levels_.pop_back();
    return end();
  }

  std::vector<Level> levels_;
  size_t values_ = 0;
  std::optional<std::string> mistake_;
};

}  // namespace

std::optional<std::string> mistakeInJson(const std::string& text) {
  if (text.empty()) return "it is empty";
  Check check;
  json::sax_parse(text, &check);
  return check.mistake();
}

std::string pointerPart(std::string_view key) {
  const std::string quoted = json(cut(key)).dump(-1, ' ', true, json::error_handler_t::replace);
  std::string text = "/";
  for (const char c : std::string_view(quoted).substr(1, quoted.size() - 2)) {
    if (c == '~') {
      text += "~0";
    } else if (c == '/') {
      text += "~1";
    } else {
      text += c;
    }
  }
  return text;
}

}  // namespace input
