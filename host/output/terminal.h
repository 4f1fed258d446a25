// What the program may assume about the place where its output goes.
#pragma once

#include <cstddef>
#include <string>

namespace host {

struct Terminal {
  bool isTerminal = false;  ///< standard output is one
  bool colour = false;      ///< standard output is a terminal and NO_COLOR is not set
  bool utf8 = false;        ///< the locale's character set is UTF-8
  bool canAsk = false;      ///< standard input and standard error are terminals: a question can be put
  size_t columns = 80;      ///< of the terminal on standard output; 80 when there is none

  /// Looks at the process's standard streams and environment.
  [[nodiscard]] static Terminal ofThisProcess();

  /// The text in bold where colour is allowed.
  [[nodiscard]] std::string bold(const std::string& text) const;

  /// The text in the colour of something that is on (blinking, hot), where colour is allowed.
  [[nodiscard]] std::string highlighted(const std::string& text) const;
};

}  // namespace host
