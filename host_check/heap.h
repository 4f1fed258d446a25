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

/// Those that are not freed yet.
[[nodiscard]] uint32_t countHeldLocationTexts();
void noteHeldLocationTexts();
/// In the child after a fork: they are copies of the parent's.
void forgetLocationTexts();

/// Frees what the real plugin has allocated for the host.
void freeForHost(void* block);

/// Takes this library out of the LD_PRELOAD that children get: they would load it for nothing, or complain.
void hideFromChildren();

}  // namespace hostcheck
