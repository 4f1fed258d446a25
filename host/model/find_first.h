// Looks something up in a list.
#pragma once

#include <algorithm>

namespace host {

/// @return the first item that fits; null when none does
template <typename Items, typename Fits>
[[nodiscard]] auto* findFirst(Items& items, Fits fits) {
  const auto found = std::find_if(items.begin(), items.end(), fits);
  return found == items.end() ? nullptr : &*found;
}

}  // namespace host
