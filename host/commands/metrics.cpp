// dmu-host metrics: what a monitoring system wants to know of the host's disks, as a file for it.
#include <ctime>
#include <nlohmann/json.hpp>

#include "host/commands/commands.h"
#include "host/disks/warm_drives.h"
#include "host/metrics/host_metrics.h"
#include "host/output/file_replacement.h"
#include "host/output/files.h"
#include "host/waiting/progress.h"
#include <dmu/plugin.h>

namespace host {
namespace {

/// The host's disks. A host that lists none is not to be refused where an earlier run knew its HBAs: they do not
/// answer.
std::vector<HostDisk> findDisks(Session& session, bool areHbasKnown) {
  try {
    return session.disksIfAny();
  } catch (const Refusal& refusal) {
    if (!areHbasKnown || !session.hasPlugin()) throw;
    session.report().refused(refusal);
    return {};
  }
}

/// Asks the plugin all that it tells of a disk without switching anything.
metrics::WatchedDisk askFor(Session& session, const HostDisk& disk) {
  OpenedDisk opened = openDisk(session, disk, Named::no);
  const bool isAnswered = warmDrives(session, opened).has_value();
  metrics::WatchedDisk watched{opened.record, drivesOf(session, opened.record).value_or(std::vector<DiskDrive>{}), {}};
  if (!isAnswered && !opened.record.errors.empty()) {  // of a run that is refused no more is reported
    const OperationError& error = opened.record.errors.back();
    watched.whyUnanswered = error.operation + ": " + error.text;
  }
  return watched;
}

std::vector<metrics::WatchedDisk> askForAll(Session& session, const std::vector<HostDisk>& disks) {
  Activity activity(disks.size(), "disks");
  std::vector<metrics::WatchedDisk> watched;
  for (const HostDisk& disk : disks) {
    if (disk.driver == kDmuDriver) watched.push_back(askFor(session, disk));
    activity.advance();
  }
  return watched;
}

class MetricsCommand final : public Command {
 public:
  MetricsCommand()
      : Command({.name = "metrics",
                 .group = kLooking,
                 .summary = "Write what a monitoring system watches, in the Prometheus text format",
                 .onRealHost = kFindsDisks,
                 .examples = {{"How warm, what is missing, who does not answer", "dmu-host metrics"},
                              {"Into a file that a node exporter serves", "dmu-host metrics --output dmu.prom"}}}) {}

  std::vector<Option> options() override {
    return {{"--output", "FILE", "Replace this file as a whole, and keep of it when controllers last answered",
             File{&file_}}};
  }

  [[nodiscard]] Json emptyResult() const override { return {{"output", nullptr}, {"metrics", Json::array()}}; }

  Outcome run(Session& session) override {
    const auto start = std::chrono::steady_clock::now();
    session.report().keepOutputForPrograms();
    refuseOwnFile(session);
    auto hbas = file_.empty() ? metrics::LastSuccesses{} : metrics::lastSuccessesIn(textToReplace(file_));
    const auto disks = askForAll(session, findDisks(session, !hbas.empty()));
    for (const InterceptedCommand& command : session.commands().since(0)) hbas.try_emplace(command.hba);
    if (hbas.empty()) (void)session.disks();  // refuses a host without any
    const auto duration = std::chrono::steady_clock::now() - start;
    return outcomeOf(session, metrics::metricsOf(disks, session.controllers(), std::move(hbas), std::time(nullptr),
                                                 std::chrono::duration_cast<std::chrono::microseconds>(duration)));
  }

 private:
  void refuseOwnFile(const Session& session) const {
    for (const recording::RunFile& own : session.ownFiles()) {
      const bool isSame = !file_.empty() && !own.file.empty() && areSameFile(file_, own.file);
      if (isSame) throw Refusal(file_ + ": cannot be written: it is this run's " + own.option);
    }
  }

  [[nodiscard]] Outcome outcomeOf(const Session& session, const std::vector<metrics::Gauge>& gauges) const {
    Outcome outcome{"", emptyResult()};
    for (const metrics::Gauge& gauge : gauges) {
      outcome.text += gauge.text();
      outcome.json["metrics"].push_back(gauge.json());
    }
    if (file_.empty()) return outcome;
    if (!session.lacksAnswer()) replaceFile(file_, outcome.text);
    outcome.text.clear();
    outcome.json["output"] = file_;
    return outcome;
  }

  std::string file_;
};

}  // namespace

std::unique_ptr<Command> makeMetricsCommand() {
  return std::make_unique<MetricsCommand>();
}

}  // namespace host
