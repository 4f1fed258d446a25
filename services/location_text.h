// The text that says where a drive sits: "port:box:bay PORT:BOX:BAY".
#pragma once

#include <compare>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "controller/snapshot.h"

namespace dmu {

/// What every location text begins with.
inline constexpr char kLocationPrefix[] = "port:box:bay ";

/// What follows a location text when its drive is not in the snapshot.
inline constexpr std::string_view kNotInSnapshot = "(Failed)";

/// A location text without its prefix, "PORT:BOX:BAY" and `suffix`: short, since sorting moves it.
struct DrivePlace {
  explicit DrivePlace(const OrvaInfo_Devices& drive, std::string_view suffix = {});

  char text[28]{};  ///< terminated; zeros to its end
};

/// The order of the texts' bytes. Most differ in the first eight, which are compared as one number.
[[nodiscard]] inline std::strong_ordering operator<=>(const DrivePlace& left, const DrivePlace& right) {
  const auto head = [](const DrivePlace& place) {
    uint64_t bytes = 0;
    std::memcpy(&bytes, place.text, sizeof(bytes));
    return __builtin_bswap64(bytes);
  };
  if (const auto order = head(left) <=> head(right); std::is_neq(order)) return order;
  return std::strcmp(left.text, right.text) <=> 0;
}

}  // namespace dmu
