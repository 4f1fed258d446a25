// Calls, and where in the host's code they stand.
#pragma once

#include <cstddef>

namespace hostcheck {

/// One call of the host.
struct Call {
  const char* name;  ///< the function, as the descriptor names it; null: no call
  const void* at;    ///< an address within the instruction that calls; null: nobody can tell
};

/// The address that a function returns to lies behind its call.
[[nodiscard]] inline const void* callBefore(const void* returnAddress) {
  return static_cast<const char*>(returnAddress) - 1;
}

/// Where the host called what is running in this thread: the innermost function that is neither this library's nor the
/// C library's. Null where the stack does not tell.
[[nodiscard]] const void* findHostCall();

/// An address as tools take it: "FILE(+0xOFFSET)", with the function where the file tells it.
void describePlace(const void* at, char* text, size_t size);

/// A path that stays right when the host changes its folder, for good; null or an empty path is null.
[[nodiscard]] const char* keepAbsolute(const char* path);

}  // namespace hostcheck
