// Hands each call to the library that provides it.
#include <cstring>
#include <sys/ioctl.h>
#include <unistd.h>

#include "host/interception/host_calls.h"
#include "host/interception/next_definition.h"

namespace host {
namespace {

class NextCalls final : public HostCalls {
 public:
  NextCalls() { lookUpIn(nullptr); }

  void lookUpIn(void* library) {
    find(init_, "vmk_MgmtUserInit", library);
    find(destroy_, "vmk_MgmtUserDestroy", library);
    find(invoke_, "vmk_MgmtUserCallbackInvokeInt", library);
    find(open_, "open", library);
    find(open64_, "open64", library);
    find(ioctl_, "ioctl", library);
    find(close_, "close", library);
    find(popen_, "popen", library);
    find(pclose_, "pclose", library);
    find(time_, "time", library);
  }

  uint32_t openChannel(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** channel) override {
    return init_(signature, reserved, channel);
  }

  int32_t closeChannel(vmk_MgmtUserHandle* channel) override { return destroy_(channel); }

  int32_t invoke(const CallbackCall& call) override {
    const auto& parameters = call.parameters;
    return invoke_(call.channel, call.reserved, call.id, call.count, parameters[0], parameters[1], parameters[2],
                   parameters[3]);
  }

  int openNode(const NodeOpening& opening) override {
    const std::string path = std::string(kNodes) + opening.device;
    const Open call = std::strcmp(opening.function, "open64") == 0 ? open64_ : open_;
    return call(path.c_str(), opening.flags, opening.mode);
  }

  int requestOfNode(const std::string& /*device*/, int descriptor, unsigned long request, void* argument) override {
    return ioctl_(descriptor, request, argument);
  }

  int closeNode(const std::string& /*device*/, int descriptor) override { return close_(descriptor); }

  FILE* startCommand(const char* command, const char* mode) override { return popen_(command, mode); }

  int endCommand(FILE* output) override { return pclose_(output); }

  time_t now() override { return time_(nullptr); }

 private:
  /// The definition that a library or one behind it has, else the one after this program's own.
  template <typename Function>
  static void find(Function& function, const char* name, void* library) {
    void* const found = library == nullptr ? nullptr : dlsym(library, name);
    function = found != nullptr ? reinterpret_cast<Function>(found) : nextDefinition<Function>(name);
  }

  decltype(&vmk_MgmtUserInit) init_ = nullptr;
  decltype(&vmk_MgmtUserDestroy) destroy_ = nullptr;
  decltype(&vmk_MgmtUserCallbackInvokeInt) invoke_ = nullptr;
  Open open_ = nullptr;
  Open open64_ = nullptr;
  decltype(&ioctl) ioctl_ = nullptr;
  decltype(&close) close_ = nullptr;
  decltype(&popen) popen_ = nullptr;
  decltype(&pclose) pclose_ = nullptr;
  decltype(&time) time_ = nullptr;
};

NextCalls& theNextCalls() {
  // Never destroyed: the calls go on while the process ends.
  static NextCalls& calls = *new NextCalls;
  return calls;
}

}  // namespace

HostCalls& nextCalls() {
  return theNextCalls();
}

void lookUpCallsIn(void* library) {
  theNextCalls().lookUpIn(library);
}

}  // namespace host
