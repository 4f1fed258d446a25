// Reads a JSON file and follows the parser through it, since the parser lets the last of two equal keys win.
#include "host/json_file.h"

#include <set>
#include <string_view>
#include <vector>

#include "host/file_content.h"
#include "host/refusal.h"
#include "json/input.h"

namespace host {
namespace {

/// The objects and arrays around the value that is read.
class OpenLevels {
 public:
  /// @return false when the levels get too many
  [[nodiscard]] bool open(bool isArray) {
    levels_.push_back({isArray, 0, {}, {}});
    return levels_.size() <= input::kLimits.depth;
  }
  void close() { levels_.pop_back(); }

  /// A value of the innermost level is complete.
  void countValue() {
    if (!levels_.empty()) ++levels_.back().index;
  }

  /// How many keys the innermost object has so far.
  [[nodiscard]] size_t keys() const { return levels_.back().keys.size(); }

  /// @return false when the innermost object has the key already
  [[nodiscard]] bool addKey(const std::string& key) {
    levels_.back().key = key;
    return levels_.back().keys.insert(key).second;
  }

  /// The JSON path of the value that is read.
  [[nodiscard]] std::string path() const {
    std::string path;
    for (const Level& level : levels_) path += "/" + (level.isArray ? std::to_string(level.index) : level.key);
    return path;
  }

 private:
  struct Level {
    bool isArray = false;
    size_t index = 0;
    std::string key;
    std::set<std::string> keys;
  };
  std::vector<Level> levels_;
};

/// The parser's message from where it says `before` on, or else without the library's own numbering before it.
std::string messageOf(const Json::exception& mistake, std::string_view before) {
  const std::string_view message = mistake.what();
  const size_t start = message.find(before);
  if (start != std::string_view::npos) return std::string(message.substr(start + before.size()));
  return std::string(message.substr(message.find("] ") + 2));
}

/// @param place   what messages begin with
/// @param before  what the parser's own message says up to the place in the text
Json parse(const std::string& text, const std::string& place, std::string_view before) {
  OpenLevels levels;
  const auto follow = [&](int, Json::parse_event_t event, const Json& parsed) {
    switch (event) {
      case Json::parse_event_t::object_start:
      case Json::parse_event_t::array_start:
        if (!levels.open(event == Json::parse_event_t::array_start)) throw Refusal(place + ": " + input::tooDeep());
        break;
      case Json::parse_event_t::key:
        // The parser looks for each key among all before it.
        if (levels.keys() == input::kLimits.keys) throw Refusal(place + ": " + input::tooManyKeys());
        if (!levels.addKey(parsed.get<std::string>())) throw Refusal(place + ": " + levels.path() + ": duplicate key");
        break;
      case Json::parse_event_t::object_end:
      case Json::parse_event_t::array_end:
        levels.close();
        levels.countValue();
        break;
      case Json::parse_event_t::value:
        levels.countValue();
        break;
    }
    return true;
  };
  try {
    return Json::parse(text, follow);
  } catch (const Json::exception& mistake) {
    throw Refusal(place + ": " + messageOf(mistake, before));
  }
}

}  // namespace

Json readJsonFile(const std::string& file) {
  std::string error;
  const auto content = readFile(file, error);
  if (!content) throw Refusal(file + ": cannot be read: " + error);
  return parse(*content, file, "parse error at ");
}

Json readJsonLine(const std::string& line, const std::string& place) {
  return parse(line, place, "parse error at line 1, ");
}

}  // namespace host
