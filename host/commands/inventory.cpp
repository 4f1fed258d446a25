// dmu-host inventory: finds the disks of a host by asking its controllers, and writes them down for --inventory.
#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/discovery/discovery.h"
#include "host/disks/disk_record.h"
#include "host/interception/host_calls.h"
#include "host/output/file_replacement.h"
#include "host/output/text.h"

namespace host {
namespace {

Json toJson(const Discovery& found) {
  Json disks = Json::array();
  for (const HostDisk& disk : found.disks) {
    Json one = host::toJson(disk);
    one.erase("pci");  // it does not pass between plugin and driver
    disks.push_back(std::move(one));
  }
  return {{"disks", std::move(disks)}};
}

Json toJson(const std::vector<NotJoined>& left) {
  Json list = Json::array();
  for (const NotJoined& one : left) list.push_back({{"what", one.what}, {"why", one.why}});
  return list;
}

class InventoryCommand final : public Command {
 public:
  InventoryCommand()
      : Command({.name = "inventory",
                 .group = kLooking,
                 .summary = "Find the disks by asking the controllers, and write the list that --inventory takes",
                 .onRealHost = kWorksThere,
                 .examples = {{"What is found, and what cannot be told", "dmu-host inventory"},
                              {"Keep it for the other commands", "dmu-host inventory --output disks.json"}}}) {}

  std::vector<Option> options() override {
    return {
        {"--output", "FILE", "Write the list to this file, which is replaced as a whole", File{&output_}},
        {"--nodes", "DIR", "Take the names of the disks' nodes from this folder (default: /dev/disks)", File{&nodes_}}};
  }

  [[nodiscard]] Json emptyResult() const override { return {{"disks", Json::array()}, {"left", Json::array()}}; }

  Outcome run(Session& session) override {
    if (session.isReplay()) throw Refusal("inventory asks the host, and a replay has its own list of disks");
    const Discovery found = discoverDisks(session, nodes(session));
    const std::string list = toJson(found).dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
    reportSilent(session.report(), found);
    for (const NotJoined& one : found.left) complain("left out: " + printable(one.what) + ": " + printable(one.why));
    Outcome outcome{"", toJson(found)};
    outcome.json["left"] = toJson(found.left);
    if (!output_.empty() && !found.silent.empty()) {
      session.report().refused(
          Refusal(output_ + ": not written: disks would be missing (without --output they are shown)"));
    } else if (!output_.empty()) {
      replaceFile(output_, list);
      outcome.text = output_ + ": " + counted(found.disks.size(), "disk") +
                     "; other commands take it with --inventory " + output_ + "\n";
    } else if (!session.writesDocument()) {
      outcome.text = list;
      complain("this is what --inventory FILE takes; --output FILE writes it there");
    }
    return outcome;
  }

 private:
  /// The names to try. The simulated host's nodes are in no folder.
  [[nodiscard]] Nodes nodes(Session& session) const {
    simulator::SimulatedHost* const simulated = session.simulatedHostIfAny();
    Nodes nodes;
    if (!nodes_.empty()) {
      nodes = nodesIn(nodes_);
      if (!nodes.error.empty()) throw Refusal("--nodes: " + nodes.error);
    } else if (simulated == nullptr) {
      nodes = nodesIn(std::string(kNodes));
    } else {
      for (const HostDisk& disk : simulated->disks()) nodes.names.push_back(disk.device);
    }
    return nodes;
  }

  std::string output_;
  std::string nodes_;
};

}  // namespace

std::unique_ptr<Command> makeInventoryCommand() {
  return std::make_unique<InventoryCommand>();
}

}  // namespace host
