// dmu-host record: everything that can be read of the host's disks and controllers, in one file from which every
// command that reads can be replayed.
#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "host/commands/commands.h"
#include "host/discovery/discovery.h"
#include "host/disks/opened_disk.h"
#include "host/naming/device_names.h"
#include "host/naming/known_names.h"
#include "host/output/text.h"
#include "host/waiting/progress.h"

namespace host {
namespace {

/// The disks of a controller, when the word is its name.
std::vector<HostDisk> disksOfHba(const std::vector<HostDisk>& disks, const std::string& word) {
  std::vector<HostDisk> found;
  std::copy_if(disks.begin(), disks.end(), std::back_inserter(found),
               [&](const HostDisk& disk) { return lowerCase(disk.hba) == lowerCase(word); });
  return found;
}

/// The disks that are to be in the recording, in the order of the host's list.
/// @throws Refusal  for a word that names neither a controller nor a disk
std::vector<HostDisk> wantedDisks(Session& session, const std::vector<std::string>& words) {
  const std::vector<HostDisk>& all = session.disks();
  if (words.empty()) return all;
  std::set<std::string> names;
  for (const std::string& word : words) {
    std::vector<HostDisk> meant = disksOfHba(all, word);
    if (meant.empty()) meant = disksNamed(session, {word});
    for (const HostDisk& disk : meant) names.insert(disk.device);
  }
  std::vector<HostDisk> wanted;
  std::copy_if(all.begin(), all.end(), std::back_inserter(wanted),
               [&](const HostDisk& disk) { return names.contains(disk.device); });
  return wanted;
}

/// Every question that a command which reads has for a disk.
DiskRecord askEverything(Session& session, const HostDisk& disk) {
  OpenedDisk opened = openDisk(session, disk, Named::no);
  if (!opened.isKnown()) return opened.record;
  if (const auto answer = temperatures(opened.handle); !answer.value) {
    session.report().failed(opened.record, "temperature", answer.error);
  }
  (void)askPlaces(session, opened);
  return opened.record;
}

/// Reads the controllers that no disk led to.
void askOtherControllers(Session& session, const std::vector<HostDisk>& disks) {
  if (session.commands().listedControllers().empty()) (void)askController(session, kNoController);
  for (const std::string& hba : session.commands().listedControllers()) {
    if (disksOfHba(disks, hba).empty()) (void)askController(session, hba);
  }
}

class RecordCommand final : public Command {
 public:
  RecordCommand()
      : Command({.name = "record",
                 .group = kForSupport,
                 .summary = "Record all that can be read of the host, to be replayed anywhere",
                 .onRealHost = kFindsDisks,
                 .examples = {{"The whole host", "dmu-host record host.jsonl"},
                              {"One controller, and one disk", "dmu-host record part.jsonl vmhba3 serial:S7P3X0Q8"},
                              {"To be given away", "dmu-host record case.jsonl --anonymous"},
                              {"On a real host", "dmu-host record host.jsonl --inventory disks.json"}}}) {}

  std::vector<Option> options() override {
    return {{.name = "FILE",
             .valueName = "",
             .help = "The recording to write; an older one is replaced",
             .value = File{&file_},
             .isNeeded = true},
            {"DEVICE", "", "A disk, as other commands take it, or an HBA for all its disks (default: the whole host)",
             Texts{&words_, knownNames}},
            {"--anonymous", "", "Replace names, serial numbers, labels and ids, and leave out what nobody looks at",
             Flag{&isAnonymous_}}};
  }

  [[nodiscard]] Json emptyResult() const override { return {{"recording", nullptr}, {"devices", Json::array()}}; }

  Outcome run(Session& session) override {
    const std::vector<HostDisk> disks = wantedDisks(session, words_);
    session.commands().holdBackWrites();
    session.record(file_, disks, isAnonymous_);
    Json devices = Json::array();
    Activity activity(disks.size(), "disks");
    for (const HostDisk& disk : disks) {
      devices.push_back(toJson(askEverything(session, disk)));
      activity.advance();
    }
    if (words_.empty()) askOtherControllers(session, disks);
    Json hbas = Json::array();
    for (const auto& [hba, controller] : session.controllers().all()) hbas.push_back(hba);
    const std::string text =
        printable(file_) + ": " + counted(disks.size(), "disk") + " and " + counted(hbas.size(), "controller") +
        " recorded; " +
        (isAnonymous_ ? "names, serial numbers and ids are replaced" : "it holds serial numbers and names") + "\n";
    return {text,
            {{"recording", {{"file", file_}, {"anonymous", isAnonymous_}, {"controllers", std::move(hbas)}}},
             {"devices", std::move(devices)}}};
  }

 private:
  std::string file_;
  std::vector<std::string> words_;
  bool isAnonymous_ = false;
};

}  // namespace

std::unique_ptr<Command> makeRecordCommand() {
  return std::make_unique<RecordCommand>();
}

}  // namespace host
