// Taking a JSON object apart.
#include "json/json_object.h"

#include <algorithm>
#include <numeric>

#include "json/hex.h"
#include "json/input.h"
#include "json/json_check.h"

namespace input {
namespace {

/// Number of single-character edits between two names.
size_t distance(std::string_view a, std::string_view b) {
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = std::exchange(row[0], i + 1);
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({row[j] + 1, row[j + 1] + 1, replaced});
    }
  }
  return row.back();
}

bool hasControlCharacter(std::string_view text) {
  for (size_t at = 0; at < text.size(); ++at) {
    if (static_cast<unsigned char>(text[at]) < 0x20 || text[at] == 0x7F) return true;
    if (text[at] == '\xC2' && text.substr(at + 1, 1) < "\xA0") return true;  // U+0080 to U+009F in UTF-8
  }
  return false;
}

}  // namespace

std::string shown(const nlohmann::json& value) {
  if (value.is_object()) return "an object";
  if (value.is_array()) return "a list";
  return cut(value.dump(-1, ' ', true));
}

std::string suggestion(std::string_view name, std::span<const std::string_view> candidates) {
  constexpr size_t kNear = 2;
  const auto nearest = std::min_element(candidates.begin(), candidates.end(), [&](const auto& a, const auto& b) {
    return distance(name, a) < distance(name, b);
  });
  if (nearest == candidates.end() || distance(name, *nearest) > kNear) return "";
  return "; did you mean \"" + std::string(*nearest) + "\"?";
}

JsonObject::JsonObject(const nlohmann::json& value, std::string path, Mistakes& mistakes)
    : value_(value), path_(std::move(path)), mistakes_(mistakes) {
  if (!value_.is_object()) mistakes_.add(path_.empty() ? "/" : path_, "must be an object, not " + shown(value_));
}

std::string JsonObject::pathOf(std::string_view key) const {
  return path_ + pointerPart(key);
}

const nlohmann::json* JsonObject::find(const char* key, Need need) {
  known_.emplace_back(key);
  if (!value_.is_object()) return nullptr;
  const auto found = value_.find(key);
  if (found != value_.end()) return &*found;
  if (need == Need::required) refuse(key, "is missing");
  return nullptr;
}

bool JsonObject::flag(const char* key, bool& field, Need need) {
  const nlohmann::json* found = find(key, need);
  if (found == nullptr) return false;
  if (!found->is_boolean()) {
    refuse(key, "must be true or false, not " + shown(*found));
    return false;
  }
  field = found->get<bool>();
  return true;
}

bool JsonObject::text(const char* key, std::string& field, Need need, size_t least, size_t most) {
  const nlohmann::json* found = find(key, need);
  if (found == nullptr) return false;
  const std::string* value = found->get_ptr<const std::string*>();
  if (value == nullptr || value->size() < least || value->size() > most || hasControlCharacter(*value)) {
    refuse(key, "must be a text of " + std::to_string(least) + " to " + std::to_string(most) +
                    " characters without control characters, not " + shown(*found));
    return false;
  }
  field = *value;
  return true;
}

bool JsonObject::bytes(const char* key, std::vector<uint8_t>& field, Need need) {
  const nlohmann::json* found = find(key, need);
  if (found == nullptr) return false;
  const std::string* text = found->get_ptr<const std::string*>();
  const auto bytes = text != nullptr ? fromHex(*text) : std::nullopt;
  if (!bytes) {
    refuse(key, "must be a text of hexadecimal digits, two a byte, not " + shown(*found));
    return false;
  }
  field = *bytes;
  return true;
}

bool JsonObject::hex(const char* key, std::span<uint8_t> field, Need need) {
  const nlohmann::json* found = find(key, need);
  if (found == nullptr) return false;
  const std::string* text = found->get_ptr<const std::string*>();
  const auto bytes = text != nullptr ? fromHex(*text) : std::nullopt;
  if (!bytes || bytes->size() != field.size()) {
    refuse(key, "must be a text of " + std::to_string(field.size() * 2) + " hexadecimal digits, not " + shown(*found));
    return false;
  }
  std::copy(bytes->begin(), bytes->end(), field.begin());
  return true;
}

std::vector<JsonObject::Element> JsonObject::list(const char* key, Need need) {
  const nlohmann::json* found = find(key, need);
  std::vector<Element> elements;
  if (found == nullptr) return elements;
  if (!found->is_array()) refuse(key, "must be a list, not " + shown(*found));
  if (found->is_array())
    for (const auto& value : *found) elements.push_back({value, pathOf(key) + "/" + std::to_string(elements.size())});
  return elements;
}

void JsonObject::refuseUnknownKeys(std::string_view reason) {
  if (!value_.is_object() || mistakes_.enough()) return;
  for (const auto& [key, value] : value_.items())
    if (std::find(known_.begin(), known_.end(), key) == known_.end())
      mistakes_.add(pathOf(key), std::string(reason) + suggestion(cut(key), known_));
}

}  // namespace input
