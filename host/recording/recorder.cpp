// Passes each call on and writes it with its answer as one line.
#include "host/recording/recorder.h"

#include <cerrno>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/interception/interception.h"
#include "host/recording/lines.h"

namespace host::recording {

Recorder::Recorder(const std::string& file, const std::vector<RunFile>& others, const Manner& manner)
    : file_(file, others, manner.repeats) {
  if (manner.isAnonymous) anonymizer_.emplace();
  takeCallsFrom(*this);
}

Recorder::~Recorder() {
  takeCallsFrom(nextCalls());
}

void Recorder::disks(const std::vector<HostDisk>& disks) {
  // No call, so that the file takes no place yet: whoever mistyped something may get no further.
  const std::lock_guard lock(mutex_);
  file_.write(lineFor(Disks{{}, {disks}}, 0));
}

std::optional<std::string> Recorder::finish() {
  takeCallsFrom(nextCalls());
  return file_.finish();
}

Json Recorder::lineFor(AnyCall call, uint32_t channel) const {
  if (anonymizer_) anonymizer_->apply(call);
  return lineOf(std::move(call), channel);
}

void Recorder::write(AnyCall call, uint32_t channel) {
  const int error = errno;  // as the call left it
  const Json line = lineFor(std::move(call), channel);
  {
    const std::lock_guard lock(mutex_);
    file_.write(line);
    file_.takePlace();
  }
  errno = error;
}

uint32_t Recorder::numberOf(vmk_MgmtUserHandle* channel) {
  const std::lock_guard lock(mutex_);
  const auto found = channels_.find(channel);
  return found == channels_.end() ? 0 : found->second;
}

void Recorder::forget(vmk_MgmtUserHandle* channel) {
  const std::lock_guard lock(mutex_);
  channels_.erase(channel);
}

uint32_t Recorder::openChannel(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** channel) {
  const auto request = OpenChannel::Request::of(signature, reserved);
  const uint32_t result = machine_.openChannel(signature, reserved, channel);
  uint32_t number = 0;
  if (result == 0) {
    const std::lock_guard lock(mutex_);
    number = channels_[*channel] = ++lastChannel_;
  }
  if (request) write(OpenChannel{*request, {result, number}});
  return result;
}

int32_t Recorder::closeChannel(vmk_MgmtUserHandle* channel) {
  const uint32_t number = numberOf(channel);
  forget(channel);
  const int32_t result = machine_.closeChannel(channel);
  write(CloseChannel{{}, {result}}, number);
  return result;
}

int32_t Recorder::invoke(const CallbackCall& call) {
  const auto query = Query::Request::of(call);
  const auto command = Command::Request::of(call);
  const int32_t result = machine_.invoke(call);
  if (query) write(Query{*query, Query::Answer::of(result, call, *query)}, numberOf(call.channel));
  if (command) write(Command{*command, Command::Answer::of(result, call, *command)}, numberOf(call.channel));
  return result;
}

int Recorder::openNode(const NodeOpening& opening) {
  const int descriptor = machine_.openNode(opening);
  write(OpenNode{{opening.device}, {descriptor < 0 ? errno : 0}});
  return descriptor;
}

int Recorder::requestOfNode(const std::string& device, int descriptor, unsigned long request, void* argument) {
  const auto asked = NodeRequest::Request::of(device, request, argument);
  const int result = machine_.requestOfNode(device, descriptor, request, argument);
  if (asked) write(NodeRequest{*asked, NodeRequest::Answer::of(result < 0 ? errno : 0, argument)});
  return result;
}

int Recorder::closeNode(const std::string& device, int descriptor) {
  const int result = machine_.closeNode(device, descriptor);
  write(CloseNode{{{device}, {result < 0 ? errno : 0}}});
  return result;
}

FILE* Recorder::startCommand(const char* command, const char* mode) {
  FILE* pipe = machine_.startCommand(command, mode);
  const bool isRead = command != nullptr && mode != nullptr && *mode == 'r';
  if (!isRead) return pipe;
  if (pipe == nullptr) {
    write(Run{{command}, {errno, "", 0}});
    return nullptr;
  }
  std::string text;
  char part[4096];
  while (const size_t length = std::fread(part, 1, sizeof(part), pipe)) text.append(part, length);
  const int status = machine_.endCommand(pipe);
  write(Run{{command}, {0, text, status}});
  return outputs_.open(std::move(text), status);
}

int Recorder::endCommand(FILE* output) {
  const auto status = outputs_.close(output);
  return status ? *status : machine_.endCommand(output);
}

time_t Recorder::now() {
  const time_t seconds = machine_.now();
  write(Clock{{}, {seconds}});
  return seconds;
}

}  // namespace host::recording
