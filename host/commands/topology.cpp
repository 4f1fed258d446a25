// dmu-host topology: makes the host of a recording a simulated one.
#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/output/file_replacement.h"
#include "host/output/files.h"
#include "host/output/text.h"
#include "host/topology/recorded_topology.h"
#include "host/topology/topology_text.h"

namespace host {
namespace {

class TopologyCommand final : public Command {
 public:
  TopologyCommand()
      : Command({.name = "topology",
                 .group = kForSupport,
                 .summary = "Write the topology of a recorded host, to be simulated",
                 .onRealHost = "Needs no host.",
                 .examples = {{"Look at it", "dmu-host topology host.jsonl"},
                              {"Keep it, and try it out", "dmu-host topology host.jsonl --output host.json"}}}) {}

  std::vector<Option> options() override {
    return {{.name = "RECORDING",
             .valueName = "",
             .help = "The recording, best one of \"dmu-host record\"",
             .value = File{&recording_},
             .isNeeded = true},
            {"--output", "FILE", "Write the topology to this file (default: standard output)", File{&output_}}};
  }

  [[nodiscard]] Json emptyResult() const override {
    return {{"topology", nullptr}, {"file", nullptr}, {"differences", Json::array()}};
  }

  Outcome run(Session& /*session*/) override {
    const auto [topology, differences] = topology::topologyOf(topology::hostOf(recording::readRecording(recording_)));
    for (const std::string& difference : differences) complain(difference);
    const Json json = topology::toJson(topology);
    std::string text = topology::textOf(json);
    if (!output_.empty()) {
      if (areSameFile(output_, recording_)) throw Refusal(output_ + ": it is the recording");
      replaceFile(output_, text);
      text = printable(output_) + ": " + counted(topology.controllers.size(), "controller") + ", " +
             counted(differences.size(), "difference") + " from the recording\n";
    }
    return {
        text,
        {{"topology", json}, {"file", output_.empty() ? Json(nullptr) : Json(output_)}, {"differences", differences}}};
  }

 private:
  std::string recording_;
  std::string output_;
};

}  // namespace

std::unique_ptr<Command> makeTopologyCommand() {
  return std::make_unique<TopologyCommand>();
}

}  // namespace host
