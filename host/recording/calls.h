// The calls that a recording holds. Each kind is one struct: what was asked of the host (`request`) and what was the
// answer (`answer`). docs/recording.md describes their lines.
//
//   spell()   names the keys of both, in their order: with forms that write, it writes the call's line; with forms
//             that read, it reads and checks it
//   about()   is the request for people: "identifyPhysicalDevice (drive 3) to controller 0, 2560 bytes"
//   of()      takes them from the caller's arguments and memory. A request that a recording cannot tell whole (another
//             callback, another ioctl, a null where the interface has none) is none: it is passed on without being
//             recorded, and cannot be replayed
//   giveTo()  writes an answer, when the call went well, into the memory of a caller who asked the same
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <scsi/sg.h>
#include <string>
#include <variant>
#include <vector>

#include "host/disks/host_disk.h"
#include "host/interception/host_calls.h"
#include "host/recording/form.h"
#include "simulator/wire.h"

// The check takes a constant of the comparisons' own for a null pointer.
// NOLINTBEGIN(modernize-use-nullptr)

namespace host::recording {

/// The most bytes that a recorded request to a disk, and a command, moves; larger ones are not recorded.
inline constexpr uint32_t kMostNodeBytes = 1 << 20;
inline constexpr size_t kMostCommandBytes = 1 << 24;

/// A pass-through record without the address at its end, which means nothing to another process.
inline constexpr size_t kRecordSize = offsetof(simulator::wire::PassthruRecord, buffer);

struct OpenChannel {
  static constexpr const char* kName = "openChannel";
  struct Callback {
    uint64_t id = 0;
    std::vector<uint32_t> sizes;
    std::vector<uint32_t> directions;
    auto operator<=>(const Callback&) const = default;
    void spell(Form& form) {
      form.number("id", id);
      form.numbers("sizes", sizes);
      form.numbers("directions", directions);
    }
  };
  struct Request {
    uint32_t version = 0;
    std::string name;
    std::string vendor;
    std::vector<Callback> callbacks;
    auto operator<=>(const Request&) const = default;
    static std::optional<Request> of(const void* signature, uint64_t reserved);
  } request;
  struct Answer {
    uint32_t result = 0;
    uint32_t channel = 0;  ///< its number in the recording; 0 when none was opened
  } answer;

  void spell(Form& asked, Form& answered) {
    asked.number("version", request.version);
    asked.text("name", request.name);
    asked.text("vendor", request.vendor);
    asked.list("callbacks", request.callbacks);
    const bool hasResult = answered.number("result", answer.result);
    const bool hasChannel = answered.number("channel", answer.channel);
    answered.require(!hasResult || !hasChannel || (answer.result == 0) == (answer.channel != 0), "channel",
                     "must be a channel's number when the result is 0, else 0");
  }
  [[nodiscard]] std::string about() const { return "the opening of a management channel with this signature"; }
};

struct CloseChannel {
  static constexpr const char* kName = "closeChannel";
  struct Request {
    auto operator<=>(const Request&) const = default;
  } request;
  struct Answer {
    int32_t result = 0;
  } answer;

  void spell(Form& /*asked*/, Form& answered) { answered.number("result", answer.result); }
  [[nodiscard]] std::string about() const { return "the closing of a management channel"; }
};

struct Query {
  static constexpr const char* kName = "query";
  struct Request {
    auto operator<=>(const Request&) const = default;
    static std::optional<Request> of(const CallbackCall& call);
  } request;
  struct Answer {
    int32_t result = 0;
    uint32_t status = 0;
    Bytes instances;
    static Answer of(int32_t result, const CallbackCall& call, const Request& request);
    void giveTo(const CallbackCall& call) const;
  } answer;

  void spell(Form& /*asked*/, Form& answered) {
    if (!answered.isZero("result", answer.result)) return;
    answered.number("status", answer.status);
    answered.bytes("instances", answer.instances, sizeof(simulator::wire::InstanceList));
  }
  [[nodiscard]] std::string about() const { return "the driver's instance query"; }
};

struct Command {
  static constexpr const char* kName = "command";
  struct Request {
    uint32_t controller = 0;
    Bytes record;
    Bytes data;  ///< to the controller
    auto operator<=>(const Request&) const = default;
    static std::optional<Request> of(const CallbackCall& call);
    /// How many bytes the command moves to the controller, or from it; 0 for the other direction.
    [[nodiscard]] size_t bytesWritten() const;
    [[nodiscard]] size_t bytesRead() const;
  } request;
  struct Answer {
    int32_t result = 0;
    uint32_t status = 0;
    Bytes record;
    Bytes data;  ///< from the controller
    static Answer of(int32_t result, const CallbackCall& call, const Request& request);
    void giveTo(const CallbackCall& call) const;
  } answer;

  void spell(Form& asked, Form& answered);
  [[nodiscard]] std::string about() const;
};

struct OpenNode {
  static constexpr const char* kName = "openNode";
  struct Request {
    std::string device;
    auto operator<=>(const Request&) const = default;
  } request;
  struct Answer {
    int32_t error = 0;  ///< an errno, or 0
  } answer;

  void spell(Form& asked, Form& answered) {
    asked.text("device", request.device);
    answered.isZero("error", answer.error, 0);
  }
  [[nodiscard]] std::string about() const;
};

struct CloseNode : OpenNode {
  static constexpr const char* kName = "closeNode";
  [[nodiscard]] std::string about() const;
};

/// SG_IO.
struct NodeRequest {
  static constexpr const char* kName = "nodeRequest";
  static constexpr const char* kFromDisk = "from disk";
  static constexpr const char* kToDisk = "to disk";
  static constexpr const char* kNoData = "none";
  static constexpr size_t kLongestCdb = 16;
  struct Request {
    std::string device;
    Bytes cdb;
    std::string direction = kNoData;
    uint32_t length = 0;
    uint8_t senseLength = 0;  ///< room for as many bytes
    Bytes data;               ///< to the disk
    auto operator<=>(const Request&) const = default;
    static std::optional<Request> of(const std::string& device, unsigned long request, const void* argument);
  } request;
  struct Answer {
    int32_t error = 0;
    sg_io_hdr header{};  ///< its results
    Bytes sense;
    Bytes data;  ///< from the disk
    static Answer of(int error, const void* argument);
    void giveTo(void* argument) const;
  } answer;

  void spell(Form& asked, Form& answered);
  [[nodiscard]] std::string about() const;
};

/// A command of the host's, run for its output.
struct Run {
  static constexpr const char* kName = "run";
  struct Request {
    std::string command;
    auto operator<=>(const Request&) const = default;
  } request;
  struct Answer {
    int32_t error = 0;
    std::string output;
    int32_t status = 0;
  } answer;

  void spell(Form& asked, Form& answered) {
    asked.text("command", request.command);
    if (!answered.isZero("error", answer.error, 0)) return;
    answered.text("output", answer.output);
    answered.number("status", answer.status);
  }
  [[nodiscard]] std::string about() const;
};

struct Clock {
  static constexpr const char* kName = "clock";
  struct Request {
    auto operator<=>(const Request&) const = default;
  } request;
  struct Answer {
    int64_t seconds = 0;
  } answer;

  void spell(Form& /*asked*/, Form& answered) { answered.number("seconds", answer.seconds); }
  [[nodiscard]] std::string about() const { return "the clock"; }
};

struct Disks {
  static constexpr const char* kName = "disks";
  struct Request {
    auto operator<=>(const Request&) const = default;
  } request;
  struct Answer {
    std::vector<HostDisk> disks;
  } answer;

  void spell(Form& /*asked*/, Form& answered) { answered.disks("disks", answer.disks); }
  [[nodiscard]] std::string about() const { return "the list of the host's disks"; }
};

using AnyCall =
    std::variant<OpenChannel, CloseChannel, Query, Command, OpenNode, NodeRequest, CloseNode, Run, Clock, Disks>;

}  // namespace host::recording

// NOLINTEND(modernize-use-nullptr)
