// Writes and reads whole lines.
#include "host/recording/lines.h"

#include <array>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

namespace host::recording {
namespace {

using input::JsonObject;
using input::Need;

constexpr const char* kFormat = "dmu-host-recording";

/// Rises when a line changes its meaning.
constexpr uint32_t kVersion = 1;

template <size_t... kinds>
std::array<AnyCall, sizeof...(kinds)> onePerKind(std::index_sequence<kinds...> /*kinds*/) {
  return {AnyCall(std::in_place_index<kinds>)...};
}

std::string_view nameOf(const AnyCall& call) {
  return std::visit([](const auto& one) { return std::string_view(one.kName); }, call);
}

/// The kind of call that a line names, still empty.
std::optional<AnyCall> kindOf(JsonObject& line) {
  constexpr size_t kLongestName = 100;
  std::string name;
  if (!line.text("call", name, Need::required, 0, kLongestName)) return std::nullopt;
  std::vector<std::string_view> names;
  for (const AnyCall& call : onePerKind(std::make_index_sequence<std::variant_size_v<AnyCall>>()))
    if (names.emplace_back(nameOf(call)) == name) return call;
  line.refuse("call", "unknown call \"" + name + "\"" + input::suggestion(name, names));
  return std::nullopt;
}

}  // namespace

Json firstLine(bool repeats) {
  Json line = {{"format", kFormat}, {"version", kVersion}};
  if (repeats) line["repeats"] = true;
  return line;
}

Json lastLine() {
  return {{"end", true}};
}

Json lineOf(AnyCall call, uint32_t channel) {
  Json request;
  Json answer;
  Form asked(request);
  Form answered(answer);
  std::visit([&](auto& one) { one.spell(asked, answered); }, call);
  Json line = {{"call", nameOf(call)}, {"about", std::visit([](const auto& one) { return one.about(); }, call)}};
  if (channel != 0) line["channel"] = channel;
  line["request"] = std::move(request);
  line["answer"] = std::move(answer);
  return line;
}

bool beginsRecording(const nlohmann::json& line) {
  return line.is_object() && line.value("format", nlohmann::json()) == kFormat;
}

bool readFirstLine(const nlohmann::json& line, Source& source) {
  if (!beginsRecording(line)) {
    source.mistakes.add("/", std::string(R"(not a recording: it does not begin with "format": ")") + kFormat + "\"");
    return false;
  }
  JsonObject object(line, "", source.mistakes);
  uint32_t version = kVersion;
  bool repeats = false;
  (void)object.find("format", Need::required);
  object.number("version", version, Need::required);
  if (version != kVersion) {
    object.refuse("version", "a recording of version " + std::to_string(version) + "; this program knows version " +
                                 std::to_string(kVersion));
  }
  object.flag("repeats", repeats, Need::optional);
  object.refuseUnknownKeys();
  return repeats;
}

bool isLastLine(const nlohmann::json& line) {
  return line.is_object() && line.contains("end");
}

std::optional<AnyCall> readCall(const nlohmann::json& line, Source& source) {
  JsonObject object(line, "", source.mistakes);
  auto call = kindOf(object);
  for (const char* unread : {"about", "channel"}) (void)object.find(unread, Need::optional);
  const nlohmann::json* request = object.find("request", Need::required);
  const nlohmann::json* answer = object.find("answer", Need::required);
  object.refuseUnknownKeys();
  if (!call || request == nullptr || answer == nullptr) return std::nullopt;
  Form asked(*request, "/request", source);
  Form answered(*answer, "/answer", source);
  std::visit([&](auto& one) { one.spell(asked, answered); }, *call);
  return call;
}

}  // namespace host::recording
