// Hands the tables of options to CLI11, which sorts the words. What it would say of them stays unsaid: its texts differ
// from version to version.
#include "host/command_line/given_words.h"

#include <CLI/CLI.hpp>

#include "host/output/text.h"

namespace host {
namespace {

constexpr const char* kArguments = "ARGUMENTS";  // whatever is no option, to be told apart by the table

CLI::App& addCommand(CLI::App& app, const std::string& name) {
  CLI::App& command = *app.add_subcommand(name);
  command.add_option(kArguments)->expected(-1)->take_all();
  return command;
}

void declare(CLI::App& app, const std::vector<Option>& options) {
  for (const Option& option : options) {
    if (option.isArgument()) continue;
    const std::string names = (option.letter.empty() ? "" : option.letter + ",") + option.name;
    if (option.isFlag() || option.mayHaveValue()) {
      app.add_flag(names);
    } else {
      app.add_option(names)->take_all();
    }
  }
}

/// What stands behind equals signs, from the line itself: CLI11 makes "true" and "false" of some values of flags.
/// @param count  of the option on the line; where no value stands it is empty
std::vector<std::string> valuesOnLine(int argc, char** argv, const std::string& option, size_t count) {
  std::vector<std::string> values;
  for (int i = 1; i < argc && std::string(argv[i]) != "--"; ++i) {
    const std::string word = argv[i];
    if (word.starts_with(option + "=")) values.push_back(word.substr(option.size() + 1));
  }
  values.resize(count);
  return values;
}

void collect(int argc, char** argv, const CLI::App& app, const std::vector<Option>& options, GivenWords& given) {
  for (const Option& option : options) {
    if (option.isArgument()) continue;
    const CLI::Option& found = *app.get_option(option.name);
    if (found.count() == 0) continue;
    given.options[option.name] =
        option.mayHaveValue() ? valuesOnLine(argc, argv, option.name, found.count()) : found.results();
  }
}

/// "--name=" would take the next word for its value, and "--flag=no" would be a number.
std::string mistakeAfterEqualsSign(int argc, char** argv, const std::vector<Option>& options) {
  for (int i = 1; i < argc && std::string(argv[i]) != "--"; ++i) {
    for (const Option& option : options) {
      if (!std::string(argv[i]).starts_with(option.name + "=")) continue;
      if (option.isFlag()) return option.name + ": takes no value";
      if (argv[i] == option.name + "=") return option.name + ": must not be empty";
    }
  }
  return "";
}

/// Of a line that CLI11 could not sort.
std::string mistakeOf(const CLI::ParseError& error, const std::string& lastWord, const std::vector<Option>& options) {
  for (const Option& option : options) {
    if (option.name == lastWord) return option.name + ": " + option.valueName + " is missing";
  }
  return printable(error.what());
}

}  // namespace

GivenWords sortWords(int argc, char** argv, const std::vector<Option>& options,
                     const std::vector<std::unique_ptr<Command>>& commands) {
  CLI::App app;
  app.set_help_flag();
  app.fallthrough();
  app.allow_extras();
  app.require_subcommand(0, 1);
  declare(app, options);
  std::vector<Option> everyOption = options;
  for (const auto& command : commands) {
    const std::vector<Option> own = command->options();
    declare(addCommand(app, command->name()), own);
    everyOption.insert(everyOption.end(), own.begin(), own.end());
  }

  CLI::App& help = addCommand(app, kHelpCommand);

  GivenWords given;
  given.mistake = mistakeAfterEqualsSign(argc, argv, everyOption);
  try {
    if (given.mistake.empty()) app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    given.mistake = mistakeOf(error, argv[argc - 1], everyOption);
  }
  for (const auto& command : commands) {
    const CLI::App& sub = *app.get_subcommand(command->name());
    if (!sub.parsed()) continue;
    given.command = command.get();
    given.arguments = sub.get_option(kArguments)->results();
    collect(argc, argv, sub, command->options(), given);
  }
  given.asksForHelp = help.parsed();
  if (given.asksForHelp) given.arguments = help.get_option(kArguments)->results();
  collect(argc, argv, app, options, given);
  given.unknown = app.remaining(true);
  std::erase(given.unknown, "--");
  return given;
}

}  // namespace host
