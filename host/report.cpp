// Words and keeps what a run reports.
#include "host/report.h"

#include <cstdio>
#include <nlohmann/json.hpp>

#include "host/output/output.h"
#include "host/output/text.h"
#include "host/waiting/progress.h"

namespace host {

void complain(const std::string& text) {
  Progress::clear();
  flushOutput();
  std::fprintf(stderr, "dmu-host: %s\n", text.c_str());
}

void Report::failed(DiskRecord& record, const std::string& operation, const std::string& text) {
  if (isOver_) return;
  status_ = ExitStatus::failed;
  record.errors.push_back({operation, text});
  complain(printable(record.disk.device) + ": " + operation + ": " + printable(text));
}

constexpr size_t kMostCandidates = 100;  // that people are shown

void Report::refused(const Refusal& refusal) {
  if (isOver_) return;
  status_ = ExitStatus::failed;
  refusals_.push_back(refusal);
  complain(refusal.what());
  size_t shown = 0;
  for (const Candidate& candidate : refusal.candidates) {
    if (shown++ == kMostCandidates && refusal.candidates.size() > kMostCandidates + 1) {
      std::fprintf(stderr, "  and %zu more\n", refusal.candidates.size() - kMostCandidates);
      return;
    }
    std::fprintf(stderr, "  %s\n", printable(joined({candidate.name, candidate.details}, "  ")).c_str());
  }
}

void Report::refusedForGood(const Refusal& refusal) {
  refused(refusal);
  isOver_ = true;
}

void Report::note(const std::string& text) {
  if (isOver_) return;
  notes_.push_back(text);
  if (forPrograms_) {
    Progress::clear();
    std::fprintf(stderr, "%s\n", text.c_str());
  } else {
    print(text + "\n");
    flushOutput();
  }
}

void Report::addTo(Json& document) const {
  document["exitStatus"] = static_cast<int>(status_);
  Json& errors = document["errors"] = Json::array();
  for (const Refusal& refusal : refusals_) {
    Json names = Json::array();
    for (const Candidate& candidate : refusal.candidates) names.push_back(candidate.name);
    errors.push_back({{"text", refusal.what()}, {"candidates", std::move(names)}});
  }
  document["notes"] = notes_;
}

}  // namespace host
