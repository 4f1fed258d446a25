// Keeps the commands of a run as they pass between plugin and driver: to show them, to hold back those that would
// change something, and to tell afterwards what an operation did.
#pragma once

#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "host/interception/command_watcher.h"
#include "host/output/json.h"

namespace host {

class CommandLog final : public CommandWatcher {
 public:
  /// Which commands are shown, and where.
  enum class Show { nothing, onStandardOutput, inDocument };

  explicit CommandLog(Show show) : show_(show) {}

  /// From now on commands that send data to the controller are not sent.
  void holdBackWrites() { holdsBackWrites_ = true; }
  [[nodiscard]] bool holdsBackWrites() const { return holdsBackWrites_; }

  /// The commands from now on are not shown.
  void stopShowing() { showsNoMore_ = true; }

  [[nodiscard]] bool shows() const { return show_ != Show::nothing; }

  /// The number of commands so far: a place in the log.
  [[nodiscard]] size_t size() const { return commands_.size(); }

  /// The commands from a place on; valid until the next command.
  [[nodiscard]] std::span<const InterceptedCommand> since(size_t place) const;

  /// Key "commands": an array, or null when the document does not show them.
  void addTo(Json& document) const;

 private:
  [[nodiscard]] bool holdsBack(const InterceptedCommand& command) override;
  void passed(InterceptedCommand command) override;
  void channelCalled(const ChannelCall& call) override;

  template <typename Call>
  void showCall(const Call& call);

  const Show show_;
  bool showsNoMore_ = false;
  Json shown_ = Json::array();
  bool holdsBackWrites_ = false;
  std::vector<InterceptedCommand> commands_;
};

/// What became of a command: "ok", "not sent", "driver status 0x5", "call failed with 0x1".
[[nodiscard]] std::string resultText(const InterceptedCommand& command);
[[nodiscard]] std::string resultText(const ChannelCall& call);

/// The command's name, as fault rules name it too; "unknown command" for one that is none of the known.
[[nodiscard]] std::string nameOf(const InterceptedCommand& command);

}  // namespace host
