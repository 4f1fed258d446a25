// Where a drive sits: the plugin's location text, taken apart.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/output/json.h"

namespace host {

/// How many characters of a port's name the plugin keeps.
inline constexpr size_t kPortCharacters = 8;

struct Place {
  std::string text;                 ///< as the plugin gave it
  std::optional<std::string> port;  ///< nothing, here and below, when the text does not say
  std::optional<uint32_t> box;
  std::optional<uint32_t> bay;
  bool failed = false;  ///< the controller's list misses the drive

  [[nodiscard]] bool isKnown() const { return port.has_value(); }
};

/// Takes a location text apart: "port:box:bay PORT:BOX:BAY", perhaps with "(Failed)" behind it.
[[nodiscard]] Place placeOf(const std::string& locationText);

/// Takes "PORT:BOX:BAY" apart; nothing when the text is not of that form.
[[nodiscard]] std::optional<Place> parsePlace(const std::string& text);

/// Whether both are known and the same bay, as far as the plugin keeps its port's name.
[[nodiscard]] bool isSamePlace(const Place& one, const Place& other);

/// "1I:1:3", "1I:1:3 (failed)"; "-" instead of a place that is not known.
[[nodiscard]] std::string describe(const Place& place);

/// "1I:1:3", or "-".
[[nodiscard]] std::string bayText(const Place& place);

/// The places with ", " between them.
[[nodiscard]] std::string describe(const std::vector<Place>& places);

[[nodiscard]] Json toJson(const Place& place);
[[nodiscard]] Json toJson(const std::vector<Place>& places);

}  // namespace host
