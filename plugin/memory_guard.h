// How an exported function ends when memory runs out: with a failure of its own, never with an exception.
#pragma once

#include <new>

namespace dmu {

/// Runs `body` and returns its result, or `failure` when memory ran out on the way; what `body` owned is released.
template <typename Result, typename Body>
[[nodiscard]] Result unlessMemoryRunsOut(Result failure, Body body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return failure;
  }
}

}  // namespace dmu
