// Finds the answer to each call and hands it over.
#include "host/recording/replay.h"

#include <cerrno>
#include <sys/eventfd.h>
#include <utility>

#include "host/interception/interception.h"
#include "host/output/text.h"

namespace host::recording {
namespace {

/// What a call fails with that has no answer.
constexpr int kNoAnswer = ENODATA;

/// @return 0, or -1 with errno
template <typename Answer>
int resultOf(const Answer* answer) {
  const int error = answer == nullptr ? kNoAnswer : answer->error;
  if (error == 0) return 0;
  errno = error;
  return -1;
}

}  // namespace

Replay::Replay(Recording recording, std::function<void(const std::string&)> lacksAnswer)
    : recording_(std::move(recording)), lacksAnswer_(std::move(lacksAnswer)) {
  takeCallsFrom(*this);
}

Replay::~Replay() {
  takeCallsFrom(nextCalls());
}

template <typename Call>
const typename Call::Answer* Replay::answerTo(const typename Call::Request& request) {
  size_t count = 0;
  {
    const std::lock_guard lock(mutex_);
    auto& answers = recording_.answersTo<Call>(request);
    if (const auto* answer = recording_.next(answers)) return answer;
    count = answers.all.size();
  }
  miss(Call{request, {}}.about() + (count == 0 ? "" : " after the " + counted(count, "time") + " that it holds"));
  return nullptr;
}

void Replay::miss(const std::string& what) {
  std::function<void(const std::string&)> lacksAnswer;
  {
    const std::lock_guard lock(mutex_);
    lacksAnswer_.swap(lacksAnswer);
  }
  if (lacksAnswer) lacksAnswer(recording_.file() + ": the recording holds no answer to " + what);
}

std::vector<HostDisk> Replay::disks() {
  const auto* answer = answerTo<Disks>({});
  return answer == nullptr ? std::vector<HostDisk>{} : answer->disks;
}

uint32_t Replay::openChannel(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** channel) {
  const auto request = OpenChannel::Request::of(signature, reserved);
  if (!request) miss("the opening of a management channel without a signature");
  const auto* answer = request ? answerTo<OpenChannel>(*request) : nullptr;
  if (answer == nullptr) return kNoAnswer;
  if (answer->result == 0) {
    const uintptr_t number = answer->channel;
    const std::lock_guard lock(mutex_);
    channels_.insert(number);
    *channel = reinterpret_cast<vmk_MgmtUserHandle*>(number);
  }
  return answer->result;
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
  const auto* answer = answerTo<CloseChannel>({});
  const std::lock_guard lock(mutex_);
  if (const auto number = channels_.find(reinterpret_cast<uintptr_t>(channel)); number != channels_.end()) {
    channels_.erase(number);
  }
  return answer == nullptr ? kNoAnswer : answer->result;
}

int32_t Replay::invoke(const CallbackCall& call) {
  if (!isOpen(call.channel)) return kNoAnswer;
  const auto give = [&](const auto* answer) {
    if (answer == nullptr) return kNoAnswer;
    if (answer->result == 0) answer->giveTo(call);
    return answer->result;
  };
  if (const auto query = Query::Request::of(call)) return give(answerTo<Query>(*query));
  if (const auto command = Command::Request::of(call)) return give(answerTo<Command>(*command));
  miss("a call of the driver's callback " + hex(call.id) + " that no recording can hold");
  return kNoAnswer;
}

int Replay::openNode(const NodeOpening& opening) {
  if (resultOf(answerTo<OpenNode>({opening.device})) != 0) return -1;
  // A descriptor of its own, so that it collides with no other.
  return eventfd(0, EFD_CLOEXEC);
}

int Replay::requestOfNode(const std::string& device, int /*descriptor*/, unsigned long request, void* argument) {
  const auto asked = NodeRequest::Request::of(device, request, argument);
  if (!asked) miss("an ioctl of " + std::string(kNodes) + printable(device) + " that no recording can hold");
  const auto* answer = asked ? answerTo<NodeRequest>(*asked) : nullptr;
  if (resultOf(answer) != 0) return -1;
  answer->giveTo(argument);
  return 0;
}

int Replay::closeNode(const std::string& device, int descriptor) {
  (void)nextCalls().closeNode(device, descriptor);
  return resultOf(answerTo<CloseNode>({device}));
}

FILE* Replay::startCommand(const char* command, const char* mode) {
  const bool isRead = command != nullptr && mode != nullptr && *mode == 'r';
  if (!isRead) miss("a command that is not run for its output");
  const auto* answer = isRead ? answerTo<Run>({command}) : nullptr;
  return resultOf(answer) == 0 ? outputs_.open(answer->output, answer->status) : nullptr;
}

int Replay::endCommand(FILE* output) {
  return outputs_.close(output).value_or(-1);
}

time_t Replay::now() {
  const std::lock_guard lock(mutex_);
  auto& answers = recording_.answersTo<Clock>({});
  if (const auto* answer = recording_.next(answers)) clock_ = static_cast<time_t>(answer->seconds);
  return clock_ ? *clock_ : nextCalls().now();
}

}  // namespace host::recording
