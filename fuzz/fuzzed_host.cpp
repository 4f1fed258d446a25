// The driver, the disk nodes and the module loader as the input would have them.
#include "fuzz/fuzzed_host.h"

#include <cstdio>
#include <utility>

#include "controller/snapshot.h"
#include "simulator/simulated_host.h"

namespace fuzz {
namespace {

/// The controllers' names are "hba0" to "hba9".
void listInstances(Input& input, simulator::wire::InstanceList& list) {
  for (uint32_t i = 0; i < simulator::wire::kInstances; ++i) {
    simulator::wire::InstanceEntry& entry = list.entries[i];
    entry.id = input.around<uint32_t>(i);
    std::memset(entry.name, input.number<uint8_t>(), sizeof(entry.name));
    std::memcpy(entry.name, "hba0", 5);
    entry.name[3] = static_cast<char>('0' + i);
  }
}

int32_t invokeCallback(Input& input, Controller* controller, uint32_t numParms, void* const* parameters) {
  require(heldByPlugin().channels == 1, "a call uses the open channel");
  if (numParms == 3) {
    return controller->answer(*static_cast<simulator::wire::PassthruRecord*>(parameters[1]),
                              *static_cast<uint32_t*>(parameters[2]));
  }
  listInstances(input, *static_cast<simulator::wire::InstanceList*>(parameters[0]));
  *static_cast<uint32_t*>(parameters[1]) = input.around<uint32_t>(0);
  return input.around<int32_t>(0);
}

/// Asked at every call: most are decided by their first letter.
bool fails(Input& input, const char* call) {
  const auto is = [call](const char* other) { return *call == *other && std::strcmp(call, other) == 0; };
  if (is("destroy")) {
    hostCalls.failCode = input.around<int32_t>(0);
    return hostCalls.failCode != 0;
  }
  hostCalls.failCode = -1;
  return (is("init") || is("open") || is("gettimeofday")) && input.number<uint8_t>() == 1;
}

FILE* loadModule(Input& input) {
  static char text[1500];
  std::memset(text, 'o', sizeof(text));
  input.bytes(text, input.below(16));
  const size_t length = input.around<uint8_t>(2) == 2 ? 20 : sizeof(text);
  return input.number<uint8_t>() == 1 ? nullptr : fmemopen(text, length, "r");
}

}  // namespace

void answerFrom(Input& input, std::function<int(sg_io_hdr&)> disk, Controller* controller) {
  watchPlugin();
  takeTraceWrites();
  hostCalls = {};
  hostCalls.now = 0;
  hostCalls.keptSize = sizeof(OrvaInfo);
  if (!input.has(Input::Costly::filledMemory)) hostCalls.filled = 4096;
  hostCalls.traceOn = input.has(Input::Costly::trace);
  hostCalls.diskAnswer = std::move(disk);
  hostCalls.fails = [&](const char* call) { return fails(input, call); };
  hostCalls.moduleLoader = [&] { return loadModule(input); };
  hostCalls.driver = [&input, controller](uint32_t numParms, void* const* parameters) {
    return invokeCallback(input, controller, numParms, parameters);
  };
}

void requireNothingHeld() {
  const Held held = heldByPlugin();
  require(held.channels == 0 && held.files == 0 && dmuSimulatedHost()->counts().openNodes == 0, "all is closed");
  require(held.blocks <= kTextsForGood, "all memory was given back");
  hostCalls = {};  // what comes later has no input to answer from
}

}  // namespace fuzz
