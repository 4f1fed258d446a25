// Reads a JSON file and follows the parser through it, since the parser lets the last of two equal keys win.
#include "host/json_file.h"

#include <set>
#include <string_view>
#include <vector>

#include "host/file_content.h"
#include "host/refusal.h"

namespace host {
namespace {

/// The objects and arrays around the value that is read.
class OpenLevels {
 public:
  void open(bool isArray) { levels_.push_back({isArray, 0, {}, {}}); }
  void close() { levels_.pop_back(); }

  /// A value of the innermost level is complete.
  void countValue() {
    if (!levels_.empty()) ++levels_.back().index;
  }

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

/// The parser's message without its library's name and number: "line 3, column 5: syntax error ...".
std::string messageOf(const Json::exception& mistake) {
  const std::string_view message = mistake.what();
  constexpr std::string_view kBefore = "parse error at ";
  const size_t start = message.find(kBefore);
  return std::string(start == std::string_view::npos ? message : message.substr(start + kBefore.size()));
}

}  // namespace

Json readJsonFile(const std::string& file) {
  std::string error;
  const auto content = readFile(file, error);
  if (!content) throw Refusal(file + ": cannot be read: " + error);

  OpenLevels levels;
  const auto follow = [&](int, Json::parse_event_t event, const Json& parsed) {
    switch (event) {
      case Json::parse_event_t::object_start:
      case Json::parse_event_t::array_start:
        levels.open(event == Json::parse_event_t::array_start);
        break;
      case Json::parse_event_t::key:
        if (!levels.addKey(parsed.get<std::string>())) throw Refusal(file + ": " + levels.path() + ": is there twice");
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
    return Json::parse(*content, follow);
  } catch (const Json::exception& mistake) {
    throw Refusal(file + ": " + messageOf(mistake));
  }
}

}  // namespace host
