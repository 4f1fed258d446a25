// The words of a command line, sorted by what they are.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/command.h"

namespace host {

/// Stands where a command does, and asks for the help of the one behind it.
inline constexpr const char* kHelpCommand = "help";

struct GivenWords {
  Command* command = nullptr;                               ///< null: none was given, or kHelpCommand
  bool asksForHelp = false;                                 ///< kHelpCommand was given
  std::map<std::string, std::vector<std::string>> options;  ///< values by the name of the option; a flag's mean nothing
  std::vector<std::string> arguments;                       ///< of the command, or of kHelpCommand
  std::vector<std::string> unknown;                         ///< neither an option nor an argument of a command
  std::string mistake;                                      ///< what kept the words from being sorted; empty: nothing

  [[nodiscard]] bool has(const std::string& option) const { return options.contains(option); }
};

/// @param options  of every command; they may stand before or after it
[[nodiscard]] GivenWords sortWords(int argc, char** argv, const std::vector<Option>& options,
                                   const std::vector<std::unique_ptr<Command>>& commands);

}  // namespace host
