// Checks of single JSON values.
#include "host/json_node.h"

#include <algorithm>

#include "host/refusal.h"
#include "json/json_check.h"

namespace host {

void JsonNode::refuse(const std::string& reason) const {
  throw Refusal(file_ + ": " + (path_.empty() ? "/" : path_) + ": " + reason);
}

void JsonNode::mustBeObjectOf(std::initializer_list<std::string_view> keys) const {
  if (!value_.is_object()) refuse("must be an object");
  for (const auto& [key, value] : value_.items()) {
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) child(key).refuse("unknown key");
  }
}

JsonNode JsonNode::at(const char* key) const {
  if (!has(key)) refuse("key \"" + std::string(key) + "\" is missing");
  return child(key);
}

JsonNode JsonNode::child(const std::string& key) const {
  return {value_.at(key), file_, path_ + input::pointerPart(key)};
}

std::vector<JsonNode> JsonNode::elements() const {
  if (!value_.is_array()) refuse("must be an array");
  std::vector<JsonNode> nodes;
  for (size_t index = 0; index < value_.size(); ++index) {
    nodes.emplace_back(value_[index], file_, path_ + "/" + std::to_string(index));
  }
  return nodes;
}

std::string JsonNode::text() const {
  if (!value_.is_string() || value_.get_ref<const std::string&>().empty()) refuse("must be a text that is not empty");
  return value_.get<std::string>();
}

}  // namespace host
