// dmu-host anonymize: takes out of a recording what tells whose host it was.
#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/output/file_replacement.h"
#include "host/output/text.h"
#include "host/recording/anonymizer.h"
#include "host/recording/lines.h"
#include "host/recording/recording.h"

namespace host {
namespace {

Json anonymousLines(const std::string& file) {
  recording::RecordedCalls recorded = recording::readRecording(file);
  const recording::Anonymizer anonymizer;
  Json lines = Json::array();
  lines.push_back(recording::firstLine(recorded.repeats));
  for (recording::AnyCall& call : recorded.calls) {
    anonymizer.apply(call);
    lines.push_back(recording::lineOf(std::move(call), 0));
  }
  lines.push_back(recording::lastLine());
  return lines;
}

class AnonymizeCommand final : public Command {
 public:
  AnonymizeCommand()
      : Command({.name = "anonymize",
                 .group = kForSupport,
                 .summary = "Replace names, serial numbers and ids in a recording",
                 .onRealHost = "Needs no host.",
                 .examples = {{"To be given away", "dmu-host anonymize host.jsonl --output case.jsonl"},
                              {"In its place", "dmu-host anonymize host.jsonl --output host.jsonl"}}}) {}

  std::vector<Option> options() override {
    return {{.name = "RECORDING",
             .valueName = "",
             .help = "The recording to read",
             .value = File{&recording_},
             .isNeeded = true},
            {"--output", "FILE", "Write the new recording to this file (default: standard output)", File{&output_}}};
  }

  [[nodiscard]] Json emptyResult() const override { return {{"lines", nullptr}, {"file", nullptr}}; }

  Outcome run(Session& /*session*/) override {
    Json lines = anonymousLines(recording_);
    std::string text;
    for (const Json& line : lines) text += line.dump(-1, ' ', true) + "\n";
    if (output_.empty()) return {text, {{"lines", std::move(lines)}, {"file", nullptr}}};
    replaceFile(output_, text);
    return {
        printable(output_) + ": " + counted(lines.size() - 2, "call") + ", names, serial numbers and ids replaced\n",
        {{"lines", nullptr}, {"file", output_}}};
  }

 private:
  std::string recording_;
  std::string output_;
};

}  // namespace

std::unique_ptr<Command> makeAnonymizeCommand() {
  return std::make_unique<AnonymizeCommand>();
}

}  // namespace host
