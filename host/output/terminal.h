// What the program may assume about the place where its output goes.
#pragma once

#include <cstddef>
#include <string>

namespace host {

/// Whether the environment says that a terminal, if there is one, takes sequences that move its cursor and colour text.
[[nodiscard]] bool canMoveCursor();

struct Terminal {
  bool isTerminal = false;  ///< standard output is one
  bool canMove = false;     ///< it is one on which the cursor can be moved
  bool colour = false;      ///< the same, and NO_COLOR is not set
  bool utf8 = false;        ///< the locale's character set is UTF-8
  bool canAsk = false;      ///< standard input and standard error are terminals: a question can be put
  size_t columns = 80;      ///< of the terminal on standard output; 80 when there is none
  size_t rows = 24;         ///< the same

  /// Looks at the process's standard streams and environment.
  [[nodiscard]] static Terminal ofThisProcess();

  /// The text in bold where colour is allowed.
  [[nodiscard]] std::string bold(const std::string& text) const;

  /// The text in the colour of something that is on (blinking, hot), where colour is allowed.
  [[nodiscard]] std::string highlighted(const std::string& text) const;
};

}  // namespace host
