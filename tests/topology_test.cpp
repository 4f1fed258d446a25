// The topology file: what is wrong in one is refused with the place and the reason, and nothing is loaded then.
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

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

class TopologyFile : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(host->loadText(kGood, "good.json"), std::nullopt); }

  /// @param patch  JSON patch of the good topology: a list of {"op", "path", "value"}
  /// @return what the loader says, line by line where there is more than one
  json refusal(const json& patch) {
    std::string text = host->loadText(json::parse(kGood).patch(patch).dump(), "bad.json").value_or("accepted");
    if (text.find('\n') == std::string::npos) return text;
    json lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }

  simulator::SimulatedHost* host = dmuSimulatedHost();
};

/// Each mistake of a kind: what it "is" and what the loader "says", in topology_mistakes.json.
json mistakes(const char* kind) {
  return json::parse(std::ifstream(DMU_SOURCE_DIR "/tests/topology_mistakes.json")).at(kind);
}

TEST_F(TopologyFile, RefusesASingleValueThatIsWrongAndPartsThatContradictEachOther) {
  for (const char* kind : {"single values", "contradictions"}) {
    for (const json& mistake : mistakes(kind)) EXPECT_EQ(refusal(mistake.at("is")), mistake.at("says"));
  }
}

/// What real controllers report is no mistake.
TEST_F(TopologyFile, TakesWhatAControllerMayReport) {
  const json patches[] = {
      {{{"op", "replace"}, {"path", "/controllers/0/drives/1/bay"}, {"value", 1}}},
      {{{"op", "replace"}, {"path", "/controllers/0/drives/1/serial"}, {"value", "D0"}}},
      {{{"op", "replace"}, {"path", "/controllers/0/drives/1/serial"}, {"value", ""}},
       {{"op", "replace"}, {"path", "/controllers/0/drives/1/port"}, {"value", ""}}},
      {{{"op", "add"}, {"path", "/controllers/0/volumes/1/members"}, {"value", {"1:0", "1:1", "2:0", "1:0"}}},
       {{"op", "remove"}, {"path", "/controllers/0/volumes/1/members/3"}},
       {{"op", "replace"}, {"path", "/controllers/0/volumes/1/raidLevel"}, {"value", "RAID 5"}}},
      {{{"op", "replace"}, {"path", "/controllers/0/volumes/0/members"}, {"value", json::array()}},
       {{"op", "replace"}, {"path", "/controllers/0/volumes/0/raidLevel"}, {"value", "RAID 0"}}}};
  for (const json& patch : patches) EXPECT_EQ(refusal(patch), "accepted");
}

TEST_F(TopologyFile, DisksHaveTheOrderThatIsGivenAndThoseWithoutANodeAreNone) {
  const json patch = {{{"op", "replace"}, {"path", "/controllers/0/volumes/0/device"}, {"value", ""}},
                      {{"op", "add"}, {"path", "/diskOrder"}, {"value", {"boot", "disk2"}}},
                      {{"op", "add"}, {"path", "/foreignDisks/0/pci"}, {"value", {{"bus", 7}}}}};
  ASSERT_EQ(refusal(patch), "accepted");
  std::vector<std::string> devices;
  for (const simulator::HostDisk& disk : host->disks()) devices.push_back(disk.device);
  EXPECT_EQ(devices, (std::vector<std::string>{"boot", "disk2", "vol1"}));
  EXPECT_TRUE(host->disks()[0].pci.isPciDevice);
  EXPECT_EQ(host->disks()[0].pci.bus, 7);
}

TEST_F(TopologyFile, RefusesAFaultThatCouldNotHappen) {
  for (const json& mistake : mistakes("faults")) {
    const json patch = {{{"op", "add"}, {"path", "/faults"}, {"value", {mistake.at("is")}}}};
    EXPECT_EQ(refusal(patch), mistake.at("says"));
  }
  const json loads(65, {{"call", "load"}, {"error", 1}});
  EXPECT_EQ(refusal({{{"op", "add"}, {"path", "/faults"}, {"value", loads}}}),
            "bad.json: /faults: more than 64 rules for the call load");
}

TEST_F(TopologyFile, RefusesTextThatIsNoJson) {
  EXPECT_EQ(host->loadText("{\n  \"controllers\": [\n}", "bad.json"),
            "bad.json: line 3, column 1: syntax error while parsing value - unexpected '}'; expected '[', '{', or a "
            "literal");
  EXPECT_EQ(host->loadText(R"({"controllers": [], "controllers": []})", "bad.json"),
            "bad.json: /controllers: duplicate key");
  EXPECT_EQ(host->loadText(R"({"controllers": [{"drives": [1, 1e999]}]})", "bad.json"),
            "bad.json: /controllers/0/drives/1: must be a number that fits 64 bits");
  EXPECT_EQ(host->loadText(std::string(400, '2'), "bad.json"), "bad.json: /: must be a number that fits 64 bits");
  EXPECT_EQ(host->loadText("[]", "bad.json"), "bad.json: /: must be an object, not a list");
  EXPECT_EQ(host->loadFile("/nonexistent.json"), "/nonexistent.json: cannot be read: No such file or directory");
}

TEST_F(TopologyFile, KeepsTheModelWhenAFileIsRefused) {
  EXPECT_NE(host->loadText("{}", "bad.json"), std::nullopt);
  EXPECT_EQ(host->topology().controllers.at(0).drives.size(), 3U);
}

}  // namespace
