// A command of the program. Each lies in a file of its own below commands/; the table of all is command_table.cpp.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/command_line/option.h"
#include "host/output/json.h"
#include "host/session.h"

namespace host {

/// What a command found, in both forms, written from the same records.
struct Outcome {
  std::string text;  ///< for people; whole lines
  Json json;         ///< the command's own keys of the document
};

class Command {
 public:
  /// @param name      the word on the command line
  /// @param summary   what it does, in half a line
  /// @param examples  whole command lines, the shortest first
  Command(std::string name, std::string summary, std::vector<std::string> examples)
      : name_(std::move(name)), summary_(std::move(summary)), examples_(std::move(examples)) {}
  virtual ~Command() = default;
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  /// The command's own options and arguments, which are stored in this object.
  [[nodiscard]] virtual std::vector<Option> options() { return {}; }

  /// Whether it is to change settings of the hardware.
  [[nodiscard]] virtual bool switches() const { return false; }

  /// Carries the command out.
  /// @throws Refusal  it cannot be carried out
  [[nodiscard]] virtual Outcome run(Session& session) = 0;

  /// The command's own keys of the document when it was refused.
  [[nodiscard]] virtual Json emptyResult() const { return {{"devices", Json::array()}}; }

  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] const std::string& summary() const { return summary_; }
  [[nodiscard]] const std::vector<std::string>& examples() const { return examples_; }

 private:
  std::string name_;
  std::string summary_;
  std::vector<std::string> examples_;
};

/// All commands, in the order in which the help shows them.
[[nodiscard]] std::vector<std::unique_ptr<Command>> allCommands();

}  // namespace host
