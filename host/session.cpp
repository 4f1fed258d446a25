// Loads what a run needs.
#include "host/session.h"

#include <dlfcn.h>

#include "host/inventory.h"

namespace host {

/// Null when the management library of this process is a real one.
static simulator::SimulatedHost* findSimulatedHost() {
  const auto find = reinterpret_cast<decltype(&dmuSimulatedHost)>(dlsym(RTLD_DEFAULT, "dmuSimulatedHost"));
  return find == nullptr ? nullptr : find();
}

static void refuseIf(const std::optional<std::string>& mistake) {
  if (mistake) throw Refusal(*mistake);
}

static CommandLog::Show whereToShow(const GlobalOptions& options) {
  if (!options.showCommands) return CommandLog::Show::nothing;
  return options.json ? CommandLog::Show::inDocument : CommandLog::Show::onStandardOutput;
}

Session::Session(const GlobalOptions& options)
    : options_(options), terminal_(Terminal::ofThisProcess()), report_(options.json), commands_(whereToShow(options)) {}

void Session::begin() {
  if (!options_.recordFile.empty()) recorder_ = std::make_unique<recording::Recorder>(options_.recordFile);
  if (!options_.replayFile.empty()) replay_ = std::make_unique<recording::Replay>(options_.replayFile);
}

std::optional<std::string> Session::unanswered() const {
  return replay_ == nullptr ? std::nullopt : replay_->unanswered();
}

std::optional<std::string> Session::end() {
  plugin_.reset();
  return recorder_ == nullptr ? std::nullopt : recorder_->finish();
}

void Session::prepareSimulatedHost() {
  if (prepared_ || replay_ != nullptr) return;
  prepared_ = true;
  simulatedHost_ = findSimulatedHost();
  if (!options_.topologyFile.empty()) {
    refuseIf(simulatedHost("--topology").loadFile(options_.topologyFile));
  }
  if (!options_.stateFile.empty()) {
    refuseIf(simulatedHost("--state").useStateFile(options_.stateFile));
  }
}

simulator::SimulatedHost& Session::simulatedHost(const std::string& purpose) {
  prepareSimulatedHost();
  if (replay_ != nullptr) throw Refusal(purpose + " needs the simulated host, and a replay uses none");
  if (simulatedHost_ == nullptr) {
    throw Refusal(purpose + " needs the simulated host; the libvmkmgmt.so of this process is a real host's");
  }
  return *simulatedHost_;
}

simulator::SimulatedHost* Session::simulatedHostIfAny() {
  prepareSimulatedHost();
  return simulatedHost_;
}

std::vector<HostDisk> Session::findDisks() {
  if (replay_ != nullptr) return replay_->disks();
  prepareSimulatedHost();
  if (!options_.inventoryFile.empty()) return readInventory(options_.inventoryFile);
  if (simulatedHost_ == nullptr) throw Refusal("a real host's disks must be named: give --inventory FILE");
  return simulatedHost_->disks();
}

const std::vector<HostDisk>& Session::disks() {
  if (disks_) return *disks_;
  disks_ = findDisks();
  if (recorder_ != nullptr) recorder_->disks(*disks_);
  if (disks_->empty()) {
    const std::string source = options_.replayFile + options_.inventoryFile + options_.topologyFile;
    throw Refusal("no disks: " + source + " names none");
  }
  return *disks_;
}

const DmuPluginDescriptor& Session::plugin() {
  if (!plugin_) {
    prepareSimulatedHost();
    plugin_.emplace(pluginFile());
  }
  return plugin_->descriptor();
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

static Json textOrNull(const char* text) {
  return text == nullptr ? Json(nullptr) : Json(text);
}

void Session::addTo(Json& document) const {
  Json& plugin = document["plugin"] = nullptr;
  if (plugin_) {
    const DmuPluginDescriptor& descriptor = plugin_->descriptor();
    plugin = {
        {"file", plugin_->file()}, {"name", textOrNull(descriptor.name)}, {"version", textOrNull(descriptor.version)}};
  }
  document["faultsNeverFired"] = unfiredFaults();
  commands_.addTo(document);
}

}  // namespace host
