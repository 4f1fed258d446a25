// Loads what a run needs.
#include "host/session.h"

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "host/discovery/discovery.h"
#include "host/disks/inventory.h"
#include "host/output/json_values.h"
#include "host/output/text.h"

namespace host {

static void refuseIf(const std::optional<std::string>& mistake) {
  if (mistake) throw Refusal(*mistake);
}

static CommandLog::Show whereToShow(const GlobalOptions& options) {
  if (!options.showCommands) return CommandLog::Show::nothing;
  return options.json ? CommandLog::Show::inDocument : CommandLog::Show::onStandardOutput;
}

Session::Session(const GlobalOptions& options, const Terminal& terminal)
    : options_(options), terminal_(terminal), report_(options.json), commands_(whereToShow(options)) {}

void Session::begin(bool switches) {
  switches_ = switches;
  if (!options_.recordFile.empty()) {
    recorder_ = std::make_unique<recording::Recorder>(options_.recordFile, ownFiles(), recording::Manner{});
  }
  if (!options_.replayFile.empty()) {
    replay_ =
        std::make_unique<recording::Replay>(recording::Recording(options_.replayFile), [this](const std::string& text) {
          lacksAnswer_ = true;
          commands_.stopShowing();
          report_.refusedForGood(Refusal(text));
        });
  }
  commands_.stepInFront();
}

void Session::record(const std::string& file, const std::vector<HostDisk>& disks, bool isAnonymous) {
  if (isReplay()) throw Refusal("a recording is made of a host, and a replay has none");
  if (recorder_ != nullptr) throw Refusal("a run makes one recording: give " + file + " or --record, not both");
  plugin_.reset();
  controllers_ = {};
  commandsSeen_ = commands_.size();
  commands_.stepAside();
  recorder_ = std::make_unique<recording::Recorder>(file, ownFiles(), recording::Manner{true, isAnonymous});
  commands_.stepInFront();
  recorder_->disks(disks);
}

std::optional<std::string> Session::end() {
  plugin_.reset();
  commands_.stepAside();
  return recorder_ == nullptr ? std::nullopt : recorder_->finish();
}

/// The value of the environment variable with the simulated host's topology; empty when it is not set.
static std::string topologyVariable() {
  const char* file = std::getenv("DMU_TOPOLOGY");
  return file == nullptr ? "" : file;
}

std::vector<recording::RunFile> Session::ownFiles() const {
  return {{"--plugin", pluginFile()},
          {"--library", options_.libraryFile},
          {"--topology", options_.topologyFile},
          {"DMU_TOPOLOGY", topologyVariable()},
          {"--inventory", options_.inventoryFile},
          {"--replay", options_.replayFile},
          {"--state", options_.stateFile},
          {"--state", hasStateFile() ? options_.stateFile + ".lock" : ""}};
}

/// What of the options and the environment only the simulated host can do; empty when nothing is asked of it.
std::string Session::whatIsSimulated() const {
  if (!options_.topologyFile.empty()) return "--topology";
  if (hasStateFile()) return "--state";
  return topologyVariable().empty() ? "" : "DMU_TOPOLOGY";
}

const ManagementLibrary& Session::library() {
  if (!library_) library_.emplace(LibraryWish{options_.libraryFile, whatIsSimulated(), isReplay()});
  return *library_;
}

void Session::prepareHost() {
  simulator::SimulatedHost* const found = library().simulatedHost();
  if (prepared_ || isReplay()) return;
  prepared_ = true;
  simulatedHost_ = found;
  if (const std::string purpose = whatIsSimulated(); !purpose.empty()) (void)simulatedHost(purpose);
  if (!options_.topologyFile.empty()) refuseIf(simulatedHost_->loadFile(options_.topologyFile));
  if (simulatedHost_ == nullptr) return;
  if (const auto mistake = simulatedHost_->whyUnusable()) throw Refusal("DMU_TOPOLOGY: " + *mistake);
  if (hasStateFile()) {
    const auto use = switches_ ? simulator::StateUse::change : simulator::StateUse::look;
    refuseIf(simulatedHost_->useStateFile(options_.stateFile, use));
  }
}

simulator::SimulatedHost& Session::simulatedHost(const std::string& purpose) {
  if (isReplay()) throw Refusal(purpose + " needs the simulated host, and a replay uses none");
  prepareHost();
  if (simulatedHost_ == nullptr) throw Refusal(purpose + " needs the simulated host; this one is real");
  return *simulatedHost_;
}

simulator::SimulatedHost* Session::simulatedHostIfAny() {
  prepareHost();
  return simulatedHost_;
}

std::vector<HostDisk> Session::findDisks() {
  if (replay_ != nullptr) return replay_->disks();
  prepareHost();
  if (!options_.inventoryFile.empty()) return readInventory(options_.inventoryFile);
  if (simulatedHost_ != nullptr) return simulatedHost_->disks();
  Discovery found = discoverDisks(*this, nodesIn(std::string(kNodes)));
  reportSilent(report_, found);
  report_.note("no --inventory: the controllers list " + counted(found.disks.size(), "disk") + " with " +
               (found.left.empty() ? "nothing left over" : counted(found.left.size(), "other") + " left out") +
               " (see dmu-host inventory)");
  return std::move(found.disks);
}

const std::vector<HostDisk>& Session::disksIfAny() {
  if (disks_) return *disks_;
  disks_ = findDisks();
  if (recorder_ != nullptr) recorder_->disks(*disks_);
  return *disks_;
}

const std::vector<HostDisk>& Session::disks() {
  if (disksIfAny().empty()) {
    const std::string source = options_.replayFile + options_.inventoryFile + options_.topologyFile;
    const bool wereAsked = replay_ == nullptr && simulatedHost_ == nullptr && options_.inventoryFile.empty();
    throw Refusal(wereAsked ? "no disks: the controllers list none"
                            : "no disks: " + (source.empty() ? topologyVariable() : source) + " names none");
  }
  return *disks_;
}

const DmuPluginDescriptor& Session::plugin() {
  if (!plugin_) {
    prepareHost();
    plugin_.emplace(pluginFile());
  }
  return plugin_->descriptor();
}

const model::Controllers& Session::controllers() {
  for (const InterceptedCommand& command : commands_.since(commandsSeen_)) controllers_.see(command);
  commandsSeen_ = commands_.size();
  return controllers_;
}

std::string Session::pluginFile() const {
  return options_.pluginFile.empty() ? defaultPluginFile() : options_.pluginFile;
}

std::vector<std::string> Session::unfiredFaults() const {
  std::vector<std::string> places;
  if (!plugin_ || simulatedHost_ == nullptr) return places;
  for (const simulator::FaultReport& report : simulatedHost_->faults()) {
    if (report.hits == 0) places.push_back(report.rule.where);
  }
  return places;
}

std::optional<std::string> Session::libraryText() const {
  return library_ ? std::optional(library_->text()) : std::nullopt;
}

void Session::addTo(Json& document) const {
  Json& library = document["library"] = nullptr;
  if (library_) library = {{"file", library_->file()}, {"simulated", library_->simulatedHost() != nullptr}};
  Json& plugin = document["plugin"] = nullptr;
  if (plugin_) {
    const DmuPluginDescriptor& descriptor = plugin_->descriptor();
    plugin = {{"file", plugin_->file()}, {"name", orNull(descriptor.name)}, {"version", orNull(descriptor.version)}};
  }
  document["faultsNeverFired"] = unfiredFaults();
  commands_.addTo(document);
}

}  // namespace host
