// The reason why the program does not carry out a command.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace host {

/// Thrown when a command cannot be carried out, or no further; ends the program with exit status 1.
struct Refusal : std::runtime_error {
  explicit Refusal(const std::string& text, std::vector<std::string> candidateNames = {})
      : std::runtime_error(text), candidates(std::move(candidateNames)) {}

  std::vector<std::string> candidates;  ///< what could have been meant, in the words that the program takes
};

}  // namespace host
