// How the values of a recording are spelled.
#include "host/recording/form.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/disks/disk_record.h"
#include "host/disks/inventory.h"
#include "json/hex.h"

namespace host::recording {
namespace {

using input::Need;

/// Shorter runs of zeros are written as digits.
constexpr size_t kShortestRun = 8;

Json packed(const Bytes& bytes) {
  Json list = Json::array();
  auto shown = bytes.begin();  // up to here it is in the list
  for (auto at = bytes.begin(); at != bytes.end();) {
    const auto end = std::find_if(at, bytes.end(), [](uint8_t byte) { return byte != 0; });
    const auto zeros = static_cast<size_t>(end - at);
    if (zeros >= kShortestRun) {
      if (shown != at) list.push_back(input::toHex({shown, at}));
      list.push_back(zeros);
      shown = end;
    }
    at = std::find(end, bytes.end(), uint8_t{0});
  }
  if (shown != bytes.end()) list.push_back(input::toHex({shown, bytes.end()}));
  return list;
}

std::optional<Bytes> fromDigits(const nlohmann::json& json) {
  return json.is_string() ? input::fromHex(json.get<std::string>()) : std::nullopt;
}

std::string toUtf8(const std::string& bytes) {
  std::string text;
  for (const char character : bytes) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= 0x80) text += static_cast<char>(0xC0 | byte >> 6);
    text += static_cast<char>(byte < 0x80 ? byte : 0x80 | (byte & 0x3F));
  }
  return text;
}

/// @return nothing when it is no text, or a character is beyond U+00FF
std::optional<std::string> fromUtf8(const nlohmann::json& json) {
  const auto* text = json.get_ptr<const std::string*>();
  if (text == nullptr) return std::nullopt;
  std::string bytes;
  for (size_t at = 0; at < text->size(); ++at) {
    const auto byte = static_cast<unsigned char>((*text)[at]);
    if (byte > 0xC3) return std::nullopt;
    // The parser takes well-formed UTF-8 alone, so the second byte is there.
    bytes += static_cast<char>(byte < 0x80 ? byte : (byte & 0x03) << 6 | ((*text)[++at] & 0x3F));
  }
  return bytes;
}

}  // namespace

bool Form::text(const char* key, std::string& bytes) {
  if (written_ != nullptr) return write(key, toUtf8(bytes));
  const auto* json = read_->find(key, Need::required);
  if (json == nullptr) return false;
  const auto read = fromUtf8(*json);
  if (read) bytes = *read;
  return require(read.has_value(), key, "must be a text without characters beyond U+00FF, not " + input::shown(*json));
}

bool Form::hex(const char* key, Bytes& bytes, size_t most) {
  if (written_ != nullptr) return write(key, input::toHex(bytes));
  return read_->bytes(key, bytes, Need::required) &&
         require(bytes.size() <= most, key, "must be at most " + std::to_string(most) + " bytes");
}

bool Form::bytes(const char* key, Bytes& bytes, size_t length) {
  if (written_ != nullptr) return write(key, packed(bytes));
  const auto* list = read_->find(key, Need::required);
  if (list == nullptr) return false;
  const std::string needed = "must be " + std::to_string(length) + " bytes, not ";
  if (!require(list->is_array(), key, needed + input::shown(*list))) return false;
  if (!require(length <= source_->room, key,
               "is too much: a recording holds at most " + std::to_string(kMostMebibytes) + " MiB"))
    return false;
  source_->room -= length;
  bytes.clear();
  for (const auto& [part, path] : read_->list(key, Need::required)) {
    const auto digits = fromDigits(part);
    if (!digits && !part.is_number_unsigned()) {
      source_->mistakes.add(path,
                            "must be hexadecimal digits, two a byte, or a number of zeros, not " + input::shown(part));
      return false;
    }
    const uint64_t size = digits ? digits->size() : part.get<uint64_t>();
    if (!require(size <= length - bytes.size(), key, needed + "more")) return false;
    if (digits)
      bytes.insert(bytes.end(), digits->begin(), digits->end());
    else
      bytes.resize(bytes.size() + static_cast<size_t>(size));
  }
  return require(bytes.size() == length, key, needed + std::to_string(bytes.size()));
}

void Form::disks(const char* key, std::vector<HostDisk>& disks) {
  if (written_ != nullptr) {
    Json& list = (*written_)[key] = Json::array();
    for (const HostDisk& disk : disks) list.push_back(toJson(disk));
    return;
  }
  for (const auto& element : read_->list(key, Need::required)) disks.push_back(diskOf(element, source_->mistakes));
}

bool Form::require(bool condition, const char* key, const std::string& reason) {
  if (read_ && !condition) read_->refuse(key, reason);
  return condition;
}

}  // namespace host::recording
