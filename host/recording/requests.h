// What a run asks its host, in the words of a recording: the same for the one that records and the one that replays.
//
// A request that the words cannot tell whole (another callback, another ioctl, a null where the interface has none) has
// none: it is passed on without being recorded, and cannot be replayed.
#pragma once

#include <optional>
#include <scsi/sg.h>
#include <string>

#include "host/interception/host_calls.h"
#include "host/output/json.h"
#include "host/recording/values.h"
#include "simulator/wire.h"

namespace host::recording {

/// A call and its parameters; two requests are the same when both are.
struct Request {
  std::string call;
  Json parameters = Json::object();
};

inline constexpr const char* kOpenChannel = "openChannel";
inline constexpr const char* kCloseChannel = "closeChannel";
inline constexpr const char* kQuery = "query";
inline constexpr const char* kCommand = "command";
inline constexpr const char* kOpenNode = "openNode";
inline constexpr const char* kInquire = "nodeRequest";
inline constexpr const char* kCloseNode = "closeNode";
inline constexpr const char* kRun = "run";
inline constexpr const char* kClock = "clock";
inline constexpr const char* kDisks = "disks";

[[nodiscard]] std::optional<Request> openChannelRequest(const void* signature, uint64_t reserved);

/// The driver's instance query, or a command to a controller.
[[nodiscard]] std::optional<Request> callbackRequest(const CallbackCall& call);

/// A request by SG_IO.
[[nodiscard]] std::optional<Request> nodeRequest(const std::string& device, unsigned long request,
                                                 const void* argument);

/// openNode and closeNode.
[[nodiscard]] Request deviceRequest(const char* call, const std::string& device);

/// A command of the host's, run for its output.
[[nodiscard]] Request runRequest(const char* command);

/// For people: "identifyPhysicalDevice (drive 3) to controller 0, 2560 bytes".
[[nodiscard]] std::string describe(const Request& request);

/// A pass-through record without the address at its end, which means nothing to another process.
inline constexpr size_t kRecordSize = offsetof(simulator::wire::PassthruRecord, buffer);

/// A pass-through record of these bytes.
[[nodiscard]] simulator::wire::PassthruRecord recordOf(const Bytes& bytes);

/// How many bytes a command moves from the controller, or to it, by its record; 0 for the other direction.
[[nodiscard]] size_t bytesRead(const simulator::wire::PassthruRecord& record);
[[nodiscard]] size_t bytesWritten(const simulator::wire::PassthruRecord& record);

/// The most bytes that a recorded request to a disk, and a command, moves; larger ones are not recorded.
inline constexpr size_t kMostNodeBytes = 1 << 20;
inline constexpr size_t kMostCommandBytes = 1 << 24;

/// A recorded SG_IO request's direction.
inline constexpr const char* kFromDisk = "from disk";
inline constexpr const char* kToDisk = "to disk";
inline constexpr const char* kNoData = "none";

}  // namespace host::recording
