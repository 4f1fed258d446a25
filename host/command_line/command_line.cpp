// The options of every command, and what the command line asks for.
#include "host/command_line/command_line.h"

#include <cstdio>

#include "host/command_line/completion.h"
#include "host/command_line/given_words.h"
#include "host/command_line/help.h"
#include "host/command_line/manual_page.h"
#include "host/command_line/option_values.h"
#include "host/output/columns.h"
#include "host/output/text.h"
#include "json/json_object.h"

namespace host {
namespace {

constexpr const char* kVersionText = "dmu-host " DMU_VERSION "\n";
constexpr const char* kManual = "--man";         // for those who build the program: in no help
constexpr const char* kComplete = "--complete";  // for completion.bash: the line so far, and the piece to replace

std::vector<Option> everyCommandsOptions(GlobalOptions& options) {
  std::vector<Option> all;
  const auto add = [&](const char* group, const std::vector<Option>& some) {
    for (const Option& option : some) all.emplace_back(option).group = group;
  };
  add("Host and plugin",
      {{"--plugin", "FILE", "The plugin to load (default: the one beside this program)", File{&options.pluginFile}},
       {"--library", "FILE",
        "The management library to load (default: the simulated host's, or the system's where it is the only one)",
        File{&options.libraryFile}},
       {"--inventory", "FILE", "Take the host's disks from this file (see inventory)", File{&options.inventoryFile}}});
  add("Simulated host",
      {{"--topology", "FILE", "Topology of the simulated host (default: built in)", File{&options.topologyFile}},
       {"--state", "FILE", "Keep the state of the simulated hardware in this file", File{&options.stateFile}}});
  add("Recordings",
      {{"--record", "FILE", "Write what the host is asked and answers to this file", File{&options.recordFile}},
       {.name = "--replay",
        .valueName = "FILE",
        .help = "Take all answers from this recording, none from a host",
        .value = File{&options.replayFile},
        .excludes = {"--topology", "--inventory", "--state", "--record"}}});
  add("Output", {{"--json", "", "Write a JSON document instead of text", Flag{&options.json}},
                 {"--show-commands", "", "Show each command that reaches the driver", Flag{&options.showCommands}}});
  add("Help", {{.name = "--help",
                .valueName = "",
                .help = "Print this help, or that of a command, and exit",
                .value = Question{},
                .letter = "-h"},
               {"--version", "", "Print the program's version and exit", Question{}}});
  return all;
}

/// Names the command as far as it was read, the mistake, and where to read on.
void complainOfUsage(const Command* command, const std::string& mistake) {
  const std::string name = command == nullptr ? "" : command->name();
  complain((name.empty() ? "" : name + ": ") + mistake + " (see \"dmu-host" + (name.empty() ? "" : " " + name) +
           " --help\")");
}

/// @param candidates  what could have been meant
std::string unknown(const std::string& kind, const std::string& word, const std::vector<std::string>& candidates) {
  const std::vector<std::string_view> views(candidates.begin(), candidates.end());
  return "unknown " + kind + " \"" + printable(word) + "\"" + input::suggestion(word, views);
}

std::string unknownCommand(const std::string& word, const std::vector<std::unique_ptr<Command>>& commands) {
  std::vector<std::string> names = {kHelpCommand};
  for (const auto& command : commands) names.push_back(command->name());
  return unknown("command", word, names);
}

/// @param options  of every command and of the one that was given
std::string unknownOption(const std::string& word, const std::vector<Option>& options) {
  const std::string name = word.substr(0, word.find('='));
  if (findOption(options, name) != nullptr) return name + " must stand behind the command";
  std::vector<std::string> names;
  for (const Option& option : options) names.push_back(option.name);
  return unknown("option", name, names);
}

/// @param options  of every command
/// @throws WrongUsage
std::string helpFor(const GivenWords& given, const std::vector<Option>& options,
                    const std::vector<std::unique_ptr<Command>>& commands) {
  Command* command = given.command;
  if (given.asksForHelp && !given.arguments.empty()) {
    if (given.arguments.size() > 1) throw WrongUsage("unexpected argument \"" + printable(given.arguments[1]) + "\"");
    const std::string& name = given.arguments.front();
    command = findCommand(commands, name);
    if (command == nullptr && name != kHelpCommand) throw WrongUsage(unknownCommand(name, commands));
  }
  return command == nullptr ? programHelp(options, commands) : commandHelp(options, *command);
}

/// @param options  of every command and of the one that was given
/// @throws WrongUsage
void takeCommand(const GivenWords& given, const std::vector<Option>& options,
                 const std::vector<std::unique_ptr<Command>>& commands) {
  if (!given.unknown.empty()) {
    const std::string& word = given.unknown.front();
    throw WrongUsage(word.starts_with('-') ? unknownOption(word, options) : unknownCommand(word, commands));
  }
  if (given.command == nullptr) throw WrongUsage("give a command");
  takeValues(given, options);
}

}  // namespace

CommandLine readCommandLine(int argc, char** argv, const std::vector<std::unique_ptr<Command>>& commands) {
  CommandLine line;
  const std::vector<Option> shown = everyCommandsOptions(line.options);
  if (argc == 4 && argv[1] == std::string(kComplete)) {
    line.text = completionsOf(argv[2], argv[3], shown, line.options, commands);
    return line;
  }
  if (argc < 2) {
    std::fputs(programHelp(shown, commands).c_str(), stderr);
    line.status = ExitStatus::wrongUsage;
    return line;
  }
  std::vector<Option> options = shown;
  options.push_back({kManual, "", "Print this manual page, as source for man, and exit", Question{}});

  const GivenWords given = sortWords(argc, argv, options, commands);
  try {
    if (!given.mistake.empty()) throw WrongUsage(given.mistake);
    if (given.has("--help") || given.asksForHelp) {
      line.text = helpFor(given, shown, commands);
    } else if (given.has("--version")) {
      line.text = kVersionText;
    } else if (given.has(kListColumns)) {
      line.text = columnHelp(*given.command);
    } else if (given.has(kManual)) {
      line.text = manualPage(shown, commands);
    } else {
      takeCommand(given, given.command == nullptr ? shown : both(shown, given.command->options()), commands);
      line.command = given.command;
    }
  } catch (const WrongUsage& mistake) {
    complainOfUsage(given.command, mistake.what());
    line.status = ExitStatus::wrongUsage;
  }
  return line;
}

}  // namespace host
