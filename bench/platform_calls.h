// What the plugin asks of its platform: every call comes through this program on its way to the instant driver or the
// C library, so that it can be watched.
#pragma once

#include <cstddef>
#include <ctime>
#include <functional>

#include "bench/instant_driver.h"
#include "bench/observation.h"

namespace bench {

/// Names the driver that answers from now on; borrowed.
void useDriver(const InstantDriver& driver);

/// Moves the plugin's clock on, so that snapshots grow old.
void letTimePass(time_t seconds);

/// Runs an operation and writes down what it asks for.
[[nodiscard]] Observation observe(const std::function<void()>& operation);

/// Bytes that are allocated on top of what was when tracking began.
struct HeapUse {
  ptrdiff_t now = 0;
  ptrdiff_t most = 0;
};

/// Runs something and tells what it left allocated, and the most that was allocated meanwhile.
[[nodiscard]] HeapUse trackHeap(const std::function<void()>& run);

}  // namespace bench
