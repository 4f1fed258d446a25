// A command of the program. Each lies in a file of its own below commands/; the table of all is command_table.cpp.
#pragma once

#include <memory>
#include <nlohmann/json.hpp>
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

/// A command line and what it is for.
struct Example {
  std::string purpose;
  std::string line;
};

/// What the help says of a command, besides its options.
struct Description {
  std::string name;               ///< the word on the command line
  std::string group;              ///< its heading in the help: one of those below
  std::string summary;            ///< what it does, in half a line
  std::string onRealHost;         ///< what of it works there, in a sentence
  std::vector<Example> examples;  ///< the shortest first
};
inline constexpr const char* kLooking = "Look";
inline constexpr const char* kSwitching = "Switch";
inline constexpr const char* kForSupport = "Take a host along";
inline constexpr const char* kForPluginAuthors = "For plugin authors";
inline constexpr const char* kWorksThere = "Works on a real host.";
inline constexpr const char* kFindsDisks =
    "Works on a real host: the controllers are asked for its disks, unless --inventory FILE names them.";

class Command {
 public:
  explicit Command(Description description) : description_(std::move(description)) {}
  virtual ~Command() = default;
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

  /// The command's own options and arguments, which are stored in this object.
  [[nodiscard]] virtual std::vector<Option> options() { return {}; }

  /// The columns of its table, by name with what each shows; none: they cannot be chosen.
  [[nodiscard]] virtual std::vector<std::pair<std::string, std::string>> columns() const { return {}; }

  /// Whether it is to change settings of the hardware.
  [[nodiscard]] virtual bool switches() const { return false; }

  /// Seconds after which it is to be carried out again; 0: once.
  [[nodiscard]] virtual int repeatsAfter() const { return 0; }

  /// Carries the command out.
  /// @throws Refusal  it cannot be carried out
  [[nodiscard]] virtual Outcome run(Session& session) = 0;

  /// The command's own keys of the document when it was refused.
  [[nodiscard]] virtual Json emptyResult() const { return {{"devices", Json::array()}}; }

  [[nodiscard]] const std::string& name() const { return description_.name; }
  [[nodiscard]] const Description& description() const { return description_; }

 private:
  const Description description_;
};

/// The command of this name; null: there is none.
[[nodiscard]] Command* findCommand(const std::vector<std::unique_ptr<Command>>& commands, const std::string& name);

/// All commands, in the order in which the help shows them, group by group.
[[nodiscard]] std::vector<std::unique_ptr<Command>> allCommands();

}  // namespace host
