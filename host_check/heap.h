// The blocks of the host's heap, where this library is loaded before everything else (LD_PRELOAD) and sees them come
// and go. Elsewhere it knows of none.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host_check/places.h"
#include <dmu/plugin.h>

namespace hostcheck {

/// Called when this library is loaded: finds out whether it sees the heap.
void findHeap();
[[nodiscard]] bool seesHeap();

/// How much of a block lies behind an address in it; SIZE_MAX where no block is known.
[[nodiscard]] size_t roomBehind(const void* address);

/// A location text that the host has received, and owes to free.
void addLocationText(const void* text, const void* receivedAt, const CtrlDevInfo* handle);

/// Notes each location text that is not freed. Needs the checker's lock.
/// @return how many
uint32_t noteHeldLocationTexts();

/// Takes this library out of the LD_PRELOAD that children get: they would load it for nothing, or complain.
void hideFromChildren();

}  // namespace hostcheck
