// Keeps and words the commands of a run.
#include "host/interception/command_log.h"

#include <algorithm>
#include <cstdio>

#include "host/output/output.h"
#include "host/output/text.h"

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

std::string lineOf(const InterceptedCommand& command) {
  const char* about = argumentName(command);
  const std::string argument =
      about == nullptr ? kUnknown : std::string(about) + ' ' + std::to_string(command.command->argument);
  char line[256];
  std::snprintf(line, sizeof(line), "controller %u  %-25s  %-11s  %-35s  %5u bytes  %s  %lld us", command.instance,
                nameOf(command).c_str(), argument.c_str(), cdbText(command).c_str(), lengthOf(command),
                resultText(command).c_str(), static_cast<long long>(command.duration.count()));
  return line;
}

Json toJson(const InterceptedCommand& command) {
  Json argument = nullptr;
  if (const char* about = argumentName(command)) argument = Json{{about, command.command->argument}};
  return {{"controller", command.instance},
          {"name", nameOf(command)},
          {"argument", std::move(argument)},
          {"cdb", cdbText(command)},
          {"length", lengthOf(command)},
          {"sent", !command.wasHeldBack},
          {"callResult", command.result},
          {"driverStatus", command.driverStatus},
          {"microseconds", command.duration.count()}};
}

}  // namespace

std::string nameOf(const InterceptedCommand& command) {
  return command.command ? command.command->layout->name : "unknown command";
}

std::string resultText(const InterceptedCommand& command) {
  if (command.wasHeldBack) return "not sent";
  if (command.result != 0) return "call failed with " + hex(static_cast<uint32_t>(command.result));
  if (command.driverStatus != 0) return "driver status " + hex(command.driverStatus);
  return "ok";
}

std::span<const InterceptedCommand> CommandLog::since(size_t place) const {
  return std::span(commands_).subspan(place);
}

void CommandLog::addTo(Json& document) const {
  Json& commands = document["commands"] = nullptr;
  if (show_ != Show::inDocument) return;
  commands = Json::array();
  for (const InterceptedCommand& command : commands_) commands.push_back(toJson(command));
}

bool CommandLog::holdsBack(const InterceptedCommand& command) {
  return holdsBackWrites_ && command.writes();
}

void CommandLog::passed(InterceptedCommand command) {
  if (show_ == Show::onStandardOutput) {
    print(lineOf(command) + "\n");
    flushOutput();
  }
  commands_.push_back(std::move(command));
}

}  // namespace host
