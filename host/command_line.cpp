// The command line's grammar, its help and its errors.
#include "host/command_line.h"

#include <CLI/CLI.hpp>
#include <cstdio>

#include "host/manual_page.h"
#include "host/text.h"

namespace host {
namespace {

/// Help that begins with examples; each command keeps them as its footer.
class ExamplesFirst final : public CLI::Formatter {
 public:
  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
    return make_footer(app) + "\n" + make_description(app) + "\n" + make_usage(app, std::move(name)) +
           make_positionals(app) + make_groups(app, mode) + make_subcommands(app, mode) +
           (app->get_parent() == nullptr ? "" : "\nFor the options of every command see \"dmu-host --help\".\n");
  }

  /// An argument's fixed words come behind its name.
  std::string make_option_usage(const CLI::Option* option) const override {
    const std::string words = option->get_type_name();
    return CLI::Formatter::make_option_usage(option) + (words.empty() ? "" : " " + words);
  }
};

std::string linesOf(const std::vector<std::string>& examples) {
  std::string lines;
  for (const std::string& example : examples) lines += (lines.empty() ? "" : "\n") + ("  " + example);
  return lines;
}

void addGlobalOptions(CLI::App& app, GlobalOptions& options) {
  app.add_option("--plugin", options.pluginFile, "The plugin to load (default: the one beside this program)")
      ->type_name("FILE");
  app.add_option(
         "--library", options.libraryFile,
         "The management library to load (default: the simulated host's, or the system's where it is the only one)")
      ->type_name("FILE");
  auto* topology =
      app.add_option("--topology", options.topologyFile, "Topology of the simulated host (default: built in)")
          ->type_name("FILE");
  auto* inventory = app.add_option("--inventory", options.inventoryFile,
                                   "Take the host's disks from this file (needed on a real host)")
                        ->type_name("FILE");
  auto* state = app.add_option("--state", options.stateFile, "Keep the state of the simulated hardware in this file")
                    ->type_name("FILE");
  auto* record =
      app.add_option("--record", options.recordFile, "Write what the host is asked and answers to this file");
  auto* replay =
      app.add_option("--replay", options.replayFile, "Take all answers from this recording, none from a host");
  record->type_name("FILE");
  replay->type_name("FILE")->excludes(record)->excludes(topology)->excludes(inventory)->excludes(state);
  app.add_flag("--show-commands", options.showCommands, "Show each command that reaches the driver");
  app.add_flag("--json", options.json, "Write a JSON document instead of text");
}

/// Names the command as far as it was read, the mistake, and where to read on.
void complainOfUsage(const CLI::App& app, const CLI::ParseError& error) {
  const auto commands = app.get_subcommands();
  const std::string name = commands.empty() ? "" : commands.back()->get_name();
  complain((name.empty() ? "" : name + ": ") + printable(error.what()) + " (see \"dmu-host" +
           (name.empty() ? "" : " " + name) + " --help\")");
}

}  // namespace

CommandLine readCommandLine(int argc, char** argv, const std::vector<std::unique_ptr<Command>>& commands) {
  CommandLine line;
  CLI::App app("A host for storage plugins: loads one as the storage daemon does and shows what it answers.",
               "dmu-host");
  app.formatter(std::make_shared<ExamplesFirst>());
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.fallthrough();
  app.require_subcommand(0, 1);
  addGlobalOptions(app, line.options);
  bool wantsManual = false;
  app.add_flag("--man", wantsManual, "Write this manual page, as source for man")->group("");

  std::vector<std::string> firstExamples;
  for (const auto& command : commands) {
    CLI::App* sub = app.add_subcommand(command->name(), command->summary());
    sub->group("Commands");
    sub->footer(linesOf(command->examples()));
    sub->final_callback([&line, &command] { line.command = command.get(); });
    command->addOptions(*sub);
    firstExamples.push_back(command->examples().front());
  }
  app.footer(linesOf(firstExamples));

  try {
    app.parse(argc, argv);
    if (wantsManual) {
      std::printf("%s", manualPage(app, commands).c_str());
      line.command = nullptr;
      return line;
    }
    if (line.command == nullptr) throw CLI::ValidationError("give a command");
  } catch (const CLI::CallForHelp&) {
    std::printf("%s", app.help().c_str());
    line.command = nullptr;
  } catch (const CLI::ParseError& error) {
    complainOfUsage(app, error);
    line.command = nullptr;
    line.status = ExitStatus::wrongUsage;
  }
  return line;
}

}  // namespace host
