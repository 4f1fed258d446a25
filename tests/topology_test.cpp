// The topology file: what is wrong in one is refused with the place and the reason, and nothing is loaded then.
#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>

#include "simulator/simulated_host.h"

namespace {

using nlohmann::json;

// One volume of each kind, and a drive that belongs to none.
constexpr const char* kGood = R"({
  "controllers": [{
    "hba": "vmhba2", "maxPhysDevicesSupported": 300, "maxPhysDrivesPerLogicalUnit": 4, "maxLogicalDrivesSupported": 8,
    "drives": [
      {"bus": 1, "target": 0, "serial": "D0", "port": "1I", "box": 1, "bay": 1},
      {"bus": 1, "target": 1, "serial": "D1", "port": "1I", "box": 1, "bay": 2},
      {"bus": 2, "target": 0, "serial": "D2", "port": "1I", "box": 1, "bay": 3, "exposed": true, "device": "disk2"}],
    "volumes": [
      {"number": 0, "device": "vol0", "serial": "V0", "raidLevel": "RAID 1", "members": ["1:0", "1:1"]},
      {"number": 65537, "device": "vol1", "serial": "V1", "raidLevel": "RAID 6", "external": true}]}],
  "foreignDisks": [{"device": "boot", "serial": "F0", "hba": "vmhba0", "driver": "sata"}]
})";

class Topology : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(host->loadText(kGood, "good.json"), std::nullopt); }

  /// @param patch  JSON patch of the good topology: a list of {"op", "path", "value"}
  std::string refusal(const std::string& patch) {
    return host->loadText(json::parse(kGood).patch(json::parse(patch)).dump(), "bad.json").value_or("accepted");
  }

  simulator::SimulatedHost* host = dmuSimulatedHost();
};

struct Mistake {
  const char* patch;
  const char* message;
};

#define DRIVES "/controllers/0/drives"
#define VOLUMES "/controllers/0/volumes"

constexpr Mistake kSingleValues[] = {
    {R"([{"op": "remove", "path": "/controllers/0/hba"}])", "bad.json: /controllers/0/hba: is missing"},
    {R"([{"op": "add", "path": "/controllers/0/drives/0/tempo", "value": 1}])",
     "bad.json: " DRIVES "/0/tempo: unknown key"},
    {R"([{"op": "add", "path": "/controllers/0/drives/0/seriel", "value": 1}])",
     "bad.json: " DRIVES "/0/seriel: unknown key; did you mean \"serial\"?"},
    {R"([{"op": "replace", "path": "/controllers/0/drives/0/target", "value": -1}])",
     "bad.json: " DRIVES "/0/target: must be a whole number from 0 to 255, not -1"},
    {R"([{"op": "replace", "path": "/controllers/0/drives/0/bay", "value": 256}])",
     "bad.json: " DRIVES "/0/bay: must be a whole number from 0 to 255, not 256"},
    {R"([{"op": "replace", "path": "/controllers/0/drives/0/bay", "value": 1.5}])",
     "bad.json: " DRIVES "/0/bay: must be a whole number from 0 to 255, not 1.5"},
    {R"([{"op": "replace", "path": "/controllers/0/drives/0/serial", "value": 17}])",
     "bad.json: " DRIVES "/0/serial: must be a text of 1 to 40 characters without control characters, not 17"},
    {R"([{"op": "replace", "path": "/controllers/0/drives/0/port", "value": ""}])",
     "bad.json: " DRIVES "/0/port: must be a text of 1 to 64 characters without control characters, not \"\""},
    {R"([{"op": "add", "path": "/controllers/0/drives/0/wwid", "value": "5a1b"}])",
     "bad.json: " DRIVES "/0/wwid: must be a text of 16 hexadecimal digits, not \"5a1b\""},
    {R"([{"op": "replace", "path": "/controllers/0/drives/2/exposed", "value": "yes"}])",
     "bad.json: " DRIVES "/2/exposed: must be true or false, not \"yes\""},
    {R"([{"op": "remove", "path": "/controllers/0/drives/2/device"}])", "bad.json: " DRIVES "/2/device: is missing"},
    {R"([{"op": "replace", "path": "/controllers/0/volumes/0/raidLevel", "value": "RAID 7"}])",
     "bad.json: " VOLUMES "/0/raidLevel: must be one of \"RAID 0\", \"RAID 1\", \"RAID 10\", \"RAID 4\", \"RAID 5\", "
     "\"RAID 6\", not \"RAID 7\""},
    {R"([{"op": "replace", "path": "/controllers/0/volumes/0/members/1", "value": "1:300"}])",
     "bad.json: " VOLUMES
     "/0/members/1: must be a text \"BUS:TARGET\", bus 1 to 63 and target 0 to 255, not \"1:300\""},
    {R"([{"op": "replace", "path": "/controllers", "value": {}}])",
     "bad.json: /controllers: must be a list, not an object"},
};

constexpr Mistake kContradictions[] = {
    {R"([{"op": "replace", "path": "/controllers/0/volumes/0/members/1", "value": "1:17"}])",
     "bad.json: " VOLUMES "/0/members/1: no drive 1:17 on this controller"},
    {R"([{"op": "replace", "path": "/controllers/0/volumes/0/members/1", "value": "1:0"}])",
     "bad.json: " VOLUMES "/0/members/1: drive 1:0 is a member before, at " VOLUMES "/0/members/0"},
    {R"([{"op": "add", "path": "/controllers/0/volumes/1/members", "value": ["1:1", "2:0", "1:1", "1:1", "1:1"]}])",
     "bad.json: " VOLUMES "/1/members: 5 members, but maxPhysDrivesPerLogicalUnit is 4\n"
     "bad.json: " VOLUMES "/1/members/0: drive 1:1 is a member before, at " VOLUMES "/0/members/1\n"
     "bad.json: " VOLUMES "/1/members/2: drive 1:1 is a member before, at " VOLUMES "/0/members/1\n"
     "bad.json: " VOLUMES "/1/members/3: drive 1:1 is a member before, at " VOLUMES "/0/members/1\n"
     "bad.json: " VOLUMES "/1/members/4: drive 1:1 is a member before, at " VOLUMES "/0/members/1"},
    {R"([{"op": "replace", "path": "/controllers/0/volumes/0/raidLevel", "value": "RAID 5"}])",
     "bad.json: " VOLUMES "/0/members: RAID 5 takes at least 3 members, not 2"},
    {R"([{"op": "add", "path": "/controllers/0/volumes/0/members/2", "value": "2:0"}])",
     "bad.json: " VOLUMES "/0/members: RAID 1 takes 2 members, not 3; more are RAID 10"},
    {R"([{"op": "replace", "path": "/controllers/0/volumes/0/number", "value": 8}])",
     "bad.json: " VOLUMES "/0/number: local volume 8 is not below maxLogicalDrivesSupported, 8"},
    {R"([{"op": "replace", "path": "/controllers/0/volumes/1/number", "value": 0}])",
     "bad.json: " VOLUMES "/1/number: volume number 0 is used before, at " VOLUMES "/0/number"},
    {R"([{"op": "replace", "path": "/controllers/0/volumes/1/number", "value": 65536}])",
     "bad.json: " VOLUMES
     "/1/number: volume 65536 has the low 16 bits of volume 0, and commands carry no more than those"},
    {R"([{"op": "move", "from": "/controllers/0/volumes/1", "path": "/controllers/0/volumes/0"}])",
     "bad.json: " VOLUMES "/1: a local volume after an external one; a controller lists its local volumes first"},
    {R"([{"op": "replace", "path": "/controllers/0/drives/1/target", "value": 0},
         {"op": "remove", "path": "/controllers/0/volumes/0"}])",
     "bad.json: " DRIVES "/1: drive address 1:0 is used before, at " DRIVES "/0"},
    {R"([{"op": "replace", "path": "/controllers/0/drives/1/bay", "value": 1}])",
     "bad.json: " DRIVES "/1: port:box:bay 1I:1:1 is used before, at " DRIVES "/0"},
    {R"([{"op": "replace", "path": "/controllers/0/drives/1/serial", "value": "D0"}])",
     "bad.json: " DRIVES "/1/serial: serial D0 is used before, at " DRIVES "/0/serial"},
    {R"([{"op": "replace", "path": "/foreignDisks/0/device", "value": "disk2"}])",
     "bad.json: /foreignDisks/0/device: device disk2 is used before, at " DRIVES "/2/device"},
    {R"([{"op": "add", "path": "/controllers/1", "value": {"hba": "vmhba2", "maxPhysDevicesSupported": 1,
          "maxPhysDrivesPerLogicalUnit": 1, "maxLogicalDrivesSupported": 1, "drives": []}}])",
     "bad.json: /controllers/1/hba: HBA name vmhba2 is used before, at /controllers/0/hba"},
    {R"([{"op": "replace", "path": "/controllers/0/maxPhysDevicesSupported", "value": 256}])",
     "bad.json: " DRIVES "/2: drive 2:0 has index 256, which is not below maxPhysDevicesSupported, 256"},
    {R"([{"op": "add", "path": "/controllers/0/drives/0/device", "value": "d"}])",
     "bad.json: " DRIVES "/0/device: a masked drive has no node; set exposed or leave the name out"},
};

/// Each is the one rule of a list of faults.
constexpr Mistake kFaults[] = {
    {R"({"call": "identifyPhysicalDrive", "error": 1})", "/call: unknown call \"identifyPhysicalDrive\""},
    {R"({"call": "setCacheConfigurations", "error": 1})",
     "/call: unknown call \"setCacheConfigurations\"; did you mean \"setCacheConfiguration\"?"},
    {R"({"call": "any"})", ": must have exactly one of error, driverStatus, length, set, delayMs, vanish, missing"},
    {R"({"call": "any", "error": 1, "length": 3})",
     ": must have exactly one of error, driverStatus, length, set, delayMs, vanish, missing"},
    {R"({"call": "any", "error": 0})", "/error: must be a whole number from 1 to 2147483647, not 0"},
    {R"({"call": "any", "set": "00"})", "/offset: is missing"},
    {R"({"call": "any", "explode": true, "error": 1})", "/explode: unknown key"},
    {R"({"call": "any", "controller": "vmhba1", "error": 1})",
     "/controller: no controller vmhba1; did you mean \"vmhba2\"?"},
    {R"({"call": "identifyPhysicalDevice", "drive": "1:9", "error": 1})", "/drive: no drive 1:9 on any controller"},
    {R"({"call": "senseBlinkDriveLed", "drive": "1:0", "error": 1})",
     "/drive: a call \"senseBlinkDriveLed\" is about no single drive"},
    {R"({"call": "senseConfiguration", "controller": "vmhba2", "volume": 5, "driverStatus": 1})",
     "/volume: no volume 5 on vmhba2"},
    {R"({"call": "open", "device": "nobody", "error": 5})", "/device: no device nobody"},
    {R"({"call": "setCacheConfiguration", "length": 5})", "/length: a call \"setCacheConfiguration\" has no reply"},
    {R"({"call": "any", "drive": "1:0", "vanish": true})", "/vanish: needs the controller of what vanishes"},
    {R"({"call": "any", "missing": true})", "/missing: goes with the call load"},
    {R"({"call": "load", "controller": "vmhba2", "missing": true})",
     "/controller: a call \"load\" concerns no controller"},
};

TEST_F(Topology, RefusesASingleValueThatIsWrong) {
  for (const Mistake& mistake : kSingleValues) EXPECT_EQ(refusal(mistake.patch), mistake.message);
}

TEST_F(Topology, RefusesPartsThatContradictEachOther) {
  for (const Mistake& mistake : kContradictions) EXPECT_EQ(refusal(mistake.patch), mistake.message) << mistake.patch;
}

TEST_F(Topology, RefusesAFaultThatCouldNotHappen) {
  for (const Mistake& mistake : kFaults) {
    const std::string patch = std::string(R"([{"op": "add", "path": "/faults", "value": [)") + mistake.patch + "]}]";
    EXPECT_EQ(refusal(patch), std::string("bad.json: /faults/0") + mistake.message);
  }
}

TEST_F(Topology, RefusesTextThatIsNoJson) {
  EXPECT_EQ(host->loadText("{\n  \"controllers\": [\n}", "bad.json"),
            "bad.json: line 3, column 1: syntax error while parsing value - unexpected '}'; expected '[', '{', or a "
            "literal");
  EXPECT_EQ(host->loadText(R"({"controllers": [], "controllers": []})", "bad.json"),
            "bad.json: /controllers: is there twice");
  EXPECT_EQ(host->loadText("[]", "bad.json"), "bad.json: /: must be an object, not a list");
  EXPECT_EQ(host->loadFile("/nonexistent.json"), "/nonexistent.json: cannot be read: No such file or directory");
}

TEST_F(Topology, KeepsTheModelWhenAFileIsRefused) {
  EXPECT_NE(host->loadText("{}", "bad.json"), std::nullopt);
  EXPECT_EQ(host->topology().controllers.at(0).drives.size(), 3U);
}

TEST_F(Topology, TakesTheBuiltInOneAndTheExamples) {
  EXPECT_EQ(host->loadText(host->builtInTopology(), "built-in"), std::nullopt);
  const auto controllers = host->topology().controllers;
  ASSERT_EQ(controllers.size(), 2U);
  EXPECT_EQ(std::count_if(controllers[0].volumes.begin(), controllers[0].volumes.end(),
                          [](const auto& volume) { return volume.external; }),
            1);
  EXPECT_EQ(host->loadFile(DMU_SOURCE_DIR "/examples/faulty-topology.json"), std::nullopt);
  ASSERT_EQ(host->loadFile(DMU_SOURCE_DIR "/examples/large-topology.json"), std::nullopt);
  const auto large = host->topology().controllers.at(0);
  EXPECT_EQ(large.volumes.size(), 20U);
  EXPECT_EQ(large.drives.size(), 1100U);
  EXPECT_EQ(std::count_if(large.drives.begin(), large.drives.end(), [](const auto& drive) { return drive.exposed; }),
            100);
}

}  // namespace
