// Keeps and words the commands of a run.
#include "host/interception/command_log.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "host/output/output.h"
#include "host/output/text.h"
#include "host/waiting/progress.h"

namespace host {
namespace {

using simulator::Argument;

/// What the command is about: "drive", "volume" or "format"; null for a command without argument.
const char* argumentName(const InterceptedCommand& command) {
  switch (command.command ? command.command->layout->argument : Argument::none) {
    case Argument::drive:
      return "drive";
    case Argument::volume:
      return "volume";
    case Argument::reportFormat:
      return "format";
    case Argument::none:
      break;
  }
  return nullptr;
}

uint32_t lengthOf(const InterceptedCommand& command) {
  return command.command ? command.command->length : command.record.bufferSize;
}

std::string cdbText(const InterceptedCommand& command) {
  std::string text;
  const size_t length = std::min<size_t>(command.record.cdbLength, sizeof(command.record.cdb));
  for (size_t index = 0; index < length; ++index) {
    char byte[4];
    std::snprintf(byte, sizeof(byte), "%s%02x", index == 0 ? "" : " ", unsigned{command.record.cdb[index]});
    text += byte;
  }
  return text;
}

std::string resultText(int32_t result, uint32_t driverStatus) {
  if (result != 0) return "call failed with " + hex(static_cast<uint32_t>(result));
  return driverStatus != 0 ? "driver status " + hex(driverStatus) : "ok";
}

/// The cells of a line; what a call does not have is empty.
std::string lineOf(const std::string& hba, const std::string& name, const std::string& argument, const std::string& cdb,
                   const std::string& length, const std::string& result, std::chrono::microseconds duration) {
  char line[512];
  std::snprintf(line, sizeof(line), "%-8s  %-25s  %-11s  %-35s  %11s  %s  %lld us\n", hba.c_str(), name.c_str(),
                argument.c_str(), cdb.c_str(), length.c_str(), result.c_str(),
                static_cast<long long>(duration.count()));
  return line;
}

std::string lineOf(const InterceptedCommand& command) {
  const char* about = argumentName(command);
  const std::string argument =
      about == nullptr ? kUnknown : std::string(about) + ' ' + std::to_string(command.command->argument);
  const std::string hba =
      command.hba.empty() ? "controller " + std::to_string(command.instance) : printable(command.hba);
  return lineOf(hba, nameOf(command), argument, cdbText(command), std::to_string(lengthOf(command)) + " bytes",
                resultText(command), command.duration);
}

std::string lineOf(const ChannelCall& call) {
  return lineOf(kUnknown, call.name, kUnknown, kUnknown, kUnknown, resultText(call.result, call.driverStatus),
                call.duration);
}

Json toJson(const InterceptedCommand& command) {
  Json argument = nullptr;
  if (const char* about = argumentName(command)) argument = Json{{about, command.command->argument}};
  return {{"controller", command.instance},
          {"hba", command.hba.empty() ? Json(nullptr) : Json(command.hba)},
          {"name", nameOf(command)},
          {"argument", std::move(argument)},
          {"cdb", cdbText(command)},
          {"length", lengthOf(command)},
          {"sent", !command.wasHeldBack},
          {"callResult", command.result},
          {"driverStatus", command.driverStatus},
          {"microseconds", command.duration.count()}};
}

Json toJson(const ChannelCall& call) {
  return {{"controller", nullptr},
          {"hba", nullptr},
          {"name", call.name},
          {"argument", nullptr},
          {"cdb", nullptr},
          {"length", nullptr},
          {"sent", true},
          {"callResult", call.result},
          {"driverStatus", call.driverStatus},
          {"microseconds", call.duration.count()}};
}

}  // namespace

std::string nameOf(const InterceptedCommand& command) {
  return command.command ? command.command->layout->name : "unknown command";
}

std::string resultText(const InterceptedCommand& command) {
  if (command.wasHeldBack) return "not sent";
  return resultText(command.result, command.driverStatus);
}

std::string resultText(const ChannelCall& call) {
  return resultText(call.result, call.driverStatus);
}

std::span<const InterceptedCommand> CommandLog::since(size_t place) const {
  return std::span(commands_).subspan(place);
}

void CommandLog::addTo(Json& document) const {
  document["commands"] = show_ == Show::inDocument ? shown_ : Json(nullptr);
}

bool CommandLog::holdsBack(const InterceptedCommand& command) {
  return holdsBackWrites_ && command.writes();
}

void CommandLog::passed(InterceptedCommand command) {
  Progress::commandPassed(command);
  showCall(command);
  commands_.push_back(std::move(command));
}

void CommandLog::channelCalled(const ChannelCall& call) {
  showCall(call);
}

template <typename Call>
void CommandLog::showCall(const Call& call) {
  if (showsNoMore_) return;
  if (show_ == Show::inDocument) shown_.push_back(toJson(call));
  if (show_ != Show::onStandardOutput) return;
  print(lineOf(call));
  flushOutput();
}

}  // namespace host
