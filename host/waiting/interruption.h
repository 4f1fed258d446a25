// Ctrl-C between two steps that change something: the one that was begun is finished, and what was done is told.
#pragma once

#include <csignal>

namespace host {

/// As long as this lives, the first signal that would end the program only makes a note; the second one ends it. One at
/// a time.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// Whether the user wants to end.
  [[nodiscard]] bool isWanted() const;

 private:
  struct sigaction interrupt_ = {};  // as they were before
  struct sigaction terminate_ = {};
};

}  // namespace host
