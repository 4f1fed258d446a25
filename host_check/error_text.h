// Whether the object behind an operation's `error` can be a std::string of the plugin's layout.
#pragma once

#include <cstdint>

namespace hostcheck {

enum class ErrorText {
  possible,
  otherLayout,  ///< it can only be a string of the layout that the plugin does not have
  noString,     ///< it can be neither
};

/// Judges by the words of the object and of the text that it points to, read through the kernel. What may be a string
/// of either layout is possible.
[[nodiscard]] ErrorText judgeErrorText(uintptr_t address);

/// Finds out which layout the plugin has: that of the string functions that it needs; where it needs none, the layout
/// that this library was built for.
/// @param library  of the plugin, from dlopen
void findErrorLayout(void* library);

/// "new" or "old".
[[nodiscard]] const char* errorLayout();

}  // namespace hostcheck
