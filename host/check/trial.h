// What a rule works with: the plugin, the host's disks, and what passes between plugin and driver.
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/check/rule.h"
#include "host/disks/host_disk.h"
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

enum class Kind { volume, externalVolume, disk };

/// A disk that the plugin serves, with its part of the model on the simulated host.
struct Subject {
  HostDisk disk;
  Kind kind = Kind::volume;
  const simulator::Controller* controller = nullptr;
  const simulator::Volume* volume = nullptr;
  const simulator::Drive* drive = nullptr;
};

/// Counts commands on their way, and remembers the first one. Keeps those that write from the driver where nothing may
/// be switched, whatever the plugin does.
class CommandCounter final : public CommandWatcher {
 public:
  explicit CommandCounter(bool holdsBackWrites) : holdsBackWrites_(holdsBackWrites) {}

  [[nodiscard]] uint32_t begun() const;
  [[nodiscard]] uint32_t writes() const;      ///< that send data to the controller, held back or not
  [[nodiscard]] uint32_t mostAtOnce() const;  ///< on their way at the same time
  [[nodiscard]] bool firstIsBack() const;     ///< the very first command has returned

 private:
  [[nodiscard]] bool holdsBack(const InterceptedCommand& command) override;
  void passed(InterceptedCommand command) override;

  const bool holdsBackWrites_;
  mutable std::mutex mutex_;
  uint32_t begun_ = 0;
  uint32_t writes_ = 0;
  uint32_t onTheirWay_ = 0;
  uint32_t mostAtOnce_ = 0;
  std::thread::id firstCaller_;
  bool firstIsBack_ = false;
};

/// A handle, closed at the end of the scope; may hold null.
class Handle {
 public:
  Handle(const DmuPluginDescriptor& plugin, CtrlDevInfo* handle) : plugin_(plugin), handle_(handle) {}
  ~Handle();
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  [[nodiscard]] CtrlDevInfo* get() const { return handle_; }

 private:
  const DmuPluginDescriptor& plugin_;
  CtrlDevInfo* handle_;
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
  [[nodiscard]] bool maySwitch() const { return isSimulated() && !setup_.readOnly; }
  [[nodiscard]] CommandCounter& commands() { return commands_; }

  /// The disks of the plugin's driver; skips the rule when there are none.
  [[nodiscard]] std::vector<HostDisk> servedDisks() const;

  /// A few disks of each controller, of a kind or of all kinds; skips the rule when there are none.
  [[nodiscard]] std::vector<Subject> subjects(Kind kind);
  [[nodiscard]] std::vector<Subject> subjects();

  /// Moves all drives, so that their locations come in another order than their numbers, and gives each a temperature
  /// of its own. Before the plugin's first call.
  void scatterDrives();

  /// Opens a handle as the daemon does; fails the rule when the plugin refuses.
  [[nodiscard]] Handle open(const HostDisk& disk);

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
