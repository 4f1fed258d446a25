// Hands each call to the library that provides it.
#include <cstring>
#include <sys/ioctl.h>
#include <unistd.h>

#include "host/host_calls.h"
#include "host/next_definition.h"

namespace host {
namespace {

class NextCalls final : public HostCalls {
 public:
  uint32_t openChannel(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** channel) override {
    static const auto init = nextDefinition<decltype(&vmk_MgmtUserInit)>("vmk_MgmtUserInit");
    return init(signature, reserved, channel);
  }

  int32_t closeChannel(vmk_MgmtUserHandle* channel) override {
    static const auto destroy = nextDefinition<decltype(&vmk_MgmtUserDestroy)>("vmk_MgmtUserDestroy");
    return destroy(channel);
  }

  int32_t invoke(const CallbackCall& call) override {
    static const auto invoke =
        nextDefinition<decltype(&vmk_MgmtUserCallbackInvokeInt)>("vmk_MgmtUserCallbackInvokeInt");
    const auto& parameters = call.parameters;
    return invoke(call.channel, call.reserved, call.id, call.count, parameters[0], parameters[1], parameters[2],
                  parameters[3]);
  }

  int openNode(const NodeOpening& opening) override {
    const std::string path = std::string(kNodes) + opening.device;
    return nextDefinition<Open>(opening.function)(path.c_str(), opening.flags, opening.mode);
  }

  int requestOfNode(const std::string& /*device*/, int descriptor, unsigned long request, void* argument) override {
    static const auto nextIoctl = nextDefinition<decltype(&ioctl)>("ioctl");
    return nextIoctl(descriptor, request, argument);
  }

  int closeNode(const std::string& /*device*/, int descriptor) override {
    static const auto nextClose = nextDefinition<decltype(&close)>("close");
    return nextClose(descriptor);
  }

  FILE* startCommand(const char* command, const char* mode) override {
    static const auto nextPopen = nextDefinition<decltype(&popen)>("popen");
    return nextPopen(command, mode);
  }

  int endCommand(FILE* output) override {
    static const auto nextPclose = nextDefinition<decltype(&pclose)>("pclose");
    return nextPclose(output);
  }

  time_t now() override {
    static const auto nextTime = nextDefinition<decltype(&time)>("time");
    return nextTime(nullptr);
  }
};

}  // namespace

HostCalls& nextCalls() {
  // Never destroyed: the calls go on while the process ends.
  static HostCalls& calls = *new NextCalls;
  return calls;
}

}  // namespace host
