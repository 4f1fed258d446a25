// Commands as a recording holds them.
#pragma once

#include <algorithm>
#include <cstring>
#include <iterator>

#include "host/recording/calls.h"
#include "simulator/command_decoder.h"

inline const simulator::CommandLayout& layoutOf(simulator::Opcode opcode) {
  return *std::find_if(std::begin(simulator::kCommands), std::end(simulator::kCommands),
                       [&](const simulator::CommandLayout& layout) { return layout.opcode == opcode; });
}

/// A command with its reply, or with its data to the controller.
inline host::recording::Command commandOf(uint32_t controller, simulator::Opcode opcode, uint32_t argument,
                                          const host::recording::Bytes& data) {
  const simulator::DecodedCommand decoded{&layoutOf(opcode), argument, static_cast<uint32_t>(data.size())};
  simulator::wire::PassthruRecord record{};
  const auto cdb = simulator::encodeCdb(decoded);
  std::copy(cdb.begin(), cdb.end(), record.cdb);
  record.cdbLength = decoded.layout->cdbLength();
  record.typeAttributeDirection = decoded.layout->direction();
  record.bufferSize = static_cast<uint16_t>(data.size());
  host::recording::Command command;
  command.request.controller = controller;
  command.request.record.resize(host::recording::kRecordSize);
  std::memcpy(command.request.record.data(), &record, host::recording::kRecordSize);
  command.answer.record = command.request.record;
  (decoded.layout->toController ? command.request.data : command.answer.data) = data;
  return command;
}
