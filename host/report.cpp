// Words and keeps what a run reports.
#include "host/report.h"

#include <cstdio>

#include "host/output/output.h"
#include "host/output/text.h"

namespace host {

void complain(const std::string& text) {
  flushOutput();
  std::fprintf(stderr, "dmu-host: %s\n", text.c_str());
}

void Report::failed(DiskRecord& record, const std::string& operation, const std::string& text) {
  status_ = ExitStatus::failed;
  record.errors.push_back({operation, text});
  complain(printable(record.disk.device) + ": " + operation + ": " + printable(text));
}

void Report::refused(const Refusal& refusal) {
  status_ = ExitStatus::failed;
  refusals_.push_back(refusal);
  complain(refusal.what());
  for (const std::string& candidate : refusal.candidates) std::fprintf(stderr, "  %s\n", printable(candidate).c_str());
}

void Report::note(const std::string& text) {
  notes_.push_back(text);
  if (forPrograms_) {
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
    errors.push_back({{"text", refusal.what()}, {"candidates", refusal.candidates}});
  }
  document["notes"] = notes_;
}

}  // namespace host
