// Finds the answer to each call and hands it over.
#include "host/recording/replay.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/eventfd.h>

#include "host/disks/inventory.h"
#include "host/interception/interception.h"
#include "host/output/text.h"
#include "host/refusal.h"
#include "simulator/hex.h"

namespace host::recording {
namespace {

/// What a call fails with that has no answer.
constexpr int kNoAnswer = ENODATA;

Bytes bytesAt(const Json& answer, const char* key, size_t length) {
  return bytesOf(JsonNode(answer.at(key), ""), length);
}

void copyTo(void* target, const Bytes& bytes) {
  std::memcpy(target, bytes.data(), bytes.size());
}

void answerQuery(const Json& answer, const CallbackCall& call) {
  const auto status = answer.at("status").get<uint32_t>();
  copyTo(call.parameters[0], bytesAt(answer, "instances", sizeof(simulator::wire::InstanceList)));
  std::memcpy(call.parameters[1], &status, sizeof(status));
}

/// The lengths were checked against the request, which is the caller's own.
void answerCommand(const Json& answer, const CallbackCall& call) {
  simulator::wire::PassthruRecord asked{};
  std::memcpy(&asked, call.parameters[1], sizeof(asked));
  const auto status = answer.at("status").get<uint32_t>();
  if (const size_t read = bytesRead(asked); read != 0) {
    copyTo(reinterpret_cast<void*>(static_cast<uintptr_t>(asked.buffer)), bytesAt(answer, "data", read));
  }
  copyTo(call.parameters[1], bytesAt(answer, "record", kRecordSize));
  std::memcpy(call.parameters[2], &status, sizeof(status));
}

void answerInquiry(const Json& answer, sg_io_hdr& header) {
  header.status = answer.at("status").get<uint8_t>();
  header.masked_status = answer.at("maskedStatus").get<uint8_t>();
  header.msg_status = answer.at("messageStatus").get<uint8_t>();
  header.host_status = answer.at("hostStatus").get<uint16_t>();
  header.driver_status = answer.at("driverStatus").get<uint16_t>();
  header.resid = answer.at("resid").get<int32_t>();
  header.info = answer.at("info").get<uint32_t>();
  header.duration = 0;
  const Bytes sense = simulator::fromHex(answer.at("sense").get<std::string>()).value_or(Bytes{});
  header.sb_len_wr = static_cast<unsigned char>(sense.size());
  if (!sense.empty()) copyTo(header.sbp, sense);
  if (header.dxfer_direction == SG_DXFER_FROM_DEV && header.dxfer_len != 0) {
    copyTo(header.dxferp, bytesAt(answer, "data", header.dxfer_len));
  }
}

/// @return 0, or -1 with errno
int resultOf(const Json* answer) {
  const int error = answer == nullptr ? kNoAnswer : answer->at("error").get<int>();
  if (error == 0) return 0;
  errno = error;
  return -1;
}

}  // namespace

Replay::Replay(const std::string& file) : recording_(Recording::read(file)) {
  takeCallsFrom(*this);
}

Replay::~Replay() {
  takeCallsFrom(nextCalls());
}

const Json* Replay::answerTo(const Request& request) {
  {
    const std::lock_guard lock(mutex_);
    if (const Json* answer = recording_.next(request)) return answer;
  }
  const size_t count = recording_.count(request);
  miss(describe(request) + (count == 0 ? "" : " after the " + counted(count, "time") + " that it holds"));
  return nullptr;
}

void Replay::miss(const std::string& what) {
  const std::lock_guard lock(mutex_);
  if (misses_++ == 0) firstMiss_ = what;
}

std::optional<std::string> Replay::unanswered() const {
  const std::lock_guard lock(mutex_);
  if (misses_ == 0) return std::nullopt;
  std::string text = recording_.file() + ": the recording holds no answer to " + firstMiss_;
  if (misses_ > 1) text += ", nor to " + counted(misses_ - 1, "later request");
  return text;
}

std::vector<HostDisk> Replay::disks() {
  std::vector<HostDisk> disks;
  const Json* answer = answerTo({kDisks});
  if (answer == nullptr) return disks;
  for (const Json& disk : answer->at("disks")) disks.push_back(diskOf(JsonNode(disk, "")));
  return disks;
}

uint32_t Replay::openChannel(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** channel) {
  const auto request = openChannelRequest(signature, reserved);
  if (!request) miss("the opening of a management channel without a signature");
  const Json* answer = request ? answerTo(*request) : nullptr;
  if (answer == nullptr) return kNoAnswer;
  const auto result = answer->at("result").get<uint32_t>();
  if (result == 0) {
    const uintptr_t number = answer->at("channel").get<uint32_t>();
    const std::lock_guard lock(mutex_);
    channels_.insert(number);
    *channel = reinterpret_cast<vmk_MgmtUserHandle*>(number);
  }
  return result;
}

bool Replay::isOpen(vmk_MgmtUserHandle* channel) {
  {
    const std::lock_guard lock(mutex_);
    if (channels_.contains(reinterpret_cast<uintptr_t>(channel))) return true;
  }
  miss("a call through a management channel that is not open");
  return false;
}

int32_t Replay::closeChannel(vmk_MgmtUserHandle* channel) {
  if (!isOpen(channel)) return kNoAnswer;
  const Json* answer = answerTo({kCloseChannel});
  const std::lock_guard lock(mutex_);
  if (const auto number = channels_.find(reinterpret_cast<uintptr_t>(channel)); number != channels_.end()) {
    channels_.erase(number);
  }
  return answer == nullptr ? kNoAnswer : answer->at("result").get<int32_t>();
}

int32_t Replay::invoke(const CallbackCall& call) {
  if (!isOpen(call.channel)) return kNoAnswer;
  const auto request = callbackRequest(call);
  if (!request) miss("a call of the driver's callback " + hex(call.id) + " that no recording can hold");
  const Json* answer = request ? answerTo(*request) : nullptr;
  if (answer == nullptr) return kNoAnswer;
  const auto result = answer->at("result").get<int32_t>();
  if (result == 0) (request->call == kQuery ? answerQuery : answerCommand)(*answer, call);
  return result;
}

int Replay::openNode(const NodeOpening& opening) {
  if (resultOf(answerTo(deviceRequest(kOpenNode, opening.device))) != 0) return -1;
  // A descriptor of its own, so that it collides with no other.
  return eventfd(0, EFD_CLOEXEC);
}

int Replay::requestOfNode(const std::string& device, int /*descriptor*/, unsigned long request, void* argument) {
  const auto asked = nodeRequest(device, request, argument);
  if (!asked) miss("an ioctl of " + std::string(kNodes) + printable(device) + " that no recording can hold");
  const Json* answer = asked ? answerTo(*asked) : nullptr;
  if (resultOf(answer) != 0) return -1;
  answerInquiry(*answer, *static_cast<sg_io_hdr*>(argument));
  return 0;
}

int Replay::closeNode(const std::string& device, int descriptor) {
  (void)nextCalls().closeNode(device, descriptor);
  return resultOf(answerTo(deviceRequest(kCloseNode, device)));
}

FILE* Replay::startCommand(const char* command, const char* mode) {
  const bool isRead = command != nullptr && mode != nullptr && *mode == 'r';
  if (!isRead) miss("a command that is not run for its output");
  const Json* answer = isRead ? answerTo(runRequest(command)) : nullptr;
  if (resultOf(answer) != 0) return nullptr;
  return outputs_.open(textOf(JsonNode(answer->at("output"), "")), answer->at("status").get<int>());
}

int Replay::endCommand(FILE* output) {
  return outputs_.close(output).value_or(-1);
}

time_t Replay::now() {
  const std::lock_guard lock(mutex_);
  if (const Json* answer = recording_.next({kClock}))
    clock_ = static_cast<time_t>(answer->at("seconds").get<int64_t>());
  return clock_ ? *clock_ : nextCalls().now();
}

}  // namespace host::recording
