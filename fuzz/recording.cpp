// Arbitrary text as a recording: refused with the file's name and reasons, or taken. Then the topology that is made of
// it is one that the simulated host takes, the plugin is asked by a replay of it, and some are written and read again
// the same.
#include "host/recording/recording.h"

#include <nlohmann/json.hpp>
#include <vector>

#include "channel/management_channel.h"
#include "controller/snapshot_cache.h"
#include "fuzz/memory_file.h"
#include "fuzz/operations.h"
#include "host/recording/lines.h"
#include "host/recording/replay.h"
#include "host/refusal.h"
#include "host/topology/recorded_topology.h"
#include "host/topology/topology_text.h"

namespace {

using fuzz::require;
using host::recording::RecordedCalls;

constexpr size_t kMostDisks = 2;

std::string textOf(const RecordedCalls& recorded) {
  std::string text = host::recording::firstLine(recorded.repeats).dump() + "\n";
  for (const host::recording::AnyCall& call : recorded.calls) text += host::recording::lineOf(call, 1).dump() + "\n";
  return text + host::recording::lastLine().dump() + "\n";
}

void askPlugin(const host::HostDisk& disk) {
  const DmuPluginDescriptor& plugin = *DmuPluginInit();
  DmuDeviceOpenInfo info{};
  info.devName = disk.device.c_str();
  info.hba = disk.hba.c_str();
  info.channel = disk.channel;
  info.target = disk.target;
  info.driver = disk.driver.c_str();
  CtrlDevInfo* handle = nullptr;
  if (plugin.openDeviceV2(&info, &handle) != 0) return;
  std::string error;
  DmuDeviceInfo device{};
  int32_t result = plugin.getDeviceInfo(handle, &device, error);
  fuzz::requireDocumented(result, error);
  error.clear();
  result = fuzz::askLocations(plugin, handle, fuzz::kSlots, error);
  fuzz::requireDocumented(result, error);
  error.clear();
  result = fuzz::askTemperatures(plugin, handle, fuzz::kSlots, error);
  fuzz::requireDocumented(result, error);
  plugin.closeDevice(handle);
}

std::vector<host::HostDisk> disksOf(host::recording::Replay& replay) {
  try {
    return replay.disks();
  } catch (const host::Refusal&) {
    return {};  // the run that was recorded did not ask for them
  }
}

void replay(const RecordedCalls& recorded) {
  host::recording::Replay replay(host::recording::Recording(fuzz::memoryFile().name(), recorded));
  const auto disks = disksOf(replay);
  for (size_t i = 0; i < std::min(disks.size(), kMostDisks); ++i) askPlugin(disks[i]);
  OrvaInfo_CleanupCtrls();
  OrvaInfo_Cleanup();
}

void requireSameWhenWritten(const RecordedCalls& recorded) {
  const std::string written = textOf(recorded);
  fuzz::memoryFile().hold(written);
  require(textOf(host::recording::readRecording(fuzz::memoryFile().name())) == written,
          "a recording is read as it is written");
}

void makeTopology(const RecordedCalls& recorded) {
  const auto [topology, differences] = host::topology::topologyOf(host::topology::hostOf(recorded));
  const std::string text = host::topology::textOf(host::topology::toJson(topology));
  const auto refused = dmuSimulatedHost()->loadText(text, "topology");
  if (refused) std::fprintf(stderr, "%s\n%s\n", refused->c_str(), text.c_str());
  require(!refused, "the simulated host takes the topology of any recording");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::memoryFile().hold({reinterpret_cast<const char*>(data), size});
  RecordedCalls recorded;
  try {
    recorded = host::recording::readRecording(fuzz::memoryFile().name());
  } catch (const host::Refusal& refusal) {
    require(fuzz::isRefusalOf(fuzz::memoryFile().name(), refusal.what()), "a refusal says what and why");
    return 0;
  }
  makeTopology(recorded);
  replay(recorded);
  if (fuzz::Input(data, size).has(fuzz::Input::Costly::writing)) requireSameWhenWritten(recorded);
  return 0;
}
