// Lays out the help. It begins with examples.
#include "host/command_line/help.h"

#include <algorithm>

namespace host {
namespace {

constexpr size_t kFirstColumn = 30;

/// The words in the first column and the help in the second one.
std::string row(const std::string& words, const std::string& help) {
  std::string line = "  " + words;
  if (line.size() >= kFirstColumn) line += "\n" + std::string(kFirstColumn, ' ');
  return line + std::string(kFirstColumn - std::min(line.size(), kFirstColumn), ' ') + help + "\n";
}

std::string rows(const std::string& heading, const std::vector<Option>& options, bool areArguments) {
  std::string text;
  for (const Option& option : options) {
    if (option.isArgument() == areArguments) text += row(wordsOf(option), helpOf(option));
  }
  return text.empty() ? "" : "\n" + heading + ":\n" + text;
}

std::string usageOf(const Command& command, const std::vector<Option>& options) {
  std::string text = "Usage: dmu-host " + command.name() + " [OPTION...]";
  for (const Option& option : options) {
    if (!option.isArgument()) continue;
    const bool isNeeded = option.isNeeded || std::holds_alternative<Word>(option.value);
    text += isNeeded ? " " + wordsOf(option) : " [" + wordsOf(option) + "]";
  }
  return text + "\n";
}

}  // namespace

std::string programHelp(const std::vector<Option>& options, const std::vector<std::unique_ptr<Command>>& commands) {
  std::string text;
  for (const auto& command : commands) text += "  " + command->examples().front() + "\n";
  text += std::string("\n") + kPurpose + "\n\nUsage: dmu-host [OPTION...] COMMAND [ARGUMENT...]\n";
  text += rows("Options", options, false) + "\nCommands:\n";
  for (const auto& command : commands) text += row(command->name(), command->summary());
  return text;
}

std::string commandHelp(Command& command) {
  const std::vector<Option> options = command.options();
  std::string text;
  for (const std::string& example : command.examples()) text += "  " + example + "\n";
  return text + "\n" + command.summary() + "\n\n" + usageOf(command, options) + rows("Arguments", options, true) +
         rows("Options", options, false) + "\nFor the options of every command see \"dmu-host --help\".\n";
}

}  // namespace host
