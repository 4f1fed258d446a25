// One run of the program: the options that every command takes and what they name, each loaded when it is first asked
// for. A command that needs no plugin or no disks therefore works without them.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/disks/host_disk.h"
#include "host/interception/command_log.h"
#include "host/loading/loaded_plugin.h"
#include "host/loading/management_library.h"
#include "host/model/controllers.h"
#include "host/output/terminal.h"
#include "host/recording/recorder.h"
#include "host/recording/replay.h"
#include "host/report.h"

namespace host {

/// The options that may stand before or after the command; empty texts were not given.
struct GlobalOptions {
  std::string pluginFile;
  std::string libraryFile;
  std::string topologyFile;
  std::string inventoryFile;
  std::string stateFile;
  std::string recordFile;
  std::string replayFile;
  bool json = false;
  bool showCommands = false;
};

class Session {
 public:
  /// @param terminal  that is written to
  Session(const GlobalOptions& options, const Terminal& terminal);

  /// Records or replays from now on, if an option says so.
  /// @param switches  whether settings of the hardware are to be changed
  /// @throws Refusal  the recording cannot be written, or is refused
  void begin(bool switches);

  /// Records from now on, into a recording that repeats. The plugin is loaded anew, so that it asks for everything.
  /// @param disks     what the recorded host's list of disks is to be
  /// @param isAnonymous  names, serial numbers and ids are replaced
  /// @throws Refusal  the recording cannot be written, or the run is recorded or replayed already
  void record(const std::string& file, const std::vector<HostDisk>& disks, bool isAnonymous);

  /// Whether the replayed recording had no answer to a request. That was reported then, and nothing since.
  [[nodiscard]] bool lacksAnswer() const { return lacksAnswer_; }

  /// The files that the run reads or keeps, as far as they are named.
  [[nodiscard]] std::vector<recording::RunFile> ownFiles() const;

  /// Whether a state file was named.
  [[nodiscard]] bool hasStateFile() const { return !options_.stateFile.empty(); }

  /// Whether standard output is for one document alone.
  [[nodiscard]] bool writesDocument() const { return options_.json; }

  /// Whether the answers come from a recording.
  [[nodiscard]] bool isReplay() const { return replay_ != nullptr; }

  /// Unloads the plugin and ends the recording.
  /// @return nothing, or why the recording is not whole
  [[nodiscard]] std::optional<std::string> end();

  /// The file of the plugin that was asked for, loaded or not.
  [[nodiscard]] std::string pluginFile() const;

  /// The management library, loaded when it is first asked for, as it is for everything below.
  /// @throws Refusal  there is none that can be used
  const ManagementLibrary& library();

  /// The host's disks: from the recording or the inventory file, else from the simulated host, of every driver; else
  /// those that the controllers list, which is said.
  /// @throws Refusal  there are none, or they cannot be found out
  const std::vector<HostDisk>& disks();

  /// The same for those who do not refuse a host without disks.
  /// @throws Refusal  they cannot be found out
  const std::vector<HostDisk>& disksIfAny();

  /// Whether the plugin was loaded, so that what failed since then is the host's.
  [[nodiscard]] bool hasPlugin() const { return plugin_.has_value(); }

  /// The plugin's descriptor.
  /// @throws Refusal  it cannot be loaded
  const DmuPluginDescriptor& plugin();

  /// Unloads the plugin, until it is asked for again.
  void unloadPlugin() { plugin_.reset(); }

  /// The simulated host with its topology loaded.
  /// @param purpose  what it is needed for, for the refusal on a real host
  /// @throws Refusal  this is a real host, or a file named by an option is refused
  simulator::SimulatedHost& simulatedHost(const std::string& purpose);

  /// The same where there is one; null on a real host.
  [[nodiscard]] simulator::SimulatedHost* simulatedHostIfAny();

  /// Where the fault rules were written that never hit a call of the plugin; none before the plugin was loaded.
  [[nodiscard]] std::vector<std::string> unfiredFaults() const;

  /// Which management library was loaded, if any, for a run that failed.
  [[nodiscard]] std::optional<std::string> libraryText() const;

  /// Keys "library", "plugin", "faultsNeverFired" and "commands".
  void addTo(Json& document) const;

  [[nodiscard]] const Terminal& terminal() const { return terminal_; }
  [[nodiscard]] Report& report() { return report_; }
  [[nodiscard]] CommandLog& commands() { return commands_; }

  /// The controllers as the commands show them that passed so far; valid until the next command.
  const model::Controllers& controllers();

 private:
  void prepareHost();
  [[nodiscard]] std::string whatIsSimulated() const;
  [[nodiscard]] std::vector<HostDisk> findDisks();

  const GlobalOptions options_;
  const Terminal terminal_;
  Report report_;
  std::unique_ptr<recording::Recorder> recorder_;
  std::unique_ptr<recording::Replay> replay_;
  CommandLog commands_;  // in front of those two
  model::Controllers controllers_;
  size_t commandsSeen_ = 0;  // by controllers_
  std::optional<ManagementLibrary> library_;
  bool switches_ = false;
  bool prepared_ = false;
  bool lacksAnswer_ = false;
  simulator::SimulatedHost* simulatedHost_ = nullptr;  // null on a real host and in a replay
  std::optional<std::vector<HostDisk>> disks_;
  std::optional<LoadedPlugin> plugin_;
};

}  // namespace host
