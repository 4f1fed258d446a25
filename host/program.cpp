// Reads the command line, carries out one command and writes its result as text or as a JSON document.
#include "host/program.h"

#include <ctime>
#include <new>
#include <nlohmann/json.hpp>

#include "host/command_line/command_line.h"
#include "host/output/local_time.h"
#include "host/output/output.h"
#include "host/waiting/progress.h"
#include "host/waiting/watch.h"

namespace host {
namespace {

/// Names the shape of the document; the version rises when a key changes its meaning or goes.
constexpr const char* kDocumentFormat = "dmu-host";
constexpr int kDocumentVersion = 2;
constexpr int kOnOneLine = -1;

Outcome runCommand(Command& command, Session& session) {
  Outcome outcome;
  bool isResult = true;
  try {
    session.begin(command.switches());
    outcome = command.run(session);
  } catch (const Refusal& refusal) {
    session.report().refused(refusal);
    isResult = false;
  }
  isResult = isResult && !session.lacksAnswer();
  return isResult ? std::move(outcome) : Outcome{"", command.emptyResult()};
}

void writeDocument(const Command& command, Session& session, const Outcome& outcome) {
  Json document = {{"format", kDocumentFormat}, {"version", kDocumentVersion}, {"command", command.name()}};
  if (command.repeatsAfter() != 0) document["time"] = isoTime(std::time(nullptr));
  session.report().addTo(document);
  session.addTo(document);
  document.update(outcome.json);
  // Texts come from devices and need not be UTF-8.
  const int indent = command.repeatsAfter() != 0 ? kOnOneLine : 2;
  print(document.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n");
}

/// A result that did not reach its reader is a failure too.
bool reachedOutput() {
  const std::string why = whyOutputIsMissing();
  if (!why.empty()) complain("standard output: " + why);
  return why.empty();
}

ExitStatus answer(const CommandLine& line) {
  print(line.text);
  return reachedOutput() ? line.status : ExitStatus::failed;
}

ExitStatus run(Command& command, const GlobalOptions& options, const Terminal& terminal) {
  const Progress progress;
  Session session(options, terminal);
  const Outcome outcome = runCommand(command, session);
  if (options.json) {
    writeDocument(command, session, outcome);
  } else {
    print(outcome.text);
  }
  const bool written = reachedOutput();
  for (const std::string& place : session.unfiredFaults()) complain("fault rule at " + place + " never fired");
  const auto notRecorded = session.end();
  if (notRecorded) complain(*notRecorded);
  const ExitStatus status = written && !notRecorded ? session.report().exitStatus() : ExitStatus::failed;
  const auto library = session.libraryText();
  if (status != ExitStatus::done && library) complain("management library: " + *library);
  return status;
}

ExitStatus run(const CommandLine& line) {
  Command& command = *line.command;
  if (command.repeatsAfter() == 0) return run(command, line.options, Terminal::ofThisProcess());
  watch({"dmu-host " + command.name(), command.repeatsAfter(), line.options.json},
        [&](const Terminal& terminal) { return run(command, line.options, terminal); });
  return reachedOutput() ? ExitStatus::done : ExitStatus::failed;
}

}  // namespace

int runProgram(int argc, char** argv) try {
  prepareStandardStreams();
  const auto commands = allCommands();
  const CommandLine line = readCommandLine(argc, argv, commands);
  const ExitStatus status = line.command == nullptr ? answer(line) : run(line);
  return static_cast<int>(status);
} catch (const std::bad_alloc&) {
  complain("out of memory");
  return static_cast<int>(ExitStatus::failed);
}

}  // namespace host
