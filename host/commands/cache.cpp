// dmu-host cache: switches the write cache of volumes, or of a whole controller.
#include <cstdio>
#include <nlohmann/json.hpp>
#include <set>

#include "host/commands/commands.h"
#include "host/commands/switching.h"
#include "host/naming/device_arguments.h"
#include "host/output/text.h"

namespace host {
namespace {

/// What became of one disk.
struct Cached {
  DiskRecord record;
  Switched switched;
};

/// Controllers whose own setting is to be changed, since a physical disk of theirs was named.
std::set<std::string> controllersOfDisks(const std::vector<OpenedDisk>& opened) {
  std::set<std::string> controllers;
  for (const OpenedDisk& disk : opened) {
    if (disk.record.kind == DiskKind::disk) controllers.insert(disk.record.disk.hba);
  }
  return controllers;
}

/// Puts a question to the user at the terminal.
bool agrees() {
  std::fprintf(stderr, "Go on? [y/N] ");
  std::fflush(stderr);
  const int answer = std::getchar();
  return answer == 'y' || answer == 'Y';
}

class CacheCommand final : public Command {
 public:
  CacheCommand()
      : Command({.name = "cache",
                 .group = kSwitching,
                 .summary = "Switch the write cache of volumes, or of a physical disk's whole controller, on or off",
                 .onRealHost = kFindsDisks,
                 .examples = {{"Switch the write cache of a volume off", "dmu-host cache vmhba2:1:1:0 off"},
                              {"Switch that of a whole controller on, without a question",
                               "dmu-host cache serial:S7P3X0Q8 on --yes"},
                              {"See what would be written", "dmu-host cache vmhba2:1:1:0 off --dry-run"}}}) {}

  std::vector<Option> options() override {
    std::vector<Option> options = devices_.optionsWithSwitch();
    options.push_back({"--yes", "", "Change the setting of a whole controller without asking", Flag{&yes_}});
    options.push_back({"--dry-run", "", kDryRunHelp, Flag{&dryRun_}});
    return options;
  }

  [[nodiscard]] Json emptyResult() const override { return {{"dryRun", dryRun_}, {"devices", Json::array()}}; }

  [[nodiscard]] bool switches() const override { return !dryRun_; }

  Outcome run(Session& session) override {
    Outcome outcome{"", emptyResult()};
    auto opened = devices_.open(session);
    warnOfControllers(session, controllersOfDisks(opened));
    if (dryRun_) session.commands().holdBackWrites();
    switchEach(session, opened, [&](OpenedDisk& disk) {
      Cached cached;
      cached.switched = switchDisk(session, disk, "write cache", MustCount::no,
                                   [this](const DeviceHandle& handle) { return setCache(handle, devices_.isOn()); });
      cached.record = disk.record;
      outcome.text += lineOf(cached);
      outcome.json["devices"].push_back(toJson(cached));
    });
    return outcome;
  }

 private:
  /// Says what is about to change beyond what was named, and goes on only when the user agrees.
  void warnOfControllers(Session& session, const std::set<std::string>& controllers) const {
    for (const std::string& hba : controllers) {
      session.report().note(printable(hba) + ": the write cache of physical disks is one setting of the whole " +
                            "controller; it " + (dryRun_ ? "would be" : "is") + " switched " +
                            (devices_.isOn() ? "on" : "off") + " for every physical disk there");
    }
    if (controllers.empty() || yes_ || dryRun_) return;
    if (!session.terminal().canAsk) throw Refusal("a whole controller's setting would be changed; confirm with --yes");
    if (!agrees()) throw Refusal("not confirmed; nothing was changed");
  }

  [[nodiscard]] std::string lineOf(const Cached& cached) const {
    const std::string device = printable(cached.record.disk.device) + ": ";
    const std::string what = cached.record.kind == DiskKind::disk
                                 ? "the drives' write cache of " + printable(cached.record.disk.hba)
                                 : "the volume's write cache";
    if (cached.switched.heldBack) {
      const bool changes = !cached.switched.heldBack->fields.empty();
      const std::string wanted = devices_.isOn() ? "on" : "off";
      const std::string before = devices_.isOn() ? "off" : "on";
      return device + "dry run: " + what + ": " + (changes ? before + " -> " + wanted : wanted + " already") + "\n";
    }
    return cached.switched.done ? device + what + " is " + (devices_.isOn() ? "on" : "off") + "\n" : "";
  }

  [[nodiscard]] Json toJson(const Cached& cached) const {
    Json device = host::toJson(cached.record);
    Json& cache = device["cache"] = nullptr;
    if (cached.switched.done) {
      cache = {{"on", devices_.isOn()}, {"scope", cached.record.kind == DiskKind::disk ? "controller" : "volume"}};
    }
    device["notSent"] = cached.switched.heldBack ? host::toJson(*cached.switched.heldBack) : Json(nullptr);
    return device;
  }

  DeviceArguments devices_;
  bool yes_ = false;
  bool dryRun_ = false;
};

}  // namespace

std::unique_ptr<Command> makeCacheCommand() {
  return std::make_unique<CacheCommand>();
}

}  // namespace host
