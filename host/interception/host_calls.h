// What a run takes from the machine that it runs on, as one interface: the management calls, the requests to disk
// nodes, commands run through a pipe, and the clock. interception.h tells who asks.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "platform/vmkmgmt.h"

namespace host {

/// Where the nodes of disks lie; the rest of a path is the device's name.
inline constexpr std::string_view kNodes = "/dev/disks/";

/// A call of one of the driver's callbacks; parameters beyond `count` are null.
struct CallbackCall {
  vmk_MgmtUserHandle* channel = nullptr;
  uint64_t reserved = 0;
  uint64_t id = 0;
  uint32_t count = 0;
  std::array<void*, 4> parameters{};  // as many as the interface's description has room for
};

/// A call that opens a disk node.
struct NodeOpening {
  const char* function = "open";  ///< or "open64"
  std::string device;
  int flags = 0;
  mode_t mode = 0;
};

/// Arguments and results are those of the C functions, errno included.
class HostCalls {
 public:
  HostCalls() = default;
  virtual ~HostCalls() = default;
  HostCalls(const HostCalls&) = delete;
  HostCalls& operator=(const HostCalls&) = delete;

  virtual uint32_t openChannel(const void* signature, uint64_t reserved, vmk_MgmtUserHandle** channel) = 0;
  virtual int32_t closeChannel(vmk_MgmtUserHandle* channel) = 0;
  virtual int32_t invoke(const CallbackCall& call) = 0;

  virtual int openNode(const NodeOpening& opening) = 0;
  virtual int requestOfNode(const std::string& device, int descriptor, unsigned long request, void* argument) = 0;
  virtual int closeNode(const std::string& device, int descriptor) = 0;

  virtual FILE* startCommand(const char* command, const char* mode) = 0;
  virtual int endCommand(FILE* output) = 0;

  virtual time_t now() = 0;
};

/// The machine itself: each call goes to the management library, or else to the next definition after this program's
/// own. There is no management call before lookUpCallsIn.
[[nodiscard]] HostCalls& nextCalls();

/// From now on the calls are looked up in a loaded library first, which finds those of the libraries that it needs as
/// well. Not while a call is under way.
/// @param library  as dlopen returned it; has the management calls
void lookUpCallsIn(void* library);

}  // namespace host
