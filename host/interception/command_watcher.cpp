// Passes each call on; a pass-through command with what it is and what came back.
#include "host/interception/command_watcher.h"

#include <cstring>

#include "host/interception/interception.h"

namespace host {

static void copyData(InterceptedCommand& command) {
  const auto* data = reinterpret_cast<const uint8_t*>(static_cast<uintptr_t>(command.record.buffer));
  const bool isBmic = command.command && !command.command->layout->isReport();
  if (isBmic && data != nullptr) command.data.assign(data, data + command.command->length);
}

void CommandWatcher::stepInFront() {
  next_ = &takeCallsFrom(*this);
}

void CommandWatcher::stepAside() {
  if (next_ != nullptr) takeCallsFrom(*next_);
  next_ = nullptr;
}

uint32_t CommandWatcher::openChannel(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** channel) {
  return next_->openChannel(signature, reserved, channel);
}

int32_t CommandWatcher::closeChannel(vmk_MgmtUserHandle* channel) {
  return next_->closeChannel(channel);
}

int32_t CommandWatcher::invoke(const CallbackCall& call) {
  const bool isCommand = call.id == kPassthruCallback && call.count == kPassthruParameters;
  return isCommand ? passOn(call) : next_->invoke(call);
}

int32_t CommandWatcher::passOn(const CallbackCall& call) {
  InterceptedCommand command;
  std::memcpy(&command.instance, call.parameters[0], sizeof(command.instance));
  std::memcpy(&command.record, call.parameters[1], sizeof(command.record));
  command.command = simulator::decodeCommand(command.record);
  const bool isWrite = command.command && command.command->layout->toController;
  if (isWrite) copyData(command);

  const auto start = std::chrono::steady_clock::now();
  command.wasHeldBack = holdsBack(command);
  if (command.wasHeldBack) {
    std::memset(call.parameters[2], 0, sizeof(command.driverStatus));
  } else {
    command.result = next_->invoke(call);
  }
  command.duration = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
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
