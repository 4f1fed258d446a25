// The reason why the program does not carry out a command.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace host {

/// What could have been meant.
struct Candidate {
  std::string name;          ///< in the words that the program takes
  std::string details = {};  ///< for people: other names of the same, and why it is no answer
};

/// Thrown when a command cannot be carried out, or no further; ends the program with exit status 1.
struct Refusal : std::runtime_error {
  explicit Refusal(const std::string& text, std::vector<Candidate> couldBeMeant = {})
      : std::runtime_error(text), candidates(std::move(couldBeMeant)) {}

  std::vector<Candidate> candidates;
};

}  // namespace host
