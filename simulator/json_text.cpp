// JSON text, with what its parser lets pass: a key that is twice in an object.
#include "simulator/json_text.h"

#include <exception>
#include <set>
#include <string_view>
#include <vector>

#include "json/input.h"

namespace simulator {
namespace {

using nlohmann::json;

struct TooDeep : std::exception {};

/// Follows the parser from value to value, and complains of a key that is twice in an object.
class ParserPlace {
 public:
  explicit ParserPlace(Mistakes& mistakes) : mistakes_(mistakes) {}

  /// JSON pointer of the value that comes next.
  [[nodiscard]] std::string path() const {
    std::string path;
    for (const Level& level : levels_) path += pointerPart(level.isList ? std::to_string(level.index) : level.key);
    return path.empty() ? "/" : path;
  }

  /// @throws TooDeep
  void see(json::parse_event_t event, const json& parsed) {
    switch (event) {
      case json::parse_event_t::object_start:
        open({});
        break;
      case json::parse_event_t::array_start:
        open({true, 0, {}, {}});
        break;
      case json::parse_event_t::key:
        seeKey(parsed.get<std::string>());
        break;
      case json::parse_event_t::object_end:
      case json::parse_event_t::array_end:
        levels_.pop_back();
        [[fallthrough]];
      case json::parse_event_t::value:
        if (!levels_.empty() && levels_.back().isList) ++levels_.back().index;
        break;
    }
  }

 private:
  struct Level {
    bool isList = false;
    size_t index = 0;
    std::string key;
    std::set<std::string> keys;
  };

  void open(Level level) {
    if (levels_.size() == input::kLimits.depth) throw TooDeep();
    levels_.push_back(std::move(level));
  }

  void seeKey(const std::string& key) {
    levels_.back().key = key;
    if (!levels_.back().keys.insert(key).second) mistakes_.add(path(), "duplicate key");
  }

  Mistakes& mistakes_;
  std::vector<Level> levels_;
};

/// A parser's message without the library's own numbering: "line 3, column 5" and "syntax error ...".
void addSyntaxError(const json::parse_error& error, Mistakes& mistakes) {
  const std::string_view message = error.what();
  constexpr std::string_view kBefore = "parse error at ";
  const size_t start = message.find(kBefore);
  const std::string_view rest = start != std::string_view::npos ? message.substr(start + kBefore.size()) : message;
  const size_t colon = rest.find(": ");
  if (colon == std::string_view::npos) return mistakes.add("syntax", rest);
  mistakes.add(rest.substr(0, colon), rest.substr(colon + 2));
}

}  // namespace

std::string pointerPart(std::string_view key) {
  std::string text = "/";
  for (const char c : key) {
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

json parseJson(const std::string& text, Mistakes& mistakes) {
  ParserPlace place(mistakes);
  try {
    return json::parse(text, [&](int, json::parse_event_t event, json& parsed) {
      place.see(event, parsed);
      return true;
    });
  } catch (const json::parse_error& error) {
    addSyntaxError(error, mistakes);
  } catch (const TooDeep&) {
    mistakes.add("nesting", input::tooDeep());
  } catch (const json::out_of_range&) {
    mistakes.add(place.path(), "must be a number that fits 64 bits");
  }
  return nullptr;
}

}  // namespace simulator
