// The text that says where a drive sits.
#pragma once

#include <cstring>
#include <string_view>

#include "controller/snapshot.h"
#include <dmu/plugin.h>

namespace dmu {

/// What follows a location text when its drive is not in the snapshot.
inline constexpr std::string_view kNotInSnapshot = "(Failed)";

/// "port:box:bay PORT:BOX:BAY" and `suffix`.
struct LocationText {
  explicit LocationText(const OrvaInfo_Devices& drive, std::string_view suffix = {});

  char text[kDmuLocationSize]{};  ///< terminated
};

/// The order of the texts' bytes.
[[nodiscard]] inline bool operator<(const LocationText& left, const LocationText& right) {
  return std::strcmp(left.text, right.text) < 0;
}

}  // namespace dmu
