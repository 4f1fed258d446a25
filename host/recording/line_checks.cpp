// One check for each kind of call.
#include "host/recording/line_checks.h"

#include <algorithm>

#include "host/disks/inventory.h"
#include "host/recording/format.h"
#include "host/recording/requests.h"
#include "simulator/hex.h"

namespace host::recording {
namespace {

Bytes hexOf(const JsonNode& node, size_t most) {
  const auto bytes = node.json().is_string() ? simulator::fromHex(node.json().get<std::string>()) : std::nullopt;
  if (!bytes) node.refuse("must be a text of hexadecimal digits, two a byte");
  if (bytes->size() > most) node.refuse("must be at most " + std::to_string(most) + " bytes");
  return *bytes;
}

/// An answer of an error number alone, 0 when the call went well.
/// @return whether it did
bool checkError(const JsonNode& answer) {
  if (answer.at("error").number<int32_t>() < 0) answer.at("error").refuse("must not be negative");
  const bool isDone = answer.at("error").number<int32_t>() == 0;
  if (!isDone) answer.mustBeObjectOf({"error"});
  return isDone;
}

void checkOpenChannel(const JsonNode& request, const JsonNode& answer) {
  request.mustBeObjectOf({"version", "name", "vendor", "callbacks"});
  (void)request.at("version").number<uint32_t>();
  (void)textOf(request.at("name"));
  (void)textOf(request.at("vendor"));
  for (const JsonNode& callback : request.at("callbacks").elements()) {
    callback.mustBeObjectOf({"id", "sizes", "directions"});
    (void)callback.at("id").number<uint64_t>();
    for (const char* key : {"sizes", "directions"}) {
      for (const JsonNode& number : callback.at(key).elements()) (void)number.number<uint32_t>();
    }
  }
  answer.mustBeObjectOf({"result", "channel"});
  const bool isOpen = answer.at("result").number<uint32_t>() == 0;
  if ((answer.at("channel").number<uint32_t>() != 0) != isOpen) {
    answer.at("channel").refuse("must be a channel's number when the result is 0, else 0");
  }
}

void checkCloseChannel(const JsonNode& request, const JsonNode& answer) {
  request.mustBeObjectOf({});
  answer.mustBeObjectOf({"result"});
  (void)answer.at("result").number<int32_t>();
}

/// The keys of an answer to a callback: beyond the result there are others only when the driver was called.
/// @return whether it was
bool checkResult(const JsonNode& answer, std::initializer_list<std::string_view> keys) {
  const bool wasCalled = answer.at("result").number<int32_t>() == 0;
  if (!wasCalled) {
    answer.mustBeObjectOf({"result"});
    return false;
  }
  answer.mustBeObjectOf(keys);
  (void)answer.at("status").number<uint32_t>();
  return true;
}

void checkQuery(const JsonNode& request, const JsonNode& answer) {
  request.mustBeObjectOf({});
  if (!checkResult(answer, {"result", "status", "instances"})) return;
  (void)bytesOf(answer.at("instances"), sizeof(simulator::wire::InstanceList));
}

void checkCommand(const JsonNode& request, const JsonNode& answer) {
  request.mustBeObjectOf({"controller", "record", "data"});
  (void)request.at("controller").number<uint32_t>();
  const auto record = recordOf(bytesOf(request.at("record"), kRecordSize));
  if (std::max(bytesRead(record), bytesWritten(record)) > kMostCommandBytes) {
    request.at("record").refuse("must move at most " + std::to_string(kMostCommandBytes) + " bytes");
  }
  if (const size_t written = bytesWritten(record); written != 0) (void)bytesOf(request.at("data"), written);
  if (!checkResult(answer, {"result", "status", "record", "data"})) return;
  (void)bytesOf(answer.at("record"), kRecordSize);
  if (const size_t read = bytesRead(record); read != 0) (void)bytesOf(answer.at("data"), read);
}

void checkNode(const JsonNode& request, const JsonNode& answer) {
  request.mustBeObjectOf({"device"});
  (void)textOf(request.at("device"));
  answer.mustBeObjectOf({"error"});
  (void)checkError(answer);
}

void checkNodeRequest(const JsonNode& request, const JsonNode& answer) {
  request.mustBeObjectOf({"device", "cdb", "direction", "length", "senseLength", "data"});
  (void)textOf(request.at("device"));
  (void)hexOf(request.at("cdb"), 16);
  const std::string direction = request.at("direction").text();
  if (direction != kFromDisk && direction != kToDisk && direction != kNoData) {
    request.at("direction").refuse("must be \"from disk\", \"to disk\" or \"none\"");
  }
  const auto length = request.at("length").number<uint32_t>();
  if (length > kMostNodeBytes) request.at("length").refuse("must be at most " + std::to_string(kMostNodeBytes));
  const auto senseLength = request.at("senseLength").number<uint8_t>();
  if (direction == kToDisk) (void)bytesOf(request.at("data"), length);

  if (!checkError(answer)) return;
  answer.mustBeObjectOf({"error", "status", "maskedStatus", "messageStatus", "hostStatus", "driverStatus", "resid",
                         "info", "sense", "data"});
  for (const char* key : {"status", "maskedStatus", "messageStatus"}) (void)answer.at(key).number<uint8_t>();
  for (const char* key : {"hostStatus", "driverStatus"}) (void)answer.at(key).number<uint16_t>();
  (void)answer.at("resid").number<int32_t>();
  (void)answer.at("info").number<uint32_t>();
  (void)hexOf(answer.at("sense"), senseLength);
  if (direction == kFromDisk) (void)bytesOf(answer.at("data"), length);
}

void checkRun(const JsonNode& request, const JsonNode& answer) {
  request.mustBeObjectOf({"command"});
  (void)textOf(request.at("command"));
  if (!checkError(answer)) return;
  answer.mustBeObjectOf({"error", "output", "status"});
  (void)textOf(answer.at("output"));
  (void)answer.at("status").number<int32_t>();
}

void checkClock(const JsonNode& request, const JsonNode& answer) {
  request.mustBeObjectOf({});
  answer.mustBeObjectOf({"seconds"});
  (void)answer.at("seconds").number<int64_t>();
}

void checkDisks(const JsonNode& request, const JsonNode& answer) {
  request.mustBeObjectOf({});
  answer.mustBeObjectOf({"disks"});
  for (const JsonNode& disk : answer.at("disks").elements()) (void)diskOf(disk);
}

struct CallCheck {
  const char* call;
  void (*check)(const JsonNode& request, const JsonNode& answer);
};

constexpr CallCheck kChecks[] = {
    {kOpenChannel, checkOpenChannel},
    {kCloseChannel, checkCloseChannel},
    {kQuery, checkQuery},
    {kCommand, checkCommand},
    {kOpenNode, checkNode},
    {kInquire, checkNodeRequest},
    {kCloseNode, checkNode},
    {kRun, checkRun},
    {kClock, checkClock},
    {kDisks, checkDisks},
};

}  // namespace

void checkFirstLine(const JsonNode& line) {
  const bool isRecording = line.json().is_object() && line.has("format") && line.json().at("format") == kFormat;
  if (!isRecording) line.refuse(std::string("not a recording: it does not begin with \"format\": \"") + kFormat + "\"");
  line.mustBeObjectOf({"format", "version"});
  if (const int version = line.at("version").number<int>(); version != kVersion) {
    line.at("version").refuse("a recording of version " + std::to_string(version) + "; this program knows version " +
                              std::to_string(kVersion));
  }
}

void checkCall(const JsonNode& line) {
  line.mustBeObjectOf({"call", "about", "channel", "request", "answer"});
  const std::string call = line.at("call").text();
  for (const CallCheck& one : kChecks) {
    if (call != one.call) continue;
    one.check(line.at("request"), line.at("answer"));
    return;
  }
  line.at("call").refuse("unknown call");
}

}  // namespace host::recording
