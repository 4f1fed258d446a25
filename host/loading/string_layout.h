// The two layouts of std::string in the GNU C++ library, and which of them a shared object was built for.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host {

enum class StringLayout { newLayout, oldLayout };

/// The layout that this program was built for.
[[nodiscard]] StringLayout ownStringLayout();

/// The layout that a shared object's undefined symbols show; nothing when they show none or both.
[[nodiscard]] std::optional<StringLayout> stringLayoutOf(const std::vector<std::string>& undefinedSymbols);

/// "new" or "old".
[[nodiscard]] const char* nameOf(StringLayout layout);

}  // namespace host
