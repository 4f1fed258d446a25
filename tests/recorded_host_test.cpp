// The topology that is made of a recording: it loads, whatever the controllers reported.
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "host/recording/anonymizer.h"
#include "host/topology/recorded_topology.h"
#include "host/topology/topology_text.h"
#include "simulator/command_decoder.h"
#include "simulator/simulated_host.h"
#include "tests/recorded_command.h"

namespace {

namespace recording = host::recording;
namespace wire = simulator::wire;
using host::topology::CallKind;
using host::topology::Failure;
using host::topology::SeenCalls;
using recording::Bytes;
using simulator::FaultAction;
using simulator::Opcode;

template <typename Record>
Bytes bytesOf(const Record& record, size_t extra = 0) {
  Bytes bytes(sizeof(record) + extra);
  std::memcpy(bytes.data(), &record, sizeof(record));
  return bytes;
}

/// A recording of controllers that report whatever fits into their replies.
class RandomRecording {
 public:
  explicit RandomRecording(uint32_t seed) : random_(seed) {
    add(recording::OpenChannel{{}, {0, 1}});
    addQuery();
    for (uint32_t controller = 0; controller < hbas_.size(); ++controller) addController(controller);
    addDisks();
    for (uint32_t run = below(4); run > 0; --run) addRun();
  }

  recording::RecordedCalls recorded;

 private:
  uint32_t any() { return static_cast<uint32_t>(random_()); }
  uint32_t below(uint32_t end) { return static_cast<uint32_t>(random_() % end); }
  bool isOneIn(uint32_t count) { return below(count) == 0; }

  template <typename Value>
  Value oneOf(std::initializer_list<Value> values) {
    return *(values.begin() + below(static_cast<uint32_t>(values.size())));
  }

  uint16_t limit() { return oneOf<uint16_t>({0, 1, 7, 8, 16, 64, 255, 256, 1024, 65535}); }

  void add(recording::AnyCall call) { recorded.calls.push_back(std::move(call)); }

  /// Printable for the most part.
  template <size_t size>
  void fillText(char (&field)[size]) {
    const uint32_t length = below(isOneIn(8) ? size + 1 : 9);
    for (uint32_t at = 0; at < length; ++at) {
      field[at] = static_cast<char>(isOneIn(40) ? below(256) : isOneIn(8) ? ' ' : 'A' + below(26));
    }
  }

  void addQuery() {
    wire::InstanceList list{};
    const uint32_t used = below(5);
    for (uint32_t number = 0; number < wire::kInstances; ++number) {
      list.entries[number].id = number < used ? number : wire::kUnusedInstance;
      if (number >= used) continue;
      std::memcpy(list.entries[number].name, "vmhba", 5);
      list.entries[number].name[5] = static_cast<char>('0' + (isOneIn(6) ? 0 : number));
      if (isOneIn(8)) fillText(list.entries[number].name);
      const auto& name = list.entries[number].name;
      hbas_.emplace_back(name, strnlen(name, sizeof(name)));
    }
    add(recording::Query{{}, {0, 0, bytesOf(list)}});
  }

  void addCommand(uint32_t controller, Opcode opcode, uint32_t argument, const Bytes& reply) {
    recording::Command command = commandOf(controller, opcode, argument, reply);
    if (isOneIn(12)) command.answer.status = 1 + below(300);
    if (isOneIn(20)) command.answer.result = oneOf({-7, 1, 19});
    if (command.answer.result != 0) command.answer = {command.answer.result, 0, {}, {}};
    add(command);
  }

  void addController(uint32_t number) {
    for (uint32_t snapshot = 1 + below(2); snapshot > 0; --snapshot) {
      wire::IdentifyController identity{};
      identity.localVolumes = static_cast<uint8_t>(oneOf({0, 2, 5, 255}));
      identity.localVolumes16 = limit();
      identity.maxLogicalDrives = limit();
      identity.maxPhysicalDevices = limit();
      identity.maxDrivesPerLogicalUnit = limit();
      addCommand(number, Opcode::identifyController, 0, bytesOf(identity));
      addVolumes(number, identity);
      addDrives(number);
    }
    addCommand(number, Opcode::senseCacheConfiguration, 0, randomBytes(512));
    addCommand(number, Opcode::senseControllerParameters, 0, randomBytes(512));
  }

  Bytes randomBytes(size_t size) {
    Bytes bytes(size);
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(below(256));
    return bytes;
  }

  template <typename Entry>
  Bytes reportOf(const std::vector<Entry>& entries, uint8_t format) {
    wire::ReportHeader header{};
    const auto size = static_cast<uint32_t>(entries.size() * sizeof(Entry));
    header.listLength.set(isOneIn(10) ? below(2 * size + 1) : size);
    header.format = format;
    Bytes report = bytesOf(header);
    for (const Entry& entry : entries) {
      const Bytes bytes = bytesOf(entry);
      report.insert(report.end(), bytes.begin(), bytes.end());
    }
    return report;
  }

  void addVolumes(uint32_t controller, const wire::IdentifyController& limits) {
    std::vector<wire::LunAddress> addresses(below(6));
    for (wire::LunAddress& address : addresses) {
      const uint32_t number = oneOf<uint32_t>({0, 1, 2, 3, 0xFFFF, 0x1FFFE, 0x20003, 0x3FFFFFFF, below(1000)});
      address.word = isOneIn(12) ? any() : wire::kVolumeKind | number;
    }
    addCommand(controller, Opcode::reportLogicalLuns, 0, reportOf(addresses, 0));
    for (const wire::LunAddress& address : addresses) {
      wire::IdentifyLogicalDevice identity{};
      fillText(identity.label);
      identity.logicalDriveId = any();
      addCommand(controller, Opcode::identifyLogicalDevice, address.word & 0xFFFF, bytesOf(identity));
      addCommand(controller, Opcode::senseConfiguration, address.word & 0xFFFF, membersOf(limits));
    }
  }

  Bytes membersOf(const wire::IdentifyController& limits) {
    wire::SenseConfiguration sense{};
    sense.memberDrives = static_cast<uint16_t>(isOneIn(8) ? any() : below(7));
    sense.faultTolerance = static_cast<uint16_t>(below(8));
    sense.membersAt = isOneIn(8) ? limit() : sizeof(sense);
    sense.maxPhysicalDevices = isOneIn(8) ? limit() : uint16_t{limits.maxPhysicalDevices};
    sense.maxDrivesPerLogicalUnit = isOneIn(8) ? limit() : uint16_t{limits.maxDrivesPerLogicalUnit};
    Bytes reply = bytesOf(sense, sense.maxPhysicalDevices / 4U);
    for (uint32_t member = below(7); member > 0; --member) {
      const size_t place = sizeof(sense) + below(isOneIn(10) ? 8192 : 2);
      if (place < reply.size()) reply[place] = static_cast<uint8_t>(reply[place] | 1 << below(8));
    }
    reply.resize((reply.size() + 511) / 512 * 512);
    return reply;
  }

  void addDrives(uint32_t controller) {
    std::vector<wire::ExtendedReportEntry> entries(below(10));
    for (wire::ExtendedReportEntry& entry : entries) {
      entry.address.word = oneOf<uint32_t>({0, 0, wire::kMaskedKind, wire::kMaskedKind, wire::kMaskedKind, any()});
      entry.address.bus = static_cast<uint8_t>(isOneIn(8) ? below(256) : 1);
      entry.address.target = static_cast<uint8_t>(below(16));
      entry.deviceType = static_cast<uint8_t>(isOneIn(6) ? below(32) : 0);
    }
    addCommand(controller, Opcode::reportPhysicalLuns, 2, reportOf(entries, isOneIn(8) ? 0 : 2));
    for (const wire::ExtendedReportEntry& entry : entries)
      addDrive(controller, (entry.address.bus - 1) * 256 + entry.address.target);
    if (isOneIn(2)) addDrive(controller, below(20));  // a member that the report does not have
  }

  void addDrive(uint32_t controller, uint32_t index) {
    wire::IdentifyPhysicalDevice identity{};
    fillText(identity.serial);
    fillText(identity.connectorName);
    identity.box = static_cast<uint8_t>(below(256));
    identity.currentTemperature = static_cast<uint8_t>(below(256));
    addCommand(controller, Opcode::identifyPhysicalDevice, index & 0xFFFF, bytesOf(identity));
  }

  void addDisks() {
    recording::Disks list;
    for (uint32_t count = below(12); count > 0; --count) {
      host::HostDisk disk;
      disk.device = "disk" + std::to_string(below(20));
      disk.hba = "vmhba" + std::to_string(below(5));
      disk.channel = oneOf<uint32_t>({0, 0, 1, 1, 3, 9});
      disk.target = disk.channel == 0 ? 64 + below(16) : below(4);
      disk.lun = isOneIn(3) ? below(4) : 0;
      disk.driver = isOneIn(5) ? "sata" : "veltrane";
      disk.pci.bus = static_cast<uint8_t>(isOneIn(6) ? below(256) : 0);
      for (uint32_t asked = below(3); asked > 0; --asked) addNode(disk.device);
      list.answer.disks.push_back(disk);
    }
    if (!isOneIn(10)) add(list);
  }

  void addNode(const std::string& device) {
    recording::OpenNode opening{{device}, {isOneIn(8) ? 1 + static_cast<int32_t>(below(100)) : 0}};
    add(opening);
    recording::NodeRequest request;
    request.request = {device, {0x12, 1, 0x80, 0, 64, 0}, recording::NodeRequest::kFromDisk, 64, 32, {}};
    request.answer.data.resize(64);
    const uint32_t length = below(70);
    request.answer.data[1] = isOneIn(10) ? 0x83 : 0x80;
    request.answer.data[3] = static_cast<uint8_t>(length);
    for (uint32_t at = 0; at < std::min<uint32_t>(length, 60); ++at) {
      request.answer.data[4 + at] = static_cast<uint8_t>(isOneIn(30) ? below(256) : 'A' + below(26));
    }
    request.answer.header.resid = isOneIn(6) ? static_cast<int>(below(200)) - 60 : 0;
    if (isOneIn(8)) request.answer.header.host_status = static_cast<unsigned short>(below(3));
    if (isOneIn(8)) request.answer.error = 1 + static_cast<int32_t>(below(130));
    add(request);
    add(recording::CloseNode{{{device}, {0}}});
  }

  void addRun() {
    const std::string output = oneOf<std::string>({"", "Vendor Build: OEM\n", "Build Type: release\n"});
    add(recording::Run{{"vmkload_mod -s veltrane"}, {isOneIn(6) ? 12 : 0, output, oneOf({0, 0, 256, 127 << 8})}});
  }

  std::mt19937 random_;
  std::vector<std::string> hbas_;
};

std::string topologyTextOf(const recording::RecordedCalls& recorded) {
  return host::topology::textOf(
      host::topology::toJson(host::topology::topologyOf(host::topology::hostOf(recorded)).topology));
}

TEST(RecordedHost, ItsTopologyLoadsWhateverItReported) {
  constexpr uint32_t kHosts = 3000 / DMU_SLOWDOWN;
  simulator::SimulatedHost& simulated = *dmuSimulatedHost();
  size_t volumes = 0;
  size_t drives = 0;
  size_t faults = 0;
  for (uint32_t seed = 1; seed <= kHosts; ++seed) {
    const std::string text = topologyTextOf(RandomRecording(seed).recorded);
    ASSERT_EQ(simulated.loadText(text, "recorded"), std::nullopt) << "seed " << seed << "\n" << text;
    const simulator::Topology topology = simulated.topology();
    for (const simulator::Controller& controller : topology.controllers) {
      volumes += controller.volumes.size();
      drives += controller.drives.size();
    }
    faults += topology.faults.size();
    EXPECT_EQ(text, host::topology::textOf(host::topology::toJson(topology))) << "seed " << seed;
  }
  EXPECT_GT(volumes, kHosts);  // the recordings are not empty
  EXPECT_GT(drives, 2 * kHosts);
  EXPECT_GT(faults, 2 * kHosts);
}

TEST(RecordedHost, AnAnonymousOneHasTheSameTopologyButForTheTexts) {
  for (uint32_t seed = 1; seed <= 500 / DMU_SLOWDOWN; ++seed) {
    recording::RecordedCalls recorded = RandomRecording(seed).recorded;
    const simulator::Topology before = host::topology::topologyOf(host::topology::hostOf(recorded)).topology;
    const recording::Anonymizer anonymizer;
    for (recording::AnyCall& call : recorded.calls) anonymizer.apply(call);
    const simulator::Topology after = host::topology::topologyOf(host::topology::hostOf(recorded)).topology;
    ASSERT_EQ(dmuSimulatedHost()->loadText(topologyTextOf(recorded), "anonymous"), std::nullopt) << "seed " << seed;
    if (after.controllers.size() > before.controllers.size()) continue;  // an HBA's name fits a topology now
    ASSERT_EQ(after.controllers.size(), before.controllers.size()) << "seed " << seed;
    for (size_t i = 0; i < before.controllers.size(); ++i) {
      const simulator::Controller& old = before.controllers[i];
      const simulator::Controller& one = after.controllers[i];
      ASSERT_EQ(one.drives.size(), old.drives.size()) << "seed " << seed;
      ASSERT_EQ(one.volumes.size(), old.volumes.size()) << "seed " << seed;
      EXPECT_EQ(one.hba.size(), old.hba.size());
      for (size_t at = 0; at < old.drives.size(); ++at) {
        EXPECT_EQ(one.drives[at].serial.size(), old.drives[at].serial.size()) << "seed " << seed;
        EXPECT_EQ(one.drives[at].port, old.drives[at].port);
        EXPECT_EQ(one.drives[at].box, old.drives[at].box);
        EXPECT_EQ(one.drives[at].currentTemperature, old.drives[at].currentTemperature);
      }
      for (size_t at = 0; at < old.volumes.size(); ++at) {
        EXPECT_EQ(one.volumes[at].members, old.volumes[at].members);
        EXPECT_EQ(one.volumes[at].cacheOn, old.volumes[at].cacheOn) << "seed " << seed;
        EXPECT_EQ(one.volumes[at].label.size(), old.volumes[at].label.size());
      }
    }
  }
}

TEST(RecordedHost, FailuresThatFollowEachOtherAreOneRule) {
  const Failure busy{FaultAction::driverStatus, 5, {}};
  const Failure gone{FaultAction::error, 19, {}};
  SeenCalls calls;
  const CallKind kind{"identifyPhysicalDevice", "vmhba2", 3, ""};
  for (const auto& outcome : std::vector<std::optional<Failure>>{{}, busy, busy, {}, gone, busy, busy}) {
    calls.add(kind, outcome);
  }
  calls.add({"open", "", {}, "disk"}, std::nullopt);
  std::vector<std::vector<uint32_t>> rules;
  for (const SeenCalls::Run& run : calls.failures()) rules.push_back({run.failure.value, run.from, run.count});
  EXPECT_EQ(rules, (std::vector<std::vector<uint32_t>>{{5, 2, 2}, {19, 5, 1}, {5, 6, UINT32_MAX}}));
  EXPECT_TRUE(calls.hasFailed(kind));
  EXPECT_FALSE(calls.hasFailed({"open", "", {}, "disk"}));
  EXPECT_TRUE(calls.wereSentTo("vmhba2"));
  EXPECT_FALSE(calls.wereSentTo("vmhba3"));
}

}  // namespace
