// Passes each call on; a pass-through command with what it is and what came back.
#include "host/interception/command_watcher.h"

#include <algorithm>
#include <cstring>

#include "host/interception/instance_list.h"
#include "host/interception/interception.h"

namespace host {

namespace wire = simulator::wire;

namespace {

class Stopwatch {
 public:
  [[nodiscard]] std::chrono::microseconds time() const {
    return std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start_);
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace

/// How many bytes of a command's buffer mean something: of a report those that it announces.
static size_t meaningfulBytes(const simulator::DecodedCommand& command, const uint8_t* data) {
  if (!command.layout->isReport() || command.length < sizeof(wire::ReportHeader)) return command.length;
  wire::ReportHeader header{};
  std::memcpy(&header, data, sizeof(header));
  return std::min<size_t>(command.length, sizeof(header) + size_t{header.listLength.value()});
}

static void copyData(InterceptedCommand& command) {
  const auto* data = reinterpret_cast<const uint8_t*>(static_cast<uintptr_t>(command.record.buffer));
  if (command.command && data != nullptr) command.data.assign(data, data + meaningfulBytes(*command.command, data));
}

void CommandWatcher::stepInFront() {
  next_ = &takeCallsFrom(*this);
}

void CommandWatcher::stepAside() {
  if (next_ != nullptr) takeCallsFrom(*next_);
  next_ = nullptr;
}

std::vector<std::string> CommandWatcher::listedControllers() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> names;
  for (const auto& [number, name] : instances_) names.push_back(name);
  return names;
}

uint32_t CommandWatcher::openChannel(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** channel) {
  const Stopwatch watch;
  const uint32_t result = next_->openChannel(signature, reserved, channel);
  channelCalled({"init", static_cast<int32_t>(result), 0, watch.time()});
  return result;
}

int32_t CommandWatcher::closeChannel(vmk_MgmtUserHandle* channel) {
  const Stopwatch watch;
  const int32_t result = next_->closeChannel(channel);
  channelCalled({"destroy", result, 0, watch.time()});
  return result;
}

int32_t CommandWatcher::invoke(const CallbackCall& call) {
  if (call.id == kPassthruCallback && call.count == kPassthruParameters) return passOn(call);
  if (call.id == kQueryCallback && call.count == kQueryParameters) return listInstances(call);
  return next_->invoke(call);
}

int32_t CommandWatcher::listInstances(const CallbackCall& call) {
  const Stopwatch watch;
  const int32_t result = next_->invoke(call);
  uint32_t status = 0;
  if (result == 0) std::memcpy(&status, call.parameters[1], sizeof(status));
  channelCalled({"query", result, status, watch.time()});
  if (result != 0 || status != 0) return result;
  const std::lock_guard lock(mutex_);
  instances_ = instanceNames(call.parameters[0]);
  return result;
}

int32_t CommandWatcher::passOn(const CallbackCall& call) {
  InterceptedCommand command;
  std::memcpy(&command.instance, call.parameters[0], sizeof(command.instance));
  std::memcpy(&command.record, call.parameters[1], sizeof(command.record));
  command.command = simulator::decodeCommand(command.record);
  {
    const std::lock_guard lock(mutex_);
    if (const auto name = instances_.find(command.instance); name != instances_.end()) command.hba = name->second;
  }
  const bool isWrite = command.command && command.command->layout->toController;
  if (isWrite) copyData(command);

  const Stopwatch watch;
  command.wasHeldBack = holdsBack(command);
  if (command.wasHeldBack) {
    std::memset(call.parameters[2], 0, sizeof(command.driverStatus));
  } else {
    command.result = next_->invoke(call);
  }
  command.duration = watch.time();
  if (command.result == 0) std::memcpy(&command.driverStatus, call.parameters[2], sizeof(command.driverStatus));

  const int32_t result = command.result;
  if (!isWrite && command.succeeded()) copyData(command);
  passed(std::move(command));
  return result;
}

int CommandWatcher::openNode(const NodeOpening& opening) {
  return next_->openNode(opening);
}

int CommandWatcher::requestOfNode(const std::string& device, int descriptor, unsigned long request, void* argument) {
  return next_->requestOfNode(device, descriptor, request, argument);
}

int CommandWatcher::closeNode(const std::string& device, int descriptor) {
  return next_->closeNode(device, descriptor);
}

FILE* CommandWatcher::startCommand(const char* command, const char* mode) {
  return next_->startCommand(command, mode);
}

int CommandWatcher::endCommand(FILE* output) {
  return next_->endCommand(output);
}

time_t CommandWatcher::now() {
  return next_->now();
}

}  // namespace host
