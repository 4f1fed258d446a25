// What a rule works with: the plugin, the host's disks, and what passes between plugin and driver.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/check/calls.h"
#include "host/check/expect.h"
#include "host/check/rule.h"
#include "host/check/subject.h"
#include "host/interception/command_watcher.h"
#include "host/loading/loaded_plugin.h"

namespace host::check {

/// What a check is about.
struct Setup {
  std::string pluginFile;
  std::vector<HostDisk> disks;                        ///< of all drivers
  simulator::SimulatedHost* simulatedHost = nullptr;  ///< null on a real host
  bool readOnly = false;
};

/// The commands of a rule's process so far.
struct CommandCounts {
  uint32_t begun = 0;
  uint32_t writes = 0;  ///< that send data to the controller, held back or not
  uint32_t onTheirWay = 0;
  uint32_t mostAtOnce = 0;    ///< on their way at the same time
  bool firstIsBack = false;   ///< the very first command has returned
  uint32_t unreached = 0;     ///< calls that failed and without which no controller can be asked
  std::string lastUnreached;  ///< the last of these, and what came back
};

/// Counts commands on their way. Keeps those that write from the driver where nothing may be switched, whatever the
/// plugin does.
class CommandCounter final : public CommandWatcher {
 public:
  explicit CommandCounter(bool holdsBackWrites) : holdsBackWrites_(holdsBackWrites) {}

  [[nodiscard]] CommandCounts counts() const;

 private:
  [[nodiscard]] bool holdsBack(const InterceptedCommand& command) override;
  void passed(InterceptedCommand command) override;
  void channelCalled(const ChannelCall& call) override;
  void noteUnreached(const std::string& call, const std::string& result);

  const bool holdsBackWrites_;
  mutable std::mutex mutex_;
  CommandCounts counts_;
  std::thread::id firstCaller_;
};

class Trial;

/// Subjects for a loop: each is opened when the loop comes to it, and closed before the next.
class OpenedInTurn {
 public:
  OpenedInTurn(Trial& trial, std::vector<Subject> subjects) : trial_(trial), subjects_(std::move(subjects)) {}

  class Iterator {
   public:
    Iterator(Trial& trial, const Subject* subject) : trial_(trial), subject_(subject) {}
    OpenSubject operator*() const;
    Iterator& operator++() { return ++subject_, *this; }
    bool operator!=(const Iterator& other) const { return subject_ != other.subject_; }

   private:
    Trial& trial_;
    const Subject* subject_;
  };
  [[nodiscard]] Iterator begin() const { return {trial_, subjects_.data()}; }
  [[nodiscard]] Iterator end() const { return {trial_, subjects_.data() + subjects_.size()}; }

 private:
  Trial& trial_;
  std::vector<Subject> subjects_;
};

class Trial {
 public:
  /// Puts the simulated hardware into the state of its topology, without its fault rules.
  explicit Trial(const Setup& setup);
  Trial(const Trial&) = delete;
  Trial& operator=(const Trial&) = delete;

  [[nodiscard]] const std::string& pluginFile() const { return setup_.pluginFile; }

  /// The plugin's library and descriptor, loaded when first asked for. A plugin that cannot be used skips the rule:
  /// the groups "library" and "descriptor" say why.
  const PluginLibrary& library();
  const DmuPluginDescriptor& plugin();
  void unload();

  /// Only for rules that need it.
  [[nodiscard]] simulator::SimulatedHost& simulatedHost() const { return *setup_.simulatedHost; }
  [[nodiscard]] bool isSimulated() const { return setup_.simulatedHost != nullptr; }
  [[nodiscard]] CommandCounts commands() const { return commands_.counts(); }

  /// The disks of the plugin's driver; skips the rule when there are none.
  [[nodiscard]] std::vector<HostDisk> servedDisks() const;

  /// A few disks of each controller: of all kinds, of one kind, or those whose drives are the controller's own. Each
  /// skips the rule when there are none.
  [[nodiscard]] std::vector<Subject> subjects();
  [[nodiscard]] std::vector<Subject> subjects(Kind kind);
  [[nodiscard]] std::vector<Subject> subjectsWithDrives();

  /// The same with handles: `for (const OpenSubject& subject : trial.openEach())`.
  [[nodiscard]] OpenedInTurn openEach() { return {*this, subjects()}; }
  [[nodiscard]] OpenedInTurn openEach(Kind kind) { return {*this, subjects(kind)}; }
  [[nodiscard]] OpenedInTurn openEachWithDrives() { return {*this, subjectsWithDrives()}; }

  /// A disk like the first subject, but behind a controller, or of a device, that is not there.
  [[nodiscard]] HostDisk diskOfNoController();
  [[nodiscard]] HostDisk diskOfNoDevice();

  /// The operations that the rule may call: without the switching ones unless it may switch.
  [[nodiscard]] std::vector<Operation> operations() const;

  /// Moves all drives, so that their locations come in another order than their numbers, and gives each a temperature
  /// of its own. Before the plugin's first call.
  void scatterDrives();

  /// Opens a handle as the daemon does; fails the rule when the plugin refuses.
  [[nodiscard]] DeviceHandle open(const HostDisk& disk);

  /// Makes calls of the simulated host fail, wait or vanish.
  void addFault(const std::string& call, simulator::FaultAction action, uint32_t value = 0,
                uint32_t count = UINT32_MAX) const;

 private:
  void findSubjects();
  [[nodiscard]] std::optional<Subject> subjectOf(const HostDisk& disk);
  [[nodiscard]] std::optional<Subject> modelledSubject(const HostDisk& disk) const;
  [[nodiscard]] std::optional<Subject> askedSubject(const HostDisk& disk);

  const Setup& setup_;
  simulator::Topology topology_;
  CommandCounter commands_;
  std::optional<PluginLibrary> library_;
  const DmuPluginDescriptor* plugin_ = nullptr;
  std::optional<std::vector<Subject>> subjects_;
};

}  // namespace host::check
