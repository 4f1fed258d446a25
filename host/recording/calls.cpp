// The calls with more to spell and to say.
#include "host/recording/calls.h"

#include <algorithm>
#include <cstring>

#include "host/interception/host_calls.h"
#include "host/output/text.h"
#include "json/hex.h"
#include "simulator/command_decoder.h"

namespace host::recording {
namespace {

namespace wire = simulator::wire;

wire::PassthruRecord recordOf(const Command::Request& request) {
  wire::PassthruRecord record{};
  std::memcpy(&record, request.record.data(), kRecordSize);
  return record;
}

size_t bytesMoved(const Command::Request& request, uint8_t direction) {
  const wire::PassthruRecord record = recordOf(request);
  if (record.typeAttributeDirection >> 6 != direction >> 6) return 0;
  const auto command = simulator::decodeCommand(record);
  return command ? command->length : record.bufferSize;
}

std::string nodeOf(const std::string& device) {
  return std::string(kNodes) + printable(device);
}

}  // namespace

size_t Command::Request::bytesWritten() const {
  return bytesMoved(*this, wire::kWriteDirection);
}

size_t Command::Request::bytesRead() const {
  return bytesMoved(*this, wire::kReadDirection);
}

void Command::spell(Form& asked, Form& answered) {
  asked.number("controller", request.controller);
  const bool hasRecord = asked.bytes("record", request.record, kRecordSize);
  const size_t written = hasRecord ? request.bytesWritten() : 0;
  const size_t read = hasRecord ? request.bytesRead() : 0;
  const bool isAllowed = asked.require(std::max(written, read) <= kMostCommandBytes, "record",
                                       "must move at most " + std::to_string(kMostCommandBytes) + " bytes");
  if (!hasRecord || !isAllowed) return Form::leave(asked, answered);
  if (written != 0) asked.bytes("data", request.data, written);

  if (!answered.isZero("result", answer.result)) return;
  answered.number("status", answer.status);
  answered.bytes("record", answer.record, kRecordSize);
  if (read != 0) answered.bytes("data", answer.data, read);
}

std::string Command::about() const {
  const wire::PassthruRecord record = recordOf(request);
  const auto command = simulator::decodeCommand(record);
  std::string text = command ? command->layout->name : "a command of CDB " + input::toHex(record.cdb);
  if (command && command->layout->argument != simulator::Argument::none) {
    constexpr const char* kNames[] = {"", "volume", "drive", "format"};
    text += std::string(" (") + kNames[static_cast<size_t>(command->layout->argument)] + " " +
            std::to_string(command->argument) + ")";
  }
  text += " to controller " + std::to_string(request.controller);
  const size_t written = request.bytesWritten();
  return written == 0 ? text + ", " + std::to_string(request.bytesRead()) + " bytes"
                      : text + ", with these " + std::to_string(written) + " bytes";
}

std::string OpenNode::about() const {
  return "the opening of " + nodeOf(request.device);
}

std::string CloseNode::about() const {
  return "the closing of " + nodeOf(request.device);
}

void NodeRequest::spell(Form& asked, Form& answered) {
  asked.text("device", request.device);
  asked.hex("cdb", request.cdb, kLongestCdb);
  const std::string& direction = request.direction;
  const bool hasDirection = asked.text("direction", request.direction) &&
                            asked.require(direction == kFromDisk || direction == kToDisk || direction == kNoData,
                                          "direction", R"(must be "from disk", "to disk" or "none")");
  const bool hasLength = asked.number("length", request.length, 0U, kMostNodeBytes);
  const bool hasSenseLength = asked.number("senseLength", request.senseLength);
  if (!hasDirection || !hasLength || !hasSenseLength) return Form::leave(asked, answered);
  if (direction == kToDisk) asked.bytes("data", request.data, request.length);

  if (!answered.isZero("error", answer.error, 0)) return;
  answered.number("status", answer.header.status);
  answered.number("maskedStatus", answer.header.masked_status);
  answered.number("messageStatus", answer.header.msg_status);
  answered.number("hostStatus", answer.header.host_status);
  answered.number("driverStatus", answer.header.driver_status);
  answered.number("resid", answer.header.resid);
  answered.number("info", answer.header.info);
  answered.hex("sense", answer.sense, request.senseLength);
  if (direction == kFromDisk) answered.bytes("data", answer.data, request.length);
}

std::string NodeRequest::about() const {
  return "SG_IO to " + nodeOf(request.device) + ": CDB " + input::toHex(request.cdb) + ", " +
         std::to_string(request.length) + " bytes";
}

std::string Run::about() const {
  return "a run of \"" + printable(request.command) + "\"";
}

}  // namespace host::recording
