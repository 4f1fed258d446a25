// Words requests for the file and for people.
#include "host/recording/requests.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "host/interception/interception.h"
#include "host/output/text.h"
#include "simulator/command_decoder.h"
#include "simulator/hex.h"

namespace host::recording {
namespace {

namespace wire = simulator::wire;

constexpr uint32_t kMostCallbacks = 64;  // more are no table
constexpr uint8_t kReadBits = 2;         // direction of a pass-through record, bits 6 and 7
constexpr uint8_t kWriteBits = 1;
constexpr size_t kLongestCdb = 16;

template <size_t size>
Json fieldToJson(const char (&field)[size]) {
  return textToJson({field, strnlen(field, size)});
}

Json callbacksToJson(const wire::CallbackEntry* callbacks, uint32_t count) {
  Json list = Json::array();
  for (uint32_t index = 0; index < count; ++index) {
    const wire::CallbackEntry callback = callbacks[index];
    Json entry = {{"id", uint64_t{callback.id}}, {"sizes", Json::array()}, {"directions", Json::array()}};
    for (size_t parameter = 0; parameter < callback.parameterCount && parameter < 4; ++parameter) {
      entry["sizes"].push_back(uint32_t{callback.sizes[parameter]});
      entry["directions"].push_back(uint32_t{callback.directions[parameter]});
    }
    list.push_back(std::move(entry));
  }
  return list;
}

Bytes copyOf(const void* data, size_t length) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  return {bytes, bytes + length};
}

std::optional<Request> commandRequest(const CallbackCall& call) {
  uint32_t controller = 0;
  wire::PassthruRecord record{};
  std::memcpy(&controller, call.parameters[0], sizeof(controller));
  std::memcpy(&record, call.parameters[1], sizeof(record));
  const auto* data = reinterpret_cast<const void*>(static_cast<uintptr_t>(record.buffer));
  const size_t written = bytesWritten(record);
  const size_t moved = std::max(bytesRead(record), written);
  if (moved > kMostCommandBytes || (data == nullptr && moved != 0)) return std::nullopt;
  Request request{kCommand, {{"controller", controller}, {"record", bytesToJson(copyOf(&record, kRecordSize))}}};
  if (written != 0) request.parameters["data"] = bytesToJson(copyOf(data, written));
  return request;
}

size_t lengthOf(const wire::PassthruRecord& record) {
  const auto command = simulator::decodeCommand(record);
  return command ? command->length : record.bufferSize;
}

const char* directionName(int direction) {
  switch (direction) {
    case SG_DXFER_FROM_DEV:
      return kFromDisk;
    case SG_DXFER_TO_DEV:
      return kToDisk;
    case SG_DXFER_NONE:
      return kNoData;
    default:
      return nullptr;
  }
}

/// The request's parameters are those of a recording, so their types are right.
wire::PassthruRecord recordOf(const Request& request) {
  return recording::recordOf(bytesOf(JsonNode(request.parameters.at("record"), ""), kRecordSize));
}

std::string describeCommand(const Request& request) {
  const wire::PassthruRecord record = recordOf(request);
  const auto command = simulator::decodeCommand(record);
  std::string text = command ? command->layout->name : "a command of CDB " + simulator::toHex(record.cdb);
  if (command && command->layout->argument != simulator::Argument::none) {
    constexpr const char* kNames[] = {"", "volume", "drive", "format"};
    text += std::string(" (") + kNames[static_cast<size_t>(command->layout->argument)] + " " +
            std::to_string(command->argument) + ")";
  }
  text += " to controller " + std::to_string(request.parameters.at("controller").get<uint32_t>());
  const size_t written = bytesWritten(record);
  return written == 0 ? text + ", " + std::to_string(bytesRead(record)) + " bytes"
                      : text + ", with these " + std::to_string(written) + " bytes";
}

std::string deviceOf(const Request& request) {
  return std::string(kNodes) + printable(textOf(JsonNode(request.parameters.at("device"), "")));
}

}  // namespace

wire::PassthruRecord recordOf(const Bytes& bytes) {
  wire::PassthruRecord record{};
  std::memcpy(&record, bytes.data(), kRecordSize);
  return record;
}

size_t bytesRead(const wire::PassthruRecord& record) {
  return record.typeAttributeDirection >> 6 == kReadBits ? lengthOf(record) : 0;
}

size_t bytesWritten(const wire::PassthruRecord& record) {
  return record.typeAttributeDirection >> 6 == kWriteBits ? lengthOf(record) : 0;
}

std::optional<Request> openChannelRequest(const void* signature, uint64_t reserved) {
  if (signature == nullptr || reserved != 0) return std::nullopt;
  wire::InterfaceSignature interface = {};
  std::memcpy(&interface, signature, sizeof(interface));
  if (interface.callbacks == nullptr || interface.callbackCount > kMostCallbacks) return std::nullopt;
  return Request{kOpenChannel,
                 {{"version", uint32_t{interface.version}},
                  {"name", fieldToJson(interface.name)},
                  {"vendor", fieldToJson(interface.vendor)},
                  {"callbacks", callbacksToJson(interface.callbacks, interface.callbackCount)}}};
}

std::optional<Request> callbackRequest(const CallbackCall& call) {
  if (call.reserved != 0) return std::nullopt;
  for (uint32_t index = 0; index < call.count && index < call.parameters.size(); ++index) {
    if (call.parameters[index] == nullptr) return std::nullopt;
  }
  if (call.id == kQueryCallback && call.count == kQueryParameters) return Request{kQuery};
  if (call.id == kPassthruCallback && call.count == kPassthruParameters) return commandRequest(call);
  return std::nullopt;
}

std::optional<Request> nodeRequest(const std::string& device, unsigned long request, const void* argument) {
  if (request != SG_IO || argument == nullptr) return std::nullopt;
  const auto& header = *static_cast<const sg_io_hdr*>(argument);
  const char* direction = directionName(header.dxfer_direction);
  const bool isPlain = header.interface_id == 'S' && header.iovec_count == 0 && header.cmdp != nullptr &&
                       header.cmd_len <= kLongestCdb && header.dxfer_len <= kMostNodeBytes && direction != nullptr;
  if (!isPlain || (header.dxfer_len != 0 && header.dxferp == nullptr)) return std::nullopt;
  Request asked = deviceRequest(kInquire, device);
  asked.parameters.update({{"cdb", simulator::toHex({header.cmdp, header.cmd_len})},
                           {"direction", direction},
                           {"length", header.dxfer_len},
                           {"senseLength", header.sbp == nullptr ? 0U : unsigned{header.mx_sb_len}}});
  if (direction == kToDisk) asked.parameters["data"] = bytesToJson(copyOf(header.dxferp, header.dxfer_len));
  return asked;
}

Request deviceRequest(const char* call, const std::string& device) {
  return {call, {{"device", textToJson(device)}}};
}

Request runRequest(const char* command) {
  return {kRun, {{"command", textToJson(command)}}};
}

std::string describe(const Request& request) {
  const std::string& call = request.call;
  if (call == kOpenChannel) return "the opening of a management channel with this signature";
  if (call == kCloseChannel) return "the closing of a management channel";
  if (call == kQuery) return "the driver's instance query";
  if (call == kCommand) return describeCommand(request);
  if (call == kOpenNode) return "the opening of " + deviceOf(request);
  if (call == kCloseNode) return "the closing of " + deviceOf(request);
  if (call == kInquire) {
    return "SG_IO to " + deviceOf(request) + ": CDB " + request.parameters.at("cdb").get<std::string>() + ", " +
           std::to_string(request.parameters.at("length").get<uint32_t>()) + " bytes";
  }
  if (call == kRun) {
    return "a run of \"" + printable(textOf(JsonNode(request.parameters.at("command"), ""))) + "\"";
  }
  return call == kDisks ? "the list of the host's disks" : "the clock";
}

}  // namespace host::recording
