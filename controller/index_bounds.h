// Between which BMIC drive indexes the entries of a kept snapshot lie: who looks for a volume's drives passes by the
// entries that cannot be its members without touching them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "controller/snapshot.h"

namespace dmu {

/// So many entries in a row have bounds together.
inline constexpr size_t kEntriesPerBounds = 16;

/// The lowest and the highest BMIC drive index of entries of whatever kind, by their low 16 bits.
struct IndexBounds {
  uint16_t lowest;
  uint16_t highest;
};

/// Makes the bounds of a snapshot that the cache has just rebuilt, which has its slot, its name and its entries.
void keepIndexBounds(const OrvaInfo& info);

/// Gives up the bounds of a snapshot of which an entry is filled. Those that the cache does not hold have none.
void forgetIndexBounds(const OrvaInfo& info);

/// @return in list order the bounds of the entries that the rebuild listed; not of the last ones, when they are fewer
///         than kEntriesPerBounds. None of a snapshot that the cache does not hold, or that was filled or cleared
///         since.
[[nodiscard]] std::span<const IndexBounds> keptIndexBounds(const OrvaInfo& info);

}  // namespace dmu
