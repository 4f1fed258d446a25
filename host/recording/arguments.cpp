// Requests and answers in the memory of a caller in C.
#include <algorithm>
#include <cstring>

#include "host/interception/interception.h"
#include "host/recording/calls.h"

namespace host::recording {
namespace {

namespace wire = simulator::wire;

constexpr uint32_t kMostCallbacks = 64;  // more are no table

template <typename Value>
Value valueAt(const void* place) {
  Value value{};
  std::memcpy(&value, place, sizeof(value));
  return value;
}

template <size_t size>
std::string textOf(const char (&field)[size]) {
  return {field, strnlen(field, size)};
}

OpenChannel::Callback callbackOf(const wire::CallbackEntry& entry) {
  OpenChannel::Callback callback{entry.id, {}, {}};
  for (size_t parameter = 0; parameter < entry.parameterCount && parameter < 4; ++parameter) {
    callback.sizes.push_back(entry.sizes[parameter]);
    callback.directions.push_back(entry.directions[parameter]);
  }
  return callback;
}

/// Whether a call is of this callback, with all its parameters and nothing else.
bool isCallOf(const CallbackCall& call, uint64_t id, uint32_t count) {
  return call.id == id && call.reserved == 0 && call.count == count &&
         std::none_of(call.parameters.begin(), call.parameters.begin() + count,
                      [](void* one) { return one == nullptr; });
}

/// The buffer of the command whose record is here.
void* bufferOf(const void* record) {
  return reinterpret_cast<void*>(static_cast<uintptr_t>(valueAt<wire::PassthruRecord>(record).buffer));
}

Bytes bytesAt(const void* place, size_t length) {
  const auto* bytes = static_cast<const uint8_t*>(place);
  return {bytes, bytes + length};
}

void copyTo(void* place, const Bytes& bytes) {
  std::copy(bytes.begin(), bytes.end(), static_cast<uint8_t*>(place));
}

const char* directionName(int direction) {
  if (direction == SG_DXFER_FROM_DEV) return NodeRequest::kFromDisk;
  if (direction == SG_DXFER_TO_DEV) return NodeRequest::kToDisk;
  return direction == SG_DXFER_NONE ? NodeRequest::kNoData : nullptr;
}

}  // namespace

std::optional<OpenChannel::Request> OpenChannel::Request::of(const void* signature, uint64_t reserved) {
  if (signature == nullptr || reserved != 0) return std::nullopt;
  const auto interface = valueAt<wire::InterfaceSignature>(signature);
  if (interface.callbacks == nullptr || interface.callbackCount > kMostCallbacks) return std::nullopt;
  Request request{interface.version, textOf(interface.name), textOf(interface.vendor), {}};
  for (uint32_t index = 0; index < interface.callbackCount; ++index)
    request.callbacks.push_back(callbackOf(interface.callbacks[index]));
  return request;
}

std::optional<Query::Request> Query::Request::of(const CallbackCall& call) {
  return isCallOf(call, kQueryCallback, kQueryParameters) ? std::optional(Request{}) : std::nullopt;
}

Query::Answer Query::Answer::of(int32_t result, const CallbackCall& call, const Request& /*request*/) {
  if (result != 0) return {result, 0, {}};
  return {result, valueAt<uint32_t>(call.parameters[1]), bytesAt(call.parameters[0], sizeof(wire::InstanceList))};
}

void Query::Answer::giveTo(const CallbackCall& call) const {
  copyTo(call.parameters[0], instances);
  std::memcpy(call.parameters[1], &status, sizeof(status));
}

std::optional<Command::Request> Command::Request::of(const CallbackCall& call) {
  if (!isCallOf(call, kPassthruCallback, kPassthruParameters)) return std::nullopt;
  Request request{valueAt<uint32_t>(call.parameters[0]), bytesAt(call.parameters[1], kRecordSize), {}};
  const size_t moved = std::max(request.bytesWritten(), request.bytesRead());
  const void* buffer = bufferOf(call.parameters[1]);
  if (moved > kMostCommandBytes || (buffer == nullptr && moved != 0)) return std::nullopt;
  request.data = bytesAt(buffer, request.bytesWritten());
  return request;
}

Command::Answer Command::Answer::of(int32_t result, const CallbackCall& call, const Request& request) {
  if (result != 0) return {result, 0, {}, {}};
  return {result, valueAt<uint32_t>(call.parameters[2]), bytesAt(call.parameters[1], kRecordSize),
          bytesAt(bufferOf(call.parameters[1]), request.bytesRead())};
}

void Command::Answer::giveTo(const CallbackCall& call) const {
  copyTo(bufferOf(call.parameters[1]), data);
  copyTo(call.parameters[1], record);
  std::memcpy(call.parameters[2], &status, sizeof(status));
}

std::optional<NodeRequest::Request> NodeRequest::Request::of(const std::string& device, unsigned long request,
                                                             const void* argument) {
  if (request != SG_IO || argument == nullptr) return std::nullopt;
  const auto& header = *static_cast<const sg_io_hdr*>(argument);
  const char* direction = directionName(header.dxfer_direction);
  const bool isPlain = header.interface_id == 'S' && header.iovec_count == 0 && header.cmdp != nullptr &&
                       header.cmd_len <= kLongestCdb && header.dxfer_len <= kMostNodeBytes && direction != nullptr;
  if (!isPlain || (header.dxfer_len != 0 && header.dxferp == nullptr)) return std::nullopt;
  Request asked{device, bytesAt(header.cmdp, header.cmd_len), direction, header.dxfer_len, 0, {}};
  if (header.sbp != nullptr) asked.senseLength = header.mx_sb_len;
  if (direction == kToDisk) asked.data = bytesAt(header.dxferp, header.dxfer_len);
  return asked;
}

NodeRequest::Answer NodeRequest::Answer::of(int error, const void* argument) {
  if (error != 0) return {error, {}, {}, {}};
  Answer answer{0, *static_cast<const sg_io_hdr*>(argument), {}, {}};
  const sg_io_hdr& header = answer.header;
  if (header.sbp != nullptr && header.sb_len_wr <= header.mx_sb_len)
    answer.sense = bytesAt(header.sbp, header.sb_len_wr);
  if (header.dxfer_direction == SG_DXFER_FROM_DEV) answer.data = bytesAt(header.dxferp, header.dxfer_len);
  return answer;
}

void NodeRequest::Answer::giveTo(void* argument) const {
  auto& asked = *static_cast<sg_io_hdr*>(argument);
  asked.status = header.status;
  asked.masked_status = header.masked_status;
  asked.msg_status = header.msg_status;
  asked.host_status = header.host_status;
  asked.driver_status = header.driver_status;
  asked.resid = header.resid;
  asked.info = header.info;
  asked.duration = 0;
  asked.sb_len_wr = static_cast<unsigned char>(sense.size());
  copyTo(asked.sbp, sense);
  copyTo(asked.dxferp, data);
}

}  // namespace host::recording
