// The simulated driver: channels, the instance query, and pass-through commands to the model's controllers.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>

#include "simulator/host_model.h"
#include "simulator/interface_checks.h"

namespace simulator {
namespace {

int32_t code(ManagementError error) {
  return static_cast<int32_t>(error);
}

wire::InstanceList instanceList(const std::vector<ControllerModel>& controllers, uint32_t count) {
  wire::InstanceList list{};
  for (uint32_t i = 0; i < wire::kInstances; ++i) {
    wire::InstanceEntry& entry = list.entries[i];
    entry.id = i < count ? i : wire::kUnusedInstance;
    if (i < count) putText(entry.name, controllers[i].config.hba, '\0');
  }
  return list;
}

/// What a rule can be about: the drive or volume of the command, by its full number where the model knows it.
Call describe(const ControllerModel& controller, const DecodedCommand& command) {
  Call call{};
  call.name = command.layout->name;
  call.isCommand = true;
  call.hasReply = !command.layout->toController;
  call.controller = controller.config.hba;
  if (command.layout->argument == Argument::drive) call.drive = command.argument;
  if (command.layout->argument == Argument::volume) {
    const Volume* volume = controller.findVolume(command.argument);
    call.volume = volume != nullptr ? volume->number : command.argument;
  }
  return call;
}

void fillErrorInfo(wire::PassthruRecord& record, DriverStatus status) {
  constexpr uint8_t kCheckConditionStatus = 2;
  std::fill(std::begin(record.errorInfo), std::end(record.errorInfo), uint8_t{0});
  if (status != DriverStatus::success) record.errorInfo[0] = kCheckConditionStatus;
}

}  // namespace

bool HostModel::isUsableElseSaysWhy() const {
  if (unusable_.empty()) return true;
  if (!unusableSaid_) std::fprintf(stderr, "%s\n", unusable_.c_str());
  unusableSaid_ = true;
  return false;
}

uint32_t HostModel::instanceCount() const {
  return static_cast<uint32_t>(std::min<size_t>(controllers_.size(), wire::kInstances));
}

FaultEffect HostModel::meetFaults(std::unique_lock<std::mutex>& lock, const Call& call) {
  FaultEffect effect = faults_.meet(call);
  for (const FaultRule& rule : effect.vanish) {
    for (ControllerModel& controller : controllers_) {
      if (!rule.controller.empty() && rule.controller != controller.config.hba) continue;
      if (rule.drive) controller.goneDrives.insert(*rule.drive);
      if (rule.volume) controller.goneVolumes.insert(*rule.volume);
    }
  }
  if (effect.delayMs != 0) {
    lock.unlock();
    std::this_thread::sleep_for(std::chrono::milliseconds(effect.delayMs));
    lock.lock();
  }
  return effect;
}

int32_t HostModel::openChannel(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** handle) {
  std::unique_lock lock(mutex_);
  ++counts_.init;
  if (!isUsableElseSaysWhy()) return code(ManagementError::topologyUnusable);
  if (reserved != 0) return code(ManagementError::reservedNotZero);
  if (signature == nullptr) return code(ManagementError::nullSignature);
  if (handle == nullptr) return code(ManagementError::nullHandleAddress);
  const auto mistake = checkSignature(*static_cast<const wire::InterfaceSignature*>(signature));
  if (mistake != ManagementError::none) return code(mistake);

  Call call{};
  call.name = "init";
  const FaultEffect effect = meetFaults(lock, call);
  if (effect.error) return static_cast<int32_t>(*effect.error);

  // A handle is a number that is never used again, so that a closed one cannot become valid by chance.
  nextChannel_ += 16;
  *handle = reinterpret_cast<vmk_MgmtUserHandle*>(nextChannel_);
  channels_.insert(*handle);
  return code(ManagementError::none);
}

int32_t HostModel::closeChannel(vmk_MgmtUserHandle* handle) {
  const std::lock_guard lock(mutex_);
  ++counts_.destroy;
  return code(channels_.erase(handle) != 0 ? ManagementError::none : ManagementError::badHandle);
}

bool HostModel::isOpen(vmk_MgmtUserHandle* handle) const {
  const std::lock_guard lock(mutex_);
  return channels_.contains(handle);
}

int32_t HostModel::queryInstances(wire::InstanceList& list, uint32_t& status) {
  std::unique_lock lock(mutex_);
  ++counts_.query;
  if (!isUsableElseSaysWhy()) return code(ManagementError::topologyUnusable);

  Call call{};
  call.name = "query";
  const FaultEffect effect = meetFaults(lock, call);
  if (effect.error) return static_cast<int32_t>(*effect.error);
  status = effect.driverStatus.value_or(0);
  if (status != 0) return code(ManagementError::none);

  const Bytes reply = bytesOf(instanceList(controllers_, instanceCount()));
  deliver(reply, effect, {reinterpret_cast<uint8_t*>(&list), sizeof list});
  return code(ManagementError::none);
}

int32_t HostModel::passthru(uint32_t instance, wire::PassthruRecord& record, uint32_t& status) {
  std::unique_lock lock(mutex_);
  ++counts_.passthru;
  SentCommand sent;
  sent.instance = instance;
  std::memcpy(sent.record.data(), &record, sizeof record);

  sent.result = carryOutRecord(lock, instance, record, sent.driverStatus, sent.data);
  if (sent.result == code(ManagementError::none)) status = sent.driverStatus;
  const int32_t result = sent.result;
  if (recording_) recorded_.push_back(std::move(sent));
  return result;
}

int32_t HostModel::carryOutRecord(std::unique_lock<std::mutex>& lock, uint32_t instance, wire::PassthruRecord& record,
                                  uint32_t& status, Bytes& dataToController) {
  if (!isUsableElseSaysWhy()) return code(ManagementError::topologyUnusable);
  if (instance >= instanceCount()) return code(ManagementError::instance);
  DecodedCommand command;
  const ManagementError mistake = checkRecord(record, command);
  if (mistake != ManagementError::none) return code(mistake);

  const uint64_t address = record.buffer;
  const std::span<uint8_t> buffer(reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(address)), command.length);
  if (command.layout->toController) dataToController.assign(buffer.begin(), buffer.end());

  const FaultEffect effect = meetFaults(lock, describe(controllers_[instance], command));
  if (effect.error) return static_cast<int32_t>(*effect.error);
  if (instance >= instanceCount()) return code(ManagementError::instance);  // another model was loaded meanwhile

  CommandResult result;
  if (!effect.driverStatus) result = carryOutAndKeep(instance, command, dataToController);
  status = effect.driverStatus.value_or(static_cast<uint32_t>(result.status));
  fillErrorInfo(record, static_cast<DriverStatus>(status));
  if (status == 0 && !command.layout->toController) deliver(result.reply, effect, buffer);
  return code(ManagementError::none);
}

}  // namespace simulator
