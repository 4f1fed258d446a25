// dmu-host trace: switches the plugin's trace on and off by its flag file, and shows what was traced.
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include "host/commands/commands.h"
#include "host/interception/trace_flag.h"
#include "host/output/files.h"
#include "host/output/json_values.h"
#include "host/output/text.h"

namespace host {
namespace {

[[noreturn]] void refuse(int error) {
  throw Refusal(std::string(kTraceFile) + ": " + std::strerror(error));
}

void switchOn() {
  // Anybody may write to /tmp: what a link there points to is not ours to create.
  const int file = open(kTraceFile, O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0644);
  if (file < 0) refuse(errno);
  close(file);
}

void switchOff() {
  if (unlink(kTraceFile) != 0 && errno != ENOENT) refuse(errno);
}

bool isOn() {
  struct stat64 status = {};
  return lstat64(kTraceFile, &status) == 0;
}

std::vector<std::string> tracedLines() {
  const auto status = statusOf(kTraceFile);
  if (!status) refuse(errno);
  if (!S_ISREG(status->st_mode)) throw Refusal(std::string(kTraceFile) + ": it is no regular file");
  std::vector<std::string> lines;
  std::ifstream stream(kTraceFile);
  if (!stream) refuse(errno);
  for (std::string line; std::getline(stream, line);) lines.push_back(std::move(line));
  return lines;
}

Json resultOf(const std::optional<bool>& on, const std::optional<std::vector<std::string>>& lines) {
  return {{"trace", {{"file", kTraceFile}, {"on", orNull(on)}, {"lines", orNull(lines)}}}};
}

class TraceCommand final : public Command {
 public:
  TraceCommand()
      : Command({.name = "trace",
                 .group = kForPluginAuthors,
                 .summary = "Switch the plugin's trace on or off, or show what was traced",
                 .onRealHost = kWorksThere,
                 .examples = {{"Trace from now on", "dmu-host trace on"},
                              {"Show what was traced", "dmu-host trace show"},
                              {"Stop, and delete the trace", "dmu-host trace off"}}}) {}

  std::vector<Option> options() override {
    return {{"WHAT", "", "on: begin to trace; off: stop and delete the trace; show: print it",
             Word{&what_, {"on", "off", "show"}}}};
  }

  [[nodiscard]] Json emptyResult() const override { return resultOf({}, {}); }

  Outcome run(Session&) override {
    if (what_ == "on") switchOn();
    if (what_ == "off") switchOff();
    const bool on = isOn();
    if (what_ != "show" || !on) {
      return {std::string("the trace is ") + (on ? "on" : "off") + " (" + kTraceFile + ")\n", resultOf(on, {})};
    }
    const auto lines = tracedLines();
    std::string text;
    for (const std::string& line : lines) text += printable(line) + "\n";
    return {text, resultOf(on, lines)};
  }

 private:
  std::string what_;
};

}  // namespace

std::unique_ptr<Command> makeTraceCommand() {
  return std::make_unique<TraceCommand>();
}

}  // namespace host
