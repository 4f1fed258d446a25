// Takes location texts apart and words them.
#include "host/disks/place.h"

#include <charconv>
#include <string_view>

#include "host/output/json_values.h"
#include "host/output/text.h"

namespace host {
namespace {

constexpr std::string_view kPrefix = "port:box:bay ";
constexpr std::string_view kFailed = "(Failed)";

/// What the plugin writes for a drive that never was identified.
constexpr std::string_view kUnidentified = ":0:0";

std::optional<uint32_t> number(std::string_view text) {
  uint32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace

std::optional<Place> parsePlace(const std::string& text) {
  // The port's name is the controller's and may hold a colon itself.
  const size_t bayAt = text.rfind(':');
  if (bayAt == std::string::npos || bayAt == 0) return std::nullopt;
  const size_t boxAt = text.rfind(':', bayAt - 1);
  if (boxAt == std::string::npos) return std::nullopt;
  Place place;
  place.text = text;
  place.port = text.substr(0, boxAt);
  place.box = number(std::string_view(text).substr(boxAt + 1, bayAt - boxAt - 1));
  place.bay = number(std::string_view(text).substr(bayAt + 1));
  if (!place.box || !place.bay) return std::nullopt;
  return place;
}

Place placeOf(const std::string& locationText) {
  std::string_view rest = locationText;
  const bool failed = rest.ends_with(kFailed);
  if (failed) rest.remove_suffix(kFailed.size());
  const bool hasPrefix = rest.starts_with(kPrefix);
  if (hasPrefix) rest.remove_prefix(kPrefix.size());
  std::optional<Place> parsed;
  if (hasPrefix && rest != kUnidentified) parsed = parsePlace(std::string(rest));
  Place place = parsed.value_or(Place{});
  place.text = locationText;
  place.failed = failed;
  return place;
}

bool isSamePlace(const Place& one, const Place& other) {
  const bool areKnown = one.isKnown() && other.isKnown();
  return areKnown && one.port->substr(0, kPortCharacters) == other.port->substr(0, kPortCharacters) &&
         one.box == other.box && one.bay == other.bay;
}

std::string bayText(const Place& place) {
  if (!place.isKnown()) return kUnknown;
  return printable(*place.port) + ":" + std::to_string(*place.box) + ":" + std::to_string(*place.bay);
}

std::string describe(const Place& place) {
  return bayText(place) + (place.failed ? " (failed)" : "");
}

std::string describe(const std::vector<Place>& places) {
  std::string text;
  for (const Place& place : places) text += (text.empty() ? "" : ", ") + describe(place);
  return text;
}

Json toJson(const Place& place) {
  return {{"text", place.text},
          {"port", orNull(place.port)},
          {"box", orNull(place.box)},
          {"bay", orNull(place.bay)},
          {"failed", place.failed}};
}

Json toJson(const std::vector<Place>& places) {
  Json json = Json::array();
  for (const Place& place : places) json.push_back(toJson(place));
  return json;
}

}  // namespace host
