// The simulated host as one object: the model behind one lock, what the driver and the disk nodes do with it, and its
// public interface. The exported C calls (management_calls.cpp, disk_calls.cpp) only hand over to it.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/vmkmgmt.h"
#include "simulator/controller_model.h"
#include "simulator/driver_errors.h"
#include "simulator/faults.h"
#include "simulator/simulated_host.h"
#include "simulator/state_lock.h"
#include "simulator/wire.h"

namespace simulator {

class HostModel final : public SimulatedHost {
 public:
  /// The process's host; it lives until the process has ended.
  static HostModel& instance();

  // Management calls (driver.cpp). Results are ManagementErrors, or the code of a fault rule.
  [[nodiscard]] int32_t openChannel(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** handle);
  [[nodiscard]] int32_t closeChannel(vmk_MgmtUserHandle* handle);
  [[nodiscard]] bool isOpen(vmk_MgmtUserHandle* handle) const;
  [[nodiscard]] int32_t queryInstances(wire::InstanceList& list, uint32_t& status);
  [[nodiscard]] int32_t passthru(uint32_t instance, wire::PassthruRecord& record, uint32_t& status);

  // Disk nodes (disk_nodes.cpp). Results are 0 or an errno.
  [[nodiscard]] int openNode(std::string_view name);
  [[nodiscard]] int nodeRequest(std::string_view name, unsigned long request, void* argument);
  void closeNode();

  // SimulatedHost (host_model.cpp).
  std::optional<std::string> loadFile(const std::string& file) override;
  std::optional<std::string> loadText(const std::string& json, const std::string& name) override;
  void load(const Topology& topology) override;
  std::optional<std::string> whyUnusable() const override;
  Topology topology() const override;
  std::string builtInTopology() const override;
  std::optional<std::string> useStateFile(const std::string& file, StateUse use) override;
  std::vector<HostDisk> disks() const override;
  std::vector<ControllerState> state() const override;
  void addFault(const FaultRule& rule) override;
  void clearFaults() override;
  std::vector<FaultReport> faults() const override;
  void recordCommands(bool on) override;
  std::vector<SentCommand> takeCommands() override;
  CallCounts counts() const override;
  void resetCounts() override;
  void setClock(std::function<uint64_t()> tenths) override;

 private:
  /// What a node name stands for. The views in `call` are good under the lock.
  struct Node {
    Call call;
    std::string serial;
    uint8_t deviceType = 0;
    bool present = true;
  };

  /// Begins with the topology of DMU_TOPOLOGY, or else the built-in one.
  HostModel();
  ~HostModel() = default;

  // All of these need the lock.
  void replaceModel(const Topology& topology);
  void addRule(const FaultRule& rule);
  [[nodiscard]] uint64_t now() const;
  [[nodiscard]] uint32_t instanceCount() const;
  [[nodiscard]] std::optional<Node> findNode(std::string_view name) const;
  [[nodiscard]] CommandResult carryOutAndKeep(uint32_t instance, const DecodedCommand& command, BytesView data);

  // The state file (host_model_state.cpp). What they return is wrong with it.
  [[nodiscard]] std::optional<std::string> readState();
  [[nodiscard]] std::optional<std::string> beginChanges();

  /// Says once on standard error why there is no topology to work with, if so.
  bool isUsableElseSaysWhy() const;

  /// Counts a call at the rules, lets vanish what they say, and waits as long as they say with the lock released.
  [[nodiscard]] FaultEffect meetFaults(std::unique_lock<std::mutex>& lock, const Call& call);

  [[nodiscard]] int32_t carryOutRecord(std::unique_lock<std::mutex>& lock, uint32_t instance,
                                       wire::PassthruRecord& record, uint32_t& status, Bytes& dataToController);

  mutable std::mutex mutex_;
  std::string unusable_;  ///< why DMU_TOPOLOGY could not be used
  mutable bool unusableSaid_ = false;
  Topology topology_;
  std::vector<ControllerModel> controllers_;
  Faults faults_;
  std::string stateFile_;  ///< empty: none is used
  StateLock stateLock_;
  std::function<uint64_t()> clock_;
  std::set<const void*> channels_;
  uintptr_t nextChannel_ = 0x1000;
  CallCounts counts_;
  bool recording_ = false;
  std::vector<SentCommand> recorded_;
};

}  // namespace simulator
