// The options of every command, and what the command line asks for.
#include "host/command_line/command_line.h"

#include "host/command_line/given_words.h"
#include "host/command_line/help.h"
#include "host/command_line/manual_page.h"
#include "host/command_line/option_values.h"
#include "host/output/text.h"

namespace host {
namespace {

constexpr const char* kVersionText = "dmu-host " DMU_VERSION "\n";
constexpr const char* kManual = "--man";  // for those who build the program: in no help

std::vector<Option> everyCommandsOptions(GlobalOptions& options) {
  return {
      {.name = "--help",
       .valueName = "",
       .help = "Print this help message and exit",
       .value = Question{},
       .letter = "-h"},
      {"--version", "", "Print the program's version and exit", Question{}},
      {"--plugin", "FILE", "The plugin to load (default: the one beside this program)", Text{&options.pluginFile}},
      {"--library", "FILE",
       "The management library to load (default: the simulated host's, or the system's where it is the only one)",
       Text{&options.libraryFile}},
      {"--topology", "FILE", "Topology of the simulated host (default: built in)", Text{&options.topologyFile}},
      {"--inventory", "FILE", "Take the host's disks from this file (needed on a real host)",
       Text{&options.inventoryFile}},
      {"--state", "FILE", "Keep the state of the simulated hardware in this file", Text{&options.stateFile}},
      {"--record", "FILE", "Write what the host is asked and answers to this file", Text{&options.recordFile}},
      {.name = "--replay",
       .valueName = "FILE",
       .help = "Take all answers from this recording, none from a host",
       .value = Text{&options.replayFile},
       .excludes = {"--topology", "--inventory", "--state", "--record"}},
      {"--show-commands", "", "Show each command that reaches the driver", Flag{&options.showCommands}},
      {"--json", "", "Write a JSON document instead of text", Flag{&options.json}},
  };
}

/// Names the command as far as it was read, the mistake, and where to read on.
void complainOfUsage(const Command* command, const std::string& mistake) {
  const std::string name = command == nullptr ? "" : command->name();
  complain((name.empty() ? "" : name + ": ") + mistake + " (see \"dmu-host" + (name.empty() ? "" : " " + name) +
           " --help\")");
}

/// @throws WrongUsage
void takeCommand(const GivenWords& given, std::vector<Option> options) {
  if (!given.unknown.empty()) {
    const std::string& word = given.unknown.front();
    throw WrongUsage((word.starts_with('-') ? "unknown option \"" : "unknown command \"") + printable(word) + "\"");
  }
  if (given.command == nullptr) throw WrongUsage("give a command");
  const std::vector<Option> own = given.command->options();
  options.insert(options.end(), own.begin(), own.end());
  takeValues(given, options);
}

}  // namespace

CommandLine readCommandLine(int argc, char** argv, const std::vector<std::unique_ptr<Command>>& commands) {
  CommandLine line;
  const std::vector<Option> shown = everyCommandsOptions(line.options);
  std::vector<Option> options = shown;
  options.push_back({kManual, "", "Print this manual page, as source for man, and exit", Question{}});

  const GivenWords given = sortWords(argc, argv, options, commands);
  try {
    if (!given.mistake.empty()) throw WrongUsage(given.mistake);
    if (given.has("--help")) {
      line.text = given.command == nullptr ? programHelp(shown, commands) : commandHelp(*given.command);
    } else if (given.has("--version")) {
      line.text = kVersionText;
    } else if (given.has(kManual)) {
      line.text = manualPage(shown, commands);
    } else {
      takeCommand(given, options);
      line.command = given.command;
    }
  } catch (const WrongUsage& mistake) {
    complainOfUsage(given.command, mistake.what());
    line.status = ExitStatus::wrongUsage;
  }
  return line;
}

}  // namespace host
