// Where all lies that the checker keeps, and the lock before it.
//
// Nothing here comes from the host's heap: a host that damages its heap damages no finding, and a leak detector finds
// nothing of the checker's. Nothing is given back, since a closed handle must stay known for good.
#pragma once

#include <cstddef>
#include <new>
#include <pthread.h>
#include <utility>

namespace hostcheck {

/// Holds the checker's lock for a scope. It is never held while the real plugin runs.
class Guard {
 public:
  Guard() { lock(); }
  ~Guard() { unlock(); }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

  static void lock();
  static void unlock();
};

/// Memory for good, zeroed and aligned for everything. Needs the lock.
/// @return null: there is no memory
[[nodiscard]] void* keep(size_t size);

/// An object for good. Needs the lock.
/// @return null: there is no memory
template <typename Object, typename... Members>
[[nodiscard]] Object* keepNew(Members&&... members) {
  void* const place = keep(sizeof(Object));
  return place == nullptr ? nullptr : new (place) Object{std::forward<Members>(members)...};
}

/// A copy of a text for good, or "" where there is no memory. Needs the lock.
[[nodiscard]] const char* keepText(const char* text);

}  // namespace hostcheck
