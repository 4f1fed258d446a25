// Whether calls give back the memory that they take.
#pragma once

#include <functional>
#include <string>

namespace host::check {

/// Makes a call again and again and fails the rule when more and more memory is in use. Skips the rule where this
/// program's allocator does not tell.
///
/// @param calls  what is called, in the plural
void expectNoGrowth(const std::string& calls, const std::function<void()>& call);

}  // namespace host::check
