// Passes each call on and writes it with its answer as one line.
#include "host/recording/recorder.h"

#include <cerrno>
#include <cstring>

#include "host/disks/disk_record.h"
#include "host/interception/interception.h"
#include "simulator/hex.h"

namespace host::recording {
namespace {

/// errno as the call left it, whatever is done in between.
class KeptErrno {
 public:
  KeptErrno() : value_(errno) {}
  ~KeptErrno() { errno = value_; }
  KeptErrno(const KeptErrno&) = delete;
  KeptErrno& operator=(const KeptErrno&) = delete;
  [[nodiscard]] int value() const { return value_; }

 private:
  int value_;
};

Json queryAnswer(int32_t result, const CallbackCall& call) {
  Json answer = {{"result", result}};
  if (result != 0) return answer;
  uint32_t status = 0;
  std::memcpy(&status, call.parameters[1], sizeof(status));
  answer["status"] = status;
  const auto* list = static_cast<const uint8_t*>(call.parameters[0]);
  answer["instances"] = bytesToJson({list, sizeof(simulator::wire::InstanceList)});
  return answer;
}

Json commandAnswer(int32_t result, const CallbackCall& call) {
  Json answer = {{"result", result}};
  if (result != 0) return answer;
  uint32_t status = 0;
  simulator::wire::PassthruRecord record{};
  std::memcpy(&record, call.parameters[1], sizeof(record));
  std::memcpy(&status, call.parameters[2], sizeof(status));
  answer["status"] = status;
  answer["record"] = bytesToJson({static_cast<const uint8_t*>(call.parameters[1]), kRecordSize});
  if (const size_t read = bytesRead(record); read != 0) {
    answer["data"] = bytesToJson({reinterpret_cast<const uint8_t*>(static_cast<uintptr_t>(record.buffer)), read});
  }
  return answer;
}

Json nodeAnswer(const sg_io_hdr& header) {
  Json answer = {{"error", 0},
                 {"status", header.status},
                 {"maskedStatus", header.masked_status},
                 {"messageStatus", header.msg_status},
                 {"hostStatus", header.host_status},
                 {"driverStatus", header.driver_status},
                 {"resid", header.resid},
                 {"info", header.info},
                 {"sense", ""}};
  if (header.sbp != nullptr && header.sb_len_wr <= header.mx_sb_len) {
    answer["sense"] = simulator::toHex({header.sbp, header.sb_len_wr});
  }
  if (header.dxfer_direction == SG_DXFER_FROM_DEV) {
    answer["data"] = bytesToJson({static_cast<const uint8_t*>(header.dxferp), header.dxfer_len});
  }
  return answer;
}

Json errorAnswer(bool failed, int error) {
  return {{"error", failed ? error : 0}};
}

}  // namespace

Recorder::Recorder(const std::string& file, const std::vector<RunFile>& others) : file_(file, others) {
  takeCallsFrom(*this);
}

Recorder::~Recorder() {
  takeCallsFrom(nextCalls());
}

void Recorder::disks(const std::vector<HostDisk>& disks) {
  Json list = Json::array();
  for (const HostDisk& disk : disks) list.push_back(toJson(disk));
  write({kDisks}, {{"disks", std::move(list)}});
}

std::optional<std::string> Recorder::finish() {
  takeCallsFrom(nextCalls());
  return file_.finish();
}

void Recorder::write(const Request& request, Json answer, uint32_t channel) {
  Json line = {{"call", request.call}, {"about", describe(request)}};
  if (channel != 0) line["channel"] = channel;
  line["request"] = request.parameters;
  line["answer"] = std::move(answer);
  const std::lock_guard lock(mutex_);
  file_.write(line);
  // The list of disks is no call: whoever mistyped something may have got no further.
  if (request.call != kDisks) file_.takePlace();
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
  const auto request = openChannelRequest(signature, reserved);
  const uint32_t result = machine_.openChannel(signature, reserved, channel);
  uint32_t number = 0;
  if (result == 0) {
    const std::lock_guard lock(mutex_);
    number = channels_[*channel] = ++lastChannel_;
  }
  if (request) write(*request, {{"result", result}, {"channel", number}});
  return result;
}

int32_t Recorder::closeChannel(vmk_MgmtUserHandle* channel) {
  const uint32_t number = numberOf(channel);
  forget(channel);
  const int32_t result = machine_.closeChannel(channel);
  write({kCloseChannel}, {{"result", result}}, number);
  return result;
}

int32_t Recorder::invoke(const CallbackCall& call) {
  const auto request = callbackRequest(call);
  const int32_t result = machine_.invoke(call);
  if (request) {
    write(*request, request->call == kQuery ? queryAnswer(result, call) : commandAnswer(result, call),
          numberOf(call.channel));
  }
  return result;
}

int Recorder::openNode(const NodeOpening& opening) {
  const int descriptor = machine_.openNode(opening);
  const KeptErrno kept;
  write(deviceRequest(kOpenNode, opening.device), errorAnswer(descriptor < 0, kept.value()));
  return descriptor;
}

int Recorder::requestOfNode(const std::string& device, int descriptor, unsigned long request, void* argument) {
  const auto asked = nodeRequest(device, request, argument);
  const int result = machine_.requestOfNode(device, descriptor, request, argument);
  const KeptErrno kept;
  if (asked)
    write(*asked, result < 0 ? errorAnswer(true, kept.value()) : nodeAnswer(*static_cast<sg_io_hdr*>(argument)));
  return result;
}

int Recorder::closeNode(const std::string& device, int descriptor) {
  const int result = machine_.closeNode(device, descriptor);
  const KeptErrno kept;
  write(deviceRequest(kCloseNode, device), errorAnswer(result < 0, kept.value()));
  return result;
}

FILE* Recorder::startCommand(const char* command, const char* mode) {
  FILE* pipe = machine_.startCommand(command, mode);
  const bool isRead = command != nullptr && mode != nullptr && *mode == 'r';
  if (!isRead) return pipe;
  if (pipe == nullptr) {
    const KeptErrno kept;
    write(runRequest(command), errorAnswer(true, kept.value()));
    return nullptr;
  }
  std::string text;
  char part[4096];
  while (const size_t length = std::fread(part, 1, sizeof(part), pipe)) text.append(part, length);
  const int status = machine_.endCommand(pipe);
  write(runRequest(command), {{"error", 0}, {"output", textToJson(text)}, {"status", status}});
  return outputs_.open(std::move(text), status);
}

int Recorder::endCommand(FILE* output) {
  const auto status = outputs_.close(output);
  return status ? *status : machine_.endCommand(output);
}

time_t Recorder::now() {
  const time_t seconds = machine_.now();
  write({kClock}, {{"seconds", int64_t{seconds}}});
  return seconds;
}

}  // namespace host::recording
