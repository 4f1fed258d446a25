// One JSON object of a recording, written or read key by key by the same calls: calls.h spells its lines with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/disks/host_disk.h"
#include "host/output/json.h"
#include "json/json_object.h"

namespace host::recording {

using Bytes = std::vector<uint8_t>;

/// The bytes that a recording holds: a few words of its file can stand for many zeros.
inline constexpr size_t kMostMebibytes = 256;

/// What is read.
struct Source {
  input::Mistakes mistakes;
  size_t room = kMostMebibytes << 20;  ///< for as many bytes
};

/// What is written is in order. A function that reads returns whether the value is; else that is a mistake.
class Form {
 public:
  /// Writes.
  explicit Form(Json& object) : written_(&(object = Json::object())) {}

  /// Reads: each key must be there, and no other.
  Form(const nlohmann::json& value, const std::string& path, Source& source)
      : source_(&source), read_(std::in_place, value, path, source.mistakes) {}
  ~Form() {
    if (read_ && !isLeft_) read_->refuseUnknownKeys();
  }
  Form(const Form&) = delete;
  Form& operator=(const Form&) = delete;

  /// @param limits  the least and the most
  template <typename Number, typename... Limits>
  bool number(const char* key, Number& value, Limits... limits) {
    if (read_) return read_->number(key, value, input::Need::required, limits...);
    return write(key, value);
  }

  /// A number on which it depends what else there is.
  /// @return whether it is in order, and 0
  template <typename Number, typename... Limits>
  bool isZero(const char* key, Number& value, Limits... limits) {
    const bool isKnown = number(key, value, limits...);
    if (!isKnown) isLeft_ = true;
    return isKnown && value == 0;
  }

  /// A text of any bytes: the character U+00NN stands for the byte NN.
  bool text(const char* key, std::string& bytes);

  /// Few bytes: hexadecimal digits, two a byte.
  bool hex(const char* key, Bytes& bytes, size_t most);

  /// Many bytes: a list of hexadecimal digits and of numbers of zeros, [12, "0aff", 500].
  bool bytes(const char* key, Bytes& bytes, size_t length);

  /// Objects, each spelled by a function of its own.
  template <typename Item>
  void list(const char* key, std::vector<Item>& items) {
    if (read_) {
      for (const auto& element : read_->list(key, input::Need::required)) {
        Form form(element.value, element.path, *source_);
        items.emplace_back().spell(form);
      }
      return;
    }
    Json& list = (*written_)[key] = Json::array();
    for (Item& item : items) {
      Form form(list.emplace_back());
      item.spell(form);
    }
  }
  void numbers(const char* key, std::vector<uint32_t>& numbers) {
    read_ ? read_->numbers(key, numbers, input::Need::required) : (void)write(key, numbers);
  }
  void disks(const char* key, std::vector<HostDisk>& disks);

  /// Reading: what more is to be in order.
  bool require(bool condition, const char* key, const std::string& reason);

  /// What else the objects have depends on what is not in order: no key is unknown any more.
  static void leave(Form& asked, Form& answered) { asked.isLeft_ = answered.isLeft_ = true; }

 private:
  bool write(const char* key, Json value) {
    (*written_)[key] = std::move(value);
    return true;
  }

  Json* written_ = nullptr;
  Source* source_ = nullptr;
  std::optional<input::JsonObject> read_;
  bool isLeft_ = false;
};

}  // namespace host::recording
