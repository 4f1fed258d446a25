// A line of a shell, taken apart as the shell would do it once the line is complete, for a program that completes it.
#pragma once

#include <string>
#include <vector>

namespace host {

struct ShellWord {
  std::string text;    ///< without its quotes
  char openQuote = 0;  ///< the quote in which the line ends; 0: in none
};

/// The words of a line: quotes and backslashes are taken away, `~/` leads home, nothing else is replaced.
/// @return at least one word; the last one is being typed and may be empty
[[nodiscard]] std::vector<ShellWord> shellWords(const std::string& line);

/// The text as it is typed behind an open quote, or outside of quotes (0).
[[nodiscard]] std::string quoted(const std::string& text, char openQuote);

}  // namespace host
